#pragma once

// Symbols are hidden by default; BRELL_API marks the exported interface.
#if defined(BRELL_BUILDING_LIBRARY)
#define BRELL_API __attribute__((visibility("default")))
#else
#define BRELL_API
#endif
