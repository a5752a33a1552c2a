#!/usr/bin/python3
"""Writes a worksheet of N rows for "insert blocks": each row names a block of DRAWING (its
equipment blocks in turn), a position, a layer and a value for every tag of that block, under a
header row of "Block", "Position X", "Position Y", "Layer" and the union of the tags.

    make_rows.py DRAWING N OUT.xlsx
"""
import sys

import ezdxf
import openpyxl


def main():
    drawing, count, out = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    doc = ezdxf.readfile(drawing)
    blocks = []
    for block in doc.blocks:
        if block.name.startswith("*") or block.block_record.is_any_layout or block.name == "TITLE_BLOCK":
            continue
        tags = [d.dxf.tag for d in block.query("ATTDEF") if not d.is_const]
        if tags:
            blocks.append((block.name, tags))
    header = ["Block", "Position X", "Position Y", "Layer"]
    for _, tags in blocks:
        header += [t for t in tags if t not in header]
    column = {name: i for i, name in enumerate(header)}
    layers = [layer.dxf.name for layer in doc.layers][:6]
    book = openpyxl.Workbook(write_only=True)
    sheet = book.create_sheet("Rows")
    sheet.append(header)
    for n in range(count):
        name, tags = blocks[n % len(blocks)]
        row = [None] * len(header)
        row[0] = name
        row[1] = float(n % 300) * 2.5
        row[2] = float(n // 300) * 2.5
        row[3] = layers[n % len(layers)]
        for tag in tags:
            row[column[tag]] = "%s-%d" % (tag, n)
        sheet.append(row)
    book.save(out)


if __name__ == "__main__":
    main()
