#pragma once

#include <brelldata/io/Export.h>
#include <brelldata/io/ScanFormats.h>

#include <string>
#include <vector>

class CBaseNode;

// Scan files as scenes. A model or mesh keeps what the scan nodes have no
// field for as struct attributes, one entry per vertex in vertex order:
// "normals" (CVector_3<float>) and "colors" (RGBA), and a mesh one per polygon
// in polygon order: "faceColors" (RGBA). They are saved, loaded and copied
// with the node like any attribute. A scan's polylines are a CLinearLineNode
// beside its model.

namespace brell::io {

inline constexpr const char* kNormalsAttribute = "normals";
inline constexpr const char* kColorsAttribute = "colors";
inline constexpr const char* kFaceColorsAttribute = "faceColors";
// A scan too large for one node is split (SceneOfGeometry). A mesh is split
// by faces into meshes that each carry the vertices their faces use, and
// vertices no face uses go to a model of their own; each of these holds, as
// this struct attribute, one int per vertex: the vertex's index in the scan.
inline constexpr const char* kScanVerticesAttribute = "scanVertices";

// A new scene root (a CBaseNode, count 0) holding one CElementNode named
// name, which holds a CModelNode (no faces) or a CMeshNode (faces and their
// texture coordinate rows) of that name, and a CLinearLineNode of that name
// when the geometry has lines. A model or mesh whose block would pass a node
// stream's 2 GB is split into parts of at most 128 MB, in the file's order:
// a point cloud by ranges of points, a mesh by ranges of faces (see
// kScanVerticesAttribute). FileError naming name when an
// attribute would exceed 2 GiB; std::bad_alloc when memory runs out. Nothing
// is left over after either.
BRELL_IO_API CBaseNode* SceneOfGeometry(const ScanGeometry& geometry, const std::string& name);
// The same from a geometry that is given up: its face and texture coordinate
// rows become the mesh's stores without a copy.
BRELL_IO_API CBaseNode* SceneOfGeometry(ScanGeometry&& geometry, const std::string& name);

// What the models, meshes and linear line nodes in root's subtree hold, in
// depth-first child order, as one geometry: their vertices one after another
// and their faces with indices moved to match. The parts of a split scan, one
// after another under one parent, are joined back into the scan: vertices
// carrying kScanVerticesAttribute go to their scan index. When some models have normals,
// colours, texture coordinates or face colours, the others get (0, 0, 0),
// opaque white or (0, 0). A line's point is the first vertex at its place, or
// a vertex of its own where no vertex is.
// FileError naming name when an attribute or row count does not match its
// vertices or faces. Empty geometry for a null root.
BRELL_IO_API ScanGeometry GeometryOfScene(CBaseNode* root, const std::string& name);

// Reads the scan file at path (ReadScanFile) as a scene (SceneOfGeometry)
// whose element is named after the file name without its folder. With
// warnings, the reader's warnings are appended to it.
BRELL_IO_API CBaseNode* ImportScan(const std::string& path, std::vector<std::string>* warnings = nullptr);

// Writes what root's models and meshes hold (GeometryOfScene) to the file at
// path, in the format its extension asks for (WriteScanFile). FileError
// naming path, and no file, for a null root.
BRELL_IO_API void ExportScan(CBaseNode* root, const std::string& path,
                             PlyEncoding plyEncoding = PlyEncoding::binaryLittleEndian);

// The box of the scan data in root's subtree: the vertices of its models and
// meshes and the points of its linear line data, as EvalBBoxForNode orders a
// box (minimum x, y, z, maximum x, y, z). Level-of-detail children are left
// out, as geometry calculation leaves them out, and so are non-finite
// coordinates. Scan nodes have no box of their own until their geometry is
// calculated (EvalBBoxForNode gives 0 for them); this needs no geometry.
// False, with box unchanged, when there is no such point (or root is null).
BRELL_IO_API bool ScanSceneBox(CBaseNode* root, double box[6]);

// The tree as text, one line per node, a node before its children, indented
// two spaces a level: type, quoted name and the node's comment. Empty for a
// null root.
BRELL_IO_API std::string SceneListing(CBaseNode* root);

}  // namespace brell::io
