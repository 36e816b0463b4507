#include "player/window/keys_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include "player/window/player_keys.h"

namespace {

constexpr int Margin = 24;
constexpr int GroupGap = 16;
constexpr int LineGap = 8;
constexpr int TextGap = 24;
constexpr int ColumnGap = 48;

void addLine(QGridLayout &column, const PlayerKeys::Line &line)
{
    int row = column.count() == 0 ? 0 : column.rowCount();
    if (line.beginsGroup && column.count() > 0) {
        column.setRowMinimumHeight(row++, GroupGap - LineGap);
    }
    auto *keys = new QLabel(line.keys);
    keys->setObjectName(QStringLiteral("keys"));
    column.addWidget(keys, row, 0);
    column.addWidget(new QLabel(line.text), row, 1);
}

// In two columns, parted where the group ends that has the middle line.
QHBoxLayout *pageOfKeys()
{
    auto *columns = new QHBoxLayout;
    columns->setSpacing(ColumnGap);
    QGridLayout *column = nullptr;
    const QList<PlayerKeys::Line> page = PlayerKeys::page();
    for (int i = 0; i < page.size(); ++i) {
        const bool isSecond = columns->count() == 1 && i >= page.size() / 2 - 1;
        if (!column || (isSecond && page.at(i).beginsGroup)) {
            column = new QGridLayout;
            column->setHorizontalSpacing(TextGap);
            column->setVerticalSpacing(LineGap);
            columns->addLayout(column);
            columns->setAlignment(column, Qt::AlignTop);
        }
        addLine(*column, page.at(i));
    }
    return columns;
}

void centreOver(QWidget *dialog, const QWidget &window)
{
    const QRect screen = window.screen()->availableGeometry();
    QRect place(QPoint(0, 0), dialog->sizeHint());
    place.moveCenter(window.frameGeometry().center());
    place.moveLeft(qBound(screen.left(), place.left(), screen.right() + 1 - place.width()));
    place.moveTop(qBound(screen.top(), place.top(), screen.bottom() + 1 - place.height()));
    dialog->move(place.topLeft());
}

} // namespace

KeysDialog::KeysDialog()
{
    setObjectName(QStringLiteral("keysDialog"));
    setWindowTitle(QStringLiteral("播放器快捷键"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(Margin, Margin, Margin, Margin);
    layout->setSpacing(GroupGap);
    layout->addLayout(pageOfKeys());
    auto *hint = new QLabel(QStringLiteral("按过方向键以后，其他按键也会再跳转同样的秒数。\n"
                                           "这些功能在视频的右键菜单里也有。"));
    hint->setObjectName(QStringLiteral("hint"));
    layout->addWidget(hint);
    auto *buttons = new QDialogButtonBox;
    buttons->addButton(QStringLiteral("关闭"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

KeysDialog *KeysDialog::shown()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *dialog = qobject_cast<KeysDialog *>(window); dialog && dialog->isVisible()) {
            return dialog;
        }
    }
    return new KeysDialog;
}

void KeysDialog::open(QWidget *opener)
{
    KeysDialog *dialog = shown();
    // In full screen, or pinned, the opener would cover it.
    const QWidget *window = opener->window();
    dialog->setWindowFlag(Qt::WindowStaysOnTopHint,
                          window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    dialog->winId();
    dialog->windowHandle()->setTransientParent(window->windowHandle());
    if (!dialog->isVisible()) {
        centreOver(dialog, *window);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}
