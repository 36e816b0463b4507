#include "db/dq/dq_model.h"

#include <QSqlQuery>
#include <QtDebug>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sql_statement.h"
#include "db/dq/dq_where.h"

namespace {

// The columns that a save writes and their values; see DQModel::save().
struct Row
{
    QStringList columns;
    DQBindings bindings;
};

Row rowToSave(const DQModel &record, const DQModelMetaInfo &info, bool forceInsert,
              bool forAllField)
{
    Row row;
    row.columns.reserve(info.size());
    row.bindings.reserve(info.size());
    for (int i = 0; i < info.size(); ++i) {
        const DQBaseField &field = info.field(record, i);
        const bool isLeftOut = field.isNull() || (forceInsert && &field == &record.id);
        if (isLeftOut && !forAllField) {
            continue;
        }
        row.columns.append(info.at(i).name);
        row.bindings.append({info.at(i).placeholder, field.get()});
    }
    return row;
}

// Null, with a warning, for a record of no model.
const DQModelMetaInfo *metaInfoOf(const DQModel &record)
{
    const DQModelMetaInfo *info = record.metaInfo();
    if (!info) {
        qWarning("DQModel::metaInfo() - A record of no model can be neither stored nor found");
    }
    return info;
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
    if (!clean()) {
        return false;
    }
    const DQModelMetaInfo *info = metaInfoOf(*this);
    DQConnection connection = info ? info->connection() : DQConnection();
    if (!connection.isOpen()) {
        return false;
    }
    const Row row = rowToSave(*this, *info, forceInsert, forAllField);
    QSqlQuery query = connection.newQuery();
    const QString sql = connection.statement().replaceInto(*info, row.columns);
    if (!connection.exec(query, sql, row.bindings)) {
        return false;
    }
    const int key = query.lastInsertId().toInt();
    if ((forceInsert || id.isNull()) && id.value() != key) {
        id = key;
    }
    return true;
}

bool DQModel::load(const DQWhere &where)
{
    const DQModelMetaInfo *info = metaInfoOf(*this);
    if (!info) {
        return false;
    }
    DQQuery query(info);
    query.filter(where);
    return query.exec() && query.next() && query.recordTo(*this);
}

bool DQModel::remove() const
{
    const DQModelMetaInfo *info = id.isNull() ? nullptr : metaInfoOf(*this);
    if (!info) {
        return false;
    }
    return DQQuery(info).filter(DQWhere(QStringLiteral("id = "), id.get())).remove();
}
