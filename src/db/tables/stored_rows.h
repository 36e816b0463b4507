#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVector>

class DQModelMetaInfo;
class QSqlDatabase;

// The models of the application's tables, in the order in which the tables are made.
[[nodiscard]] QVector<DQModelMetaInfo *> applicationModels();

// The column that tells the rows of a table apart for the user: userId, fileId, folderId.
[[nodiscard]] const QString &naturalKey(const DQModelMetaInfo &model);

// Makes those of them that are missing.
[[nodiscard]] bool createTables(const QSqlDatabase &database);

// Rows of one table, apart from any file.
struct TableRows
{
    QString table;
    QStringList columns;
    QVector<QVariantList> rows;
};

// The rows of the application's tables: all that can be read, from both ends of a damaged one. The
// connection is good for nothing else afterwards.
[[nodiscard]] QVector<TableRows> readRows(const QSqlDatabase &from);

// Adds the rows, with their `id`, to the tables of the same names. One that clashes with a row
// there or suits no table is left out, and so are columns that the table lacks. False when the file
// did not take them; then none is there.
[[nodiscard]] bool addRows(const QSqlDatabase &to, const QVector<TableRows> &tables);
