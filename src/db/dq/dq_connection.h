#pragma once

#include <memory>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVector>

#include "db/dq/dq_bindings.h"

class DQConnectionPriv;
class DQModelMetaInfo;
class DQSqlStatement;

// An open SQLite database together with the models whose tables it holds. Copies stand for the
// same connection. Everything is called from the thread that opened the QSqlDatabase.
class DQConnection final
{
public:
    DQConnection() = default;

    // Takes `db` over; whatever this object stood for before is left to its other copies. False,
    // with a warning, for any driver but "QSQLITE".
    bool open(const QSqlDatabase &db);

    // Lets go of the QSqlDatabase in all copies, so that it can be closed and removed.
    void close();

    [[nodiscard]] bool isOpen() const;
    [[nodiscard]] QSqlDatabase database() const;

    // From now on the model's records live here. False when the connection is not open or knows
    // the model already.
    bool addModel(DQModelMetaInfo *model);

    // Creates the missing tables in the order of registration and stores their initial data.
    // Stops at the first failure, logged as a warning; tables made before that stay.
    bool createTables();

    // Drops the tables of all registered models with everything in them. Stops at the first
    // failure.
    bool dropTables();

    // The query that was executed last, for its text and its error.
    [[nodiscard]] QSqlQuery lastQuery() const;

    // The builder of this connection's SQL. The connection must be open.
    [[nodiscard]] const DQSqlStatement &statement() const;

    // Prepares `sql`, binds each value under its placeholder and executes. False, with warnings
    // that give the text and the reason (never a value), when that fails.
    bool exec(QSqlQuery &query, const QString &sql, const DQBindings &bindings = {});
    bool exec(const QString &sql);

    // A query of this connection that is not yet prepared.
    [[nodiscard]] QSqlQuery newQuery() const;

private:
    friend class DQModelMetaInfo;
    friend class DQTransaction;

    explicit DQConnection(std::shared_ptr<DQConnectionPriv> block);

    bool run(QSqlQuery &query, const QString &sql, const DQBindings &bindings);
    [[nodiscard]] bool hasTable(const DQModelMetaInfo &model);
    [[nodiscard]] bool createTable(const DQModelMetaInfo &model);
    [[nodiscard]] QVector<DQModelMetaInfo *> registeredModels() const;

    std::shared_ptr<DQConnectionPriv> d;
};
