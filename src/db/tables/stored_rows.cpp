#include "db/tables/stored_rows.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include "db/tables/folder_setting.h"
#include "db/tables/play_history.h"
#include "db/tables/user_info.h"

namespace {

// False when the reading ended at damage instead of the last row.
bool readInOrder(const QSqlDatabase &from, const QString &order, TableRows &result)
{
    QSqlQuery query(from);
    query.setForwardOnly(true);
    if (!query.exec(
            QStringLiteral("SELECT * FROM %1 ORDER BY rowid %2").arg(result.table, order))) {
        return false;
    }
    const QSqlRecord columns = query.record();
    if (result.columns.isEmpty()) {
        for (int i = 0; i < columns.count(); ++i) {
            result.columns.append(columns.fieldName(i));
        }
    }
    while (query.next()) {
        QVariantList row;
        for (int i = 0; i < columns.count(); ++i) {
            row.append(query.value(i));
        }
        result.rows.append(row);
    }
    return !query.lastError().isValid();
}

void addRow(QSqlQuery &query, const QVariantList &row, const QVector<int> &columns)
{
    for (int i = 0; i < columns.size(); ++i) {
        query.bindValue(i, row.at(columns.at(i)));
    }
    query.exec();
}

void addTable(const QSqlDatabase &to, const TableRows &table)
{
    const QSqlRecord present = to.record(table.table);
    QStringList names;
    QStringList places;
    QVector<int> columns;
    for (int i = 0; i < table.columns.size(); ++i) {
        if (present.contains(table.columns.at(i))) {
            names.append(table.columns.at(i));
            places.append(QStringLiteral("?"));
            columns.append(i);
        }
    }
    QSqlQuery query(to);
    query.prepare(
        QStringLiteral("INSERT OR IGNORE INTO %1 (%2) values (%3)")
            .arg(table.table, names.join(QLatin1Char(',')), places.join(QLatin1Char(','))));
    for (const QVariantList &row : table.rows) {
        addRow(query, row, columns);
    }
}

} // namespace

QVector<DQModelMetaInfo *> applicationModels()
{
    return {dqMetaInfo<PlayHistory>(), dqMetaInfo<FolderSetting>(), dqMetaInfo<UserInfo>()};
}

const QString &naturalKey(const DQModelMetaInfo &model)
{
    return model.at(1).name; // behind `id`
}

QVector<TableRows> readRows(const QSqlDatabase &from)
{
    // Without it SQLite reads nothing of a file that has lost its end.
    QSqlQuery(from).exec(QStringLiteral("PRAGMA writable_schema=ON"));
    QVector<TableRows> tables;
    for (const DQModelMetaInfo *model : applicationModels()) {
        TableRows table{model->name(), {}, {}};
        if (!readInOrder(from, QStringLiteral("ASC"), table)) {
            readInOrder(from, QStringLiteral("DESC"), table);
        }
        tables.append(table);
    }
    return tables;
}

void addRows(const QSqlDatabase &to, const QVector<TableRows> &tables)
{
    QSqlDatabase target(to);
    target.transaction();
    for (const TableRows &table : tables) {
        if (!table.rows.isEmpty()) {
            addTable(to, table);
        }
    }
    target.commit();
}
