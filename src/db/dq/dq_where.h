#pragma once

#include <QSharedDataPointer>
#include <QString>
#include <QVariant>

#include "db/dq/dq_bindings.h"
#include "db/dq/dq_field.h"
#include "db/dq/dq_model_meta_info.h"

class DQWhereFieldPriv;

// A condition on the fields of one model, or an arithmetic expression inside one. It is built
// with operators, best from the class member itself, so that the compiler checks name and type:
//
//     dqColumn(&Film::title) == title && dqColumn(&Film::year).between(1960, 1969)
//
// or from a column's name, `DQWhere(QStringLiteral("year")) > 1960`, or from text and a value,
// `DQWhere(QStringLiteral("id = "), 3)`. Values never stand in the SQL text; they are bound.
//
// A comparison with null is never true in SQL: use isNull() and isNotNull(). in() with an empty
// list matches nothing. An empty condition matches everything, one that could not be understood
// (a warning is logged) matches nothing, whatever it is compared with. `&&` and `||` bind as in
// C++; both sides are evaluated.
class DQWhere final
{
public:
    DQWhere();
    // A column by itself.
    explicit DQWhere(const QString &fieldName);
    // `text` is a column name followed by an operator. The value of "in" and "not in" is a list,
    // that of "between" a list of two.
    DQWhere(const QString &text, const QVariant &value);
    DQWhere(const DQWhere &);
    DQWhere(DQWhere &&) noexcept;
    DQWhere &operator=(const DQWhere &);
    DQWhere &operator=(DQWhere &&) noexcept;
    ~DQWhere();

    [[nodiscard]] bool isEmpty() const;

    // SQL text. Each value is appended to `bindings` with the placeholder that stands for it,
    // ":arg" and the number of values before it.
    [[nodiscard]] QString toSql(DQBindings &bindings) const;

    // The condition with its values, for messages.
    [[nodiscard]] QString toString() const;

    template <class V>
    DQWhere operator==(const V &value) const
    {
        return node("=", operand(value));
    }
    template <class V>
    DQWhere operator!=(const V &value) const
    {
        return node("<>", operand(value));
    }
    template <class V>
    DQWhere operator<(const V &value) const
    {
        return node("<", operand(value));
    }
    template <class V>
    DQWhere operator<=(const V &value) const
    {
        return node("<=", operand(value));
    }
    template <class V>
    DQWhere operator>(const V &value) const
    {
        return node(">", operand(value));
    }
    template <class V>
    DQWhere operator>=(const V &value) const
    {
        return node(">=", operand(value));
    }
    template <class V>
    DQWhere operator*(const V &value) const
    {
        return node("*", operand(value));
    }
    template <class V>
    DQWhere operator/(const V &value) const
    {
        return node("/", operand(value));
    }
    template <class V>
    DQWhere operator%(const V &value) const
    {
        return node("%", operand(value));
    }

    // An empty side leaves the other as it is.
    DQWhere operator&&(const DQWhere &other) const;
    DQWhere operator||(const DQWhere &other) const;

    [[nodiscard]] DQWhere like(const QString &pattern) const;
    [[nodiscard]] DQWhere glob(const QString &pattern) const;
    [[nodiscard]] DQWhere is(const QVariant &value) const; // true for null and null
    [[nodiscard]] DQWhere isNot(const QVariant &value) const;
    [[nodiscard]] DQWhere isNull() const { return is(QVariant()); }
    [[nodiscard]] DQWhere isNotNull() const { return isNot(QVariant()); }
    [[nodiscard]] DQWhere in(const QVariantList &values) const;
    [[nodiscard]] DQWhere notIn(const QVariantList &values) const;
    [[nodiscard]] DQWhere between(const QVariant &low, const QVariant &high) const;

private:
    [[nodiscard]] static QVariant operand(const DQWhere &where);
    [[nodiscard]] static QVariant operand(const QVariant &value);
    [[nodiscard]] DQWhere node(const char *sqlOperator, const QVariant &right) const;

    friend class DQWhereFieldPriv; // asks for the node of a nested condition
    QSharedDataPointer<DQWhereFieldPriv> d;
};

Q_DECLARE_METATYPE(DQWhere)

// A column whose values are of type T; comparisons with anything else do not compile.
template <class T>
class DQColumn final
{
public:
    explicit DQColumn(const QString &name) : m_where(name) {}

    operator DQWhere() const { return m_where; } // usable as an operand: NOLINT(google-explicit-*)

    DQWhere operator==(const T &value) const { return m_where == QVariant::fromValue(value); }
    DQWhere operator!=(const T &value) const { return m_where != QVariant::fromValue(value); }
    DQWhere operator<(const T &value) const { return m_where < QVariant::fromValue(value); }
    DQWhere operator<=(const T &value) const { return m_where <= QVariant::fromValue(value); }
    DQWhere operator>(const T &value) const { return m_where > QVariant::fromValue(value); }
    DQWhere operator>=(const T &value) const { return m_where >= QVariant::fromValue(value); }

    [[nodiscard]] DQWhere like(const QString &pattern) const { return m_where.like(pattern); }
    [[nodiscard]] DQWhere glob(const QString &pattern) const { return m_where.glob(pattern); }
    [[nodiscard]] DQWhere isNull() const { return m_where.isNull(); }
    [[nodiscard]] DQWhere isNotNull() const { return m_where.isNotNull(); }
    [[nodiscard]] DQWhere in(const QList<T> &values) const { return m_where.in(variants(values)); }
    [[nodiscard]] DQWhere notIn(const QList<T> &values) const
    {
        return m_where.notIn(variants(values));
    }
    [[nodiscard]] DQWhere between(const T &low, const T &high) const
    {
        return m_where.between(QVariant::fromValue(low), QVariant::fromValue(high));
    }

private:
    static QVariantList variants(const QList<T> &values)
    {
        QVariantList list;
        list.reserve(values.size());
        for (const T &value : values) {
            list.append(QVariant::fromValue(value));
        }
        return list;
    }

    DQWhere m_where;
};

template <class Model, class T>
[[nodiscard]] DQColumn<T> dqColumn(DQField<T> Model::*member)
{
    return DQColumn<T>(dqMetaInfo<Model>()->nameOf(member));
}

// The key column of any model.
template <class Model>
[[nodiscard]] DQColumn<int> dqColumn(DQPrimaryKey Model::*)
{
    return DQColumn<int>(QStringLiteral("id"));
}
