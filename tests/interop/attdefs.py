#!/usr/bin/python3
"""Attribute definitions out and back. export-attdefs writes the loose definitions of a drawing
(made by ezdxf) and of a listed one to a new workbook; openpyxl reads each cell and its comment
against what ezdxf reads, edits a prompt and empties a default value; import-attdefs brings the
edit back, and ezdxf sees the new prompt, the old default value, and every other byte of the
drawing's definitions as before."""
import os
import shutil
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import DATA, TOOL, fail, finish, velmar  # noqa: E402

import ezdxf  # noqa: E402
import openpyxl  # noqa: E402


def loose(path):
    doc = ezdxf.readfile(path)
    return [(d.dxf.handle, d.dxf.tag, d.dxf.prompt, d.dxf.text) for layout in doc.layouts for d in layout.query("ATTDEF")]


def main():
    if not TOOL.exists():
        print("velmar not built:", TOOL)
        return 1
    # The shared comment reader needs an underscore in the drawing's path.
    work = Path(tempfile.mkdtemp(prefix="velmar_attdefs_"))
    try:
        plan = work / "plan_a.dxf"
        other = work / "plan_b.dxf"
        shutil.copy(DATA / "attdefs.dxf", plan)
        doc = ezdxf.readfile(DATA / "attdefs.dxf")
        doc.modelspace().add_attdef("EXTRA", (5, 5), "e", dxfattribs={"prompt": "Extra"})
        doc.saveas(other)
        book = work / "defs.xlsx"
        velmar(work, "--drawing", plan, "--output", book, "export-attdefs", "--data-source", "select", "--add", plan,
               "--add", other)
        ws = openpyxl.load_workbook(book).active
        want = [(str(p), h, t, pr, v) for p in (plan, other) for h, t, pr, v in loose(p)]
        if [c.value for c in ws[1]] != ["Drawing", "Tag", "Prompt", "Default Value"]:
            fail("header row %s" % [c.value for c in ws[1]])
        for row, (drawing, handle, tag, prompt, value) in enumerate(want, start=2):
            cells = ws[row]
            # A number text goes in as a number, as the spreadsheet keeps it.
            got = ["" if c.value is None else str(c.value) for c in cells[:4]]
            if got != [drawing, tag, prompt, value]:
                fail("row %d: %s, expected %s" % (row, got, [drawing, tag, prompt, value]))
            for cell, field in zip(cells[1:4], ("Tag", "Prompt", "DefaultValue")):
                text = cell.comment.text if cell.comment else None
                if text != "%s<%s.%s>" % (drawing, handle, field):
                    fail("%s%d comment %r" % (cell.column_letter, row, text))
            if cells[0].comment:
                fail("row %d: the drawing cell has a comment" % row)
        if ws.max_row != len(want) + 1:
            fail("%d rows for %d definitions" % (ws.max_row - 1, len(want)))

        before = plan.read_bytes()
        ws["C2"] = "Room number (edited)"
        ws["D3"] = None
        ws.parent.save(book)
        velmar(work, "--drawing", plan, "--workbook", book, "--yes", "import-attdefs")
        after = loose(plan)
        first = loose(DATA / "attdefs.dxf")
        expected = [(h, t, "Room number (edited)" if i == 0 else pr, v) for i, (h, t, pr, v) in enumerate(first)]
        if after != expected:
            fail("after the import: %s, expected %s" % (after, expected))
        if loose(other) != [(h, t, pr, v) for _, h, t, pr, v in want if _ == str(other)]:
            fail("the other drawing changed: %s" % loose(other))
        if plan.read_bytes() == before:
            fail("the drawing was not written")
        audit = ezdxf.readfile(plan).audit()
        if audit.has_errors:
            fail("audit: %s" % [str(e) for e in audit.errors])
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return finish("attribute definitions went out and came back")


if __name__ == "__main__":
    sys.exit(main())
