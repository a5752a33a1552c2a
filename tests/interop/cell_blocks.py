#!/usr/bin/python3
"""Cell blocks end to end on a corpus workbook with merges, wrapped texts and hidden columns.
create-cell-block makes a block of a range of it in the sample drawing: ezdxf must read the
block's lines at the cells' edges (row heights as LibreOffice gives them through UNO; column
widths as the spreadsheet's rule gives them from the file in digits of the default font that
LibreOffice measures, rounded to whole pixels, and in LibreOffice's proportions),
each attribute definition inside its cell's merge area, the source record on the block, and
an audit with nothing the drawing didn't have. A value edited in the drawing with ezdxf goes back
to its cell (openpyxl sees it, every other cell and every other part of the package as it was);
a value edited in the sheet with openpyxl comes into the block's reference."""
import math
import os
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import SAMPLE, TOOL, fail, finish, run, velmar  # noqa: E402

import ezdxf  # noqa: E402
import openpyxl  # noqa: E402

BOOK = Path("/work/shared/corpus/xlsx/excel2013-notes-26-merges-validation-names.xlsx")
SHEET = "W PS Mustermann Hans"
FIRST_ROW, LAST_ROW, FIRST_COL, LAST_COL = 4, 11, 1, 11
RANGE = "A4:K11"
CELL_FACTOR = 1.5384615384615383  # drawing units per point at 1 unit = 1 font point


def libreoffice_geometry(book, work):
    """Column widths and row heights of the range in points, as LibreOffice lays the sheet out
    (hidden ones 0); None when UNO isn't there."""
    try:
        import uno  # noqa: F401
        from com.sun.star.beans import PropertyValue
    except ImportError:
        return None
    pipe = "velmarcells%d" % os.getpid()
    office = subprocess.Popen(["soffice", "--headless", "--invisible", "--norestore", "--nologo",
                               "-env:UserInstallation=file://%s/lo" % work, "--accept=pipe,name=%s;urp;" % pipe],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        local = uno.getComponentContext()
        resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
        context = None
        for _ in range(240):
            try:
                context = resolver.resolve("uno:pipe,name=%s;urp;StarOffice.ComponentContext" % pipe)
                break
            except Exception:
                time.sleep(0.5)
        if context is None:
            fail("LibreOffice didn't answer through UNO")
            return None
        desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)
        hidden = PropertyValue()
        hidden.Name, hidden.Value = "Hidden", True
        doc = desktop.loadComponentFromURL(uno.systemPathToFileUrl(str(book)), "_blank", 0, (hidden,))
        sheet = doc.Sheets.getByName(SHEET)
        points = lambda hundredths: hundredths * 72 / 2540  # noqa: E731
        columns = []
        for c in range(FIRST_COL - 1, LAST_COL):
            column = sheet.Columns.getByIndex(c)
            columns.append(points(column.Width) if column.IsVisible else 0)
        rows = []
        for r in range(FIRST_ROW - 1, LAST_ROW):
            row = sheet.Rows.getByIndex(r)
            rows.append(points(row.Height) if row.IsVisible else 0)
        doc.close(True)
        try:
            desktop.terminate()
        except Exception:
            pass
        return columns, rows
    finally:
        try:
            office.wait(timeout=60)
        except subprocess.TimeoutExpired:
            office.kill()


def stored_widths(book):
    """The file's column widths in characters (with their padding); None for hidden columns."""
    ws = openpyxl.load_workbook(book)[SHEET]
    widths = []
    for c in range(FIRST_COL, LAST_COL + 1):
        dim = None
        for d in ws.column_dimensions.values():
            if d.min and d.max and d.min <= c <= d.max:
                dim = d
        if dim is not None and dim.hidden:
            widths.append(None)
            continue
        widths.append(dim.width if dim is not None and dim.width else ws.sheet_format.defaultColWidth)
    return widths


def libreoffice_digit(book, lo_columns):
    """The default font's digit in pixels as LibreOffice measures it (unrounded): its column
    widths over the file's widths in characters."""
    digits = [lo / 0.75 / chars for lo, chars in zip(lo_columns, stored_widths(book)) if chars and lo > 0]
    if not digits:
        fail("LibreOffice shows none of the range's columns")
        return 7.0
    if max(digits) / min(digits) > 1.005:
        fail("LibreOffice's columns count digits of different widths: %s" % digits)
    return sum(digits) / len(digits)


def spreadsheet_widths(book, digit):
    """Column widths in points by the spreadsheet's rule: whole pixels of the file's width in
    characters of a `digit`-pixel digit, at 96 dpi; hidden columns 0."""
    widths = []
    for chars in stored_widths(book):
        if chars is None:
            widths.append(0)
            continue
        pixels = math.trunc(((256 * chars + math.trunc(128 / digit)) / 256) * digit)
        widths.append(pixels * 0.75)
    return widths


