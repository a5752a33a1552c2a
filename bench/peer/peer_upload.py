#!/usr/bin/python3
"""Peer of the upload: the drawing's current values written back into the schedule it was
exported to.

    /usr/bin/python3 peer_upload.py drawing.dxf book.xlsx [--remove-deleted-rows yes|no] [--timing]

ezdxf reads the drawing; openpyxl reads the workbook in its normal mode (its read-only mode
drops comments). Every cell comment of every sheet is cut into its key lines:
"PATH<HANDLE_TAG>", "PATH<HANDLE_TAG(ATTRIBHANDLE)>" for a later attribute of one tag, and
"PATH<HANDLE:PosX>" (PosY, PosZ, Layer) for a property; a key of another drawing file name is
passed over. Each cell's text is compared with the reference's value now: attribute text
exactly (trimmed, as an export writes it), distances numerically within 1e-6, layer names
exactly. Differing cells get the drawing's value (a plain number as a number, as the export
stores it) and the workbook is saved in place when anything changed. References no longer in
the drawing are counted; with --remove-deleted-rows yes their rows of the active sheet are
deleted in the order found. What a plain ezdxf + openpyxl script does, for the side-by-side
timing. Number formats are not applied to cells: the text of a number is Python's.
"""
import argparse
import re
import sys
import time

import ezdxf
import openpyxl

KEY = re.compile(r"^(?P<path>.*)<(?P<handle>[0-9A-Fa-f]+)(?:_(?P<tag>.+?)(?:\((?P<att>[0-9A-Fa-f]+)\))?"
                 r"|:(?P<prop>[A-Za-z.]+))>$")
DISTANCES = {"PosX": 0, "PosY": 1, "PosZ": 2}
# A text a spreadsheet keeps as a number: General shows it back as the very same text.
PLAIN_NUMBER = re.compile(r"^-?(0|[1-9][0-9]{0,14})(\.[0-9]*[1-9])?$")


def file_name(path):
    return re.split(r"[\\/]", path)[-1].casefold()


def cell_text(value):
    if value is None:
        return ""
    if isinstance(value, bool):
        return "TRUE" if value else "FALSE"
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


def cell_value(text):
    if PLAIN_NUMBER.match(text) and len(text.replace("-", "").replace(".", "")) <= 15:
        number = float(text)
        return int(number) if number.is_integer() else number
    return text


class Drawing:
    """The drawing's references by handle, with the texts an export shows for them."""

    def __init__(self, path):
        self.doc = ezdxf.readfile(path)
        header = self.doc.header
        self.precision = header.get("$LUPREC", 4)
        self.zeros = header.get("$DIMZIN", 8)
        self.db = self.doc.entitydb
        self.constants = {}

    def reference(self, handle):
        entity = self.db.get(handle.upper())
        if entity is None or not entity.is_alive or entity.dxftype() != "INSERT":
            return None
        return entity

    def distance(self, value):
        if value == 0.0:
            return "0"
        text = "%.*f" % (self.precision, value)
        if self.zeros & 8 and "." in text:
            text = text.rstrip("0").rstrip(".")
        if float(text) == 0.0:
            text = text.lstrip("-")
        return text

    def attribute(self, insert, tag, att):
        for attrib in insert.attribs:
            if attrib.dxf.tag == tag and (att is None or attrib.dxf.handle.upper() == att.upper()):
                return attrib.dxf.text.strip()
        # A constant attribute lives in the block definition only.
        name = insert.dxf.name
        if name not in self.constants:
            block = self.doc.blocks.get(name)
            self.constants[name] = {a.dxf.tag: a.dxf.text.strip() for a in block.query("ATTDEF")
                                    if a.is_const} if block else {}
        return self.constants[name].get(tag)

    def value(self, insert, match):
        """The text the cell of key `match` should show, or None when there is none."""
        prop = match["prop"]
        if prop is None:
            return self.attribute(insert, match["tag"], match["att"])
        if prop in DISTANCES:
            return self.distance(insert.ocs().to_wcs(insert.dxf.insert)[DISTANCES[prop]])
        if prop == "Layer":
            return insert.dxf.layer
        return None


def same(prop, cell, current):
    if cell == current:
        return True
    if prop in DISTANCES:
        try:
            return abs(float(cell) - float(current)) <= 1e-6
        except ValueError:
            return False
    return False


def upload(drawing, book, drawing_path):
    """Writes the differing cells; gives (changes, rows of deleted references on the active sheet)."""
    name = file_name(drawing_path)
    changes, deleted = [], []
    active = book.active
    for sheet in book.worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                comment = cell.comment
                if comment is None:
                    continue
                for line in comment.text.splitlines():
                    match = KEY.match(line.strip())
                    if match is None or file_name(match["path"]) != name:
                        continue
                    insert = drawing.reference(match["handle"])
                    if insert is None:
                        if sheet is active and cell.row not in deleted:
                            deleted.append(cell.row)
                        continue
                    current = drawing.value(insert, match)
                    if current is None:
                        continue
                    old = cell_text(cell.value)
                    if not same(match["prop"], old, current):
                        cell.value = cell_value(current)
                        changes.append((sheet.title, cell.coordinate, old, current))
                    break
    return changes, deleted


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("drawing")
    parser.add_argument("workbook")
    parser.add_argument("--remove-deleted-rows", choices=["yes", "no"], default="no")
    parser.add_argument("--timing", action="store_true")
    args = parser.parse_args(argv)

    t0 = time.perf_counter()
    drawing = Drawing(args.drawing)
    t1 = time.perf_counter()
    book = openpyxl.load_workbook(args.workbook)
    t2 = time.perf_counter()
    changes, deleted = upload(drawing, book, args.drawing)
    removed = 0
    if args.remove_deleted_rows == "yes":
        # In the order found, each number naming the row as it stands then.
        for row in deleted:
            book.active.delete_rows(row)
            removed += 1
    t3 = time.perf_counter()
    if changes or removed:
        book.save(args.workbook)
    t4 = time.perf_counter()
    print("%d cells changed, %d rows of deleted references, %d removed" % (len(changes), len(deleted), removed))
    if args.timing:
        print(f"timing dxf_read={t1 - t0:.3f} xlsx_read={t2 - t1:.3f} compare={t3 - t2:.3f} "
              f"xlsx_write={t4 - t3:.3f} total={t4 - t0:.3f}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
