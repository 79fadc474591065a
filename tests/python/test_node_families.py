import numpy as np
import pytest

import brelldata


def address(array):
    return array.__array_interface__["data"][0]


# class, field, value assigned, shape and dtype of the view; one field for each
# binding helper that several fields share
STORE_VIEWS = [
    (brelldata.MeshNode, "vertices", np.zeros((4, 3)), (4, 3), np.float64),
    (brelldata.MeshNode, "normals", np.zeros((4, 3)), (4, 3), np.float32),
    (brelldata.MeshNode, "polygons", np.array([[0, 1, 2], [0, 2, 3]]), (2,), brelldata.POLYGON_DTYPE),
    (brelldata.MeshNode, "tex_coords", np.zeros((2, 3, 2)), (2,), brelldata.TEX_COORD_DTYPE),
    (brelldata.GeoVertexNormalNode, "normals", np.ones((4, 3)), (4, 3), np.float32),
    (brelldata.GeoPolygonNode, "indices", np.ones((2, 4)), (2, 4), np.int32),
    (brelldata.GeoWireFrameNode, "indices", np.arange(3), (3,), np.int32),
    (brelldata.GeoPolyShadeRefNode, "texture_image", np.ones((2, 3, 4)), (2, 3, 4), np.uint8),
    (brelldata.GeoPoint2DNode, "points", np.ones((3, 2)), (3, 2), np.int32),
]


@pytest.mark.parametrize("cls, field, value, shape, dtype", STORE_VIEWS)
def test_store_data_of_every_family_is_a_writable_view_of_the_same_memory(cls, field, value, shape, dtype):
    node = cls()
    setattr(node, field, value)
    first, second = getattr(node, field), getattr(node, field)
    assert first.shape == shape and first.dtype == dtype and address(first) == address(second)
    first[0] = first[1]
    assert not first.flags.owndata and first.base.ref_count >= 1


@pytest.mark.parametrize("cls, field, value, shape, dtype", STORE_VIEWS)
def test_a_size_change_of_any_family_is_refused_while_a_view_lives(cls, field, value, shape, dtype):
    node = cls()
    setattr(node, field, value)
    view = getattr(node, field)
    with pytest.raises(BufferError):
        setattr(node, field, np.concatenate([value, value]))
    del view
    setattr(node, field, np.concatenate([value, value]))
    assert len(getattr(node, field)) == 2 * len(value)


def test_a_view_of_an_overlay_s_points_keeps_the_node_alive():
    points = brelldata.GeoPoint2DNode()
    points.points = [(1, 2), (3, 4)]
    view = points.points
    del points
    assert view.base.ref_count == 1 and view.tolist() == [[1, 2], [3, 4]]


def test_linear_lines_are_one_view_per_line_and_stream_what_is_written_into_them():
    node = brelldata.LinearLineNode()
    node.lines = [np.zeros((2, 3)), np.zeros((3, 3))]
    node.lines[1][2] = (7, 8, 9)
    again = brelldata.from_bytes(node.to_bytes())
    assert [len(line) for line in again.lines] == [2, 3] and again.lines[1][2].tolist() == [7, 8, 9]


def test_lines_of_other_lengths_are_refused_while_a_line_is_viewed_and_the_same_written_in_place():
    node = brelldata.BezierLineNode()
    node.lines = [np.zeros(2, brelldata.BEZIER_POINT_DTYPE)]
    line = node.lines[0]
    node.lines = [np.ones(2, brelldata.BEZIER_POINT_DTYPE)]
    with pytest.raises(BufferError):
        node.lines = [np.zeros(3, brelldata.BEZIER_POINT_DTYPE)]
    assert line["tag"].tolist() == [1, 1]


def test_the_camera_record_is_a_view_and_its_fields_keep_their_names():
    camera = brelldata.GeoCameraNode()
    camera.camera["fov"] = 30
    camera.camera["to"] = (1, 2, 3)
    assert camera.copy().camera["fov"] == 30 and camera.camera["to"].tolist() == [1, 2, 3]


def test_a_record_is_assigned_only_from_a_record_or_a_tuple_of_its_fields():
    camera = brelldata.GeoCameraNode()
    camera.camera = (0, 1, 2, 3, 4, 5, 6, 7, 8, (1, 2, 3), (4, 5, 6))
    with pytest.raises(TypeError):
        camera.camera = 5
    assert camera.camera["fov"] == 7


def test_a_viewed_light_cannot_be_deleted_and_others_can():
    node = brelldata.GeoLightNode()
    first = node.append_light()
    first["type"] = 1
    node.append_light()
    with pytest.raises(BufferError):
        node.delete_light(0)
    node.delete_light(1)
    assert [light["type"] for light in node.lights] == [1]


def test_a_mode_node_s_members_are_its_children():
    mode = brelldata.GeoModeNode()
    points = brelldata.GeoPointNode()
    mode.point_node = points
    mode.mode = brelldata.GeoModeNode.POINT
    assert mode.point_node == points and list(mode.children) == [points]


@pytest.mark.parametrize("cls, field, value", [
    (brelldata.GeoLineNode, "color", (1, 2, 3, 4)),
    (brelldata.GeoRectangle2DNode, "rectangle", (1, 2, 3, 4)),
    (brelldata.GeoCrossLine2DNode, "position", (5, 6)),
    (brelldata.CharLineNode, "vector3", (0.5, 1.5, 2.5)),
    (brelldata.GeoPolyShadeRefNode, "default_texture_coord", (0.25, 0.75)),
])
def test_small_records_read_and_write_as_tuples(cls, field, value):
    node = cls()
    setattr(node, field, value)
    assert getattr(node, field) == value
