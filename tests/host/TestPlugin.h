#pragma once
// The entry point of the tests' plug-in library.

#include "VEXA.SDK.Core.h"

extern "C" __attribute__((visibility("default"))) vexa::HResult VEXAPluginGetHeader(vexa::IVEXAPlugin** header);
