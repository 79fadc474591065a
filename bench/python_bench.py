"""Timings of the Python module, run by hand from the repository's top folder:

    PYTHONPATH=build/python /usr/bin/python3 bench/python_bench.py

- the vertices of a 1,000,000-vertex mesh as an array (a view: no copy);
- importing a 1,000,000-vertex binary PLY from Python and from C++ (the brell
  tool's read step), each in a fresh process, so both pay for fresh memory;
- walking 100,000 nodes from Python, per node.
"""
import os
import subprocess
import sys
import tempfile
import time
import timeit

import numpy as np

import brelldata

BRELL = os.path.join(os.path.dirname(brelldata.__file__), "..", "bin", "brell")
RUNS = 5


def grid_scene(side=1000):
    """A side x side grid mesh with a height field and two triangles per cell."""
    index = np.arange(side * side)
    mesh = brelldata.MeshNode("grid")
    mesh.vertices = np.stack([index % side * 0.37, index // side * 0.41, (index * 7919) % 10007 * 0.0013], 1)
    cells = index[(index % side < side - 1) & (index < side * (side - 1))]
    mesh.polygons = np.concatenate([np.stack([cells, cells + 1, cells + side], 1),
                                    np.stack([cells + 1, cells + side + 1, cells + side], 1)])
    element = brelldata.ElementNode("element")
    element.children.append(mesh)
    root = brelldata.Node("scene")
    root.children.append(element)
    return root, mesh


def vertices_view(mesh):
    first, again = mesh.vertices, mesh.vertices
    assert not first.flags.owndata and first.__array_interface__ == again.__array_interface__, "a copy was made"
    seconds = min(timeit.repeat(lambda: mesh.vertices, number=10000, repeat=RUNS)) / 10000
    print(f"vertices of {len(first):,} as an array: {seconds * 1e6:.2f} us, no copy")


def python_import(path):
    code = ("import sys, time, brelldata\n"
            "start = time.perf_counter(); brelldata.import_scan(sys.argv[1])\n"
            "print((time.perf_counter() - start) * 1000)")
    return float(subprocess.check_output([sys.executable, "-c", code, path], text=True))


def cpp_import(path):
    out = subprocess.check_output([BRELL, "info", path, "--timing", "--quiet"], text=True)
    return next(float(line.split()[-2]) for line in out.splitlines() if line.startswith("reading"))


def import_ply(root):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "grid.ply")
        brelldata.export_scan(root, path)
        python = min(python_import(path) for _ in range(RUNS))
        cpp = min(cpp_import(path) for _ in range(RUNS))
    print(f"import of a 1,000,000-vertex binary PLY: Python {python:.1f} ms, C++ {cpp:.1f} ms, "
          f"ratio {python / cpp:.3f} (best of {RUNS} fresh processes each)")


def walk(count=100_000):
    root = brelldata.Node("root")
    for _ in range(count // 1000):
        branch = brelldata.Node("branch")
        for _ in range(999):
            branch.children.append(brelldata.Node("leaf"))
        root.children.append(branch)
    nodes = sum(1 for _ in root.walk())
    seconds = min(timeit.repeat(lambda: sum(1 for _ in root.walk()), number=1, repeat=RUNS))
    print(f"walking {nodes:,} nodes: {seconds * 1e3:.1f} ms, {seconds / nodes * 1e9:.0f} ns per node")
    start = time.perf_counter()
    found = sum(1 for _ in root.find_all(name="branch"))
    seconds = time.perf_counter() - start
    print(f"find_all over {nodes:,} nodes ({found} found): {seconds / nodes * 1e9:.0f} ns per node")


if __name__ == "__main__":
    scene, grid = grid_scene()
    vertices_view(grid)
    import_ply(scene)
    walk()
