#pragma once

#include <memory>

#include <QString>
#include <QVector>

#include "db/dq/dq_model_meta_info.h"

class DQModel;

/// A list of records of any model, shared by its copies until one of them changes. The records
/// inside do not change any more. DQList<T> is the typed view.
class DQSharedList
{
public:
    [[nodiscard]] int size() const { return m_records.size(); }
    [[nodiscard]] bool isEmpty() const { return m_records.isEmpty(); }
    void clear() { m_records.clear(); }
    void reserve(int size) { m_records.reserve(size); }

    /// `index` must be in range.
    [[nodiscard]] const DQModel &record(int index) const { return *m_records.at(index); }

    /// A record of its own with the same values.
    [[nodiscard]] std::shared_ptr<DQModel> copyOf(int index) const;

    void append(std::shared_ptr<const DQModel> record) { m_records.append(std::move(record)); }

protected:
    static void warnCanNotConvert(const DQModel &record, const QString &wanted);

private:
    QVector<std::shared_ptr<const DQModel>> m_records;
};
