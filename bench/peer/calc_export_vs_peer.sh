#!/bin/sh
# Export into a running LibreOffice Calc, side by side with the peer: the schedule of a drawing of
# N references, with a key comment on every attribute cell, written into a new document of one
# headless soffice by velmar (--spreadsheet calc) and by a python3-uno script cell by cell; and,
# for scale, Calc's own time to load velmar's file export of the same schedule. Prints wall
# times, the machine's load average before the runs, and our ratios.
#
#   bench/peer/calc_export_vs_peer.sh [BUILD_DIR] [N ...]      (default: build, 10000)
#
# Needs /usr/bin/time, /usr/bin/python3 with ezdxf and python3-uno, and LibreOffice. The soffice
# is started here on a profile and port of its own and killed at the end; every document is
# closed before the next run, so each run starts from an office without documents.
NAME=calc-export
[ $# -gt 1 ] || set -- "${1:-}" 10000
[ -n "$1" ] || { shift; set -- "$(cd "$(dirname "$0")/../.." && pwd)/build" "$@"; }
. "$(dirname "$0")/setup.sh"
OFFICE=${VELMAR_SOFFICE:-/usr/lib/libreoffice/program/soffice}
PORT=$(/usr/bin/python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
CONNECTION="socket,host=127.0.0.1,port=$PORT"
PROFILE="-env:UserInstallation=file://$WORK/profile"
"$OFFICE" --headless --terminate_after_init "$PROFILE" >/dev/null 2>&1
setsid "$OFFICE" --headless --invisible --nologo --norestore --nodefault "--accept=$CONNECTION;urp;" "$PROFILE" \
    >/dev/null 2>&1 &
OFFICE_PID=$!
trap 'kill -9 -$OFFICE_PID 2>/dev/null; wait $OFFICE_PID 2>/dev/null; rm -rf "$WORK"' EXIT
trap 'exit 130' INT TERM
/usr/bin/python3 "$PEER/calc_office.py" "$CONNECTION" wait

echo "load average before the runs: $(cut -d' ' -f1-3 /proc/loadavg)"
printf "%8s %9s %9s %9s %11s %9s\n" refs velmar_s peer_s load_s vs_peer vs_load
for N in $SIZES; do
    DXF=$WORK/d$N.dxf
    /usr/bin/python3 "$PEER/make_drawing.py" --refs "$N" --blocks 24 --version R2018 --seed 1 "$DXF" >/dev/null
    set -- $(measure "$TOOL" --settings "$WORK/settings.ini" --spreadsheet calc --calc-connect "$CONNECTION" \
        --drawing "$DXF" --quiet export --drawing-column on --combine off --count-column on --show-header on)
    OURS=$1
    /usr/bin/python3 "$PEER/calc_office.py" "$CONNECTION" close
    set -- $(measure /usr/bin/python3 "$PEER/peer_calc_export.py" "$CONNECTION" "$DXF")
    PEER_S=$1
    /usr/bin/python3 "$PEER/calc_office.py" "$CONNECTION" close
    "$TOOL" --settings "$WORK/settings.ini" --spreadsheet file --drawing "$DXF" --output "$WORK/ours.xlsx" --force --quiet export \
        --drawing-column on --combine off --count-column on --show-header on >/dev/null 2>&1
    LOAD=$(/usr/bin/python3 "$PEER/calc_office.py" "$CONNECTION" load "$WORK/ours.xlsx")
    /usr/bin/python3 "$PEER/calc_office.py" "$CONNECTION" close
    printf "%8s %9s %9s %9s %11s %9s\n" "$N" "$OURS" "$PEER_S" "$LOAD" "$(ratio "$PEER_S" "$OURS")" "$(ratio "$OURS" "$LOAD")"
done
