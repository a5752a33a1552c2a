#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, builds velmar and runs the main job on the bundled sample:
# the blocks of examples/floor.dxf exported to a new workbook, a key comment on every cell.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
velmar=build/src/cli/velmar
out=${VELMAR_DEMO_OUT:-out}
mkdir -p "$out"
# The demo keeps its own settings, so the options it passes don't become the user's defaults.
settings="$out/demo-settings.ini"
echo "== The schedule of examples/floor.dxf (velmar export --preview)"
"$velmar" --settings "$settings" --drawing examples/floor.dxf export --preview \
    --drawing-column off --count-column on
echo
echo "== Export to $out/floor.xlsx"
"$velmar" --settings "$settings" --drawing examples/floor.dxf --output "$out/floor.xlsx" --force \
    export --drawing-column on --count-column on --border on
echo
echo "== What the workbook holds (velmar xlsx info)"
"$velmar" xlsx info "$out/floor.xlsx"
