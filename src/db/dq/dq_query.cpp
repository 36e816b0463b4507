#include "db/dq/dq_query.h"

#include <utility>

#include <QSharedData>
#include <QSqlError>
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

    DQConnection connection;
    const DQModelMetaInfo *model = nullptr;
    DQWhere where;
    QString whereSql;
    DQBindings bindings;
    QStringList orderBy;
    int limit = 0;
    QString functionName;
    QStringList fieldNames;
};

// An execution of a query and the rows that it yields. It belongs to one DQQuery alone.
class DQQueryRun final
{
    Q_DISABLE_COPY_MOVE(DQQueryRun)

public:
    explicit DQQueryRun(const QSqlQuery &newQuery) : query(newQuery) {}
    // The connection keeps the last query, which must not keep the database locked. One that failed
    // does not, and its error is still to be read.
    ~DQQueryRun()
    {
        if (!query.lastError().isValid()) {
            query.finish();
        }
    }

    QSqlQuery query;

    // The result's column of each field of a model, -1 for none; found when first asked for.
    const DQModelMetaInfo *columnsModel = nullptr;
    QVector<int> columns;
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

DQQuery::DQQuery(const DQModelMetaInfo *model)
    : DQQuery(model, model ? model->connection() : DQConnection())
{
}

DQQuery::DQQuery(const DQModelMetaInfo *model, const DQConnection &connection)
    : d(new DQQueryPriv(model, connection))
{
}

DQQuery::DQQuery(const DQQuery &other) : d(other.d) {}

DQQuery &DQQuery::operator=(const DQQuery &other)
{
    if (this != &other) {
        m_run.reset();
        d = other.d;
    }
    return *this;
}

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
    m_run.reset();
    DQConnection connection = d.constData()->connection;
    if (!connection.isOpen() || !metaInfo()) {
        return false;
    }
    m_run = std::make_unique<DQQueryRun>(connection.newQuery());
    const QString sql = connection.statement().select(*this);
    return connection.exec(m_run->query, sql, d.constData()->bindings);
}

bool DQQuery::next()
{
    if (!m_run || m_run->query.next()) {
        return m_run != nullptr;
    }
    const QSqlError error = m_run->query.lastError();
    if (error.isValid()) { // as the first row was there, exec() has not said it
        qWarning().noquote() << QStringLiteral("Failed : %1").arg(m_run->query.lastQuery());
        qWarning().noquote() << error.text();
    }
    return false;
}

bool DQQuery::recordTo(DQModel &record) const
{
    const DQModelMetaInfo *model = record.metaInfo();
    if (!model || !m_run || !m_run->query.isValid()) {
        return false;
    }
    if (m_run->columnsModel != model) {
        m_run->columns = columnsOf(*model, m_run->query.record());
        m_run->columnsModel = model;
    }
    for (int i = 0; i < model->size(); ++i) {
        const int column = m_run->columns.at(i);
        if (column < 0) {
            continue;
        }
        DQBaseField &field = model->field(record, i);
        if (!field.set(m_run->query.value(column))) {
            field.clear();
        }
    }
    return true;
}

QVariant DQQuery::value(int column) const
{
    return m_run ? m_run->query.value(column) : QVariant();
}

void DQQuery::finish()
{
    m_run.reset();
}

DQSharedList DQQuery::call()
{
    DQSharedList list;
    if (!exec()) {
        return list;
    }
    while (next()) {
        const std::shared_ptr<DQModel> record = metaInfo()->newRecord();
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
    DQConnection connection = d.constData()->connection;
    if (!connection.isOpen() || !metaInfo()) {
        return false;
    }
    QSqlQuery query = connection.newQuery();
    const QString sql = connection.statement().deleteFrom(*this);
    return connection.exec(query, sql, d.constData()->bindings);
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
