#pragma once

namespace tests {

/// Whether a program can start under a file size limit: the thread sanitizer's runtime is stopped by one before main.
#ifdef __SANITIZE_THREAD__
inline constexpr bool kCanLimitFileSize = false;
#else
inline constexpr bool kCanLimitFileSize = true;
#endif

}  // namespace tests
