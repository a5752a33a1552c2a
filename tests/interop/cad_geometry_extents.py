"""Our extents of drawn geometry agree with ezdxf's bounding boxes.

Text has no font here, so only entities whose extents follow from their geometry alone are
compared: lines, circles, arcs, ellipses, polylines with bulges, splines, solids, faces, points,
and references to blocks that hold nothing else.
"""
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_geometry_common import SOURCE, TOOL, check, run_tool  # noqa: E402

import ezdxf  # noqa: E402
from ezdxf import path as ezpath  # noqa: E402

PLAIN = {"LINE", "CIRCLE", "ARC", "ELLIPSE", "LWPOLYLINE", "POLYLINE", "SPLINE", "SOLID", "TRACE", "3DFACE", "POINT"}
FILES = ["libredwg-example-ac1015.dxf", "acadsharp-sample-ac1032.dxf", "arch-plan-attribs-ac1018.dxf",
         "qcad-flange-attribs-ac1027.dxf", "curtainwall-details-mleader-dynblocks-ac1027.dxf"]


def plain_block(doc, name, seen=()):
    block = doc.blocks.get(name)
    if block is None or name in seen:
        return False
    for e in block:
        kind = e.dxftype()
        if kind == "ATTDEF":
            return False
        if kind == "INSERT":
            if e.attribs or not plain_block(doc, e.dxf.name, seen + (name,)):
                return False
        elif kind not in PLAIN:
            return False
    return True


def comparable(doc, e):
    kind = e.dxftype()
    if kind == "POLYLINE" and (e.is_poly_face_mesh or e.is_polygon_mesh or e.dxf.flags & 4):
        return False
    if kind in PLAIN:
        return True
    return kind == "INSERT" and not e.attribs and e.dxf.get("column_count", 1) == 1 and \
        e.dxf.get("row_count", 1) == 1 and plain_block(doc, e.dxf.name)


FLATTEN = 1e-3


def points_of(e):
    """Points on the entity, curves flattened by ezdxf to within FLATTEN."""
    kind = e.dxftype()
    if kind == "POINT":
        return [e.dxf.location]
    if kind == "LINE":
        return [e.dxf.start, e.dxf.end]
    if kind in ("ARC", "CIRCLE", "ELLIPSE", "SPLINE"):
        # Their own flattening stays on the curve; paths of Bezier pieces do not.
        return list(e.flattening(FLATTEN))
    if kind in ("INSERT", "LWPOLYLINE", "POLYLINE"):
        out = []
        for v in e.virtual_entities():
            out.extend(points_of(v))
        return out
    return list(ezpath.make_path(e).flattening(FLATTEN))


compared = 0
for name in FILES:
    path = os.path.join(SOURCE, "tests", "corpus", "dxf", name)
    if not os.path.exists(path):
        continue
    run_tool("extents", path)  # fails the check when the tool fails
    out = subprocess.run([TOOL, "extents", path], capture_output=True, text=True).stdout
    ours = {}
    for line in out.splitlines():
        parts = line.split(" ", 2)
        if parts[2].startswith("- "):
            continue
        ours[parts[0]] = [float(v) for v in parts[2].split()]
    doc = ezdxf.readfile(path)
    for e in doc.modelspace():
        if not comparable(doc, e):
            continue
        pts = points_of(e)
        if not pts:
            continue
        handle = e.dxf.handle
        check(handle in ours, "%s: no extents for %s %s" % (name, e.dxftype(), handle))
        mine = ours[handle]
        lo = [min(p[i] for p in pts) for i in range(3)]
        hi = [max(p[i] for p in pts) for i in range(3)]
        size = max(max(hi[i] - lo[i] for i in range(3)), 1.0)
        # Our splines are sampled, 32 points per knot span; everything else is exact.
        tol = size * (1e-3 if e.dxftype() in ("SPLINE", "INSERT") else 1e-9) + 2 * FLATTEN
        for i in range(3):
            check(abs(mine[i] - lo[i]) <= tol and abs(mine[3 + i] - hi[i]) <= tol,
                  "%s: %s %s ours %s ezdxf %s %s" % (name, e.dxftype(), handle, mine, lo, hi))
        compared += 1
check(compared > 100, "only %d entities compared" % compared)
print("ok, %d entities" % compared)
