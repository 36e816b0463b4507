#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

class QNetworkReply;

// A request's body that is sent at most once. Qt sends a request again by itself, up to three times
// and a POST as well, when the connection is cut before the reply begins: what was carried out
// though its answer was lost would be carried out twice. It asks a body to begin anew first; this
// one refuses, and the reply ends with QNetworkReply::ContentReSendError.
class UnrepeatedBody final : public QIODevice
{
    Q_DISABLE_COPY_MOVE(UnrepeatedBody)

public:
    explicit UnrepeatedBody(QByteArray body);

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override;
    bool reset() override { return false; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *data, qint64 size) override;

private:
    QByteArray m_rest;
};

// Sends a GET, POST or PUT with the body, which may be empty, at most once. The reply is the
// caller's.
QNetworkReply *sendUnrepeated(QNetworkAccessManager &manager,
                              QNetworkAccessManager::Operation operation, QNetworkRequest request,
                              const QByteArray &body);
