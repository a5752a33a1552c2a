#!/usr/bin/env bash
# Opening the 100,000-reference drawing in velmar-gui to its first paint (target: under 2 s).
#   bench/gui/first_paint.sh [BUILD_DIR]        (default: build)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-build}
data="$build/bench-data"
mkdir -p "$data"
drawing="$data/d100k.dxf"
[ -f "$drawing" ] || /usr/bin/python3 "$here/../peer/make_drawing.py" --refs 100000 --seed 1 "$drawing"
QT_QPA_PLATFORM=offscreen "$build/bench/gui/bench_gui_first_paint" "$drawing" 3
