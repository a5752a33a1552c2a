"""ezdxf reads a reference we turned, scaled and moved with one matrix, its attribute with it,
and the active view we set on it."""
import math
import os
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_geometry_common import SOURCE, check, run_tool  # noqa: E402

import ezdxf  # noqa: E402


def near(a, b, tol=1e-9):
    return all(abs(x - y) <= tol for x, y in zip(a, b))


source = os.path.join(SOURCE, "tests", "data", "cad", "geometry", "rooms-ac1032.dxf")
with tempfile.TemporaryDirectory() as tmp:
    doc = ezdxf.readfile(source)
    ref = [e for e in doc.modelspace().query("INSERT") if e.get_attrib_text("NO") == "1"][0]
    handle = ref.dxf.handle
    moved = os.path.join(tmp, "moved.dxf")
    # Turn 90 degrees about (5,4), scale 2 about the origin, move by (1,1).
    run_tool("transform", source, moved, handle, 90, 2, 1, 1)
    doc = ezdxf.readfile(moved)
    ref = doc.entitydb[handle]
    check(near(ref.dxf.insert, (11, 9, 0)), "insert %s" % (ref.dxf.insert,))
    check(abs(ref.dxf.rotation - 90) < 1e-9, "rotation %s" % ref.dxf.rotation)
    check(near((ref.dxf.xscale, ref.dxf.yscale, ref.dxf.zscale), (2, 2, 2)), "scale")
    attrib = ref.get_attrib("NO")
    # The attribute at (5.6,4) turns to (5,4.6), scales to (10,9.2), moves to (11,10.2).
    check(near(attrib.dxf.insert, (11, 10.2, 0)), "attribute at %s" % (attrib.dxf.insert,))
    check(abs(attrib.dxf.height - 0.5) < 1e-12, "attribute height %s" % attrib.dxf.height)
    check(abs(attrib.dxf.rotation - 90) < 1e-9, "attribute rotation %s" % attrib.dxf.rotation)
    check(not doc.audit().has_errors, "audit errors")

    viewed = os.path.join(tmp, "viewed.dxf")
    run_tool("view", moved, viewed, handle)
    doc = ezdxf.readfile(viewed)
    vport = doc.viewports.get("*Active")[0]
    # The circle of radius 1 about (11,9), (10,8)-(12,10), and the value "1" turned upright at
    # (11,10.2): 0.5 along y, 0.5 high towards -x, (10.5,10.2)-(11,10.7).
    check(near(vport.dxf.center, (11, 9.35)), "view centre %s" % (vport.dxf.center,))
    check(abs(vport.dxf.height - 2.7) < 1e-9, "view height %s" % vport.dxf.height)
    check(abs(vport.dxf.aspect_ratio * vport.dxf.height - 2) < 1e-9, "view width")
    # The drawing's extents: the rooms from (0,0) to (43,10), the moved tag (10,8)-(12,10.7).
    check(near(doc.header["$EXTMIN"], (0, 0, 0)), "EXTMIN %s" % (doc.header["$EXTMIN"],))
    check(near(doc.header["$EXTMAX"], (43, 10.7, 0)), "EXTMAX %s" % (doc.header["$EXTMAX"],))
print("ok")
