#include "ui/files/failed_files_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/widgets/name_text.h"

namespace {

constexpr QSize StartSize(420, 360);
constexpr int Margin = 16;

} // namespace

FailedFilesDialog::FailedFilesDialog(const QString &result, const QList<BatchFile> &files)
{
    setWindowTitle(QStringLiteral("未完成的文件"));
    resize(StartSize);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(Margin, Margin, Margin, Margin);
    layout->addWidget(new QLabel(result, this));
    auto *names = new QListWidget(this);
    names->setAccessibleName(QStringLiteral("未完成的文件"));
    names->setObjectName(QStringLiteral("failedFiles"));
    // The reason stands behind the name, however long that is.
    names->setWordWrap(true);
    names->setTextElideMode(Qt::ElideMiddle);
    names->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    for (const BatchFile &file : files) {
        const QString name = visibleName(file.name);
        names->addItem(file.reason.isEmpty() ? name : name + QStringLiteral("：") + file.reason);
        names->item(names->count() - 1)->setToolTip(nameTip(file.name));
    }
    layout->addWidget(names);
    auto *buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("重试"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("关闭"), QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}
