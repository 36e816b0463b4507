#include "player/window/keys_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>

#include "player/window/player_keys.h"
#include "ui/widgets/list_keys.h"
#include "ui/widgets/window_place.h"

namespace {

constexpr int Margin = 24;
constexpr int GroupGap = 16;
constexpr int LineGap = 8;
constexpr int TextGap = 24;
constexpr int ColumnGap = 48;
constexpr int SectionGap = 64;

void addLine(QGridLayout &column, const KeyLine &line)
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

QLabel *hintLabel(const QString &text)
{
    auto *hint = new QLabel(text);
    hint->setObjectName(QStringLiteral("hint"));
    return hint;
}

enum class Columns { One, Two };

// Two columns are parted where the group ends that has the middle line.
QHBoxLayout *columnsOf(const QList<KeyLine> &page, Columns wanted)
{
    auto *columns = new QHBoxLayout;
    columns->setSpacing(ColumnGap);
    QGridLayout *column = nullptr;
    for (int i = 0; i < page.size(); ++i) {
        const bool isSecond =
            wanted == Columns::Two && columns->count() == 1 && i >= page.size() / 2 - 1;
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

QVBoxLayout *section(const QString &title, const QList<KeyLine> &page, Columns columns,
                     const QString &hint)
{
    auto *heading = new QLabel(title);
    heading->setObjectName(QStringLiteral("heading"));
    auto *layout = new QVBoxLayout;
    layout->setSpacing(GroupGap);
    layout->addWidget(heading);
    layout->addLayout(columnsOf(page, columns));
    layout->addStretch();
    layout->addWidget(hintLabel(hint));
    return layout;
}

} // namespace

KeysDialog::KeysDialog()
{
    setObjectName(QStringLiteral("keysDialog"));
    setWindowTitle(QStringLiteral("快捷键"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(Margin, Margin, Margin, Margin);
    layout->setSpacing(GroupGap);
    auto *sections = new QHBoxLayout;
    sections->setSpacing(SectionGap);
    sections->addLayout(section(QStringLiteral("播放器"), PlayerKeys::page(), Columns::Two,
                                QStringLiteral("按过方向键以后，其他按键也会再跳转同样的秒数。\n"
                                               "这些功能在视频的右键菜单里也有。")));
    sections->addLayout(section(QStringLiteral("文件列表和观看历史"), list_keys::page(),
                                Columns::One, QStringLiteral("按钮和输入框用 Tab 依次到达。")));
    layout->addLayout(sections);
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
        dialog->move(placeOver(*window, dialog->sizeHint()).topLeft());
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
}
