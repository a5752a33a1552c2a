#!/usr/bin/python3
"""Workbooks written through the spreadsheet bridge, read back by openpyxl and LibreOffice:
values (numbers as numbers, other texts as given), key comments, bold headers, the merge, the
border and the hyperlink; and a corpus workbook edited in place keeps its own notes."""
import csv
import os
import shutil
import subprocess
import sys
import tempfile

import openpyxl

BUILD = os.environ["VELMAR_BUILD_DIR"]
SOURCE = os.environ["VELMAR_SOURCE_DIR"]
TOOL = os.path.join(BUILD, "tests", "arxutils", "arxutils_make_workbook")
failures = []


def check(condition, what):
    if not condition:
        failures.append(what)


def check_schedule(ws):
    check(ws["A1"].value == "Tag" and ws["A1"].font.b, "bold header A1")
    check(ws["B2"].value == 2 and isinstance(ws["B2"].value, int), f"B2 number, got {ws['B2'].value!r}")
    check(ws["B3"].value == 12.5, f"B3 12.5, got {ws['B3'].value!r}")
    check(ws["C2"].value == "007", f"C2 text 007, got {ws['C2'].value!r}")
    check(ws["A4"].value == "Σ 合計", f"A4 unicode, got {ws['A4'].value!r}")
    check(ws["C4"].value is None, "C4 empty")
    check(ws["A2"].comment is not None and ws["A2"].comment.text == "plan.dxf<1F>_TAG", "comment A2")
    check(ws["B2"].comment is not None and ws["B2"].comment.text == "plan.dxf<1F>_QTY", "comment B2")
    check("A6:C6" in [str(r) for r in ws.merged_cells.ranges], f"merge A6:C6 in {ws.merged_cells.ranges}")
    check(ws["A6"].value == "merged title", "merged title")
    check(ws["B4"].border.bottom.style == "medium", f"bottom border, got {ws['B4'].border.bottom.style}")
    check(ws["A8"].hyperlink is not None and ws["A8"].hyperlink.target == "https://example.com/velmar", "hyperlink A8")


def soffice_csv(path, out_dir):
    subprocess.run(["soffice", "--headless", "--norestore", f"-env:UserInstallation=file://{out_dir}/lo",
                    "--convert-to", "csv:Text - txt - csv (StarCalc):44,34,76,1", "--outdir", out_dir, path],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=300)
    name = os.path.splitext(os.path.basename(path))[0] + ".csv"
    with open(os.path.join(out_dir, name), encoding="utf-8") as f:
        return list(csv.reader(f))


with tempfile.TemporaryDirectory() as tmp:
    new = os.path.join(tmp, "new.xlsx")
    subprocess.run([TOOL, new], check=True)
    wb = openpyxl.load_workbook(new)
    check(wb.active.title == "Schedule", f"active sheet, got {wb.active.title}")
    check_schedule(wb["Schedule"])

    edited = os.path.join(tmp, "edited.xlsx")
    shutil.copy(os.path.join(SOURCE, "tests", "corpus", "xlsx", "excel2013-notes-26-merges-validation-names.xlsx"), edited)
    before = openpyxl.load_workbook(edited)
    notes_before = {(ws.title, c.coordinate): c.comment.text for ws in before.worksheets
                    for row in ws.iter_rows() for c in row if c.comment}
    subprocess.run([TOOL, "--edit", edited], check=True)
    after = openpyxl.load_workbook(edited)
    check_schedule(after["Velmar"])
    notes_after = {(ws.title, c.coordinate): c.comment.text for ws in after.worksheets if ws.title != "Velmar"
                   for row in ws.iter_rows() for c in row if c.comment}
    check(notes_before == notes_after, "the corpus workbook's own notes survive the edit")

    if shutil.which("soffice"):
        rows = soffice_csv(new, tmp)
        check(rows[:4] == [["Tag", "Qty", "Note"], ["V-101", "2", "007"], ["V-102", "12.5", "Gate"],
                           ["Σ 合計", "14.5", ""]], f"LibreOffice reads {rows[:4]}")

if failures:
    print("\n".join(failures))
    sys.exit(1)
print("ok")
