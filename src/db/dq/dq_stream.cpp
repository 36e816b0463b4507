#include "db/dq/dq_stream.h"

#include <utility>

#include <QtDebug>

#include "db/dq/dq_model.h"
#include "db/dq/dq_shared_list.h"

namespace {
constexpr int FirstColumn = 1; // behind `id`, which the database gives
}

DQStream::DQStream(const DQModelMetaInfo *model, DQSharedList &list) : m_list(list)
{
    setModel(model);
}

DQStream::~DQStream() = default;

bool DQStream::setModel(const DQModelMetaInfo *model)
{
    m_record.reset();
    m_model = nullptr;
    if (!model || model->size() <= FirstColumn) {
        qWarning("DQStream::setModel() do not support model with single field of id.");
        return false;
    }
    m_model = model;
    return true;
}

DQStream &DQStream::operator<<(const QVariant &value)
{
    if (!m_model) {
        return *this;
    }
    if (!m_record) {
        m_record = m_model->newRecord();
        m_column = FirstColumn;
    }
    m_model->field(*m_record, m_column).set(value);
    if (++m_column == m_model->size()) {
        m_list.append(std::exchange(m_record, nullptr));
    }
    return *this;
}
