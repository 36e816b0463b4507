#include "ui/files/file_batches.h"

#include <QNetworkReply>
#include <QPointer>
#include <QQueue>

#include "api/records/change_records.h"
#include "api/session/open_api_client.h"
#include "api/session/refusal_note.h"
#include "net/log_failure.h"
#include "ui/files/folder_search.h"
#include "ui/widgets/single_toast.h"

namespace {

QString logWordOf(FileOperation operation)
{
    switch (operation) {
    case FileOperation::Trash:
        return QStringLiteral("fileTrash");
    case FileOperation::Delete:
        return QStringLiteral("fileDelete");
    case FileOperation::Move:
        return QStringLiteral("fileMove");
    }
    return QString();
}

QString failureText(FileOperation operation, int code, const RefusalNote &refusal)
{
    switch (operation) {
    case FileOperation::Trash:
        return QStringLiteral("删除到回收站失败");
    case FileOperation::Delete:
        return QStringLiteral("删除文件失败");
    case FileOperation::Move:
        return withReason(QStringLiteral("移动失败"), code, refusal.refusal());
    }
    return QString();
}

template <class Done>
PendingReply ask(const OpenApiClient &client, const BatchOrder &order, const QString &fileId,
                 const Done &done, const ApiFailure &fail)
{
    switch (order.operation) {
    case FileOperation::Trash:
        return client.trash(fileId, done, fail);
    case FileOperation::Delete:
        return client.remove(fileId, done, fail);
    case FileOperation::Move:
        return client.move(fileId, order.targetFolderId, done, fail);
    }
    return PendingReply();
}

} // namespace

struct FileBatches::Running
{
    explicit Running(const FileBatch &started)
        : batch(started), client(started.order.user), userId(started.order.user.userId.value())
    {
        queue.append(started.order.files);
    }

    // Sent, without an answer that says whether it was done.
    struct Open
    {
        BatchFile file;
        QString text; // that tells the user of the failure, if it is one
    };

    FileBatch batch;
    const OpenApiClient client;
    const QString userId;
    QQueue<BatchFile> queue;
    QHash<QString, BatchFile> sent;       // by file id
    QHash<QString, PendingReply> replies; // to what was sent, by file id
    QHash<QString, int> attempts;         // by file id
    QList<Open> open;
    QPointer<FolderSearch> search; // for the open ones
};

BatchOrder FileBatch::again() const
{
    BatchOrder left = order;
    left.files = failed;
    return left;
}

FileBatches::FileBatches(QObject *parent) : QObject(parent) {}

FileBatches::~FileBatches() = default;

int FileBatches::start(const BatchOrder &order)
{
    QSet<QString> &onTheWay = m_onTheWay[order.user.userId.value()];
    FileBatch batch;
    batch.number = ++m_lastNumber;
    batch.order = order;
    batch.order.files.clear();
    for (const BatchFile &file : order.files) {
        if (!onTheWay.contains(file.id)) {
            onTheWay.insert(file.id);
            batch.order.files.append(file);
        }
    }
    if (batch.total() > 0) {
        m_running.push_back(std::make_unique<Running>(batch));
        emit progressed(batch);
        sendNext();
    } else if (!order.files.isEmpty()) {
        showSingleToast(QStringLiteral("选中的文件正在处理中"));
    }
    return batch.total();
}

int FileBatches::remaining(const QString &userId) const
{
    int files = 0;
    for (const auto &running : m_running) {
        if (userId.isEmpty() || running->userId == userId) {
            files += running->queue.size() + running->sent.size() + running->open.size();
        }
    }
    return files;
}

QList<FileBatch> FileBatches::running() const
{
    QList<FileBatch> batches;
    for (const auto &running : m_running) {
        batches << running->batch;
    }
    return batches;
}

void FileBatches::cancel(const QString &userId)
{
    QList<int> cancelled;
    for (const auto &running : m_running) {
        if (running->userId == userId) {
            stop(*running);
            cancelled << running->batch.number;
        }
    }
    for (const int number : cancelled) {
        goOn(number);
    }
}

void FileBatches::cancel(int number)
{
    if (Running *running = find(number)) {
        stop(*running);
        goOn(number);
    }
}

void FileBatches::stop(Running &running)
{
    FileBatch &batch = running.batch;
    const bool wasCancelled = std::exchange(batch.cancelled, true);
    batch.skipped += running.queue.size();
    for (const BatchFile &file : running.queue) {
        m_onTheWay[running.userId].remove(file.id);
    }
    running.queue.clear();
    if (wasCancelled) {
        if (running.search) {
            running.search->disconnect(this);
            running.search->deleteLater();
        }
        for (const QString &fileId : running.sent.keys()) {
            running.replies.value(fileId).abandon();
            running.open.append({takeSent(running, fileId), QString()});
        }
        giveUpOpen(running);
    }
}

FileBatches::Running *FileBatches::find(int number) const
{
    for (const auto &running : m_running) {
        if (running->batch.number == number) {
            return running.get();
        }
    }
    return nullptr;
}

int FileBatches::sentOf(const QString &userId) const
{
    int files = 0;
    for (const auto &running : m_running) {
        files += running->userId == userId ? running->sent.size() : 0;
    }
    return files;
}

