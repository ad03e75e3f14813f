#pragma once
// Single properties of anybody's objects. The threads are the object's.

#include "VEXA.SDK.Objects.h"

#include <QString>

namespace vexa::host {

/// Empty when there is no object, or it has no such text.
QString TextOf(IVEXAPropertyList* object, std::int32_t property);

/// The default when there is no object, or it has no such number.
std::int32_t NumberOf(IVEXAPropertyList* object, std::int32_t property, std::int32_t defaultValue = 0);

}  // namespace vexa::host
