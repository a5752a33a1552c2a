"""Our reading of dynamic block references against the same tags read by ezdxf.

ezdxf knows nothing of dynamic blocks, so it serves as an independent reader of the tags: for
every reference of the corpus drawings below, the dynamic block its representation data (or its
anonymous block's AcDbBlockRepBTag) names must be the one `velmar dxf dynamic --json` names, and
every visibility, lookup, linear and rotation property we report must hold what the reference's own
xrecord under the parameter's node id holds (or, without one, the definition's default).
"""
import json
import math
import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_block_common import BUILD, check, corpus, finish  # noqa: E402

import ezdxf  # noqa: E402

VELMAR = os.path.join(BUILD, "src", "cli", "velmar")
DRAWINGS = [
    "dynblock-visibility-ac1032.dxf",
    "dynblock-lookup-ac1032.dxf",
    "acadsharp-sample-ac1032.dxf",
    "curtainwall-details-mleader-dynblocks-ac1027.dxf",
    "text-attribs-dynblock-ac1032.dxf",
]


def dictionary_entry(doc, owner, name):
    """The object under `name` in `owner`'s extension dictionary or in the dictionary `owner`."""
    if owner is None:
        return None
    if owner.dxftype() != "DICTIONARY":
        if not owner.has_extension_dict:
            return None
        owner = owner.get_extension_dict().dictionary
    handle = owner.get(name)
    return doc.entitydb.get(handle) if isinstance(handle, str) else handle


def raw_tags(entity):
    """Every (code, value) of an object ezdxf keeps as tags, subclass by subclass."""
    out = []
    for subclass in entity.xtags.subclasses:
        out.extend((t.code, t.value) for t in subclass)
    return out


def true_block_handle(doc, insert):
    rep = dictionary_entry(doc, insert, "AcDbBlockRepresentation")
    data = dictionary_entry(doc, rep, "AcDbRepData")
    if data is not None:
        for code, value in raw_tags(data):
            if code == 340:
                return value
    record = doc.block_records.get(insert.dxf.name)
    if record is not None and record.has_xdata("AcDbBlockRepBTag"):
        for tag in record.get_xdata("AcDbBlockRepBTag"):
            if tag.code == 1005:
                return tag.value
    return record.dxf.handle if record is not None else None


def node_state(doc, insert, node_id):
    """The reference's xrecord tags for a node after the leading 1071 and 70 values; None without."""
    rep = dictionary_entry(doc, insert, "AcDbBlockRepresentation")
    cache = dictionary_entry(doc, dictionary_entry(doc, rep, "AppDataCache"), "ACAD_ENHANCEDBLOCKDATA")
    record = dictionary_entry(doc, cache, str(node_id))
    if record is None:
        return None
    tags = [(t.code, t.value) for t in record.tags]
    while tags and tags[0][0] in (1071, 70):
        tags.pop(0)
    return tags


def compare(doc, insert, ours):
    """Compares our properties of one reference with its tags; how many were compared."""
    compared = 0
    for prop in ours["properties"]:
        handle = prop["parameter"]
        node = doc.entitydb.get(handle)
        tags = raw_tags(node)
        node_id = next(v for c, v in tags if c == 90)
        state = node_state(doc, insert, node_id)
        where = "%s %s (%s)" % (insert.dxf.handle, prop["name"], prop["parameterType"])
        kind = prop["parameterType"]
        if kind == "BLOCKVISIBILITYPARAMETER":
            states = [v for c, v in tags if c == 303]
            expected = next(v for c, v in state if c == 1) if state else states[0]
            check(prop["value"] == expected, "%s: %r, ezdxf reads %r" % (where, prop["value"], expected))
            check(prop["allowedValues"] == states, "%s: states %r, ezdxf reads %r"
                  % (where, prop["allowedValues"], states))
        elif kind == "BLOCKLOOKUPPARAMETER":
            expected = next(v for c, v in state if c == 1)
            check(prop["value"] == expected, "%s: %r, ezdxf reads %r" % (where, prop["value"], expected))
        elif kind == "BLOCKLINEARPARAMETER":
            if state:
                points = [v for c, v in state if c == 10]
            else:
                points = [v for c, v in tags if c in (1010, 1011)][:2]
            expected = math.dist(points[0], points[1])
            check(abs(prop["value"] - expected) < 1e-9, "%s: %r, ezdxf reads %r" % (where, prop["value"], expected))
        elif kind == "BLOCKROTATIONPARAMETER":
            # The rotation parameter's own point (the last 1011) sets the base angle.
            def_base = next(v for c, v in tags if c == 1010)
            angle_point = [v for c, v in tags if c == 1011][-1]
            base, end = ([v for c, v in state if c == 10][:2] if state
                         else [def_base, [v for c, v in tags if c == 1011][0]])
            expected = (math.atan2(end[1] - base[1], end[0] - base[0]) -
                        math.atan2(angle_point[1] - def_base[1], angle_point[0] - def_base[0])) % (2 * math.pi)
            if 2 * math.pi - expected < 1e-12:
                expected = 0.0
            check(abs(prop["value"] - expected) < 1e-9, "%s: %r, ezdxf reads %r" % (where, prop["value"], expected))
        else:
            continue
        compared += 1
    return compared


def main():
    if not os.path.exists(VELMAR):
        sys.exit("velmar is not built: cmake --build <build> --target velmar")
    for name in DRAWINGS:
        path = corpus(name)
        done = subprocess.run([VELMAR, "dxf", "dynamic", path, "--json"], capture_output=True, text=True)
        if not check(done.returncode == 0, "%s: velmar failed: %s" % (name, done.stderr)):
            continue
        ours = {r["handle"]: r for r in json.loads(done.stdout)["references"]}
        compared = 0
        doc = ezdxf.readfile(path)
        for insert in doc.entitydb.values():
            if insert.dxftype() != "INSERT":
                continue
            handle = true_block_handle(doc, insert)
            record = doc.entitydb.get(handle) if handle else None
            graph = dictionary_entry(doc, record, "ACAD_ENHANCEDBLOCK") if record is not None else None
            dynamic = graph is not None and graph.dxftype() == "ACAD_EVALUATION_GRAPH"
            mine = ours.get(insert.dxf.handle)
            check(dynamic == (mine is not None), "%s %s: dynamic %s, we say %s"
                  % (name, insert.dxf.handle, dynamic, mine is not None))
            if not dynamic or mine is None:
                continue
            check(mine["dynamicBlockHandle"] == handle, "%s %s: block %s, ezdxf reads %s"
                  % (name, insert.dxf.handle, mine["dynamicBlockHandle"], handle))
            compared += compare(doc, insert, mine)
        print("%s: %d dynamic references, %d properties compared" % (name, len(ours), compared))
    finish()


if __name__ == "__main__":
    main()
