#include "login/qr_image.h"

#include <qrcodegen/qrcodegen.hpp>

#include <QDebug>

using qrcodegen::QrCode;

namespace {

constexpr QRgb Dark = 0xff000000;
constexpr QRgb Light = 0xffffffff;

} // namespace

QImage qrImage(const QString &content)
{
    if (content.isEmpty()) {
        return {};
    }
    try {
        const QrCode code = QrCode::encodeText(content.toUtf8().constData(), QrCode::Ecc::MEDIUM);
        const int size = code.getSize();
        QImage image(size, size, QImage::Format_RGB888);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                image.setPixel(x, y, code.getModule(x, y) ? Dark : Light);
            }
        }
        return image;
    } catch (const qrcodegen::data_too_long &error) {
        qWarning() << "No QR symbol holds" << content.size() << "characters:" << error.what();
        return {};
    }
}
