#!/bin/sh
# Import by handle end to end, side by side with the peer pipeline. For drawings of N references
# made by the peer's generator, each side exports its own workbook (keys as each writes them),
# the peer's edit script changes 10 % of the key cells of both the same way, and then each side
# imports its edited workbook into a copy of the drawing: read the workbook, read the drawing,
# write the changed values, save. Only the import is timed. Prints wall time, CPU time and peak
# memory of each import and our ratio to the peer.
#
#   bench/peer/import_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000)
#
# Needs /usr/bin/time and /usr/bin/python3 with ezdxf and openpyxl (Debian packages).
# Each command runs once per N (the peer's own figures are medians of 3) and is cut at
# 900 seconds.
NAME=import
. "$(dirname "$0")/setup.sh"

printf "%8s %8s %9s %9s %10s %9s %9s %10s %8s %8s\n" refs dxf_MiB velmar_s velmar_cpu velmar_MiB peer_s peer_cpu peer_MiB changed vs_peer
for N in $SIZES; do
    DXF=$WORK/d$N.dxf
    /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    SIZE=$(du -m "$DXF" | cut -f1)

    # Ours: export from the drawing the import will update, so that the keys name it.
    cp "$DXF" "$WORK/ours.dxf"
    "$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/ours.dxf" --output "$WORK/ours.xlsx" --force \
        --quiet export --drawing-column on --combine off --count-column on --show-header on
    CHANGED=$(/usr/bin/python3 "$PEER/edit_xlsx.py" "$WORK/ours.xlsx" "$WORK/ours-edited.xlsx" --fraction 0.1)
    set -- $(measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/ours.dxf" \
        --workbook "$WORK/ours-edited.xlsx" --quiet import-by-handle --sheets all)
    OURS=$1; OURS_CPU=$2; OURS_MEM=$3

    # The peer: its own export, the same edit, its import into a new file.
    set -- $(measure_peer_import "$DXF")
    PEER_S=$1; PEER_CPU=$2; PEER_MEM=$3

    printf "%8s %8s %9s %9s %10s %9s %9s %10s %8s %8s\n" "$N" "$SIZE" "$OURS" "$OURS_CPU" "$OURS_MEM" \
        "$PEER_S" "$PEER_CPU" "$PEER_MEM" "$CHANGED" "$(ratio "$PEER_S" "$OURS")"
    rm -f "$WORK"/*.xlsx "$WORK"/*.dxf "$WORK"/*.bak
done
