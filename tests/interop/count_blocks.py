#!/usr/bin/python3
"""Block counts end to end. The sample drawing is the current one and three corpus drawings
stand in the list; openpyxl writes a workbook whose cell comments hold count formulas made from
what ezdxf finds in those drawings. "Update Results in Active Workbook" must give every cell the
count ezdxf gives: references as the reader sees them (a nested reference once per way up to a
layout, hidden ones left out), and attribute values by tag, value and layer. "Insert Function"
must leave the formula as the comment and its count as the value. Then ezdxf adds references to
a listed drawing, and a recount updates the cell."""
import os
import shutil
import sys
import tempfile
from collections import Counter, defaultdict
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import CORPUS, SAMPLE, TOOL, fail, finish, velmar  # noqa: E402

import ezdxf  # noqa: E402
import openpyxl  # noqa: E402
from openpyxl.comments import Comment  # noqa: E402

LISTED = ["arch-plan-attribs-ac1018.dxf", "bricscad-xclip-inserts-ac1027.dxf", "entities-attribs-ac1006.dxf"]


def references(path):
    """Every reference the reader makes a row of: (block name, layer, [(tag, value)], ways up)."""
    doc = ezdxf.readfile(path)
    holders = defaultdict(list)  # block name (folded) -> names of the block records inserting it
    for record in doc.blocks:
        for ref in record.query("INSERT"):
            holders[ref.dxf.name.lower()].append(record)
    memo = {}

    def ways_up(record):
        if record.is_any_layout:
            return 1
        key = record.name.lower()
        if key not in memo:
            memo[key] = 0
            memo[key] = sum(ways_up(holder) for holder in holders[key])
        return memo[key]

    found = []
    for record in doc.blocks:
        for ref in record.query("INSERT"):
            name = ref.dxf.name
            if name.startswith("*") or "|" in name or ref.dxf.get("invisible", 0):
                continue
            block = doc.blocks.get(name)
            if block is None or block.block.is_xref or block.block.is_xref_overlay:
                continue
            ways = ways_up(record)
            if ways:
                found.append((name, ref.dxf.layer, [(a.dxf.tag, a.dxf.text) for a in ref.attribs], ways))
    return found


def count(refs, name, layer, tag, value):
    total = 0
    for block, ref_layer, attribs, ways in refs:
        if block.lower() != name.lower():
            continue
        if not tag:
            total += ways
        elif layer in ("", "*All*") or layer.lower() == ref_layer.lower():
            total += ways * sum(1 for t, v in attribs if t == tag and v == value)
    return total


def plain(text):
    return text and "," not in text and text == text.strip() and "\n" not in text


def formulas(refs):
    """A few BlockCount and AttCount formulas of what a drawing holds."""
    names = Counter(name for name, _, _, _ in refs)
    made = []
    for name, _ in names.most_common(3):
        if plain(name):
            made.append(("BlockCount(%s,)" % name, (name, "", "", "")))
    pairs = Counter((name, layer, t, v) for name, layer, attribs, _ in refs for t, v in attribs
                    if plain(name) and plain(t) and plain(v) and plain(layer))
    for (name, layer, tag, value), _ in pairs.most_common(2):
        made.append(("AttCount(%s,%s,%s,%s)" % (name, layer, tag, value), (name, layer, tag, value)))
        made.append(("AttCount(%s,*All*,%s,%s)" % (name, tag, value), (name, "*All*", tag, value)))
    return made


def main():
    if not TOOL.exists():
        print("velmar not built:", TOOL)
        return 1
    work = Path(tempfile.mkdtemp(prefix="velmar-count-"))
    try:
        current = work / "floor.dxf"
        shutil.copy(SAMPLE, current)
        listed = []
        for name in LISTED:
            shutil.copy(CORPUS / name, work / name)
            listed.append(work / name)
        refs_by_drawing = {p: references(p) for p in [current, *listed]}
        every_ref = [r for refs in refs_by_drawing.values() for r in refs]

        book = work / "counts.xlsx"
        wb = openpyxl.Workbook()
        ws = wb.active
        ws.title = "Counts"
        cells = {}
        row = 1
        for path, refs in refs_by_drawing.items():
            for text, args in formulas(refs):
                if text in cells.values():
                    continue
                ws.cell(row=row, column=1, value=text)
                ws.cell(row=row, column=2, value="?").comment = Comment(text, "test")
                cells["B%d" % row] = text
                row += 1
        ws.cell(row=row, column=2, value="no formula").comment = Comment("a plain note", "test")
        cells["B%d" % row] = "a plain note"
        wb.save(book)

        add = [a for p in listed for a in ("--add", p)]
        velmar(work, "--drawing", current, "--workbook", book, "count-blocks", "--include-current-drawing", "on",
               *add, "--update-results")
        result = openpyxl.load_workbook(book)["Counts"]
        checked = 0
        for address, text in cells.items():
            if text.startswith("BlockCount(") or text.startswith("AttCount("):
                inner = text[text.index("(") + 1:-1].split(",")
                inner += [""] * (4 - len(inner))
                want = count(every_ref, inner[0], inner[1], inner[2] if text.startswith("AttCount(") else "",
                             inner[3])
            else:
                want = 0
            got = result[address].value
            if got != want:
                fail("%s %s: velmar counted %r, ezdxf %r" % (address, text, got, want))
            checked += 1
            print("%s %s = %r" % (address, text, got))
        if checked < 10:
            fail("only %d formulas were checked" % checked)

        # Insert Function: the formula of the combo boxes as the active cell's comment.
        velmar(work, "--drawing", current, "--workbook", book, "--active-cell", "D2", "count-blocks", *add,
               "--block-name", "DOOR", "--insert-function")
        result = openpyxl.load_workbook(book)["Counts"]
        want = count(every_ref, "DOOR", "", "", "")
        if result["D2"].value != want or not result["D2"].comment or result["D2"].comment.text != "BlockCount(DOOR,)":
            fail("Insert Function: D2 holds %r with comment %r, expected %d and BlockCount(DOOR,)"
                 % (result["D2"].value, result["D2"].comment and result["D2"].comment.text, want))

        # ezdxf adds three DOOR references to a listed drawing; a recount updates the cell.
        side = work / LISTED[1]
        doc = ezdxf.readfile(side)
        if "DOOR" not in doc.blocks:
            block = doc.blocks.new("DOOR")
            block.add_line((0, 0), (1, 0))
        for i in range(3):
            doc.modelspace().add_blockref("DOOR", (i * 10, 50))
        doc.saveas(side)
        velmar(work, "--drawing", current, "--workbook", book, "count-blocks", *add, "--update-results")
        result = openpyxl.load_workbook(book)["Counts"]
        if result["D2"].value != want + 3:
            fail("recount: D2 holds %r, expected %d" % (result["D2"].value, want + 3))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return finish("block counts agree with ezdxf")


if __name__ == "__main__":
    sys.exit(main())
