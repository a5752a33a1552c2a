#!/usr/bin/python3
"""velmar dxf info and xlsx info on files they can't read: exit 1, the error on standard error
naming the file once, nothing of it on standard output."""
import os
import subprocess
import sys
from pathlib import Path

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
VELMAR = BUILD / "src/cli/velmar"
failures = []

cases = [
    ("xlsx", SOURCE / "tests/corpus/xlsx/no-such-workbook.xlsx"),
    ("xlsx", SOURCE / "tests/corpus/xlsx/bad-corrupted-root-rels.xlsx"),
    ("xlsx", SOURCE / "tests/corpus/xlsx/bad-broken-zip-central-directory.xlsx"),
    ("dxf", SOURCE / "tests/corpus/dxf/no-such-drawing.dxf"),
    ("dxf", SOURCE / "tests/corpus/dxf/bad-r12-trash-beyond-eof.dxf"),
]
for tool, path in cases:
    result = subprocess.run([str(VELMAR), tool, "info", str(path)], capture_output=True, text=True, timeout=120)
    if tool == "dxf" and path.exists() and result.returncode == 0:
        continue  # a drawing the reader repairs is no failure
    said = f"{tool} info {path.name}: exit {result.returncode}, stdout {result.stdout!r}, stderr {result.stderr!r}"
    if result.returncode != 1:
        failures.append("exit status: " + said)
    if result.stdout.strip():
        failures.append("error on standard output: " + said)
    if result.stderr.count(str(path)) != 1:
        failures.append("the file is not named once: " + said)
    print(said)

if failures:
    print("\n".join(failures))
    sys.exit(1)
print("info tools say what they can't read on standard error, naming the file once")
