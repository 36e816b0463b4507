#include "ui/shell/trans_dialog.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include "app/environment/file_name.h"
#include "net/http_downloader.h"
#include "ui/widgets/name_text.h"
#include "ui/widgets/single_toast.h"
#include "ui_trans_dialog.h"

namespace {

QString downloadFolder()
{
#ifdef Q_OS_WIN
    if (QFileInfo::exists(QStringLiteral("d:/")))
        return QStringLiteral("d:/");
#endif
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    QDir().mkpath(folder);
    return folder;
}

} // namespace

TransDialog::TransDialog() : m_ui(std::make_unique<Ui::TransDialog>())
{
    m_ui->setupUi(this);
}

TransDialog::~TransDialog() = default;

QString TransDialog::targetFile(const QString &folder, const QString &fileName,
                                const QSet<QString> &taken)
{
    const QString wanted = safePathInFolder(folder, fileName);
    const QFileInfo info(wanted);
    const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    const QString start = info.path() + QLatin1Char('/') + info.completeBaseName();
    QString target = wanted;
    for (int number = 1; taken.contains(target) || QFileInfo::exists(target); ++number) {
        target = QStringLiteral("%1 (%2)%3").arg(start).arg(number).arg(suffix);
    }
    return target;
}

void TransDialog::onStartDownload(const QString &fileName, const QString &url)
{
    const QString target = targetFile(downloadFolder(), fileName, m_targets);
    auto *download = new HttpDownLoader(url, target, this);
    m_targets.insert(target);
    connect(download, &QObject::destroyed, this, [this, target] { m_targets.remove(target); });
    connect(download, &HttpDownLoader::downFinished, download, &QObject::deleteLater);
    connect(download, &HttpDownLoader::error, download, &QObject::deleteLater);
    connect(download, &HttpDownLoader::error, this, [fileName](const QString &text) {
        showSingleToast(QStringLiteral("%1 下载失败：%2").arg(visibleName(fileName), text));
    });
    qDebug() << "url:" << url;
    download->start();
}
