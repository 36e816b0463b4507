#include "localdrive/accounts/account.h"

#include <utility>

namespace localdrive {

Account::Account(int accountNumber, AccountOptions options, const std::string &secret)
    : number(accountNumber)
    , facts(std::move(options))
    , drive(facts.root, facts.driveId, secret, facts.writable)
    , m_status(facts.status)
{
}

std::string Account::status() const
{
    const std::lock_guard lock(m_mutex);
    return m_status;
}

void Account::setStatus(const std::string &status)
{
    const std::lock_guard lock(m_mutex);
    m_status = status;
}

} // namespace localdrive
