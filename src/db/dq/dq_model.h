#pragma once

#include "db/dq/dq_field.h"
#include "db/dq/dq_model_meta_info.h"
#include "db/dq/dq_names.h"

class DQSharedList;
class DQWhere;

// A persisted record: a class whose members are fields. Records are plain values; a copy shares
// nothing with its origin. Models derive from DQTable (below), not from here.
//
// Records are stored through the connection that their model is registered with. Failures are
// logged as warnings and reported as false.
class DQModel
{
public:
    DQModel() = default;
    DQModel(const DQModel &) = default;
    DQModel(DQModel &&) noexcept = default;
    DQModel &operator=(const DQModel &) = default;
    DQModel &operator=(DQModel &&) noexcept = default;
    virtual ~DQModel();

    [[nodiscard]] virtual DQModelMetaInfo *metaInfo() const;

    // Writes the record as one REPLACE: it takes the place of the row with its `id`, and of any
    // row that holds the same value in a unique column. Null fields are left out, so that the
    // new row gets their column's default; `forAllField` writes them as NULL. `forceInsert`
    // leaves `id` out, so that a new row is made. A new row's key is put into `id`.
    virtual bool save(bool forceInsert = false, bool forAllField = false);

    [[nodiscard]] virtual QString text() const;

    // Whether the record may be saved; asked first by save().
    [[nodiscard]] virtual bool clean();

    // The records that a freshly created table starts with.
    [[nodiscard]] virtual DQSharedList initialData() const;

    // Copies the first row that satisfies `where` into this record. Returns false, and leaves
    // the record alone, when there is none.
    bool load(const DQWhere &where);

    // Deletes the row with this record's `id`; false when `id` is null.
    bool remove() const;

    DQPrimaryKey id{this};
};

// The base of a model class. The class names itself and its table and lists its columns, one
// line each; their order is the order of the columns:
//
//     class Film final : public DQTable<Film>
//     {
//     public:
//         static constexpr DQNames names{"Film"};
//
//         DQField<QString> title{this, "title", DQNotNull | DQUnique};
//         DQField<int> year{this, "year"};
//         DQField<QDateTime> added{this, "added", DQDefault("CURRENT_TIMESTAMP")};
//     };
template <class Model>
class DQTable : public DQModel
{
public:
    [[nodiscard]] DQModelMetaInfo *metaInfo() const override { return dqMetaInfo<Model>(); }
};
