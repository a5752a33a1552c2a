#!/bin/sh
# The file roads in one run: export and import by handle side by side with the peers at 10,000
# references, alone at 100,000 and at a million, with `dxf info` of the 100,000-reference drawing.
# Prints wall time, CPU time, peak memory, the peak as a multiple of the drawing's size and, at
# 10,000, our ratio to each peer; the load average before each size. Every figure is the run of
# median wall time of three (VELMAR_BENCH_RUNS), ours and the peers' alike.
#
#   bench/peer/speed_pass.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000 1000000)
#
# Peers run at sizes up to 10,000; the million's road is taken past 100,000.
# The drawings of 10,000 and 100,000 references are the generator's (make_drawing.py), and the
# imports change a tenth of the cells (edit_xlsx.py). The generator can't make a million
# references in memory; that drawing is the generator's 1,000 references with a million more
# inserted by our insert-blocks from make_rows.py's rows, 1.4 GB, and it is imported unedited
# (the edit script can't hold its workbook either), so that import reads and compares every
# value and writes none. Needs what export_vs_peer.sh and import_vs_peer.sh need, and about
# 12 GB of memory and 6 GB of disk for the million.
NAME=speed
GIVEN=$#
. "$(dirname "$0")/setup.sh"
[ "$GIVEN" -gt 1 ] || SIZES="10000 100000 1000000"
EXPORT="--quiet export --drawing-column on --combine off --count-column on --show-header on"

row() {  # what refs dxf_MiB seconds cpu peak_MiB peer...
    printf "%-22s %9s %8s %8s %8s %9s %6s  %s\n" "$1" "$2" "$3" "$4" "$5" "$6" \
        "$(awk -v p="$6" -v d="$3" 'BEGIN { if (d > 0 && p + 0 > 0) printf "%.1fx", p / d; else print "-" }')" "${7:-}"
}

printf "%-22s %9s %8s %8s %8s %9s %6s  %s\n" road refs dxf_MiB wall_s cpu_s peak_MiB peak/dxf "peers"
for N in $SIZES; do
    echo "# load average $(cut -d' ' -f1-3 /proc/loadavg)"
    DXF=$WORK/d$N.dxf
    if [ "$N" -le 100000 ]; then
        /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    else
        /usr/bin/python3 "$PEER/make_drawing.py" --refs 1000 --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
        /usr/bin/python3 "$PEER/make_rows.py" "$DXF" "$((N - 1000))" "$WORK/rows.xlsx"
        "$TOOL" --settings "$WORK/settings.ini" --drawing "$DXF" --workbook "$WORK/rows.xlsx" --quiet insert-blocks \
            --block-name-column A --tags-from header-row --header-row 1
        rm -f "$WORK/rows.xlsx" "$WORK/d$N.bak"
    fi
    SIZE=$(du -m "$DXF" | cut -f1)
    # A million rows don't fit one sheet: one per block.
    SHEETS=$([ "$N" -gt 100000 ] && echo "--sheets each" || true)

    set -- $(for run in $(seq "$RUNS"); do
        measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$DXF" --output "$WORK/ours.xlsx" --force \
            $EXPORT $SHEETS
    done | median)
    PEERS=
    if [ "$N" -le 10000 ]; then
        OPX=$(for run in $(seq "$RUNS"); do
            measure /usr/bin/python3 "$PEER/peer_export.py" "$DXF" "$WORK/peer.xlsx"
        done | median | cut -d' ' -f1)
        XW=$(for run in $(seq "$RUNS"); do
            measure /usr/bin/python3 "$PEER/peer_export.py" --writer xlsxwriter "$DXF" "$WORK/peerx.xlsx"
        done | median | cut -d' ' -f1)
        PEERS="openpyxl $OPX s ($(ratio "$OPX" "$1")), XlsxWriter $XW s ($(ratio "$XW" "$1"))"
    fi
    row export "$N" "$SIZE" "$1" "$2" "$3" "$PEERS"

    # The import updates the drawing the workbook was exported from, so that the keys name it.
    cp "$DXF" "$WORK/ours.dxf"
    "$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/ours.dxf" --output "$WORK/ours.xlsx" --force \
        $EXPORT $SHEETS
    if [ "$N" -le 100000 ]; then
        /usr/bin/python3 "$PEER/edit_xlsx.py" "$WORK/ours.xlsx" "$WORK/ours-edited.xlsx" --fraction 0.1 >/dev/null
    else
        mv "$WORK/ours.xlsx" "$WORK/ours-edited.xlsx"
    fi
    # Each run of an edited workbook updates the drawing as exported; the million's unedited one
    # leaves it as it is, so its runs need no copy (1.4 GB, written out before each run).
    set -- $(for run in $(seq "$RUNS"); do
        [ "$N" -gt 100000 ] || cp "$DXF" "$WORK/ours.dxf"
        measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/ours.dxf" \
            --workbook "$WORK/ours-edited.xlsx" --quiet import-by-handle --sheets all
    done | median)
    PEERS=
    if [ "$N" -le 10000 ]; then
        prepare_peer_import "$DXF"
        PI=$(for run in $(seq "$RUNS"); do measure_prepared_peer_import "$DXF"; done | median | cut -d' ' -f1)
        PEERS="ezdxf+openpyxl $PI s ($(ratio "$PI" "$1"))"
    fi
    row "import by handle" "$N" "$SIZE" "$1" "$2" "$3" "$PEERS"

    if [ "$N" -gt 10000 ] && [ "$N" -le 100000 ]; then
        set -- $(for run in $(seq "$RUNS"); do measure "$TOOL" dxf info "$DXF"; done | median)
        row "dxf info" "$N" "$SIZE" "$1" "$2" "$3"
    fi
    rm -f "$WORK"/*.xlsx "$WORK"/*.dxf "$WORK"/*.bak
done
