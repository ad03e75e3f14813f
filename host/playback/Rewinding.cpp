#include "Rewinding.h"

#include <algorithm>
#include <cmath>

namespace vexa::host {

double RewindAfter(std::chrono::milliseconds pause) {
    constexpr std::chrono::duration<double> kShortest = std::chrono::minutes(1), kLongest = std::chrono::hours(24);
    constexpr double kLeast = 5, kMost = 30;  // s
    if (pause < kShortest) return 0;
    const double share = std::log(pause / kShortest) / std::log(kLongest / kShortest);
    return kLeast + (kMost - kLeast) * std::min(share, 1.0);
}

}  // namespace vexa::host
