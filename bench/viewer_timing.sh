#!/usr/bin/env bash
# The viewer with a model of about a million triangles, against the library's own figures for the
# same file: its frame time beside `qel-model render` at the size of the viewer's 3D view, and its
# time to open the file beside the OBJ loader's benchmark measure (CPU time, best of three).
#
#   bash bench/viewer_timing.sh [BUILD_DIR] [FRAMES] [ROUNDS]
#
# BUILD_DIR defaults to build-bench when it holds the viewer, else build. The model is generated
# into BUILD_DIR/viewer_timing (not committed). The viewer runs in a virtual X server started here;
# both programs draw lit (the viewer gets one light, qel-model its head light), and ROUNDS runs of
# each alternate so that a busy machine slows both alike. Each round prints its ratios; the frame
# target is read on process CPU time (llvmpipe's threads included), which a shared machine
# disturbs far less than wall time, as the benchmarks do. Wall times are shown beside.
set -euo pipefail

BUILD=${1:-}
FRAMES=${2:-30}
ROUNDS=${3:-3}
if [ -z "$BUILD" ]; then
  BUILD=build-bench
  [ -x "$BUILD/examples/qel-viewer/qel-viewer" ] || BUILD=build
fi
VIEWER=$BUILD/examples/qel-viewer/qel-viewer
TOOL=$BUILD/examples/qel-model/qel-model
BENCH=$BUILD/bench/bench_models
for p in "$VIEWER" "$TOOL" "$BENCH"; do
  [ -x "$p" ] || { echo "viewer_timing: $p is not built" >&2; exit 1; }
done

DIR=$(cd "$BUILD" && pwd)/viewer_timing
mkdir -p "$DIR"
MODEL=$DIR/grid1m.obj
# 708 x 708 cells of two triangles: 1,002,528 triangles with normals, texture coordinates and
# four materials, as the OBJ benchmark's grid.
[ -s "$MODEL" ] || "$BENCH" --write-grid "$MODEL" 708

XVFB_PID=
cleanup() { if [ -n "$XVFB_PID" ]; then kill "$XVFB_PID" 2>/dev/null || true; fi; }
trap cleanup EXIT
rm -f "$DIR/display.txt"
Xvfb -displayfd 3 -screen 0 1400x1000x24 -nolisten tcp 3>"$DIR/display.txt" 2>"$DIR/xvfb.log" &
XVFB_PID=$!
for _ in $(seq 1 200); do
  [ -s "$DIR/display.txt" ] && break
  sleep 0.1
done
DISPLAY_NUMBER=$(head -n 1 "$DIR/display.txt" 2>/dev/null || true)
[ -n "$DISPLAY_NUMBER" ] || { echo "viewer_timing: Xvfb did not start" >&2; cat "$DIR/xvfb.log" >&2; exit 1; }
export DISPLAY=:$DISPLAY_NUMBER

printf 'add light\nview iso\nzoom extents\n' >"$DIR/light.txt"
median() { sort -n | awk '{v[NR]=$1} END {print (NR%2 ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2)}'; }
field() { sed -n "$1" "$2" | head -n 1; }
ROUNDS_FILE=$DIR/rounds.txt
: >"$ROUNDS_FILE"

