#include "db/dq/dq_sql_statement.h"

#include "db/dq/dq_index.h"
#include "db/dq/dq_model_meta_info.h"
#include "db/dq/dq_query.h"

namespace {

QString joinWithBlanks(const QStringList &parts)
{
    return parts.join(QLatin1Char(' '));
}

} // namespace

QString DQSqlStatement::createTableIfNotExists(const DQModelMetaInfo &model) const
{
    return createTable(model);
}

QString DQSqlStatement::dropTable(const DQModelMetaInfo &model) const
{
    return QStringLiteral("drop table %1;").arg(model.name());
}

QString DQSqlStatement::createIndexIfNotExists(const DQIndex &index) const
{
    return QStringLiteral("CREATE INDEX IF NOT EXISTS %1 on %2 (%3);")
        .arg(index.name, index.model->name(), index.columns.join(QLatin1Char(',')));
}

QString DQSqlStatement::dropIndexIfExists(const QString &name) const
{
    return QStringLiteral("DROP INDEX IF EXISTS %1;").arg(name);
}

QString DQSqlStatement::insertInto(const DQModelMetaInfo &model, const QStringList &fields) const
{
    return insertIntoVerb(model, fields, QStringLiteral("INSERT"));
}

QString DQSqlStatement::replaceInto(const DQModelMetaInfo &model, const QStringList &fields) const
{
    return insertIntoVerb(model, fields, QStringLiteral("REPLACE"));
}

QString DQSqlStatement::insertIntoVerb(const DQModelMetaInfo &model, const QStringList &fields,
                                       const QString &verb) const
{
    QStringList placeholders;
    placeholders.reserve(fields.size());
    for (const QString &field : fields)
        placeholders.append(QLatin1Char(':') + field);
    return QStringLiteral("%4 INTO %1 (%2) values (%3);")
        .arg(model.name(), fields.join(QLatin1Char(',')), placeholders.join(QLatin1Char(',')),
             verb);
}

QString DQSqlStatement::select(const DQQuery &query) const
{
    QStringList parts{selectCore(query)};
    if (query.limitCount() > 0)
        parts.append(limitAndOffset(query.limitCount(), 0));
    if (!query.orderByTerms().isEmpty())
        parts.append(orderBy(query));
    parts.append(QStringLiteral(";"));
    return joinWithBlanks(parts);
}

QString DQSqlStatement::selectCore(const DQQuery &query) const
{
    const QString core =
        QStringLiteral("SELECT %1 %2 FROM %3")
            .arg(QStringLiteral("ALL"), selectResultColumn(query), query.metaInfo()->name());
    if (query.whereSql().isEmpty())
        return core;
    return joinWithBlanks({core, QStringLiteral("WHERE %1").arg(query.whereSql())});
}

QString DQSqlStatement::selectResultColumn(const DQQuery &query) const
{
    const QString columns = query.resultFieldNames().isEmpty()
                                ? QStringLiteral("*")
                                : query.resultFieldNames().join(QLatin1Char(','));
    if (query.functionName().isEmpty())
        return columns;
    return QStringLiteral("%1(%2)").arg(query.functionName(), columns);
}

QString DQSqlStatement::limitAndOffset(int limit, int offset) const
{
    QStringList parts{QStringLiteral("LIMIT %1").arg(limit)};
    if (offset > 0)
        parts.append(QStringLiteral("OFFSET %1").arg(offset));
    return joinWithBlanks(parts);
}

QString DQSqlStatement::orderBy(const DQQuery &query) const
{
    return joinWithBlanks(
        {QStringLiteral("ORDER BY"), query.orderByTerms().join(QLatin1Char(','))});
}

QString DQSqlStatement::deleteFrom(const DQQuery &query) const
{
    QStringList parts{QStringLiteral("DELETE FROM %1").arg(query.metaInfo()->name())};
    if (!query.whereSql().isEmpty())
        parts.append(QStringLiteral("WHERE %1").arg(query.whereSql()));
    parts.append(QStringLiteral(";"));
    return joinWithBlanks(parts);
}

QString DQSqlStatement::formatValue(const QVariant &value, bool trimString) const
{
    QString text = value.toString();
    if (value.userType() != QMetaType::QString && value.userType() != QMetaType::QChar)
        return text;
    if (trimString)
        text = text.trimmed();
    text.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

QString DQSqlStatement::existsTable(const DQModelMetaInfo &model) const
{
    return QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' and name ='%1'")
        .arg(model.name());
}
