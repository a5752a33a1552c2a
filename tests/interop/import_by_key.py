#!/usr/bin/python3
"""Import by key attribute end to end: sheets typed with openpyxl as a person would, drawings
made by ezdxf and taken from the corpus, velmar import-by-key over them; ezdxf reads every
result and a record by record comparison of the DXF text shows that exactly the matched
attributes changed and every other record stayed as it was."""
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import ezdxf
import openpyxl

from dxf_records import records

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
CORPUS = [SOURCE / "tests/corpus/dxf/arch-plan-attribs-ac1018.dxf",
          SOURCE / "tests/corpus/dxf/ezdxf-192-inserts-576-attribs-ac1018.dxf"]
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def velmar(work, *args):
    command = [str(TOOL), "--settings", str(work / "settings.ini"), *map(str, args)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=600)
    if result.returncode != 0:
        fail("velmar %s: exit %d\n%s%s" % (" ".join(map(str, args)), result.returncode, result.stdout, result.stderr))
    return result


def attribs(path):
    """{(insert handle, attrib handle): (tag, text)} of every reference of the drawing."""
    doc = ezdxf.readfile(path)
    values = {}
    for layout in doc.layouts:
        for insert in layout.query("INSERT"):
            for attrib in insert.attribs:
                values[(insert.dxf.handle.upper(), attrib.dxf.handle.upper())] = (attrib.dxf.tag, attrib.dxf.text)
    return values


def check_drawing(before, after, expected):
    """`expected` maps (insert handle, tag) to the new text of every attribute meant to change."""
    old, new = attribs(before), attribs(after)
    changed_records = set()
    for key, (tag, text) in new.items():
        want = expected.get((key[0], tag), old[key][1])
        if text != want:
            fail("%s: %s %s is %r, not %r" % (after.name, key[0], tag, text, want))
        if text != old[key][1]:
            changed_records.add(key[1])
    old_records, new_records = records(before), records(after)
    if set(old_records) != set(new_records):
        fail("%s: records came or went: %s" % (after.name, set(old_records) ^ set(new_records)))
    for handle, record in new_records.items():
        if record == old_records.get(handle):
            continue
        if handle == "HEADER" or handle.startswith("#"):
            # The header's save stamps may move; nothing else outside records with handles.
            if handle.startswith("#") and record[:2] != old_records.get(handle, [])[:2]:
                fail("%s: record %s changed" % (after.name, handle))
            continue
        if handle not in changed_records:
            fail("%s: record %s changed though no value of it was meant to" % (after.name, handle))
            continue
        # A changed attribute differs in its text, and in its placement when it is justified.
        differing = {code for (code, value), (_, old_value) in zip(record, old_records[handle]) if value != old_value}
        if not differing <= {"1", "10", "20", "30"} or len(record) != len(old_records[handle]):
            fail("%s: attribute %s changed beyond its text: %s" % (after.name, handle, differing))


def make_drawings(folder, count):
    """Drawings of VALVE references keyed by TAG ("V-<drawing>-<n>"), attributes left-aligned."""
    folder.mkdir(exist_ok=True)
    paths = []
    for d in range(count):
        doc = ezdxf.new("R2018" if d % 2 else "R2010")
        block = doc.blocks.new("VALVE")
        block.add_circle((0, 0), 1)
        for n, tag in enumerate(["TAG", "SIZE", "STATUS"]):
            block.add_attdef(tag, (2, -n), dxfattribs={"height": 0.5})
        other = doc.blocks.new("PUMP")
        other.add_attdef("TAG", (0, 0))
        other.add_attdef("STATUS", (0, -1))
        msp = doc.modelspace()
        for n in range(12):
            ref = msp.add_blockref("VALVE", (10 * n, 5 * d))
            ref.add_auto_attribs({"TAG": "V-%02d-%02d" % (d, n), "SIZE": "25", "STATUS": "old"})
        pump = msp.add_blockref("PUMP", (0, -10))
        pump.add_auto_attribs({"TAG": "V-%02d-00" % d, "STATUS": "old"})
        path = folder / ("valves%02d.dxf" % d)
        doc.saveas(path)
        paths.append(path)
    return paths


