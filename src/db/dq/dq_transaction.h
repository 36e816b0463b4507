#pragma once

#include "db/dq/dq_connection.h"

// Makes all writes of its scope one: they are kept together by commit() or rolled back together
// at the end of the scope. The database is reserved for writing from the start, so what is read
// inside cannot be changed by another process before it is written back. An inner transaction
// joins the outer one; when the inner one is not committed, the outer one cannot be either.
class DQTransaction final
{
    Q_DISABLE_COPY_MOVE(DQTransaction)

public:
    explicit DQTransaction(DQConnection connection);
    ~DQTransaction();

    // False when the database could not be reserved (logged as a warning).
    [[nodiscard]] bool isActive() const { return m_active; }

    // False when the writes were not kept. Ends the scope; call it once.
    bool commit();

private:
    DQConnection m_connection;
    bool m_active = false;
};
