#pragma once

#include <QSharedData>
#include <QString>
#include <QVariant>
#include <QVariantList>

#include "db/dq/dq_bindings.h"

// What stands on the right of an operator: one value, a list for "in", a pair for "between". Or
// on any side: nothing that could be understood.
class DQWhereDataPriv final
{
public:
    enum class Kind { Single, List, Pair, NotUnderstood };

    DQWhereDataPriv() = default;
    explicit DQWhereDataPriv(const QVariant &value) : m_values{value} {}
    DQWhereDataPriv(Kind kind, QVariantList values) : m_kind(kind), m_values(std::move(values)) {}

    // Placeholders for the values, which are entered in `bindings`. A null text, and nothing
    // entered, when one of them cannot be stored in a database (with a warning) or when there is
    // nothing that could be understood.
    [[nodiscard]] QString toSql(DQBindings &bindings) const;
    [[nodiscard]] QString toString() const;

private:
    [[nodiscard]] QString joined(const QStringList &texts) const;

    Kind m_kind = Kind::Single;
    QVariantList m_values;
};

Q_DECLARE_METATYPE(DQWhereDataPriv)

// A node of the expression tree. An operand is a field name (QString), a nested DQWhere or a
// DQWhereDataPriv; an invalid one is absent.
class DQWhereFieldPriv final : public QSharedData
{
public:
    QVariant left;
    QString sqlOperator;
    QVariant right;

    [[nodiscard]] bool isEmpty() const { return !left.isValid() && !right.isValid(); }
    [[nodiscard]] bool isComplete() const { return left.isValid() && right.isValid(); }
    // A null text, and nothing entered, when something in it could not be understood.
    [[nodiscard]] QString toSql(DQBindings &bindings) const;
    [[nodiscard]] QString toString() const;

private:
    [[nodiscard]] bool isCombination() const;
    [[nodiscard]] static QString operandSql(const QVariant &operand, DQBindings &bindings);
};
