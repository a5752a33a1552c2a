#!/usr/bin/python3
"""Exports drawings to native tables with velmar and reads the tables back with ezdxf: cells,
the anonymous block that draws them, the audit; then refreshes a table after ezdxf changed the
drawing."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import ezdxf

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
CORPUS = SOURCE / "tests/corpus/dxf"
DRAWINGS = [SOURCE / "examples/floor.dxf", CORPUS / "curtainwall-details-mleader-dynblocks-ac1027.dxf",
            CORPUS / "text-attribs-dynblock-ac1032.dxf"]
TITLE = "Schedule of blocks"
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(work, drawing, *words):
    args = [str(TOOL), "--settings", str(work / "settings.ini"), "--answers", str(work / "answers.txt"),
            "--drawing", str(drawing), "--json", *words]
    return subprocess.run(args, capture_output=True, text=True, timeout=300)


def json_lines(text):
    return [json.loads(line) for line in text.splitlines() if line.strip().startswith("{")]


def preview(work, drawing):
    result = velmar(work, drawing, "export", "--preview")
    if result.returncode != 0:
        fail(f"{drawing.name}: the preview failed: {result.stderr}")
        return []
    table = next(o for o in json_lines(result.stdout) if "rows" in o)
    return table["rows"]


def table_data(entity):
    """The grid of an ACAD_TABLE from the tags ezdxf keeps of it: widths, heights, cell texts and
    merge flags, and the name of its block."""
    tags = [(t.code, t.value) for t in entity.xtags.get_subclass("AcDbTable")]
    block = next(v for c, v in entity.xtags.get_subclass("AcDbBlockReference") if c == 2)
    rows = next(v for c, v in tags if c == 91)
    columns = next(v for c, v in tags if c == 92)
    first = next(i for i, (c, _) in enumerate(tags) if c == 171)
    heights = [v for c, v in tags[:first] if c == 141]
    widths = [v for c, v in tags[:first] if c == 142]
    cells, merged = [], []
    for code, value in tags[first:]:
        if code == 171:
            cells.append("")
            merged.append(False)
        elif code == 173:
            merged[-1] = value != 0
        elif code == 302:
            cells[-1] = value
    grid = [cells[r * columns:(r + 1) * columns] for r in range(rows)]
    hidden = [merged[r * columns:(r + 1) * columns] for r in range(rows)]
    return block, widths, heights, grid, hidden


def check_block(doc, name, block, widths, heights, grid, hidden):
    texts = [e for e in doc.blocks.get(block) if e.dxftype() == "MTEXT"]
    lines = [e for e in doc.blocks.get(block) if e.dxftype() == "LINE"]
    if not lines:
        fail(f"{name}: the block {block} draws no line")
    shown = 0
    for r, row in enumerate(grid):
        for c, text in enumerate(row):
            if not text or hidden[r][c]:
                continue
            shown += 1
            span = len(widths) if r == 0 and all(hidden[0][1:]) and len(widths) > 1 else 1
            x0, y0 = sum(widths[:c]), -sum(heights[:r])
            x1, y1 = x0 + sum(widths[c:c + span]), y0 - heights[r]
            inside = [t for t in texts if x0 < t.dxf.insert.x < x1 and y1 < t.dxf.insert.y < y0]
            if len(inside) != 1 or inside[0].plain_text() != text:
                fail(f"{name}: cell {r},{c} {text!r} is drawn as {[t.plain_text() for t in inside]}")
    if len(texts) != shown:
        fail(f"{name}: the block holds {len(texts)} texts for {shown} non-empty cells")


def audit_errors(path):
    doc = ezdxf.readfile(str(path))
    return doc, sorted({(e.code, e.message.split(" ")[0]) for e in doc.audit().errors})


def export(work, source, insertion="10,20"):
    drawing = work / source.name
    shutil.copy(source, drawing)
    expected = preview(work, drawing)
    result = velmar(work, drawing, "export", "--to-table", "--insertion-point", insertion)
    if result.returncode != 0:
        fail(f"{source.name}: export --to-table failed: {result.stderr}")
        return None, None
    summary = json_lines(result.stdout)[-1]
    return drawing, (summary.get("table"), expected)


def check_table(drawing, handle, expected, title=True):
    name = drawing.name
    doc = ezdxf.readfile(str(drawing))
    table = doc.entitydb.get(handle)
    if table is None or table.dxftype() != "ACAD_TABLE":
        fail(f"{name}: {handle} is no table")
        return None
    block, widths, heights, grid, hidden = table_data(table)
    want = ([[TITLE] + [""] * (len(expected[0]) - 1)] if title else []) + expected
    if grid != want:
        fail(f"{name}: the table reads {grid}, not {want}")
    check_block(doc, name, block, widths, heights, grid, hidden)
    return doc


def main():
    with tempfile.TemporaryDirectory() as folder:
        work = Path(folder)
        (work / "answers.txt").write_text(f"Enter the title of the table: = {TITLE}\n")
        for source in DRAWINGS:
            _, before = audit_errors(source)
            drawing, made = export(work, source)
            if not drawing:
                continue
            handle, expected = made
            doc = check_table(drawing, handle, expected)
            if doc is None:
                continue
            reference = doc.entitydb.get(handle).xtags.get_subclass("AcDbBlockReference")
            # ezdxf joins a point's coordinates into one tag.
            x, y = next(v for c, v in reference if c == 10)[:2]
            if (x, y) != (10, 20):
                fail(f"{source.name}: the table stands at {x},{y}, not at 10,20")
            _, after = audit_errors(drawing)
            if [e for e in after if e not in before]:
                fail(f"{source.name}: the audit finds {after}, before the export {before}")

        # The drawing changes under the table: a value edited, a reference added; the refresh
        # refills the table with the schedule as it is now.
        source = SOURCE / "examples/floor.dxf"
        drawing, made = export(work, source)
        if drawing:
            handle, _ = made
            doc = ezdxf.readfile(str(drawing))
            insert = next(e for e in doc.modelspace().query("INSERT") if len(e.attribs))
            insert.attribs[0].dxf.text = "EDITED"
            copy = doc.modelspace().add_blockref(insert.dxf.name, (500, 500))
            for attrib in insert.attribs:
                copy.add_attrib(attrib.dxf.tag, "ADDED-" + attrib.dxf.text, (500, 500))
            doc.saveas(str(drawing))
            expected = preview(work, drawing)
            result = velmar(work, drawing, "refresh-table")
            if result.returncode != 0:
                fail(f"refresh-table failed: {result.stdout} {result.stderr}")
            elif "Update the table successfully." not in result.stderr + result.stdout:
                fail(f"refresh-table didn't say so: {result.stdout} {result.stderr}")
            doc = check_table(drawing, handle, expected)
            if doc is not None and not any("EDITED" in row for row in expected):
                fail("the edited value isn't in the new schedule")
            if doc is not None and not any(any(t.startswith("ADDED-") for t in row) for row in expected):
                fail("the added reference isn't in the new schedule")

    if failures:
        print(f"{len(failures)} failures")
        return 1
    print("all tables read back")
    return 0


if __name__ == "__main__":
    sys.exit(main())
