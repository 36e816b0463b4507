#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "localdrive/accounts/options.h"
#include "localdrive/disk/drive.h"

namespace localdrive {

// One user of the drive. The status is thread-safe.
struct Account
{
    Account(int accountNumber, AccountOptions options, const std::string &secret);

    [[nodiscard]] std::string status() const;
    void setStatus(const std::string &status);

    const int number;
    const AccountOptions facts; // But for the status, which may change.
    Drive drive;
    std::atomic<int> downloads{0}; // That are being sent.

private:
    mutable std::mutex m_mutex;
    std::string m_status;
};

} // namespace localdrive
