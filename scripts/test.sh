#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine, builds everything and runs every test (interop checks too).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build
ctest --test-dir build --output-on-failure -j2
