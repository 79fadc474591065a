// The one compiled copy of tinygltf (Debian ships its header, whose
// implementation each user builds with the settings it needs).
#define TINYGLTF_IMPLEMENTATION
#include "io/GltfLibrary.h"
