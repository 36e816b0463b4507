#include "net/write_through.h"

#include <QFileDevice>

bool writeThrough(QFileDevice &file, const QByteArray &bytes)
{
    // A disk that has room for a part takes it without an error; the next attempt gets the reason.
    qint64 written = 0;
    while (written < bytes.size()) {
        const qint64 count = file.write(bytes.constData() + written, bytes.size() - written);
        if (count <= 0) {
            return false;
        }
        written += count;
    }
    return file.flush() || file.flush();
}
