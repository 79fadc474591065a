#pragma once

// tinygltf as the io library builds it: images are neither decoded nor
// encoded by it (the reader decodes the one texture it keeps, with libpng)
// and it never opens an image file itself; every file it asks for goes
// through the reader's own callbacks. Every source that includes it sees the
// same settings, so its types are the same everywhere.
#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
#define TINYGLTF_NO_EXTERNAL_IMAGE
#include <tiny_gltf.h>
