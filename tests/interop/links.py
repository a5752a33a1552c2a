#!/usr/bin/python3
"""Links end to end. The sample drawing (written by ezdxf) and a corpus drawing are exported with
velmar and imported again with "Save the link of the Excel file to the drawing." on; ezdxf finds
the workbook link on every imported reference. openpyxl then edits cells of the workbook as a
user would, and with the automatic update on, any later command brings exactly those values into
the drawing (properties only when they are not ignored), while a command with nothing to bring
leaves the drawing's bytes alone. A workbook moved to another folder is reported, and found
again once its link is updated; a broken link brings nothing. ezdxf reads every drawing written
and finds every other attribute as it was."""
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
SAMPLE = SOURCE / "examples/floor.dxf"
CORPUS = SOURCE / "tests/corpus/dxf/arch-plan-attribs-ac1018.dxf"
LINK_APP = "999F152C-1E9D-4402-B4E6-01B380A38CD4"
KEY = re.compile(r"^(?P<drawing>.*)<(?P<field>(?P<handle>[0-9A-F]+)[_:].+)>$")
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(work, drawing, *args, expect=0):
    command = [str(TOOL), "--settings", str(work / "settings.ini"), "--drawing", str(drawing), *map(str, args)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=300)
    if expect is not None and result.returncode != expect:
        fail("velmar %s: exit %d\n%s%s" % (" ".join(map(str, args)), result.returncode, result.stdout,
                                           result.stderr))
    return result.stdout + result.stderr


def attributes(path):
    """{(insert handle, attrib handle): (tag, text)} and {insert handle: layer} as ezdxf reads them."""
    doc = ezdxf.readfile(path)
    values, layers = {}, {}
    for insert in doc.modelspace().query("INSERT"):
        layers[insert.dxf.handle] = insert.dxf.layer
        for attrib in insert.attribs:
            values[(insert.dxf.handle, attrib.dxf.handle)] = (attrib.dxf.tag, attrib.dxf.text)
    return values, layers


def links(path):
    """{insert handle: linked workbook} of every reference with a workbook link."""
    doc = ezdxf.readfile(path)
    found = {}
    for insert in doc.modelspace().query("INSERT"):
        if insert.has_xdata(LINK_APP):
            strings = [value for code, value in insert.get_xdata(LINK_APP) if code == 1000]
            if len(strings) != 1:
                fail(f"reference {insert.dxf.handle} holds {len(strings)} workbook links")
            found[insert.dxf.handle] = strings[0] if strings else ""
    return found


