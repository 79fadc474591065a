import numpy as np
import pytest

import brelldata


def model(rows=4):
    node = brelldata.MeshNode("m")
    node.vertices = np.arange(rows * 3, dtype=np.float64).reshape(rows, 3)
    return node


def test_a_view_outlives_its_node():
    vertices = model().vertices
    vertices += 1
    assert vertices[3].tolist() == [10, 11, 12] and vertices.base.ref_count == 1


def test_polygons_from_corner_indices_keep_their_corner_count():
    mesh = model()
    mesh.polygons = np.array([[0, 1, 2, 3]])
    assert mesh.polygons["count"].tolist() == [4] and mesh.polygons["corners"][0].tolist() == [0, 1, 2, 3]


def test_the_same_size_is_written_in_place_while_a_view_lives():
    mesh = model()
    view = mesh.vertices
    mesh.vertices = np.full((4, 3), 5.0)
    assert view.sum() == 60


def test_adding_an_attribute_is_refused_while_attribute_views_live():
    mesh = model()
    mesh.normals = np.zeros((4, 3))
    normals = mesh.normals
    with pytest.raises(BufferError):
        mesh.attributes["new"] = 1
    mesh.attributes["normals"] = np.ones((4, 3), np.float32).tobytes()
    assert normals.sum() == 12


def test_an_array_of_the_wrong_shape_is_refused():
    with pytest.raises(ValueError, match=r"\(N, 3\)"):
        model().vertices = np.zeros((4, 2))
