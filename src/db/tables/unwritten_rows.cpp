#include "db/tables/unwritten_rows.h"

#include <QSqlDatabase>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include "db/dq/dq_model_meta_info.h"
#include "db/tables/stored_rows.h"

namespace {

// One statement and its values; inactive when it fails.
QSqlQuery run(const QSqlDatabase &on, const QString &sql, const QVariantList &values = {})
{
    QSqlQuery query(on);
    query.setForwardOnly(true);
    query.prepare(sql);
    for (const QVariant &value : values) {
        query.addBindValue(value);
    }
    query.exec();
    return query;
}

bool isThere(const QSqlDatabase &on, const QString &sql, const QVariantList &values)
{
    return run(on, sql, values).next();
}

// Writes one row as it is in memory, with the columns that are not null.
bool writeRow(const QSqlDatabase &file, const QString &table, const QSqlRecord &row, bool withId)
{
    QStringList names;
    QStringList places;
    QVariantList values;
    for (int i = 0; i < row.count(); ++i) {
        if (!row.isNull(i) && (withId || row.fieldName(i) != QLatin1String("id"))) {
            names.append(row.fieldName(i));
            places.append(QStringLiteral("?"));
            values.append(row.value(i));
        }
    }
    const QString sql =
        QStringLiteral("REPLACE INTO %1 (%2) values (%3)")
            .arg(table, names.join(QLatin1Char(',')), places.join(QLatin1Char(',')));
    return run(file, sql, values).isActive();
}

bool writeChange(const QSqlDatabase &memory, const QSqlDatabase &file, const DQModelMetaInfo &model,
                 const QVariant &key)
{
    const QString &table = model.name();
    const QString &column = naturalKey(model);
    QSqlQuery query =
        run(memory, QStringLiteral("SELECT * FROM %1 WHERE %2 = ?").arg(table, column), {key});
    if (!query.next()) {
        return run(file, QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(table, column), {key})
            .isActive();
    }
    const QSqlRecord row = query.record();
    const QString isNewer = QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? AND updateTime > ?");
    if (isThere(file, isNewer.arg(table, column), {key, row.value(QStringLiteral("updateTime"))})) {
        return true;
    }
    const QString isTaken = QStringLiteral("SELECT 1 FROM %1 WHERE %2 <> ? AND id = ?");
    const bool withId =
        !isThere(file, isTaken.arg(table, column), {key, row.value(QStringLiteral("id"))});
    return writeRow(file, table, row, withId);
}

bool writeTable(const QSqlDatabase &memory, const QSqlDatabase &file, const DQModelMetaInfo &model)
{
    QSqlQuery keys =
        run(memory, QStringLiteral("SELECT key FROM Changed WHERE name = ?"), {model.name()});
    bool written = true;
    while (written && keys.next()) {
        written = writeChange(memory, file, model, keys.value(0));
    }
    return written;
}

} // namespace

void noteChanges(const QSqlDatabase &memory)
{
    run(memory, QStringLiteral("CREATE TABLE Changed (name TEXT, key TEXT, UNIQUE(name, key))"));
    // Else the row that a REPLACE takes the place of goes without a trigger.
    run(memory, QStringLiteral("PRAGMA recursive_triggers=ON"));
    for (const DQModelMetaInfo *model : applicationModels()) {
        const QString trigger =
            QStringLiteral("CREATE TRIGGER %3%1 AFTER %3 ON %1 "
                           "BEGIN REPLACE INTO Changed VALUES ('%1', %4.%2); END")
                .arg(model->name(), naturalKey(*model));
        run(memory, trigger.arg(QStringLiteral("INSERT"), QStringLiteral("new")));
        run(memory, trigger.arg(QStringLiteral("DELETE"), QStringLiteral("old")));
    }
}

bool hasUnwrittenRows(const QSqlDatabase &memory)
{
    return isThere(memory, QStringLiteral("SELECT 1 FROM Changed"), {});
}

bool writeChanges(const QSqlDatabase &memory, const QSqlDatabase &file)
{
    bool written = run(file, QStringLiteral("BEGIN IMMEDIATE TRANSACTION")).isActive();
    for (const DQModelMetaInfo *model : applicationModels()) {
        written = written && writeTable(memory, file, *model);
    }
    if (!written || !run(file, QStringLiteral("COMMIT TRANSACTION")).isActive()) {
        run(file, QStringLiteral("ROLLBACK TRANSACTION"));
        return false;
    }
    return run(memory, QStringLiteral("DELETE FROM Changed")).isActive();
}
