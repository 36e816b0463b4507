#pragma once

#include <QImage>

// The QR symbol of `content`, one pixel per module and without a quiet zone; null when the content
// is empty or too long for any symbol (which is logged).
[[nodiscard]] QImage qrImage(const QString &content);
