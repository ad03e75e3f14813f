#pragma once
// What the shared runtime library shows to those who link it.

#if defined(VEXA_RUNTIME_BUILD)
#define VEXA_RUNTIME_API __attribute__((visibility("default")))
#else
#define VEXA_RUNTIME_API
#endif
