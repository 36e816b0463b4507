#include "db/dq/dq_clause.h"

#include "db/dq/dq_model_meta_info.h"

namespace {

struct ToVariant
{
    QVariant operator()(std::monostate) const { return {}; }
    QVariant operator()(const char *text) const { return QString::fromUtf8(text); }
    QVariant operator()(int number) const { return number; }
    QVariant operator()(double number) const { return number; }
};

} // namespace

DQClauseMap DQClause::toMap() const
{
    DQClauseMap map;
    for (const DQConstraint flag :
         {DQConstraint::Unique, DQConstraint::NotNull, DQConstraint::PrimaryKey}) {
        if (has(flag)) {
            map.insert(flag, true);
        }
    }
    if (has(DQConstraint::Default)) {
        map.insert(DQConstraint::Default, std::visit(ToVariant{}, m_default));
    }
    if (has(DQConstraint::ForeignKey)) {
        map.insert(DQConstraint::ForeignKey, QVariant::fromValue(m_referenced()));
    }
    return map;
}
