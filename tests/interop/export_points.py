#!/usr/bin/python3
"""Point export end to end. The lines and lightweight polylines of corpus drawings and of one made
here by ezdxf (negative and long coordinates, bulges, an elevation, closed polylines) go out with
export-points; openpyxl reads the sheet, and every cell must be the vertex ezdxf reads formatted
as the drawing's units say (decimal, $LUPREC places, trailing zeros dropped where $DIMZIN says):
x, y and z of a line's two ends, x, y and 0 of each polyline vertex, joined by the separator;
no more than 1024 columns."""
import os
import random
import shutil
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import CORPUS, TOOL, fail, finish, velmar  # noqa: E402

import ezdxf  # noqa: E402
import openpyxl  # noqa: E402

DRAWINGS = ["arch-plan-attribs-ac1018.dxf", "curtainwall-details-mleader-dynblocks-ac1027.dxf",
            "libredwg-example-ac1015.dxf"]


def number(value, precision, dimzin):
    text = "%.*f" % (precision, value)
    if text.startswith("-") and float(text) == 0:
        text = text[1:]
    if dimzin & 8 and "." in text:
        text = text.rstrip("0").rstrip(".")
    if dimzin & 4 and text.startswith("0.") and len(text) > 2:
        text = text[1:]
    return text


def expected_rows(path, separator):
    doc = ezdxf.readfile(path)
    precision = doc.header.get("$LUPREC", 4)
    dimzin = doc.header.get("$DIMZIN", 0)
    handles, rows = [], []
    for e in doc.modelspace():
        if e.dxftype() == "LINE":
            points = [tuple(e.dxf.start), tuple(e.dxf.end)]
        elif e.dxftype() == "LWPOLYLINE":
            points = [(x, y, 0.0) for x, y, *_ in e.get_points("xy")]
            if not points:
                continue
        else:
            continue
        handles.append(e.dxf.handle)
        rows.append([separator.join(number(c, precision, dimzin) for c in p) for p in points])
    return handles, rows


def made_drawing(path):
    doc = ezdxf.new("R2013")
    doc.header["$LUPREC"] = 3
    doc.header["$DIMZIN"] = 0
    rng = random.Random(11)
    msp = doc.modelspace()
    for i in range(200):
        if i % 3 == 0:
            msp.add_line([rng.uniform(-1e5, 1e5) for _ in range(3)], [rng.uniform(-1, 1) for _ in range(3)])
        else:
            count = rng.randint(2, 9)
            msp.add_lwpolyline([(rng.uniform(-5000, 5000), rng.uniform(-5000, 5000), 0, 0, rng.uniform(-1, 1))
                                for _ in range(count)], format="xyseb", close=bool(i % 2),
                               dxfattribs={"elevation": rng.uniform(-10, 10)})
    doc.saveas(path)


def main():
    if not TOOL.exists():
        print("velmar not built:", TOOL)
        return 1
    work = Path(tempfile.mkdtemp(prefix="velmar-points-"))
    try:
        drawings = []
        for name in DRAWINGS:
            shutil.copy(CORPUS / name, work / name)
            drawings.append(work / name)
        made_drawing(work / "made.dxf")
        drawings.append(work / "made.dxf")
        for drawing, separator in zip(drawings, [",", ";", " ", ","]):
            handles, rows = expected_rows(drawing, separator)
            book = work / (drawing.stem + ".xlsx")
            velmar(work, "--drawing", drawing, "--output", book, "export-points", "--objects", ",".join(handles),
                   "--separator", separator, "--x", "on", "--y", "on", "--z", "on", "--start-row", "1",
                   "--start-column", "A")
            if not book.exists():
                fail("%s: no workbook" % drawing.name)
                continue
            ws = openpyxl.load_workbook(book).active
            got = [[("" if v is None else str(v)) for v in row] for row in ws.iter_rows(values_only=True)]
            # The export takes at most 1024 columns of the list.
            width = min(max(len(r) for r in rows), 1024)
            wrong = 0
            for n, want in enumerate(rows):
                have = got[n] if n < len(got) else []
                have = [c for c in have[:width]]
                want = (want + [""] * width)[:width]
                if have != want:
                    wrong += 1
                    if wrong <= 3:
                        fail("%s row %d: %s, expected %s" % (drawing.name, n + 1, have[:4], want[:4]))
            if max(len(r) for r in got) > width:
                fail("%s: %d columns written" % (drawing.name, max(len(r) for r in got)))
            if len(got) != len(rows):
                fail("%s: %d rows for %d curves" % (drawing.name, len(got), len(rows)))
            print("%s: %d rows, %d columns checked" % (drawing.name, len(rows), width))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return finish("point texts agree with ezdxf")


if __name__ == "__main__":
    sys.exit(main())
