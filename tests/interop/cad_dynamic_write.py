"""Dynamic block properties set with cad_set_dynamic, the changed drawings read by ezdxf.

ezdxf knows nothing of dynamic blocks: it reads the changed drawing as any viewer would. Its
audit must find nothing the unchanged drawing didn't have; each reference must show an anonymous
block whose record names the dynamic block and whose entities show the new state (visibility
flags, stretched polyline, rotated line, scaled circle); `velmar dxf dynamic --json` must read
the values back; saving the unchanged drawing gives the same bytes.
"""
import json
import math
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_block_common import BUILD, audit_findings, check, corpus, finish  # noqa: E402

import ezdxf  # noqa: E402

VELMAR = os.path.join(BUILD, "src", "cli", "velmar")
TOOL = os.path.join(BUILD, "tests", "cad", "dynamic", "cad_set_dynamic")


def set_properties(source, target, triples):
    args = [TOOL, corpus(source), target]
    for triple in triples:
        args.extend(map(str, triple))
    done = subprocess.run(args, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit("cad_set_dynamic on %s failed: %s" % (source, done.stderr))
    return dict(line.split("\t") for line in done.stdout.splitlines())


def properties(path, handle):
    done = subprocess.run([VELMAR, "dxf", "dynamic", path, handle, "--json"], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit("velmar dxf dynamic failed: %s" % done.stderr)
    reference = json.loads(done.stdout)["references"][0]
    return reference, {p["name"]: p["value"] for p in reference["properties"]}


def shown_block(doc, handle):
    return doc.blocks.get(doc.entitydb[handle].dxf.name)


def names_dynamic_block(doc, block, dynamic_name):
    record = block.block_record
    if not record.has_xdata("AcDbBlockRepBTag"):
        return False
    for tag in record.get_xdata("AcDbBlockRepBTag"):
        if tag.code == 1005:
            return doc.entitydb[tag.value].dxf.name == dynamic_name
    return False


def common_checks(source, changed, handles, dynamic_name):
    original = ezdxf.readfile(corpus(source))
    doc = ezdxf.readfile(changed)
    new = audit_findings(doc) - audit_findings(original)
    check(not new, "%s: ezdxf's audit finds new problems: %s" % (source, sorted(new)))
    for handle in handles:
        block = shown_block(doc, handle)
        check(block is not None and block.name.startswith("*U"), "%s %s: shows no anonymous block" % (source, handle))
        if block is not None:
            check(names_dynamic_block(doc, block, dynamic_name),
                  "%s %s: %s doesn't name %s" % (source, handle, block.name, dynamic_name))
    return doc


def visibility():
    source = "dynblock-visibility-ac1032.dxf"
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "vis.dxf")
        set_properties(source, out, [("252", "Test visibility", "HideAll"), ("28C", "Test visibility", "VisibilityState0")])
        doc = common_checks(source, out, ["252", "28C"], "block_visibility_parameter")
        original = ezdxf.readfile(corpus(source))
        # HideAll as reference 268 shows it, VisibilityState0 as 252 showed it.
        for handle, like in (("252", "268"), ("28C", "252")):
            got = [e.dxf.invisible for e in shown_block(doc, handle)]
            want = [e.dxf.invisible for e in shown_block(original, like)]
            check(got == want, "visibility of %s: %s, AutoCAD's %s" % (handle, got, want))
        _, values = properties(out, "252")
        check(values.get("Test visibility") == "HideAll", "252 reads back %s" % values)


def lookup_and_linear():
    source = "dynblock-lookup-ac1032.dxf"
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "lookup.dxf")
        set_properties(source, out, [("254", "my_distance_label", "7.25"), ("38C", "Lookup Label Name", "Size 8")])
        doc = common_checks(source, out, ["254", "38C"], "My_Look_Block")
        for handle, width in (("254", 7.25), ("38C", 8.0)):
            polyline = [e for e in shown_block(doc, handle) if e.dxftype() == "LWPOLYLINE"][0]
            xs = sorted({round(x, 9) for x, y in polyline.get_points("xy")})
            check(xs == [0.0, width], "%s: polyline spans %s, not 0 to %s" % (handle, xs, width))
        _, values = properties(out, "38C")
        check(values.get("Lookup Label Name") == "Size 8" and abs(values.get("my_distance_label", 0) - 8) < 1e-9,
              "38C reads back %s" % values)


def rotation():
    source = "curtainwall-details-mleader-dynblocks-ac1027.dxf"
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "rotation.dxf")
        set_properties(source, out, [("2204", "Angle", str(math.pi))])
        doc = common_checks(source, out, ["2204"], "Section Callout")
        original = ezdxf.readfile(corpus(source))
        got = [e for e in shown_block(doc, "2204") if e.dxftype() == "LINE"][-1]
        want = [e for e in shown_block(original, "2275") if e.dxftype() == "LINE"][-1]  # 180 degrees
        check(got.dxf.end.isclose(want.dxf.end, abs_tol=1e-6), "2204: line ends at %s, AutoCAD's at %s" % (got.dxf.end, want.dxf.end))


def scale():
    source = "acadsharp-sample-ac1032.dxf"
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "scale.dxf")
        set_properties(source, out, [("AC5", "dynamic-diameter", "1.9997999129492685")])
        doc = common_checks(source, out, ["AC5"], "my-dynamic-block")
        original = ezdxf.readfile(corpus(source))
        got = list(shown_block(doc, "AC5"))[0]
        want = list(shown_block(original, "ABA"))[0]
        check(abs(got.dxf.radius - want.dxf.radius) < 1e-6 and got.dxf.center.isclose(want.dxf.center, abs_tol=1e-6),
              "AC5: circle %s r %s, AutoCAD's %s r %s" % (got.dxf.center, got.dxf.radius, want.dxf.center, want.dxf.radius))


visibility()
lookup_and_linear()
rotation()
scale()
finish()
