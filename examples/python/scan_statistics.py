"""Statistics of a scan file: its vertices, box, centre, polygons and surface area.

    python3 scan_statistics.py scan.ply
"""
import sys

import numpy as np

import brelldata


def area(vertices, polygons):
    """The total area of the triangles and quadrilaterals (split along their first diagonal)."""
    corners = polygons["corners"]
    total = 0.0
    for first, second in ((1, 2), (2, 3)):
        rows = polygons["count"] > second
        a, b, c = (vertices[corners[rows, k]] for k in (0, first, second))
        total += 0.5 * np.linalg.norm(np.cross(b - a, c - a), axis=1).sum()
    return total


def main(path):
    scene = brelldata.import_scan(path)
    for model in scene.find_all(kind="CModelNode"):
        vertices = model.vertices  # a view: no copy, however large the scan
        print(f"{model.name}: {len(vertices):,} vertices")
        print(f"  box: {vertices.min(axis=0)} to {vertices.max(axis=0)}")
        print(f"  centre: {vertices.mean(axis=0)}")
        if model.is_kind_of("CMeshNode"):
            polygons = model.polygons
            print(f"  polygons: {len(polygons):,}, surface area {area(vertices, polygons):.6g}")
        if model.normals is not None:
            print(f"  normals: mean length {np.linalg.norm(model.normals, axis=1).mean():.4f}")
        if model.colors is not None:
            print(f"  mean colour (RGBA): {model.colors.mean(axis=0).round(1)}")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