def header_row_mode(work):
    """50 drawings, one sheet: every third valve gets a size typed as a number and a status."""
    source = work / "src"
    originals = make_drawings(source, 50)
    target = work / "valves"
    shutil.copytree(source, target)
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.title = "Valves"
    sheet.append(["TAG", "SIZE", "STATUS"])
    expected = {}
    for d in range(50):
        for n in range(0, 12, 3):
            key = "v-%02d-%02d" % (d, n) if n == 3 else "V-%02d-%02d" % (d, n)  # typed in lower case once
            sheet.append([key, 40 + n, "checked"])
    sheet.append(["V-99-99", 1, "no such valve"])
    book.save(work / "valves.xlsx")
    (work / "valves.lst").write_text("".join("%s\n" % (target / p.name) for p in originals))
    velmar(work, "--workbook", work / "valves.xlsx", "import-by-key", "--tags-from", "header-row",
           "--header-row", "1", "--key", "TAG", "--block", "VALVE", "--drawings-from", "selected",
           "--list", work / "valves.lst")
    for original in originals:
        doc = ezdxf.readfile(original)
        expected = {}
        for insert in doc.modelspace().query("INSERT[name=='VALVE']"):
            n = int(insert.get_attrib_text("TAG")[-2:])
            if n % 3 == 0:
                expected[(insert.dxf.handle.upper(), "SIZE")] = str(40 + n)
                expected[(insert.dxf.handle.upper(), "STATUS")] = "checked"
        check_drawing(original, target / original.name, expected)


def column_map_and_selected_rows(work):
    """No header: key in C, STATUS in A; only the selected rows 2 to 3 are used; wildcards."""
    originals = make_drawings(work / "src", 1)
    drawing = work / "columns.dxf"
    shutil.copy(originals[0], drawing)
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.append(["first row, not selected", None, "V-00-01"])
    sheet.append(["selected", None, "V-00-02"])
    sheet.append(["by pattern", None, "V-00-1*"])
    sheet.append(["not selected either", None, "V-00-03"])
    book.save(work / "columns.xlsx")
    velmar(work, "--workbook", work / "columns.xlsx", "--selection", "A2:C3", "import-by-key",
           "--tags-from", "columns", "--column", "C=TAG", "--column", "A=STATUS", "--key", "TAG",
           "--block", "VALVE", "--use-wildcards", "on", "--selected-rows-only", "on",
           "--drawings-from", "selected", "--add-drawings", drawing)
    expected = {}
    doc = ezdxf.readfile(originals[0])
    for insert in doc.modelspace().query("INSERT[name=='VALVE']"):
        tag = insert.get_attrib_text("TAG")
        if tag == "V-00-02":
            expected[(insert.dxf.handle.upper(), "STATUS")] = "selected"
        elif tag.startswith("V-00-1"):
            expected[(insert.dxf.handle.upper(), "STATUS")] = "by pattern"
    check_drawing(originals[0], drawing, expected)


