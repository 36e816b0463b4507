#include "db/dq/dq_query.h"

#include <optional>
#include <utility>

#include <QSharedData>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVector>
#include <QtDebug>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_model.h"
#include "db/dq/dq_shared_list.h"
#include "db/dq/dq_sql_statement.h"

class DQQueryPriv final : public QSharedData
{
public:
    DQQueryPriv(const DQModelMetaInfo *metaInfo, DQConnection on)
        : connection(std::move(on)), model(metaInfo)
    {
    }

    DQQueryPriv(const DQQueryPriv &other)
        : QSharedData(other)
        , connection(other.connection)
        , model(other.model)
        , where(other.where)
        , whereSql(other.whereSql)
        , bindings(other.bindings)
        , orderBy(other.orderBy)
        , limit(other.limit)
        , functionName(other.functionName)
        , fieldNames(other.fieldNames)
    {
    }
    DQQueryPriv &operator=(const DQQueryPriv &) = delete;

    // The connection keeps the last query, which must not keep the database locked.
    ~DQQueryPriv() { finish(); }

    void finish()
    {
        if (query)
            query->finish();
    }

    DQConnection connection;
    const DQModelMetaInfo *model = nullptr;
    DQWhere where;
    QString whereSql;
    DQBindings bindings;
    QStringList orderBy;
    int limit = 0;
    QString functionName;
    QStringList fieldNames;
    std::optional<QSqlQuery> query; // once executed

    // The result's column of each field of a model, -1 for none; found once per execution.
    mutable const DQModelMetaInfo *columnsModel = nullptr;
    mutable QVector<int> columns;
};

namespace {

QVector<int> columnsOf(const DQModelMetaInfo &model, const QSqlRecord &row)
{
    QVector<int> columns;
    columns.reserve(model.size());
    for (int i = 0; i < model.size(); ++i) {
        const QString &name = model.at(i).name;
        columns.append(row.fieldName(i) == name ? i : row.indexOf(name));
    }
    return columns;
}

} // namespace

DQQuery::DQQuery(const DQModelMetaInfo *model) : DQQuery(model, model->connection()) {}

DQQuery::DQQuery(const DQModelMetaInfo *model, const DQConnection &connection)
    : d(new DQQueryPriv(model, connection))
{
}

DQQuery::DQQuery(const DQQuery &) = default;
DQQuery &DQQuery::operator=(const DQQuery &) = default;
DQQuery::~DQQuery() = default;

DQQuery &DQQuery::filter(const DQWhere &where)
{
    d->where = where;
    d->bindings.clear();
    d->whereSql = where.toSql(d->bindings);
    return *this;
}

DQQuery &DQQuery::orderBy(const QString &term)
{
    d->orderBy.append(term);
    return *this;
}

DQQuery &DQQuery::limit(int rows)
{
    d->limit = rows;
    return *this;
}

DQQuery &DQQuery::resultFields(const QStringList &fieldNames)
{
    d->fieldNames = fieldNames;
    return *this;
}

DQQuery &DQQuery::resultFunction(const QString &name)
{
    d->functionName = name;
    return *this;
}

bool DQQuery::exec()
{
    d->finish();
    d->columnsModel = nullptr;
    if (!d->connection.isOpen())
        return false;
    d->query = d->connection.newQuery();
    const QString sql = d->connection.statement().select(*this);
    return d->connection.exec(*d->query, sql, d->bindings);
}

bool DQQuery::next()
{
    return d->query && d->query->next();
}

bool DQQuery::recordTo(DQModel &record) const
{
    if (!d->query || !d->query->isValid())
        return false;
    const DQModelMetaInfo *model = record.metaInfo();
    if (d->columnsModel != model) {
        d->columns = columnsOf(*model, d->query->record());
        d->columnsModel = model;
    }
    for (int i = 0; i < model->size(); ++i) {
        const int column = d->columns.at(i);
        if (column < 0)
            continue;
        DQBaseField &field = model->field(record, i);
        if (!field.set(d->query->value(column)))
            field.clear();
    }
    return true;
}

QVariant DQQuery::value(int column) const
{
    return d->query ? d->query->value(column) : QVariant();
}

void DQQuery::finish()
{
    d->finish();
}

DQSharedList DQQuery::call()
{
    DQSharedList list;
    if (!exec())
        return list;
    while (next()) {
        const std::shared_ptr<DQModel> record = d->model->newRecord();
        recordTo(*record);
        list.append(record);
    }
    return list;
}

int DQQuery::count()
{
    DQQuery counting(*this);
    counting.resultFunction(QStringLiteral("count"));
    return counting.exec() && counting.next() ? counting.value(0).toInt() : 0;
}

bool DQQuery::remove()
{
    if (!d->connection.isOpen())
        return false;
    QSqlQuery query = d->connection.newQuery();
    return d->connection.exec(query, d->connection.statement().deleteFrom(*this), d->bindings);
}

const DQModelMetaInfo *DQQuery::metaInfo() const
{
    return d->model;
}

const DQWhere &DQQuery::where() const
{
    return d->where;
}

const QString &DQQuery::whereSql() const
{
    return d->whereSql;
}

const QStringList &DQQuery::orderByTerms() const
{
    return d->orderBy;
}

int DQQuery::limitCount() const
{
    return d->limit;
}

const QStringList &DQQuery::resultFieldNames() const
{
    return d->fieldNames;
}

const QString &DQQuery::functionName() const
{
    return d->functionName;
}
