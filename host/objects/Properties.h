#pragma once
// Reads single properties of objects of any implementation, on any thread on which the object may be used.

#include "VEXA.SDK.Objects.h"

#include <QString>

namespace vexa::host {

/// Empty when `object` is null or has no such text.
QString TextOf(IVEXAPropertyList* object, std::int32_t property);

/// `defaultValue` when `object` is null or has no such number.
std::int32_t NumberOf(IVEXAPropertyList* object, std::int32_t property, std::int32_t defaultValue = 0);

}  // namespace vexa::host
