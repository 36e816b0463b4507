#include "db/tables/unwritten_rows.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include "db/dq/dq_model_meta_info.h"
#include "db/tables/stored_rows.h"

namespace {

// One row that changed in memory.
struct Change
{
    QVariant key;
    QVariant removedAt;      // null for a row that is there
    bool isMadeAnew = false; // removed, and made once more
};

QString readTable(const DQModelMetaInfo &model)
{
    return QStringLiteral("Read") + model.name();
}

QString places(int count)
{
    return QStringList(QVector<QString>(count, QStringLiteral("?")).toList())
        .join(QLatin1Char(','));
}

// Whether somebody gave the column this value since it was read. In a row that was never read a
// zero may stand for what is not known, such as the place in a video.
bool isSet(const QVariant &value, const QVariant &read, bool isUnread)
{
    if (value.isNull() || read.isNull()) {
        const bool isZero = value.type() != QVariant::String && value.toDouble() == 0;
        return value.isNull() != read.isNull() && !(isUnread && isZero);
    }
    return value != read;
}

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
    QSqlRecord rowOf(const QString &table, const QString &column, const QVariant &key);
    void writeTable(const DQModelMetaInfo &model);
    void writeChange(const DQModelMetaInfo &model, const Change &change);
    void addRow(const DQModelMetaInfo &model, const QSqlRecord &row);
    void changeRow(const DQModelMetaInfo &model, const QSqlRecord &row, const QSqlRecord &read);

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

// Of the memory; empty when there is none.
QSqlRecord ChangeWriter::rowOf(const QString &table, const QString &column, const QVariant &key)
{
    QSqlQuery query =
        run(m_memory, QStringLiteral("SELECT * FROM %1 WHERE %2 = ?").arg(table, column), {key});
    return query.next() ? query.record() : QSqlRecord();
}

// As it is in memory, with the columns that are not null and, unless it is taken, its `id`.
void ChangeWriter::addRow(const DQModelMetaInfo &model, const QSqlRecord &row)
{
    const bool isIdTaken =
        findsInFile(QStringLiteral("SELECT 1 FROM %1 WHERE id = ?").arg(model.name()),
                    {row.value(QStringLiteral("id"))});
    QStringList names;
    QVariantList values;
    for (int i = 0; i < row.count(); ++i) {
        if (!row.isNull(i) && !(isIdTaken && row.fieldName(i) == QLatin1String("id"))) {
            names.append(row.fieldName(i));
            values.append(row.value(i));
        }
    }
    run(m_file,
        QStringLiteral("INSERT INTO %1 (%2) values (%3)")
            .arg(model.name(), names.join(QLatin1Char(',')), places(names.size())),
        values);
}

// The columns that are others than when the row was read. The database itself fills in when a row
// was made; the file knows better.
void ChangeWriter::changeRow(const DQModelMetaInfo &model, const QSqlRecord &row,
                             const QSqlRecord &read)
{
    QStringList changes;
    QVariantList values;
    for (int i = 0; i < row.count(); ++i) {
        const QString name = row.fieldName(i);
        if (isSet(row.value(i), read.value(name), read.isEmpty()) && name != QLatin1String("id") &&
            name != QLatin1String("createTime")) {
            changes.append(name + QStringLiteral(" = ?"));
            values.append(row.isNull(i) ? QVariant() : row.value(i));
        }
    }
    const QString &key = naturalKey(model);
    if (!changes.isEmpty()) {
        run(m_file,
            QStringLiteral("UPDATE %1 SET %2 WHERE %3 = ?")
                .arg(model.name(), changes.join(QLatin1Char(',')), key),
            values << row.value(key));
    }
}

void ChangeWriter::writeChange(const DQModelMetaInfo &model, const Change &change)
{
    const QString &table = model.name();
    const QString &column = naturalKey(model);
    const QSqlRecord row = rowOf(table, column, change.key);
    const QString removal =
        QStringLiteral("DELETE FROM %1 WHERE %2 = ? AND NOT ifnull(updateTime > ?, 0)")
            .arg(table, column);
    if (row.isEmpty()) {
        run(m_file, removal, {change.key, change.removedAt});
        return;
    }
    const QVariant writtenAt = row.value(QStringLiteral("updateTime"));
    const QString laterRow = QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? AND updateTime > ?");
    if (findsInFile(laterRow.arg(table, column), {change.key, writtenAt})) {
        return;
    }
    if (change.isMadeAnew) {
        run(m_file, removal, {change.key, writtenAt});
    }
    const QString anyRow = QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ?");
    if (findsInFile(anyRow.arg(table, column), {change.key})) {
        changeRow(model, row, rowOf(readTable(model), column, change.key));
    } else {
        addRow(model, row);
    }
}

void ChangeWriter::writeTable(const DQModelMetaInfo &model)
{
    QSqlQuery changes = run(
        m_memory, QStringLiteral("SELECT key, removedAt, isMadeAnew FROM Changed WHERE name = ?"),
        {model.name()});
    while (changes.next()) {
        writeChange(model, {changes.value(0), changes.value(1), changes.value(2).toBool()});
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

// What a REPLACE takes the place of is not removed.
void noteChangesOf(const DQModelMetaInfo &model, QSqlQuery &query)
{
    const auto execute = [&](const char *sql) {
        query.exec(QLatin1String(sql).arg(model.name(), naturalKey(model)));
    };
    query.exec(
        QStringLiteral("CREATE TABLE %1 AS SELECT * FROM %2").arg(readTable(model), model.name()));
    execute("CREATE TRIGGER Replace%1 BEFORE INSERT ON %1 "
            "BEGIN REPLACE INTO Replacing VALUES ('%1', new.%2); END");
    execute("CREATE TRIGGER Insert%1 AFTER INSERT ON %1 "
            "BEGIN DELETE FROM Replacing; "
            "REPLACE INTO Changed SELECT '%1', new.%2, NULL, EXISTS "
            "(SELECT 1 FROM Changed WHERE name = '%1' AND key = new.%2 AND isMadeAnew); END");
    // Never before the row's own time: the clock may have been set back.
    execute("CREATE TRIGGER Delete%1 AFTER DELETE ON %1 "
            "WHEN NOT EXISTS (SELECT 1 FROM Replacing WHERE name = '%1' AND key = old.%2) "
            "BEGIN REPLACE INTO Changed VALUES ('%1', old.%2, "
            "max(ifnull(old.updateTime, ''), strftime('%Y-%m-%d %H:%M:%f', 'now')), 1); END");
}

} // namespace

void noteChanges(const QSqlDatabase &memory)
{
    QSqlQuery query(memory);
    query.exec(QStringLiteral("CREATE TABLE Changed (name TEXT, key TEXT, removedAt TEXT, "
                              "isMadeAnew INTEGER, UNIQUE(name, key))"));
    query.exec(QStringLiteral("CREATE TABLE Replacing (name TEXT, key TEXT)"));
    // Else the row that a REPLACE takes the place of goes without a trigger.
    query.exec(QStringLiteral("PRAGMA recursive_triggers=ON"));
    for (const DQModelMetaInfo *model : applicationModels()) {
        noteChangesOf(*model, query);
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
