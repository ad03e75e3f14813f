#pragma once

namespace tests {

/// Whether a program starts below a limit on the size of files: the thread sanitizer's runtime is stopped by one before
/// the program's main function.
#ifdef __SANITIZE_THREAD__
inline constexpr bool kCanLimitFileSize = false;
#else
inline constexpr bool kCanLimitFileSize = true;
#endif

}  // namespace tests
