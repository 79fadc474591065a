#!/usr/bin/env bash
# Runs the brell tool on small files: each subcommand's exit status and
# output, and one clear line with the right status for bad files and options.
#   ToolTest.sh BRELL SCRATCH SCRIVO_FOLDER
set -uo pipefail
brell=$1
scratch=$2
scrivo=$3
rm -rf "$scratch" && mkdir -p "$scratch" && cd "$scratch" || exit 1
failures=0

fail() {
  echo "FAILED: $*" >&2
  echo "  stdout: $(head -c 600 out)" >&2
  echo "  stderr: $(head -c 600 err)" >&2
  failures=$((failures + 1))
}
# run STATUS ARGS...: runs the tool and checks its exit status; a run that
# hangs is stopped and fails.
run() {
  local expected=$1
  shift
  timeout 20 "$brell" "$@" </dev/null >out 2>err
  local status=$?
  [ "$status" -eq "$expected" ] || fail "brell $* exited $status, expected $expected"
}
says() { grep -qF -- "$1" out || fail "stdout lacks \"$1\""; }
# one_error TEXT: stderr is exactly one line, naming TEXT.
one_error() {
  [ "$(wc -l <err)" -eq 1 ] && grep -q "^brell: .*$1" err || fail "stderr is not one line naming \"$1\""
}
# refused STATUS TEXT ARGS...: the tool exits STATUS with one line on stderr naming TEXT.
refused() {
  local status=$1 text=$2
  shift 2
  run "$status" "$@"
  one_error "$text"
}
# shows COMMAND FILE TEXT...: brell COMMAND FILE succeeds and its output holds each TEXT.
shows() {
  run 0 "$1" "$2"
  shift 2
  for text in "$@"; do says "$text"; done
}

cat >square.ply <<'PLY'
ply
format ascii 1.0
element vertex 4
property float x
property float y
property float z
element face 2
property list uchar int vertex_indices
end_header
0 0 0
1 0 0
1 1 0
0 1 0
3 0 1 2
3 0 2 3
PLY
printf '0 0 0\n1 0 0\n0 1 0\n' >points.xyz
printf 'ply\nformat ascii 1.0\nelement vertex 2000000000\nproperty float x\nend_header\n0\n' >huge.ply

# Camera data files of 4 x 2 pixels: big-endian plane sizes, zero elsewhere.
planes='\x00\x04\x00\x02\x00\x01\x00\x10\x00\x04\x00\x02\x00\x01\x00\x18'
{ printf 'TEST'; printf "$planes"; head -c 492 /dev/zero; head -c 40 /dev/zero; } >shot.cam
{ head -c 24 /dev/zero; printf "$planes"; head -c 984 /dev/zero; head -c 3936 /dev/zero; } >shot.kam
head -c 530 shot.cam >short.cam

shows info square.ply "scan file of" "CMeshNode: 1" "vertices: 4" "polygons: 2" "box: 0 0 0 to 1 1 0" \
  " bytes in 1 stream"
shows info points.xyz "CModelNode: 1" "vertices: 3" "polygons: 0"
sed 's/^property float z$/property float z\nproperty float confidence/; s/^\([01] [01] 0\)$/\1 1/' square.ply >extra.ply
run 0 info extra.ply
one_error 'extra.ply: warning: 4 values of vertex property "confidence" dropped'
shows list square.ply 'CElementNode "square.ply"' '    CMeshNode "square.ply"  2 polygons'

shows info shot.cam "first layout (512-byte header)" 'version: "TEST"' "3-D block: 16 bytes at 512" \
  "2-D block: 24 bytes at 528"
run 0 info shot.kam --type camera --quiet
says "second layout (1024-byte header)"; says "3-D block: 72 bytes at 1024"; says "2-D block: 3864 bytes"
refused 1 "shot.cam: expected a plausible camera header" info --layout second shot.cam
refused 1 "short.cam: expected a camera data file" info short.cam

run 0 export square.ply -o square.obj
shows info square.obj "vertices: 4" "polygons: 2"
run 0 export --ascii points.xyz -o points.ply
grep -q "^format ascii" points.ply || fail "export --ascii wrote no ASCII PLY"
# glTF files are written and read as the other scan formats are; every
# command opens them as list does.
for gltf in square.glb square.gltf; do
  run 0 export square.ply -o $gltf
  shows list $gltf 'CElementNode "square.ply"' 'CMeshNode "square.ply"  2 polygons'
done

run 0 --quiet render square.ply -o square.png --size 64x48 --mode wire --view 0,0,-1 --timing
says "drawing"; says "writing square.png"
[ "$(head -c 4 square.png | tail -c 3)" = PNG ] || fail "render wrote no PNG"
[ ! -s err ] || fail "render --quiet wrote to stderr"
printf 'ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nproperty float y\nproperty float z\nend_header\n' >empty.ply
refused 1 "nothing to draw" --quiet render empty.ply -o empty.png
[ ! -e empty.png ] || fail "render of nothing wrote a picture"

