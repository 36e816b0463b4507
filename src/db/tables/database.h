#pragma once

#include <QString>

#include "db/dq/dq_connection.h"

/// The application's database: Qt's default QSQLITE connection on one file and the models
/// registered on it. The file and SQLite's files beside it are readable by their owner alone.
///
/// Writes are synchronous and durable: what a save reported as done survives a killed process and
/// a power cut. A file that cannot be used is left as it is; a warning is logged, and every
/// operation then fails in its quiet way (false, 0, nothing found).
class Database final
{
    Q_DISABLE_COPY_MOVE(Database)

public:
    /// Opens "moravu.db" in the data directory and creates the missing tables.
    Database();
    explicit Database(const QString &filePath);
    ~Database();

    void close();

    [[nodiscard]] bool isOpen() const { return m_connection.database().isOpen(); }
    /// Whether the tables are there: false for a file that is damaged, locked by another process
    /// for longer than a write waits, or cannot be made.
    [[nodiscard]] bool isUsable() const { return m_usable; }
    [[nodiscard]] const DQConnection &connection() const { return m_connection; }

private:
    void open(const QString &filePath);
    bool openFile(const QString &filePath);

    DQConnection m_connection;
    bool m_usable = false;
};

/// The process-wide handle: null until start-up has published one. Not owned; whoever published
/// it deletes it.
[[nodiscard]] Database *database();
void setDatabase(Database *handle);
