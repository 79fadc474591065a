#!/usr/bin/env python3
"""brell view in a window of a virtual X server, driven by a replay file of
input events: the scan shows, a lasso cut takes part of it away, undo brings
it back, Ctrl+S saves what the same cut by brell cut leaves, and quitting
with unsaved cuts asks first; a camera data file shows its picture.

    view_test.py BRELL SCRATCH
Exits 77 (skipped) only when no X server can be started.
"""
import os
import re
import shutil
import struct
import subprocess
import sys
import zlib

brell, scratch = sys.argv[1], sys.argv[2]
shutil.rmtree(scratch, ignore_errors=True)
os.makedirs(scratch)
os.chdir(scratch)
WIDTH, HEIGHT, STATUS_BAR = 400, 300, 14
BACKGROUND = (34, 38, 46)


def start_x_server():
    if shutil.which("Xvfb") is None:
        print("SKIPPED: no X server can be started: Xvfb is missing (scripts/deps.sh installs it)")
        sys.exit(77)
    read, write = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "640x480x24", "-nolisten", "tcp"],
                              pass_fds=[write], stderr=subprocess.DEVNULL)
    os.close(write)
    with os.fdopen(read) as display:
        number = display.readline().strip()
    if not number:
        print("SKIPPED: no X server can be started: Xvfb did not start")
        sys.exit(77)
    return server, ":" + number


def pixels(path):
    """The PNG's pixels as rows of (r, g, b) tuples; 8-bit RGBA as the renderer writes them."""
    data, at, idat = open(path, "rb").read(), 8, b""
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        idat += data[at + 8:at + 8 + length] if kind == b"IDAT" else b""
        at += 12 + length
    stride = struct.unpack(">I", data[16:20])[0] * 4  # the header's width
    raw, rows, above = zlib.decompress(idat), [], bytearray(stride)
    for y in range(len(raw) // (stride + 1)):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a, b, c = line[i - 4] if i >= 4 else 0, above[i], above[i - 4] if i >= 4 else 0
            # Paeth: the neighbour nearest a + b - c, ties going to a, then b.
            paeth = min((abs(b - c), a), (abs(a - c), b), (abs(a + b - 2 * c), c), key=lambda near: near[0])[1]
            line[i] = (line[i] + (0, a, b, (a + b) // 2, paeth)[kind]) & 0xFF
        rows.append([tuple(line[x:x + 3]) for x in range(0, stride, 4)])
        above = line
    return rows


def view(*arguments):
    """Runs brell view on a virtual X server of its own; stops the test when it fails."""
    server, display = start_x_server()
    try:
        run = subprocess.run([brell, "view", *arguments, "--size", f"{WIDTH}x{HEIGHT}"],
                             env=dict(os.environ, DISPLAY=display), timeout=300, capture_output=True, text=True)
    finally:
        server.terminate()
        server.wait()
    if run.returncode != 0:
        sys.exit(f"brell view exited {run.returncode}: {run.stderr}")


def object_pixels(rows, left, right):
    """Pixels of the scene between columns left and right, above the status line."""
    return sum(1 for row in rows[:HEIGHT - STATUS_BAR] for x in range(left, right) if row[x] != BACKGROUND)


# A flat square of 21 x 21 vertices facing the front view.
n = 21
with open("grid.ply", "w") as ply:
    ply.write(f"ply\nformat ascii 1.0\nelement vertex {n * n}\nproperty float x\nproperty float y\n"
              f"property float z\nelement face {2 * (n - 1) ** 2}\nproperty list uchar int vertex_indices\nend_header\n")
    ply.writelines(f"{i / (n - 1) * 2 - 1} {j / (n - 1) * 2 - 1} 0\n" for j in range(n) for i in range(n))
    for j in range(n - 1):
        for i in range(n - 1):
            a = j * n + i
            ply.write(f"3 {a} {a + 1} {a + n + 1}\n3 {a} {a + n + 1} {a + n}\n")

# The lasso's right edge runs between two columns of vertices.
lasso = [(10, 10), (195, 10), (195, 290), (10, 290)]
with open("events.txt", "w") as events:
    events.write(f"""snapshot whole.png
drag right {' '.join(f'{x},{y}' for x, y in lasso)}
key delete
snapshot cut.png
key ctrl+z
snapshot undone.png
key ctrl+y
key ctrl+s
key b
drag left 250,50 290,90
key delete
key q
snapshot asking.png
key y
""")

view("grid.ply", "--replay", "events.txt", "-o", "saved.ply")
failures = []
whole, cut, undone = pixels("whole.png"), pixels("cut.png"), pixels("undone.png")
half = WIDTH // 2 - 10
if object_pixels(whole, 0, half) < 1000 or object_pixels(whole, WIDTH - half, WIDTH) < 1000:
    failures.append("the scan does not fill both halves of the window")
if object_pixels(cut, 0, half) != 0:
    failures.append(f"{object_pixels(cut, 0, half)} pixels of the scan are left under the lasso")
if object_pixels(cut, WIDTH - half, WIDTH) != object_pixels(whole, WIDTH - half, WIDTH):
    failures.append("the cut changed the scan outside the lasso")
if undone[:HEIGHT - STATUS_BAR] != whole[:HEIGHT - STATUS_BAR]:
    failures.append("undo does not bring the picture back")
if not os.path.exists("asking.png"):
    failures.append("quitting with unsaved cuts did not ask first")

expected = subprocess.run([brell, "cut", "grid.ply", "--size", f"{WIDTH}x{HEIGHT}", "--lasso",
                           ",".join(f"{x},{y}" for x, y in lasso), "-o", "expected.ply"], capture_output=True, text=True)
removed, total = map(int, re.search(r"(\d+) of (\d+) vertices", expected.stdout).groups())
saved = subprocess.run([brell, "info", "saved.ply"], capture_output=True, text=True).stdout
count = int(re.search(r"vertices: (\d+)", saved).group(1))
if not 0 < removed < total or count != total - removed:
    failures.append(f"saved {count} vertices, expected {total - removed} of {total}")

# A camera data file shows its colour block: red left, blue right.
w, h = 64, 48
header = bytearray(512)
header[0:4] = b"TEST"
struct.pack_into(">8H", header, 4, w, h, 1, 16, w, h, 1, 24)
colours = b"".join((b"\xff\0\0" if x < w // 2 else b"\0\0\xff") for y in range(h) for x in range(w))
open("shot.cam", "wb").write(bytes(header) + bytes(w * h * 2) + colours)
open("shot.txt", "w").write("snapshot shot.png\n")
view("shot.cam", "--replay", "shot.txt")
shot = pixels("shot.png")
if (shot[HEIGHT // 2][WIDTH // 2 - 20], shot[HEIGHT // 2][WIDTH // 2 + 20]) != ((255, 0, 0), (0, 0, 255)):
    failures.append("the camera data file's picture does not show")

for failure in failures:
    print("FAILED:", failure)
sys.exit(1 if failures else 0)
