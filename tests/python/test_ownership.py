import gc

import numpy as np

import brelldata


def test_a_new_node_is_held_once_by_python_and_a_parent_adds_a_reference_that_removing_or_popping_drops():
    parent, child = brelldata.Node(), brelldata.Node()
    assert child.ref_count == 1
    parent.children.append(child)
    assert child.ref_count == 2
    parent.children.remove(child)
    assert child.ref_count == 1
    parent.children.append(child)
    assert parent.children.pop().ref_count == 1


def test_the_same_node_reached_twice_is_one_python_object_with_one_reference():
    parent = brelldata.Node()
    parent.children.append(brelldata.Node("c"))
    first, again = parent.children[0], next(iter(parent.children))
    assert first is again and first.ref_count == 2


def test_dropping_the_python_object_gives_its_reference_back():
    parent = brelldata.Node()
    parent.children.append(brelldata.Node())
    held = parent.children[0]
    assert held.ref_count == 2
    del held
    gc.collect()
    assert parent.children[0].ref_count == 2


def test_a_node_held_by_python_survives_its_parents_release():
    parent, child = brelldata.Node("p"), brelldata.Node("c")
    parent.children.append(child)
    del parent
    gc.collect()
    assert child.ref_count == 1 and child.name == "c"


def test_walking_leaves_every_count_as_it_was():
    root = brelldata.Node()
    for _ in range(3):
        root.children.append(brelldata.Node())
    nodes = list(root.walk())
    assert [n.ref_count for n in nodes] == [1, 2, 2, 2]
    del nodes
    assert root.ref_count == 1


def test_each_view_holds_one_reference_on_its_store():
    model = brelldata.ModelNode()
    model.vertices = np.zeros((3, 3))
    first = model.vertices
    assert first.base.ref_count == 2
    second = model.vertices
    assert first.base.ref_count == 3
    del second
    assert first.base.ref_count == 2


def test_an_attribute_view_holds_one_reference_on_its_node():
    model = brelldata.ModelNode()
    model.normals = np.zeros((2, 3), np.float32)
    normals = model.normals
    assert model.ref_count == 2 and normals.base.attribute == "normals"
    del normals
    assert model.ref_count == 1
