#pragma once

// Symbols of the reference renderer are hidden by default; BRELL_GL_API marks
// its exported interface.
#if defined(BRELL_BUILDING_GL_LIBRARY)
#define BRELL_GL_API __attribute__((visibility("default")))
#else
#define BRELL_GL_API
#endif
