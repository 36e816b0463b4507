#include "db/dq/dq_field.h"

#include "db/dq/dq_model_meta_info.h"

bool DQBaseField::set(QVariant value)
{
    m_value = std::move(value);
    return true;
}

QVariant DQBaseField::get() const
{
    return m_value;
}

// NOLINTNEXTLINE(misc-unconventional-assign-operator)
QVariant DQBaseField::operator=(const QVariant &value)
{
    set(value);
    return m_value;
}

void DQBaseField::declare(DQModel *owner, const char *name, int type, const DQClause &clause)
{
    s_declaring->declareField(owner, this, QString::fromLatin1(name), type, clause);
}
