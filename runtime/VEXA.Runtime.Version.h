#pragma once
// The product's name and version, for the programs' --version and for requests to servers.

#define VEXA_VERSION "1.0.0"

namespace vexa {

inline constexpr char kVersion[] = VEXA_VERSION;
/// The User-Agent header (RFC 9110, section 10.1.5). Many podcast hosts refuse requests without one.
inline constexpr char kUserAgent[] = "VEXA-Podcasts/" VEXA_VERSION;

}  // namespace vexa