def edit(workbook, field, text):
    """Sets the cell whose comment names `field` ("E5_MARK", "DE:Layer") to `text`, as a user of
    another spreadsheet program would, and saves the workbook with openpyxl. Gives every field
    the cell's comment names: equal rows of a schedule share one cell."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        book = openpyxl.load_workbook(workbook)
    for sheet in book.worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                lines = cell.comment.text.splitlines() if cell.comment else []
                fields = [m["field"] for m in map(KEY.match, map(str.strip, lines)) if m]
                if field in fields:
                    cell.value = text
                    book.save(workbook)
                    return fields
    fail(f"{workbook}: no cell is keyed {field}")
    return []


def expect_values(label, before, after, changed):
    """Every attribute of `after` is as in `before` but those of `changed` {(insert, tag): text}."""
    values_before, _ = before
    values_after, _ = after
    if set(values_before) != set(values_after):
        fail(f"{label}: attributes came or went")
    for place, (tag, text) in values_after.items():
        want = changed.get((place[0], tag), values_before.get(place, (tag, text))[1])
        if text != want:
            fail(f"{label}: {place[0]} {tag} reads {text!r}, not {want!r}")


def sample(work):
    drawing = work / "floor.dxf"
    workbook = work / "floor.xlsx"
    shutil.copy(SAMPLE, drawing)
    velmar(work, drawing, "--output", workbook, "export", "--block-wildcard", "DOOR", "--layer", "on")
    velmar(work, drawing, "--workbook", workbook, "import-by-handle", "--save-link", "on")
    linked = links(drawing)
    doors = {"DE", "E5", "EC", "F3", "FA"}
    if set(linked) != doors or set(linked.values()) != {str(workbook)}:
        fail(f"sample: the import linked {linked}, not the five doors to {workbook}")

    # The edits arrive only once the automatic update is on.
    edit(workbook, "E5_MARK", "D02-EDITED")
    edit(workbook, "DE:Layer", "A-WALL")
    before = attributes(drawing)
    velmar(work, drawing, "links")
    expect_values("sample, update off", before, attributes(drawing), {})
    out = velmar(work, drawing, "links", "--auto-update", "on")
    if "opening the drawing: on" not in out:
        fail("sample: links --auto-update on did not report the option on:\n" + out)
    velmar(work, drawing, "links")
    after = attributes(drawing)
    expect_values("sample, update on", before, after, {("E5", "MARK"): "D02-EDITED"})
    if after[1]["DE"] != "A-DOOR":
        fail("sample: a property arrived though properties are ignored")
    if not (work / "floor.bak").exists():
        fail("sample: the updated drawing kept no backup")

    # Nothing left to bring: the drawing stays byte for byte.
    unchanged = drawing.read_bytes()
    velmar(work, drawing, "links")
    if drawing.read_bytes() != unchanged:
        fail("sample: an update with nothing to bring rewrote the drawing")

    velmar(work, drawing, "links", "--ignore-properties", "off")
    velmar(work, drawing, "links")
    if attributes(drawing)[1]["DE"] != "A-WALL":
        fail("sample: the layer did not arrive with properties taken")

    # Moved to another folder: reported, then found through the updated link.
    shared = work / "shared"
    shared.mkdir()
    moved = shared / "floor.xlsx"
    shutil.move(workbook, moved)
    edit(moved, "EC_MARK", "D03-MOVED")
    before = attributes(drawing)
    out = velmar(work, drawing, "links")
    if f"Cannot to find {workbook}." not in out:
        fail("sample: the moved workbook was not reported:\n" + out)
    expect_values("sample, moved", before, attributes(drawing), {})
    velmar(work, drawing, "--yes", "links", "--link", workbook, "--excel-workbook", moved, "--update-link")
    if set(links(drawing).values()) != {str(moved)}:
        fail(f"sample: update link left {links(drawing)}")
    velmar(work, drawing, "links")
    expect_values("sample, link updated", before, attributes(drawing), {("EC", "MARK"): "D03-MOVED"})

    # Broken: nothing arrives any more.
    velmar(work, drawing, "--yes", "links", "--link", "floor.xlsx", "--break-link")
    if links(drawing):
        fail(f"sample: links left after break link: {links(drawing)}")
    edit(moved, "F3_MARK", "D04-AFTER-BREAK")
    before = attributes(drawing)
    velmar(work, drawing, "links")
    expect_values("sample, broken", before, attributes(drawing), {})


def corpus(work):
    """A drawing of another program takes the same road, and every other attribute stays."""
    drawing = work / "plan.dxf"
    workbook = work / "plan.xlsx"
    shutil.copy(CORPUS, drawing)
    velmar(work, drawing, "--output", workbook, "export")
    velmar(work, drawing, "--workbook", workbook, "import-by-handle", "--save-link", "on")
    linked = links(drawing)
    if not linked:
        fail("corpus: the import linked no reference")
        return
    before = attributes(drawing)
    insert, attrib = next(place for place in before[0] if place[0] in linked)
    tag = before[0][(insert, attrib)][0]
    fields = edit(workbook, f"{insert}_{tag}", "EDITED BY OPENPYXL")
    velmar(work, drawing, "links", "--auto-update", "on")
    velmar(work, drawing, "links")
    changed = {tuple(field.split("_", 1)): "EDITED BY OPENPYXL" for field in fields}
    expect_values("corpus", before, attributes(drawing), changed)


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-links-") as folder:
        work = Path(folder) / "sample"
        work.mkdir()
        sample(work)
    with tempfile.TemporaryDirectory(prefix="velmar-links-") as folder:
        corpus(Path(folder))
    if failures:
        print(f"{len(failures)} failure(s)")
        return 1
    print("links: every check passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
