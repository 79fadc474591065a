#pragma once

#include <brelldata/camera/CameraLayout.h>
#include <brelldata/io/Export.h>
#include <brelldata/platform/Archive.h>

#include <string>

// Camera data files as the tools and the Python module open them: their
// layout told from the file itself, and FileError where the archive readers
// would only leave a shot empty.

namespace brell::io {

// The layout of the camera data file at path, first or second. FileError when
// neither layout's header and blocks make up the file's size; CFileException
// when it cannot be opened.
BRELL_IO_API CameraFileLayout CameraFileLayoutOf(const std::string& path);

// The header or shot of type Record read from the start of the camera data
// file at path. CFileException when it cannot be opened.
template <class Record>
Record ReadCameraRecord(const std::string& path)
{
    CFile file(path.c_str(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    Record record;
    archive >> record;
    return record;
}

}  // namespace brell::io
