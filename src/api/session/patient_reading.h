#pragma once

#include <functional>

#include "api/session/open_api_client.h"

class ReplyGuard;

// One operation that reads, asked for with this client and this fail callback; its success callback
// must be guarded by `replies`, see below.
using ReadingCall =
    std::function<PendingReply(const OpenApiClient &client, const ApiFailure &fail)>;

// Asks, and asks again by itself as RefusalNote allows: a few times while the server refuses as too
// fast, which holds the next attempt back as long as it names, and once after what a second
// attempt may mend. `fail` runs once, for the last attempt. `replies` awaits each attempt, guards
// `reading` and `fail`, and must belong to who asks.
void readPatiently(ReplyGuard &replies, const OpenApiClient &client, const ReadingCall &reading,
                   const ApiFailure &fail);
