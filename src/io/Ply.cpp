// PLY files read: the header, then the body in its encoding.

#include <brelldata/io/ScanFormats.h>

#include "io/FileBytes.h"
#include "io/Geometry.h"
#include "io/PlyFormat.h"

namespace brell::io {

ScanGeometry ReadPly(std::string_view bytes, const std::string& name)
{
    FileWindow window = FileWindow::OverMemory(bytes);
    return detail::ReadPly(window, name);
}

ScanGeometry detail::ReadPly(FileWindow& window, const std::string& name, CArrayDataStore<VERTEX>* positionStore)
{
    const ply::Header header = ply::ReadHeader(window, name);
    if (header.encoding == PlyEncoding::ascii) {
        {
            // Text is parsed from the whole file: reading it and parsing it
            // are each half of the progress told.
            const ProgressPart reading(0, 2);
            window.Slide(0, window.FileSize());
        }
        const ProgressPart parsing(1, 2);
        return ply::ReadAsciiBody(window.View(), header, name, positionStore);
    }
    return ply::ReadBinaryBody(window, header, name, positionStore);
}

}  // namespace brell::io
