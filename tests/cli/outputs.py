#!/usr/bin/env python3
"""What the export and import-by-handle roads write, compared with recorded digests.

Every corpus drawing and a few generated ones are exported to a workbook; a tenth of the attribute
cells of that workbook are then edited (bench/peer/edit_xlsx.py, fixed seed) and imported back
into the drawing. The exit status of each step, a digest of every part of the workbook (its save
time and folder masked) and a digest of the drawing written (the workbook's
link in it names the folder too) must match tests/cli/outputs.txt. Work that makes
the roads cheaper must leave every one of them as it is. `--record` writes the file instead: only
for a change of output that is meant.

Usage: outputs.py VELMAR [--record]
"""
import hashlib
import os
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))
RECORDED = os.path.join(HERE, "outputs.txt")
CORPUS = os.path.join(SOURCE, "tests", "corpus", "dxf")
PEER = os.path.join(SOURCE, "bench", "peer")
EXPORT_OPTIONS = ["export", "--drawing-column", "on", "--combine", "off", "--count-column", "on",
                  "--show-header", "on"]
# (name, make_drawing.py arguments) of the generated drawings.
GENERATED = [
    ("gen-r2018-3000", ["--refs", "3000", "--blocks", "24", "--version", "R2018", "--seed", "1"]),
    ("gen-r2000-1000", ["--refs", "1000", "--blocks", "5", "--version", "R2000", "--seed", "2"]),
]
SAVE_TIME = re.compile(rb"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")


def digest(data):
    return hashlib.sha256(data).hexdigest()[:16]


def workbook_lines(path, folder):
    """One line per part of the workbook: its name and the digest of its text, where the work
    folder's path (in the key comments) reads as @TMP@."""
    with zipfile.ZipFile(path) as book:
        for name in sorted(book.namelist()):
            data = book.read(name).replace(folder.encode(), b"@TMP@")
            if name == "docProps/core.xml":
                data = SAVE_TIME.sub(b"@TIME@", data)
            yield f"  {name} {digest(data)}"


def run(velmar, folder, words):
    done = subprocess.run([velmar, "--settings", os.path.join(folder, "settings.ini")] + words,
                          cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return done.returncode


def road(velmar, name, drawing, folder):
    """The lines of one drawing: its export, the edit and the import back."""
    dxf = os.path.join(folder, "d.dxf")
    book = os.path.join(folder, "d.xlsx")
    edited = os.path.join(folder, "e.xlsx")
    shutil.copyfile(drawing, dxf)
    lines = [name]
    status = run(velmar, folder, ["--drawing", dxf, "--output", book, "--force", "--quiet"]
                 + EXPORT_OPTIONS)
    lines.append(f" export exit {status}")
    if status != 0 or not os.path.exists(book):
        return lines
    lines.extend(workbook_lines(book, folder))
    subprocess.run(["/usr/bin/python3", os.path.join(PEER, "edit_xlsx.py"), book, edited,
                    "--fraction", "0.1"], check=True, stdout=subprocess.DEVNULL)
    status = run(velmar, folder, ["--drawing", dxf, "--workbook", edited, "--quiet",
                                  "import-by-handle", "--sheets", "all"])
    with open(dxf, "rb") as f:
        written = f.read().replace(folder.encode(), b"@TMP@")
    lines.append(f" import exit {status} drawing {digest(written)}")
    return lines


def drawings(work):
    """(name, path) of every drawing the roads run on."""
    for entry in sorted(os.listdir(CORPUS)):
        if entry.lower().endswith(".dxf"):
            yield entry, os.path.join(CORPUS, entry)
    for name, arguments in GENERATED:
        path = os.path.join(work, name + ".dxf")
        # The generator's library orders some objects by string hashes: fix Python's seed.
        subprocess.run(["/usr/bin/python3", os.path.join(PEER, "make_drawing.py")] + arguments
                       + [path], check=True, stdout=subprocess.DEVNULL,
                       env=dict(os.environ, PYTHONHASHSEED="0"))
        yield name, path


def main():
    if len(sys.argv) not in (2, 3) or (len(sys.argv) == 3 and sys.argv[2] != "--record"):
        print(__doc__.strip().splitlines()[-1], file=sys.stderr)
        return 2
    velmar = os.path.abspath(sys.argv[1])
    lines = []
    # The key comments carry the folder's path, and the drawing column's width follows the text's
    # width in the workbook's font: a folder named by digits alone (of equal widths) keeps it.
    work = os.path.join(tempfile.gettempdir(), f"velmar-outputs-{os.getpid():010d}")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    try:
        for name, path in drawings(work):
            folder = os.path.join(work, "run")
            os.makedirs(folder)
            lines.extend(road(velmar, name, path, folder))
            shutil.rmtree(folder)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    text = "\n".join(lines) + "\n"
    if len(sys.argv) == 3:
        with open(RECORDED, "w") as f:
            f.write(text)
        print(f"recorded {RECORDED}")
        return 0
    with open(RECORDED) as f:
        recorded = f.read()
    if recorded == text:
        print(f"{len(lines)} lines agree")
        return 0
    old, new = recorded.splitlines(), text.splitlines()
    for i, (a, b) in enumerate(zip(old, new)):
        if a != b:
            print(f"line {i + 1} was\n  {a}\nis now\n  {b}", file=sys.stderr)
            break
    else:
        print(f"{len(old)} lines recorded, {len(new)} now", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
