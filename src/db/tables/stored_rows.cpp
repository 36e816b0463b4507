#include "db/tables/stored_rows.h"

#include <algorithm>

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include "db/dq/dq_model_meta_info.h"
#include "db/dq/dq_sqlite_statement.h"
#include "db/tables/database_file.h"
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

// False when the file is to blame.
bool addRow(QSqlQuery &query, const QVariantList &row, const QVector<int> &columns)
{
    for (int i = 0; i < columns.size(); ++i) {
        query.bindValue(i, row.at(columns.at(i)));
    }
    return query.exec() || verdictOf(query.lastError()) == FileVerdict::Good;
}

bool addTable(const QSqlDatabase &to, const TableRows &table)
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
    return std::all_of(table.rows.begin(), table.rows.end(),
                       [&](const QVariantList &row) { return addRow(query, row, columns); });
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

bool createTables(const QSqlDatabase &database)
{
    const QVector<DQModelMetaInfo *> models = applicationModels();
    return std::all_of(models.begin(), models.end(), [&database](const DQModelMetaInfo *model) {
        return QSqlQuery(database).exec(DQSqliteStatement().createTableIfNotExists(*model));
    });
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

bool addRows(const QSqlDatabase &to, const QVector<TableRows> &tables)
{
    QSqlDatabase target(to);
    const bool added = target.transaction() &&
                       std::all_of(tables.begin(), tables.end(), [&to](const TableRows &table) {
                           return table.rows.isEmpty() || addTable(to, table);
                       });
    if (added && target.commit()) {
        return true;
    }
    target.rollback();
    return false;
}
