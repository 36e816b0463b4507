#pragma once

#include <type_traits>
#include <utility>

#include <QDateTime>
#include <QMetaType>
#include <QVariant>

#include "db/dq/dq_clause.h"
#include "db/dq/dq_sql_value.h"

class DQModel;

// One value of a record, held as a QVariant. A field is null until a value is set; assigning a
// null value (a null QString, an invalid QDateTime) makes it null again, an empty string is a
// value. Fields are plain values: copying one copies its value and nothing else.
class DQBaseField
{
public:
    DQBaseField() = default;
    DQBaseField(const DQBaseField &) = default;
    DQBaseField(DQBaseField &&) noexcept = default;
    DQBaseField &operator=(const DQBaseField &) = default;
    DQBaseField &operator=(DQBaseField &&) noexcept = default;

    // Stores `value`; false when the field cannot represent it, and the old value stays.
    virtual bool set(QVariant value);
    [[nodiscard]] virtual QVariant get() const;
    // Stores `value` as set() does and returns what is stored then.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): a field is assigned like its value
    virtual QVariant operator=(const QVariant &value);
    virtual ~DQBaseField() = default;

    [[nodiscard]] bool isNull() const { return m_value.isNull(); }
    void clear() { m_value = QVariant(); }

protected:
    // Declares this field in the metadata of `owner`'s class while that is being built.
    DQBaseField(DQModel *owner, const char *name, int type, const DQClause &clause)
    {
        if (Q_UNLIKELY(s_declaring)) {
            declare(owner, name, type, clause);
        }
    }

    QVariant m_value;

private:
    friend class DQModelMetaInfo;

    void declare(DQModel *owner, const char *name, int type, const DQClause &clause);

    // The metadata that is collecting its fields at this moment, if any.
    static inline DQModelMetaInfo *s_declaring = nullptr;
};

// A field whose values are of type T. In a model it is declared with its column name and clause:
//
//     DQField<QString> userId{this, "userId", DQNotNull | DQUnique};
template <class T>
class DQField : public DQBaseField
{
    static_assert(QMetaTypeId2<T>::Defined, "a field's type must be known to QVariant");

public:
    // A field without an owner would be no column, so there is no default constructor.
    DQField(DQModel *owner, const char *name, const DQClause &clause = DQClause())
        : DQBaseField(owner, name, qMetaTypeId<T>(), clause)
    {
    }
    DQField(const DQField &) = default;
    DQField(DQField &&) noexcept = default;
    DQField &operator=(const DQField &) = default;
    DQField &operator=(DQField &&) noexcept = default;

    bool set(QVariant value) override
    {
        if (!dqConvert(value, qMetaTypeId<T>())) {
            return false;
        }
        m_value = std::move(value);
        return true;
    }

    [[nodiscard]] QVariant get() const override { return m_value; }

    // NOLINTNEXTLINE(misc-unconventional-assign-operator): a field is assigned like its value
    QVariant operator=(const QVariant &value) override
    {
        set(value);
        return m_value;
    }

    ~DQField() override = default;

    DQField &operator=(const T &value)
    {
        set(QVariant::fromValue(value));
        return *this;
    }

    // The value, or T() when null. Date-times come in local time, ready to be shown.
    [[nodiscard]] T value() const
    {
        if constexpr (std::is_same_v<T, QDateTime>) {
            return m_value.toDateTime().toLocalTime();
        } else {
            return m_value.template value<T>();
        }
    }
};

// The row key, named "id" in every table; null until the record has been stored.
class DQPrimaryKey final : public DQField<int>
{
public:
    using DQField<int>::operator=;

    explicit DQPrimaryKey(DQModel *owner)
        : DQField<int>(owner, "id", DQClause(DQConstraint::PrimaryKey))
    {
    }
};
