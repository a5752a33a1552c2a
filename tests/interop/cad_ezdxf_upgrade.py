"""ezdxf reads every corpus drawing after we brought it to the newest release (AC1032).

For each corpus file (the bad-* ones aside): cad_upgrade converts it; ezdxf must read the result
as AC1032 without recovering, its audit must find no more errors than in the original, and the
entities of every block and layout (by type, attributes and vertices included), the attribute
tags and texts and the layer names must be those ezdxf reads from the original.
"""
import os
import re
import subprocess
import sys
import tempfile
from collections import Counter

import ezdxf
from ezdxf import recover

BUILD = os.environ["VELMAR_BUILD_DIR"]
SOURCE = os.environ["VELMAR_SOURCE_DIR"]
TOOL = os.path.join(BUILD, "tests", "cad", "cad_upgrade")
CORPUS = os.path.join(SOURCE, "tests", "corpus", "dxf")
ESCAPE = re.compile(r"\\[Uu]\+([0-9A-Fa-f]{4})")
# Release 10's 3D line is a line from Release 11 on.
RENAMED = {"3DLINE": "LINE"}
# Layers a reader makes when a drawing lacks them.
READER_LAYERS = {"0", "defpoints"}


def load(path):
    try:
        return ezdxf.readfile(path)
    except Exception:
        doc, _ = recover.readfile(path)
        return doc


def load_like(path, original):
    """Reads our output the way the original could be read: plainly, or recovering (a file whose
    values are broken stays so)."""
    try:
        ezdxf.readfile(original)
    except Exception:
        doc, _ = recover.readfile(path)
        return doc
    return ezdxf.readfile(path)


def text(value):
    """A text as it reads: escapes resolved, so both encodings compare."""
    return ESCAPE.sub(lambda m: chr(int(m.group(1), 16)), value or "")


def block_names(doc):
    return {block.name.lower() for block in doc.blocks}


def contents(doc, names):
    """Entities of the blocks and layouts named by type; the attributes (tag, text) of references."""
    counts, attribs = Counter(), []
    for block in doc.blocks:
        if block.name.lower() not in names:
            continue
        for entity in block:
            counts[RENAMED.get(entity.dxftype(), entity.dxftype())] += 1
            if entity.dxftype() == "INSERT":
                for attrib in entity.attribs:
                    counts["ATTRIB"] += 1
                    attribs.append((text(attrib.dxf.get("tag", "")), text(attrib.dxf.get("text", ""))))
            elif entity.dxftype() == "POLYLINE":
                counts["VERTEX"] += len(entity.vertices)
    return counts, sorted(attribs)


def layers(doc):
    return {layer.dxf.name.lower() for layer in doc.layers} - READER_LAYERS


def audit_errors(doc):
    try:
        return len(doc.audit().errors)
    except Exception:
        return None


def main():
    if not os.path.exists(TOOL):
        print(f"missing {TOOL}; build the cad_upgrade target", file=sys.stderr)
        return 1
    failures = []
    checked = 0
    with tempfile.TemporaryDirectory() as folder:
        for name in sorted(os.listdir(CORPUS)):
            if not name.endswith(".dxf") or name.startswith("bad-"):
                continue
            source = os.path.join(CORPUS, name)
            target = os.path.join(folder, name)
            run = subprocess.run([TOOL, source, target], capture_output=True, text=True)
            if run.returncode != 0:
                failures.append(f"{name}: our upgrade failed: {run.stderr.strip()}")
                continue
            try:
                upgraded = load_like(target, source)
            except Exception as error:
                failures.append(f"{name}: ezdxf cannot read our AC1032 output: {error}")
                continue
            checked += 1
            if upgraded.dxfversion != "AC1032":
                failures.append(f"{name}: ezdxf reads version {upgraded.dxfversion}")
            try:
                original = load(source)
            except Exception as error:  # ezdxf cannot read it: only our output is checked
                print(f"{name}: ezdxf cannot read the original ({error}); our output reads")
                continue
            before, after = audit_errors(load(source)), audit_errors(load_like(target, source))
            if after is None or (before is not None and after > before):
                failures.append(f"{name}: ezdxf's audit finds {after} errors, {before} in the original")
            # ezdxf gives an old drawing the arrow blocks (_OPEN, _DOT...) newer ones keep.
            missing = {n for n in block_names(original) - block_names(upgraded) if not n.startswith("_")}
            if missing:
                failures.append(f"{name}: blocks lost: {sorted(missing)[:5]}")
            names = block_names(original) & block_names(upgraded)
            (counts_a, attribs_a), (counts_b, attribs_b) = contents(original, names), contents(upgraded, names)
            # Newer releases end every attribute and vertex list with a SEQEND, and give model
            # and paper space a block each; R12 files may have neither.
            for counts in (counts_a, counts_b):
                counts.pop("SEQEND", None)
            if counts_a != counts_b:
                failures.append(f"{name}: entities differ: {dict(counts_a - counts_b)} / {dict(counts_b - counts_a)}")
            # ezdxf reads the newer entities of a file without a header as R12 ones, and then
            # misses their attribute tags; there only the number of attributes compares.
            if any(not tag for tag, _ in attribs_a):
                attribs_a, attribs_b = len(attribs_a), len(attribs_b)
            if attribs_a != attribs_b:
                diff = sorted(set(attribs_a) ^ set(attribs_b))[:3] if isinstance(attribs_a, list) else ""
                failures.append(f"{name}: attributes differ: {diff or (attribs_a, attribs_b)}")
            if layers(original) != layers(upgraded):
                failures.append(f"{name}: layers differ: {sorted(layers(original) ^ layers(upgraded))[:5]}")
    print(f"{checked} drawings upgraded and read back")
    for failure in failures:
        print("FAIL", failure)
    return 1 if failures or checked < 45 else 0


if __name__ == "__main__":
    sys.exit(main())
