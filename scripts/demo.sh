#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, builds velmar and runs it on the bundled sample drawing.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh
velmar=build/src/cli/velmar
out=${VELMAR_DEMO_OUT:-out}
mkdir -p "$out"
echo "== velmar dxf info samples/equipment-layout.dxf"
"$velmar" dxf info samples/equipment-layout.dxf
echo "== velmar dxf resave samples/equipment-layout.dxf $out/equipment-layout.dxf"
"$velmar" dxf resave samples/equipment-layout.dxf "$out/equipment-layout.dxf"
cmp samples/equipment-layout.dxf "$out/equipment-layout.dxf" && echo "unchanged save: byte-identical"
