#pragma once

#include <memory>
#include <vector>

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include "db/tables/user_info.h"
#include "net/reply_guard.h"

class RefusalNote;

enum class FileOperation { Trash, Delete, Move };

struct BatchFile
{
    QString id;
    QString name;        // for the user's eyes
    QString reason = {}; // why it failed, where that is known; for the user as well
};

// What a user wants done, to which files of whose drive.
struct BatchOrder
{
    UserInfo user;
    FileOperation operation = FileOperation::Trash;
    QList<BatchFile> files;
    QString sourceFolderId;
    QString targetFolderId; // for Move alone
};

// An order and how far it has come.
struct FileBatch
{
    int number = 0; // tells batches apart; the newer has the higher one
    BatchOrder order;
    int done = 0;
    QList<BatchFile> failed;
    int skipped = 0;           // never sent, since the batch was cancelled before
    bool cancelled = false;    // sends nothing more
    bool needsListing = false; // of some file nothing says what is true in the drive now

    [[nodiscard]] int total() const { return order.files.size(); }
    [[nodiscard]] int answered() const { return done + failed.size() + skipped; }
    // The order for the files that failed.
    [[nodiscard]] BatchOrder again() const;
};

// Moves, trashes and deletes many files, a few requests of each user at a time, so that neither the
// window nor the drive is flooded. Belongs to the program, not to a page: a batch goes on when its
// page is made anew, another user is shown or the folder is left. Works on the interface thread.
//
// Files whose answers were lost are looked for in their folder, when all others are answered: what
// is not there any more has been done.
class FileBatches final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileBatches)

public:
    static constexpr int MostAtOnce = 4; // of one user

    explicit FileBatches(QObject *parent = nullptr);
    ~FileBatches() override;

    // Returns at once with the number of files taken: a file that is on its way already, in this
    // user's earlier batches, is left to those. The user is told where that leaves none.
    int start(const BatchOrder &order);

    // True as long as any file was neither answered nor given up.
    [[nodiscard]] bool hasPending() const { return !m_running.empty(); }
    // The files that still wait for their answer; of all users where none is named.
    [[nodiscard]] int remaining(const QString &userId = QString()) const;
    // Those that run, the oldest first.
    [[nodiscard]] QList<FileBatch> running() const;

    // Sends no further file of the batch, or of all batches of the user. What is on the wire is
    // waited for, unless it was cancelled before: then its connections are closed.
    void cancel(int number);
    void cancel(const QString &userId);

signals:
    // A batch was started, came on by a file, or was cancelled.
    void progressed(const FileBatch &batch);
    void fileDone(const FileBatch &batch, const BatchFile &file);
    // The last signal of a batch, however it ended.
    void finished(const FileBatch &batch);

private:
    struct Running;

    [[nodiscard]] Running *find(int number) const;
    [[nodiscard]] int sentOf(const QString &userId) const;
    void sendNext();
    void send(Running &running);
    void onDone(int number, const QString &fileId);
    void onFailed(int number, const QString &fileId, const RefusalNote &refusal,
                  const QString &error, int code);
    void stop(Running &running);
    void searchOpen(Running &running);
    void onSearched(int number, const QSet<QString> &missingIds);
    void giveUpOpen(Running &running);
    void addDone(Running &running, const BatchFile &file);
    void addFailed(Running &running, const BatchFile &file, const QString &text);
    BatchFile takeSent(Running &running, const QString &fileId);
    void goOn(int number);
    void finishWhenAnswered(int number);

    std::vector<std::unique_ptr<Running>> m_running; // in the order of their start
    QHash<QString, QSet<QString>> m_onTheWay;        // file ids by user
    int m_lastNumber = 0;
    ReplyGuard m_replies;
};
