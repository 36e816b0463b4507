#include "net/http_downloader.h"

#include <limits>
#include <optional>
#include <utility>

#include <QDebug>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSaveFile>

#include "net/http_reply.h"
#include "net/reply_guard.h"
#include "net/web_address.h"
#include "net/write_through.h"

namespace {

constexpr int ChunkSize = 10240;

QNetworkRequest downloadRequest(const QString &url)
{
    QNetworkRequest request{QUrl(url)};
    request.setRawHeader(QByteArrayLiteral("User-Agent"),
                         QByteArrayLiteral("QtApp-HttpDownLoader"));
    request.setRawHeader(QByteArrayLiteral("Accept"),
                         QByteArrayLiteral("application/octet-stream"));
    // Sizes and ranges count the file's bytes, not those of a compressed form.
    request.setRawHeader(QByteArrayLiteral("Accept-Encoding"), QByteArrayLiteral("identity"));
    return request;
}

// The length that the server states, or nothing when it is missing, no number, or out of range.
std::optional<int> contentLength(const QNetworkReply *reply)
{
    const QByteArray header = reply->rawHeader(QByteArrayLiteral("Content-Length"));
    bool isNumber = false;
    const qlonglong length = QString::fromUtf8(header.constData()).toLongLong(&isNumber);
    if (!isNumber || length < 0 || length > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return int(length);
}

} // namespace

HttpDownLoader::HttpDownLoader(QString url, QString targetPath, QObject *parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this))
    , m_url(std::move(url))
    , m_targetPath(std::move(targetPath))
{
    connect(m_manager, &QNetworkAccessManager::finished, this, &HttpDownLoader::onReplyFinished);
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &HttpDownLoader::onSilence);
}

HttpDownLoader::~HttpDownLoader()
{
    // The manager aborts a reply on its way, which signals once more.
    m_manager->disconnect(this);
}

void HttpDownLoader::start()
{
    if (m_state == State::Downloading) {
        return;
    }
    m_state = State::Downloading;
    m_totalSize = 0;
    m_received = 0;
    if (mayBeAsked(QUrl(m_url))) {
        expect(m_manager->head(downloadRequest(m_url)));
    } else {
        QMetaObject::invokeMethod(
            this, [this] { failWithCode(QNetworkReply::ProtocolUnknownError); },
            Qt::QueuedConnection);
    }
}

void HttpDownLoader::expect(QNetworkReply *reply)
{
    m_reply = reply;
    m_silence.start(ReplyGuard::patience().silent);
}

void HttpDownLoader::onSilence()
{
    const QPointer<QNetworkReply> reply = m_reply;
    failWithCode(QNetworkReply::TimeoutError);
    if (reply) {
        reply->abort();
    }
}

void HttpDownLoader::onReplyFinished(QNetworkReply *reply)
{
    reply->deleteLater();
    if (reply != m_reply || m_state != State::Downloading) {
        return;
    }
    if (reply->operation() == QNetworkAccessManager::HeadOperation) {
        beginWriting(reply);
    } else {
        finishChunk();
    }
}

// A refusal has a length as well: only the length of a success is the file's.
void HttpDownLoader::beginWriting(const QNetworkReply *headReply)
{
    const std::optional<int> length = contentLength(headReply);
    if (!length || statusOf(headReply) != 200) {
        fail(tr("Failed to get file size."));
        return;
    }
    if (*length > m_largest) {
        fail(QStringLiteral("The file is larger than %1 bytes").arg(m_largest));
        return;
    }
    m_totalSize = *length;
    m_file = std::make_unique<QSaveFile>(m_targetPath);
    if (!m_file->open(QIODevice::WriteOnly)) {
        const QString message = QStringLiteral("[错误] 打开文件出错: %1").arg(m_targetPath);
        qDebug().noquote() << message;
        fail(message);
    } else if (m_totalSize == 0) {
        finish();
    } else {
        requestChunk();
    }
}

// Both ends of an HTTP range are inclusive, so that a chunk holds one byte more than its size;
// the next one begins behind what has arrived.
void HttpDownLoader::requestChunk()
{
    m_chunkStart = m_received;
    const qint64 chunkEnd = qint64(m_received) + ChunkSize;
    QNetworkRequest request = downloadRequest(m_url);
    request.setRawHeader(QByteArrayLiteral("Range"),
                         QStringLiteral("bytes=%1-%2").arg(m_received).arg(chunkEnd).toLatin1());
    expect(m_manager->get(request));
    connect(m_reply, &QNetworkReply::readyRead, this, &HttpDownLoader::slotReadyRead);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &HttpDownLoader::slotError);
}

void HttpDownLoader::slotReadyRead()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    // What a refusal says is no part of the file; its error follows.
    if (reply != m_reply || m_state != State::Downloading || statusOf(reply) >= 400) {
        return;
    }
    const QByteArray bytes = reply->readAll();
    if (!isExpectedAnswer(reply) || bytes.size() > m_totalSize - m_received) {
        slotError(QNetworkReply::ProtocolFailure);
        reply->abort();
        return;
    }
    if (bytes.isEmpty()) {
        fail(tr("Fail Recv File Data"));
        return;
    }
    m_silence.start();
    m_received += bytes.size();
    if (!writeThrough(*m_file, bytes)) {
        fail(m_file->errorString());
        reply->abort();
        return;
    }
    emit readyWrite();
}

// The range that was asked for, or the whole file in place of its first range.
bool HttpDownLoader::isExpectedAnswer(const QNetworkReply *reply) const
{
    if (statusOf(reply) == 200) {
        return m_chunkStart == 0 && (!reply->hasRawHeader(QByteArrayLiteral("Content-Length")) ||
                                     contentLength(reply) == m_totalSize);
    }
    // A file that was replaced meanwhile by one of another size would be patched together.
    const QByteArray start = QByteArrayLiteral("bytes ") + QByteArray::number(m_chunkStart) + '-';
    const QByteArray range = reply->rawHeader(QByteArrayLiteral("Content-Range"));
    return statusOf(reply) == 206 && range.startsWith(start) &&
           (range.endsWith("/*") || range.endsWith('/' + QByteArray::number(m_totalSize)));
}

// A reply that is aborted after the error reports once more, perhaps into the next download.
void HttpDownLoader::slotError(QNetworkReply::NetworkError code)
{
    if (sender() == m_reply) {
        failWithCode(code);
    }
}

void HttpDownLoader::failWithCode(QNetworkReply::NetworkError code)
{
    fail(tr("Recv Data Error, Error Code is ") + QString::number(code));
}

void HttpDownLoader::finishChunk()
{
    if (m_received == m_chunkStart) {
        fail(tr("Fail Recv File Data"));
    } else if (m_received < m_totalSize) {
        requestChunk();
    } else {
        finish();
    }
}

void HttpDownLoader::finish()
{
    if (!m_file->commit()) {
        fail(m_file->errorString());
        return;
    }
    m_file.reset();
    m_state = State::Idle;
    m_silence.stop();
    qDebug().noquote() << QStringLiteral("[结束] 成功: %1").arg(m_targetPath);
    emit downFinished();
}

// The first error is the verdict; what the reply says after it is dropped.
void HttpDownLoader::fail(const QString &errorString)
{
    if (m_state != State::Downloading) {
        return;
    }
    m_state = State::Failed;
    m_silence.stop();
    m_file.reset();
    qDebug().noquote() << QStringLiteral("[结束] 失败: %1").arg(errorString);
    emit error(errorString);
}
