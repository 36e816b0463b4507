#pragma once

#include <functional>

#include <QString>
#include <QTimer>

#include "db/dq/dq_connection.h"
#include "db/tables/file_lock.h"
#include "db/tables/stored_rows.h"

enum class FileVerdict;

// The application's database: Qt's default QSQLITE connection and the models registered on it. The
// file and SQLite's files beside it are readable by their owner alone.
//
// Writes are synchronous and durable: what a save reported as done survives a killed process and
// a power cut. Where the file does not allow that, nothing is lost and nobody waits:
//
// - A file that is no database, or a damaged one, found at the start or later, is put aside beside
//   itself under a name with the date; a new one takes its place with the rows that could still be
//   read. That waits until no other process has it open.
// - While another process holds the file locked, the handle is not open and every operation fails
//   in its quiet way (false, 0, nothing found) until tryAgain() finds it free.
// - With a folder that cannot be written, or a full disk, at the start or later, the session goes
//   on in memory with the rows that can be read, and so it does while another process does not let
//   go of the file. What changes is written as soon as the file takes it, tried every few seconds
//   and at close().
class Database final
{
    Q_DISABLE_COPY_MOVE(Database)

public:
    enum class State { Ready, Locked, InMemory };

    // Opens "moravu.db" in the data directory and creates the missing tables.
    Database();
    explicit Database(QString filePath);
    ~Database();

    // Writes before what waits in memory, for which it waits some seconds. False when the file does
    // not take it: the handle stays open, and what waits is lost with it.
    bool close();

    [[nodiscard]] State state() const { return m_state; }
    // Told when the state has changed or a file has been put aside, from the next time on.
    void setListener(const std::function<void()> &listener) { m_listener = listener; }

    // Opens a locked file, or writes what a session in memory has kept back and goes on with the
    // file. True when the database is Ready.
    bool tryAgain();

    // Finds a way to go on when the last statement failed because of the file: in memory when that
    // cannot be used, with a new one when it is damaged. True when the statement is worth another
    // try.
    bool recover();

    // Whether changes of a session in memory wait to be written.
    [[nodiscard]] bool isWaitingToWrite() const;

    // Where the file lies now that was no database or a damaged one; empty when there was none.
    [[nodiscard]] const QString &putAside() const { return m_putAside; }

    [[nodiscard]] const DQConnection &connection() const { return m_connection; }

private:
    void open(const QVector<TableRows> &ofSession = {});
    [[nodiscard]] FileVerdict openFile();
    FileVerdict replaceFile();
    void openMemory(const QVector<TableRows> &rows);
    bool createModelTables();
    bool writeBack(int busyMilliseconds);
    void disconnect();
    void enter(State state);

    const QString m_filePath;
    FileLock m_lock; // a share, while the connection is one to the file
    DQConnection m_connection;
    State m_state = State::Locked;
    QString m_putAside;
    bool m_isPutAsideTold = true;
    QTimer m_retry;
    std::function<void()> m_listener;
};

// The process-wide handle: null until start-up has published one. Not owned; whoever published
// it deletes it.
[[nodiscard]] Database *database();
void setDatabase(Database *handle);
