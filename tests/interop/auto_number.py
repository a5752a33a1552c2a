#!/usr/bin/python3
"""Auto numbering end to end. ezdxf makes a drawing with references of a two-attribute block
scattered over X and Y, references of another block, and texts; velmar numbers the first block
by X with a prefixed start, then the texts top to bottom as suffixes. ezdxf reads the result:
the numbers stand in the chosen attribute in the sorted order, every other attribute, text and
entity is as it was. A piped shell session then numbers a corpus drawing's references over two
selections and saves it, and ezdxf reads that too."""
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from velmar_checks import CORPUS, TOOL, fail, finish, velmar  # noqa: E402

import ezdxf  # noqa: E402

XS = [7.5, 1.0, 12.25, 1.0, -3.0, 20.0]
YS = [2.0, 9.0, 4.0, 0.5, 6.0, 6.0]


def made_drawing(path):
    doc = ezdxf.new("R2013")
    tag = doc.blocks.new("TAG")
    tag.add_attdef("NO", (0, 0), dxfattribs={"height": 0.25})
    tag.add_attdef("NAME", (0, -0.5), dxfattribs={"height": 0.25})
    other = doc.blocks.new("OTHER")
    other.add_attdef("ID", (0, 0), dxfattribs={"height": 0.25})
    msp = doc.modelspace()
    for i, (x, y) in enumerate(zip(XS, YS)):
        msp.add_blockref("TAG", (x, y)).add_auto_attribs({"NO": "old%d" % i, "NAME": "Name %d" % i})
        msp.add_blockref("OTHER", (x, y + 30)).add_auto_attribs({"ID": "keep%d" % i})
    for i, y in enumerate([3.0, 8.0, -1.0]):
        msp.add_text("Room", dxfattribs={"insert": (40, y), "height": 0.3})
    doc.saveas(path)


def snapshot(path):
    doc = ezdxf.readfile(path)
    refs = [(e.dxf.handle, e.dxf.name, tuple(e.dxf.insert), [(a.dxf.tag, a.dxf.text) for a in e.attribs])
            for e in doc.modelspace().query("INSERT")]
    texts = [(e.dxf.handle, e.dxf.text, tuple(e.dxf.insert)) for e in doc.modelspace().query("TEXT")]
    return refs, texts, len(doc.entitydb)


def check_made(work):
    drawing = work / "made.dxf"
    made_drawing(drawing)
    refs_before, texts_before, count_before = snapshot(drawing)
    # X sort, start N007 with increment 2, tag NO, placement Overwrite; the other five references
    # keep the tag; the empty line ends the selections.
    (work / "refs.txt").write_text("X\nN007\n2\nNO\n=\n" + "=\n" * 5 + "=\n")
    velmar(work, "--drawing", drawing, "--answers", work / "refs.txt", "auto-number", "--selection", "block=TAG")
    refs, texts, count = snapshot(drawing)
    order = sorted(range(len(XS)), key=lambda i: (XS[i], i))  # equal X keep the drawing's order
    tags = [r for r in refs if r[1] == "TAG"]
    for rank, i in enumerate(order):
        expected = "N%03d" % (7 + 2 * rank)
        values = dict(tags[i][3])
        if values.get("NO") != expected:
            fail("reference at X %s: NO is %r, not %r" % (XS[i], values.get("NO"), expected))
        if values.get("NAME") != "Name %d" % i:
            fail("reference at X %s: NAME changed to %r" % (XS[i], values.get("NAME")))
    for before, after in zip(refs_before, refs):
        if before[1] != "TAG" and before != after:
            fail("a reference of another block changed: %r -> %r" % (before, after))
    if texts != texts_before or count != count_before:
        fail("texts or the number of objects changed by the references' numbering")

    # The texts top to bottom, the number as a suffix.
    (work / "texts.txt").write_text("Y\nT1\n=\nSuffix\n=\n")
    velmar(work, "--drawing", drawing, "--answers", work / "texts.txt", "auto-number", "--selection", "type=TEXT")
    _, texts, _ = snapshot(drawing)
    by_y = sorted(texts, key=lambda t: -t[2][1])
    if [t[1] for t in by_y] != ["RoomT1", "RoomT2", "RoomT3"]:
        fail("texts numbered top to bottom as suffixes: %r" % [t[1] for t in by_y])


def check_shell_on_corpus(work):
    source = CORPUS / "arch-plan-attribs-ac1018.dxf"
    if not source.exists():
        fail("corpus drawing missing: %s" % source)
        return
    drawing = work / "corpus.dxf"
    shutil.copy(source, drawing)
    doc = ezdxf.readfile(drawing)
    refs = [e for e in doc.modelspace().query("INSERT") if len(e.attribs) == 1 and not e.attribs[0].is_const]
    pairs = [(a, b) for a in refs for b in refs if a is not b and a.dxf.name == b.dxf.name]
    if not pairs:
        fail("the corpus drawing has no two references of one block with one attribute")
        return
    first, second = pairs[0]
    script = "\n".join([
        "auto-number --selection %s" % first.dxf.handle,
        "K1", "", "",               # start, increment, placement
        second.dxf.handle,           # a second selection
        "",                          # no third selection
        "save", "exit", ""]) + "\n"
    result = subprocess.run([str(TOOL), "--settings", str(work / "settings.ini"), "shell", str(drawing)],
                            input=script, capture_output=True, text=True, timeout=120)
    if result.returncode != 0:
        fail("shell session: exit %d\n%s%s" % (result.returncode, result.stdout[-2000:], result.stderr[-2000:]))
    after = ezdxf.readfile(drawing)
    values = {e.dxf.handle: [a.dxf.text for a in e.attribs] for e in after.modelspace().query("INSERT")}
    if values.get(first.dxf.handle) != ["K1"]:
        fail("first selection: %r" % values.get(first.dxf.handle))
    if values.get(second.dxf.handle) != ["K2"]:
        fail("second selection: %r" % values.get(second.dxf.handle))
    untouched = [e for e in doc.modelspace().query("INSERT") if e.dxf.handle not in (first.dxf.handle, second.dxf.handle)]
    for e in untouched:
        if values.get(e.dxf.handle) != [a.dxf.text for a in e.attribs]:
            fail("reference %s changed: %r" % (e.dxf.handle, values.get(e.dxf.handle)))


def main():
    with tempfile.TemporaryDirectory(prefix="velmar-numbering-") as folder:
        work = Path(folder)
        check_made(work)
        check_shell_on_corpus(work)
    return finish("auto numbering: ezdxf reads every number where it belongs")


if __name__ == "__main__":
    sys.exit(main())
