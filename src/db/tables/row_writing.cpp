#include "db/tables/row_writing.h"

#include <algorithm>

#include <QSqlError>

#include "db/dq/dq_connection.h"
#include "db/dq/dq_model.h"
#include "db/dq/dq_transaction.h"
#include "db/dq/dq_where.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"

QDateTime timeAfter(const QDateTime &former)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    return former.isValid() ? std::max(now, former.addMSecs(1)) : now;
}

void takeKey(DQModel &record, const DQModel &stored)
{
    if (!record.id.isNull() && !stored.id.isNull()) {
        record.id.set(stored.id.get());
    }
}

bool saveAndCommit(DQModel &record, bool isNew, DQTransaction &transaction)
{
    const QVariant former = record.id.get();
    if (transaction.isActive() && record.save(isNew) && transaction.commit()) {
        return true;
    }
    record.id.set(former);
    return false;
}

bool hasWorked(const DQConnection &connection)
{
    return connection.isOpen() && !connection.lastQuery().lastError().isValid();
}

LookUp lookUp(DQModel &record, const DQWhere &where)
{
    if (record.load(where)) {
        return LookUp::Found;
    }
    return hasWorked(record.metaInfo()->connection()) ? LookUp::NoRow : LookUp::Failed;
}

bool withRecovery(const std::function<bool()> &work)
{
    return work() || (database() && database()->recover() && work());
}
