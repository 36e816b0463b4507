#include "ui/files/quality_menu.h"

#include <QAction>
#include <QToolButton>

#include "app/environment/app_settings.h"
#include "app/environment/video_quality.h"
#include "ui/widgets/custom_pop_up_menu.h"

QualityMenu::QualityMenu(QToolButton *button) : QObject(button), m_button(button)
{
    auto *menu = new CustomPopUpMenu(button);
    for (const VideoQuality &quality : videoQualities()) {
        QAction *action = menu->addAction(quality.listText);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, id = quality.id] { choose(id); });
    }
    button->setMenu(menu);
}

void QualityMenu::showStored()
{
    const QString text = qualityListText(AppSettings().videoQuality());
    m_button->setText(text);
    m_button->setAccessibleName(QStringLiteral("视频清晰度：") + text);
    for (QAction *action : m_button->menu()->actions()) {
        action->setChecked(action->text() == text);
    }
}

void QualityMenu::choose(const QString &id)
{
    AppSettings().setVideoQuality(id);
    showStored();
    emit chosen();
}
