#include "db/dq/dq_transaction.h"

#include <utility>

#include "db/dq/dq_connection_priv.h"

DQTransaction::DQTransaction(DQConnection connection) : m_connection(std::move(connection))
{
    if (!m_connection.isOpen()) {
        return;
    }
    DQConnectionPriv &block = *m_connection.d;
    m_active = block.openTransactions > 0 ||
               m_connection.exec(QStringLiteral("BEGIN IMMEDIATE TRANSACTION"));
    if (m_active && block.openTransactions++ == 0) {
        block.rollbackOnly = false;
    }
}

DQTransaction::~DQTransaction()
{
    if (!m_active) {
        return;
    }
    DQConnectionPriv &block = *m_connection.d;
    block.rollbackOnly = true;
    if (--block.openTransactions > 0 || !m_connection.isOpen()) {
        return;
    }
    // After a failure such as a full disk, which was logged then, SQLite has rolled back by itself
    // and this finds no transaction: not worth a warning, nor to be the connection's last query.
    QSqlQuery query = m_connection.newQuery();
    query.exec(QStringLiteral("ROLLBACK TRANSACTION"));
}

bool DQTransaction::commit()
{
    if (!m_active) {
        return false;
    }
    DQConnectionPriv &block = *m_connection.d;
    if (block.rollbackOnly) {
        return false;
    }
    if (block.openTransactions == 1 && !m_connection.exec(QStringLiteral("COMMIT TRANSACTION"))) {
        return false;
    }
    --block.openTransactions;
    m_active = false;
    return true;
}
