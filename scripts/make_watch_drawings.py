#!/usr/bin/python3
"""Makes the drawings of the reference snapshot tests in tests/data/watch:

  schedule.dxf          references with attributes in model space, paper space and inside a
                        block definition, with extended data, an extension dictionary and a
                        multi-line attribute; written in the layout of an older writer (CR LF
                        line ends, reals with six decimals, default values written out);
  schedule-ezdxf.dxf    the same drawing read and saved again by ezdxf, an independent DXF
                        program with a layout of its own (LF, the shortest number forms,
                        defaults left out).

Both hold the same objects with the same handles and values. Needs ezdxf (Debian's
python3-ezdxf). Run: /usr/bin/python3 scripts/make_watch_drawings.py
"""
import os

import ezdxf

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "..", "tests", "data", "watch")


def build():
    doc = ezdxf.new("R2018")
    doc.layers.add("EQUIP")
    doc.layers.add("SPARE")
    msp = doc.modelspace()

    pump = doc.blocks.new("PUMP")
    pump.add_circle((0, 0), 1)
    pump.add_attdef("TAG", (0, 1.5), dxfattribs={"prompt": "Tag"})
    pump.add_attdef("FLOW", (0, -1.5), dxfattribs={"prompt": "Flow"})

    valve = doc.blocks.new("VALVE")
    valve.add_line((-1, 0), (1, 0))
    valve.add_attdef("TAG", (0, 1), dxfattribs={"prompt": "Tag"})

    # A skid holds a valve of its own: the nested reference is tracked like any other.
    skid = doc.blocks.new("SKID")
    skid.add_lwpolyline([(-5, -5), (5, -5), (5, 5), (-5, 5)], close=True)
    nested = skid.add_blockref("VALVE", (2, 0), dxfattribs={"layer": "EQUIP"})
    nested.add_attrib("TAG", "V-SKID", (2, 1))

    p1 = msp.add_blockref("PUMP", (10.5, 20.25), dxfattribs={"layer": "EQUIP", "rotation": 30})
    p1.add_attrib("TAG", "P-101", (10.5, 21.75))
    p1.add_attrib("FLOW", "12.5", (10.5, 18.75))

    p2 = msp.add_blockref("PUMP", (40, 20), dxfattribs={"layer": "EQUIP", "xscale": 2, "yscale": 2, "zscale": 2})
    p2.add_attrib("TAG", "P-102", (40, 23))
    p2.add_attrib("FLOW", "8", (40, 17))
    p2.set_xdata("VELMAR", [(1000, "pump two"), (1040, 0.1), (1070, 3)])

    v1 = msp.add_blockref("VALVE", (0.1, 0.2), dxfattribs={"layer": "SPARE", "extrusion": (0, 0, -1)})
    v1.add_attrib("TAG", "V-201", (0.1, 1.2))
    xdict = v1.new_extension_dict()
    xdict.add_xrecord("VELMAR_NOTE").reset([(1, "checked"), (40, 2.5)])

    # A multi-line attribute: its value lives in the embedded MTEXT.
    v2 = msp.add_blockref("VALVE", (5, 5))
    attrib = v2.add_attrib("TAG", "", (5, 6))
    mtext = ezdxf.entities.MText.new(dxfattribs={"char_height": 2.5})
    mtext.text = "V-202\\Pspare"
    attrib.embed_mtext(mtext)

    msp.add_blockref("SKID", (100, 100))

    psp = doc.layouts.get("Layout1")
    label = psp.add_blockref("VALVE", (1, 1))
    label.add_attrib("TAG", "V-PAPER", (1, 2))
    return doc


def is_real_code(code):
    code = int(code)
    return (10 <= code <= 59 or 110 <= code <= 149 or 210 <= code <= 239 or 460 <= code <= 469
            or 1010 <= code <= 1059)


def six_decimals(value):
    """A real with six decimals, as older writers put them, where that reads back the same."""
    written = "%.6f" % float(value)
    return written if float(written) == float(value) else value


def other_layout(text):
    """CR LF line ends, reals with six decimals, and the colour and visibility of an INSERT
    written out at their defaults: the layout of another writer, with the same values."""
    lines = text.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    out = []
    entity = None
    for i in range(0, len(lines) - 1, 2):
        code, value = lines[i].strip(), lines[i + 1]
        if is_real_code(code):
            value = six_decimals(value)
        out += ["%3s" % code, value]
        if code == "0":
            entity = value
        elif code == "8" and entity == "INSERT":
            out += [" 62", "256", " 60", "0"]
    return "\r\n".join(out) + "\r\n"


def main():
    os.makedirs(OUT, exist_ok=True)
    original = os.path.join(OUT, "schedule.dxf")
    scratch = original + ".ezdxf-first"
    build().saveas(scratch)
    with open(scratch, encoding="utf-8") as f:
        text = f.read()
    os.remove(scratch)
    with open(original, "w", encoding="utf-8", newline="") as f:
        f.write(other_layout(text))
    # ezdxf reads that layout and writes the drawing again in its own.
    ezdxf.readfile(original).saveas(os.path.join(OUT, "schedule-ezdxf.dxf"))


if __name__ == "__main__":
    main()
