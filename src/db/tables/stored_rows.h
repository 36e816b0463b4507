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
// there is left out, and so are columns that the table lacks.
void addRows(const QSqlDatabase &to, const QVector<TableRows> &tables);
