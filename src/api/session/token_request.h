#pragma once

#include <functional>

#include <QString>

#include "api/records/account_records.h"

struct TokenReply
{
    AccessTokenResp tokens; // empty without a usable reply
    // The backend knows this refresh token no more: it may have been used by another process.
    bool isRefused = false;
};

// Exchanges a refresh token for a new pair at the product backend and waits for it, 15 s at the
// most. Meanwhile events are processed: timers fire, windows paint, may be closed and may ask for
// more; the caller has to stand that. `received` runs once, as soon as the reply is there, also
// when a modal dialog that was opened meanwhile holds up the return from here. An attempt to quit
// takes effect after the wait, so that a pair which the backend has handed out is not lost.
void requestTokens(const QString &refreshToken,
                   const std::function<void(const TokenReply &reply)> &received);
