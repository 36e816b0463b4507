#include "ui/widgets/list_keys.h"

namespace {

using list_keys::Action;

constexpr int MostKeys = 4;

struct Binding
{
    Action action;
    const char *names;
    const char *text;
    int keys[MostKeys]; // 0: no further one
    bool beginsGroup = false;
};

// In the order of the page.
constexpr Binding Bindings[] = {
    {Action::Open, "Enter", "打开文件夹、播放视频", {Qt::Key_Return, Qt::Key_Enter}},
    {Action::GoBack, "Backspace、Alt+↑", "返回上一级", {Qt::Key_Backspace, Qt::ALT + Qt::Key_Up}},
    {Action::TurnUser, "Ctrl+Tab", "下一个用户", {}},
    {Action::Search, "Ctrl+F", "搜索文件名", {Qt::CTRL + Qt::Key_F}, true},
    {Action::LeaveSearch,
     "Enter、↓",
     "从搜索框到列表",
     {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Down}},
    {Action::ClearSearch, "Esc", "清除搜索", {Qt::Key_Escape}},
    {Action::Rename, "F2", "重命名", {Qt::Key_F2}, true},
    {Action::Remove, "Del", "删除", {Qt::Key_Delete}},
    {Action::Undo, "Ctrl+Z", "撤销删除观看记录", {Qt::CTRL + Qt::Key_Z}},
    {Action::SelectAll, "Ctrl+A", "全选", {}},
    {Action::ShowMenu, "菜单键、Shift+F10", "新建、移动等操作", {}},
    {Action::Sort,
     "Ctrl+1 … Ctrl+4",
     "按列排序，再按反向",
     {Qt::CTRL + Qt::Key_1, Qt::CTRL + Qt::Key_2, Qt::CTRL + Qt::Key_3, Qt::CTRL + Qt::Key_4},
     true},
    {Action::Refresh, "F5", "刷新", {Qt::Key_F5}},
    {Action::ShowKeys, "F1", "快捷键", {Qt::Key_F1}},
};

} // namespace

QList<QKeySequence> list_keys::sequences(Action action)
{
    QList<QKeySequence> found;
    for (const Binding &binding : Bindings) {
        for (const int key : binding.keys) {
            if (binding.action == action && key != 0) {
                found.append(QKeySequence(key));
            }
        }
    }
    return found;
}

QList<KeyLine> list_keys::page()
{
    QList<KeyLine> lines;
    for (const Binding &binding : Bindings) {
        lines.append({QString::fromUtf8(binding.names), QString::fromUtf8(binding.text),
                      binding.beginsGroup});
    }
    return lines;
}
