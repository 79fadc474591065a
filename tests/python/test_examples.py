import pathlib
import subprocess
import sys

import numpy as np

import brelldata

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples" / "python"


def run(script, *arguments):
    return subprocess.run([sys.executable, str(EXAMPLES / script), *map(str, arguments)], capture_output=True,
                          text=True)


def write_mesh(path):
    mesh = brelldata.MeshNode()
    mesh.vertices = np.array([[0, 0, 0], [2, 0, 0], [0, 2, 0], [2, 2, 0]], float)
    mesh.polygons = np.array([[0, 1, 3, 2]])
    element = brelldata.ElementNode()
    element.children.append(mesh)
    brelldata.export_scan(element, str(path))


def test_scan_statistics_reports_vertices_box_and_area(tmp_path):
    write_mesh(tmp_path / "quad.ply")
    result = run("scan_statistics.py", tmp_path / "quad.ply")
    assert result.returncode == 0, result.stderr
    assert "4 vertices" in result.stdout and "surface area 4" in result.stdout


def test_batch_convert_writes_a_scan_and_a_picture_of_each_and_skips_bad_files(tmp_path):
    (tmp_path / "in").mkdir()
    write_mesh(tmp_path / "in" / "quad.ply")
    (tmp_path / "in" / "points.xyz").write_text("0 0 0\n1 0 0\n0 1 0\n")
    (tmp_path / "in" / "broken.off").write_text("OFF\n3 1\n")
    result = run("batch_convert.py", tmp_path / "in", tmp_path / "out", "--format", "obj", "--size", "64x48")
    written = sorted(path.name for path in (tmp_path / "out").iterdir())
    assert written == ["points.obj", "points.png", "quad.obj", "quad.png"]
    assert result.returncode == 1 and "broken.off: skipped" in result.stderr
