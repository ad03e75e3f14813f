#pragma once
// How far playback goes back when it is resumed after a pause, so that the listener finds the thread again. Any thread.

#include <chrono>

namespace vexa::host {

/// Seconds: nothing below a minute, then more with the logarithm of the pause, and no more from a day on.
///
///     pause    1 min   10 min   1 h    1 day
///     back     5 s     13 s     19 s   30 s
double RewindAfter(std::chrono::milliseconds pause);

}  // namespace vexa::host