def edges(values):
    """Running sums from 0: the grid lines of widths or heights."""
    out = [0.0]
    for v in values:
        out.append(out[-1] + v)
    return out


def near(a, b, tolerance):
    return abs(a - b) <= tolerance


def check_block(doc, name, columns, rows, lo_columns):
    block = doc.blocks.get(name)
    if block is None:
        fail("no block %s" % name)
        return
    xs = edges(columns)
    ys = edges(rows)
    lines = list(block.query("LINE"))
    if not lines:
        fail("the block has no lines")
    for line in lines:
        s, e = line.dxf.start, line.dxf.end
        if near(s.x, e.x, 1e-9):
            if not any(near(s.x / CELL_FACTOR, x, 0.01) for x in xs):
                fail("vertical line at %.3f points is at no column edge %s" % (s.x / CELL_FACTOR, xs))
        elif near(s.y, e.y, 1e-9):
            if not any(near(-s.y / CELL_FACTOR, y, 0.1) for y in ys):
                fail("horizontal line at %.3f points is at no row edge %s" % (-s.y / CELL_FACTOR, ys))
        else:
            fail("a diagonal line in the block")
    right = max(max(line.dxf.start.x, line.dxf.end.x) for line in lines) / CELL_FACTOR
    bottom = -min(min(line.dxf.start.y, line.dxf.end.y) for line in lines) / CELL_FACTOR
    if not near(right, xs[-1], 0.01) or not near(bottom, ys[-1], 0.1):
        fail("the grid ends at %.2f x %.2f points, the range at %.2f x %.2f" % (right, bottom, xs[-1], ys[-1]))
    # LibreOffice counts the file's character widths in digits of the same substituted font,
    # but unrounded (7.42 pixels for Arial 10 where the grid counts 7): the columns stand in
    # the same proportions to within the rounding of each to whole pixels.
    if lo_columns:
        ratios = [lo / ours for lo, ours in zip(lo_columns, columns) if ours > 0 and lo > 0]
        if ratios and max(ratios) / min(ratios) > 1.01:
            fail("column widths are not in LibreOffice's proportions: %s" % ratios)
    ws = openpyxl.load_workbook(BOOK)[SHEET]
    merges = {str(m): m for m in ws.merged_cells.ranges}
    tags = {}
    for attdef in block.query("ATTDEF"):
        tag = attdef.dxf.tag
        tags[tag] = attdef.dxf.text
        column_letters, row = tag.strip("$").split("$")
        cell = ws[column_letters + row]
        area = next((m for m in merges.values() if cell.coordinate in m), None)
        r0, c0, r1, c1 = (area.min_row, area.min_col, area.max_row, area.max_col) if area else \
            (cell.row, cell.column, cell.row, cell.column)
        left, right = xs[c0 - FIRST_COL], xs[c1 - FIRST_COL + 1]
        top, bottom = ys[r0 - FIRST_ROW], ys[r1 - FIRST_ROW + 1]
        p = attdef.dxf.align_point
        x, y = p.x / CELL_FACTOR, -p.y / CELL_FACTOR
        if not (left - 0.01 <= x <= right + 0.01 and top - 0.1 <= y <= bottom + 0.1):
            fail("%s is placed at %.2f, %.2f points, outside its cell %.2f..%.2f, %.2f..%.2f" %
                 (tag, x, y, left, right, top, bottom))
        if attdef.dxf.prompt != tag:
            fail("%s has the prompt %r" % (tag, attdef.dxf.prompt))
        expected = " ".join(line.strip() for line in str(cell.value).splitlines() if line.strip())
        if attdef.dxf.text != expected:
            fail("%s holds %r, the cell %r" % (tag, attdef.dxf.text, cell.value))
    filled = [ws.cell(r, c) for r in range(FIRST_ROW, LAST_ROW + 1) for c in range(FIRST_COL, LAST_COL + 1)
              if ws.cell(r, c).value not in (None, "") and str(ws.cell(r, c).value).strip()
              and columns[c - FIRST_COL] > 0]
    for cell in filled:
        tag = "$%s$%d" % (cell.column_letter, cell.row)
        if tag not in tags:
            fail("the cell %s with %r has no attribute definition" % (tag, cell.value))
    record = block.block_record.get_xdata("AutoCellBlock") if block.block_record.has_xdata("AutoCellBlock") else []
    return tags, [t.value for t in record]


