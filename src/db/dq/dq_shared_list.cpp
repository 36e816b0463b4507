#include "db/dq/dq_shared_list.h"

#include <utility>
#include <vector>

#include <QSharedData>
#include <QtDebug>

#include "db/dq/dq_model.h"

class DQSharedListPriv final : public QSharedData
{
public:
    std::vector<std::shared_ptr<const DQModel>> records;
};

DQSharedList::DQSharedList() : d(new DQSharedListPriv) {}
DQSharedList::DQSharedList(const DQSharedList &) = default;
DQSharedList &DQSharedList::operator=(const DQSharedList &) = default;
DQSharedList::~DQSharedList() = default;

int DQSharedList::size() const
{
    return static_cast<int>(d->records.size());
}

void DQSharedList::clear()
{
    d->records.clear();
}

const DQModel &DQSharedList::record(int index) const
{
    static const DQModel none;
    if (contains(index)) {
        return *d->records[static_cast<size_t>(index)];
    }
    qWarning("DQSharedList::record() - There is no record %d among %d", index, size());
    return none;
}

std::shared_ptr<DQModel> DQSharedList::copyOf(int index) const
{
    const DQModel &original = record(index);
    const DQModelMetaInfo *info = original.metaInfo();
    if (!info) {
        return std::make_shared<DQModel>(original);
    }
    std::shared_ptr<DQModel> copy = info->newRecord();
    for (int i = 0; i < info->size(); ++i) {
        info->field(*copy, i).set(info->field(original, i).get());
    }
    return copy;
}

void DQSharedList::append(std::shared_ptr<const DQModel> record)
{
    d->records.push_back(std::move(record));
}

void DQSharedList::warnCanNotConvert(const DQModel &record, const QString &wanted)
{
    const DQModelMetaInfo *info = record.metaInfo();
    qWarning().noquote() << QStringLiteral("DQList::at() - Can not convert %1 to %2")
                                .arg(info ? info->className() : QStringLiteral("DQModel"), wanted);
}
