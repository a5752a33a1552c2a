#!/usr/bin/python3
"""Writes attributes.xlsx, the sample sheet for "add attributes": two new attribute definitions
for the blocks of floor.dxf, one a row (position, text height, layer, text style, tag, prompt)
under a header row. openpyxl (Debian's python3-openpyxl) writes it; the output is the same each
time.

    /usr/bin/python3 examples/make_attributes.py
"""
import datetime
from pathlib import Path

import openpyxl

ROWS = [
    ["X", "Y", "Z", "Height", "Layer", "Style", "Tag", "Prompt"],
    [0, -0.3, 0, 0.1, "0", "Standard", "SUPPLIER", "Supplier"],
    [0, -0.5, 0, 0.1, "0", "Standard", "COST", "Cost"],
]


def main():
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "New attributes"
    for row in ROWS:
        sheet.append(row)
    # A fixed time keeps the file the same on every run.
    book.properties.created = book.properties.modified = datetime.datetime(2026, 1, 1)
    book.save(Path(__file__).with_name("attributes.xlsx"))


if __name__ == "__main__":
    main()
