#include "db/dq/dq_connection.h"

#include <utility>

#include <QMutexLocker>
#include <QSqlError>
#include <QtDebug>

#include "db/dq/dq_connection_priv.h"
#include "db/dq/dq_model.h"
#include "db/dq/dq_shared_list.h"
#include "db/dq/dq_sqlite_statement.h"
#include "db/dq/dq_stream.h"

DQConnection::DQConnection(std::shared_ptr<DQConnectionPriv> block) : d(std::move(block)) {}

bool DQConnection::open(const QSqlDatabase &db)
{
    if (db.driverName() != QLatin1String("QSQLITE")) {
        qWarning("Only QSQLITE dirver is supported.");
        return false;
    }
    d = std::make_shared<DQConnectionPriv>();
    d->statement = std::make_unique<DQSqliteStatement>();
    d->database = db;
    return true;
}

void DQConnection::close()
{
    if (!d) {
        return;
    }
    const QMutexLocker lock(&d->mutex);
    d->lastQuery = QSqlQuery();
    d->models.clear();
    d->database = QSqlDatabase();
}

bool DQConnection::isOpen() const
{
    return d && d->database.isValid();
}

QSqlDatabase DQConnection::database() const
{
    return d ? d->database : QSqlDatabase();
}

bool DQConnection::addModel(DQModelMetaInfo *model)
{
    if (!isOpen() || !model) {
        return false;
    }
    const QMutexLocker lock(&d->mutex);
    if (d->models.contains(model)) {
        return false;
    }
    d->models.append(model);
    model->m_connection = d;
    return true;
}

bool DQConnection::createTables()
{
    if (!isOpen()) {
        return false;
    }
    const QVector<DQModelMetaInfo *> models = registeredModels();
    for (const DQModelMetaInfo *model : models) {
        if (!hasTable(*model) && !createTable(*model)) {
            return false;
        }
    }
    return true;
}

QVector<DQModelMetaInfo *> DQConnection::registeredModels() const
{
    const QMutexLocker lock(&d->mutex);
    return d->models;
}

bool DQConnection::createTable(const DQModelMetaInfo &model)
{
    QSqlQuery query = newQuery();
    if (!run(query, statement().createTableIfNotExists(model), {})) {
        qWarning().noquote()
            << QStringLiteral(
                   "DQConnection::createTables() - Failed to create table for %1 . Error : %2")
                   .arg(model.className(), query.lastError().text());
        qWarning().noquote() << query.lastQuery();
        return false;
    }
    const DQSharedList records = model.initialData();
    for (int i = 0; i < records.size(); ++i) {
        records.copyOf(i)->save(false, false);
    }
    return true;
}

bool DQConnection::dropTables()
{
    if (!isOpen()) {
        return false;
    }
    const QVector<DQModelMetaInfo *> models = registeredModels();
    for (const DQModelMetaInfo *model : models) {
        if (hasTable(*model) && !exec(statement().dropTable(*model))) {
            return false;
        }
    }
    return true;
}

bool DQConnection::hasTable(const DQModelMetaInfo &model)
{
    QSqlQuery query = newQuery();
    const bool found = run(query, statement().existsTable(model), {}) && query.next();
    query.finish();
    return found;
}

QSqlQuery DQConnection::lastQuery() const
{
    if (!d) {
        return QSqlQuery(QSqlDatabase());
    }
    const QMutexLocker lock(&d->mutex);
    return d->lastQuery;
}

const DQSqlStatement &DQConnection::statement() const
{
    return *d->statement;
}

QSqlQuery DQConnection::newQuery() const
{
    QSqlQuery query(database());
    query.setForwardOnly(true);
    return query;
}

bool DQConnection::run(QSqlQuery &query, const QString &sql, const DQBindings &bindings)
{
    bool done = query.prepare(sql);
    if (done) {
        for (const DQBinding &binding : bindings) {
            query.bindValue(binding.placeholder, dqToSql(binding.value));
        }
        done = query.exec();
    }
    const QMutexLocker lock(&d->mutex);
    d->lastQuery = query;
    return done;
}

bool DQConnection::exec(QSqlQuery &query, const QString &sql, const DQBindings &bindings)
{
    if (run(query, sql, bindings)) {
        return true;
    }
    qWarning().noquote() << QStringLiteral("Failed : %1").arg(sql);
    qWarning().noquote() << query.lastError().text();
    return false;
}

bool DQConnection::exec(const QString &sql)
{
    QSqlQuery query = newQuery();
    return exec(query, sql);
}
