#!/usr/bin/python3
"""Makes examples/floor.dxf: one office floor for trying `velmar export`.

Rooms are closed polylines with a room tag inside each; doors, windows and equipment are blocks
with attributes. DOOR carries the tag NOTE twice, EQUIPMENT a constant MAKER, DESK_SET holds
nested CHAIR references, and a title block stands on each of two paper layouts.
Run with Debian's python3 (python3-ezdxf): /usr/bin/python3 examples/make_sample.py [OUT.dxf]
"""
import sys
from pathlib import Path

import ezdxf

OUT = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).with_name("floor.dxf")


def attdef(block, tag, prompt, insert, height=0.15, const=False, text=""):
    flags = ezdxf.const.ATTRIB_CONST if const else 0
    block.add_attdef(tag, insert=insert, text=text, dxfattribs={"prompt": prompt, "height": height, "flags": flags})


def define_blocks(doc):
    door = doc.blocks.new("DOOR")
    door.add_line((0, 0), (0.9, 0))
    door.add_arc((0, 0), 0.9, 0, 90)
    attdef(door, "MARK", "Door mark", (0, -0.3))
    attdef(door, "WIDTH", "Leaf width (mm)", (0, -0.5))
    attdef(door, "FIRE_RATING", "Fire rating", (0, -0.7))
    attdef(door, "NOTE", "First note", (0, -0.9))
    attdef(door, "NOTE", "Second note", (0, -1.1))

    window = doc.blocks.new("WINDOW")
    window.add_lwpolyline([(0, 0), (1.2, 0), (1.2, 0.1), (0, 0.1)], close=True)
    attdef(window, "MARK", "Window mark", (0, 0.3))
    attdef(window, "WIDTH", "Width (mm)", (0, 0.5))
    attdef(window, "GLAZING", "Glazing", (0, 0.7))

    equipment = doc.blocks.new("EQUIPMENT")
    equipment.add_circle((0, 0), 0.3)
    attdef(equipment, "ASSET_ID", "Asset number", (0.4, 0.1))
    attdef(equipment, "DESCRIPTION", "Description", (0.4, -0.1))
    attdef(equipment, "POWER_W", "Power (W)", (0.4, -0.3))
    attdef(equipment, "MAKER", "Maker", (0.4, -0.5), const=True, text="Orvane Facilities")

    chair = doc.blocks.new("CHAIR")
    chair.add_circle((0, 0), 0.25)
    attdef(chair, "SEAT_NO", "Seat number", (0.3, 0))
    attdef(chair, "TYPE", "Chair type", (0.3, -0.2))

    desk = doc.blocks.new("DESK_SET")
    desk.add_lwpolyline([(0, 0), (1.6, 0), (1.6, 0.8), (0, 0.8)], close=True)
    attdef(desk, "DESK_NO", "Desk number", (0, 1.0))
    chair_ref = desk.add_blockref("CHAIR", (0.8, -0.4))
    chair_ref.add_auto_attribs({"SEAT_NO": "S", "TYPE": "Task"})

    tag = doc.blocks.new("ROOMTAG")
    tag.add_circle((0, 0), 0.4)
    attdef(tag, "NUMBER", "Room number", (-0.2, 0.05))
    attdef(tag, "NAME", "Room name", (-0.2, -0.2))

    title = doc.blocks.new("TITLEBLOCK")
    title.add_lwpolyline([(0, 0), (180, 0), (180, 30), (0, 30)], close=True)
    attdef(title, "PROJECT", "Project", (5, 20), height=3)
    attdef(title, "SHEET", "Sheet title", (5, 12), height=3)
    attdef(title, "DRAWN_BY", "Drawn by", (5, 4), height=2.5)


ROOMS = [
    ("101", "Reception", (0, 0), (6, 5)),
    ("102", "Open Office", (6, 0), (18, 8)),
    ("103", "Meeting Room", (0, 5), (6, 10)),
    ("104", "Server Room", (18, 0), (22, 4)),
    ("105", "Kitchen", (18, 4), (22, 8)),
]


