import numpy as np
import pytest

import brelldata


def scan():
    root = brelldata.Node("scene")
    element = brelldata.ElementNode("element")
    mesh = brelldata.MeshNode("mesh")
    mesh.vertices = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [1, 1, 0]], float)
    mesh.polygons = np.array([[0, 1, 2], [1, 3, 2]])
    mesh.colors = np.array([[255, 0, 0, 255]] * 4, np.uint8)
    element.children.append(mesh)
    root.children.append(element)
    return root, mesh


def test_a_scan_exported_from_python_imports_back_the_same(tmp_path):
    root, mesh = scan()
    brelldata.export_scan(root, str(tmp_path / "s.ply"))
    again = brelldata.import_scan(str(tmp_path / "s.ply")).find(kind="CMeshNode")
    assert np.array_equal(again.vertices, mesh.vertices) and np.array_equal(again.polygons, mesh.polygons)


def test_a_saved_scene_loads_back_the_same(tmp_path):
    root, mesh = scan()
    brelldata.save_scene(root, str(tmp_path / "s.scene"))
    again = brelldata.load_scene(str(tmp_path / "s.scene"))
    assert again.listing() == root.listing() and np.array_equal(again.find(name="mesh").colors, mesh.colors)


@pytest.mark.parametrize("name, content, place, position", [
    ("bad.ply", b"ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nend_header\n", "line", 3),
    ("bad.scene", b"BRELSCN\x00" + bytes(24), "byte", 8),
    ("bad.txt", b"", "file", 0),
])
def test_a_refused_file_raises_file_error_with_its_file_place_and_reason(tmp_path, name, content, place, position):
    path = tmp_path / name
    path.write_bytes(content)
    load = brelldata.load_scene if name.endswith(".scene") else brelldata.import_scan
    with pytest.raises(brelldata.FileError) as raised:
        load(str(path))
    error = raised.value
    assert (error.file, error.place, error.position) == (str(path), place, position)
    assert error.reason.startswith("expected ") and error.reason in str(error)
