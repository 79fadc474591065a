#pragma once

#include <brelldata/io/Export.h>
#include <brelldata/io/FileError.h>

#include <string>
#include <string_view>
#include <vector>

class CBaseNode;

// glTF 2.0 scenes, binary (.glb) and JSON (.gltf). A file becomes a scene as
// the other scan formats make one, with one CElementNode per glTF node that
// shows a mesh: its triangles (strips and fans too) a CMeshNode with its base
// colour texture as a CImageNode child, its points a CModelNode and its lines
// a CLinearLineNode, with the node transforms applied to the vertices and
// normals. Normals, colours (as RGBA) and texture coordinates (one row per
// triangle) travel as the other readers give them. What has no place in a
// scene (animations, skins, morph targets, cameras, extensions, other
// materials) is skipped with one warning line each.

namespace brell::io {

// Where a .gltf file keeps its buffer: inside, as a base64 data URI, or in
// a .bin file of the same name beside it.
enum class GltfBuffer { embedded, external };

// The normals a mesh without a "normals" attribute is written with: none,
// its faces' (each corner then a vertex of its own) or the mean of its
// faces' normals at each vertex.
enum class GltfNormals { stored, flat, smooth };

// A new scene (count 0) of the glTF file in bytes, binary or JSON by its first
// bytes; name is what errors and the root's element names carry. A buffer or
// image that is not in the file itself (a URI other than a data URI) is
// refused, as it has no folder to come from. FileError naming name, the byte
// offset or the JSON path and the reason for anything it cannot read; with
// warnings, what was skipped is appended to it.
BRELL_IO_API CBaseNode* ReadGltf(std::string_view bytes, const std::string& name,
                                 std::vector<std::string>* warnings = nullptr);

// The same for the .glb or .gltf file at path; its buffers and images may be
// other files in its folder or below, never outside it (no "..", no absolute
// path) and never anything but a regular file.
BRELL_IO_API CBaseNode* ImportGltf(const std::string& path, std::vector<std::string>* warnings = nullptr);

// The models and meshes under root as a .glb file's bytes: one glTF node
// (named after its element) and mesh (named after the node) each, positions
// as 32-bit floats with their box, triangles (larger polygons as fans),
// "normals" (made unit length; else as normals asks), "colors", texture coordinates and the
// mesh's first image as an embedded PNG texture; models as points. A vertex
// whose corners have different texture coordinates becomes one vertex per
// coordinate. FileError naming name for a null root, nothing to write, or a
// coordinate that is not finite.
BRELL_IO_API std::string WriteGlb(CBaseNode* root, const std::string& name, GltfNormals normals = GltfNormals::stored);

// Writes root as WriteGlb does to the .glb or .gltf file at path, saved
// safely (SaveFile); a .gltf file keeps its buffer as buffer asks.
BRELL_IO_API void ExportGltf(CBaseNode* root, const std::string& path, GltfBuffer buffer = GltfBuffer::embedded,
                             GltfNormals normals = GltfNormals::stored);

}  // namespace brell::io
