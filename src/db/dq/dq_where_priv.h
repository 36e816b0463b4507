#pragma once

#include <QSharedData>
#include <QString>
#include <QVariant>
#include <QVariantList>

#include "db/dq/dq_bindings.h"

/// What stands on the right of an operator: one value, a list for "in", a pair for "between".
class DQWhereDataPriv final
{
public:
    enum class Kind { Single, List, Pair };

    DQWhereDataPriv() = default;
    explicit DQWhereDataPriv(const QVariant &value) : m_values{value} {}
    DQWhereDataPriv(Kind kind, QVariantList values) : m_kind(kind), m_values(std::move(values)) {}

    /// Placeholders for the values, which are entered in `bindings`. A null text, with a warning
    /// and nothing entered, when one of them cannot be stored in a database.
    [[nodiscard]] QString toSql(DQBindings &bindings) const;
    [[nodiscard]] QString toString() const;

private:
    [[nodiscard]] QString joined(const QStringList &texts) const;

    Kind m_kind = Kind::Single;
    QVariantList m_values;
};

Q_DECLARE_METATYPE(DQWhereDataPriv)

/// A node of the expression tree. An operand is a field name (QString), a nested DQWhere or a
/// DQWhereDataPriv; an invalid one is absent.
class DQWhereFieldPriv final : public QSharedData
{
public:
    QVariant left;
    QString sqlOperator;
    QVariant right;

    [[nodiscard]] bool isEmpty() const { return !left.isValid() && !right.isValid(); }
    [[nodiscard]] bool isComplete() const { return left.isValid() && right.isValid(); }
    [[nodiscard]] QString toSql(DQBindings &bindings) const;
    [[nodiscard]] QString toString() const;
};
