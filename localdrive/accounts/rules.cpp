#include "localdrive/accounts/rules.h"

namespace localdrive {

Rules Rules::strict()
{
    Rules rules;
    rules.pageCap = 100;
    rules.listsPerSecond = 4;
    rules.downloadAddressesPerSecond = 1;
    rules.otherCallsPerSecond = 15;
    rules.urlLifetime = std::chrono::minutes(15);
    rules.downloadConnections = 2;
    rules.playAnswer = PlayAnswer::NoHighAddresses;
    rules.documentedDriveInfo = true;
    rules.expiredCodeIsError = true;
    return rules;
}

} // namespace localdrive
