#!/usr/bin/python3
"""Peer of the import by key attribute: one worksheet's rows written into many drawings.

    /usr/bin/python3 peer_import_by_key.py book.xlsx KEY_TAG drawings.lst

The worksheet's first row holds attribute tags; the column under KEY_TAG holds the key. For each
drawing of the list (one path a line), every block reference whose KEY_TAG attribute matches a
row's key (without regard to case) takes the row's other values into its attributes of those
tags, when they differ; the drawing is saved in place. What a plain ezdxf + openpyxl script
does, for the side-by-side timing.
"""
import sys

import ezdxf
import openpyxl


def cell_text(value):
    if value is None:
        return ""
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


def read_rows(xlsx, key_tag):
    sheet = openpyxl.load_workbook(xlsx, read_only=True).active
    rows = sheet.iter_rows(values_only=True)
    header = [cell_text(v) for v in next(rows)]
    key_column = [h.upper() for h in header].index(key_tag.upper())
    by_key = {}
    for row in rows:
        cells = [cell_text(v) for v in row]
        key = cells[key_column] if key_column < len(cells) else ""
        if key and key.upper() not in by_key:
            by_key[key.upper()] = {header[i]: cells[i] for i in range(len(cells)) if i != key_column}
    return by_key


def update(path, key_tag, by_key):
    doc = ezdxf.readfile(path)
    changed = 0
    for insert in doc.modelspace().query("INSERT"):
        key = insert.get_attrib_text(key_tag, default="")
        values = by_key.get(key.upper()) if key else None
        if values is None:
            continue
        for attrib in insert.attribs:
            tag = attrib.dxf.tag
            if tag != key_tag and tag in values and attrib.dxf.text != values[tag]:
                attrib.dxf.text = values[tag]
                changed += 1
    doc.saveas(path)
    return changed


def main():
    xlsx, key_tag, listing = sys.argv[1:4]
    by_key = read_rows(xlsx, key_tag)
    with open(listing, encoding="utf-8") as lst:
        drawings = [line.strip() for line in lst if line.strip()]
    total = sum(update(path, key_tag, by_key) for path in drawings)
    print(total)


if __name__ == "__main__":
    main()
