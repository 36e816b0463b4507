#pragma once

#include <QSqlDatabase>

#include "db/dq/dq_connection.h"

// A connection on a fresh database in memory, gone with the object.
class MemoryDatabase final
{
    Q_DISABLE_COPY_MOVE(MemoryDatabase)

public:
    explicit MemoryDatabase(const QString &name = "memory") : m_name(name)
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", m_name);
        database.setDatabaseName(":memory:");
        database.open();
        connection.open(database);
    }
    ~MemoryDatabase()
    {
        connection.close();
        QSqlDatabase::removeDatabase(m_name);
    }

    // Registers the models and creates their tables.
    template <class... Models>
    bool create()
    {
        return (connection.addModel(dqMetaInfo<Models>()) && ...) && connection.createTables();
    }

    DQConnection connection;

private:
    const QString m_name;
};
