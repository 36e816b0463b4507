#include "net/unrepeated_body.h"

#include <algorithm>
#include <utility>

UnrepeatedBody::UnrepeatedBody(QByteArray body) : m_rest(std::move(body))
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

qint64 UnrepeatedBody::bytesAvailable() const
{
    return m_rest.size() + QIODevice::bytesAvailable();
}

qint64 UnrepeatedBody::readData(char *data, qint64 maxSize)
{
    const qint64 size = std::min<qint64>(maxSize, m_rest.size());
    std::copy_n(m_rest.constData(), size, data);
    m_rest.remove(0, static_cast<int>(size));
    return size > 0 ? size : -1;
}

qint64 UnrepeatedBody::writeData(const char * /*data*/, qint64 /*size*/)
{
    return -1;
}
