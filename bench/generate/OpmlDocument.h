#pragma once
// Writes shows as a subscription list in OPML 2.0, the form in which podcast programs exchange them.

#include "Show.h"

#include <span>
#include <string>
#include <string_view>

[[nodiscard]] std::string OpmlDocument(std::span<const Show> shows, std::string_view base);
