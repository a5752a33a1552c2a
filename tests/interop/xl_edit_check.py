"""Edits corpus workbooks with xl_interop_edit and checks the results in other programs.

openpyxl: the edited cell and its note are there; sheet names, merges, defined names, other
notes, formulas and values of the first sheet are as in the original.
soffice: LibreOffice converts the edited workbook without complaint and sees the edit.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import warnings

import openpyxl

warnings.filterwarnings("ignore")
BUILD = os.environ["VELMAR_BUILD_DIR"]
SOURCE = os.environ["VELMAR_SOURCE_DIR"]
CORPUS = os.path.join(SOURCE, "tests", "corpus", "xlsx")
EDIT = os.path.join(BUILD, "tests", "xl", "xl_interop_edit")

FILES = [
    "excel2010-macro-139-notes-charts-merges.xlsm",
    "excel2013-notes-26-merges-validation-names.xlsx",
    "excel2013-formulas-bools-errors-merges.xlsx",
    "excel2013-5-sheets-2-chartsheets-32-notes-extlink.xlsx",
    "excel2016-tables-validation-condfmt-chart.xlsx",
    "libreoffice72-charts-images-merges.xlsx",
    "excel2016mac-threaded-plus-note.xlsx",
    "openpyxl-hyperlinks-merges-inline.xlsx",
    "googlesheets-note.xlsx",
    "wps-13-sheets-merges-condfmt.xlsx",
]


def snapshot(path):
    wb = openpyxl.load_workbook(path)
    out = {"sheets": wb.sheetnames, "names": sorted(wb.defined_names.keys()) if hasattr(wb.defined_names, "keys") else len(wb.defined_names.definedName)}
    for ws in wb.worksheets:
        cells = {}
        notes = {}
        for row in ws.iter_rows():
            for c in row:
                if c.value is not None:
                    cells[c.coordinate] = c.value
                if c.comment is not None:
                    notes[c.coordinate] = c.comment.text
        out[ws.title] = {
            "cells": cells,
            "notes": notes,
            "merges": sorted(str(m) for m in ws.merged_cells.ranges),
        }
    return out


def check_openpyxl(name, tmp):
    src = os.path.join(CORPUS, name)
    dst = os.path.join(tmp, "edited-" + name)
    res = subprocess.run([EDIT, src, dst], capture_output=True, text=True, timeout=300)
    if res.returncode != 0:
        return f"{name}: edit failed: {res.stderr}"
    sheet, cell = res.stdout.strip().rsplit("!", 1)
    before = snapshot(src)
    after = snapshot(dst)
    problems = []
    if before["sheets"] != after["sheets"]:
        problems.append("sheet names changed")
    if before["names"] != after["names"]:
        problems.append("defined names changed")
    mine = after[sheet]
    if mine["cells"].get(cell) != "velmar edit":
        problems.append(f"edited cell {cell} reads {mine['cells'].get(cell)!r}")
    if not (mine["notes"].get(cell) or "").startswith("velmar note"):
        problems.append(f"note on {cell} reads {mine['notes'].get(cell)!r}")
    for title in before["sheets"]:
        if title not in before or title not in after:
            continue
        b, a = before[title], after[title]
        a_cells = {k: v for k, v in a["cells"].items() if not (title == sheet and k == cell)}
        if b["cells"] != a_cells:
            diff = [k for k in set(b["cells"]) | set(a_cells) if b["cells"].get(k) != a_cells.get(k)]
            problems.append(f"{title}: {len(diff)} cells differ, e.g. {sorted(diff)[:3]}")
        a_notes = {k: v for k, v in a["notes"].items() if not (title == sheet and k == cell)}
        if b["notes"] != a_notes:
            problems.append(f"{title}: notes differ")
        if b["merges"] != a["merges"]:
            problems.append(f"{title}: merges differ")
    return f"{name}: " + "; ".join(problems) if problems else None


def check_soffice(name, tmp):
    soffice = shutil.which("soffice") or shutil.which("libreoffice")
    src = os.path.join(CORPUS, name)
    ext = os.path.splitext(name)[1]
    dst = os.path.join(tmp, "edited" + ext)
    res = subprocess.run([EDIT, src, dst], capture_output=True, text=True, timeout=300)
    if res.returncode != 0:
        return f"{name}: edit failed: {res.stderr}"
    sheet, cell = res.stdout.strip().rsplit("!", 1)
    outdir = os.path.join(tmp, "converted")
    os.makedirs(outdir, exist_ok=True)
    profile = "file://" + os.path.join(tmp, "profile")
    conv = subprocess.run([soffice, "-env:UserInstallation=" + profile, "--headless", "--convert-to", "xlsx",
                           "--outdir", outdir, dst], capture_output=True, text=True, timeout=300)
    out = os.path.join(outdir, "edited.xlsx")
    if not os.path.exists(out):
        return f"{name}: LibreOffice did not convert it: {conv.stdout} {conv.stderr}"
    wb = openpyxl.load_workbook(out)
    if wb[sheet][cell].value != "velmar edit":
        return f"{name}: LibreOffice sees {wb[sheet][cell].value!r} in {cell}"
    if wb[sheet][cell].comment is None or "velmar note" not in wb[sheet][cell].comment.text:
        return f"{name}: LibreOffice lost the note on {cell}"
    if wb.sheetnames != openpyxl.load_workbook(src).sheetnames:
        return f"{name}: LibreOffice sees other sheets"
    return None


def main():
    mode = sys.argv[1]
    failures = []
    with tempfile.TemporaryDirectory() as tmp:
        for name in FILES:
            problem = check_openpyxl(name, tmp) if mode == "openpyxl" else check_soffice(name, tmp)
            print(name, "ok" if problem is None else problem)
            if problem:
                failures.append(problem)
    if failures:
        sys.exit("\n".join(failures))


if __name__ == "__main__":
    main()
