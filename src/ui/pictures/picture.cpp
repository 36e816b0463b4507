#include "ui/pictures/picture.h"

#include <QBuffer>
#include <QImageReader>
#include <QPixmap>

namespace {

// Decoded at once, while the user waits: a thumbnail has a hundredth of it.
constexpr qint64 MostPixels = 1024LL * 1024;

bool isThumbnailFormat(const QByteArray &format)
{
    return format == "jpeg" || format == "png" || format == "webp" || format == "gif";
}

} // namespace

QImage readPicture(const QByteArray &bytes, const QSize &largest)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    const bool isSound = !size.isEmpty() && qint64(size.width()) * size.height() <= MostPixels;
    if (!isSound || !isThumbnailFormat(reader.format())) {
        return {};
    }
    const QImage picture = reader.read();
    const bool fits = size.width() <= largest.width() && size.height() <= largest.height();
    return picture.isNull() || fits
               ? picture
               : picture.scaled(largest, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QIcon pictureIcon(const QImage &picture)
{
    const QPixmap pixmap = QPixmap::fromImage(picture);
    QIcon icon(pixmap);
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}
