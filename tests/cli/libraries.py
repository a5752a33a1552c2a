#!/usr/bin/env python3
"""What velmar loads when it starts, and what it loads only when a command needs it.

velmar itself links neither libcurl (the update check loads it when it goes out) nor the
LibreOffice Calc backend and the office's libraries (a module beside the program, loaded when a
command first asks for the running Calc). Where the backend was built, a command on a Calc that
isn't running loads the module and fails on the connection, and a velmar without its module
says where it looked.

Usage: libraries.py VELMAR
"""
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
DRAWING = os.path.join(os.path.dirname(HERE), "data", "import", "doors-r2000.dxf")
MODULE = "libvelmar-calc.so"
NEVER_LINKED = ("libcurl", "libuno_", "libreglo", "libstorelo", "libunoidllo", "libssl",
                "libgnutls", "libkrb5", "libldap")


def needed(program):
    out = subprocess.run(["readelf", "-d", program], capture_output=True, text=True, check=True)
    return [line.split("[", 1)[1].rstrip("]")
            for line in out.stdout.splitlines() if "(NEEDED)" in line]


def calc_command(program, folder):
    """A command on a Calc at a port where nothing listens; what it printed."""
    drawing = os.path.join(folder, "doors.dxf")
    shutil.copy2(DRAWING, drawing)
    run = subprocess.run([program, "--settings", os.path.join(folder, "s.ini"),
                          "--spreadsheet", "calc", "--calc-connect", "socket,host=127.0.0.1,port=1",
                          "--drawing", drawing, "export", "--drawing-column", "on"],
                         capture_output=True, text=True, timeout=60)
    return run.stdout + run.stderr


def main():
    program = os.path.abspath(sys.argv[1])
    failures = []
    linked = needed(program)
    for library in linked:
        if library.startswith(NEVER_LINKED):
            failures.append(f"velmar links {library}")
    module = os.path.join(os.path.dirname(program), MODULE)
    if os.path.exists(module):
        with tempfile.TemporaryDirectory() as folder:
            said = calc_command(program, folder)
            if "No LibreOffice accepts connections" not in said:
                failures.append("the Calc module was not loaded and used:\n" + said)
            alone = os.path.join(folder, "alone")
            os.mkdir(alone)
            shutil.copy2(program, alone)
            said = calc_command(os.path.join(alone, os.path.basename(program)), folder)
            if "The LibreOffice Calc backend of this velmar is missing (looked for " + \
                    os.path.join(alone, MODULE) not in said:
                failures.append("a velmar without its Calc module did not say so:\n" + said)
    else:
        print(f"no {MODULE} beside velmar (built without the Calc backend): only the links checked")
    for failure in failures:
        print("FAIL:", failure)
    print(f"{len(linked)} libraries linked; {len(failures)} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
