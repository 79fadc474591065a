#pragma once

#include <brelldata/io/Export.h>
#include <brelldata/io/FileError.h>
#include <brelldata/io/ScanGeometry.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Readers and writers of range scan files: PLY (ASCII and binary of either
// byte order), OFF, OBJ and XYZ point lists. Every reader either returns the
// whole file's geometry or throws FileError; none returns part of a file, and
// an OBJ or XYZ file without a single point is refused, not read as empty, as
// is a coordinate that is NaN or infinite. Faces of more than four corners are
// split into triangles that cover the polygon whatever its shape.
// Per-vertex texture coordinates (PLY s t, u v or texture_u texture_v; OFF's
// ST prefix) become the faces' per-corner rows. Face colours (PLY red, green,
// blue, alpha of a face; OFF's r g b [a] after a face's corners) and lines
// (PLY edges with vertex1 and vertex2, chained where one starts at the end of
// the one before; OBJ l statements) are kept. Whatever else a reader meets
// (a point cloud's texture coordinates, other properties and elements, OBJ
// statements other than v, vt, vn, f and l) is dropped with a warning.

namespace brell::io {

enum class ScanFormat { ply, off, obj, xyz, glb, gltf };

enum class PlyEncoding { ascii, binaryLittleEndian, binaryBigEndian };

// The format a file name's extension (.ply, .off, .obj, .xyz, .glb, .gltf,
// any case) asks for; FileError for any other name.
BRELL_IO_API ScanFormat FormatOfFileName(const std::string& path);

// Reads bytes as the given format; name is the file name errors carry.
BRELL_IO_API ScanGeometry ReadPly(std::string_view bytes, const std::string& name);
BRELL_IO_API ScanGeometry ReadOff(std::string_view bytes, const std::string& name);
BRELL_IO_API ScanGeometry ReadObj(std::string_view bytes, const std::string& name);
BRELL_IO_API ScanGeometry ReadXyz(std::string_view bytes, const std::string& name);

// Formats geometry as a file's bytes. PLY keeps everything; OFF all but
// texture coordinates and lines; OBJ all but face colours and colours' alpha
// (colours go as r g b after a vertex's x y z); XYZ positions and normals. What a writer gives, its reader
// takes back: FileError (naming name) when the geometry is inconsistent (a
// face of other than 3 or 4 corners or one naming a missing vertex, an array
// whose length does not match), has a coordinate that is not finite, or is
// empty for OBJ or XYZ, which cannot hold an empty scan.
BRELL_IO_API std::string WritePly(const ScanGeometry& geometry, const std::string& name,
                                  PlyEncoding encoding = PlyEncoding::binaryLittleEndian);
BRELL_IO_API std::string WriteOff(const ScanGeometry& geometry, const std::string& name);
BRELL_IO_API std::string WriteObj(const ScanGeometry& geometry, const std::string& name);
BRELL_IO_API std::string WriteXyz(const ScanGeometry& geometry, const std::string& name);

// Reads the file at path in the format its extension asks for; a glTF file
// (brelldata/io/Gltf.h) as all its meshes and points in one geometry.
BRELL_IO_API ScanGeometry ReadScanFile(const std::string& path);
// Writes the file at path in the format its extension asks for, through a
// temporary file in the same folder, so a failed write leaves any old file
// whole. plyEncoding applies to .ply files only.
BRELL_IO_API void WriteScanFile(const ScanGeometry& geometry, const std::string& path,
                                PlyEncoding plyEncoding = PlyEncoding::binaryLittleEndian);

// WriteScanFile(ReadScanFile(in), out, plyEncoding) for a PLY point cloud (a
// file whose only element with any items is vertex), the same bytes and the
// same FileError, made a piece of vertices at a time: memory stays a few MB
// whatever the cloud's size. The reader's warnings are added to warnings,
// and onWriting is called once the output's form is decided, before the
// output is written; it may take a first pass over in to decide whether
// positions fit floats and any colour is translucent. False, with nothing
// read past the header, when in or out is no PLY file or in holds more than a
// point cloud.
BRELL_IO_API bool CopyPlyPointCloud(const std::string& in, const std::string& out,
                                    PlyEncoding plyEncoding = PlyEncoding::binaryLittleEndian,
                                    std::vector<std::string>* warnings = nullptr,
                                    const std::function<void()>& onWriting = {});

}  // namespace brell::io
