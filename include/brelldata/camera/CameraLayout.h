#pragma once

// Telling the two camera data file layouts apart. The files carry no magic:
// a file is of the layout whose header is plausible and whose header and
// blocks make up its length exactly.

#include <brelldata/camera/CameraData.h>
#include <brelldata/camera/KameraData.h>
#include <brelldata/Export.h>

#include <cstdint>

namespace brell {

enum class CameraFileLayout { none, first, second };

// The bytes a reader takes for a shot with this host-order header: the
// header, the 3-D block and any 2-D block. 0 when the header fails its
// plausibility test or sizes no 3-D block, as the reader then takes no block.
BRELL_API int64_t CameraFileBytes(const CAMERAHEADER& header);
BRELL_API int64_t CameraFileBytes(const KAMERAHEADER& header);

// The layout of a file of fileBytes bytes whose start, read as either
// header, gave first and second: the layout whose header describes exactly
// fileBytes, the first when both do, none when neither does.
BRELL_API CameraFileLayout DetectCameraLayout(const CAMERAHEADER& first, const KAMERAHEADER& second,
                                              uint64_t fileBytes);

}  // namespace brell
