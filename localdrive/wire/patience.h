#pragma once

#include "localdrive/wire/clock.h"

namespace localdrive {

// How long a connection may wait for what its peer does.
struct Patience
{
    Milliseconds forRequest = std::chrono::seconds(10); // From the first byte to the last.
    Milliseconds betweenRequests = std::chrono::minutes(1);
};

} // namespace localdrive
