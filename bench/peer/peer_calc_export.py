#!/usr/bin/python3
"""Peer pipeline, export into a running LibreOffice Calc: DXF block attributes -> the cells and
comments of a new Calc document, written cell by cell through python3-uno.

What a Linux user would write instead of the tool: ezdxf reads the drawing (peer_export.collect
builds the same rows and keys as the file peer), a new document is opened in the soffice that
accepts CONNECTION, and every cell is set and every key comment inserted one call at a time.

    /usr/bin/python3 peer_calc_export.py CONNECTION in.dxf [--timing]

CONNECTION is a UNO connection description, e.g. socket,host=127.0.0.1,port=2002.
The document is left open and unsaved, as the tool leaves it. Prints nothing but errors
(--timing prints phase times to stderr).
"""
import argparse
import os
import sys
import time

import ezdxf
import uno
from com.sun.star.beans import PropertyValue
from com.sun.star.table import CellAddress

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from peer_export import DWG_COMMENT, collect  # noqa: E402


def desktop_at(connection):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    context = resolver.resolve(f"uno:{connection};urp;StarOffice.ComponentContext")
    return context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("connection")
    ap.add_argument("dxf")
    ap.add_argument("--timing", action="store_true", help="print phase times (s) to stderr")
    args = ap.parse_args(argv)

    t0 = time.perf_counter()
    doc = ezdxf.readfile(args.dxf)
    headers, rows = collect(doc, args.dxf)
    t1 = time.perf_counter()

    desktop = desktop_at(args.connection)
    hidden = PropertyValue()
    hidden.Name, hidden.Value = "Hidden", True
    book = desktop.loadComponentFromURL("private:factory/scalc", "_blank", 0, (hidden,))
    sheet = book.Sheets.getByIndex(0)
    sheet.Name = "Attributes"
    notes = sheet.Annotations
    dwg_name = os.path.basename(args.dxf)

    def note(column, row, text):
        at = CellAddress()
        at.Sheet, at.Column, at.Row = 0, column, row
        notes.insertNew(at, text)

    for c, header in enumerate(headers):
        sheet.getCellByPosition(c, 0).setString(header)
    for r, (block, cells) in enumerate(rows, start=1):
        sheet.getCellByPosition(0, r).setString(dwg_name)
        note(0, r, DWG_COMMENT)
        sheet.getCellByPosition(1, r).setString(block)
        sheet.getCellByPosition(2, r).setValue(1)
        for col, val, key in cells:
            sheet.getCellByPosition(col, r).setString(val)
            note(col, r, key)
    t2 = time.perf_counter()
    if args.timing:
        print(f"read {t1 - t0:.2f} s, write into Calc {t2 - t1:.2f} s", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
