#pragma once

#include <brelldata/data/MatrixDataStore.h>
#include <brelldata/data/Records.h>

#include <string>
#include <string_view>

namespace brell::io {

// The held rows of image as a PNG file's bytes (row 0 first, 8-bit RGBA);
// FileError naming name when it has no pixels or cannot be encoded.
std::string EncodePng(const CMatrixDataStore<RGBA>& image, const std::string& name);

// Fills image (width, height and pixels, row 0 first) from PNG bytes; what,
// e.g. "images[0]", names the image in the FileError naming name that a
// broken PNG or one of more than 2^28 pixels gives before any pixel memory
// is taken.
void DecodePng(std::string_view bytes, CMatrixDataStore<RGBA>& image, const std::string& name, const std::string& what);

}  // namespace brell::io
