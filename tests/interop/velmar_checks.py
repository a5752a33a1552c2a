"""Helpers of the interop checks: where things are, running velmar in a work folder of its own,
and the failures gathered on the way."""
import os
import subprocess
from pathlib import Path

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
SOURCE = Path(os.environ["VELMAR_SOURCE_DIR"])
TOOL = BUILD / "src/cli/velmar"
CORPUS = SOURCE / "tests/corpus/dxf"
DATA = SOURCE / "tests/data/schedules"
SAMPLE = SOURCE / "examples/floor.dxf"
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def run(work, *args, expect=0):
    """Runs velmar with the work folder's own settings; a run whose exit status isn't `expect` fails."""
    command = [str(TOOL), "--settings", str(work / "settings.ini"), *map(str, args)]
    result = subprocess.run(command, capture_output=True, text=True, timeout=600)
    if expect is not None and result.returncode != expect:
        fail("velmar %s: exit %d\n%s%s" % (" ".join(map(str, args)), result.returncode, result.stdout[-2000:],
                                           result.stderr[-2000:]))
    return result


def velmar(work, *args, expect=0):
    """As run; the output, stdout then stderr."""
    result = run(work, *args, expect=expect)
    return result.stdout + result.stderr


def finish(success):
    """The exit status of a check, with its last line."""
    if failures:
        print("%d failure(s)" % len(failures))
        return 1
    print(success)
    return 0