void FileBatches::sendNext()
{
    for (const auto &running : m_running) {
        while (!running->queue.isEmpty() && sentOf(running->userId) < MostAtOnce) {
            send(*running);
        }
    }
}

void FileBatches::send(Running &running)
{
    const BatchFile file = running.queue.dequeue();
    running.sent.insert(file.id, file);
    const BatchOrder &order = running.batch.order;
    const int number = running.batch.number;
    const QString logWord = logWordOf(order.operation);
    const auto done = m_replies.guard(
        logWord, [this, number, id = file.id](const auto & /*reply*/) { onDone(number, id); });
    const RefusalNote refusal;
    const auto fail = m_replies.guard(
        logWord, [this, number, refusal, id = file.id](const QString &error, int code) {
            onFailed(number, id, refusal, error, code);
        });
    const OpenApiClient client = running.client.whenRefused(refusal.handler());
    ++running.attempts[file.id];
    const PendingReply reply = ask(client, order, file.id, done, fail);
    running.replies.insert(file.id, reply);
    m_replies.limitWait(reply);
}

// Late replies to what was given up find no batch or no file.
void FileBatches::onDone(int number, const QString &fileId)
{
    Running *running = find(number);
    if (!running || !running->sent.contains(fileId)) {
        return;
    }
    addDone(*running, takeSent(*running, fileId));
    goOn(number);
}

void FileBatches::addDone(Running &running, const BatchFile &file)
{
    m_onTheWay[running.userId].remove(file.id);
    ++running.batch.done;
    emit fileDone(FileBatch(running.batch), file);
}

// `text` is what the user is told; empty for one who does not want to wait for more.
void FileBatches::addFailed(Running &running, const BatchFile &file, const QString &text)
{
    m_onTheWay[running.userId].remove(file.id);
    running.batch.failed << file;
    if (!text.isEmpty()) {
        showSingleToast(text);
    }
}

void FileBatches::onFailed(int number, const QString &fileId, const RefusalNote &refusal,
                           const QString &error, int code)
{
    Running *running = find(number);
    if (!running || !running->sent.contains(fileId)) {
        return;
    }
    FileBatch &batch = running->batch;
    const int attempt = running->attempts.value(fileId);
    if (!batch.cancelled && refusal.mayAskAgain(CallKind::Changing, code, attempt)) {
        running->queue.prepend(running->sent.take(fileId));
        sendNext();
        return;
    }
    const FileOperation operation = batch.order.operation;
    logFailure(logWordOf(operation), code, error);
    BatchFile file = takeSent(*running, fileId);
    file.reason = troubleText(troubleOf(code, refusal.refusal()));
    const QString text = failureText(operation, code, refusal);
    // That the file is not there is an answer, though the list does not know it yet.
    const bool isGone =
        code == QNetworkReply::ContentNotFoundError || code == QNetworkReply::ContentGoneError;
    if (leavesOpenWhatIsTrue(code) && !isGone) {
        running->open.append({file, text});
    } else {
        batch.needsListing = batch.needsListing || isGone;
        addFailed(*running, file, text);
    }
    goOn(number);
}

void FileBatches::searchOpen(Running &running)
{
    QSet<QString> ids;
    for (const Running::Open &open : qAsConst(running.open)) {
        ids.insert(open.file.id);
    }
    const BatchOrder &order = running.batch.order;
    running.search = new FolderSearch(order.user, order.sourceFolderId, ids, this);
    const int number = running.batch.number;
    connect(running.search, &FolderSearch::finished, this,
            [this, number](const QSet<QString> &missingIds) { onSearched(number, missingIds); });
    connect(running.search, &FolderSearch::failed, this, [this, number] {
        if (Running *found = find(number)) {
            giveUpOpen(*found);
        }
        goOn(number);
    });
}

void FileBatches::onSearched(int number, const QSet<QString> &missingIds)
{
    for (Running *running = find(number); running && !running->open.isEmpty();
         running = find(number)) {
        const Running::Open open = running->open.takeFirst();
        if (missingIds.contains(open.file.id)) {
            addDone(*running, open.file);
        } else {
            addFailed(*running, open.file, open.text);
        }
    }
    goOn(number);
}

void FileBatches::giveUpOpen(Running &running)
{
    const QList<Running::Open> open = std::exchange(running.open, {});
    for (const Running::Open &one : open) {
        addFailed(running, one.file, one.text);
        running.batch.needsListing = true;
    }
}

BatchFile FileBatches::takeSent(Running &running, const QString &fileId)
{
    running.replies.remove(fileId);
    return running.sent.take(fileId);
}

void FileBatches::goOn(int number)
{
    sendNext();
    if (const Running *running = find(number)) {
        emit progressed(FileBatch(running->batch));
    }
    finishWhenAnswered(number);
}

void FileBatches::finishWhenAnswered(int number)
{
    Running *running = find(number);
    if (!running || !running->queue.isEmpty() || !running->sent.isEmpty()) {
        return;
    }
    if (!running->open.isEmpty()) {
        if (!running->search) {
            searchOpen(*running);
        }
        return;
    }
    const FileBatch batch = running->batch;
    m_running.erase(std::remove_if(m_running.begin(), m_running.end(),
                                   [running](const auto &other) { return other.get() == running; }),
                    m_running.end());
    emit finished(batch);
}
