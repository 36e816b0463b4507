#include "db/dq/dq_where.h"

#include <algorithm>
#include <array>

#include <QStringRef>
#include <QtDebug>

#include "db/dq/dq_where_priv.h"

namespace {

using Operand = DQWhereDataPriv;

constexpr std::array Operators{
    "and", "or",   "<",  "<=",     ">",  ">=",     "=",       "<>", "*",
    "/",   "like", "is", "is not", "in", "not in", "between", "%",  "glob"};

bool isOperator(const QString &text)
{
    return std::any_of(Operators.begin(), Operators.end(), [&text](const char *known) {
        return text.compare(QLatin1String(known), Qt::CaseInsensitive) == 0;
    });
}

// A condition that no row satisfies. It takes the place of one that was not understood, because
// leaving that out would make a deletion empty the table.
QString noRow()
{
    return QStringLiteral("0");
}

QVariant asOperand(const QVariant &value)
{
    return QVariant::fromValue(Operand(value));
}

QVariant asOperand(Operand::Kind kind, const QVariantList &values)
{
    return QVariant::fromValue(Operand(kind, values));
}

bool isNameCharacter(QChar c)
{
    return c.unicode() < 0x80 && c.isLetterOrNumber();
}

// What "^\s*[a-zA-Z0-9]+" finds, without the blanks. A regular expression would be slower than the
// statement: every record that is removed is found by such a text.
QStringRef leadingName(const QString &text)
{
    const auto begin =
        std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    const auto end = std::find_if_not(begin, text.end(), isNameCharacter);
    return text.midRef(static_cast<int>(begin - text.begin()), static_cast<int>(end - begin));
}

// The operand whose condition matches nothing. It is no value: an expression or comparison that
// it stands in is not understood either, because "0 <> 5" would match everything.
QVariant matchesNothing()
{
    return asOperand(Operand::Kind::NotUnderstood, {});
}

// The operand that goes with `sqlOperator` in the text form; invalid when `value` does not suit.
QVariant textOperand(const QString &sqlOperator, const QVariant &value)
{
    const auto is = [&sqlOperator](const char *name) {
        return sqlOperator.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    if (is("in") || is("not in")) {
        return value.canConvert<QVariantList>() ? asOperand(Operand::Kind::List, value.toList())
                                                : QVariant();
    }
    if (is("between")) {
        return value.toList().size() == 2 ? asOperand(Operand::Kind::Pair, value.toList())
                                          : QVariant();
    }
    return asOperand(value);
}

QString nodeText(const QString &left, const QString &sqlOperator, const QString &right)
{
    return left + QLatin1Char(' ') + sqlOperator + QLatin1Char(' ') + right;
}

} // namespace

DQWhere::DQWhere() = default;
DQWhere::DQWhere(const DQWhere &) = default;
DQWhere::DQWhere(DQWhere &&) noexcept = default;
DQWhere &DQWhere::operator=(const DQWhere &) = default;
DQWhere &DQWhere::operator=(DQWhere &&) noexcept = default;
DQWhere::~DQWhere() = default;

DQWhere::DQWhere(const QString &fieldName) : d(new DQWhereFieldPriv)
{
    d->left = fieldName;
}

DQWhere::DQWhere(const QString &text, const QVariant &value) : d(new DQWhereFieldPriv)
{
    const QStringRef name = leadingName(text);
    const QString sqlOperator = text.mid(name.position() + name.size()).trimmed();
    const QVariant right = textOperand(sqlOperator, value);
    if (name.isEmpty() || !isOperator(sqlOperator) || !right.isValid()) {
        qWarning().noquote() << QStringLiteral("DQWhere() : can not parse %1").arg(text);
        d->left = matchesNothing();
        return;
    }
    d->left = name.toString();
    d->sqlOperator = sqlOperator;
    d->right = right;
}

bool DQWhere::isEmpty() const
{
    return !d || d->isEmpty();
}

QString DQWhere::toSql(DQBindings &bindings) const
{
    if (isEmpty()) {
        return {};
    }
    const QString sql = d->toSql(bindings);
    return sql.isNull() ? noRow() : sql;
}

QString DQWhere::toString() const
{
    return d ? d->toString() : QString();
}

QVariant DQWhere::operand(const DQWhere &where)
{
    if (where.isEmpty()) {
        qWarning("DQWhereDataPriv - Unsupported type");
        return matchesNothing();
    }
    return where.d->isComplete() ? QVariant::fromValue(where) : where.d->left;
}

QVariant DQWhere::operand(const QVariant &value)
{
    return asOperand(value);
}

DQWhere DQWhere::node(const char *sqlOperator, const QVariant &right) const
{
    DQWhere result;
    result.d = new DQWhereFieldPriv;
    result.d->left = operand(*this);
    result.d->sqlOperator = QString::fromLatin1(sqlOperator);
    result.d->right = right;
    return result;
}

DQWhere DQWhere::operator&&(const DQWhere &other) const
{
    if (isEmpty() || other.isEmpty()) {
        return isEmpty() ? other : *this;
    }
    return node("and", operand(other));
}

DQWhere DQWhere::operator||(const DQWhere &other) const
{
    if (isEmpty() || other.isEmpty()) {
        return isEmpty() ? other : *this;
    }
    return node("or", operand(other));
}

DQWhere DQWhere::like(const QString &pattern) const
{
    return node("like", asOperand(pattern));
}

DQWhere DQWhere::glob(const QString &pattern) const
{
    return node("glob", asOperand(pattern));
}

DQWhere DQWhere::is(const QVariant &value) const
{
    return node("is", asOperand(value));
}

DQWhere DQWhere::isNot(const QVariant &value) const
{
    return node("is not", asOperand(value));
}

DQWhere DQWhere::in(const QVariantList &values) const
{
    return node("in", asOperand(Operand::Kind::List, values));
}

DQWhere DQWhere::notIn(const QVariantList &values) const
{
    return node("not in", asOperand(Operand::Kind::List, values));
}

DQWhere DQWhere::between(const QVariant &low, const QVariant &high) const
{
    return node("between", asOperand(Operand::Kind::Pair, {low, high}));
}

namespace {

QString operandString(const QVariant &operand)
{
    if (operand.userType() == QMetaType::QString) {
        return operand.toString();
    }
    if (operand.userType() == qMetaTypeId<DQWhere>()) {
        return QStringLiteral("( %1 )").arg(operand.value<DQWhere>().toString());
    }
    return operand.value<Operand>().toString();
}

QString valueString(const QVariant &value)
{
    const QString text = value.toString();
    return value.userType() == QMetaType::QString ? QLatin1Char('"') + text + QLatin1Char('"')
                                                  : text;
}

} // namespace

bool DQWhereFieldPriv::isCombination() const
{
    return sqlOperator.compare(QLatin1String("and"), Qt::CaseInsensitive) == 0 ||
           sqlOperator.compare(QLatin1String("or"), Qt::CaseInsensitive) == 0;
}

// A null text when the operand cannot be written.
QString DQWhereFieldPriv::operandSql(const QVariant &operand, DQBindings &bindings)
{
    if (operand.userType() == QMetaType::QString) {
        return operand.toString();
    }
    if (operand.userType() != qMetaTypeId<DQWhere>()) {
        return operand.value<Operand>().toSql(bindings);
    }
    const QString nested = operand.value<DQWhere>().d->toSql(bindings);
    return nested.isNull() ? nested : QLatin1Char('(') + nested + QLatin1Char(')');
}

QString DQWhereFieldPriv::toSql(DQBindings &bindings) const
{
    if (!isComplete()) {
        return operandSql(left.isValid() ? left : right, bindings);
    }
    const int boundBefore = bindings.size();
    QString leftSql = operandSql(left, bindings);
    QString rightSql = operandSql(right, bindings);
    if (isCombination()) {
        leftSql = leftSql.isNull() ? noRow() : leftSql;
        rightSql = rightSql.isNull() ? noRow() : rightSql;
    }
    if (leftSql.isNull() || rightSql.isNull()) {
        bindings.resize(boundBefore);
        return {};
    }
    return nodeText(leftSql, sqlOperator, rightSql);
}

QString DQWhereFieldPriv::toString() const
{
    if (!isComplete()) {
        return operandString(left.isValid() ? left : right);
    }
    return nodeText(operandString(left), sqlOperator, operandString(right));
}

QString DQWhereDataPriv::joined(const QStringList &texts) const
{
    switch (m_kind) {
    case Kind::Single:
        break;
    case Kind::NotUnderstood:
        return noRow();
    case Kind::List:
        return QLatin1Char('(') + texts.join(QLatin1Char(',')) + QLatin1Char(')');
    case Kind::Pair:
        return texts.join(QStringLiteral(" and "));
    }
    return texts.value(0);
}

QString DQWhereDataPriv::toSql(DQBindings &bindings) const
{
    if (m_kind == Kind::NotUnderstood) {
        return {};
    }
    if (!std::all_of(m_values.begin(), m_values.end(), dqIsStorable)) {
        qWarning("DQWhereDataPriv - Unsupported type");
        return {};
    }
    QStringList placeholders;
    for (const QVariant &value : m_values) {
        const QString placeholder = QLatin1String(":arg") + QString::number(bindings.size());
        bindings.append({placeholder, value});
        placeholders.append(placeholder);
    }
    return joined(placeholders);
}

QString DQWhereDataPriv::toString() const
{
    QStringList texts;
    for (const QVariant &value : m_values) {
        texts.append(valueString(value));
    }
    return joined(texts);
}
