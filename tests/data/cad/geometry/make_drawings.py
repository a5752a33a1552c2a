#!/usr/bin/python3
"""Writes the drawings of the geometry tests with ezdxf, an independent DXF writer.

rooms-ac1032.dxf: rooms as polylines around tag references, for the outer polygon checks.
  Model space: an outer room (0,0)-(20,10), an inner room (2,2)-(8,6) and a tag at (5,4);
  a room (12,3)-(18,7) drawn as an open polyline whose last vertex repeats the first, with a
  tag at (15,5); a round room of radius 3 about (30,5) made of two bulged segments, with a tag
  at (30,5) (two vertices only, so never a room for the outer polygon); the same round room
  of four quarter arcs about (40,5), with a tag at (40,5). Paper space (Layout1): a small room (4.5,3.5)-(5.5,4.5) around the first tag's
  place that must never count for a model space tag.
Run: /usr/bin/python3 make_drawings.py (writes beside this script).
"""
import math
import os
import ezdxf

here = os.path.dirname(os.path.abspath(__file__))

doc = ezdxf.new("R2018")
doc.header["$HANDSEED"] = "1000"
tag = doc.blocks.new("TAG")
tag.add_circle((0, 0), 0.5)
tag.add_attdef("NO", (0.6, 0), dxfattribs={"height": 0.25})
msp = doc.modelspace()
msp.add_lwpolyline([(0, 0), (20, 0), (20, 10), (0, 10)], close=True, dxfattribs={"layer": "ROOMS"})
msp.add_lwpolyline([(2, 2), (8, 2), (8, 6), (2, 6)], close=True, dxfattribs={"layer": "ROOMS"})
msp.add_lwpolyline([(12, 3), (18, 3), (18, 7), (12, 7), (12, 3)], close=False, dxfattribs={"layer": "ROOMS"})
msp.add_lwpolyline([(27, 5, 0, 0, 1), (33, 5, 0, 0, 1)], format="xyseb", close=True, dxfattribs={"layer": "ROOMS"})
quarter = math.tan(math.pi / 8)
msp.add_lwpolyline([(37, 5, 0, 0, quarter), (40, 2, 0, 0, quarter), (43, 5, 0, 0, quarter), (40, 8, 0, 0, quarter)],
                   format="xyseb", close=True, dxfattribs={"layer": "ROOMS"})
for no, at in (("1", (5, 4)), ("2", (15, 5)), ("3", (30, 5)), ("4", (40, 5))):
    ref = msp.add_blockref("TAG", at)
    ref.add_attrib("NO", no, (at[0] + 0.6, at[1]), dxfattribs={"height": 0.25})
layout = doc.layouts.get("Layout1")
layout.add_lwpolyline([(4.5, 3.5), (5.5, 3.5), (5.5, 4.5), (4.5, 4.5)], close=True)
doc.saveas(os.path.join(here, "rooms-ac1032.dxf"))
