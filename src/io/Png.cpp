#include "io/Png.h"

#include <brelldata/io/FileError.h>

#include <png.h>

#include <memory>
#include <new>

namespace brell::io {

namespace {

constexpr png_uint_32 kMaxPixels = png_uint_32{1} << 28;

}  // namespace

std::string EncodePng(const CMatrixDataStore<RGBA>& image, const std::string& name)
{
    const int rows = image.HeldRows();
    if (rows < 1 || image.width < 1)
        throw FileError::InFile(name, "an image with pixels to write as PNG",
                                std::to_string(image.width) + "x" + std::to_string(rows) + " pixels");
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(rows);
    png.format = PNG_FORMAT_RGBA;
    // Room for the largest PNG of the image, so that it is compressed once.
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
    std::string bytes(size, '\0');
    if (png_image_write_to_memory(&png, bytes.data(), &size, 0, image.Buffer(), 0, nullptr) == 0) {
        const std::string reason = png.message;
        png_image_free(&png);
        throw FileError::InFile(name, "an image libpng can encode", reason);
    }
    bytes.resize(size);
    return bytes;
}

void DecodePng(std::string_view bytes, CMatrixDataStore<RGBA>& image, const std::string& name, const std::string& what)
{
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    auto refuse = [&](const std::string& expected) {
        const std::string reason = png.message[0] != '\0' ? png.message : "a broken PNG image";
        png_image_free(&png);
        return FileError::InFile(name, expected + " in " + what, reason);
    };
    if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0) throw refuse("a PNG image");
    if (png.width == 0 || png.height == 0 || png.width > kMaxPixels / png.height) {
        png_image_free(&png);
        throw FileError::InFile(name, "at most 268435456 pixels in " + what,
                                std::to_string(png.width) + "x" + std::to_string(png.height));
    }
    png.format = PNG_FORMAT_RGBA;
    image.width = static_cast<int>(png.width);
    image.height = 0;
    if (!image.ReserveRows(static_cast<int>(png.height))) {
        png_image_free(&png);
        throw std::bad_alloc();
    }
    if (png_image_finish_read(&png, nullptr, image.Buffer(), 0, nullptr) == 0) throw refuse("a whole PNG image");
    image.height = static_cast<int>(png.height);
}

}  // namespace brell::io
