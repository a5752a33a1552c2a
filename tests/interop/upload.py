#!/usr/bin/python3
"""Upload end to end: a drawing made by ezdxf is exported with velmar, then changed by ezdxf as
another program would (two attribute values, one of them only in letter case, the later of two
attributes of one tag, a layer, a position, a reference deleted) and uploaded into the schedule.
openpyxl checks that exactly the cells of those values took the drawing's texts and every other
value and comment stayed; the zip parts that hold nothing changed are the same bytes; a second
upload writes nothing; the deleted reference's row is offered, and removed only when asked; a dry
run leaves the file alone and lists the cells; a cell that shows a distance with other decimals
isn't rewritten; keys of another drawing file are passed over; a corpus drawing takes the same
road; LibreOffice opens the result."""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import warnings
import zipfile
from pathlib import Path
from xml.etree import ElementTree

import ezdxf
import openpyxl
from openpyxl.comments import Comment

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import SOURCE, fail, failures  # noqa: E402
from velmar_checks import run as velmar  # noqa: E402

CORPUS = [SOURCE / "tests/corpus/dxf/arch-plan-attribs-ac1018.dxf",
          SOURCE / "tests/corpus/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf"]
# "<drawing><HANDLE_TAG>", "<drawing><HANDLE_TAG(ATTRIBHANDLE)>", "<drawing><HANDLE:Property>".
KEY = re.compile(r"^(?P<drawing>.*)<(?P<field>(?P<handle>[0-9A-F]+)[_:].+)>$")
PROMPT = "Do you want to remove the rows ("
SUCCESS = "Upload the attributes and properties of the block references to"


def upload(work, drawing, workbook, *options, expect=0):
    return velmar(work, "--drawing", drawing, "--workbook", workbook, "--yes", "upload", *options,
                  expect=expect)


def load(path):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return openpyxl.load_workbook(path)


def as_text(value):
    if value is None:
        return ""
    if isinstance(value, float) and value.is_integer():
        return str(int(value))
    return str(value)


def snapshot(path):
    """{(sheet, cell): (value, comment text, number format)} of every cell that holds something."""
    cells = {}
    for sheet in load(path).worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                if cell.value is not None or cell.comment is not None:
                    cells[(sheet.title, cell.coordinate)] = (
                        cell.value, cell.comment.text if cell.comment else None, cell.number_format)
    return cells


def keyed_cells(cells):
    """{field of the key ("44_TAG", "44:PosX"): (sheet, cell)} of a snapshot."""
    found = {}
    for place, (_, comment, _) in cells.items():
        for line in (comment or "").splitlines():
            match = KEY.match(line.strip())
            if match:
                found[match["field"]] = place
    return found


def zip_parts(path):
    with zipfile.ZipFile(path) as package:
        return {info.filename: (info.CRC, info.compress_type, info.compress_size, package.read(info))
                for info in package.infolist()}


def sheet_parts(path):
    """{sheet title: its part name in the package}."""
    ns = {"m": "http://schemas.openxmlformats.org/spreadsheetml/2006/main",
          "r": "http://schemas.openxmlformats.org/officeDocument/2006/relationships",
          "p": "http://schemas.openxmlformats.org/package/2006/relationships"}
    with zipfile.ZipFile(path) as package:
        book = ElementTree.fromstring(package.read("xl/workbook.xml"))
        rels = ElementTree.fromstring(package.read("xl/_rels/workbook.xml.rels"))
    targets = {rel.get("Id"): rel.get("Target") for rel in rels.findall("p:Relationship", ns)}
    parts = {}
    for sheet in book.findall("m:sheets/m:sheet", ns):
        target = targets[sheet.get("{%s}id" % ns["r"])]
        parts[sheet.get("name")] = target.lstrip("/") if target.startswith("/") else "xl/" + target
    return parts


def check_parts(label, before, after, changed_sheets):
    """Every zip part but the changed sheets, the shared strings and the document properties is
    the same bytes (and the same compressed size) as before."""
    old, new = zip_parts(before), zip_parts(after)
    if set(old) != set(new) and set(new) - set(old) != {"xl/sharedStrings.xml"}:
        fail(f"{label}: parts came or went: {sorted(set(old) ^ set(new))}")
    parts = sheet_parts(before)
    allowed = {parts[title] for title in changed_sheets} | {"xl/sharedStrings.xml", "docProps/core.xml",
                                                           "docProps/app.xml"}
    # A workbook without shared strings (openpyxl writes its texts inline) gets
    # them with their content type and relationship.
    if "xl/sharedStrings.xml" not in old:
        allowed |= {"[Content_Types].xml", "xl/_rels/workbook.xml.rels"}
    for name in sorted(set(old) & set(new)):
        if old[name] != new[name] and name not in allowed:
            fail(f"{label}: part {name} changed though nothing of it was meant to")


