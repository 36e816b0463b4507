#pragma once

#include "localdrive/wire/clock.h"

namespace localdrive {

// What play information says of a video that has streams.
enum class PlayAnswer {
    Everything,
    NoHighAddresses, // HD and above have no address, as without the paid package.
    ExceedCapacity,  // 400 ExceedCapacityForbidden.
    WaitAndRetry,    // 202 VideoPreviewWaitAndRetry, for ever.
    NoPreview,       // 404 NotFound.VideoPreviewInfo.
};

// In how far the drive is as unkind as the platform is reported to be. As they are initialised,
// nothing is bounded and replies hold all that they may. Numbers of 0 bound nothing.
struct Rules
{
    int pageCap = 0; // Entries per listing reply.
    int listsPerSecond = 0;
    int downloadAddressesPerSecond = 0;
    int otherCallsPerSecond = 0; // These three for each user.
    Milliseconds urlLifetime{0}; // Of addresses of content, whatever is asked.
    int downloadConnections = 0; // At a time, for each user.
    PlayAnswer playAnswer = PlayAnswer::Everything;
    // Drive information has no status, nick_name and phone, but ids of the other drives.
    bool documentedDriveInfo = false;
    bool expiredCodeIsError = false; // Of the reply to the poll; a status otherwise.

    static Rules strict();
};

} // namespace localdrive
