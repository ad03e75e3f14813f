#pragma once
// What the tests' plug-in library exports.

#include "VEXA.SDK.Core.h"

extern "C" __attribute__((visibility("default"))) vexa::HResult VEXAPluginGetHeader(vexa::IVEXAPlugin** header);
