#include "python/Bindings.h"

PYBIND11_MODULE(brelldata, module)
{
    module.doc() = R"(BrellData from Python: scan scenes as trees of nodes, scan data as numpy arrays.

Nodes and trees are Python objects that each hold one reference on their node;
every node class comes as its own Python class, named as in C++ without the
C (``Node``, ``MeshNode``, ``GeoPolyShadeRefNode``, ``GeoLine2DNode``, ...).
Scan data (vertices, polygons, texture coordinates, lines, pixels, normals,
colours) comes as numpy views of the library's own memory, without copies;
small records (colours, points, rectangles, vectors) as tuples. ``import_scan``,
``export_scan``, ``save_scene`` and ``load_scene`` read and write files and
raise ``FileError`` naming the file, the place and the reason. Draw and
geometry procedures can be Python functions (``register_procedure``), and the
reference renderer draws into numpy arrays (``render``).

Names follow Python's conventions (snake_case); each docstring names the C++
operation it stands for.)";
    brell::python::BindNodes(module);
    brell::python::BindViews(module);
    brell::python::BindScanData(module);
    brell::python::BindLineNodes(module);
    brell::python::BindGeometry(module);
    brell::python::BindGroupNodes(module);
    brell::python::BindOverlays(module);
    brell::python::BindFiles(module);
    brell::python::BindCamera(module);
    brell::python::BindProcedures(module);
    brell::python::BindGl(module);
}
