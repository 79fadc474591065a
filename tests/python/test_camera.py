import numpy as np
import pytest

import brelldata

# Plane sizes whose blocks are whole multiples of 16 bytes, so they read back block for block.
LAYOUTS = {
    # layout: (pitch width, height, planes, bits), (colour ...), 3-D bytes, 2-D bytes
    "first": ((8, 2, 1, 8), (4, 4, 3, 8), 16, 48),
    "second": ((16, 1, 1, 8), (4, 4, 1, 8), 144, 16 + 3840),
}


def shot(layout):
    pitch, colour, size3d, size2d = LAYOUTS[layout]
    made = brelldata.CameraShot(layout, np.arange(size3d, dtype=np.uint8), np.full(size2d, 7, np.uint8))
    header = made.header
    for prefix, values in (("pitchPlane", pitch), ("colorPlane", colour)):
        for field, value in zip(("Width", "Height", "Number", "PixelBits"), values):
            header[prefix + field] = value
    header["pitchOfPixels"] = (0.5, 0.25)
    return made


@pytest.mark.parametrize("layout, header_bytes", [("first", 512), ("second", 1024)])
def test_a_shot_written_from_python_reads_back_the_same_in_its_own_layout(tmp_path, layout, header_bytes):
    path = str(tmp_path / "shot.cam")
    written = shot(layout)
    brelldata.write_camera_file(written, path)
    again = brelldata.read_camera_file(path)
    assert again.layout == layout and again.header.dtype.itemsize == header_bytes
    assert again.header.tobytes() == written.header.tobytes()
    assert np.array_equal(again.data_3d, written.data_3d) and np.array_equal(again.data_2d, written.data_2d)


@pytest.mark.parametrize("layout, error, message", [(None, brelldata.FileError, "fit neither layout"),
                                                   ("first", ValueError, "not a camera data file of the first layout")])
def test_a_file_of_neither_layout_is_refused(tmp_path, layout, error, message):
    path = tmp_path / "noise.cam"
    path.write_bytes(b"\xff" * 2048)
    with pytest.raises(error, match=message):
        brelldata.read_camera_file(str(path), *([layout] if layout else []))


def test_header_and_block_views_outlive_their_shot_objects():
    header, data = shot("first").header, shot("first").data_3d
    assert header["pitchOfPixels"].tolist() == [0.5, 0.25] and data[15] == 15


def test_a_missing_file_raises_camera_file_error_an_os_error(tmp_path):
    with pytest.raises(OSError):
        brelldata.read_camera_file(str(tmp_path / "missing.cam"))
