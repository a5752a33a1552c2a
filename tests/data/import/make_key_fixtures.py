#!/usr/bin/python3
"""Makes the workbooks and drawings of the import-by-key tests with openpyxl and ezdxf,
independent writers of the two formats, the way a person would type such sheets. Run from
anywhere: python3 make_key_fixtures.py (writes beside this script)."""
import os

import ezdxf
import openpyxl
from ezdxf.math import Vec2
from openpyxl.styles import PatternFill

HERE = os.path.dirname(os.path.abspath(__file__))


def out(name):
    return os.path.join(HERE, name)


def doors():
    """Keys as typed: a lower-case mark, numbers as numbers, a wildcard row, a key with no door."""
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Doors"
    sheet.append(["MARK", "WIDTH", "FIRE_RATING", "NOTE"])
    sheet.append(["d01", 950, "EI60", "New closer"])
    sheet.append(["D03", 900, "EI90", None])
    sheet.append(["D99", 1, "none", "no such door"])
    windows = book.create_sheet("Windows")
    windows.append(["GLAZING", "MARK"])
    windows.append(["Triple", "W0*"])
    by_rating = book.create_sheet("Ratings")
    by_rating.append(["FIRE_RATING", "WIDTH"])
    by_rating.append(["EI30", 1111])
    columns = book.create_sheet("Columns")
    # No header: the columns are given one by one; the key is in C.
    columns.append(["EI120", None, "D02"])
    columns.append(["EI15", None, "D04"])
    book.active = 0
    book.save(out("doors.xlsx"))


def long_formatted():
    """A used area of 300 rows and 130 columns made by formatting; the last value at row 50."""
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Doors"
    sheet.append(["MARK", "WIDTH"])
    sheet.append(["D01", 901])
    sheet.cell(row=50, column=1, value="D02")
    sheet.cell(row=50, column=2, value=902)
    grey = PatternFill("solid", fgColor="DDDDDD")
    for row in range(51, 301):
        sheet.cell(row=row, column=1).fill = grey
    for column in range(3, 131):
        sheet.cell(row=1, column=column).fill = grey
    book.save(out("long-formatted.xlsx"))


def single_cell():
    book = openpyxl.Workbook()
    book.active["A1"] = "MARK"
    book.save(out("single-cell.xlsx"))


def offset():
    """A table that starts at B3: the import still reads from A1."""
    book = openpyxl.Workbook()
    sheet = book.active
    sheet["B3"] = "MARK"
    sheet["C3"] = "WIDTH"
    sheet["B4"] = "D05"
    sheet["C4"] = 905
    book.save(out("offset.xlsx"))


def sheets_by_drawing():
    """Rows keyed by the drawing and its layout, for the title blocks of the sample."""
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.append(["DWG File", "Block Name", "SHEET"])
    sheet.append(["plan|Plan", "TITLEBLOCK", "Sheet one"])
    sheet.append(["plan.dxf|Details", "TITLEBLOCK", "Sheet two"])
    book.save(out("by-drawing.xlsx"))


def leaders():
    """Multileaders with a block of two attributes, and the sheet that keys them by ID."""
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    tag = doc.blocks.new("TAGBOX")
    tag.add_lwpolyline([(-3, -2), (3, -2), (3, 2), (-3, 2)], close=True)
    tag.add_attdef("ID", (0, 1), dxfattribs={"prompt": "Id"})
    tag.add_attdef("LABEL", (0, -1), dxfattribs={"prompt": "Label"})
    for n, (ident, label) in enumerate([("T1", "old one"), ("T2", "old two"), ("T3", "stays")]):
        ml = msp.add_multileader_block(style="Standard")
        ml.set_content(name="TAGBOX")
        ml.set_attribute("ID", ident)
        ml.set_attribute("LABEL", label)
        ml.add_leader_line(ezdxf.render.mleader.ConnectionSide.left, [Vec2(-20, -10 * n)])
        ml.build(insert=Vec2(10, 10 * n))
    doc.saveas(out("leaders.dxf"))
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.append(["ID", "LABEL"])
    sheet.append(["T1", "new one"])
    sheet.append(["t2", "new two"])
    book.save(out("leaders.xlsx"))


def old_release():
    """Doors in an AutoCAD 2000 drawing, for saving in the newest release."""
    doc = ezdxf.new("R2000")
    door = doc.blocks.new("DOOR")
    door.add_line((0, 0), (1, 0))
    door.add_attdef("MARK", (0, 1))
    door.add_attdef("WIDTH", (0, 2))
    for n, mark in enumerate(["D01", "D02"]):
        doc.modelspace().add_blockref("DOOR", (5 * n, 0)).add_auto_attribs({"MARK": mark, "WIDTH": "900"})
    doc.saveas(out("doors-r2000.dxf"))


if __name__ == "__main__":
    doors()
    long_formatted()
    single_cell()
    offset()
    sheets_by_drawing()
    leaders()
    old_release()
