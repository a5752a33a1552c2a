"""Our explode of block references against ezdxf's own explode of the same references.

For each corpus drawing below, every model-space reference (MINSERTs aside) whose block holds only
entity types our explode carries is exploded by cad_block_tool; ezdxf explodes the same reference
in the original drawing with insert.explode(). The pieces must be of the same types in the same
order (ezdxf leaves attribute definitions out, as we do by default, and adds the reference's
attributes as texts at the end, which we leave to the caller), and their points and sizes in world
coordinates must agree within 1e-9 (relative to their size). A reference we refuse must be one a
scale that differs within a piece's plane would distort.
"""
import os
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_block_common import check, corpus, finish, run_tool  # noqa: E402

import ezdxf  # noqa: E402
from ezdxf.math import Vec3  # noqa: E402

DRAWINGS = [
    "arch-plan-attribs-ac1018.dxf",  # mirrored, turned, unevenly scaled, with normals of their own
    "ezdxf-192-inserts-576-attribs-ac1018.dxf",  # every combination of normal, rotation and mirror
    "curtainwall-details-mleader-dynblocks-ac1027.dxf",  # hatches, mirrored
    "libredwg-example-ac1015.dxf",  # turned, mirrored and unevenly scaled at once
    "gdal-attrib-nested-ac1009.dxf",  # a nested reference, unevenly scaled (R12)
    "qcad-dxflib-supported-entities-ac1015.dxf",  # ellipses, splines, polylines, solids
    "bricscad-xclip-inserts-ac1027.dxf",
    "acadsharp-sample-ac1018-binary.dxf",  # binary
    "acadsharp-sample-ac1009.dxf",  # R12 polylines
    "librecad-arch-library-ac1021.dxf",  # a z scale of 0
]
CARRIED = {"LINE", "POINT", "CIRCLE", "ARC", "ELLIPSE", "LWPOLYLINE", "POLYLINE", "SPLINE", "TEXT", "MTEXT",
           "ATTDEF", "SOLID", "TRACE", "3DFACE", "HATCH", "INSERT"}
DISTORTED = ("unevenly", "slanted", "skewed")


def hatch_points(e):
    d, ocs = e.dxf, e.ocs()
    z = d.elevation.z
    points = [ocs.to_wcs(Vec3(0, 0, z))]
    for path in e.paths:
        if hasattr(path, "vertices"):
            points += [ocs.to_wcs(Vec3(v[0], v[1], z)) for v in path.vertices]
            continue
        for edge in path.edges:
            if edge.type.name == "LINE":
                points += [ocs.to_wcs(Vec3(edge.start).replace(z=z)), ocs.to_wcs(Vec3(edge.end).replace(z=z))]
            elif edge.type.name == "ARC":
                points += [ocs.to_wcs(Vec3(edge.center).replace(z=z)), Vec3(edge.radius, 0, 0)]
    return points


def geometry(e):
    """The points and sizes of a piece in world coordinates."""
    t, d = e.dxftype(), e.dxf
    ocs = e.ocs() if hasattr(e, "ocs") else None
    if t == "LINE":
        return [d.start, d.end]
    if t == "POINT":
        return [d.location]
    if t == "CIRCLE":
        return [ocs.to_wcs(d.center), Vec3(d.radius, 0, 0)]
    if t == "ARC":
        return [ocs.to_wcs(d.center), Vec3(d.radius, 0, 0), e.start_point, e.end_point]
    if t == "ELLIPSE":
        return [d.center, Vec3(d.major_axis.magnitude, d.ratio, 0), e.start_point, e.end_point]
    if t == "LWPOLYLINE":
        return list(e.vertices_in_wcs()) + [Vec3(s, w, b) for _, _, s, w, b in e.get_points("xysEb")]
    if t == "POLYLINE":
        if e.is_2d_polyline:
            return [ocs.to_wcs(Vec3(v.dxf.location).replace(z=d.elevation.z)) for v in e.vertices]
        return [v.dxf.location for v in e.vertices]
    if t == "SPLINE":
        return list(e.control_points) + list(e.fit_points)
    if t in ("TEXT", "ATTDEF"):
        return [ocs.to_wcs(d.insert), Vec3(d.height, 0, 0)]
    if t == "MTEXT":
        return [d.insert, Vec3(d.char_height, 0, 0)]
    if t in ("SOLID", "TRACE"):
        return [ocs.to_wcs(d.get(v, Vec3())) for v in ("vtx0", "vtx1", "vtx2", "vtx3")]
    if t == "3DFACE":
        return [d.vtx0, d.vtx1, d.vtx2, d.vtx3]
    if t == "INSERT":  # the whole block transform, whatever the scales and rotation that give it
        return [ocs.to_wcs(d.insert)] + [Vec3(tuple(row)[:3]) for row in e.matrix44().rows()]
    if t == "HATCH":
        return hatch_points(e)
    return []


def near(a, b, tol=1e-9):
    return Vec3(a).isclose(Vec3(b), abs_tol=tol * max(1.0, Vec3(b).magnitude))


def references(doc):
    out = []
    for insert in doc.modelspace().query("INSERT"):
        block = insert.block()
        if insert.mcount > 1 or block is None:
            continue
        types = {e.dxftype() for e in block}
        if types and types <= CARRIED:
            out.append(insert.dxf.handle)
    return out


def compare(name, tmp):
    theirs = ezdxf.readfile(corpus(name))
    handles = references(theirs)
    out = os.path.join(tmp, "exploded-" + name)
    lines = run_tool("explode", corpus(name), out, *handles).splitlines()
    ours = ezdxf.readfile(out)
    compared = refused = 0
    for line in lines:
        handle, *pieces = line.split(" ")
        if pieces[:1] == ["!"]:
            reason = " ".join(pieces[1:])
            check(any(word in reason for word in DISTORTED), "%s: %s refused: %s" % (name, handle, reason))
            refused += 1
            continue
        insert = theirs.entitydb[handle]
        attributes = len(insert.attribs)
        expected = list(insert.explode())
        expected = expected[:len(expected) - attributes]
        mine = [ours.entitydb[h] for h in pieces]
        compared += 1
        if not check([e.dxftype() for e in mine] == [e.dxftype() for e in expected],
                     "%s: %s gives %s, ezdxf %s" % (name, handle, [e.dxftype() for e in mine],
                                                     [e.dxftype() for e in expected])):
            continue
        for a, b in zip(mine, expected):
            ga, gb = geometry(a), geometry(b)
            if not check(len(ga) == len(gb) and all(near(x, y) for x, y in zip(ga, gb)),
                         "%s: %s: %s %s is at %s, ezdxf's at %s" % (name, handle, a.dxftype(), a.dxf.handle, ga, gb)):
                break
        check(ours.entitydb.get(handle) is None, "%s: %s was not erased" % (name, handle))
    check(compared > 0, "%s: nothing was compared" % name)
    print("%s: %d references compared, %d refused" % (name, compared, refused))


with tempfile.TemporaryDirectory() as tmp:
    for drawing in DRAWINGS:
        compare(drawing, tmp)
finish()
