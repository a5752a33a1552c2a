#!/usr/bin/python3
"""Writes the sample sheets for floor.dxf: rows.xlsx for "insert blocks" (new doors and windows,
each row a block with its position, layer and attribute values under a header row), and
attributes.xlsx for "add attributes" (new attribute definitions, each row a position, text
height, layer, text style, tag and prompt under a header row). openpyxl (Debian's
python3-openpyxl) writes them; the output is the same each time.

    /usr/bin/python3 examples/make_rows.py
"""
import datetime
from pathlib import Path

import openpyxl

ROWS = [
    ["Block", "Position X", "Position Y", "Layer", "MARK", "WIDTH", "NOTE"],
    ["DOOR", 2.5, 9, "A-DOOR", "D06", 900, "Closer"],
    ["DOOR", 6, 9, "A-DOOR", "D07", 1000, ""],
    ["WINDOW", 12.5, 0, "A-GLAZ", "W05", 1800, None],
    ["WINDOW", 15, 0, "A-GLAZ", "W06", 1800, None],
]
ATTRIBUTES = [
    ["X", "Y", "Z", "Height", "Layer", "Style", "Tag", "Prompt"],
    [0, -0.3, 0, 0.1, "0", "Standard", "SUPPLIER", "Supplier"],
    [0, -0.5, 0, 0.1, "0", "Standard", "COST", "Cost"],
]


def write(name, title, rows):
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = title
    for row in rows:
        sheet.append(row)
    # A fixed time keeps the file the same on every run.
    book.properties.created = book.properties.modified = datetime.datetime(2026, 1, 1)
    book.save(Path(__file__).with_name(name))


def main():
    write("rows.xlsx", "New openings", ROWS)
    write("attributes.xlsx", "New attributes", ATTRIBUTES)


if __name__ == "__main__":
    main()
