#include "app/toolkit_texts.h"

#include <QHash>

namespace {

// The same words wherever Qt uses them; texts of other contexts stay as they are.
const QHash<QByteArray, QString> &editTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("&Undo"), QStringLiteral("撤销(&U)")},
        {QByteArrayLiteral("&Redo"), QStringLiteral("恢复(&R)")},
        {QByteArrayLiteral("Cu&t"), QStringLiteral("剪切(&T)")},
        {QByteArrayLiteral("&Copy"), QStringLiteral("复制(&C)")},
        {QByteArrayLiteral("Copy &Link Location"), QStringLiteral("复制链接地址(&L)")},
        {QByteArrayLiteral("&Paste"), QStringLiteral("粘贴(&P)")},
        {QByteArrayLiteral("Delete"), QStringLiteral("删除")},
        {QByteArrayLiteral("Select All"), QStringLiteral("全选")},
        {QByteArrayLiteral("&Select All"), QStringLiteral("全选(&S)")},
        {QByteArrayLiteral("&Step up"), QStringLiteral("增大(&S)")},
        {QByteArrayLiteral("Step &down"), QStringLiteral("减小(&D)")}};
    return texts;
}

const QHash<QByteArray, QString> &scrollTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("Scroll here"), QStringLiteral("滚动到此处")},
        {QByteArrayLiteral("Top"), QStringLiteral("顶部")},
        {QByteArrayLiteral("Bottom"), QStringLiteral("底部")},
        {QByteArrayLiteral("Left edge"), QStringLiteral("左边缘")},
        {QByteArrayLiteral("Right edge"), QStringLiteral("右边缘")},
        {QByteArrayLiteral("Page up"), QStringLiteral("向上翻页")},
        {QByteArrayLiteral("Page down"), QStringLiteral("向下翻页")},
        {QByteArrayLiteral("Page left"), QStringLiteral("向左翻页")},
        {QByteArrayLiteral("Page right"), QStringLiteral("向右翻页")},
        {QByteArrayLiteral("Scroll up"), QStringLiteral("向上滚动")},
        {QByteArrayLiteral("Scroll down"), QStringLiteral("向下滚动")},
        {QByteArrayLiteral("Scroll left"), QStringLiteral("向左滚动")},
        {QByteArrayLiteral("Scroll right"), QStringLiteral("向右滚动")}};
    return texts;
}

const QHash<QByteArray, QString> &buttonTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("OK"), QStringLiteral("确定")},
        {QByteArrayLiteral("&OK"), QStringLiteral("确定(&O)")},
        {QByteArrayLiteral("Cancel"), QStringLiteral("取消")},
        {QByteArrayLiteral("&Cancel"), QStringLiteral("取消(&C)")},
        {QByteArrayLiteral("Close"), QStringLiteral("关闭")},
        {QByteArrayLiteral("&Close"), QStringLiteral("关闭(&C)")},
        {QByteArrayLiteral("&Yes"), QStringLiteral("是(&Y)")},
        {QByteArrayLiteral("&No"), QStringLiteral("否(&N)")},
        {QByteArrayLiteral("Retry"), QStringLiteral("重试")},
        {QByteArrayLiteral("Show Details..."), QStringLiteral("显示详情")},
        {QByteArrayLiteral("Hide Details..."), QStringLiteral("隐藏详情")}};
    return texts;
}

const QHash<QByteArray, QString> &windowTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("Minimize"), QStringLiteral("最小化")},
        {QByteArrayLiteral("Maximize"), QStringLiteral("最大化")},
        {QByteArrayLiteral("Restore"), QStringLiteral("还原")},
        {QByteArrayLiteral("Close"), QStringLiteral("关闭")}};
    return texts;
}

const QHash<QByteArray, QString> &tabTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("Scroll Left"), QStringLiteral("向左滚动")},
        {QByteArrayLiteral("Scroll Right"), QStringLiteral("向右滚动")}};
    return texts;
}

const QHash<QByteArray, QString> &fileTexts()
{
    static const QHash<QByteArray, QString> texts{
        {QByteArrayLiteral("%1 File"), QStringLiteral("%1 文件")},
        {QByteArrayLiteral("File"), QStringLiteral("文件")}};
    return texts;
}

} // namespace

ToolkitTexts::ToolkitTexts(QObject *parent) : QTranslator(parent) {}

QString ToolkitTexts::translate(const char *context, const char *sourceText,
                                const char * /*disambiguation*/, int /*number*/) const
{
    static const QHash<QByteArray, const QHash<QByteArray, QString> &(*)()> contexts{
        {QByteArrayLiteral("QLineEdit"), editTexts},
        {QByteArrayLiteral("QWidgetTextControl"), editTexts},
        {QByteArrayLiteral("QAbstractSpinBox"), editTexts},
        {QByteArrayLiteral("QScrollBar"), scrollTexts},
        {QByteArrayLiteral("QTabBar"), tabTexts},
        {QByteArrayLiteral("QPlatformTheme"), buttonTexts},
        {QByteArrayLiteral("QMessageBox"), buttonTexts},
        {QByteArrayLiteral("QDialogButtonBox"), buttonTexts},
        {QByteArrayLiteral("TitleBar"), windowTexts},
        {QByteArrayLiteral("QFileDialog"), fileTexts}};
    const auto texts = contexts.value(QByteArray(context));
    return texts ? texts().value(QByteArray(sourceText)) : QString();
}
