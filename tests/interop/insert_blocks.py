#!/usr/bin/python3
"""Insert blocks end to end. openpyxl writes a sheet of 500 rows naming blocks of the sample
drawing (written by ezdxf) with positions, scales, layers and attribute values; the first 300 go
to the current drawing, the next 100 to one other drawing file and the last 100 to another, named
in a drawing path column. ezdxf reads each drawing: every new reference has its row's block,
position, scale, layer and attribute values (the definition's default where the row has none)
and its row link, and ezdxf's audit finds nothing the drawing didn't have. Then 50 rows of the
sheet change and --update brings exactly their references in line: every other record of the
drawing is the same bytes as before."""
import os
import random
import shutil
import sys
import tempfile
from pathlib import Path

import ezdxf
import openpyxl

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import SAMPLE, SOURCE, fail, failures, velmar  # noqa: E402

ROW_LINK = "26B39FF7-A595-4C83-9E44-263A93150487"
HEADER = ["Block", "Position X", "Position Y", "Layer", "Scale X", "Scale Y", "Scale Z", "MARK", "WIDTH",
          "ASSET_ID", "DESK_NO", "Drawing"]
BLOCKS = ["DOOR", "WINDOW", "EQUIPMENT", "DESK_SET"]
LAYERS = ["A-DOOR", "A-GLAZ", "E-EQPM", "I-FURN", "0"]


def rows_for(work):
    """The 500 rows: {sheet row: [cells]}."""
    rng = random.Random(7)
    rows = {}
    for n in range(500):
        block = BLOCKS[n % len(BLOCKS)]
        scale = 2.0 if n % 7 == 0 else 1.0
        drawing = "" if n < 300 else str(work / ("side1.dxf" if n < 400 else "side2.dxf"))
        rows[n + 2] = [block, round(rng.uniform(-500, 500), 3), round(rng.uniform(-500, 500), 3), LAYERS[n % 5],
                       scale, scale, scale, "M-%03d" % n, str(600 + n), "A-%03d" % n if block == "EQUIPMENT" else None,
                       "K-%03d" % n if block == "DESK_SET" else None, drawing]
    return rows


def write_sheet(path, rows):
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Rows"
    sheet.append(HEADER)
    for row in sorted(rows):
        sheet.append(rows[row])
    book.save(path)


def new_references(path, original):
    doc = ezdxf.readfile(path)
    return doc, [e for e in doc.modelspace().query("INSERT") if e.dxf.handle not in original]


def audit_errors(path):
    doc = ezdxf.readfile(path)
    return sorted(str(e.code) for e in doc.audit().errors)


def check_references(label, path, original, rows, sheet_path):
    doc, made = new_references(path, original)
    if len(made) != len(rows):
        fail(f"{label}: {len(made)} new references for {len(rows)} rows")
        return
    defaults = {b.name: {d.dxf.tag: d.dxf.text for d in b.query("ATTDEF")} for b in doc.blocks}
    for ref, (number, row) in zip(made, sorted(rows.items())):
        block, x, y, layer, scale = row[0], row[1], row[2], row[3], row[4]
        where = f"{label} row {number} ({ref.dxf.handle})"
        if ref.dxf.name != block:
            fail(f"{where}: block {ref.dxf.name}, not {block}")
        if abs(ref.dxf.insert.x - x) > 1e-9 or abs(ref.dxf.insert.y - y) > 1e-9:
            fail(f"{where}: at {ref.dxf.insert}, not ({x}, {y})")
        if abs(ref.dxf.xscale - scale) > 1e-12 or abs(ref.dxf.yscale - scale) > 1e-12:
            fail(f"{where}: scale {ref.dxf.xscale}, not {scale}")
        if ref.dxf.layer != layer:
            fail(f"{where}: layer {ref.dxf.layer}, not {layer}")
        values = dict(zip(HEADER, row))
        for attrib in ref.attribs:
            want = values.get(attrib.dxf.tag)
            want = defaults[block].get(attrib.dxf.tag, "") if want is None else str(want)
            if attrib.dxf.text != want:
                fail(f"{where}: {attrib.dxf.tag} reads {attrib.dxf.text!r}, not {want!r}")
        link = [v for c, v in ref.get_xdata(ROW_LINK)] if ref.has_xdata(ROW_LINK) else []
        if link != [f"{sheet_path}|Rows|{number}"]:
            fail(f"{where}: row link {link}")


