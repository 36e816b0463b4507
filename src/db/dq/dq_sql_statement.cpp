#include "db/dq/dq_sql_statement.h"

#include "db/dq/dq_index.h"
#include "db/dq/dq_model_meta_info.h"
#include "db/dq/dq_query.h"

namespace {

// With a leading blank; empty without a condition.
QString whereClause(const DQQuery &query)
{
    return query.whereSql().isEmpty() ? QString() : QLatin1String(" WHERE ") + query.whereSql();
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
    const QString placeholders =
        fields.isEmpty() ? QString() : QLatin1Char(':') + fields.join(QStringLiteral(",:"));
    return QStringLiteral("%4 INTO %1 (%2) values (%3);")
        .arg(model.name(), fields.join(QLatin1Char(',')), placeholders, verb);
}

QString DQSqlStatement::select(const DQQuery &query) const
{
    QString sql = selectCore(query);
    if (query.limitCount() > 0) {
        sql += QLatin1Char(' ') + limitAndOffset(query.limitCount(), 0);
    }
    if (!query.orderByTerms().isEmpty()) {
        sql += QLatin1Char(' ') + orderBy(query);
    }
    return sql + QLatin1String(" ;");
}

QString DQSqlStatement::selectCore(const DQQuery &query) const
{
    const QString core =
        QStringLiteral("SELECT %1 %2 FROM %3")
            .arg(QStringLiteral("ALL"), selectResultColumn(query), query.metaInfo()->name());
    return core + whereClause(query);
}

QString DQSqlStatement::selectResultColumn(const DQQuery &query) const
{
    const QString columns = query.resultFieldNames().isEmpty()
                                ? QStringLiteral("*")
                                : query.resultFieldNames().join(QLatin1Char(','));
    if (query.functionName().isEmpty()) {
        return columns;
    }
    return QStringLiteral("%1(%2)").arg(query.functionName(), columns);
}

QString DQSqlStatement::limitAndOffset(int limit, int offset) const
{
    const QString text = QLatin1String("LIMIT ") + QString::number(limit);
    return offset > 0 ? text + QLatin1String(" OFFSET ") + QString::number(offset) : text;
}

QString DQSqlStatement::orderBy(const DQQuery &query) const
{
    return QLatin1String("ORDER BY ") + query.orderByTerms().join(QLatin1Char(','));
}

QString DQSqlStatement::deleteFrom(const DQQuery &query) const
{
    return QLatin1String("DELETE FROM ") + query.metaInfo()->name() + whereClause(query) +
           QLatin1String(" ;");
}

QString DQSqlStatement::formatValue(const QVariant &value, bool trimString) const
{
    QString text = value.toString();
    if (value.userType() != QMetaType::QString && value.userType() != QMetaType::QChar) {
        return text;
    }
    if (trimString) {
        text = text.trimmed();
    }
    text.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

QString DQSqlStatement::existsTable(const DQModelMetaInfo &model) const
{
    return QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' and name ='%1'")
        .arg(model.name());
}
