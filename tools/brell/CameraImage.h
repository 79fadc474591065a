#pragma once

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/core/Tree.h>
#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/Records.h>
#include <brelldata/data/RefData.h>

#include <string>

// A camera data file's colour block as a picture: its 24-bit pixels, row by
// row from the top, red first.

namespace brell::tool {

// The colour block of the camera data file at path, of either layout.
// FileError when the file is no camera data file or has no 24-bit colour plane.
CRefData<CMatrixDataStore<RGBA>> ReadCameraImage(const std::string& path);
// A scene showing that picture: an element holding a rectangle mesh of its
// proportions, textured by it.
CTree CameraImageScene(const std::string& path);

}  // namespace brell::tool
