#!/usr/bin/python3
"""Export a drawing of dynamic blocks with "Dynamic properties" on, change a distance and a
visibility state in the sheet with openpyxl, import by handle with velmar: `velmar dxf dynamic`
reads the new values back, ezdxf shows the new geometry and its audit finds nothing new."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import ezdxf
import openpyxl

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
DRAWING = SOURCE / "tests/corpus/dxf/acadsharp-sample-ac1032.dxf"
failures = []


def check(condition, text):
    if not condition:
        failures.append(text)
        print("FAIL:", text)


def velmar(workdir, *args):
    command = [str(TOOL), "--settings", str(workdir / "settings.ini"), *args]
    done = subprocess.run(command, capture_output=True, text=True, timeout=300)
    if done.returncode != 0:
        sys.exit("velmar %s failed: %s%s" % (" ".join(args[:4]), done.stdout, done.stderr))
    return done.stdout


def findings(doc):
    auditor = doc.audit()
    return {(e.code, e.message) for e in auditor.errors} | {(f.code, f.message) for f in auditor.fixes}


with tempfile.TemporaryDirectory() as tmp:
    work = Path(tmp)
    plan = work / "plan.dxf"
    shutil.copyfile(DRAWING, plan)
    os.chmod(plan, 0o644)
    book = work / "schedule.xlsx"
    velmar(work, "--drawing", str(plan), "export", "--dynamic-properties", "on", "--tick", "my-dynamic-block",
           "--output", str(book), "--yes")

    wb = openpyxl.load_workbook(book)
    ws = wb.active
    cells = {}
    for row in ws.iter_rows():
        for cell in row:
            if cell.comment is not None:
                cells[cell.comment.text.rsplit("<", 1)[1].rstrip(">")] = cell
    check("ABA_dynamic-diameter" in cells and "AC5_custom_visibility" in cells,
          "the export keys the dynamic property cells: %s" % sorted(cells))
    cells["ABA_dynamic-diameter"].value = 5
    cells["AC5_custom_visibility"].value = "visibility_state_hide_all"
    wb.save(book)

    velmar(work, "--drawing", str(plan), "--workbook", str(book), "import-by-handle", "--yes")

    read = json.loads(velmar(work, "dxf", "dynamic", str(plan), "--json"))
    values = {r["handle"]: {p["name"]: p["value"] for p in r["properties"]} for r in read["references"]}
    check(abs(values["ABA"]["dynamic-diameter"] - 5) < 1e-9, "ABA reads back %s" % values["ABA"])
    check(values["AC5"]["custom_visibility"] == "visibility_state_hide_all", "AC5 reads back %s" % values["AC5"])
    check(values["AC5"]["dynamic-diameter"] > 14, "AC5 kept its distance: %s" % values["AC5"])

    doc = ezdxf.readfile(plan)
    new = findings(doc) - findings(ezdxf.readfile(DRAWING))
    check(not new, "ezdxf's audit finds new problems: %s" % sorted(new))
    circle = next(iter(doc.blocks.get(doc.entitydb["ABA"].dxf.name)))
    check(abs(circle.dxf.radius - 2.5) < 1e-9, "ABA's circle has radius %s, not 2.5" % circle.dxf.radius)
    hidden = next(iter(doc.blocks.get(doc.entitydb["AC5"].dxf.name)))
    check(hidden.dxf.invisible == 1, "AC5's circle is still visible")

if failures:
    sys.exit("%d failures" % len(failures))
print("ok")
