#!/usr/bin/python3
"""Changes a drawing as another program would between an export and an upload, fast enough for
100,000 references (ezdxf would take a minute to read and another to save).

    /usr/bin/python3 change_drawing.py in.dxf out.dxf [--every 10] [--move-every 2000]

An edit of the ASCII DXF text, one pass over its group code / value line pairs, in the ENTITIES
section only:
  * every EVERY-th INSERT gets a new text in each of its ATTRIBs: the value line of the
    ATTRIB's first group 1 becomes "REV <handle>" (short, ASCII, and different from anything
    the generator writes);
  * every MOVE-EVERY-th INSERT has 2.5 added to the x of its insertion point (group 10), and the
    one after it goes to layer "Z-DEMO" (group 8), a layer the generator puts in its table.
Only value lines are replaced, each by one line, so the file keeps its structure, handles and
line ends; code lines and every other byte stay as they were. ATTRIBs with an embedded MTEXT
(which the generator doesn't write) would keep their old text there. Prints how many
attributes, positions and layers changed.
"""
import argparse
import sys


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("source")
    parser.add_argument("target")
    parser.add_argument("--every", type=int, default=10)
    parser.add_argument("--move-every", type=int, default=2000)
    args = parser.parse_args(argv)

    with open(args.source, "rb") as source:
        lines = source.read().splitlines(keepends=True)
    section = None
    inserts = 0
    kind = None          # type of the entity being read
    handle = b""
    change_attribs = move = relayer = False
    text_done = False
    attributes = positions = layers = 0
    for i in range(0, len(lines) - 1, 2):
        code = lines[i].strip()
        value = lines[i + 1]
        end = value[len(value.rstrip(b"\r\n")):]
        if code == b"0":
            kind = value.strip()
            handle = b""
            text_done = False
            if kind == b"SECTION":
                section = None
            elif kind == b"ENDSEC":
                section = None
            elif section == b"ENTITIES" and kind == b"INSERT":
                inserts += 1
                change_attribs = inserts % args.every == 0
                move = inserts % args.move_every == 0
                relayer = inserts % args.move_every == 1 and inserts > 1
            elif kind not in (b"ATTRIB", b"SEQEND"):
                change_attribs = move = relayer = False
            continue
        if kind == b"SECTION" and code == b"2":
            section = value.strip()
            continue
        if section != b"ENTITIES":
            continue
        if code == b"5":
            handle = value.strip()
        elif kind == b"INSERT" and code == b"10" and move:
            lines[i + 1] = repr(float(value) + 2.5).encode() + end
            positions += 1
        elif kind == b"INSERT" and code == b"8" and relayer:
            layers += value.strip() != b"Z-DEMO"  # some references are on it already
            lines[i + 1] = b"Z-DEMO" + end
        elif kind == b"ATTRIB" and code == b"1" and change_attribs and not text_done:
            lines[i + 1] = b"REV " + handle + end
            text_done = True
            attributes += 1
    with open(args.target, "wb") as target:
        target.write(b"".join(lines))
    print(f"{attributes} attributes, {positions} positions, {layers} layers changed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
