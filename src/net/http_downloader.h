#pragma once

#include <limits>
#include <memory>

#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

class QNetworkAccessManager;
class QSaveFile;

// Saves a remote file in ranged chunks. One HEAD request asks for the size, then one GET follows
// the other until the whole size is there; the target is replaced only then. Sizes are 32-bit:
// larger files end in `error`, and so does a server that is silent for longer than ReplyGuard's
// patience. Ends with exactly one of `error` and `downFinished`, after which
// nothing more is requested; destroying the object ends it silently and leaves nothing behind.
//
// Slots connected to the signals must not delete the object at once; deleteLater() is safe.
class HttpDownLoader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HttpDownLoader)

public:
    HttpDownLoader(QString url, QString targetPath, QObject *parent = nullptr);
    ~HttpDownLoader() override;

    // Larger files end in `error` before anything is written.
    void setLargest(int bytes) { m_largest = bytes; }

    // Starts the download unless it is running. A download that has failed may be started anew.
    void start();

    // Bytes; the total is 0 until the server has told it.
    int totalSize() const { return m_totalSize; }
    int received() const { return m_received; }

signals:
    void error(const QString &errorString);
    void readyWrite(); // another block has been written
    void downFinished();

private slots:
    void onReplyFinished(QNetworkReply *reply);
    void slotReadyRead();
    void slotError(QNetworkReply::NetworkError code);
    void onSilence();

private:
    enum class State { Idle = 0, Downloading = 1, Failed = 4 };

    void beginWriting(const QNetworkReply *headReply);
    void expect(QNetworkReply *reply);
    void requestChunk();
    void finishChunk();
    void finish();
    void fail(const QString &errorString);
    void failWithCode(QNetworkReply::NetworkError code);
    bool isExpectedAnswer(const QNetworkReply *reply) const;

    QNetworkAccessManager *const m_manager;
    const QString m_url;
    const QString m_targetPath;
    std::unique_ptr<QSaveFile> m_file;
    QPointer<QNetworkReply> m_reply; // the one on its way
    QTimer m_silence;
    int m_largest = std::numeric_limits<int>::max();
    int m_totalSize = 0;
    int m_received = 0;
    int m_chunkStart = 0; // where the range on its way begins
    State m_state = State::Idle;
};
