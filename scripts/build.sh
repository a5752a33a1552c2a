#!/usr/bin/env bash
# Sets up and builds the release binary into build/ (used by the other scripts).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target velmar
