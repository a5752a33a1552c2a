#!/usr/bin/python3
"""Writes rows.xlsx, the sample sheet for "insert blocks": new doors and windows for floor.dxf,
each row a block with its position, layer and attribute values under a header row. openpyxl
(Debian's python3-openpyxl) writes it; the output is the same each time.

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


def main():
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "New openings"
    for row in ROWS:
        sheet.append(row)
    # A fixed time keeps the file the same on every run.
    book.properties.created = book.properties.modified = datetime.datetime(2026, 1, 1)
    book.save(Path(__file__).with_name("rows.xlsx"))


if __name__ == "__main__":
    main()
