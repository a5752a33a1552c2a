#!/bin/sh
# Upload end to end, side by side with the peer pipeline. For drawings of N references made by
# the peer's generator: velmar exports the schedule (attributes, position X and Y, layer, one
# row per reference), then change_drawing.py edits the drawing's text as another program would
# (new texts in the attributes of every 10th reference, a few references moved and a few put on
# another layer; see its header). Each side then uploads the changed drawing into its own copy
# of the schedule: read the drawing, read every key comment of the workbook, compare, write the
# differing cells, save. Only the upload is timed. Afterwards (not timed) openpyxl checks that
# both copies hold the same cell texts and velmar's drawing is untouched. Prints wall time, CPU
# time and peak memory of each upload, the cells changed and our ratio to the peer.
#
#   bench/peer/upload_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000 100000)
#
# Needs /usr/bin/time and /usr/bin/python3 with ezdxf and openpyxl (Debian packages).
# Each command runs once per N and is cut at 900 seconds.
NAME=upload
. "$(dirname "$0")/setup.sh"
HERE=$(cd "$(dirname "$0")" && pwd)

printf "%8s %8s %9s %10s %10s %9s %9s %10s %8s %8s\n" refs dxf_MiB velmar_s velmar_cpu velmar_MiB peer_s peer_cpu peer_MiB changed vs_peer
for N in $SIZES; do
    # The keys name the drawing by its path, so the changed drawing takes the exported one's place.
    DXF=$WORK/d$N.dxf
    /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    SIZE=$(du -m "$DXF" | cut -f1)
    "$TOOL" --settings "$WORK/settings.ini" --drawing "$DXF" --output "$WORK/exported.xlsx" --force --quiet \
        export --drawing-column on --combine off --count-column on --show-header on \
        --position-x on --position-y on --layer on
    /usr/bin/python3 "$HERE/change_drawing.py" "$DXF" "$WORK/changed.dxf" >"$WORK/changes"
    mv "$WORK/changed.dxf" "$DXF"
    cp "$WORK/exported.xlsx" "$WORK/ours.xlsx"
    cp "$WORK/exported.xlsx" "$WORK/peer.xlsx"
    BEFORE=$(md5sum <"$DXF")
    sync

    set -- $(measure "$TOOL" --settings "$WORK/settings.ini" --drawing "$DXF" --workbook "$WORK/ours.xlsx" \
        --yes --quiet upload --remove-deleted-rows no)
    OURS=$1; OURS_CPU=$2; OURS_MEM=$3
    if [ "$OURS" = failed ]; then
        if [ -s "$WORK/err" ]; then sed 's/^/velmar: /' "$WORK/err" >&2; else echo "velmar: no result within 900 s" >&2; fi
    fi
    set -- $(measure /usr/bin/python3 "$HERE/peer_upload.py" "$DXF" "$WORK/peer.xlsx" --remove-deleted-rows no)
    PEER_S=$1; PEER_CPU=$2; PEER_MEM=$3

    [ "$(md5sum <"$DXF")" = "$BEFORE" ] || echo "warning: velmar's upload changed the drawing" >&2
    # Both sides must have written the same texts; the count is of cells that differ from the export.
    CHANGED=-
    [ "$OURS" != failed ] && [ "$PEER_S" != failed ] && CHANGED=$(/usr/bin/python3 - "$WORK/exported.xlsx" "$WORK/ours.xlsx" "$WORK/peer.xlsx" <<'PY'
import sys, warnings
import openpyxl

def texts(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        book = openpyxl.load_workbook(path, read_only=True)
    result = {}
    for sheet in book.worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                value = getattr(cell, "value", None)
                if value is None:
                    continue
                if isinstance(value, float) and value.is_integer():
                    value = int(value)
                result[(sheet.title, cell.coordinate)] = str(value)
    return result

exported, ours, peer = (texts(p) for p in sys.argv[1:4])
differ = sorted(k for k in set(ours) | set(peer) if ours.get(k) != peer.get(k))
for key in differ[:10]:
    print("velmar and the peer differ at %s!%s: %r / %r" % (*key, ours.get(key), peer.get(key)), file=sys.stderr)
if differ:
    print("%d cells differ between velmar and the peer" % len(differ), file=sys.stderr)
print(sum(1 for k in set(exported) | set(ours) if exported.get(k) != ours.get(k)))
PY
)
    printf "%8s %8s %9s %10s %10s %9s %9s %10s %8s %8s\n" "$N" "$SIZE" "$OURS" "$OURS_CPU" "$OURS_MEM" \
        "$PEER_S" "$PEER_CPU" "$PEER_MEM" "$CHANGED" "$(ratio "$PEER_S" "$OURS")"
    echo "         drawing edit: $(cat "$WORK/changes")"
    rm -f "$WORK"/*.xlsx "$WORK"/*.dxf "$WORK"/*.bak
done
