#include "db/dq/dq_model_meta_info.h"

#include <utility>

#include <QHash>
#include <QtDebug>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_field.h"
#include "db/dq/dq_model.h"
#include "db/dq/dq_shared_list.h"

namespace {

QHash<QString, DQModelMetaInfo *> &registry()
{
    static QHash<QString, DQModelMetaInfo *> models;
    return models;
}

} // namespace

DQModelMetaInfo::DQModelMetaInfo(DQNames names, Factory factory)
    : m_tableName(QString::fromLatin1(names.tableName))
    , m_className(QString::fromLatin1(names.className))
    , m_newRecord(factory)
{
}

DQModelMetaInfo::~DQModelMetaInfo() = default;

// Constructing a record runs the declarations of its fields, so the columns come from the one
// place where the class lists them, in the order in which C++ initialises members. A foreign key
// may lead back here before it is done (a model that references itself): the flag ends that.
void DQModelMetaInfo::declare()
{
    if (m_declared) {
        return;
    }
    m_declared = true;
    if (find(m_tableName)) {
        qWarning().noquote()
            << QStringLiteral("Table with same name is detected! : %1 ").arg(m_tableName);
    }
    DQModelMetaInfo *const outer = std::exchange(DQBaseField::s_declaring, this);
    m_prototype = m_newRecord();
    DQBaseField::s_declaring = outer;
    registry().insert(m_tableName, this);
}

void DQModelMetaInfo::declareField(const DQModel *owner, const DQBaseField *field,
                                   const QString &name, int type, const DQClause &clause)
{
    if (!m_declaringOwner) {
        m_declaringOwner = owner;
    }
    if (owner != m_declaringOwner) { // a record that the model's constructor makes for itself
        return;
    }
    const auto offset =
        reinterpret_cast<const char *>(field) - reinterpret_cast<const char *>(owner);
    const DQFieldInfo info{name, offset, type, clause.toMap(), QLatin1Char(':') + name};
    m_fields.append(info);
    m_fieldNames.append(name);
    if (clause.has(DQConstraint::ForeignKey)) {
        m_foreignKeys.append(info);
    }
}

DQModelMetaInfo *DQModelMetaInfo::find(const QString &tableName)
{
    return registry().value(tableName);
}

int DQModelMetaInfo::indexOf(const QString &fieldName) const
{
    return m_fieldNames.indexOf(fieldName);
}

QVariant DQModelMetaInfo::value(const DQModel &record, const QString &fieldName) const
{
    const int index = indexOf(fieldName);
    return index < 0 ? QVariant() : field(record, index).get();
}

bool DQModelMetaInfo::setValue(DQModel &record, const QString &fieldName,
                               const QVariant &value) const
{
    const int index = indexOf(fieldName);
    return index >= 0 && field(record, index).set(value);
}

DQBaseField &DQModelMetaInfo::field(DQModel &record, int index) const
{
    auto *base = reinterpret_cast<char *>(&record);
    return *reinterpret_cast<DQBaseField *>(base + m_fields.at(index).offset);
}

const DQBaseField &DQModelMetaInfo::field(const DQModel &record, int index) const
{
    const auto *base = reinterpret_cast<const char *>(&record);
    return *reinterpret_cast<const DQBaseField *>(base + m_fields.at(index).offset);
}

const QString &DQModelMetaInfo::nameAt(std::ptrdiff_t offset) const
{
    static const QString none;
    for (const DQFieldInfo &info : m_fields) {
        if (info.offset == offset) {
            return info.name;
        }
    }
    return none;
}

DQSharedList DQModelMetaInfo::initialData() const
{
    return m_prototype->initialData();
}

DQConnection DQModelMetaInfo::connection() const
{
    return DQConnection(m_connection.lock());
}
