#!/usr/bin/python3
"""velmar --spreadsheet calc exports the sample drawing into a new document of a running headless
soffice: the document, saved by Calc itself and read by openpyxl, holds the very cells and
comments that the export to a workbook file writes. A refused connection fails the command with
a message that names the connection."""
import os
import subprocess
import sys
import tempfile
from pathlib import Path

import openpyxl
import uno  # noqa: F401  (python3-uno: its import hook gives com.sun.star)
from com.sun.star.beans import PropertyValue

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from headless_office import OFFICE, free_port, headless_office  # noqa: E402

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(work, *args):
    return subprocess.run([str(TOOL), "--settings", str(work / "settings.ini"), *args],
                          capture_output=True, text=True, timeout=300, cwd=work)


def cells_and_comments(path):
    sheet = openpyxl.load_workbook(path).active
    cells, comments = {}, {}
    for row in sheet.iter_rows():
        for cell in row:
            if cell.value not in (None, ""):
                cells[cell.coordinate] = cell.value
            if cell.comment is not None:
                comments[cell.coordinate] = cell.comment.text
    return cells, comments


def main():
    if not Path(OFFICE).exists():
        print("SKIP: LibreOffice is not installed")
        return 0
    with tempfile.TemporaryDirectory(prefix="velmar-calc-export-") as temp:
        work = Path(temp)
        drawing = work / "floor.dxf"
        drawing.write_bytes((SOURCE / "examples/floor.dxf").read_bytes())
        with headless_office(work) as (connection, desktop):
            if desktop is None:
                fail(f"soffice did not accept {connection}")
                return 1

            before = drawing.read_bytes()
            live = velmar(work, "--spreadsheet", "calc", "--calc-connect", connection, "--drawing", str(drawing), "export")
            if live.returncode != 0:
                fail(f"export into Calc: exit {live.returncode}\n{live.stdout}{live.stderr}")
            if list(work.glob("*.xlsx")):
                fail("export into Calc wrote a workbook file: " + ", ".join(p.name for p in work.glob("*.xlsx")))

            # Calc saves what it holds; nothing of velmar writes this file.
            saved = work / "saved-by-calc.xlsx"
            documents = desktop.Components.createEnumeration()
            sheets = []
            while documents.hasMoreElements():
                document = documents.nextElement()
                if hasattr(document, "Sheets"):
                    sheets.append(document)
            if len(sheets) != 1:
                fail(f"expected one spreadsheet document in Calc, found {len(sheets)}")
                return 1
            filter_name = PropertyValue()
            filter_name.Name, filter_name.Value = "FilterName", "Calc MS Excel 2007 XML"
            sheets[0].storeToURL(saved.as_uri(), (filter_name,))

            # The same export to a workbook file, the reference.
            reference = work / "reference.xlsx"
            drawing.write_bytes(before)
            filed = velmar(work, "--spreadsheet", "file", "--output", str(reference), "--drawing", str(drawing), "export")
            if filed.returncode != 0:
                fail(f"export to a file: exit {filed.returncode}\n{filed.stdout}{filed.stderr}")
                return 1

            live_cells, live_comments = cells_and_comments(saved)
            file_cells, file_comments = cells_and_comments(reference)
            if not file_cells or not file_comments:
                fail("the reference export holds no cells or no comments")
            for where, value in file_cells.items():
                if live_cells.get(where) != value:
                    fail(f"{where}: Calc holds {live_cells.get(where)!r}, the file export {value!r}")
            for where in live_cells.keys() - file_cells.keys():
                fail(f"{where}: Calc holds {live_cells[where]!r}, the file export nothing")
            if live_comments != file_comments:
                differing = sorted(set(live_comments.items()) ^ set(file_comments.items()))[:5]
                fail(f"comments differ ({len(live_comments)} in Calc, {len(file_comments)} in the file): {differing}")
            print(f"{len(live_cells)} cells and {len(live_comments)} comments alike")

            # Nobody listens here: the command fails and says where it looked.
            nobody = f"socket,host=127.0.0.1,port={free_port()}"
            refused = velmar(work, "--spreadsheet", "calc", "--calc-connect", nobody, "--drawing", str(drawing), "export")
            if refused.returncode != 1:
                fail(f"a refused connection: exit {refused.returncode}")
            if nobody not in refused.stdout + refused.stderr:
                fail(f"a refused connection isn't named: {refused.stdout}{refused.stderr}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
