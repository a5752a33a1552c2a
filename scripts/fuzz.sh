#!/usr/bin/env bash
# Builds the fuzzers with clang and runs one: scripts/fuzz.sh cad_reader_fuzzer [-max_total_time=60]
# The seeds are the matching folders of tests/corpus and tests/fuzz/seeds (dxf for cad_*, xlsx and
# xl for xl_*): real files, and the damaged or pathological ones that once lost data.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVELMAR_FUZZ=ON -DVELMAR_BUILD_TESTS=OFF -DVELMAR_BUILD_BENCH=OFF >/dev/null
name=${1:?name of a fuzzer, such as cad_reader_fuzzer}
shift
cmake --build build-fuzz --target "$name"
case $name in cad_*) seeds="tests/corpus/dxf tests/fuzz/seeds/dxf" ;; xl_*) seeds="tests/corpus/xlsx tests/fuzz/seeds/xl" ;; *) seeds= ;; esac
mkdir -p build-fuzz/corpus-$name
exec build-fuzz/tests/fuzz/$name build-fuzz/corpus-$name $seeds "$@"