def draw_floor(doc):
    msp = doc.modelspace()
    doc.layers.add("A-WALL", color=7)
    doc.layers.add("A-DOOR", color=3)
    doc.layers.add("A-GLAZ", color=4)
    doc.layers.add("E-EQPM", color=1)
    doc.layers.add("I-FURN", color=6)
    doc.layers.add("A-ANNO", color=2)
    for number, name, (x0, y0), (x1, y1) in ROOMS:
        msp.add_lwpolyline([(x0, y0), (x1, y0), (x1, y1), (x0, y1)], close=True, dxfattribs={"layer": "A-WALL"})
        ref = msp.add_blockref("ROOMTAG", ((x0 + x1) / 2, (y0 + y1) / 2), dxfattribs={"layer": "A-ANNO"})
        ref.add_auto_attribs({"NUMBER": number, "NAME": name})

    doors = [("D01", "900", "EI30", (3, 0), 0), ("D02", "1000", "EI30", (6, 2), 90), ("D03", "900", "", (3, 5), 0),
             ("D04", "1200", "EI60", (18, 2), 90), ("D05", "900", "", (20, 4), 0)]
    for mark, width, rating, point, angle in doors:
        ref = msp.add_blockref("DOOR", point, dxfattribs={"layer": "A-DOOR", "rotation": angle})
        ref.add_auto_attribs({"MARK": mark, "WIDTH": width, "FIRE_RATING": rating})
        # Two attributes of one tag: the definition's NOTE twice, with different texts.
        notes = [a for a in ref.attribs if a.dxf.tag == "NOTE"]
        notes[0].dxf.text = "Closer" if rating else ""
        notes[1].dxf.text = "Kick plate" if width == "900" else "Hold-open"

    windows = [("W01", "1200", "Double"), ("W02", "1200", "Double"), ("W03", "2400", "Triple"), ("W04", "1200", "Double")]
    for i, (mark, width, glazing) in enumerate(windows):
        ref = msp.add_blockref("WINDOW", (1 + i * 5, 10 if i < 2 else 8), dxfattribs={"layer": "A-GLAZ"})
        ref.add_auto_attribs({"MARK": mark, "WIDTH": width, "GLAZING": glazing})

    equipment = [("EQ-001", "Server rack", "3500", (19, 1)), ("EQ-002", "UPS", "1200", (21, 1)),
                 ("EQ-003", "Fridge", "150", (19, 6)), ("EQ-004", "Printer", "600", (8, 7))]
    for asset, description, power, point in equipment:
        ref = msp.add_blockref("EQUIPMENT", point, dxfattribs={"layer": "E-EQPM"})
        ref.add_auto_attribs({"ASSET_ID": asset, "DESCRIPTION": description, "POWER_W": power})

    for i in range(4):
        ref = msp.add_blockref("DESK_SET", (8 + (i % 2) * 4, 1.5 + (i // 2) * 3), dxfattribs={"layer": "I-FURN"})
        ref.add_auto_attribs({"DESK_NO": f"DK-{i + 1:02d}"})


def draw_layouts(doc):
    doc.layouts.rename("Layout1", "Plan")
    second = doc.layouts.new("Details")
    for layout, sheet in ((doc.layouts.get("Plan"), "Ground floor plan"), (second, "Door and window details")):
        ref = layout.add_blockref("TITLEBLOCK", (10, 10))
        ref.add_auto_attribs({"PROJECT": "Harbour Office", "SHEET": sheet, "DRAWN_BY": "M. Keller"})


def main():
    doc = ezdxf.new("R2018", setup=True)
    doc.header["$INSUNITS"] = 6  # metres
    define_blocks(doc)
    draw_floor(doc)
    draw_layouts(doc)
    doc.saveas(OUT)
    print(f"wrote {OUT}")


if __name__ == "__main__":
    main()
