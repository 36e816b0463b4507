#include "db/dq/dq_sqlite_statement.h"

#include <QtDebug>

#include "db/dq/dq_model_meta_info.h"

namespace {

// A null text for a type that has no column type.
QString columnType(int type)
{
    switch (type) {
    case QMetaType::Bool:
        return QStringLiteral("BOOLEAN");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return QStringLiteral("INTEGER");
    case QMetaType::Double:
        return QStringLiteral("DOUBLE");
    case QMetaType::QString:
    case QMetaType::QStringList:
        return QStringLiteral("TEXT");
    case QMetaType::QByteArray:
        return QStringLiteral("BLOB");
    case QMetaType::QDate:
        return QStringLiteral("DATE");
    case QMetaType::QDateTime:
        return QStringLiteral("DATETIME");
    default:
        return {};
    }
}

QString constraints(const DQClauseMap &clause)
{
    QStringList texts;
    if (clause.contains(DQConstraint::NotNull)) {
        texts.append(QStringLiteral("NOT NULL"));
    }
    if (clause.contains(DQConstraint::Unique)) {
        texts.append(QStringLiteral("UNIQUE"));
    }
    if (clause.contains(DQConstraint::Default)) {
        texts.append(
            QStringLiteral("DEFAULT %1 ").arg(clause.value(DQConstraint::Default).toString()));
    }
    if (clause.contains(DQConstraint::PrimaryKey)) {
        texts.append(QStringLiteral("PRIMARY KEY AUTOINCREMENT"));
    }
    return texts.join(QLatin1Char(' '));
}

QString foreignKey(const DQFieldInfo &field)
{
    const auto *referenced =
        field.clause.value(DQConstraint::ForeignKey).value<DQModelMetaInfo *>();
    return QStringLiteral("FOREIGN KEY(%1) REFERENCES %2(id)").arg(field.name, referenced->name());
}

} // namespace

QString DQSqliteStatement::driverName() const
{
    return QStringLiteral("SQLITE");
}

QString DQSqliteStatement::createTable(const DQModelMetaInfo &model) const
{
    QStringList lines;
    for (int i = 0; i < model.size(); ++i) {
        const DQFieldInfo &field = model.at(i);
        const QString type = columnType(field.type);
        if (type.isNull()) {
            qWarning().noquote() << QStringLiteral("%1::%3 - DQField<%2> is not supported yet")
                                        .arg(model.name(),
                                             QLatin1String(QMetaType::typeName(field.type)),
                                             field.name);
            continue;
        }
        lines.append(QStringLiteral("%1 %2 %3").arg(field.name, type, constraints(field.clause)));
    }
    for (const DQFieldInfo &field : model.foreignKeys()) {
        lines.append(foreignKey(field));
    }
    const QString header = QStringLiteral("CREATE TABLE IF NOT EXISTS %1 ").arg(model.name());
    return QStringLiteral("%1 (\n%2\n);").arg(header, lines.join(QStringLiteral(",\n")));
}
