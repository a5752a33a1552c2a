#!/usr/bin/python3
"""Makes the drawings of the small schedules' tests in tests/data/schedules:

  chairs.dxf       CHAIR references with a COLOR attribute on three layers, one value holding a
                   comma, and a TABLE with the same tag: what block counts are checked against;
  attdefs.dxf      attribute definitions lying loose in model space (the form a block source
                   drawing has), and one more inside a block definition;
  blockdefs.dxf    attribute definitions only inside block definitions;
  points.dxf       a line, a closed lightweight polyline of five vertices with a bulge and an
                   elevation, an old-style polyline, and a line behind it.

Needs ezdxf (Debian's python3-ezdxf). Run: /usr/bin/python3 scripts/make_schedule_drawings.py
"""
import os

import ezdxf

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "..", "tests", "data", "schedules")


def chairs():
    doc = ezdxf.new("R2018")
    doc.layers.add("Walls")
    doc.layers.add("Furniture")
    msp = doc.modelspace()
    chair = doc.blocks.new("CHAIR")
    chair.add_circle((0, 0), 0.4)
    chair.add_attdef("COLOR", (0, 0.5), dxfattribs={"prompt": "Colour"})
    chair.add_attdef("SEAT", (0, -0.5), dxfattribs={"prompt": "Seat"})
    table = doc.blocks.new("TABLE")
    table.add_lwpolyline([(-1, -1), (1, -1), (1, 1), (-1, 1)], close=True)
    table.add_attdef("COLOR", (0, 0), dxfattribs={"prompt": "Colour"})
    rows = [
        ("CHAIR", "Walls", "red"),
        ("CHAIR", "Furniture", "red"),
        ("CHAIR", "Furniture", "blue"),
        ("CHAIR", "0", "red,blue"),
        ("CHAIR", "Walls", "Red"),
        ("TABLE", "Furniture", "red"),
    ]
    for i, (name, layer, colour) in enumerate(rows):
        ref = msp.add_blockref(name, (i * 3, 0), dxfattribs={"layer": layer})
        ref.add_auto_attribs({"COLOR": colour, "SEAT": str(i + 1)} if name == "CHAIR" else {"COLOR": colour})
    doc.saveas(os.path.join(OUT, "chairs.dxf"))


def attdefs():
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    msp.add_attdef("ROOM_NO", (0, 0), "101", dxfattribs={"prompt": "Room number", "height": 2.5})
    msp.add_attdef("ROOM_NAME", (0, -5), "Office", dxfattribs={"prompt": "Room name", "height": 2.5})
    msp.add_attdef("AREA", (0, -10), "", dxfattribs={"prompt": "Area", "height": 2.5})
    inner = doc.blocks.new("TAGGED")
    inner.add_attdef("INSIDE", (0, 0), "x", dxfattribs={"prompt": "Inside"})
    doc.saveas(os.path.join(OUT, "attdefs.dxf"))


def blockdefs():
    doc = ezdxf.new("R2018")
    block = doc.blocks.new("ONLY")
    block.add_attdef("HIDDEN_TAG", (0, 0), "1", dxfattribs={"prompt": "Hidden"})
    doc.modelspace().add_blockref("ONLY", (0, 0))
    doc.saveas(os.path.join(OUT, "blockdefs.dxf"))


def points():
    doc = ezdxf.new("R2018")
    msp = doc.modelspace()
    msp.add_line((1, 2, 3), (4.5, 5.25, 6))
    msp.add_lwpolyline([(0, 0, 0, 0, 0.5), (10, 0), (10, 10), (5, 15), (0, 10)],
                       format="xyseb", close=True, dxfattribs={"elevation": 7.5})
    msp.add_polyline2d([(0, 0), (1, 1), (2, 0)])
    msp.add_line((0, 0, 0), (1, 1, 1))
    doc.saveas(os.path.join(OUT, "points.dxf"))


if __name__ == "__main__":
    os.makedirs(OUT, exist_ok=True)
    chairs()
    attdefs()
    blockdefs()
    points()
