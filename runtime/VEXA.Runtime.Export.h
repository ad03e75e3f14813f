#pragma once
// Marks the symbols that the shared runtime library exports.

#if defined(VEXA_RUNTIME_BUILD)
#define VEXA_RUNTIME_API __attribute__((visibility("default")))
#else
#define VEXA_RUNTIME_API
#endif
