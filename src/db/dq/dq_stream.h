#pragma once

#include <memory>

#include <QVariant>

class DQModel;
class DQModelMetaInfo;
class DQSharedList;

// Fills a list value by value: the columns of one record after the other, in declaration order
// and without `id`. Meant for a model's initialData():
//
//     DQList<Genre> list;
//     DQStream(dqMetaInfo<Genre>(), list) << QStringLiteral("drama") << 1
//                                         << QStringLiteral("comedy") << 2;
//
// A record enters the list when its last column is written; an unfinished one is dropped.
class DQStream final
{
    Q_DISABLE_COPY_MOVE(DQStream)

public:
    explicit DQStream(DQSharedList &list) : m_list(list) {}
    DQStream(const DQModelMetaInfo *model, DQSharedList &list);
    ~DQStream();

    // Drops an unfinished record. False, with a warning, for a model that has no column but
    // `id`: there is nothing to write.
    bool setModel(const DQModelMetaInfo *model);

    DQStream &operator<<(const QVariant &value);

private:
    DQSharedList &m_list;
    const DQModelMetaInfo *m_model = nullptr;
    std::shared_ptr<DQModel> m_record;
    int m_column = 1;
};