def cells_of(path):
    wb = openpyxl.load_workbook(path)
    return {(ws.title, c.coordinate): c.value for ws in wb.worksheets for row in ws.iter_rows() for c in row
            if c.value is not None}


def parts_of(path):
    with zipfile.ZipFile(path) as z:
        return {name: z.read(name) for name in z.namelist()}


def main():
    if not TOOL.exists():
        print("velmar not built:", TOOL)
        return 1
    work = Path(tempfile.mkdtemp(prefix="velmar-cellblocks-"))
    try:
        drawing = work / "floor.dxf"
        book = work / "book.xlsx"
        shutil.copy(SAMPLE, drawing)
        shutil.copy(BOOK, book)
        os.chmod(book, 0o644)
        audit_before = sorted(str(e.code) for e in ezdxf.readfile(drawing).audit().errors)
        out = velmar(work, "--drawing", drawing, "--workbook", book, "--sheet", SHEET, "--selection", RANGE,
                     "--json", "cell-block", "create", "--block-name", "CLIENT", "--insertion-point", "100,50")
        if "\"status\": \"ok\"" not in out:
            fail("create-cell-block: %s" % out)
        doc = ezdxf.readfile(drawing)
        audit_after = sorted(str(e.code) for e in doc.audit().errors)
        if audit_after != audit_before:
            fail("the audit finds %s, before %s" % (audit_after, audit_before))
        geometry = libreoffice_geometry(book, work)
        if geometry is None:
            fail("LibreOffice through UNO (python3-uno) is not there to give the rows' heights")
            return finish("")
        lo_columns, rows = geometry
        # The digit the grid counts is the default font's, the one LibreOffice measures, in
        # whole pixels.
        columns = spreadsheet_widths(book, round(libreoffice_digit(book, lo_columns)))
        tags, record = check_block(doc, "CLIENT", columns, rows, lo_columns)
        if record != [str(book), SHEET, "$A$4:$K$11"]:
            fail("the source record is %s" % record)
        refs = [e for e in doc.modelspace().query("INSERT") if e.dxf.name == "CLIENT"]
        if len(refs) != 1 or tuple(refs[0].dxf.insert)[:2] != (100, 50):
            fail("one reference of CLIENT at 100,50 expected: %s" % [tuple(r.dxf.insert) for r in refs])
            return finish("")
        ref = refs[0]
        values = {a.dxf.tag: a.dxf.text for a in ref.attribs}
        if values != tags:
            fail("the reference's values %s differ from the definitions' %s" % (values, tags))

        # Drawing to sheet.
        before_cells, before_parts = cells_of(book), parts_of(book)
        for a in ref.attribs:
            if a.dxf.tag == "$A$5":
                a.dxf.text = "Erika Muster"
        doc.saveas(drawing)
        run(work, "--drawing", drawing, "--yes", "cell-block", "upload", ref.dxf.handle)
        after_cells, after_parts = cells_of(book), parts_of(book)
        if after_cells.get((SHEET, "A5")) != "Erika Muster":
            fail("A5 holds %r after the upload" % after_cells.get((SHEET, "A5")))
        changed = {k for k in set(before_cells) | set(after_cells) if before_cells.get(k) != after_cells.get(k)}
        if changed != {(SHEET, "A5")}:
            fail("the upload changed %s" % sorted(changed))
        sheet_part = "xl/worksheets/sheet1.xml"
        for name in set(before_parts) | set(after_parts):
            # A save records its time in the core properties, as the spreadsheet's own save does.
            if name in (sheet_part, "xl/sharedStrings.xml", "docProps/core.xml"):
                continue
            if before_parts.get(name) != after_parts.get(name):
                fail("the upload changed the part %s" % name)

        # Sheet to drawing.
        wb = openpyxl.load_workbook(book)
        wb[SHEET]["E4"] = "Client no."
        wb.save(book)
        run(work, "--drawing", drawing, "cell-block", "update")
        doc = ezdxf.readfile(drawing)
        ref = doc.entitydb[ref.dxf.handle]
        got = {a.dxf.tag: a.dxf.text for a in ref.attribs}
        if got.get("$E$4") != "Client no.":
            fail("$E$4 holds %r after the update" % got.get("$E$4"))
        if got.get("$A$5") != "Erika Muster":
            fail("$A$5 lost its value: %r" % got.get("$A$5"))
        info = velmar(work, "--drawing", drawing, "--json", "cell-block", "info", ref.dxf.handle)
        if "\"range\": \"$A$4:$K$11\"" not in info:
            fail("cell-block info: %s" % info)
        return finish("cell blocks: grid, attributes and values both ways as ezdxf, openpyxl and LibreOffice see them")
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
