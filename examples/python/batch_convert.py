"""Converts every scan file of a folder to another format, with a picture of each.

    python3 batch_convert.py scans/ converted/ [--format obj] [--size 640x480]

Each scan.ply (.off, .obj, .xyz) in scans/ becomes converted/scan.obj and
converted/scan.png, drawn smooth-shaded (points for a point cloud) by the
reference renderer. A file that cannot be read is reported and skipped.
"""
import argparse
import pathlib
import sys

import brelldata

SCANS = {".ply", ".off", ".obj", ".xyz"}


def convert(source, target_folder, extension, width, height):
    scene = brelldata.import_scan(str(source))
    brelldata.export_scan(scene, str(target_folder / (source.stem + extension)))
    display = brelldata.Node("display")
    brelldata.calculate_geometry(scene, "smooth", display)
    brelldata.render_png(display, str(target_folder / (source.stem + ".png")), width, height,
                         background=(32, 32, 48, 255))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("target", type=pathlib.Path)
    parser.add_argument("--format", default="ply", choices=[suffix[1:] for suffix in sorted(SCANS)])
    parser.add_argument("--size", default="640x480")
    arguments = parser.parse_args()
    width, height = (int(extent) for extent in arguments.size.split("x"))
    arguments.target.mkdir(parents=True, exist_ok=True)
    failed = 0
    for source in sorted(path for path in arguments.source.iterdir() if path.suffix.lower() in SCANS):
        try:
            convert(source, arguments.target, "." + arguments.format, width, height)
            print(f"{source.name}: done")
        except (brelldata.FileError, brelldata.RenderError) as error:
            print(f"{source.name}: skipped: {error}", file=sys.stderr)
            failed += 1
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
