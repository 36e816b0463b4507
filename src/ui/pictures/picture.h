#pragma once

#include <QIcon>
#include <QImage>

class QByteArray;
class QSize;

// Reads a picture that came from a server and makes it small enough to fit the size, in pixels.
// Null for one that is broken, of a format that drives do not use for thumbnails, or of more pixels
// than one can have: those are not decoded.
[[nodiscard]] QImage readPicture(const QByteArray &bytes, const QSize &largest);

// For lists: one that no selection tints.
[[nodiscard]] QIcon pictureIcon(const QImage &picture);
