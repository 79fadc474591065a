import numpy as np
import pytest

import brelldata


@pytest.fixture
def register():
    """Registers procedures for one test and takes them out afterwards."""
    registered = []

    def add(kind, name, function):
        brelldata.register_procedure(kind, name, function)
        registered.append((kind, name))

    yield add
    for kind, name in registered:
        brelldata.unregister_procedure(kind, name)


def triangle():
    mesh = brelldata.MeshNode("m")
    mesh.vertices = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0]], float)
    mesh.polygons = np.array([[0, 1, 2]])
    return mesh


def shaded(mesh):
    brelldata.register_gl_procedures()
    output = brelldata.Node("display")
    assert mesh.geo_calc("shade", output)
    return output


def test_a_python_geometry_procedure_draws_points_sharing_the_scans_vertices(register):
    def points(model, output):
        made = brelldata.GeoPointNode("points")
        made.share_vertices(model)
        made.indices = np.arange(len(model.vertices))
        made.size, made.color = 5, (255, 0, 0, 255)
        output.children.append(made)
        return True
    register(brelldata.GEO_PROCEDURE, "GeoCMeshNode_py", points)
    mesh, display = triangle(), brelldata.Node()
    assert mesh.geo_calc("py", display)
    drawn = display.find(type_name="CGeoPointNode")
    assert drawn.vertices.__array_interface__ == mesh.vertices.__array_interface__
    assert brelldata.eval_bbox(display) == ((0, 0, 0), (1, 1, 0))
    picture = brelldata.render(display, 64, 48, background=(0, 0, 0, 255))
    assert (picture[:, :, 0] == 255).sum() == 3 * 5 * 5  # three points of 5 x 5 pixels


def test_a_python_draw_procedure_gets_each_geometry_node_and_the_context(register):
    register(brelldata.DRAW_PROCEDURE, "DrawCGeoBaseNodeByPy", lambda node, drawn: drawn.append(node.type_name) or True)
    drawn = []
    assert brelldata.draw_tree(shaded(triangle()), "Py", drawn)
    assert drawn == ["CGeoPolyShadeRefNode"]


@pytest.mark.parametrize("call", [
    lambda: triangle().geo_calc("py", brelldata.Node()),
    lambda: brelldata.draw_tree(shaded(triangle()), "Py"),
])
def test_an_exception_in_a_python_procedure_propagates_out_of_the_call(register, call):
    def fail(node, argument):
        raise LookupError("from the procedure")
    register(brelldata.GEO_PROCEDURE, "GeoCMeshNode_py", fail)
    register(brelldata.DRAW_PROCEDURE, "DrawCGeoBaseNodeByPy", fail)
    with pytest.raises(LookupError, match="from the procedure"):
        call()


def test_an_unregistered_procedure_is_no_longer_called():
    brelldata.register_procedure(brelldata.GEO_PROCEDURE, "GeoCMeshNode_py", lambda node, out: True)
    brelldata.unregister_procedure(brelldata.GEO_PROCEDURE, "GeoCMeshNode_py")
    assert not triangle().geo_calc("py", brelldata.Node())


def test_a_rendered_array_shows_the_mesh_over_the_background_rows_from_the_top():
    picture = brelldata.render(shaded(triangle()), 64, 48, background=(0, 0, 255, 255))
    assert picture.shape == (48, 64, 4)
    # The right angle of the triangle is at its lower left; its hypotenuse leaves the upper right empty.
    assert picture[34, 20].tolist() == [200, 200, 200, 255] and picture[14, 40].tolist() == [0, 0, 255, 255]


@pytest.mark.parametrize("procedure", brelldata.GL_GEOMETRY_PROCEDURES)
def test_calculate_geometry_builds_display_geometry_of_a_scene(procedure):
    scene, element = brelldata.Node(), brelldata.ElementNode()
    element.children.append(triangle())
    scene.children.append(element)
    output = brelldata.Node()
    brelldata.calculate_geometry(scene, procedure, output)
    assert output.find(kind="CGeoBaseNode") is not None


def test_calculate_geometry_refuses_an_unknown_procedure():
    with pytest.raises(brelldata.RenderError, match="sketch"):
        brelldata.calculate_geometry(triangle(), "sketch", brelldata.Node())


def test_render_png_writes_a_png_file(tmp_path):
    brelldata.render_png(shaded(triangle()), str(tmp_path / "t.png"), 32, 32)
    assert (tmp_path / "t.png").read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
