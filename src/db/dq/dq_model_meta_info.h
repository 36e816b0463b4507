#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include "db/dq/dq_clause.h"
#include "db/dq/dq_names.h"

class DQBaseField;
class DQConnection;
class DQConnectionPriv;
class DQModel;
class DQSharedList;

// One column of a model.
struct DQFieldInfo
{
    QString name;
    std::ptrdiff_t offset = 0; // of the DQBaseField, in bytes from the record's DQModel
    int type = QMetaType::UnknownType;
    DQClauseMap clause;
    QString placeholder; // ":" and the name
};

// All that the layer knows of one model class: names, columns and how to reach a field inside a
// record. There is one per model class, created when first asked for and kept for the life of
// the process; get it with dqMetaInfo<Model>() or DQModel::metaInfo().
class DQModelMetaInfo final
{
    Q_DISABLE_COPY_MOVE(DQModelMetaInfo)

public:
    using Factory = std::shared_ptr<DQModel> (*)();

    DQModelMetaInfo(DQNames names, Factory factory);
    ~DQModelMetaInfo();

    [[nodiscard]] const QString &name() const { return m_tableName; } // the table's
    [[nodiscard]] const QString &className() const { return m_className; }
    [[nodiscard]] int size() const { return m_fields.size(); }
    [[nodiscard]] const DQFieldInfo &at(int index) const { return m_fields.at(index); }
    [[nodiscard]] const QStringList &fieldNames() const { return m_fieldNames; }
    [[nodiscard]] const QVector<DQFieldInfo> &foreignKeys() const { return m_foreignKeys; }

    // The column's number in declaration order, -1 when there is none of that name.
    [[nodiscard]] int indexOf(const QString &fieldName) const;

    // Null for a name that is no column, and for a field that is null.
    [[nodiscard]] QVariant value(const DQModel &record, const QString &fieldName) const;
    // False for a name that is no column, and for a value that the field cannot represent.
    bool setValue(DQModel &record, const QString &fieldName, const QVariant &value) const;

    // `record` must be of this model.
    [[nodiscard]] DQBaseField &field(DQModel &record, int index) const;
    [[nodiscard]] const DQBaseField &field(const DQModel &record, int index) const;

    // The name of the column that a class member stands for.
    template <class Model, class Field>
    [[nodiscard]] const QString &nameOf(Field Model::*member) const;

    [[nodiscard]] std::shared_ptr<DQModel> newRecord() const { return m_newRecord(); }
    [[nodiscard]] DQSharedList initialData() const;

    // The connection that the model was last registered with; closed when there is none.
    [[nodiscard]] DQConnection connection() const;

    // Collects the fields and enters the registry, once.
    void declare();

    // The registered metadata of a table; null when there is none.
    [[nodiscard]] static DQModelMetaInfo *find(const QString &tableName);

private:
    friend class DQBaseField;
    friend class DQConnection;

    void declareField(const DQModel *owner, const DQBaseField *field, const QString &name, int type,
                      const DQClause &clause);
    [[nodiscard]] const QString &nameAt(std::ptrdiff_t offset) const;

    const QString m_tableName;
    const QString m_className;
    const Factory m_newRecord;
    bool m_declared = false;
    std::shared_ptr<DQModel> m_prototype;
    QVector<DQFieldInfo> m_fields;
    QVector<DQFieldInfo> m_foreignKeys;
    QStringList m_fieldNames;
    std::weak_ptr<DQConnectionPriv> m_connection;
    const DQModel *m_declaringOwner = nullptr;
};

Q_DECLARE_METATYPE(DQModelMetaInfo *)

// The metadata of a model class.
template <class Model>
DQModelMetaInfo *dqMetaInfo()
{
    static_assert(std::is_base_of_v<DQModel, Model>, "a model derives from DQTable<Model>");
    static_assert(std::is_default_constructible_v<Model>, "rows are read into fresh records");
    static DQModelMetaInfo info(
        Model::names, []() -> std::shared_ptr<DQModel> { return std::make_shared<Model>(); });
    info.declare();
    return &info;
}

template <class Model, class Field>
const QString &DQModelMetaInfo::nameOf(Field Model::*member) const
{
    const auto &prototype = static_cast<const Model &>(*m_prototype);
    const auto *base = reinterpret_cast<const char *>(static_cast<const DQModel *>(&prototype));
    const auto *field =
        reinterpret_cast<const char *>(static_cast<const DQBaseField *>(&(prototype.*member)));
    return nameAt(field - base);
}
