#include "net/unrepeated_body.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <QNetworkReply>

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

QNetworkReply *sendUnrepeated(QNetworkAccessManager &manager,
                              QNetworkAccessManager::Operation operation, QNetworkRequest request,
                              const QByteArray &body)
{
    auto device = std::make_unique<UnrepeatedBody>(body);
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    QNetworkReply *reply = nullptr;
    if (operation == QNetworkAccessManager::PostOperation) {
        reply = manager.post(request, device.get());
    } else if (operation == QNetworkAccessManager::PutOperation) {
        reply = manager.put(request, device.get());
    } else { // get() takes no body
        reply = manager.sendCustomRequest(request, QByteArrayLiteral("GET"), device.get());
    }
    device.release()->setParent(reply);
    return reply;
}
