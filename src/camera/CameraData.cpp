#include <brelldata/camera/CameraData.h>

#include "camera/Shot.h"

#include <cstring>

using namespace brell::camera;
using brell::diag::DebugTrace;

CAMERADATA::CAMERADATA() : data3D(nullptr), data2D(nullptr), length3D(0), length2D(0) {}

CAMERADATA::CAMERADATA(const CAMERADATA& other) : CAMERADATA()
{
    *this = other;
}

CAMERADATA& CAMERADATA::operator=(const CAMERADATA& other)
{
    if (this == &other) return *this;
    header = other.header;
    CopyBlock(other.data3D, other.length3D, 1, data3D, length3D);
    CopyBlock(other.data2D, other.length2D, 1, data2D, length2D);
    return *this;
}

CAMERADATA::~CAMERADATA()
{
    Delete3dData();
    Delete2dData();
}

int CAMERADATA::Allocate3dData(int n)
{
    return AllocateBlock(n, 1, data3D, length3D);
}

int CAMERADATA::Allocate2dData(int n)
{
    return AllocateBlock(n, 1, data2D, length2D);
}

void CAMERADATA::Delete3dData()
{
    DeleteBlock(data3D, length3D);
}

void CAMERADATA::Delete2dData()
{
    DeleteBlock(data2D, length2D);
}

int32_t brell::CameraBlockSize3d(const CAMERAHEADER& h)
{
    return PlaneBytes(h.pitchPlanePixelBits, h.pitchPlaneWidth, h.pitchPlaneNumber, h.pitchPlaneHeight);
}

int32_t brell::CameraBlockSize2d(const CAMERAHEADER& h)
{
    return PlaneBytes(h.colorPlanePixelBits, h.colorPlaneWidth, h.colorPlaneNumber, h.colorPlaneHeight);
}

int CheckCameraHeader(CAMERAHEADER* header)
{
    return IsPlausible(header);
}

void ReverseOrder(CALIBTABLE& table)
{
    Reverse(table.words);
}

void ReverseOrder(CAMERAHEADER& h)
{
    ReverseEach(h.pitchPlaneWidth, h.pitchPlaneHeight, h.pitchPlaneNumber, h.pitchPlanePixelBits, h.colorPlaneWidth,
                h.colorPlaneHeight, h.colorPlaneNumber, h.colorPlanePixelBits, h.date, h.focalLength, h.referencePlane,
                h.shootingMode, h.principalPlane, h.galvanoStart, h.galvanoSpeed, h.pitchOfPixels, h.cameraAngle,
                h.cameraPosition, h.projectionAngle, h.projectionPosition, h.pitchCcdCenter, h.colorCcdPitch,
                h.colorCcdCenter, h.fileMode, h.stageTotal, h.stageNumber, h.stageAngle, h.temperatureData);
    for (CALIBTABLE& table : h.calibTables) ReverseOrder(table);
}

