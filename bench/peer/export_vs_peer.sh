#!/bin/sh
# End-to-end export, side by side with the peer pipeline: read the drawing, build the rows and
# write the workbook with a key comment on every cell, for drawings of N references made by the
# peer's generator. Prints wall time, CPU time and peak memory of each run and our ratio to each
# peer.
#
#   bench/peer/export_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000)
#
# Needs /usr/bin/time, /usr/bin/python3 with ezdxf, openpyxl and xlsxwriter (Debian packages;
# without python3-xlsxwriter that column reads "failed").
# Each command runs once per N (the peer's own figures are medians of 3) and is cut at
# 900 seconds.
NAME=export
. "$(dirname "$0")/setup.sh"

printf "%8s %8s %9s %10s %10s %11s %9s %11s %9s\n" refs dxf_MiB velmar_s velmar_cpu velmar_MiB openpyxl_s xlsxw_s vs_openpyxl vs_xlsxw
for N in $SIZES; do
    DXF=$WORK/d$N.dxf
    /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    SIZE=$(du -m "$DXF" | cut -f1)
    set -- $(measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$DXF" --output "$WORK/ours.xlsx" --force \
        --quiet export --drawing-column on --combine off --count-column on --show-header on)
    OURS=$1; OURS_CPU=$2; OURS_MEM=$3
    set -- $(measure /usr/bin/python3 "$PEER/peer_export.py" "$DXF" "$WORK/peer.xlsx")
    PEER_OPX=$1
    set -- $(measure /usr/bin/python3 "$PEER/peer_export.py" --writer xlsxwriter "$DXF" "$WORK/peerx.xlsx")
    PEER_XW=$1
    printf "%8s %8s %9s %10s %10s %11s %9s %11s %9s\n" "$N" "$SIZE" "$OURS" "$OURS_CPU" "$OURS_MEM" "$PEER_OPX" "$PEER_XW" \
        "$(ratio "$PEER_OPX" "$OURS")" "$(ratio "$PEER_XW" "$OURS")"
done
