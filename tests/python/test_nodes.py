import copy
import pathlib
import re

import numpy as np
import pytest

import brelldata


def tree():
    """R(A(A1, A2), B), the suite's standard tree."""
    root = brelldata.Node("R")
    a, b = brelldata.Node("A"), brelldata.ModelNode("B")
    a.children.append(brelldata.Node("A1"))
    a.children.append(brelldata.Node("A2"))
    root.children.append(a)
    root.children.append(b)
    return root


# The types the library registers at start-up, as the C++ tests list them.
REGISTERED_TYPES = re.findall(r'"(C\w+)"', (pathlib.Path(__file__).parents[1] / "support" / "RegisteredTypes.h").read_text())


@pytest.mark.parametrize("type_name", REGISTERED_TYPES)
def test_every_registered_type_created_by_name_comes_as_its_own_python_class(type_name):
    """Each class's Python name is its C++ name without the C; CBaseNode's is Node."""
    node = brelldata.create_node(type_name, "n")
    own_class = brelldata.Node if type_name == "CBaseNode" else getattr(brelldata, type_name[1:])
    assert type(node) is own_class and node.type_name == type_name and node.name == "n"


def test_create_node_refuses_an_unregistered_type():
    with pytest.raises(ValueError, match="CNoSuchNode"):
        brelldata.create_node("CNoSuchNode")


def test_children_index_from_either_end_and_refuse_outside():
    root = tree()
    assert [root.children[0].name, root.children[-1].name] == ["A", "B"]
    with pytest.raises(IndexError):
        root.children[2]


def test_children_insert_remove_and_pop_change_the_sequence():
    root = tree()
    c = brelldata.Node("C")
    root.children.insert(1, c)
    assert [n.name for n in root.children] == ["A", "C", "B"]
    root.children.remove(c)
    assert root.children.pop().name == "B"
    assert [n.name for n in root.children] == ["A"] and c not in root.children


@pytest.mark.parametrize("add", [lambda parent, child: parent.children.append(child),
                                 lambda parent, child: parent.children.insert(0, child)])
def test_a_node_cannot_become_a_child_of_its_own_subtree(add):
    root = tree()
    for ancestor in (root, root.children[0], root.children[0].children[1]):
        with pytest.raises(ValueError, match="own subtree"):
            add(root.children[0].children[1], ancestor)
    assert len(root.children[0].children[1].children) == 0


def test_removing_a_node_that_is_not_a_child_raises():
    with pytest.raises(ValueError):
        tree().children.remove(brelldata.Node())


@pytest.mark.parametrize("value, type_name", [(7, "int"), (True, "bool"), (2.5, "double"), (b"\x01\x02", "struct")])
def test_attributes_keep_the_type_of_the_value_assigned(value, type_name):
    node = brelldata.Node()
    node.attributes["a"] = value
    assert node.attributes["a"] == value and node.attributes.type_of("a") == type_name


def test_string_attributes_read_back_without_their_zero_byte():
    node = brelldata.Node()
    node.attributes["s"] = "scan 1"
    assert node.attributes.get_string("s") == "scan 1" and node.attributes["s"] == b"scan 1\x00"


def test_an_int_attribute_refuses_more_than_32_bits():
    with pytest.raises(ValueError):
        brelldata.Node().attributes["a"] = 2**31


def test_a_struct_attribute_reads_as_an_array_of_any_dtype_without_a_copy():
    node = brelldata.Node()
    node.attributes["m"] = np.arange(6, dtype=np.float64)
    view = node.attributes.array("m", np.float64, [3])
    view[1, 2] = -1
    assert view.shape == (2, 3) and np.frombuffer(node.attributes["m"], np.float64)[5] == -1


def test_attribute_names_iterate_in_name_order():
    node = brelldata.Node()
    for name in ["b", "a", "c"]:
        node.attributes[name] = 1
    assert list(node.attributes) == ["a", "b", "c"] and "a" in node.attributes and "z" not in node.attributes


def test_deleting_an_attribute_removes_it_and_a_missing_one_raises_key_error():
    node = brelldata.Node()
    node.attributes["a"] = 1
    del node.attributes["a"]
    assert "a" not in node.attributes
    with pytest.raises(KeyError):
        del node.attributes["a"]


def test_deleting_an_attribute_is_refused_while_attribute_views_live():
    node = brelldata.Node()
    node.attributes["m"] = np.zeros(3)
    node.attributes["n"] = 1
    view = node.attributes.array("m", np.float64)
    with pytest.raises(BufferError):
        del node.attributes["n"]
    del view
    del node.attributes["n"]
    assert list(node.attributes) == ["m"]


@pytest.mark.parametrize("criteria, names", [
    ({"name": "A2"}, ["A2"]),
    ({"type_name": "CModelNode"}, ["B"]),
    ({"kind": "CBaseNode"}, ["R", "A", "A1", "A2", "B"]),
    ({"kind": "CObjectNode", "name": "A"}, []),
])
def test_find_all_gives_the_nodes_matching_every_criterion(criteria, names):
    assert [n.name for n in tree().find_all(**criteria)] == names


def test_find_gives_none_when_nothing_matches():
    assert tree().find(name="Z") is None and tree().find(name="A1").name == "A1"


def test_copy_is_deep():
    root = tree()
    duplicate = copy.deepcopy(root)
    duplicate.children[0].name = "changed"
    assert root.children[0].name == "A" and [n.name for n in duplicate.walk()][1:] == ["changed", "A1", "A2", "B"]


def test_a_tree_streams_to_bytes_and_back():
    root = tree()
    root.children[1].vertices = np.ones((4, 3))
    again = brelldata.from_bytes(root.to_bytes())
    assert again.listing() == root.listing() and again.children[1].vertices.sum() == 12


@pytest.mark.parametrize("cut", [0, 3, 10, -1])
def test_from_bytes_refuses_a_cut_stream_with_its_offset(cut):
    with pytest.raises(ValueError, match="byte [0-9]+"):
        brelldata.from_bytes(tree().to_bytes()[:cut])
