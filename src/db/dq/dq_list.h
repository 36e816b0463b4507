#pragma once

#include <iterator>

#include "db/dq/dq_model.h"
#include "db/dq/dq_shared_list.h"

// The records of a DQSharedList seen as T.
template <class T>
class DQList final : public DQSharedList
{
public:
    class const_iterator final
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = T;
        using difference_type = int;
        using pointer = const T *;
        using reference = const T &;

        const_iterator(const DQList *list, int index) : m_list(list), m_index(index) {}
        reference operator*() const { return m_list->at(m_index); }
        pointer operator->() const { return &m_list->at(m_index); }
        const_iterator &operator++()
        {
            ++m_index;
            return *this;
        }
        bool operator==(const const_iterator &other) const { return m_index == other.m_index; }
        bool operator!=(const const_iterator &other) const { return m_index != other.m_index; }

    private:
        const DQList *m_list;
        int m_index;
    };

    DQList() = default;
    DQList(DQSharedList list)
        : DQSharedList(std::move(list)) {} // a view: NOLINT(google-explicit-*)

    using DQSharedList::append;
    void append(const T &record) { append(std::make_shared<const T>(record)); }

    // The record at `index`. When there is none, or one of another model, a warning is logged and
    // a record with nothing but null fields stands in for it.
    [[nodiscard]] const T &at(int index) const
    {
        static const T none;
        const DQModel &entry = record(index);
        if (entry.metaInfo() == dqMetaInfo<T>()) {
            return static_cast<const T &>(entry);
        }
        if (contains(index)) {
            warnCanNotConvert(entry, dqMetaInfo<T>()->className());
        }
        return none;
    }

    [[nodiscard]] const T &operator[](int index) const { return at(index); }
    [[nodiscard]] const T &first() const { return at(0); }
    [[nodiscard]] const_iterator begin() const { return {this, 0}; }
    [[nodiscard]] const_iterator end() const { return {this, size()}; }
};
