#!/usr/bin/env python3
"""What `velmar` prints, compared with recorded transcripts.

Every help text (`velmar --help`, `velmar help`, each command's `--help`) and the README's usage
examples run on the sample drawing in a fresh folder; standard output, standard error and the exit
status of each must match tests/cli/transcripts/NAME.txt byte for byte (the folder's path reads
as @TMP@, a save time as @TIME@). `--record` writes the transcripts instead: only for a change of
output that is meant.

Usage: transcripts.py VELMAR [--record]
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))
RECORDED = os.path.join(HERE, "transcripts")

ALIASES = [
    "export", "upload", "export-attdefs", "import-attdefs", "options", "import-by-handle",
    "import-by-key", "insert-blocks", "debug", "links", "auto-number", "test",
    "update-dynamic-blocks", "count-blocks", "export-points", "add-attributes", "find",
    "create-cell-block", "update-cell-block", "cell-block-info", "upload-cell-block", "website",
    "about", "support", "faq", "whats-new", "demo", "help", "live-update", "load-menu",
    "import-options", "refresh-table",
]


def runs():
    """(name, words) of every transcript, in the order they run; later ones see earlier files."""
    yield "usage", ["--help"]
    yield "version", ["--version"]
    yield "no-command", []
    yield "commands", ["help"]
    for alias in ALIASES:
        yield "help-" + alias, [alias, "--help"]
    yield "help-dxf", ["dxf", "--help"]
    yield "help-watch", ["watch", "--help"]
    yield "watch-without-files", ["watch"]
    yield "help-shell", ["shell", "--help"]
    yield "help-xlsx", ["xlsx", "--help"]
    yield "unknown-command", ["expotr"]
    yield "unknown-option", ["export", "--colour", "red"]
    # The README's usage, in its order, on the sample drawing.
    yield "readme-export-new", ["--drawing", "plan.dxf", "--output", "plan.xlsx", "export"]
    yield "readme-export-preview", ["--drawing", "plan.dxf", "export", "--preview"]
    yield "readme-export-preview-json", ["--json", "--drawing", "plan.dxf", "export", "--preview"]
    yield "readme-export-active", ["--drawing", "plan.dxf", "--workbook", "book.xlsx", "export",
                                   "--workbook-mode", "active", "--start-row", "last"]
    yield "readme-import-dry-run", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx",
                                    "import-by-handle", "--dry-run"]
    yield "readme-import", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "import-by-handle"]
    yield "readme-upload-dry-run", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "upload", "--dry-run"]
    yield "readme-upload", ["--yes", "--drawing", "plan.dxf", "--workbook", "plan.xlsx", "upload",
                            "--remove-deleted-rows", "no"]
    yield "readme-import-save-link", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "import-by-handle",
                                      "--save-link", "on"]
    yield "readme-links-auto-update", ["--drawing", "plan.dxf", "links", "--auto-update", "on"]
    yield "readme-links-update", ["--drawing", "plan.dxf", "--yes", "links", "--link", "plan.xlsx",
                                  "--excel-workbook", "moved/plan.xlsx", "--update-link"]
    yield "readme-links-break", ["--drawing", "plan.dxf", "--yes", "links", "--link", "plan.xlsx", "--break-link"]
    yield "readme-insert-blocks", ["--drawing", "plan.dxf", "--workbook", "rows.xlsx", "insert-blocks",
                                   "--block-name-column", "A", "--tags-from", "header-row", "--header-row", "1"]
    yield "readme-insert-blocks-update", ["--drawing", "plan.dxf", "--workbook", "rows.xlsx", "insert-blocks",
                                          "--block-name-column", "A", "--tags-from", "header-row", "--header-row",
                                          "1", "--update"]
    yield "readme-import-by-key-dry-run", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "import-by-key",
                                           "--tags-from", "header-row", "--header-row", "1", "--key", "MARK",
                                           "--block", "DOOR", "--dry-run"]
    yield "readme-import-by-key-list", ["--workbook", "plan.xlsx", "import-by-key", "--header-row", "1", "--key",
                                        "MARK", "--block", "DOOR", "--list", "plans.lst"]
    yield "readme-import-options", ["import-options", "--layer-header", "Layer name"]
    yield "readme-find", ["--drawing", "plan.dxf", "find", "2F4"]
    yield "readme-options", ["options"]
    yield "readme-options-set", ["options", "--calc-outer-polygon=1"]
    yield "readme-debug", ["debug", "on"]
    yield "readme-dxf-info", ["dxf", "info", "plan.dxf"]
    yield "readme-dxf-resave", ["dxf", "resave", "plan.dxf", "out.dxf"]
    yield "readme-xlsx-info", ["xlsx", "info", "book.xlsx"]
    yield "readme-xlsx-resave", ["xlsx", "resave", "book.xlsx", "out.xlsx"]
    yield "readme-count-blocks", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "--active-cell", "H2",
                                  "count-blocks", "--block-name", "DOOR", "--insert-function"]
    yield "readme-count-blocks-update", ["--drawing", "plan.dxf", "--workbook", "plan.xlsx", "count-blocks",
                                         "--add", "plan2.dxf", "--update-results"]
    yield "readme-export-attdefs", ["--drawing", "plan.dxf", "--output", "defs.xlsx", "export-attdefs"]
    yield "readme-import-attdefs", ["--drawing", "plan.dxf", "--workbook", "defs.xlsx", "--yes", "import-attdefs"]
    yield "readme-export-points", ["--drawing", "plan.dxf", "--output", "points.xlsx", "export-points",
                                   "--separator", ";", "--z", "off"]
    yield "readme-add-attributes", ["--drawing", "plan.dxf", "--workbook", "attributes.xlsx", "add-attributes",
                                    "--block", "DOOR"]
    # The table changes plan.dxf: after every other look at it.
    yield "readme-export-to-table", ["--drawing", "plan.dxf", "--answers", "title.txt", "export", "--to-table",
                                     "--insertion-point", "0,-50"]
    yield "readme-refresh-table", ["--drawing", "plan.dxf", "refresh-table"]
    # Usage errors of the options of each kind.
    yield "bad-switch", ["--drawing", "plan.dxf", "export", "--border", "maybe"]
    yield "bad-choice", ["--drawing", "plan.dxf", "export", "--source", "elsewhere"]
    yield "missing-value", ["export", "--tick"]
    yield "flag-with-value", ["--drawing", "plan.dxf", "export", "--preview=yes"]
    yield "import-bad-switch", ["--workbook", "plan.xlsx", "import-by-handle", "--save-link", "x"]
    yield "options-bad-switch", ["options", "--auto-upload", "x"]
    yield "yes-and-no", ["--yes", "--no", "about"]
    # The update check's dialog as it opens, asking nothing.
    yield "live-update-dialog", ["live-update"]
    # A DWG drawing: refused without a converter; read through one, but not changed without the
    # way back; the converter kept until removed.
    yield "dwg-refused", ["--drawing", "plan.dwg", "find", "AE"]
    yield "dwg-converted-change-refused", ["--dwg-converter", "cp {in} {out}", "--drawing", "plan.dwg", "find", "AE"]
    yield "dwg-converter-kept", ["--drawing", "plan.dwg", "count-blocks"]
    yield "dwg-converter-removed", ["--dwg-converter", "", "--drawing", "plan.dwg", "count-blocks"]
    # Cell blocks, on a drawing and a workbook of their own.
    yield "cell-block-dialog", ["--drawing", "cells.dxf", "--workbook", "cells.xlsx", "--selection", "A1:G3",
                                "cell-block", "create"]
    yield "cell-block-create-dry-run", ["--drawing", "cells.dxf", "--workbook", "cells.xlsx", "--selection", "B2",
                                        "cell-block", "create", "--block-name", "MARK", "--dry-run"]
    yield "cell-block-create", ["--json", "--drawing", "cells.dxf", "--workbook", "cells.xlsx", "--selection",
                                "A1:G3", "cell-block", "create", "--block-name", "OPENINGS"]
    yield "cell-block-info", ["--drawing", "cells.dxf", "cell-block", "info", "16D"]
    yield "cell-block-info-not-cell-block", ["--drawing", "cells.dxf", "cell-block", "info", "1"]
    yield "cell-block-update", ["--drawing", "cells.dxf", "cell-block", "update"]
    yield "cell-block-upload-no", ["--no", "--drawing", "cells.dxf", "cell-block", "upload", "16D"]
    yield "cell-block-bad-name", ["--drawing", "cells.dxf", "--workbook", "cells.xlsx", "create-cell-block",
                                  "--block-name", "a<b"]
    yield "spreadsheet-unknown", ["--spreadsheet", "excel", "--drawing", "plan.dxf", "count-blocks"]


def transcript(velmar, folder, words):
    env = dict(os.environ)
    env["XDG_CONFIG_HOME"] = os.path.join(folder, "config")
    env["XDG_STATE_HOME"] = os.path.join(folder, "state")
    env["HOME"] = folder
    result = subprocess.run([velmar] + words, cwd=folder, env=env, stdin=subprocess.DEVNULL,
                            capture_output=True, timeout=120)
    text = "$ velmar " + " ".join(words) + "\n"
    text += "--- stdout\n" + result.stdout.decode("utf-8", "replace")
    text += "--- stderr\n" + result.stderr.decode("utf-8", "replace")
    text += "--- exit %d\n" % result.returncode
    # Save times are the only words that differ from run to run.
    text = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", "@TIME@", text)
    return text.replace(folder, "@TMP@")


def main():
    if len(sys.argv) < 2:
        print(__doc__)
        return 2
    velmar = os.path.abspath(sys.argv[1])
    record = "--record" in sys.argv[2:]
    failures = []
    with tempfile.TemporaryDirectory(prefix="velmar-transcripts-") as folder:
        folder = os.path.realpath(folder)
        shutil.copy(os.path.join(SOURCE, "examples", "floor.dxf"), os.path.join(folder, "plan.dxf"))
        shutil.copy(os.path.join(SOURCE, "examples", "floor.dxf"), os.path.join(folder, "plan2.dxf"))
        shutil.copy(os.path.join(SOURCE, "examples", "floor.dxf"), os.path.join(folder, "plan.dwg"))
        shutil.copy(os.path.join(SOURCE, "examples", "rows.xlsx"), os.path.join(folder, "rows.xlsx"))
        shutil.copy(os.path.join(SOURCE, "examples", "attributes.xlsx"), os.path.join(folder, "attributes.xlsx"))
        shutil.copy(os.path.join(SOURCE, "examples", "floor.dxf"), os.path.join(folder, "cells.dxf"))
        shutil.copy(os.path.join(SOURCE, "examples", "rows.xlsx"), os.path.join(folder, "cells.xlsx"))
        with open(os.path.join(folder, "plans.lst"), "w") as listing:
            listing.write("plan2.dxf\nmissing.dxf\n")
        with open(os.path.join(folder, "title.txt"), "w") as answers:
            answers.write("Enter the title of the table: = Door and window schedule\n")
        for name, words in runs():
            got = transcript(velmar, folder, words)
            if name == "readme-export-new":
                shutil.copy(os.path.join(folder, "plan.xlsx"), os.path.join(folder, "book.xlsx"))
            if name == "readme-links-auto-update":
                os.makedirs(os.path.join(folder, "moved"))
                shutil.copy(os.path.join(folder, "plan.xlsx"), os.path.join(folder, "moved", "plan.xlsx"))
            path = os.path.join(RECORDED, name + ".txt")
            if record:
                os.makedirs(RECORDED, exist_ok=True)
                with open(path, "w", encoding="utf-8", newline="") as out:
                    out.write(got)
                continue
            try:
                with open(path, encoding="utf-8", newline="") as recorded:
                    want = recorded.read()
            except FileNotFoundError:
                failures.append("%s: no recorded transcript %s" % (name, path))
                continue
            if got != want:
                failures.append("%s differs from %s:\n--- recorded\n%s--- now\n%s" % (name, path, want, got))
    for failure in failures:
        print(failure)
    if not record:
        print("%d transcripts, %d differ" % (len(list(runs())), len(failures)))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
