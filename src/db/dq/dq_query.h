#pragma once

#include <memory>

#include <QSharedDataPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "db/dq/dq_list.h"
#include "db/dq/dq_where.h"

class DQConnection;
class DQModel;
class DQModelMetaInfo;
class DQQueryPriv;
class DQQueryRun;
class DQSharedList;

// A query on one model. It describes first, with calls that can be chained, and is executed by
// one of call(), count(), remove(), or exec() with next() and recordTo() for one row at a time.
// Copies share the description until one of them changes; each executes for itself, and a copy
// of a query whose rows are being read starts without any.
class DQQuery final
{
public:
    // On the connection that the model is registered with, or on another one.
    explicit DQQuery(const DQModelMetaInfo *model);
    DQQuery(const DQModelMetaInfo *model, const DQConnection &connection);
    DQQuery(const DQQuery &);
    DQQuery &operator=(const DQQuery &);
    ~DQQuery();

    // Replaces the condition.
    DQQuery &filter(const DQWhere &where);
    // Adds a term such as "updateTime desc".
    DQQuery &orderBy(const QString &term);
    // 0: no limit. Does not go together with orderBy(); see DQSqlStatement::select().
    DQQuery &limit(int rows);
    // Columns to ask for instead of all.
    DQQuery &resultFields(const QStringList &fieldNames);
    // An SQL function over the result columns, such as "count" or "max".
    DQQuery &resultFunction(const QString &name);

    // False, with a warning, when the statement fails.
    bool exec();
    // False after the last row, or, with a warning, when the next one cannot be read.
    bool next();
    // Copies the current row into the fields of the same names; the others stay. False when
    // there is no current row.
    bool recordTo(DQModel &record) const;
    // A column of the current row by its number.
    [[nodiscard]] QVariant value(int column) const;
    // Ends the reading of rows, which the database holds a lock for; the last row does it too.
    void finish();

    // All rows. With a warning, those before the failure when the statement fails.
    [[nodiscard]] DQSharedList call();
    // The number of rows; 0, with a warning, when the statement fails.
    [[nodiscard]] int count();
    // Deletes the rows that satisfy the condition: all of them when there is none.
    bool remove();

    [[nodiscard]] const DQModelMetaInfo *metaInfo() const;
    [[nodiscard]] const DQWhere &where() const;
    [[nodiscard]] const QString &whereSql() const;
    [[nodiscard]] const QStringList &orderByTerms() const;
    [[nodiscard]] int limitCount() const;
    [[nodiscard]] const QStringList &resultFieldNames() const;
    [[nodiscard]] const QString &functionName() const;

private:
    QSharedDataPointer<DQQueryPriv> d;
    std::unique_ptr<DQQueryRun> m_run; // since exec(), until finish()
};

// A query on all rows of a model.
template <class Model>
[[nodiscard]] DQQuery dqQuery()
{
    return DQQuery(dqMetaInfo<Model>());
}
