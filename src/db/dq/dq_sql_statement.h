#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

class DQModelMetaInfo;
class DQQuery;
struct DQIndex;

// Writes every SQL text of the layer. It holds no state and executes nothing; a subclass knows
// what is particular to one database.
class DQSqlStatement
{
    Q_DISABLE_COPY_MOVE(DQSqlStatement)

public:
    DQSqlStatement() = default;

    [[nodiscard]] virtual QString driverName() const = 0;
    [[nodiscard]] virtual QString createTableIfNotExists(const DQModelMetaInfo &model) const;
    [[nodiscard]] virtual QString dropTable(const DQModelMetaInfo &model) const;
    [[nodiscard]] virtual QString createIndexIfNotExists(const DQIndex &index) const;
    [[nodiscard]] virtual QString dropIndexIfExists(const QString &name) const;

    // One placeholder per column, ":" and its name.
    [[nodiscard]] virtual QString insertInto(const DQModelMetaInfo &model,
                                             const QStringList &fields) const;
    [[nodiscard]] virtual QString replaceInto(const DQModelMetaInfo &model,
                                              const QStringList &fields) const;

    // The limit stands before the ordering, which SQLite rejects: use one or the other.
    [[nodiscard]] virtual QString select(const DQQuery &query) const;
    // Without a condition it empties the table.
    [[nodiscard]] virtual QString deleteFrom(const DQQuery &query) const;

    // `value` as an SQL literal: text is quoted, anything else stands as its own text.
    [[nodiscard]] virtual QString formatValue(const QVariant &value, bool trimString) const;

    [[nodiscard]] virtual QString createTable(const DQModelMetaInfo &model) const = 0;
    [[nodiscard]] virtual QString insertIntoVerb(const DQModelMetaInfo &model,
                                                 const QStringList &fields,
                                                 const QString &verb) const;
    [[nodiscard]] virtual QString selectCore(const DQQuery &query) const;
    [[nodiscard]] virtual QString selectResultColumn(const DQQuery &query) const;
    [[nodiscard]] virtual QString limitAndOffset(int limit, int offset) const;
    [[nodiscard]] virtual QString orderBy(const DQQuery &query) const;

    virtual ~DQSqlStatement() = default;

    // A query that yields a row when the table exists.
    [[nodiscard]] QString existsTable(const DQModelMetaInfo &model) const;
};
