"""ezdxf reads the blocks we cloned from one corpus drawing into another, and the drawings we
inserted into others as blocks.

For each pair: cad_block_tool copies the block (or the whole drawing) into the target and saves
it; ezdxf reads the result, its audit finds nothing it didn't find in the target before, and the
block holds the source's entities in order with the same values (handles aside), every layer,
text style, line type and dimension style they name, and every block they refer to, nested ones
included, the same way. The source drawing's file is unchanged.
"""
import hashlib
import os
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_block_common import audit_findings, check, corpus, finish, run_tool  # noqa: E402

import ezdxf  # noqa: E402

CLONES = [  # source, block, target
    ("arch-plan-attribs-ac1018.dxf", "LEGEND", "qcad-flange-attribs-ac1027.dxf"),
    ("librecad-arch-library-ac1021.dxf", "KITCHEN SINK", "arch-plan-attribs-ac1018.dxf"),
    ("qcad-flange-attribs-ac1027.dxf", "Title", "libredwg-example-ac1015.dxf"),
    ("curtainwall-details-mleader-dynblocks-ac1027.dxf", "027-853", "netdxf-sample-ac1032.dxf"),
    ("netdxf-sample-ac1032-binary.dxf", "MyBlock", "gdal-cyrillic-ansi1251-ac1032.dxf"),
    ("korean-ansi949-ac1032.dxf", "my-block", "cyrillic-uescape-ac1015.dxf"),
    ("cyrillic-uescape-ac1015.dxf", "_OPEN30", "korean-ansi949-ac1032.dxf"),
    ("entities-attribs-ac1009.dxf", "BLOCK2", "libredwg-example-ac1021.dxf"),
]
INSERTS = [  # source, target, new block name
    ("librecad-arch-library-ac1021.dxf", "qcad-flange-attribs-ac1027.dxf", "Furniture"),
    ("qcad-dxflib-supported-entities-ac1015.dxf", "arch-plan-attribs-ac1018.dxf", "Entities"),
    # UTF-8 into the Windows-1251 code page: the Cyrillic layer name is written in its bytes.
    ("gdal-cyrillic-ansi1251-ac1032.dxf", "cyrillic-uescape-ac1015.dxf", "Buildings"),
]
# Values that name other objects by handle differ in the copy by design.
HANDLES = {"handle", "owner"}


def digest(path):
    with open(path, "rb") as f:
        return hashlib.sha256(f.read()).hexdigest()


def values(entity):
    out = {}
    for key, value in entity.dxf.all_existing_dxf_attribs().items():
        if key in HANDLES or key.endswith("_handle"):
            continue
        out[key] = repr(value)
    return out


def compare_block(src_doc, src_name, out_doc, out_name, seen):
    """Compares block `src_name` of the source with `out_name` of the result, nested blocks too."""
    if src_name.lower() in seen:
        return
    seen.add(src_name.lower())
    src_block = src_doc.blocks.get(src_name)
    out_block = out_doc.blocks.get(out_name)
    if not check(out_block is not None, "block %s is missing" % out_name):
        return
    src_entities, out_entities = list(src_block), list(out_block)
    check([e.dxftype() for e in src_entities] == [e.dxftype() for e in out_entities],
          "block %s: entity types differ" % out_name)
    for a, b in zip(src_entities, out_entities):
        va, vb = values(a), values(b)
        if a.dxftype() == "INSERT":
            va.pop("name", None)
            nested = b.dxf.name
            vb.pop("name", None)
            compare_block(src_doc, a.dxf.name, out_doc, nested, seen)
        if va != vb:
            keys = sorted(k for k in set(va) | set(vb) if va.get(k) != vb.get(k))
            check(False, "block %s: %s %s differs in %s" % (out_name, b.dxftype(), b.dxf.handle, keys))
        named(out_doc, b, out_name)


def named(doc, entity, block):
    """Every table record the entity names by name is in the drawing."""
    tables = {"layer": doc.layers, "style": doc.styles, "linetype": doc.linetypes, "dimstyle": doc.dimstyles}
    for attribute, table in tables.items():
        if not entity.dxf.is_supported(attribute) or not entity.dxf.hasattr(attribute):
            continue
        name = entity.dxf.get(attribute)
        if name.upper() in ("BYLAYER", "BYBLOCK"):
            continue
        check(name in table, "block %s: %s %s names %s %r, which the drawing lacks"
              % (block, entity.dxftype(), entity.dxf.handle, attribute, name))


def clone_checks(tmp):
    for source, block, target in CLONES:
        out = os.path.join(tmp, "clone-%s-into-%s" % (block.replace(" ", "_"), target))
        before = digest(corpus(source))
        run_tool("clone-block", corpus(source), block, corpus(target), out)
        check(digest(corpus(source)) == before, "%s changed" % source)
        target_doc = ezdxf.readfile(corpus(target))
        out_doc = ezdxf.readfile(out)
        new = audit_findings(out_doc) - audit_findings(target_doc)
        check(not new, "%s into %s: the audit finds %s" % (block, target, sorted(new)[:5]))
        src_doc = ezdxf.readfile(corpus(source))
        compare_block(src_doc, block, out_doc, block, set())
        print("%s of %s into %s: %d entities" % (block, source, target, len(out_doc.blocks.get(block))))


def insert_checks(tmp):
    for source, target, name in INSERTS:
        out = os.path.join(tmp, "insert-%s-into-%s" % (name, target))
        run_tool("insert-drawing", corpus(source), corpus(target), name, out)
        src_doc = ezdxf.readfile(corpus(source))
        out_doc = ezdxf.readfile(out)
        new = audit_findings(out_doc) - audit_findings(ezdxf.readfile(corpus(target)))
        check(not new, "%s into %s: the audit finds %s" % (source, target, sorted(new)[:5]))
        block = out_doc.blocks.get(name)
        if not check(block is not None, "block %s is missing" % name):
            continue
        check(tuple(block.block.dxf.base_point) == tuple(src_doc.header.get("$INSBASE", (0, 0, 0))),
              "%s: base point %s" % (name, block.block.dxf.base_point))
        src_entities, out_entities = list(src_doc.modelspace()), list(block)
        check([e.dxftype() for e in src_entities] == [e.dxftype() for e in out_entities],
              "%s: entity types differ" % name)
        seen = set()
        for a, b in zip(src_entities, out_entities):
            check(values(a) == values(b) or a.dxftype() == "INSERT", "%s: %s differs" % (name, b.dxftype()))
            named(out_doc, b, name)
            if a.dxftype() == "INSERT":
                compare_block(src_doc, a.dxf.name, out_doc, b.dxf.name, seen)
        print("%s into %s as %s: %d entities" % (source, target, name, len(out_entities)))


with tempfile.TemporaryDirectory() as tmp:
    clone_checks(tmp)
    insert_checks(tmp)
finish()
