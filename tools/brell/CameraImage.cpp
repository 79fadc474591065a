#include "CameraImage.h"

#include <brelldata/io/CameraFile.h>
#include <brelldata/io/FileError.h>
#include <brelldata/platform/Archive.h>
#include <brelldata/scan/ModelNodes.h>
#include <brelldata/scan/ObjectNodes.h>

#include <filesystem>
#include <new>
#include <string>

namespace brell::tool {

namespace {

template <class Shot>
CRefData<CMatrixDataStore<RGBA>> ColourBlock(const Shot& shot, const std::string& path)
{
    const int width = shot.header.colorPlaneWidth, height = shot.header.colorPlaneHeight;
    if (shot.header.colorPlanePixelBits != 24 || width < 1 || height < 1 || shot.length2D < int64_t{width} * height * 3)
        throw io::FileError::InFile(path, "a camera data file with a 24-bit colour plane", "none");
    CRefData<CMatrixDataStore<RGBA>> image;
    image->width = width;
    if (image->AppendRows(height) == 0) throw std::bad_alloc();
    const unsigned char* pixel = shot.data2D;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixel += 3) image->Element(y, x) = {pixel[0], pixel[1], pixel[2], 255};
    return image;
}

}  // namespace

CRefData<CMatrixDataStore<RGBA>> ReadCameraImage(const std::string& path)
{
    if (io::CameraFileLayoutOf(path) == CameraFileLayout::first)
        return ColourBlock(io::ReadCameraRecord<CAMERADATA>(path), path);
    return ColourBlock(io::ReadCameraRecord<KAMERADATA>(path), path);
}

CTree CameraImageScene(const std::string& path)
{
    CRefData<CMatrixDataStore<RGBA>> image = ReadCameraImage(path);
    CTree scene(CBaseNode::Create());
    auto* element = static_cast<CElementNode*>(CElementNode::Create());
    element->SetName(std::filesystem::path(path).filename().string().c_str());
    AppendElementToScene(element, &scene);
    auto* mesh = static_cast<CMeshNode*>(CMeshNode::Create());
    element->AppendChild(mesh);
    const double aspect = static_cast<double>(image->width) / image->height;
    mesh->AppendVertex(4);
    const VERTEX corners[4] = {{-aspect, 1, 0}, {aspect, 1, 0}, {aspect, -1, 0}, {-aspect, -1, 0}};
    for (int i = 0; i < 4; ++i) *mesh->GetVertex(i) = corners[i];
    // Texture row 0, the picture's top, at v = 0.
    mesh->polygons->rows = {{{0, 3, 2, 0}, 3}, {{0, 2, 1, 0}, 3}};
    mesh->texCoords->rows = {{{{0, 0}, {0, 1}, {1, 1}}, 3}, {{{0, 0}, {1, 1}, {1, 0}}, 3}};
    mesh->AppendImage(image);
    return scene;
}

}  // namespace brell::tool
