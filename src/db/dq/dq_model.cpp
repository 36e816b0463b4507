#include "db/dq/dq_model.h"

#include <QSqlQuery>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sql_statement.h"
#include "db/dq/dq_where.h"

namespace {

/// The columns that a save writes; see DQModel::save().
QStringList columnsToSave(const DQModel &record, bool forceInsert, bool forAllField)
{
    const DQModelMetaInfo &info = *record.metaInfo();
    if (forAllField)
        return info.fieldNames();
    QStringList columns;
    for (int i = 0; i < info.size(); ++i) {
        const DQBaseField &field = info.field(record, i);
        if (!field.isNull() && !(forceInsert && &field == &record.id))
            columns.append(info.at(i).name);
    }
    return columns;
}

} // namespace

DQModel::~DQModel() = default;

DQModelMetaInfo *DQModel::metaInfo() const
{
    return nullptr;
}

QString DQModel::text() const
{
    return {};
}

bool DQModel::clean()
{
    return true;
}

DQSharedList DQModel::initialData() const
{
    return {};
}

bool DQModel::save(bool forceInsert, bool forAllField)
{
    if (!clean())
        return false;
    const DQModelMetaInfo &info = *metaInfo();
    DQConnection connection = info.connection();
    if (!connection.isOpen())
        return false;
    const QStringList columns = columnsToSave(*this, forceInsert, forAllField);
    QVariantMap bindings;
    for (const QString &column : columns)
        bindings.insert(QLatin1Char(':') + column, info.value(*this, column));
    QSqlQuery query = connection.newQuery();
    if (!connection.exec(query, connection.statement().replaceInto(info, columns), bindings))
        return false;
    const int key = query.lastInsertId().toInt();
    if ((forceInsert || id.isNull()) && id.value() != key)
        id = key;
    return true;
}

bool DQModel::load(const DQWhere &where)
{
    DQQuery query(metaInfo());
    query.filter(where);
    return query.exec() && query.next() && query.recordTo(*this);
}

bool DQModel::remove() const
{
    if (id.isNull())
        return false;
    return DQQuery(metaInfo()).filter(DQWhere(QStringLiteral("id = "), id.get())).remove();
}
