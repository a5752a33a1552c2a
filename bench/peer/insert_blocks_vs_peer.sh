#!/bin/sh
# Insert blocks from worksheet rows, side by side with a peer script of ezdxf and openpyxl
# (bench/peer/peer_insert_blocks.py). For N rows (make_rows.py: the equipment blocks of a drawing
# of 1,000 references made by the peer's generator, in turn, each row with a position, a layer and
# a value for every tag), each side inserts the rows into its own copy of that drawing and saves
# it. Prints wall time, CPU time and peak memory of each side and our ratio to the peer.
#
#   bench/peer/insert_blocks_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000)
#
# Needs /usr/bin/time and /usr/bin/python3 with ezdxf and openpyxl (Debian packages).
NAME=insert-blocks
. "$(dirname "$0")/setup.sh"

/usr/bin/python3 "$PEER/make_drawing.py" --refs 1000 --blocks 24 --version R2018 --seed 1 "$WORK/base.dxf" >/dev/null
printf "%8s %9s %9s %10s %9s %9s %10s %8s\n" rows velmar_s velmar_cpu velmar_MiB peer_s peer_cpu peer_MiB vs_peer
for N in $SIZES; do
    /usr/bin/python3 "$(dirname "$0")/make_rows.py" "$WORK/base.dxf" "$N" "$WORK/rows.xlsx"
    cp "$WORK/base.dxf" "$WORK/ours.dxf"
    set -- $(measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/ours.dxf" --workbook "$WORK/rows.xlsx" \
        --quiet insert-blocks --block-name-column A --tags-from header-row --header-row 1)
    OURS=$1; OURS_CPU=$2; OURS_MEM=$3
    set -- $(measure /usr/bin/python3 "$(dirname "$0")/peer_insert_blocks.py" "$WORK/rows.xlsx" "$WORK/base.dxf" \
        "$WORK/peer.dxf")
    PEER_S=$1; PEER_CPU=$2; PEER_MEM=$3
    printf "%8s %9s %9s %10s %9s %9s %10s %8s\n" "$N" "$OURS" "$OURS_CPU" "$OURS_MEM" "$PEER_S" "$PEER_CPU" \
        "$PEER_MEM" "$(ratio "$PEER_S" "$OURS")"
    rm -f "$WORK"/ours.* "$WORK"/peer.dxf "$WORK"/rows.xlsx
done
