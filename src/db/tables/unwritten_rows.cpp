#include "db/tables/unwritten_rows.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include "db/dq/dq_model_meta_info.h"
#include "db/tables/stored_rows.h"

namespace {

// Brings changes from one database to another. After the first failure it executes nothing more.
class ChangeWriter final
{
public:
    ChangeWriter(const QSqlDatabase &memory, const QSqlDatabase &file)
        : m_memory(memory), m_file(file)
    {
    }

    QSqlError write();

private:
    QSqlQuery run(const QSqlDatabase &on, const QString &sql, const QVariantList &values = {});
    bool findsInFile(const QString &sql, const QVariantList &values);
    void writeTable(const DQModelMetaInfo &model);
    void writeChange(const DQModelMetaInfo &model, const QVariant &key, const QVariant &removedAt);
    void writeRow(const QString &table, const QSqlRecord &row, bool withId);

    const QSqlDatabase m_memory;
    const QSqlDatabase m_file;
    QSqlError m_error;
};

// One statement and its values; it finds no row when it fails.
QSqlQuery ChangeWriter::run(const QSqlDatabase &on, const QString &sql, const QVariantList &values)
{
    QSqlQuery query(on);
    if (m_error.isValid()) {
        return query;
    }
    query.setForwardOnly(true);
    query.prepare(sql);
    for (const QVariant &value : values) {
        query.addBindValue(value);
    }
    if (!query.exec()) {
        m_error = query.lastError();
    }
    return query;
}

bool ChangeWriter::findsInFile(const QString &sql, const QVariantList &values)
{
    return run(m_file, sql, values).next();
}

// Writes one row as it is in memory, with the columns that are not null.
void ChangeWriter::writeRow(const QString &table, const QSqlRecord &row, bool withId)
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
    run(m_file,
        QStringLiteral("REPLACE INTO %1 (%2) values (%3)")
            .arg(table, names.join(QLatin1Char(',')), places.join(QLatin1Char(','))),
        values);
}

void ChangeWriter::writeChange(const DQModelMetaInfo &model, const QVariant &key,
                               const QVariant &removedAt)
{
    const QString &table = model.name();
    const QString &column = naturalKey(model);
    QSqlQuery kept =
        run(m_memory, QStringLiteral("SELECT * FROM %1 WHERE %2 = ?").arg(table, column), {key});
    if (!kept.next()) {
        const QString removal =
            QStringLiteral("DELETE FROM %1 WHERE %2 = ? AND NOT ifnull(updateTime > ?, 0)");
        run(m_file, removal.arg(table, column), {key, removedAt});
        return;
    }
    const QSqlRecord row = kept.record();
    const QVariant writtenAt = row.value(QStringLiteral("updateTime"));
    const QString laterRow = QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? AND updateTime > ?");
    if (findsInFile(laterRow.arg(table, column), {key, writtenAt})) {
        return;
    }
    const QString otherRowWithId = QStringLiteral("SELECT 1 FROM %1 WHERE %2 <> ? AND id = ?");
    const QVariant id = row.value(QStringLiteral("id"));
    writeRow(table, row, !findsInFile(otherRowWithId.arg(table, column), {key, id}));
}

void ChangeWriter::writeTable(const DQModelMetaInfo &model)
{
    QSqlQuery changes =
        run(m_memory, QStringLiteral("SELECT key, removedAt FROM Changed WHERE name = ?"),
            {model.name()});
    while (changes.next()) {
        writeChange(model, changes.value(0), changes.value(1));
    }
    if (!m_error.isValid()) {
        m_error = changes.lastError();
    }
}

QSqlError ChangeWriter::write()
{
    run(m_file, QStringLiteral("BEGIN IMMEDIATE TRANSACTION"));
    for (const DQModelMetaInfo *model : applicationModels()) {
        writeTable(*model);
    }
    run(m_file, QStringLiteral("COMMIT TRANSACTION"));
    if (m_error.isValid()) {
        QSqlQuery(m_file).exec(QStringLiteral("ROLLBACK TRANSACTION"));
    }
    run(m_memory, QStringLiteral("DELETE FROM Changed"));
    return m_error;
}

} // namespace

void noteChanges(const QSqlDatabase &memory)
{
    QSqlQuery query(memory);
    query.exec(QStringLiteral(
        "CREATE TABLE Changed (name TEXT, key TEXT, removedAt TEXT, UNIQUE(name, key))"));
    // Else the row that a REPLACE takes the place of goes without a trigger.
    query.exec(QStringLiteral("PRAGMA recursive_triggers=ON"));
    for (const DQModelMetaInfo *model : applicationModels()) {
        const QString trigger =
            QStringLiteral("CREATE TRIGGER %3%1 AFTER %3 ON %1 "
                           "BEGIN REPLACE INTO Changed VALUES ('%1', %4.%2, %5); END")
                .arg(model->name(), naturalKey(*model));
        query.exec(
            trigger.arg(QStringLiteral("INSERT"), QStringLiteral("new"), QStringLiteral("NULL")));
        // Never before the row's own time: the clock may have been set back.
        query.exec(trigger.arg(QStringLiteral("DELETE"), QStringLiteral("old"),
                               QStringLiteral("max(ifnull(old.updateTime, ''), "
                                              "strftime('%Y-%m-%d %H:%M:%f', 'now'))")));
    }
}

bool hasUnwrittenRows(const QSqlDatabase &memory)
{
    QSqlQuery query(memory);
    return query.exec(QStringLiteral("SELECT 1 FROM Changed")) && query.next();
}

QSqlError writeChanges(const QSqlDatabase &memory, const QSqlDatabase &file)
{
    return ChangeWriter(memory, file).write();
}
