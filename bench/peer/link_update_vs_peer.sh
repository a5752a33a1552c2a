#!/bin/sh
# The automatic link update at a drawing's load, side by side with the peer pipeline. For drawings
# of N references made by the peer's generator, our export's workbook is imported once with
# "Save the link" (every reference then links to it), the peer's edit script changes 10 % of its
# key cells, and the automatic update is turned on. Timed: a command on the drawing (the link list,
# which itself costs nothing), whose load reads every sheet of the linked workbook and writes the
# changed values: read the workbook, read the drawing, write, save. The peer does the same work
# with its own import script on its own export. Prints wall time, CPU time and peak memory of
# each side and our ratio to the peer.
#
#   bench/peer/link_update_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000)
#
# Needs /usr/bin/time and /usr/bin/python3 with ezdxf and openpyxl (Debian packages).
NAME=link-update
. "$(dirname "$0")/setup.sh"

printf "%8s %8s %9s %9s %10s %9s %9s %10s %8s %8s\n" refs dxf_MiB velmar_s velmar_cpu velmar_MiB peer_s peer_cpu peer_MiB changed vs_peer
for N in $SIZES; do
    DXF=$WORK/d$N.dxf
    /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    SIZE=$(du -m "$DXF" | cut -f1)
    RUN="$TOOL --settings $WORK/settings.ini --drawing $WORK/ours.dxf --quiet"

    # Ours: export, link every reference by an import, edit the linked workbook in place.
    cp "$DXF" "$WORK/ours.dxf"
    $RUN --output "$WORK/ours.xlsx" --force export --drawing-column on --combine off --count-column on \
        --show-header on
    $RUN --workbook "$WORK/ours.xlsx" import-by-handle --sheets all --save-link on
    CHANGED=$(/usr/bin/python3 "$PEER/edit_xlsx.py" "$WORK/ours.xlsx" "$WORK/ours-edited.xlsx" --fraction 0.1)
    mv "$WORK/ours-edited.xlsx" "$WORK/ours.xlsx"
    $RUN links --auto-update on >/dev/null
    set -- $(measure $RUN links)
    OURS=$1; OURS_CPU=$2; OURS_MEM=$3

    # The peer: its own export, the same edit, its import into a new file.
    set -- $(measure_peer_import "$DXF")
    PEER_S=$1; PEER_CPU=$2; PEER_MEM=$3

    printf "%8s %8s %9s %9s %10s %9s %9s %10s %8s %8s\n" "$N" "$SIZE" "$OURS" "$OURS_CPU" "$OURS_MEM" \
        "$PEER_S" "$PEER_CPU" "$PEER_MEM" "$CHANGED" "$(ratio "$PEER_S" "$OURS")"
    rm -f "$WORK"/*.xlsx "$WORK"/*.dxf "$WORK"/*.bak
done
