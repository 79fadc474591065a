#pragma once

// Symbols of the io library are hidden by default; BRELL_IO_API marks its interface.
#if defined(BRELL_BUILDING_IO_LIBRARY)
#define BRELL_IO_API __attribute__((visibility("default")))
#else
#define BRELL_IO_API
#endif
