#include "player/session/speed.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr double Same = 0.001; // libmpv keeps more digits than anybody hears

} // namespace

double speedAfterStep(double speed, bool up)
{
    if (up) {
        const auto *const next =
            std::upper_bound(std::begin(OfferedSpeeds), std::end(OfferedSpeeds), speed + Same);
        return next == std::end(OfferedSpeeds) ? HighestSpeed : *next;
    }
    const auto *const next =
        std::lower_bound(std::begin(OfferedSpeeds), std::end(OfferedSpeeds), speed - Same);
    return next == std::begin(OfferedSpeeds) ? LowestSpeed : *std::prev(next);
}
