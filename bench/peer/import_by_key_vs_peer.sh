#!/bin/sh
# Import by key attribute over a drawing list, side by side in one run: one sheet keyed by the
# TAG attribute updates COUNT copies of a drawing of REFS references made by the peer's
# generator, (a) by velmar on every core, (b) by velmar forced to one worker, (c) by the peer
# script (ezdxf + openpyxl). Each side works on its own copies. Prints wall time, CPU time and
# peak memory of each, and the ratios.
#
#   bench/peer/import_by_key_vs_peer.sh [BUILD_DIR] [COUNT [REFS]]   (default: build, 1000 200)
#
# Needs /usr/bin/time and /usr/bin/python3 with ezdxf and openpyxl (Debian packages).
NAME=import-by-key
. "$(dirname "$0")/setup.sh"
set -- $SIZES
COUNT=${1:-1000}
[ "$COUNT" = 10000 ] && COUNT=1000  # setup's default sizes are for the single-drawing roads
REFS=${2:-200}

/usr/bin/python3 "$PEER/make_drawing.py" --refs "$REFS" --blocks 24 --version R2018 --seed 1 "$WORK/base.dxf" >/dev/null
# The sheet: for each TAG of the drawing, a new STATUS and NOTE, as a person would type them.
/usr/bin/python3 - "$WORK/base.dxf" "$WORK/book.xlsx" <<'PY'
import sys, ezdxf, openpyxl
doc = ezdxf.readfile(sys.argv[1])
book = openpyxl.Workbook()
sheet = book.active
sheet.append(["TAG", "STATUS", "NOTE"])
for n, insert in enumerate(doc.modelspace().query("INSERT")):
    tag = insert.get_attrib_text("TAG", default="")
    if tag:
        sheet.append([tag, "CHECKED %d" % (n % 7), "revised in the schedule"])
book.save(sys.argv[2])
PY
for side in multi single peer; do
    mkdir -p "$WORK/$side"
    i=1
    while [ "$i" -le "$COUNT" ]; do
        cp "$WORK/base.dxf" "$WORK/$side/d$i.dxf"
        echo "$WORK/$side/d$i.dxf" >>"$WORK/$side.lst"
        i=$((i + 1))
    done
done
SIZE=$(du -m "$WORK/multi" | cut -f1)

# Each side starts with the copies on the disk: the writing back of 1.5 GB of fresh copies would
# otherwise fall into whichever run comes first.
run_ours() {
    sync
    measure "$TOOL" --settings "$WORK/settings-$1.ini" --workbook "$WORK/book.xlsx" --quiet import-by-key \
        --tags-from header-row --header-row 1 --key TAG --block '*' --drawings-from selected \
        --list "$WORK/$1.lst" --workers "$2"
}
set -- $(run_ours multi 0); MULTI=$1; MULTI_CPU=$2; MULTI_MEM=$3
set -- $(run_ours single 1); SINGLE=$1; SINGLE_CPU=$2; SINGLE_MEM=$3
sync
set -- $(measure /usr/bin/python3 "$(dirname "$0")/peer_import_by_key.py" "$WORK/book.xlsx" TAG "$WORK/peer.lst")
PEER_S=$1; PEER_CPU=$2; PEER_MEM=$3

printf "%9s %5s %8s   %-12s %9s %9s %9s\n" drawings refs all_MiB side seconds cpu_s peak_MiB
printf "%9s %5s %8s   %-12s %9s %9s %9s\n" "$COUNT" "$REFS" "$SIZE" "velmar" "$MULTI" "$MULTI_CPU" "$MULTI_MEM"
printf "%9s %5s %8s   %-12s %9s %9s %9s\n" "" "" "" "velmar -j1" "$SINGLE" "$SINGLE_CPU" "$SINGLE_MEM"
printf "%9s %5s %8s   %-12s %9s %9s %9s\n" "" "" "" "peer" "$PEER_S" "$PEER_CPU" "$PEER_MEM"
echo "all cores vs one worker: $(ratio "$SINGLE" "$MULTI"); vs peer: $(ratio "$PEER_S" "$MULTI")"
# The three sides must have written the same texts: the copies are compared.
cmp -s "$WORK/multi/d$COUNT.dxf" "$WORK/single/d$COUNT.dxf" || echo "warning: the two velmar runs wrote different drawings" >&2