namespace {

void ListHeader(const CAMERAHEADER& h)
{
    const uint8_t* v = h.version;
    const uint8_t* rom = h.h8RomVersion;
    DebugTrace("---------------- Header of Camera Data ----------------\n");
    DebugTrace("Version:          0x %02x %02x %02x %02x \"%c%c%c%c\"\n", v[0], v[1], v[2], v[3], v[0], v[1], v[2],
               v[3]);
    DebugTrace("Pitch plane:      Horizon - %d, Vertical - %d\n", h.pitchPlaneWidth, h.pitchPlaneHeight);
    DebugTrace("  number:         %d\n", h.pitchPlaneNumber);
    DebugTrace("  pixel bits:     %d\n", h.pitchPlanePixelBits);
    DebugTrace("Color plane:      Horizon - %d, Vertical - %d\n", h.colorPlaneWidth, h.colorPlaneHeight);
    DebugTrace("  number:         %d\n", h.colorPlaneNumber);
    DebugTrace("  pixel bits:     %d\n", h.colorPlanePixelBits);
    DebugTrace("Date:             %lx\n", static_cast<unsigned long>(h.date));
    DebugTrace("Focal Length:     %f\n", h.focalLength);
    DebugTrace("Reference plane:  %d\n", h.referencePlane);
    DebugTrace("Shooting mode:    %s\n", h.shootingMode == 0 ? "normal" : "calibration");
    DebugTrace("Principal plane:  %f\n", h.principalPlane);
    DebugTrace("Galvano:          Start - %f, Speed - %f\n", h.galvanoStart, h.galvanoSpeed);
    DebugTrace("Pitch of pixels:  %f, %f\n", h.pitchOfPixels[0], h.pitchOfPixels[1]);
    DebugTrace("Camera:           Angle   X - %f, Y - %f, Z - %f\n", h.cameraAngle[0], h.cameraAngle[1],
               h.cameraAngle[2]);
    DebugTrace("                  Positon X - %f, Y - %f, Z - %f\n", h.cameraPosition[0], h.cameraPosition[1],
               h.cameraPosition[2]);
    DebugTrace("Projection System:Angle   X - %f, Y - %f, Z - %f\n", h.projectionAngle[0], h.projectionAngle[1],
               h.projectionAngle[2]);
    DebugTrace("                  Positon X - %f, Y - %f, Z - %f\n", h.projectionPosition[0], h.projectionPosition[1],
               h.projectionPosition[2]);
    DebugTrace("Pitch CCD center: u - %f, v - %f\n", h.pitchCcdCenter[0], h.pitchCcdCenter[1]);
    DebugTrace("Color CCD pitch:  %f, %f between pixels\n", h.colorCcdPitch[0], h.colorCcdPitch[1]);
    DebugTrace("          center: u - %f, v - %f\n", h.colorCcdCenter[0], h.colorCcdCenter[1]);
    DebugTrace("Pitch CCD peak:   %d\n", h.pitchCcdPeak);
    DebugTrace("File Mode:        %d\n", h.fileMode);
    DebugTrace("Stage total:      %d\n", h.stageTotal);
    DebugTrace("      number:     %d\n", h.stageNumber);
    DebugTrace("      angle:      %f\n", h.stageAngle);
    DebugTrace("Temperture data:  %d\n", h.temperatureData);
    DebugTrace("Gain:             %d\n", h.gain);
    DebugTrace("Laser power:      %d\n", h.laserPower);
    DebugTrace("Minimium pixel:   %d * 8\n", h.minimumPixel);
    DebugTrace("H8 ROM Version:   0x %02x %02x %02x %02x %02x %02x %02x\n", rom[0], rom[1], rom[2], rom[3], rom[4],
               rom[5], rom[6]);
}

struct CameraLayout {
    static int Check(CAMERAHEADER& h) { return CheckCameraHeader(&h); }
    static int32_t Size3d(const CAMERAHEADER& h) { return brell::CameraBlockSize3d(h); }
    static int32_t Size2d(const CAMERAHEADER& h) { return brell::CameraBlockSize2d(h); }
    static int Allocate3d(CAMERADATA& shot, int n) { return shot.Allocate3dData(n); }
    static int Allocate2d(CAMERADATA& shot, int n) { return shot.Allocate2dData(n); }
    static void Release(CAMERADATA& shot)
    {
        shot.Delete3dData();
        shot.Delete2dData();
    }
    static void Empty(CAMERADATA& shot)
    {
        Release(shot);
        std::memset(&shot.header, 0, sizeof shot.header);
    }
};

}  // namespace

CArchive& operator>>(CArchive& archive, CAMERAHEADER& header)
{
    ReadHeader(archive, header);
    ListHeader(header);
    return archive;
}

CArchive& operator<<(CArchive& archive, const CAMERAHEADER& header)
{
    brell::diag::SetDebugLevel(kTraceLevel);
    CAMERAHEADER fileOrder = FileOrder(header);
    ListHeader(header);
    archive.Write(&fileOrder, sizeof fileOrder);
    return archive;
}

CArchive& operator>>(CArchive& archive, CAMERADATA& data)
{
    return ReadShot<CameraLayout>(archive, data);
}

CArchive& operator<<(CArchive& archive, CAMERADATA& data)
{
    brell::diag::SetDebugLevel(kTraceLevel);
    DebugTrace("Write camera header data:\n");
    return WriteShot<CameraLayout>(archive, data);
}