def check_cells(label, before, after, expected):
    """`expected` maps a place to the text it must now show; every other cell is as it was, and
    every comment and number format too. Distances compare as numbers."""
    for place in sorted(set(before) | set(after)):
        old = before.get(place, (None, None, "General"))
        new = after.get(place, (None, None, "General"))
        if old[1] != new[1]:
            fail(f"{label}: the comment of {place} changed from {old[1]!r} to {new[1]!r}")
        if old[2] != new[2]:
            fail(f"{label}: the number format of {place} changed from {old[2]!r} to {new[2]!r}")
        if place in expected:
            want = expected[place]
            got = as_text(new[0])
            if isinstance(new[0], (int, float)) and not isinstance(new[0], bool):
                ok = abs(new[0] - float(want)) <= 1e-9 if re.fullmatch(r"-?[0-9.]+", want) else False
            else:
                ok = got == want
            if not ok:
                fail(f"{label}: {place} holds {new[0]!r}, not the drawing's {want!r}")
        elif old[0] != new[0]:
            fail(f"{label}: {place} changed from {old[0]!r} to {new[0]!r} though its value did not")


def make_drawing(path):
    """VALVE, PUMP and JBOX references (JBOX with two CIRCUIT attributes); gives their handles."""
    doc = ezdxf.new("R2018")
    for name, tags in [("VALVE", ["TAG", "SIZE", "STATUS"]), ("PUMP", ["TAG", "POWER"])]:
        block = doc.blocks.new(name)
        block.add_circle((0, 0), 1)
        for n, tag in enumerate(tags):
            block.add_attdef(tag, (2, -n), dxfattribs={"height": 0.5})
    block = doc.blocks.new("JBOX")
    block.add_lwpolyline([(0, 0), (1, 0), (1, 1), (0, 1)], close=True)
    for n, tag in enumerate(["CIRCUIT", "CIRCUIT", "TAG"]):
        block.add_attdef(tag, (2, -n), dxfattribs={"height": 0.5})
    doc.layers.add("EQUIP")
    doc.layers.add("PIPING")
    msp = doc.modelspace()
    handles = {}
    for n in range(14):
        ref = msp.add_blockref("VALVE", (10 * n + 0.25, 5.5), dxfattribs={"layer": "PIPING"})
        ref.add_auto_attribs({"TAG": "V-%02d" % n, "SIZE": "25", "STATUS": "open"})
        handles["V-%02d" % n] = ref.dxf.handle
    for n in range(5):
        ref = msp.add_blockref("PUMP", (12 * n, -20), dxfattribs={"layer": "EQUIP"})
        ref.add_auto_attribs({"TAG": "P-%d" % n, "POWER": "7.5"})
        handles["P-%d" % n] = ref.dxf.handle
    ref = msp.add_blockref("JBOX", (0, -40), dxfattribs={"layer": "EQUIP"})
    for n, (tag, text) in enumerate([("CIRCUIT", "C1"), ("CIRCUIT", "C2"), ("TAG", "JB-1")]):
        ref.add_attrib(tag, text, (2, -40 - n))
    handles["JB-1"] = ref.dxf.handle
    doc.saveas(path)
    return handles


def change_drawing(path, handles, deleted):
    """What another program does between the export and the upload; gives {field: new text}."""
    doc = ezdxf.readfile(path)
    db = doc.entitydb
    changes = {}

    def set_attrib(label, tag, text, nth=0):
        insert = db[handles[label]]
        attrib = [a for a in insert.attribs if a.dxf.tag == tag][nth]
        attrib.dxf.text = text
        field = f"{insert.dxf.handle}_{tag}" + (f"({attrib.dxf.handle})" if nth else "")
        changes[field] = text

    set_attrib("V-03", "STATUS", "closed")
    set_attrib("V-05", "STATUS", "Open")  # only the letter case
    set_attrib("JB-1", "CIRCUIT", "C2 spare", nth=1)
    pump = db[handles["P-2"]]
    pump.dxf.layer = "PIPING"
    changes[f"{pump.dxf.handle}:Layer"] = "PIPING"
    valve = db[handles["V-07"]]
    valve.dxf.insert = valve.dxf.insert + (3.25, 0, 0)
    for attrib in valve.attribs:
        attrib.dxf.insert = attrib.dxf.insert + (3.25, 0, 0)
    changes[f"{valve.dxf.handle}:PosX"] = "%g" % valve.dxf.insert.x
    doc.modelspace().delete_entity(db[handles[deleted]])
    doc.saveas(path)
    return changes


