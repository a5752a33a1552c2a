#!/usr/bin/python3
"""Link External Data end to end: a real workbook (written by Excel) gets, through openpyxl, a
column of door numbers as a supplier would type them, in an order of its own and below a header.
`velmar export --link-external` ties the sample drawing's doors to it through the preview, its
MARK column dragged to another place. openpyxl checks that exactly the cells of the five door
numbers got the doors' MARK keys and everything else of the workbook stayed (values, the notes
that were there, the parts of the other sheets byte for byte); LibreOffice opens the result and
sees the keys. Then openpyxl changes one linked door number, `velmar import-by-handle` reads the
sheet, and ezdxf finds exactly that door's MARK changed in the drawing. A second link, whose
cells have their notes already, fails and leaves the file alone; a link whose unmatched keys are
answered No writes nothing."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import warnings
import zipfile
from pathlib import Path, PurePosixPath
from xml.etree import ElementTree

import ezdxf
import openpyxl

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
SAMPLE = SOURCE / "examples/floor.dxf"
BOOK = SOURCE / "tests/corpus/xlsx/excel2013-notes-26-merges-validation-names.xlsx"
SUCCESS = "Link the external data successfully."
# Door numbers in the sheet's order: below a header, two rows apart from the sheet's own
# cells, and one number no door has.
COLUMN = "W"
FIRST_ROW = 10
SHEET_MARKS = ["D04", "D01", "D99", "D05", "D03", "D02"]
failures = []

NS = {"m": "http://schemas.openxmlformats.org/spreadsheetml/2006/main",
      "r": "http://schemas.openxmlformats.org/officeDocument/2006/relationships",
      "p": "http://schemas.openxmlformats.org/package/2006/relationships"}


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(work, *args, expect=0):
    command = [str(TOOL), "--settings", str(work / "settings.ini"), *map(str, args)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=300, cwd=work)
    if expect is not None and result.returncode != expect:
        fail("velmar %s: exit %d, not %d\n%s%s" % (" ".join(map(str, args)), result.returncode, expect,
                                                   result.stdout, result.stderr))
    return result


def load(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return openpyxl.load_workbook(path)


def snapshot(path):
    """{(sheet, cell): (value, note text)} of every cell that holds something."""
    cells = {}
    for sheet in load(path).worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                if cell.value is not None or cell.comment is not None:
                    cells[(sheet.title, cell.coordinate)] = (cell.value, cell.comment.text if cell.comment else None)
    return cells


def parts(path):
    with zipfile.ZipFile(path) as package:
        return {info.filename: package.read(info) for info in package.infolist()}


def sheet_part_and_related(path, title):
    """The part of sheet `title` and the parts its relationships name (notes, drawings)."""
    with zipfile.ZipFile(path) as package:
        book = ElementTree.fromstring(package.read("xl/workbook.xml"))
        rels = ElementTree.fromstring(package.read("xl/_rels/workbook.xml.rels"))
        targets = {rel.get("Id"): rel.get("Target") for rel in rels.findall("p:Relationship", NS)}
        part = None
        for sheet in book.findall("m:sheets/m:sheet", NS):
            if sheet.get("name") == title:
                target = targets[sheet.get("{%s}id" % NS["r"])]
                part = target.lstrip("/") if target.startswith("/") else "xl/" + target
        folder = PurePosixPath(part).parent
        rels_name = str(folder / "_rels" / (PurePosixPath(part).name + ".rels"))
        related = {part, rels_name}
        if rels_name in package.namelist():
            for rel in ElementTree.fromstring(package.read(rels_name)).findall("p:Relationship", NS):
                if rel.get("TargetMode") == "External":
                    continue
                target = rel.get("Target")
                name = target.lstrip("/") if target.startswith("/") else str(folder / target)
                related.add(os.path.normpath(name))
    return related


def doors(drawing):
    """{MARK: (handle, {tag: text})} of the drawing's DOOR references, and every reference's
    attributes by handle."""
    doc = ezdxf.readfile(drawing)
    marks, everything = {}, {}
    for insert in doc.modelspace().query("INSERT"):
        attribs = [(a.dxf.tag, a.dxf.text) for a in insert.attribs]
        everything[insert.dxf.handle] = attribs
        if insert.dxf.name == "DOOR":
            marks[dict(attribs)["MARK"]] = insert.dxf.handle
    return marks, everything


def make_book(path):
    """The corpus workbook with the door numbers typed into its first sheet; gives its title."""
    book = load(BOOK)
    sheet = book.worksheets[0]
    sheet[f"{COLUMN}{FIRST_ROW - 1}"] = "Door"
    for n, mark in enumerate(SHEET_MARKS):
        sheet[f"{COLUMN}{FIRST_ROW + n}"] = mark
    book.active = 0
    book.save(path)
    return sheet.title


def link(work, drawing, workbook, *more, expect=0):
    # The MARK column (C as built) is dragged to B.
    return velmar(work, "--drawing", drawing, *more, "export", "--block-wildcard", "DOOR",
                  "--column-order", "A,C,B,D,E,F,G", "--link-external", workbook,
                  "--drawing-key-column", "B", "--sheet-key-column", COLUMN, expect=expect)


def check_link(work, drawing, workbook, title, marks):
    before_cells = snapshot(workbook)
    before_parts = parts(workbook)
    result = link(work, drawing, workbook, "--yes")
    output = result.stdout + result.stderr
    if SUCCESS not in output:
        fail(f"no success told: {output!r}")
    if "D99" in output and "cannot be matched" in output:
        fail(f"a sheet key no door has was asked about: {output!r}")
    after_cells = snapshot(workbook)
    expected = {}
    for n, mark in enumerate(SHEET_MARKS):
        if mark in marks:
            expected[(title, f"{COLUMN}{FIRST_ROW + n}")] = f"{drawing}<{marks[mark]}_MARK>"
    for place in sorted(set(before_cells) | set(after_cells)):
        old = before_cells.get(place, (None, None))
        new = after_cells.get(place, (None, None))
        if old[0] != new[0]:
            fail(f"{place} changed from {old[0]!r} to {new[0]!r}")
        want = expected.get(place, old[1])
        if new[1] != want:
            fail(f"the note of {place} is {new[1]!r}, not {want!r}")
    after_parts = parts(workbook)
    if not set(before_parts) <= set(after_parts):
        fail(f"parts went: {sorted(set(before_parts) - set(after_parts))}")
    allowed = sheet_part_and_related(workbook, title) | {"[Content_Types].xml", "docProps/core.xml",
                                                         "docProps/app.xml", "xl/sharedStrings.xml"}
    for name in sorted(set(before_parts) & set(after_parts)):
        if before_parts[name] != after_parts[name] and name not in allowed:
            fail(f"part {name} changed though it belongs to nothing linked")
    print(f"linked: {len(expected)} notes written, {len(before_cells)} other cells as they were")
    return expected


def opens_in_libreoffice(work, workbook, expected):
    out = work / "lo-out"
    lo = subprocess.run(["soffice", "--headless", "--norestore", f"-env:UserInstallation=file://{work}/lo",
                         "--convert-to", "xlsx", "--outdir", str(out), str(workbook)],
                        capture_output=True, text=True, timeout=300)
    converted = out / workbook.name
    if lo.returncode != 0 or not converted.exists():
        fail(f"LibreOffice could not open {workbook.name}: {lo.stderr}")
        return
    cells = snapshot(converted)
    for place, key in expected.items():
        note = cells.get(place, (None, None))[1] or ""
        if key not in note:
            fail(f"LibreOffice doesn't see the key of {place}: {note!r}")
    print("LibreOffice opens the linked workbook and sees its keys")


def check_import(work, drawing, workbook, title, marks, expected):
    """One linked door number changed by openpyxl; the import changes exactly that attribute."""
    _, before = doors(drawing)
    place = next(place for place, key in expected.items() if f"<{marks['D03']}_MARK>" in key)
    book = load(workbook)
    book[title][place[1]] = "D03-A"
    book.save(workbook)
    velmar(work, "--drawing", drawing, "--workbook", workbook, "--sheet", title, "import-by-handle",
           "--sheets", "active")
    _, after = doors(drawing)
    for handle in sorted(set(before) | set(after)):
        want = before.get(handle)
        if handle == marks["D03"]:
            want = [(tag, "D03-A" if tag == "MARK" else text) for tag, text in want]
        if after.get(handle) != want:
            fail(f"the attributes of {handle} are {after.get(handle)!r}, not {want!r}")
    print("import by handle: exactly the changed door number reached the drawing")


def check_refusals(work, drawing, workbook):
    # The cells have their notes now: the second link fails and the file stays as it was.
    before = workbook.read_bytes()
    result = link(work, drawing, workbook, "--yes", expect=1)
    if SUCCESS in result.stdout + result.stderr:
        fail("a failed link told of success")
    if workbook.read_bytes() != before:
        fail("a failed link changed the workbook")
    # A door number missing from a fresh sheet, answered No: nothing written.
    fresh = work / "fresh.xlsx"
    book = openpyxl.Workbook()
    for n, mark in enumerate(["D01", "D02"]):
        book.active[f"{COLUMN}{n + 1}"] = mark
    book.save(fresh)
    before = fresh.read_bytes()
    result = link(work, drawing, fresh, "--no", expect=1)
    if "The following data cannot be matched." not in result.stdout + result.stderr:
        fail(f"the unmatched doors weren't asked about: {result.stdout!r}")
    if fresh.read_bytes() != before:
        fail("a link answered No changed the workbook")
    print("refusals: a second link and an answer No leave the files alone")


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-link-external-") as folder:
        work = Path(folder)
        drawing = work / "plan.dxf"
        shutil.copy(SAMPLE, drawing)
        marks, _ = doors(drawing)
        workbook = work / "supplier.xlsx"
        title = make_book(workbook)
        expected = check_link(work, drawing, workbook, title, marks)
        if len(expected) != 5:
            fail(f"{len(expected)} door numbers of the sheet match doors, not 5")
        opens_in_libreoffice(work, workbook, expected)
        check_refusals(work, drawing, workbook)
        check_import(work, drawing, workbook, title, marks, expected)
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