run 0 import square.ply -o square.scene
shows list square.scene '    CMeshNode "square.ply"  2 polygons'
cp square.scene square.bin
shows info square.bin "scene file of" "vertices: 4"
run 0 calc square.scene --proc wire -o wire.scene
shows info wire.scene "CGeoWireFrameNode: 1"
run 0 render wire.scene -o wire.png --size 32x32
run 0 export wire.scene -o back.off
shows info back.off "vertices: 4" "polygons: 2"
run 0 calc wire.scene --proc points -o twice.scene
shows info twice.scene "CGeoPointNode: 1"
! grep -q CGeoWireFrameNode out || fail "calc kept the geometry calculated before"
head -c 40 square.scene >cut.scene
refused 1 "cut.scene: byte 16: expected a stream of [0-9]* bytes, as this length says, found 8 bytes after the header" \
  list cut.scene
run 0 --timing list square.scene
[ "$(tail -n 1 out | cut -c 1-5)" = total ] && grep -q "^reading square.scene " out || fail "list --timing"
run 0 import --timing square.ply -o timed.scene
says "writing timed.scene"

# On a terminal the bar is cleared before the timing table and never drawn after it.
script -qec "$brell render --progress --timing square.ply -o tty.png --size 32x32" /dev/null >tty.out
python3 - tty.out <<'CHECK' || fail "the bar is drawn over the timing table"
import re, sys
text = open(sys.argv[1], "rb").read()
table = re.search(rb"reading square\.ply +[0-9.]+ ms", text)
bar, clear = text.rfind(b"brell render ["), text.rfind(b"\r\x1b[K")
sys.exit(not (table and 0 <= bar < clear < table.start()))
CHECK

# Every command that saves refuses to replace what is not a regular file. The
# device is reached through a link, so that a save that wrongly replaced it
# would replace the link, not /dev/null.
mkfifo fifo.scene fifo.obj; ln -s /dev/null null.png
while read -r command path kind; do
  refused 1 "$path: expected a regular file to replace or a new name, found a $kind" "$command" square.ply -o "$path"
done <<'CASES'
import fifo.scene pipe
export fifo.obj pipe
render null.png device
CASES
[ -p fifo.scene ] && [ -L null.png ] || fail "a save replaced what it refused"

# Input that is not a regular file is refused before anything opens it,
# whether its kind is found or given.
mkfifo pipe.cam
for options in "" "--type camera"; do
  refused 1 "pipe.cam: expected a regular file, found a pipe" info $options pipe.cam
done

refused 1 missing.ply info missing.ply
refused 1 huge.ply info huge.ply
while IFS=: read -r command extension; do
  refused 2 "--output: expected a file name ending in $extension" $command
done <<'CASES'
import square.ply -o x.ply:.scene
calc square.ply --proc wire -o x.PLY:.scene
render square.ply -o x.jpg:.png
export square.ply -o square.txt:.ply, .off, .obj, .xyz, .glb or .gltf
CASES
refused 2 --size render square.ply -o x.png --size 12
refused 2 "--view: expected a direction of some length" render square.ply -o x.png --view 0,0,0
refused 2 paint calc square.ply --proc paint -o x.scene
refused 2 frobnicate frobnicate
refused 2 FILE info
run 0 --help
says "render"

# cut: the left half of the front view holds the square's x = 0 corners,
# which every triangle uses.
left_half=0,0,400,0,400,600,0,600
run 0 cut square.ply --lasso $left_half -o cut.ply
says "cut.ply: 2 of 4 vertices and 2 of 2 polygons cut"
shows info cut.ply "vertices: 2" "polygons: 0"
run 0 cut square.ply --view front --size 800x600 --lasso $left_half --keep-inside -o kept.scene
shows info kept.scene "vertices: 2"
refused 2 "--lasso: expected x1,y1,x2,y2,... of three corners or more" cut square.ply --lasso 1,2,3,4 -o x.ply
refused 2 --output cut square.ply --lasso $left_half -o x.png

# The library's trace lines show only when asked for.
LD_LIBRARY_PATH=$scrivo run 0 info square.ply
[ ! -s err ] || fail "info wrote to stderr"
LD_LIBRARY_PATH=$scrivo run 0 --verbose info square.ply
grep -q "Register node type CBaseNode" err || fail "brell --verbose showed no trace lines"

[ "$failures" -eq 0 ] || { echo "$failures check(s) failed" >&2; exit 1; }
echo "all brell tool checks passed"
