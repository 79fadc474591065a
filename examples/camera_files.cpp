// Writes a scanner shot as a camera data file of the first layout and reads
// it back through the archive stream.
#include <brelldata/brelldata.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : "shot.cam";
    constexpr int kWidth = 64, kHeight = 48;

    CAMERADATA shot;
    std::memset(&shot.header, 0, sizeof shot.header);
    shot.header.pitchPlaneWidth = shot.header.colorPlaneWidth = kWidth;
    shot.header.pitchPlaneHeight = shot.header.colorPlaneHeight = kHeight;
    shot.header.pitchPlaneNumber = shot.header.colorPlaneNumber = 1;
    shot.header.pitchPlanePixelBits = 16;  // a range value per pixel
    shot.header.colorPlanePixelBits = 24;  // red, green, blue
    shot.header.focalLength = 12.5f;
    shot.Allocate3dData(kWidth * kHeight * 2);
    shot.Allocate2dData(kWidth * kHeight * 3);
    std::memset(shot.data3D, 0x40, static_cast<size_t>(shot.length3D));
    std::memset(shot.data2D, 0xc0, static_cast<size_t>(shot.length2D));

    try {
        CFile out(path, CFile::modeCreate | CFile::modeWrite);
        CArchive store(&out, CArchive::store);
        store << shot;  // the header goes out big-endian
        store.Close();
        out.Close();

        CFile in(path, CFile::modeRead);
        CArchive load(&in, CArchive::load);
        CAMERADATA copy;
        load >> copy;  // blocks sized from the header
        std::printf("%s: %llu bytes, focal length %g, 3-D block %d bytes, 2-D block %d bytes\n", path,
                    static_cast<unsigned long long>(in.GetLength()), copy.header.focalLength, copy.length3D,
                    copy.length2D);
        return copy.length3D == shot.length3D ? 0 : 1;
    } catch (const CFileException& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