def records(path):
    """{handle: the record's raw lines} of a DXF file, entities and objects alike."""
    lines = Path(path).read_text(encoding="utf-8").split("\n")
    out, current, handle = {}, [], None
    for i in range(0, len(lines) - 1, 2):
        code, value = lines[i].strip(), lines[i + 1]
        if code == "0":
            if handle:
                out[handle] = current
            current, handle = [], None
        current.append((code, value))
        if code == "5" and handle is None:
            handle = value.strip()
    if handle:
        out[handle] = current
    return out


def shapes(entities):
    """(type, point) of each entity, rounded to 1e-9, sorted: what a viewer shows and where."""
    out = []
    for e in entities:
        kind = e.dxftype()
        if kind in ("LINE",):
            point = e.dxf.start
        elif kind in ("ARC", "CIRCLE", "ELLIPSE"):
            point = e.dxf.center
        elif kind == "LWPOLYLINE":
            point = tuple(e.get_points("xy")[0]) + (e.dxf.elevation,)
        elif e.dxf.is_supported("insert"):
            point = e.dxf.get("insert", (0, 0, 0))
        else:
            point = (0, 0, 0)
        out.append((kind, tuple(round(c, 9) + 0.0 for c in point)))
    return sorted(out)


def library_and_burst():
    """A block taken from a corpus library drawing into the sample, and bursts compared with
    ezdxf's explode of the same references."""
    library = SOURCE / "tests/corpus/dxf/librecad-arch-library-ac1021.dxf"
    with tempfile.TemporaryDirectory(prefix="velmar-insert-") as folder:
        work = Path(folder)
        for name in ["whole.dxf", "burst.dxf"]:
            shutil.copy(SAMPLE, work / name)
        rows = {2: ["SOFA", 10.0, 20.0, "A-WALL", 1, 1, 1, None, None, None, None, ""],
                3: ["DOOR", 50.0, 60.0, "A-DOOR", 2, 2, 2, "D-BURST", "1200", None, None, ""],
                4: ["WINDOW", -5.0, 7.5, "0", 1, 1, 1, "W-BURST", "800", None, None, ""]}
        sheet = work / "rows.xlsx"
        write_sheet(sheet, rows)
        common = ["--workbook", sheet, "insert-blocks", "--block-name-column", "A", "--tags-from", "header-row",
                  "--header-row", "1", "--block-library", library]
        velmar(work, "--drawing", work / "whole.dxf", *common)
        velmar(work, "--drawing", work / "burst.dxf", *common, "--block-burst", "on")
        source = ezdxf.readfile(library)
        whole = ezdxf.readfile(work / "whole.dxf")
        if "SOFA" not in whole.blocks:
            fail("library: SOFA was not brought into the drawing")
            return
        if shapes(whole.blocks["SOFA"]) != shapes(source.blocks["SOFA"]):
            fail("library: SOFA's entities differ from the library's")
        for layer in {e.dxf.layer for e in source.blocks["SOFA"]}:
            if layer not in whole.layers:
                fail(f"library: layer {layer} of SOFA did not come along")
        if audit_errors(work / "whole.dxf") != audit_errors(SAMPLE):
            fail(f"library: ezdxf's audit found {audit_errors(work / 'whole.dxf')}")
        # Bursts: what ezdxf's explode of the whole references gives, texts for attributes included.
        original = {e.dxf.handle for e in ezdxf.readfile(SAMPLE).modelspace()}
        expected = []
        for ref in whole.modelspace().query("INSERT"):
            if ref.dxf.handle not in original and ref.dxf.name in ("DOOR", "WINDOW"):
                expected += [e for e in ref.explode() if e.dxftype() != "ATTDEF"]
        burst = ezdxf.readfile(work / "burst.dxf")
        pieces = [e for e in burst.modelspace() if e.dxf.handle not in original and e.dxftype() != "INSERT"]
        if not expected or shapes(pieces) != shapes(expected):
            fail(f"burst: {shapes(pieces)} differ from ezdxf's explode {shapes(expected)}")
        texts = sorted(e.dxf.text for e in pieces if e.dxftype() == "TEXT")
        if "D-BURST" not in texts or "W-BURST" not in texts:
            fail(f"burst: attribute texts {texts}")
        left = [e.dxf.name for e in burst.modelspace().query("INSERT") if e.dxf.handle not in original]
        if left != ["SOFA"]:
            fail(f"burst: references left {left}, only SOFA (no definitions) should stay")
        if audit_errors(work / "burst.dxf") != audit_errors(SAMPLE):
            fail(f"burst: ezdxf's audit found {audit_errors(work / 'burst.dxf')}")


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-insert-") as folder:
        work = Path(folder)
        drawing = work / "floor.dxf"
        for name in ["floor.dxf", "side1.dxf", "side2.dxf"]:
            shutil.copy(SAMPLE, work / name)
        original = {e.dxf.handle for e in ezdxf.readfile(SAMPLE).modelspace().query("INSERT")}
        audit_before = audit_errors(SAMPLE)
        rows = rows_for(work)
        sheet = work / "rows.xlsx"
        write_sheet(sheet, rows)
        velmar(work, "--drawing", drawing, "--workbook", sheet, "insert-blocks", "--block-name-column", "A",
               "--tags-from", "header-row", "--header-row", "1", "--drawing-path-column", "L")
        parts = [("current", drawing, {k: v for k, v in rows.items() if k < 302}),
                 ("side1", work / "side1.dxf", {k: v for k, v in rows.items() if 302 <= k < 402}),
                 ("side2", work / "side2.dxf", {k: v for k, v in rows.items() if k >= 402})]
        for label, path, part in parts:
            check_references(label, path, original, part, sheet)
            if audit_errors(path) != audit_before:
                fail(f"{label}: ezdxf's audit found {audit_errors(path)}, the sample {audit_before}")
        if not (work / "side1.bak").exists():
            fail("side1: no backup was kept")

        # Fifty rows of the current drawing change; --update brings exactly their references in line.
        before = records(drawing)
        rng = random.Random(11)
        changed = rng.sample(sorted(k for k in rows if k < 302), 50)
        for number in changed:
            rows[number][1] += 10
            rows[number][7] = rows[number][7] + "-NEW"
        write_sheet(sheet, rows)
        velmar(work, "--drawing", drawing, "--workbook", sheet, "insert-blocks", "--block-name-column", "A",
               "--tags-from", "header-row", "--header-row", "1", "--drawing-path-column", "L", "--update")
        check_references("updated", drawing, original, {k: v for k, v in rows.items() if k < 302}, sheet)
        doc, made = new_references(drawing, original)
        by_row = {int(ref.get_xdata(ROW_LINK)[0][1].rsplit("|", 1)[1]): ref for ref in made}
        allowed = set()
        for number in changed:
            ref = by_row[number]
            allowed.add(ref.dxf.handle)
            allowed.update(a.dxf.handle for a in ref.attribs)
        after = records(drawing)
        if set(after) != set(before):
            fail("update: records came or went")
        moved = {h for h in before if h in after and before[h] != after[h]}
        if moved - allowed:
            fail(f"update: records changed that no changed row names: {sorted(moved - allowed)[:10]}")
        if len(moved & {by_row[n].dxf.handle for n in changed}) != 50:
            fail(f"update: {len(moved & allowed)} of the changed rows' records changed")
    library_and_burst()
    if failures:
        print(f"{len(failures)} failure(s)")
        return 1
    print("insert_blocks: every check passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
