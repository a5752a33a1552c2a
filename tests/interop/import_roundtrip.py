#!/usr/bin/python3
"""Export, edit attribute and property cells with openpyxl, import by handle with
velmar; ezdxf and a record by record comparison of the DXF text check the result."""
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import ezdxf
import openpyxl
from openpyxl.comments import Comment

from dxf_records import records

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
DRAWINGS = [SOURCE / "examples/floor.dxf",
            SOURCE / "tests/corpus/dxf/arch-plan-attribs-ac1018.dxf",
            SOURCE / "tests/corpus/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf"]
# A plain attribute key: "<drawing><HANDLE_TAG>".
KEY = re.compile(r"^(?P<drawing>.*)<(?P<handle>[0-9A-Fa-f]+)_(?P<tag>[^()]+)>$")
# A property key: "<drawing><HANDLE:Property>".
PROPERTY_KEY = re.compile(r"^(?P<drawing>.*)<(?P<handle>[0-9A-Fa-f]+):(?P<name>PosX|Layer)>$")
NEW_X = 12345.5
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(workdir, drawing, *args):
    command = [str(TOOL), "--settings", str(workdir / "settings.ini"), "--drawing", str(drawing), *args]
    return subprocess.run(command, capture_output=True, text=True, timeout=300)


def attribs(doc):
    values = {}
    for insert in doc.modelspace().query("INSERT"):
        for attrib in insert.attribs:
            values[(insert.dxf.handle.upper(), attrib.dxf.tag)] = (attrib.dxf.handle.upper(), attrib.dxf.text)
    return values


def world_x(insert):
    """The x of the insertion point in world coordinates (the stored point is in the OCS)."""
    return insert.ocs().to_wcs(insert.dxf.insert).x


def properties(doc):
    return {insert.dxf.handle.upper(): (world_x(insert), insert.dxf.layer)
            for insert in doc.modelspace().query("INSERT")}


def other_layer(doc, layer):
    """A layer of the drawing other than `layer`."""
    return next(entry.dxf.name for entry in doc.layers if entry.dxf.name.upper() != layer.upper())


def change_properties(sheet, doc):
    """Sets a new X on one reference, then another layer on a second; gives {handle: (x, layer)}.
    A position cell shows its value rounded, and an import moves a reference to what its cell
    shows: other position keys are taken out of the comments, so that their references stay."""
    inserts = {insert.dxf.handle.upper(): insert for insert in doc.modelspace().query("INSERT")}
    wanted, pending = {}, ["PosX", "Layer"]
    for row in sheet.iter_rows():
        for cell in row:
            if cell.comment is None:
                continue
            lines = cell.comment.text.strip().splitlines()
            matches = [PROPERTY_KEY.match(line.strip()) for line in lines]
            match = matches[0] if len(lines) == 1 else None
            handle = match["handle"].upper() if match else None
            if match and pending and match["name"] == pending[0] and handle in inserts and handle not in wanted:
                insert = inserts[handle]
                if pending.pop(0) == "PosX":
                    cell.value = NEW_X
                    wanted[handle] = (NEW_X, insert.dxf.layer)
                else:
                    cell.value = other_layer(doc, insert.dxf.layer)
                    wanted[handle] = (world_x(insert), cell.value)
                continue
            kept = [line for line, key in zip(lines, matches) if not (key and key["name"] == "PosX")]
            if len(kept) != len(lines):
                cell.comment = Comment("\n".join(kept), cell.comment.author) if kept else None
    return wanted


def check(source):
    with tempfile.TemporaryDirectory() as folder:
        workdir = Path(folder)
        drawing = workdir / source.name
        shutil.copy(source, drawing)
        workbook = workdir / "out.xlsx"
        result = velmar(workdir, drawing, "--output", str(workbook), "export",
                        "--position-x", "on", "--layer", "on")
        if result.returncode != 0 or not workbook.exists():
            fail(f"{source.name}: export failed: {result.stderr}")
            return
        doc = ezdxf.readfile(drawing)
        before = attribs(doc)
        places = properties(doc)
        book = openpyxl.load_workbook(workbook)
        sheet = book.active
        changed = {}
        for row in sheet.iter_rows():
            for cell in row:
                if len(changed) == 2 or cell.comment is None:
                    continue
                match = KEY.match(cell.comment.text.strip())
                if not match or (match["handle"].upper(), match["tag"]) not in before:
                    continue
                value = f"IMPORTED {len(changed) + 1}"
                cell.value = value
                changed[(match["handle"].upper(), match["tag"])] = value
        if len(changed) < 2:
            fail(f"{source.name}: fewer than two attribute cells to change")
            return
        moved = change_properties(sheet, doc)
        if len(moved) < 2:
            fail(f"{source.name}: no position and layer cells to change")
            return
        book.save(workbook)
        original = records(drawing)
        result = velmar(workdir, drawing, "--workbook", str(workbook), "import-by-handle")
        if result.returncode != 0:
            fail(f"{source.name}: import failed: {result.stdout} {result.stderr}")
            return
        doc = ezdxf.readfile(drawing)
        after = attribs(doc)
        for key, (handle, text) in before.items():
            expected = changed.get(key, text)
            if after.get(key, (None, None))[1] != expected:
                fail(f"{source.name}: {key} holds {after.get(key)!r}, expected {expected!r}")
        for handle, (x, layer) in properties(doc).items():
            want_x, want_layer = moved.get(handle, places[handle])
            if abs(x - want_x) > 1e-9 or layer.upper() != want_layer.upper():
                fail(f"{source.name}: {handle} is at x {x} on {layer!r}, expected {want_x} on {want_layer!r}")
        # A moved reference takes its attributes with it.
        changed_records = {before[key][0] for key in changed} | set(moved)
        changed_records |= {attrib for (insert, _), (attrib, _) in before.items()
                            if insert in moved and moved[insert][0] == NEW_X}
        now = records(drawing)
        if set(now) != set(original):
            fail(f"{source.name}: records added or removed")
        for handle, record in original.items():
            if handle not in changed_records and now.get(handle) != record:
                fail(f"{source.name}: record {handle} changed")
        bytes_after = drawing.read_bytes()
        result = velmar(workdir, drawing, "--workbook", str(workbook), "import-by-handle")
        if result.returncode != 0 or drawing.read_bytes() != bytes_after:
            fail(f"{source.name}: a second import changed the drawing")
        print(f"{source.name}: {len(changed)} attribute and {len(moved)} property values imported, "
              f"{len(original)} records compared")


for path in DRAWINGS:
    check(path)
sys.exit(1 if failures else 0)