def corpus_drawings(work):
    """Drawings of other programs: each reference's first attribute keys a new second one."""
    for original in CORPUS:
        drawing = work / original.name
        shutil.copy(original, drawing)
        doc = ezdxf.readfile(original)
        blocks, rows, expected = {}, {}, {}
        for insert in doc.modelspace().query("INSERT"):
            tags = [a.dxf.tag for a in insert.attribs]
            if len(tags) < 2 or len(set(tags)) != len(tags):
                continue
            key_tag, value_tag = tags[0], tags[1]
            if blocks.setdefault(insert.dxf.name, (key_tag, value_tag)) != (key_tag, value_tag):
                continue
            key = insert.get_attrib_text(key_tag)
            if not key or key.upper() in rows:
                continue
            rows[key.upper()] = (key, "NEW " + key)
        if not blocks:
            fail("%s: no attributed references to key" % original.name)
            continue
        # One key tag for the sheet: the most common among the blocks.
        key_tag = max({k for k, _ in blocks.values()}, key=lambda t: sum(k == t for k, _ in blocks.values()))
        names = [name for name, (k, _) in blocks.items() if k == key_tag]
        value_tags = sorted({v for name, (k, v) in blocks.items() if k == key_tag})
        book = openpyxl.Workbook()
        sheet = book.active
        sheet.append([key_tag] + value_tags)
        values = {}
        for insert in doc.modelspace().query("INSERT"):
            if insert.dxf.name not in names:
                continue
            key = insert.get_attrib_text(key_tag)
            if not key or key.upper() in values:
                continue
            values[key.upper()] = "NEW " + key
            sheet.append([key] + ["NEW " + key] * len(value_tags))
        book.save(work / (original.stem + ".xlsx"))
        for insert in doc.modelspace().query("INSERT"):
            if insert.dxf.name not in names:
                continue
            key = insert.get_attrib_text(key_tag)
            if key and key.upper() in values:
                for attrib in insert.attribs:
                    if attrib.dxf.tag in value_tags and attrib.dxf.tag != key_tag:
                        expected[(insert.dxf.handle.upper(), attrib.dxf.tag)] = values[key.upper()]
        args = ["--workbook", work / (original.stem + ".xlsx"), "import-by-key", "--tags-from", "header-row",
                "--header-row", "1", "--key", key_tag, "--drawings-from", "selected", "--add-drawings", drawing]
        for name in names:
            args += ["--block", name]
        velmar(work, *args)
        check_drawing(original, drawing, expected)


def by_drawing_and_leaders(work):
    """"DWG File" keys with layouts on the sample's title blocks; multileaders keyed by ID."""
    drawing = work / "plan.dxf"
    shutil.copy(SOURCE / "examples/floor.dxf", drawing)
    book = openpyxl.Workbook()
    sheet = book.active
    sheet.append(["DWG File", "Block Name", "SHEET"])
    sheet.append(["plan|Details", "TITLEBLOCK", "Details, revised"])
    book.save(work / "titles.xlsx")
    velmar(work, "--drawing", drawing, "--workbook", work / "titles.xlsx", "import-by-key", "--tags-from",
           "header-row", "--header-row", "1", "--key", "DWG File", "--block", "TITLEBLOCK",
           "--drawings-from", "current")
    doc = ezdxf.readfile(drawing)
    sheets = {layout.name: [i.get_attrib_text("SHEET") for i in layout.query("INSERT[name=='TITLEBLOCK']")]
              for layout in doc.layouts if layout.name != "Model"}
    if sheets != {"Plan": ["Ground floor plan"], "Details": ["Details, revised"]}:
        fail("DWG File keys by layout gave %s" % sheets)

    leaders = work / "leaders.dxf"
    shutil.copy(SOURCE / "tests/data/import/leaders.dxf", leaders)
    velmar(work, "--workbook", SOURCE / "tests/data/import/leaders.xlsx", "import-by-key", "--tags-from",
           "header-row", "--header-row", "1", "--key", "ID", "--block", "TAGBOX", "--drawings-from",
           "selected", "--add-drawings", leaders)
    doc = ezdxf.readfile(leaders)
    labels = []
    for leader in doc.modelspace().query("MULTILEADER"):
        block = doc.blocks.get_block_layout_by_handle(leader.context.block.block_record_handle)
        tags = {attdef.dxf.handle: attdef.dxf.tag for attdef in block.query("ATTDEF")}
        labels += [attr.text for attr in leader.block_attribs if tags.get(attr.handle) == "LABEL"]
    if labels != ["new one", "new two", "stays"]:
        fail("multileaders gave %s" % labels)


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-by-key-") as folder:
        work = Path(folder)
        for check in (header_row_mode, column_map_and_selected_rows, corpus_drawings, by_drawing_and_leaders):
            part = work / check.__name__
            part.mkdir()
            check(part)
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
