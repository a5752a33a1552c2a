#!/usr/bin/python3
"""The layer check can fail: upward includes planted into a copy of the source tree are named.

A copy of src/ passes as it stands. Into another copy go an include of the system into a cad
source file and an include of the host into an xl file (inside an #if block, which the check
reads too), each beside the same include commented out, which it must not name: the check must
fail naming exactly the two planted lines. A source file in a folder the graph does not know
fails it too.

Usage: planted_upward_include.py [CHECKER SOURCE_ROOT GRAPH]   (defaults: this checkout's)
"""
import os
import shutil
import subprocess
import sys
import tempfile

CHECKOUT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

CAD_FILE = "cad/units/DistanceText.cpp"
CAD_PLANT = ['#include "attbat/model/AcadBlockRef.h"',
             '// #include "attbat/model/AcadBlockRef.h"']
XL_FILE = "xl/Workbook.cpp"
XL_PLANT = ["/*", '#include "host/Document.h"', "*/",
            "#if defined(VELMAR_NEVER_DEFINED)", '#include "host/Document.h"', "#endif"]


def run(checker, root, graph):
    done = subprocess.run([sys.executable, checker, root, graph], capture_output=True, text=True)
    return done.returncode, done.stdout + done.stderr


def plant(root, relative, lines):
    """Puts `lines` after the file's own header include; returns the line number of each."""
    path = os.path.join(root, relative)
    with open(path, encoding="utf-8") as f:
        text = f.read().split("\n")
    text[1:1] = lines
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(text))
    return [2 + i for i in range(len(lines))]


def copy_tree(source, into):
    target = os.path.join(into, "src")
    shutil.copytree(source, target)
    return target


def expect(condition, what, output):
    if not condition:
        print(f"FAILED: {what}\n--- the check printed:\n{output}")
        sys.exit(1)


def main(argv):
    checker, source, graph = argv[1:4] if len(argv) == 4 else (
        os.path.join(CHECKOUT, "scripts", "check_layers.py"),
        os.path.join(CHECKOUT, "src"),
        os.path.join(CHECKOUT, "docs", "layers.txt"))
    with tempfile.TemporaryDirectory(prefix="velmar-layers-") as temp:
        planted = copy_tree(source, os.path.join(temp, "planted"))
        cad_lines = plant(planted, CAD_FILE, CAD_PLANT)
        xl_lines = plant(planted, XL_FILE, XL_PLANT)
        code, output = run(checker, planted, graph)
        print(output, end="")
        expect(code == 1, f"exit status 1 for the planted includes, got {code}", output)
        cad_line = f'src/{CAD_FILE}:{cad_lines[0]}: cad may not include attbat/model ("attbat/model/AcadBlockRef.h")'
        xl_line = f'src/{XL_FILE}:{xl_lines[4]}: xl may not include host ("host/Document.h")'
        for wanted in (cad_line, xl_line):
            expect(any(line.startswith(wanted) for line in output.splitlines()),
                   f"the report names {wanted}", output)
        named = [line for line in output.splitlines() if line.startswith("src/")]
        expect(len(named) == 2, f"only the two planted lines are named, not {len(named)}", output)

        stranger = copy_tree(source, os.path.join(temp, "stranger"))
        os.makedirs(os.path.join(stranger, "widgets"))
        with open(os.path.join(stranger, "widgets", "Panel.h"), "w", encoding="utf-8") as f:
            f.write('#pragma once\n#include "base/Text.h"\n')
        code, output = run(checker, stranger, graph)
        expect(code == 1 and "src/widgets/Panel.h: src/widgets is a folder" in output,
               "exit status 1 naming the folder the graph does not know", output)

        clean = copy_tree(source, os.path.join(temp, "clean"))
        code, output = run(checker, clean, graph)
        print(output, end="")
        expect(code == 0, f"exit status 0 for the copy as it stands, got {code}", output)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
