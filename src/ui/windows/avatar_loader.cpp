#include "ui/windows/avatar_loader.h"

#include <QDir>
#include <QImageReader>
#include <QPixmap>
#include <QUrl>

#include "net/http_downloader.h"

namespace {

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
    const QString scheme = QUrl(address).scheme();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return;
    // A name that nobody can guess or have made ready: the folder is open to all.
    if (!m_file.open())
        return;
    m_file.close();
    auto *download = new HttpDownLoader(address, m_file.fileName(), this);
    connect(download, &HttpDownLoader::downFinished, this, &AvatarLoader::readPicture);
    download->start();
}

void AvatarLoader::readPicture()
{
    QImageReader reader(m_file.fileName());
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (qint64(size.width()) * size.height() > LargestArea)
        return;
    if (size.width() > LargestSide || size.height() > LargestSide)
        reader.setScaledSize(size.scaled(LargestSide, LargestSide, Qt::KeepAspectRatio));
    const QImage picture = reader.read();
    if (!picture.isNull())
        emit loaded(QIcon(QPixmap::fromImage(picture)));
}