for round in $(seq 1 "$ROUNDS"); do
  "$BENCH" --obj-load-ms "$MODEL" >"$DIR/load.out"
  LOAD=$(field 's/.*: \([0-9.]*\) ms cpu.*/\1/p' "$DIR/load.out")
  LOAD_WALL=$(field 's/.* ms cpu, \([0-9.]*\) ms wall.*/\1/p' "$DIR/load.out")
  LOAD_FIRST=$(field 's/.*; first \([0-9.]*\) ms cpu.*/\1/p' "$DIR/load.out")
  "$VIEWER" --size 1280x800 --script "$DIR/light.txt" --timing "$FRAMES" "$MODEL" >"$DIR/viewer.out" 2>"$DIR/viewer.log"
  OPEN_WALL=$(field 's/^timing: open .*: \([0-9.]*\) ms wall.*/\1/p' "$DIR/viewer.out")
  OPEN_CPU=$(field 's/^timing: open .* ms wall, \([0-9.]*\) ms cpu.*/\1/p' "$DIR/viewer.out")
  VIEW=$(field 's/^timing: view \([0-9]*x[0-9]*\),.*/\1/p' "$DIR/viewer.out")
  V_FIRST=$(field 's/^timing: first frame \([0-9.]*\) ms wall.*/\1/p' "$DIR/viewer.out")
  V_WALL=$(field 's/^timing: later frames ([0-9]*) median \([0-9.]*\) ms wall.*/\1/p' "$DIR/viewer.out")
  V_CPU=$(field 's/^timing: later frames .*, median \([0-9.]*\) ms cpu$/\1/p' "$DIR/viewer.out")
  "$TOOL" render "$MODEL" "$DIR/render.png" --size "$VIEW" --frames "$((FRAMES - 1))" >"$DIR/tool.out" 2>"$DIR/tool.log"
  T_FIRST=$(field 's/.*drawn \([0-9.]*\) ms).*/\1/p' "$DIR/tool.out")
  T_WALL=$(field 's/^[0-9]* more frames: median \([0-9.]*\) ms wall.*/\1/p' "$DIR/tool.out")
  T_CPU=$(field 's/^[0-9]* more frames: .*, median \([0-9.]*\) ms cpu$/\1/p' "$DIR/tool.out")
  echo "round $round: view $VIEW, $(sed -n 's/^timing: view [0-9x]*, //p' "$DIR/viewer.out"), $FRAMES frames each"
  awk -v l="$LOAD" -v lw="$LOAD_WALL" -v lf="$LOAD_FIRST" -v oc="$OPEN_CPU" -v ow="$OPEN_WALL" -v vf="$V_FIRST" -v vw="$V_WALL" -v vc="$V_CPU" \
      -v tf="$T_FIRST" -v tw="$T_WALL" -v tc="$T_CPU" 'BEGIN {
    printf "  %-34s %10s %10s %8s %8s\n", "", "viewer", "reference", "ratio", "limit"
    printf "  %-34s %10.1f %10.1f %8.3f %8.2f\n", "frame, median cpu (ms)", vc, tc, vc / tc, 1.15
    printf "  %-34s %10.1f %10.1f %8.3f %8s\n", "frame, median wall (ms)", vw, tw, vw / tw, "-"
    printf "  %-34s %10.1f %10.1f %8.3f %8s\n", "first frame, uploads, wall (ms)", vf, tf, vf / tf, "-"
    printf "  %-34s %10.1f %10.1f %8.3f %8.2f\n", "open, cpu (ms), vs best of 3", oc, l, oc / l, 1.20
    printf "  %-34s %10.1f %10.1f %8.3f %8s\n", "open, cpu (ms), vs first load", oc, lf, oc / lf, "-"
    printf "  %-34s %10.1f %10.1f %8.3f %8s\n", "open, wall (ms)", ow, lw, ow / lw, "-"
  }'
  echo "$V_CPU $T_CPU $OPEN_CPU $LOAD $V_WALL $T_WALL $LOAD_FIRST" >>"$ROUNDS_FILE"
done
# The loader's figure is the best of three loads, while the viewer opens once a round, as the first
# load of its process: the opens are also compared best against best, and against the loader's first
# load of each round.
printf 'over %s rounds: frame cpu ratio %.3f (median; limit 1.15), frame wall ratio %.3f (median), ' \
  "$ROUNDS" "$(awk '{print $1/$2}' "$ROUNDS_FILE" | median)" "$(awk '{print $5/$6}' "$ROUNDS_FILE" | median)"
printf 'open cpu ratio %.3f (median), %.3f (median against the first load of a process), ' \
  "$(awk '{print $3/$4}' "$ROUNDS_FILE" | median)" "$(awk '{print $3/$7}' "$ROUNDS_FILE" | median)"
printf '%.3f (best open / best load; limit 1.20)\n' \
  "$(awk 'NR==1 || $3<o {o=$3} NR==1 || $4<l {l=$4} END {print o/l}' "$ROUNDS_FILE")"