def row_of(keys, handle):
    rows = {place for field, place in keys.items() if re.match(f"{handle}[_:]", field)}
    assert len(rows) > 0, handle
    return {row for _, row in ((sheet, int(re.sub("[A-Z]+", "", cell))) for sheet, cell in rows)}


def expected_places(keys, changes):
    missing = [field for field in changes if field not in keys]
    if missing:
        fail(f"the export wrote no cells for {missing}")
    return {keys[field]: text for field, text in changes.items() if field in keys}


def opens_in_libreoffice(path, work, wanted):
    out = work / "csv"
    shutil.rmtree(out, ignore_errors=True)
    lo = subprocess.run(["soffice", "--headless", "--norestore", f"-env:UserInstallation=file://{work}/lo",
                         "--convert-to", "csv", "--outdir", str(out), str(path)],
                        capture_output=True, text=True, timeout=300)
    csv = out / (path.stem + ".csv")
    if lo.returncode != 0 or not csv.exists():
        fail(f"LibreOffice could not convert {path.name}: {lo.stderr}")
        return
    text = csv.read_text(errors="replace")
    for value in wanted:
        if value not in text:
            fail(f"LibreOffice doesn't see {value!r} in {path.name}")


def plant(work):
    drawing = work / "plant.dxf"
    handles = make_drawing(drawing)
    exported = work / "exported.xlsx"
    velmar(work, "--drawing", drawing, "--output", exported, "export", "--combine", "off",
           "--drawing-column", "on", "--position-x", "on", "--position-y", "on", "--layer", "on")
    if not exported.exists():
        fail("plant: the export wrote no workbook")
        return
    before = snapshot(exported)
    keys = keyed_cells(before)
    # The reference to delete: a valve in the middle of the sheet, not one that changes.
    rows = sorted((min(row_of(keys, handles[label])), label) for label in handles if label.startswith("V-")
                  and label not in ("V-03", "V-05", "V-07"))
    deleted_row, deleted = rows[len(rows) // 2]
    changes = change_drawing(drawing, handles, deleted)
    expected = expected_places(keys, changes)
    title = next(iter(before))[0]

    # Offered, not removed; exactly the changed cells written.
    workbook = work / "plant.xlsx"
    shutil.copy(exported, workbook)
    result = upload(work, drawing, workbook, "--remove-deleted-rows", "no")
    output = result.stdout + result.stderr
    if SUCCESS not in output:
        fail(f"plant: no success line in {output!r}")
    offered = re.findall(r"[0-9]+", output.split(PROMPT, 1)[1].split(")")[0]) if PROMPT in output else []
    if offered != [str(deleted_row)]:
        fail(f"plant: row {deleted_row} of the deleted reference isn't offered alone: {output!r}")
    if "Delete the row" in output:
        fail(f"plant: a row was deleted though the answer was no: {output!r}")
    after = snapshot(workbook)
    check_cells("plant", before, after, expected)
    check_parts("plant", exported, workbook, {title})
    print(f"plant: {len(expected)} cells uploaded, row {deleted_row} offered and kept")

    # Nothing changed since: the second upload writes nothing.
    first = workbook.read_bytes()
    upload(work, drawing, workbook, "--remove-deleted-rows", "no")
    if workbook.read_bytes() != first:
        fail("plant: a second upload changed the workbook")

    # A dry run lists the cells and the row, and writes nothing.
    dry = work / "dry.xlsx"
    shutil.copy(exported, dry)
    result = upload(work, drawing, dry, "--remove-deleted-rows", "yes", "--dry-run")
    if dry.read_bytes() != exported.read_bytes():
        fail("plant: the dry run changed the workbook")
    for sheet, cell in expected:
        absolute = re.sub(r"([A-Z]+)([0-9]+)", r"$\1$\2", cell)
        if f"{sheet}:{absolute}" not in result.stdout:
            fail(f"plant: the dry run doesn't list {sheet}:{absolute}: {result.stdout!r}")
    result = upload(work, drawing, dry, "--remove-deleted-rows", "yes", "--dry-run", "--json")
    if dry.read_bytes() != exported.read_bytes():
        fail("plant: the dry run with --json changed the workbook")
    try:
        objects = [json.loads(line) for line in result.stdout.splitlines() if line.strip()]
        if len(objects) != 1:
            fail(f"plant: --json printed {len(objects)} JSON objects, not one summary: {result.stdout!r}")
        summary = next(o for o in objects if isinstance(o.get("changes"), list))
        listed = {re.sub(r"\$", "", change["cell"]).split(":")[-1].split("!")[-1]: change["new"]
                  for change in summary["changes"]}
        if sorted(listed) != sorted(cell for _, cell in expected):
            fail(f"plant: --json lists {sorted(listed)}, not {sorted(cell for _, cell in expected)}")
        if summary["deletedRows"] != [deleted_row]:
            fail(f"plant: --json gives deleted rows {summary['deletedRows']}, not [{deleted_row}]")
    except (ValueError, KeyError, TypeError, StopIteration) as error:
        fail(f"plant: --json printed no summary ({error}): {result.stdout!r}")

    # Asked to remove: the row goes and the rows below move up with their comments.
    removed = work / "removed.xlsx"
    shutil.copy(exported, removed)
    result = upload(work, drawing, removed, "--remove-deleted-rows", "yes")
    if f"Delete the row {deleted_row} successfully." not in result.stdout:
        fail(f"plant: no word of deleting row {deleted_row}: {result.stdout!r}")
    now = snapshot(removed)
    shifted = {}
    for (sheet, cell), content in before.items():
        row = int(re.sub("[A-Z]+", "", cell))
        column = re.sub("[0-9]+", "", cell)
        if row == deleted_row:
            continue
        place = (sheet, f"{column}{row - 1}" if row > deleted_row else cell)
        shifted[place] = content
    moved_expected = {}
    for (sheet, cell), text in expected.items():
        row = int(re.sub("[A-Z]+", "", cell))
        column = re.sub("[0-9]+", "", cell)
        moved_expected[(sheet, f"{column}{row - 1}" if row > deleted_row else cell)] = text
    check_cells("plant, row removed", shifted, now, moved_expected)
    if any(re.match(f"{handles[deleted]}[_:]", field) for field in keyed_cells(now)):
        fail("plant: the deleted reference's keys are still on the sheet")
    print(f"plant: row {deleted_row} removed, the rows below moved up")

    opens_in_libreoffice(workbook, work, ["closed", "Open", "C2 spare"])


def edited_by_openpyxl(work):
    """The schedule saved by openpyxl after a person's edits: a distance typed with other
    decimals, a number format with more places, a key of another drawing file; none of these
    cells is rewritten, while the changed values are."""
    drawing = work / "plant.dxf"
    handles = make_drawing(drawing)
    exported = work / "exported.xlsx"
    velmar(work, "--drawing", drawing, "--output", exported, "export", "--combine", "off",
           "--drawing-column", "on", "--position-x", "on", "--position-y", "on", "--layer", "on")
    if not exported.exists():
        fail("edited: the export wrote no workbook")
        return
    keys = keyed_cells(snapshot(exported))
    book = load(exported)
    v1, v2, v4 = handles["V-01"], handles["V-02"], handles["V-04"]
    sheet_of = lambda field: book[keys[field][0]][keys[field][1]]
    posy = sheet_of(f"{v1}:PosY")
    if as_text(posy.value) != "5.5":
        fail(f"edited: position Y of V-01 reads {posy.value!r}, not 5.5")
    posy.value = "5.50"  # typed as text, the same distance
    posx = sheet_of(f"{v2}:PosX")
    posx.number_format = "0.000"  # shows 20.250
    other = sheet_of(f"{v4}_SIZE")
    other.value = "from elsewhere"
    other.comment = Comment(f"{work / 'other.dxf'}<{v4}_SIZE>", "someone")
    book.save(exported)
    changes = change_drawing(drawing, handles, "V-12")
    before = snapshot(exported)
    expected = expected_places(keyed_cells(before), changes)
    workbook = work / "edited.xlsx"
    shutil.copy(exported, workbook)
    upload(work, drawing, workbook, "--remove-deleted-rows", "no")
    after = snapshot(workbook)
    check_cells("edited", before, after, expected)
    check_parts("edited", exported, workbook, {keys[f"{v1}:PosY"][0]})
    print("edited: the distance typed as 5.50, the one shown as 20.250 and the other file's key kept")


def moved_drawing(work):
    """The drawing moved to another folder: its keys are passed over unless the paths are to be
    updated, which rewrites them to the drawing's path and still uploads the values."""
    first = work / "first"
    first.mkdir()
    drawing = first / "plant.dxf"
    handles = make_drawing(drawing)
    exported = work / "exported.xlsx"
    velmar(work, "--drawing", drawing, "--output", exported, "export", "--combine", "off",
           "--drawing-column", "on", "--layer", "on")
    if not exported.exists():
        fail("moved: the export wrote no workbook")
        return
    moved = work / "second" / "plant.dxf"
    moved.parent.mkdir()
    shutil.move(drawing, moved)
    changes = change_drawing(moved, handles, "V-12")
    changes = {field: text for field, text in changes.items() if not field.endswith(":PosX")}
    before = snapshot(exported)
    expected = expected_places(keyed_cells(before), changes)
    workbook = work / "moved.xlsx"
    shutil.copy(exported, workbook)
    upload(work, moved, workbook, "--remove-deleted-rows", "no", "--update-drawing-paths", "on")
    after = snapshot(workbook)
    for place, (value, comment, _) in after.items():
        if comment and comment != "Velmar_CurrentDrawing" and str(drawing) in comment:
            fail(f"moved: {place} still names the old folder: {comment!r}")
        if place in expected and as_text(value) != expected[place]:
            fail(f"moved: {place} holds {value!r}, not {expected[place]!r}")
    for place, (value, comment, _) in before.items():
        now = after.get(place, (None,))[0]
        # A drawing path cell may take the drawing's new path.
        if place not in expected and now != value and not (comment == "Velmar_CurrentDrawing" and now == str(moved)):
            fail(f"moved: {place} changed from {value!r} to {now!r}")
    print("moved: keys of the old folder rewritten to the new path and the values uploaded")


def corpus(work):
    """Drawings of other programs: exported, two attribute values and a position changed by
    ezdxf, uploaded."""
    for original in CORPUS:
        folder = work / original.stem
        folder.mkdir()
        drawing = folder / original.name
        shutil.copy(original, drawing)
        exported = folder / "exported.xlsx"
        velmar(work, "--drawing", drawing, "--output", exported, "export", "--combine", "off",
               "--position-x", "on", "--layer", "on")
        if not exported.exists():
            fail(f"{original.name}: the export wrote no workbook")
            continue
        before = snapshot(exported)
        keys = keyed_cells(before)
        doc = ezdxf.readfile(drawing)
        changes = {}
        for insert in doc.modelspace().query("INSERT"):
            handle = insert.dxf.handle.upper()
            keyed = [a for a in insert.attribs if f"{handle}_{a.dxf.tag}" in keys]
            if len(changes) < 2 and keyed:
                keyed[0].dxf.text = f"UPLOADED {len(changes) + 1}"
                changes[f"{handle}_{keyed[0].dxf.tag}"] = keyed[0].dxf.text
            elif f"{handle}:PosX" in keys and not any(f.endswith(":PosX") for f in changes):
                insert.dxf.insert = insert.dxf.insert + (100, 0, 0)
                changes[f"{handle}:PosX"] = repr(insert.ocs().to_wcs(insert.dxf.insert).x)
        doc.saveas(drawing)
        expected = expected_places(keys, changes)
        workbook = folder / "uploaded.xlsx"
        shutil.copy(exported, workbook)
        upload(work, drawing, workbook, "--remove-deleted-rows", "no")
        after = snapshot(workbook)
        # A position cell shows the distance rounded: a tolerance of its last place.
        for place, text in list(expected.items()):
            if place in after and isinstance(after[place][0], (int, float)) and abs(after[place][0] - float(text)) < 1e-3:
                expected[place] = as_text(after[place][0])
        check_cells(original.name, before, after, expected)
        check_parts(original.name, exported, workbook, {place[0] for place in expected})
        bytes_after = workbook.read_bytes()
        upload(work, drawing, workbook, "--remove-deleted-rows", "no")
        if workbook.read_bytes() != bytes_after:
            fail(f"{original.name}: a second upload changed the workbook")
        print(f"{original.name}: {len(expected)} cells uploaded, {len(before)} cells compared")


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-upload-") as folder:
        work = Path(folder)
        for check in (plant, edited_by_openpyxl, moved_drawing, corpus):
            part = work / check.__name__
            part.mkdir()
            check(part)
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
