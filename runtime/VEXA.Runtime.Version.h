#pragma once
// The product's name and version, as programs and servers are told.

#define VEXA_VERSION "1.0.0"

namespace vexa {

inline constexpr char kVersion[] = VEXA_VERSION;
/// RFC 9110, section 10.1.5. Many podcast hosts refuse requests without one.
inline constexpr char kUserAgent[] = "VEXA-Podcasts/" VEXA_VERSION;

}  // namespace vexa
