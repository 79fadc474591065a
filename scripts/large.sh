#!/usr/bin/env bash
# The road of a 92,000,000-point scan through every brell command. Makes a
# binary PLY of float positions on the fly, then imports it, inspects,
# exports, takes it through the Python module, calculates, renders, cuts it
# and cuts it in the viewer (in a virtual X server), and checks each step's
# counts and its peak memory: at most 1.25 times the stores it makes (24 bytes
# a vertex) plus 16 MB. Saving and loading the scene are timed beside a plain
# write (made durable) and read of the same number of bytes (streamed through
# a small buffer, and into fresh memory as a load fills its stores) and the ratios
# printed; times vary with the machine's load, so they are reported, not
# checked (the benchmarks in bench/ measure them).
# Needs build/bin/brell and the Python module in build/python (scripts/test.sh
# builds both; BRELL=... and BRELL_PYTHON=... name others),
# about 5 GB of memory and 5 GB of disk in TMPDIR; removes its files.
# BRELL_LARGE_POINTS=N runs the same road on N points.
set -euo pipefail
cd "$(dirname "$0")/.."
brell=$(realpath "${BRELL:-build/bin/brell}")
python_module=$(realpath "${BRELL_PYTHON:-build/python}")
points=${BRELL_LARGE_POINTS:-92000000}
work=$(mktemp -d "${TMPDIR:-/tmp}/brell-large.XXXXXX")
xvfb=
trap '[ -z "$xvfb" ] || kill "$xvfb" 2>/dev/null; rm -rf "$work"' EXIT
cd "$work"
failures=0

fail() { echo "large: $*" >&2; failures=$((failures + 1)); }

/usr/bin/python3 - "$points" big.ply <<'EOF'
import sys
import numpy as np

