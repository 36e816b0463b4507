#include "ui/shell/avatar_loader.h"

#include <QDir>
#include <QImageReader>
#include <QPixmap>
#include <QUrl>

#include "net/http_downloader.h"
#include "net/web_address.h"

namespace {

constexpr int LargestFile = 4 * 1024 * 1024;
constexpr int LargestSide = 128;              // pixels; a tab shows far fewer
constexpr qint64 LargestArea = 4096LL * 4096; // pixels; more memory than that no avatar is worth

} // namespace

AvatarLoader::AvatarLoader(QObject *parent)
    : QObject(parent), m_file(QDir::tempPath() + QStringLiteral("/moravu-avatar-XXXXXX"))
{
}

AvatarLoader::~AvatarLoader() = default;

void AvatarLoader::load(const QString &address)
{
    if (!mayBeAsked(QUrl(address))) {
        return;
    }
    // A name that nobody can guess or have made ready: the folder is open to all.
    if (!m_file.open()) {
        return;
    }
    m_file.close();
    auto *download = new HttpDownLoader(address, m_file.fileName(), this);
    connect(download, &HttpDownLoader::downFinished, this, &AvatarLoader::onDownloaded);
    download->setLargest(LargestFile);
    download->start();
}

void AvatarLoader::onDownloaded()
{
    QImageReader reader(m_file.fileName());
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (qint64(size.width()) * size.height() > LargestArea) {
        return;
    }
    if (size.width() > LargestSide || size.height() > LargestSide) {
        reader.setScaledSize(size.scaled(LargestSide, LargestSide, Qt::KeepAspectRatio));
    }
    const QImage picture = reader.read();
    if (!picture.isNull()) {
        emit loaded(QIcon(QPixmap::fromImage(picture)));
    }
}
