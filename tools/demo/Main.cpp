// BrellData demo: run it with build/lib on LD_LIBRARY_PATH (scripts/demo.sh
// does) to see the library's own diagnostics from the reference output
// library on stderr next to the demo's text on stdout.

#include "DemoSections.h"

#include <cstdio>

int main()
{
    std::puts("== Nodes, children, attributes and reference counts");
    ShowNodes();
    return 0;
}