points, path = int(sys.argv[1]), sys.argv[2]
with open(path, "wb") as out:
    out.write(b"ply\nformat binary_little_endian 1.0\nelement vertex %d\n" % points)
    out.write(b"property float x\nproperty float y\nproperty float z\nend_header\n")
    for start in range(0, points, 1 << 22):
        i = np.arange(start, min(points, start + (1 << 22)), dtype=np.int64)
        xyz = np.empty((i.size, 3), np.float32)
        xyz[:, 0] = (i % 10000) * 0.01
        xyz[:, 1] = (i // 10000) * 0.01
        xyz[:, 2] = np.sin(i * 0.001)
        out.write(xyz.tobytes())
EOF

stores=$((points * 24))
peak_limit_kb=$((stores * 5 / 4 / 1024 + 16 * 1024))

# measure WHAT COMMAND...: COMMAND with its output in out; checks the exit
# status and the peak memory.
measure() {
  local what=$1
  shift
  if ! /usr/bin/time -f '%M %e' -o time "$@" >out 2>err; then
    fail "$what failed: $(cat err)"
    return
  fi
  local peak seconds
  read -r peak seconds <time
  printf '%-8s %7.1f s  peak %6d MB (at most %d MB)\n' "$what" "$seconds" $((peak / 1024)) $((peak_limit_kb / 1024))
  [ "$peak" -le "$peak_limit_kb" ] || fail "$what peaks at $((peak / 1024)) MB, over $((peak_limit_kb / 1024)) MB"
}
# run WHAT ARGS...: measure brell ARGS, with its step times in out.
run() {
  local what=$1
  shift
  measure "$what" "$brell" --quiet --timing "$@"
}
says() { grep -qF -- "$1" out || fail "$2 does not say \"$1\""; }
# step_seconds NAME: the seconds brell --timing gave the step whose name starts so.
step_seconds() { awk -v step="$1" 'index($0, step) == 1 { print $(NF-1) / 1000 }' out; }
# plain SECONDS-COMMAND: the seconds a shell command takes.
plain() { /usr/bin/time -f '%e' -o plain.time "$@" >/dev/null 2>&1; cat plain.time; }
# ratio WHAT SECONDS PLAIN: prints SECONDS beside PLAIN (timed to 10 ms at best).
ratio() {
  set -- "$1" "$2" "$(echo "if ($3 < 0.01) 0.01 else $3" | bc -l)"
  printf '%-8s %7.2f s beside %5.2f s plain: %.2fx\n' "$1" "$2" "$3" "$(echo "$2 / $3" | bc -l)"
}

run import import big.ply -o big.scene
save=$(step_seconds "writing big.scene")
scene_bytes=$(stat -c %s big.scene)
plain_save=$(plain dd if=/dev/zero of=plain.bytes bs=1M count=$((scene_bytes >> 20)) conv=fsync)
rm -f plain.bytes
ratio save "$save" "$plain_save"

run info info big.scene
says "vertices: $points" info
stream_bytes=$(awk '/^node stream: [0-9]+ bytes in [0-9]+ streams?$/ { print $3 }' out)
[ "${stream_bytes:-0}" -gt $((points * 24)) ] || fail "info gives no true stream size: $(grep stream out)"
load=$(step_seconds "reading big.scene")
ratio load "$load" "$(plain dd if=big.scene of=/dev/null bs=1M)"
# The same bytes read into fresh memory, which a load must fill with its stores.
ratio load-mem "$load" "$(plain /usr/bin/python3 -c 'import sys; open(sys.argv[1], "rb").read()' big.scene)"

run list list big.scene
listed=$(awk '/CModelNode/ { sum += $(NF-1) } END { print sum }' out)
[ "$listed" = "$points" ] || fail "list shows $listed vertices, not $points"

run export export big.scene -o out.ply
head -c 200 out.ply | grep -qa "^element vertex $points$" || fail "export wrote another vertex count"
[ "$(stat -c %s out.ply)" -gt $((points * 12)) ] || fail "export wrote too few bytes"
rm -f out.ply

# The Python module imports the scan, saves its scene and loads it again.
measure python env PYTHONPATH="$python_module" /usr/bin/python3 - <<'EOF'
import brelldata

def vertices(root):
    return sum(node.vertex_count for node in root.walk() if isinstance(node, brelldata.ModelNode))

scene = brelldata.import_scan("big.ply")
print("imported vertices:", vertices(scene))
brelldata.save_scene(scene, "python.scene")
del scene
print("loaded vertices:", vertices(brelldata.load_scene("python.scene")))
EOF
says "imported vertices: $points" "the Python module's import"
says "loaded vertices: $points" "the Python module's load"
rm -f python.scene

run calc calc big.scene --proc points -o points.scene
rm -f big.ply

run render render points.scene -o big.png --mode points --size 320x240
[ -s big.png ] || fail "render wrote no picture"
rm -f points.scene

# The road seen from the front fills the window's width with its middle
# (x = 50) between two columns of pixels: a lasso over the left half cuts the
# first 5000 points of each row of 10000 and keeps the rest.
lasso=(-10,-10 160,-10 160,250 -10,250)
kept=$(((points / 10000) * 5000 + (points % 10000 > 5000 ? points % 10000 - 5000 : 0)))
# kept_in FILE WHAT: checks that FILE holds the kept vertices, and removes it.
kept_in() {
  "$brell" --quiet info "$1" >out 2>err || { fail "$2: info failed: $(cat err)"; return; }
  says "vertices: $kept" "info on $2's scene"
  rm -f "$1"
}

run cut cut big.scene --view front --size 320x240 --lasso "$(IFS=,; echo "${lasso[*]}")" -o cut.scene
says "cut.scene: $((points - kept)) of $points vertices" cut
kept_in cut.scene cut

# brell view in a virtual X server: a frame or two, the same cut, saved.
printf 'drag right %s\nkey delete\nkey ctrl+s\n' "${lasso[*]}" >events.txt
if command -v Xvfb >/dev/null; then
  Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3>display 2>/dev/null &
  xvfb=$!
  while [ ! -s display ] && kill -0 "$xvfb" 2>/dev/null; do sleep 0.1; done
  DISPLAY=:$(cat display) run view view big.scene --mode points --size 320x240 --replay events.txt -o viewed.scene
  kill "$xvfb" 2>/dev/null || true
  xvfb=
  kept_in viewed.scene view
else
  fail "view needs Xvfb (scripts/deps.sh installs it)"
fi

[ "$failures" -eq 0 ] || { echo "large: $failures failures" >&2; exit 1; }
echo "large: $points points through every command"
