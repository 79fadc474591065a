// Renders a range scan with the reference renderer: a PLY, OFF, OBJ or XYZ
// file given as the first argument (or a small pyramid made here) is
// imported, its geometry calculated by the reference procedures and drawn
// into a PNG file without any window.
#include <brelldata/brelldata.h>
#include <brelldata/gl/Picture.h>
#include <brelldata/io/ScanScene.h>

#include <cstdio>

namespace {

CBaseNode* Pyramid()
{
    brell::io::ScanGeometry pyramid;
    for (VERTEX v : {VERTEX{-1, -1, -1}, VERTEX{1, -1, -1}, VERTEX{1, -1, 1}, VERTEX{-1, -1, 1}, VERTEX{0, 1, 0}})
        pyramid.positions.push_back(v);
    for (CPolygon<int> face :
         {CPolygon<int>{{0, 1, 2, 3}, 4}, CPolygon<int>{{0, 4, 1, 0}, 3}, CPolygon<int>{{1, 4, 2, 0}, 3},
          CPolygon<int>{{2, 4, 3, 0}, 3}, CPolygon<int>{{3, 4, 0, 0}, 3}})
        pyramid.faces.push_back(face);
    return brell::io::SceneOfGeometry(pyramid, "pyramid");
}

}  // namespace

int main(int argc, char** argv)
{
    const char* picture = argc > 2 ? argv[2] : "scan.png";
    try {
        CTree scene(argc > 1 ? brell::io::ImportScan(argv[1]) : Pyramid());
        // The reference geometry procedures' smooth shading of each element.
        CTree display(CreateNode("CBaseNode"));
        brell::gl::CalculateGeometry(scene.Root(), brell::gl::kSmoothProcedure, display.Root());

        brell::gl::RenderOptions options;
        options.width = 640;
        options.height = 480;
        options.direction = {-0.5, -0.4, -1.0};
        brell::gl::RenderToPng(display.Root(), options, picture);
        std::printf("drew %s\n", picture);
        return 0;
    } catch (const brell::io::FileError& error) {
        std::fprintf(stderr, "%s\n", error.what());
    } catch (const brell::gl::RenderError& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
