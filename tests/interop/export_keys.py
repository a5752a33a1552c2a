#!/usr/bin/python3
"""Exports drawings with velmar and checks the workbooks with openpyxl, against keys
computed here from the same drawings read by ezdxf."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import warnings
from pathlib import Path

import ezdxf
import openpyxl

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
CORPUS = SOURCE / "tests/corpus"
# "<drawing><HANDLE_TAG>" or "<drawing><HANDLE_TAG(ATTRIBHANDLE)>" for a later attribute of a tag.
KEY = re.compile(r"^(?P<drawing>.*)<(?P<handle>[0-9A-F]+)_(?P<tag>.+?)(?:\((?P<att>[0-9A-F]+)\))?>$")
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def run(workdir, drawing, *options, workbook=None, output=None):
    args = [str(TOOL), "--settings", str(workdir / "settings.ini"), "--drawing", str(drawing)]
    if workbook:
        args += ["--workbook", str(workbook)]
    if output:
        args += ["--output", str(output), "--force"]
    args += ["export", *options]
    result = subprocess.run(args, capture_output=True, text=True, timeout=300)
    return result


def text_of(attrib):
    # A multi-line attribute keeps its text in the embedded MTEXT.
    if attrib.has_embedded_mtext_entity:
        return attrib.virtual_mtext_entity().plain_text(split=False).replace("\n", "\r\n")
    return attrib.dxf.text


def attribute_values(doc):
    """Every attribute of every INSERT in the drawing (blocks included), by reference handle."""
    values = {}
    for entity in doc.entitydb.values():
        if entity.dxftype() != "INSERT" or not entity.is_alive:
            continue
        values[entity.dxf.handle.upper()] = [(a.dxf.tag, a.dxf.handle.upper(), text_of(a)) for a in entity.attribs]
    return values


def as_text(value):
    if value is None:
        return ""
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


def check_keys(drawing, workbook_path, label, combined):
    doc = ezdxf.readfile(drawing)
    inserts = attribute_values(doc)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        book = openpyxl.load_workbook(workbook_path)
    checked = 0
    for sheet in book.worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                if cell.comment is None:
                    continue
                for line in cell.comment.text.splitlines():
                    if line == "Velmar_CurrentDrawing":
                        continue
                    match = KEY.match(line)
                    if not match:
                        fail(f"{label}: {sheet.title}!{cell.coordinate}: key '{line}' has no known form")
                        continue
                    handle, tag = match["handle"], match["tag"]
                    if handle not in inserts:
                        fail(f"{label}: {cell.coordinate}: handle {handle} of '{line}' is no reference in the drawing")
                        continue
                    attribs = inserts[handle]
                    if match["att"]:
                        found = [a for a in attribs if a[1] == match["att"] and a[0] == tag]
                    else:
                        found = [a for a in attribs if a[0] == tag][:1]
                    if not found:
                        # A constant attribute lives in the block definition only.
                        continue
                    if not combined and as_text(cell.value) != found[0][2].strip():
                        fail(f"{label}: {cell.coordinate} holds '{as_text(cell.value)}', the drawing "
                             f"'{found[0][2]}' for {line}")
                    checked += 1
    return book, checked


def main():
    work = Path(tempfile.mkdtemp(prefix="velmar-export-interop-"))
    try:
        sample = SOURCE / "examples/floor.dxf"
        out = work / "floor.xlsx"
        result = run(work, sample, "--combine", "off", "--drawing-column", "on", "--border", "on",
                     "--hyperlink", "on", "--merge", "off", output=out)
        if result.returncode != 0:
            fail(f"sample export failed: {result.stderr}")
        else:
            book, checked = check_keys(sample, out, "sample", combined=False)
            sheet = book.active
            if checked < 40:
                fail(f"sample: only {checked} keyed cells checked")
            link = sheet["A2"].hyperlink
            if link is None or not (link.target or "").endswith(str(sample)):
                fail(f"sample: no link to the drawing on A2 ({link.target if link else None})")
            if sheet["A1"].border.left.style != "thin" or sheet["C5"].border.top.style != "thin":
                fail("sample: the written range has no thin borders")
            # LibreOffice opens it without repair and sees the same values.
            if not shutil.which("soffice"):
                fail("LibreOffice (soffice) is not installed; it is part of this check")
            else:
                lo = subprocess.run(["soffice", "--headless", f"-env:UserInstallation=file://{work}/lo",
                                     "--convert-to", "csv", "--outdir", str(work), str(out)],
                                    capture_output=True, text=True, timeout=300)
                csv = work / "floor.csv"
                if lo.returncode != 0 or not csv.exists() or "D01" not in csv.read_text(errors="replace"):
                    fail(f"LibreOffice could not read the sample workbook: {lo.stderr}")
            print(f"sample: {checked} keyed cells agree with ezdxf")

        # Merged block names on one sheet per block.
        merged = work / "merged.xlsx"
        result = run(work, sample, "--merge", "on", "--sheets", "each", "--header-style", "per-block",
                     "--border", "off", "--hyperlink", "off", output=merged)
        if result.returncode != 0:
            fail(f"merged export failed: {result.stderr}")
        else:
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")
                book = openpyxl.load_workbook(merged)
            if "DOOR" not in book.sheetnames or not book["DOOR"].merged_cells.ranges:
                fail(f"merged: sheets {book.sheetnames}, no merged block names on DOOR")

        # Corpus drawings with attributes.
        for name in ["arch-plan-attribs-ac1018.dxf", "attribute-ac1032.dxf", "dynblock-visibility-ac1032.dxf", "acadsharp-sample-ac1032.dxf"]:
            drawing = CORPUS / "dxf" / name
            if not drawing.exists():
                continue
            target = work / (name + ".xlsx")
            result = run(work, drawing, "--combine", "off", "--attributes-only", "off", output=target)
            if result.returncode != 0:
                if "nothing to export" in result.stderr:
                    print(f"{name}: no references to export")
                    continue
                fail(f"{name}: export failed: {result.stderr}")
                continue
            _, checked = check_keys(drawing, target, name, combined=False)
            print(f"{name}: {checked} keyed cells agree with ezdxf")

        # Into an existing corpus workbook: the other sheets stay as they were.
        corpus_books = sorted(p for p in (CORPUS / "xlsx").glob("*.xlsx") if not p.name.startswith("bad-"))
        for source in corpus_books[:3]:
            copy = work / ("active-" + source.name)
            shutil.copy(source, copy)
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")
                try:
                    before = openpyxl.load_workbook(copy)
                except Exception as error:  # a workbook openpyxl itself can't read proves nothing
                    print(f"{source.name}: openpyxl can't read the original ({error})")
                    continue
            active_title = before.active.title
            others = {ws.title: [[c.value for c in r] for r in ws.iter_rows()] for ws in before.worksheets
                      if ws.title != active_title}
            result = run(work, sample, "--workbook-mode", "active", "--sheets", "one", "--start-row", "last",
                         workbook=copy)
            if result.returncode != 0:
                fail(f"{source.name}: export into it failed: {result.stderr}")
                continue
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")
                after = openpyxl.load_workbook(copy)
            for title, values in others.items():
                now = [[c.value for c in r] for r in after[title].iter_rows()]
                if now != values:
                    fail(f"{source.name}: sheet '{title}' changed by an export into '{active_title}'")
            print(f"{source.name}: exported into '{active_title}', {len(others)} other sheets intact")
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print(f"{len(failures)} failures")
        return 1
    print("all export checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
