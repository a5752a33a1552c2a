#!/usr/bin/python3
"""New attributes end to end. openpyxl writes a sheet of attribute rows (a header row, a row
without a tag, a layer and a text style the drawing lacks); ezdxf adds a turned, scaled and a
nested DOOR reference to the sample drawing. After add-new-atts on DOOR and WINDOW, ezdxf must
see the new definitions, invisible, with their prompts, heights, layers and styles, and every
reference of those blocks (nested ones too) with the new attributes at the definition's place
under the reference's transform, empty, behind the old ones whose values stay; and its audit must
find nothing the drawing didn't have. A second run adds nothing."""
import math
import os
import shutil
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import SAMPLE, TOOL, fail, finish, velmar  # noqa: E402

import ezdxf  # noqa: E402
import openpyxl  # noqa: E402
from ezdxf.math import Matrix44  # noqa: E402

ROWS = [["X", "Y", "Z", "Height", "Layer", "Style", "Tag", "Prompt"],
        [0.5, 1.25, 0, 0.2, "A-DOOR", "Standard", "COST", "Cost"],
        [-1, 2, 0, 0.3, "NO-SUCH-LAYER", "NoSuchStyle", "SUPPLIER", "Supplier"],
        [0, 0, 0, 0.1, "0", "", None, "no tag"]]
NEW = {"COST": (0.5, 1.25, 0, 0.2, "A-DOOR"), "SUPPLIER": (-1, 2, 0, 0.3, "0")}


def block_transform(ref, base):
    """Block coordinates to the coordinates holding the reference, as a matrix of ezdxf's own."""
    sx, sy, sz = ref.dxf.xscale, ref.dxf.yscale, ref.dxf.zscale
    m = Matrix44.translate(-base.x, -base.y, -base.z) @ Matrix44.scale(sx, sy, sz) @ \
        Matrix44.z_rotate(math.radians(ref.dxf.rotation)) @ Matrix44.translate(*ref.dxf.insert)
    return m


def main():
    if not TOOL.exists():
        print("velmar not built:", TOOL)
        return 1
    work = Path(tempfile.mkdtemp(prefix="velmar-addatts-"))
    try:
        drawing = work / "floor.dxf"
        doc = ezdxf.readfile(SAMPLE)
        msp = doc.modelspace()
        msp.add_blockref("DOOR", (100, 50), dxfattribs={"rotation": 30, "xscale": 2, "yscale": 2, "zscale": 2}) \
            .add_auto_attribs({"MARK": "D90"})
        skid = doc.blocks.new("DOORPAIR")
        skid.add_blockref("DOOR", (5, 0)).add_auto_attribs({"MARK": "D91"})
        msp.add_blockref("DOORPAIR", (200, 0))
        doc.saveas(drawing)
        before_audit = sorted(str(e.code) for e in ezdxf.readfile(drawing).audit().errors)
        before = ezdxf.readfile(drawing)
        old_values = {r.dxf.handle: [(a.dxf.tag, a.dxf.text) for a in r.attribs]
                      for b in before.blocks for r in b.query("INSERT") if r.dxf.name in ("DOOR", "WINDOW")}

        book = work / "atts.xlsx"
        wb = openpyxl.Workbook()
        for row in ROWS:
            wb.active.append(row)
        wb.save(book)
        velmar(work, "--drawing", drawing, "--workbook", book, "add-new-atts", "--block", "DOOR", "--block", "window")

        doc = ezdxf.readfile(drawing)
        for name in ("DOOR", "WINDOW"):
            block = doc.blocks[name]
            defs = {d.dxf.tag: d for d in block.query("ATTDEF")}
            for tag, (x, y, z, height, layer) in NEW.items():
                d = defs.get(tag)
                if d is None:
                    fail("%s has no definition %s" % (name, tag))
                    continue
                if not d.is_invisible:
                    fail("%s.%s is visible" % (name, tag))
                if d.dxf.prompt != tag.capitalize() or abs(d.dxf.height - height) > 1e-9 or d.dxf.layer != layer:
                    fail("%s.%s: prompt %r height %r layer %r" % (name, tag, d.dxf.prompt, d.dxf.height, d.dxf.layer))
                if not d.dxf.insert.isclose((x, y, z), abs_tol=1e-9):
                    fail("%s.%s at %s" % (name, tag, d.dxf.insert))
                if d.dxf.text != "":
                    fail("%s.%s has the default %r" % (name, tag, d.dxf.text))
            if "" in defs:
                fail("%s got a definition without a tag" % name)
            base = block.block.dxf.base_point
            order = [d.dxf.tag for d in block.query("ATTDEF") if not d.is_const]
            refs = [r for b in doc.blocks for r in b.query("INSERT") if r.dxf.name == name]
            if not refs:
                fail("no references of %s" % name)
            for ref in refs:
                tags = [a.dxf.tag for a in ref.attribs]
                if tags != order:
                    fail("%s %s: attributes %s, definitions %s" % (name, ref.dxf.handle, tags, order))
                old = old_values.get(ref.dxf.handle, [])
                if [(a.dxf.tag, a.dxf.text) for a in ref.attribs][:len(old)] != old:
                    fail("%s %s: old values changed" % (name, ref.dxf.handle))
                m = block_transform(ref, base)
                for a in ref.attribs:
                    if a.dxf.tag not in NEW:
                        continue
                    want = m.transform(NEW[a.dxf.tag][:3])
                    if not a.dxf.insert.isclose(want, abs_tol=1e-6):
                        fail("%s %s.%s at %s, expected %s" % (name, ref.dxf.handle, a.dxf.tag, a.dxf.insert, want))
                    if a.dxf.text != "" or not a.is_invisible:
                        fail("%s %s.%s: %r, invisible %s" % (name, ref.dxf.handle, a.dxf.tag, a.dxf.text,
                                                             a.is_invisible))
        after_audit = sorted(str(e.code) for e in doc.audit().errors)
        if after_audit != before_audit:
            fail("audit: %s (before: %s)" % (after_audit, before_audit))

        out = velmar(work, "--drawing", drawing, "--workbook", book, "--json", "add-new-atts", "--block", "DOOR")
        if '"definitionsAdded": 0' not in out:
            fail("a second run added definitions: %s" % out[-500:])
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return finish("new attributes as ezdxf sees them")


if __name__ == "__main__":
    sys.exit(main())
