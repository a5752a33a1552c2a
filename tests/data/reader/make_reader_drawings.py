#!/usr/bin/python3
"""Makes the small drawings of the reader and writer tests with ezdxf, an independent DXF
writer. Run from anywhere: python3 make_reader_drawings.py (writes beside this script)."""
import os
import ezdxf
from ezdxf.math import Vec2

HERE = os.path.dirname(os.path.abspath(__file__))


def out(name):
    return os.path.join(HERE, name)


def nested():
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    inner = doc.blocks.new("INNER")
    inner.add_attdef("TAG", (0, 0), dxfattribs={"prompt": "Tag?"})
    inner.add_attdef("KIND", (5, 0), text="FIXED", dxfattribs={"flags": 2, "prompt": "Kind"})
    outer = doc.blocks.new("OUTER")
    outer.add_line((0, 0), (10, 0))
    r = outer.add_blockref("INNER", (1, 1))
    r.add_attrib("TAG", "nested", (1, 1))
    unused = doc.blocks.new("UNUSED")
    unused.add_attdef("NOTE", (0, 0), dxfattribs={"prompt": "Note"})
    holder = doc.blocks.new("HOLDER")
    holder.add_blockref("LONELY", (0, 0))
    lonely = doc.blocks.new("LONELY")
    lonely.add_circle((0, 0), 1)
    msp.add_blockref("OUTER", (0, 0))
    msp.add_blockref("OUTER", (100, 50))
    vis = doc.blocks.new("VIS")
    vis.add_attdef("ID", (0, 0))
    shown = msp.add_blockref("VIS", (0, 10))
    shown.add_attrib("ID", "shown", (0, 10))
    hidden = msp.add_blockref("VIS", (0, 20))
    hidden.add_attrib("ID", "hidden", (0, 20))
    hidden_handle = hidden.dxf.handle
    anon = doc.blocks.new_anonymous_block("U")
    anon.add_line((0, 0), (1, 1))
    msp.add_blockref(anon.name, (5, 5))
    note = doc.blocks.new("NOTE")
    note.add_attdef("BODY", (0, 0))
    ref = msp.add_blockref("NOTE", (0, 30))
    attrib = ref.add_attrib("BODY", "", (0, 30))
    mtext = ezdxf.entities.MText.new(dxfattribs={"char_height": 2.5})
    mtext.text = "{\\fArial|b1;First} line\\PSecond \\C1;line"
    attrib.embed_mtext(mtext)
    dup = doc.blocks.new("DUP")
    dup.add_attdef("A", (0, 0), dxfattribs={"prompt": "first A"})
    dup.add_attdef("A", (5, 0), dxfattribs={"prompt": "second A"})
    d = msp.add_blockref("DUP", (0, 40))
    d.add_attrib("A", "one", (0, 40))
    d.add_attrib("A", "two", (5, 40))
    doc.saveas(out("nested.dxf"))
    make_invisible(out("nested.dxf"), hidden_handle)


def make_invisible(path, handle):
    """ezdxf leaves group 60 out of INSERT; AutoCAD writes it after the layer."""
    with open(path, encoding="utf-8") as f:
        lines = f.read().split("\n")
    for i in range(0, len(lines) - 1, 2):
        if lines[i].strip() == "5" and lines[i + 1].strip() == handle:
            j = i
            while lines[j].strip() != "8":
                j += 2
            lines[j + 2:j + 2] = [" 60", "1"]
            break
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(lines))


def polygons():
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    tag = doc.blocks.new("ROOMTAG")
    tag.add_attdef("NAME", (0, 0))
    tag.add_circle((0, 0), 0.5)
    # Two nested rooms around the first tag (its text included): the inner one is 40 x 40.
    msp.add_lwpolyline([(-50, -50), (50, -50), (50, 50), (-50, 50)], close=True)
    msp.add_lwpolyline([(-20, -20), (20, -20), (20, 20), (-20, 20)], close=True)
    msp.add_blockref("ROOMTAG", (0, 0)).add_attrib("NAME", "inner", (0, 0))
    # An open polyline whose ends meet: 20 x 10 around the second tag.
    msp.add_lwpolyline([(200, 0), (220, 0), (220, 10), (200, 10), (200, 0)], close=False)
    msp.add_blockref("ROOMTAG", (210, 5)).add_attrib("NAME", "open", (210, 5))
    # A polygon drawn in paper space around a model space tag never counts.
    psp = doc.layouts.get("Layout1")
    psp.add_lwpolyline([(390, -10), (410, -10), (410, 10), (390, 10)], close=True)
    msp.add_blockref("ROOMTAG", (400, 0)).add_attrib("NAME", "alone", (400, 0))
    doc.saveas(out("polygons.dxf"))


def xrefs():
    child = ezdxf.new("R2018")
    door = child.blocks.new("DOOR")
    door.add_attdef("NUMBER", (0, 0))
    child.modelspace().add_blockref("DOOR", (3, 4)).add_attrib("NUMBER", "D1", (3, 4))
    child.saveas(out("xref_child.dxf"))

    host = ezdxf.new("R2018")
    msp = host.modelspace()
    # The host names the xref as AutoCAD would, by its .dwg; the reader finds the .dxf beside it.
    host.add_xref_def("xref_child.dwg", "CHILD")
    host.blocks.get("CHILD").block.dxf.flags = 4 | 32
    msp.add_blockref("CHILD", (1000, 0))
    host.add_xref_def("missing.dwg", "GONE")
    host.blocks.get("GONE").block.dxf.flags = 4
    msp.add_blockref("GONE", (0, 0))
    # The copy of the xref's block the host keeps must not be listed from the host.
    dep = host.blocks.new("CHILD|DOOR")
    dep.block.dxf.flags = 16 | 32
    dep.add_attdef("NUMBER", (0, 0))
    host.saveas(out("xref_host.dxf"))


def mleader():
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    bubble = doc.blocks.new("BUBBLE")
    bubble.add_circle((0, 0), 2)
    bubble.add_attdef("NUM", (0, 0), dxfattribs={"prompt": "Number"})
    ml = msp.add_multileader_block(style="Standard")
    ml.set_content(name="BUBBLE", alignment=ezdxf.render.mleader.BlockAlignment.center_extents)
    ml.set_attribute("NUM", "42")
    ml.add_leader_line(ezdxf.render.mleader.ConnectionSide.left, [Vec2(-20, -10)])
    ml.build(insert=Vec2(5, 5))
    text = msp.add_multileader_mtext("Standard")
    text.set_content("plain note")
    text.add_leader_line(ezdxf.render.mleader.ConnectionSide.left, [Vec2(-5, 20)])
    text.build(insert=Vec2(0, 25))
    doc.saveas(out("mleader.dxf"))


def writer():
    doc = ezdxf.new("R2000")
    msp = doc.modelspace()
    tag = doc.blocks.new("EQUIP")
    tag.add_attdef("ID", (0, 0))
    tag.add_attdef("DESC", (0, -3))
    tag.add_line((0, 0), (4, 0))
    r = msp.add_blockref("EQUIP", (10, 20), dxfattribs={"xscale": 3, "yscale": 3, "zscale": 3})
    r.add_attrib("ID", "P-101", (10, 20))
    r.add_attrib("DESC", "Pump", (10, 17))
    other = msp.add_blockref("EQUIP", (50, 20))
    other.add_attrib("ID", "P-102", (50, 20))
    other.add_attrib("DESC", "Spare", (50, 17))
    msp.add_line((0, 0), (100, 100))
    doc.saveas(out("writer.dxf"))


if __name__ == "__main__":
    nested()
    polygons()
    xrefs()
    mleader()
    writer()
