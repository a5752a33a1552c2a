#!/usr/bin/python3
"""The peer of "insert blocks": openpyxl reads the rows of the first sheet (a header row of
"Block", "Position X", "Position Y", "Layer" and attribute tags), ezdxf reads the drawing and
adds one reference a row in model space at its position and layer, with an attribute for every
non-constant definition (the row's value where the header names its tag, the default otherwise)
and the row link as extended data, then saves the drawing.

    peer_insert_blocks.py ROWS.xlsx IN.dxf OUT.dxf
"""
import sys

import ezdxf
import openpyxl

ROW_LINK = "26B39FF7-A595-4C83-9E44-263A93150487"


def main():
    rows_path, drawing, out = sys.argv[1:4]
    book = openpyxl.load_workbook(rows_path, read_only=True)
    sheet = book.worksheets[0]
    doc = ezdxf.readfile(drawing)
    doc.appids.new(ROW_LINK)
    msp = doc.modelspace()
    rows = sheet.iter_rows(values_only=True)
    header = [str(h) for h in next(rows)]
    column = {name: i for i, name in enumerate(header)}
    defaults = {}
    for n, row in enumerate(rows, start=2):
        name = row[0]
        if not name or name not in doc.blocks:
            continue
        if name not in defaults:
            defaults[name] = [d.dxf.tag for d in doc.blocks[name].query("ATTDEF") if not d.is_const]
        ref = msp.add_blockref(name, (float(row[1] or 0), float(row[2] or 0)), dxfattribs={"layer": row[3] or "0"})
        values = {}
        for tag in defaults[name]:
            i = column.get(tag)
            if i is not None and i < len(row) and row[i] is not None:
                values[tag] = str(row[i])
        ref.add_auto_attribs(values)
        ref.set_xdata(ROW_LINK, [(1000, "%s|%s|%d" % (rows_path, sheet.title, n))])
    doc.saveas(out)


if __name__ == "__main__":
    main()
