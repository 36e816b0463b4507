#pragma once

#include <variant>

#include <QMap>
#include <QString>
#include <QVariant>

class DQModelMetaInfo;
template <class Model>
DQModelMetaInfo *dqMetaInfo();

// What a column promises. The numbers are part of the metadata's format.
enum class DQConstraint {
    Unique = 0,
    Default = 1, // value: the default's SQL text or value
    NotNull = 2,
    PrimaryKey = 3,
    ForeignKey = 4, // value: the referenced model's DQModelMetaInfo *
};

using DQClauseMap = QMap<DQConstraint, QVariant>;

// The constraints in a field's declaration, united with `|` in any order. A literal type: a
// record is constructed often, and its declarations must cost nothing then.
class DQClause final
{
public:
    using Accessor = DQModelMetaInfo *(*)();
    using DefaultValue = std::variant<std::monostate, const char *, int, double>;

    constexpr DQClause() = default;
    constexpr explicit DQClause(DQConstraint flag) : m_flags(bit(flag)) {}
    constexpr explicit DQClause(DefaultValue value)
        : m_flags(bit(DQConstraint::Default)), m_default(value)
    {
    }
    constexpr explicit DQClause(Accessor referenced)
        : m_flags(bit(DQConstraint::ForeignKey)), m_referenced(referenced)
    {
    }

    friend constexpr DQClause operator|(DQClause left, const DQClause &right)
    {
        left.m_flags |= right.m_flags;
        if (right.has(DQConstraint::Default)) {
            left.m_default = right.m_default;
        }
        if (right.has(DQConstraint::ForeignKey)) {
            left.m_referenced = right.m_referenced;
        }
        return left;
    }

    [[nodiscard]] constexpr bool has(DQConstraint flag) const { return (m_flags & bit(flag)) != 0; }

    // The same as a map from flag to value; resolves the referenced model.
    [[nodiscard]] DQClauseMap toMap() const;

private:
    static constexpr unsigned bit(DQConstraint flag) { return 1U << static_cast<unsigned>(flag); }

    unsigned m_flags = 0;
    DefaultValue m_default;
    Accessor m_referenced = nullptr;
};

inline constexpr DQClause DQUnique{DQConstraint::Unique};
inline constexpr DQClause DQNotNull{DQConstraint::NotNull};

// `value` goes into the statement as it is: DQDefault("CURRENT_TIMESTAMP") stays an SQL keyword,
// a text default carries its own quotes.
constexpr DQClause DQDefault(DQClause::DefaultValue value)
{
    return DQClause(value);
}

// References the `id` of another model.
template <class Model>
inline constexpr DQClause DQForeignKey{DQClause::Accessor(&dqMetaInfo<Model>)};
