#!/usr/bin/python3
"""Exports the sample drawing into the active sheet of every corpus workbook, below its last filled
row, and checks with openpyxl that every cell outside the written rows, and every other sheet,
reads as before (values and formulas), and that LibreOffice opens the result. A workbook we refuse
must stay byte for byte as it was, and the refusal must say why."""
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import warnings
from pathlib import Path

import openpyxl

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
CORPUS = SOURCE / "tests/corpus/xlsx"
SAMPLE = SOURCE / "examples/floor.dxf"
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def load(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return openpyxl.load_workbook(path)


def cells(sheet):
    """Every cell that holds something, by (row, column): its value or formula text. Only the cells
    the file has are looked at: a sheet whose dimension reaches XFD1048576 has billions."""
    return {key: c.value for key, c in sheet._cells.items() if c.value is not None}


def header_rows(sheet):
    return {row for (row, column), c in sheet._cells.items() if column == 1 and c.value == "Block Name"}


def opens_in_libreoffice(path, work):
    out = work / "csv"
    shutil.rmtree(out, ignore_errors=True)
    lo = subprocess.run(["soffice", "--headless", "--norestore", f"-env:UserInstallation=file://{work}/lo",
                         "--convert-to", "csv", "--outdir", str(out), str(path)],
                        capture_output=True, text=True, timeout=600)
    return lo.returncode == 0 and (out / (path.stem + ".csv")).exists()


def check(source, work):
    copy = work / source.name
    shutil.copy(source, copy)
    original = copy.read_bytes()
    try:
        before = load(copy)
        if not before.worksheets:  # strict-namespace workbooks read as no sheets at all
            raise ValueError("no worksheets")
    except Exception as error:
        before = None
        print(f"{source.name}: openpyxl can't read the original ({type(error).__name__})")
    args = [str(TOOL), "--settings", str(work / "settings.ini"), "--drawing", str(SAMPLE),
            "--workbook", str(copy), "export", "--workbook-mode", "active", "--sheets", "one",
            "--start-row", "last", "--combine", "off"]
    result = subprocess.run(args, capture_output=True, text=True, timeout=600)
    if result.returncode != 0:
        if copy.read_bytes() != original:
            fail(f"{source.name}: the refused export changed the file")
        if not result.stderr.strip() and not result.stdout.strip():
            fail(f"{source.name}: refused without a word")
        if before is not None and not source.name.startswith("bad-"):
            print(f"{source.name}: refused: {(result.stderr or result.stdout).strip().splitlines()[-1]}")
        else:
            print(f"{source.name}: refused as damaged, file unchanged")
        return
    if "Successfully export the data." not in result.stdout:
        fail(f"{source.name}: exported without its success line: {result.stdout}")
    try:
        after = load(copy)
    except Exception as error:
        # What openpyxl couldn't read before it needn't read now; LibreOffice judges below.
        if before is not None:
            fail(f"{source.name}: openpyxl can't read our result: {error}")
            return
        after = None
    if before is not None and after is not None:
        # The written sheet is the one that gained header rows; they start the written rows.
        written = {ws.title: header_rows(after[ws.title]) - header_rows(ws) for ws in before.worksheets}
        written = {title: rows for title, rows in written.items() if rows}
        if len(written) != 1:
            fail(f"{source.name}: exported rows found on {sorted(written)}, not on one sheet")
            return
        (active, rows), = written.items()
        start = min(rows)
        for ws in before.worksheets:
            old = cells(ws)
            now = cells(after[ws.title])
            if ws.title == active:
                old = {k: v for k, v in old.items() if k[0] < start}
                now = {k: v for k, v in now.items() if k[0] < start}
            if old != now:
                diff = sorted(k for k in set(old) | set(now) if old.get(k) != now.get(k))[:5]
                fail(f"{source.name}: sheet '{ws.title}' changed at {diff}: "
                     f"{[(old.get(k), now.get(k)) for k in diff]}")
    if not opens_in_libreoffice(copy, work) and opens_in_libreoffice(source, work):
        fail(f"{source.name}: LibreOffice opens the original but not our result")
    print(f"{source.name}: exported, everything outside the written rows as before")


def main():
    # openpyxl on a damaged file must not take the machine down with it.
    resource.setrlimit(resource.RLIMIT_AS, (6 << 30, 6 << 30))
    if not shutil.which("soffice"):
        fail("LibreOffice (soffice) is not installed; it is part of this check")
    work = Path(tempfile.mkdtemp(prefix="velmar-export-corpus-"))
    try:
        for source in sorted(CORPUS.glob("*.xls[xm]")):
            folder = work / source.stem
            folder.mkdir()
            check(source, folder)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print(f"{len(failures)} failures")
        return 1
    print("every corpus workbook took the export safely")
    return 0


if __name__ == "__main__":
    sys.exit(main())
