// BrellData demo: run it with build/scrivo on LD_LIBRARY_PATH (scripts/demo.sh
// does) to see the library's own diagnostics from the reference output
// library on stderr next to the demo's text on stdout.

#include "DemoSections.h"

#include <cstdio>

int main()
{
    std::puts("== Nodes, children, attributes and reference counts");
    ShowNodes();
    std::puts("== Trees, node streams, walks and the configuration store");
    ShowTrees();
    std::puts("== Shared data stores and normals");
    ShowPointCloud();
    std::puts("== Geometry nodes drawn through the procedure directory");
    ShowGeometry();
    std::puts("== A 2-D overlay layer");
    ShowOverlays();
    std::puts("== Camera data files of both layouts");
    ShowCameraFiles();
    std::puts("== Trees and name lists kept by name in a data manager");
    ShowSharedObjects();
    std::puts("== A region made from a path");
    ShowRegions();
    std::puts("== A scanned scene turned into geometry, drawn and streamed");
    ShowScan();
    return 0;
}
