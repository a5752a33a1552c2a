#!/usr/bin/python3
"""The whole round through a running Calc, the document never saved on the way: velmar exports
the sample drawing into a new document of a headless soffice; cells are edited through UNO as a
user types them; velmar imports by handle into the drawing; ezdxf changes an attribute as another
program would, and velmar uploads it into the document. The drawing holds the edits, the
document holds the upload and is still untitled and modified, and no workbook file was written.
Then Calc saves the document and openpyxl finds the edited and uploaded values and every comment
of the export."""
import os
import re
import shutil
import sys
import tempfile
from pathlib import Path

import ezdxf
import openpyxl
import uno  # noqa: F401  (python3-uno: its import hook gives com.sun.star)
from com.sun.star.beans import PropertyValue

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import SAMPLE, fail, failures  # noqa: E402
from velmar_checks import run as velmar  # noqa: E402
from headless_office import OFFICE, free_port, headless_office  # noqa: E402

# "<drawing><HANDLE_TAG>": a plain attribute key.
KEY = re.compile(r"^(?P<drawing>.*)<(?P<handle>[0-9A-Fa-f]+)_(?P<tag>[^()<>:]+)>$")


def spreadsheets(desktop):
    found = []
    documents = desktop.Components.createEnumeration()
    while documents.hasMoreElements():
        document = documents.nextElement()
        if hasattr(document, "Sheets"):
            found.append(document)
    return found


def key_cells(sheet):
    """(handle, tag) -> (column, row) of every plain attribute key among the sheet's comments."""
    cells = {}
    for note in sheet.Annotations:
        for line in note.String.split("\n"):
            match = KEY.match(line.strip())
            if match:
                cells[(match["handle"].upper(), match["tag"])] = (note.Position.Column, note.Position.Row)
    return cells


def check_switches(document, after):
    """A command gives the document back repainting, calculating and recording undo steps as before."""
    if document.hasControllersLocked():
        fail(f"after {after}: the document's controllers are still locked")
    if not document.isAutomaticCalculationEnabled():
        fail(f"after {after}: automatic calculation is still off")
    if document.isActionLocked():
        fail(f"after {after}: the document's actions are still locked")
    if document.UndoManager.isLocked():
        fail(f"after {after}: the document's undo manager is still locked")


def attribute_texts(path):
    texts = {}
    for insert in ezdxf.readfile(path).modelspace().query("INSERT"):
        for attrib in insert.attribs:
            texts[(insert.dxf.handle.upper(), attrib.dxf.tag)] = attrib.dxf.text
    return texts


def main():
    if not Path(OFFICE).exists():
        print("SKIP: LibreOffice is not installed")
        return 0
    with tempfile.TemporaryDirectory(prefix="velmar-calc-roundtrip-") as temp:
        work = Path(temp)
        drawing = work / "floor.dxf"
        shutil.copyfile(SAMPLE, drawing)
        with headless_office(work) as (connection, desktop):
            if desktop is None:
                fail(f"soffice did not accept {connection}")
                return 1
            calc = ("--spreadsheet", "calc", "--calc-connect", connection)

            velmar(work, *calc, "--drawing", drawing, "export")
            documents = spreadsheets(desktop)
            if len(documents) != 1:
                fail(f"expected one spreadsheet document after the export, found {len(documents)}")
                return 1
            document = documents[0]
            sheet = document.CurrentController.ActiveSheet if document.CurrentController else document.Sheets.getByIndex(0)
            exported_comments = sorted(note.String for note in sheet.Annotations)
            keys = key_cells(sheet)
            check_switches(document, "the export")
            if len(keys) < 3:
                fail(f"the export holds {len(keys)} attribute keys; three are needed")
                return 1

            # The user types two new values into key cells.
            chosen = sorted(keys)[:3]
            edited = {}
            for n, key in enumerate(chosen[:2]):
                column, row = keys[key]
                text = f"Edited {n + 1}"
                sheet.getCellByPosition(column, row).setString(text)
                edited[key] = text

            velmar(work, *calc, "--drawing", drawing, "import-by-handle")
            check_switches(document, "the import")
            texts = attribute_texts(drawing)
            for key, text in edited.items():
                if texts.get(key) != text:
                    fail(f"import by handle: {key} is {texts.get(key)!r} in the drawing, {text!r} in Calc")

            # Another program changes the third attribute; the upload brings it into Calc.
            changed_key = chosen[2]
            doc = ezdxf.readfile(drawing)
            uploaded = "From the drawing"
            for insert in doc.modelspace().query("INSERT"):
                if insert.dxf.handle.upper() == changed_key[0]:
                    for attrib in insert.attribs:
                        if attrib.dxf.tag == changed_key[1]:
                            attrib.dxf.text = uploaded
            doc.saveas(drawing)
            velmar(work, *calc, "--drawing", drawing, "--yes", "upload")
            check_switches(document, "the upload")
            # A connection nobody answers: the command fails, says where, and the drawing stays.
            before = drawing.read_bytes()
            nobody = f"socket,host=127.0.0.1,port={free_port()}"
            refused = velmar(work, "--spreadsheet", "calc", "--calc-connect", nobody, "--drawing", drawing,
                             "import-by-handle", expect=None)
            if refused.returncode == 0 or nobody not in refused.stdout + refused.stderr:
                fail(f"a refused connection: exit {refused.returncode}, {refused.stdout}{refused.stderr}")
            if drawing.read_bytes() != before:
                fail("a refused connection changed the drawing")
            column, row = keys[changed_key]
            if sheet.getCellByPosition(column, row).String != uploaded:
                fail(f"upload: {changed_key} shows {sheet.getCellByPosition(column, row).String!r} in Calc")
            for key, text in edited.items():
                column, row = keys[key]
                if sheet.getCellByPosition(column, row).String != text:
                    fail(f"the edit of {key} was lost: {sheet.getCellByPosition(column, row).String!r}")

            # Nothing was saved on the way.
            if document.URL:
                fail(f"the document was saved to {document.URL}")
            if not document.isModified():
                fail("the document isn't modified: was it saved?")
            written = [p.name for p in work.iterdir() if p.suffix in (".xlsx", ".xlsm", ".ods")]
            if written:
                fail("workbook files were written: " + ", ".join(written))

            # Calc saves it; openpyxl reads what Calc wrote.
            saved = work / "saved-by-calc.xlsx"
            filter_name = PropertyValue()
            filter_name.Name, filter_name.Value = "FilterName", "Calc Office Open XML"
            document.storeToURL(saved.as_uri(), (filter_name,))
            book = openpyxl.load_workbook(saved)
            ws = book[sheet.Name]
            comments = sorted(cell.comment.text for row_cells in ws.iter_rows() for cell in row_cells
                              if cell.comment is not None)
            if comments != exported_comments:
                missing = sorted(set(exported_comments) - set(comments))[:3]
                fail(f"comments: {len(comments)} saved, {len(exported_comments)} exported; missing {missing}")
            for key, text in [*edited.items(), (changed_key, uploaded)]:
                column, row = keys[key]
                value = ws.cell(row=row + 1, column=column + 1).value
                if value != text:
                    fail(f"saved {key}: {value!r}, expected {text!r}")
            print(f"{len(keys)} keys, {len(comments)} comments; 2 edits imported, 1 value uploaded, nothing saved")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
