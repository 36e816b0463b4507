#include "db/dq/dq_shared_list.h"

#include <QtDebug>

#include "db/dq/dq_model.h"

std::shared_ptr<DQModel> DQSharedList::copyOf(int index) const
{
    const DQModel &original = record(index);
    const DQModelMetaInfo &info = *original.metaInfo();
    std::shared_ptr<DQModel> copy = info.newRecord();
    for (int i = 0; i < info.size(); ++i)
        info.field(*copy, i).set(info.field(original, i).get());
    return copy;
}

void DQSharedList::warnCanNotConvert(const DQModel &record, const QString &wanted)
{
    const DQModelMetaInfo *info = record.metaInfo();
    qWarning().noquote() << QStringLiteral("DQList::at() - Can not convert %1 to %2")
                                .arg(info ? info->className() : QStringLiteral("DQModel"), wanted);
}
