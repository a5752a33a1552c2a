# Shared by the side-by-side scripts (sourced, not run): their arguments, the work folder, and the
# measuring of one command. Expects NAME (the work folder's prefix) and the scripts' "$@".
set -eu
ROOT=$(cd "$(dirname "$0")/../.." && pwd)
BUILD=${1:-$ROOT/build}
[ $# -gt 0 ] && shift
SIZES=${*:-10000 100000}
# The peer scripts and the drawing generator sit beside these scripts; VELMAR_PEER_BENCH names
# another folder of them.
PEER=${VELMAR_PEER_BENCH:-$ROOT/bench/peer}
TOOL=$BUILD/src/cli/velmar
WORK=$(mktemp -d "/tmp/velmar-$NAME-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
[ -x "$TOOL" ] || { echo "build velmar first: cmake --build $BUILD --target velmar" >&2; exit 2; }

# Runs a command under /usr/bin/time; prints "seconds cpu_seconds peak_MiB", or "failed - -".
# What earlier steps wrote (a generated drawing, a copy, an edited workbook) is written out first:
# the system would otherwise write it back during the measured run, on one of its cores.
measure() {
    sync
    if timeout 900 /usr/bin/time -f "%e %U %S %M" -o "$WORK/time" "$@" >"$WORK/out" 2>"$WORK/err"; then
        awk '{ printf "%s %.2f %.0f\n", $1, $2 + $3, $4 / 1024 }' "$WORK/time"
    else
        echo "failed - -"
    fi
}

# Of measure's lines on standard input, the one of median wall time; "failed - -" when any run
# failed. A road's first run after a step that churned memory (a peer, the generator, the edit
# script) pays for the system handing out pages it had taken back; the median is the road's own
# cost. RUNS (VELMAR_BENCH_RUNS, 3 unless set) is how many runs the scripts that use it take.
RUNS=${VELMAR_BENCH_RUNS:-3}
median() {
    sort -n | awk '/^failed/ { bad = 1 } { line[NR] = $0 } END { print bad ? "failed - -" : line[int((NR + 1) / 2)] }'
}

# a / b as "12.3x", or "-" when either is missing.
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b + 0 > 0 && a + 0 > 0) printf "%.1fx", a / b; else print "-" }'; }

# The peer's import of 10 % edited cells of its own export of `$1` into a new drawing, measured:
# "seconds cpu_seconds peak_MiB" as measure prints them.
measure_peer_import() {
    prepare_peer_import "$1"
    measure_prepared_peer_import "$1"
}

# The peer's export of `$1` with 10 % of its cells edited, as measure_peer_import imports it.
prepare_peer_import() {
    /usr/bin/python3 "$PEER/peer_export.py" "$1" "$WORK/peer.xlsx" >/dev/null 2>&1
    /usr/bin/python3 "$PEER/edit_xlsx.py" "$WORK/peer.xlsx" "$WORK/peer-edited.xlsx" --fraction 0.1 >/dev/null
}

# The peer's import of what prepare_peer_import made for `$1`, measured; it writes a new drawing
# and leaves its inputs as they were, so it can be measured again.
measure_prepared_peer_import() {
    measure /usr/bin/python3 "$PEER/peer_import.py" "$WORK/peer-edited.xlsx" "$1" "$WORK/peer-out.dxf"
}
