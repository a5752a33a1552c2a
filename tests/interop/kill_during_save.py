#!/usr/bin/python3
"""Kills velmar with SIGKILL at 20 moments of an import by handle and of an export into an existing
workbook, each over a drawing of 50,000 references: the target is always the old file or the new
one, a backup is the old file, and the next run removes what the killed one left beside it."""
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import zipfile
from io import BytesIO
from pathlib import Path

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
VELMAR = BUILD / "src/cli/velmar"
REFERENCES = 50_000
MOMENTS = 20
failures = []


def fail(text):
    failures.append(text)
    print("FAIL:", text)


def drawing(mark):
    """A drawing of one block with a MARK attribute, inserted REFERENCES times; `mark` gives the
    values, the handles are the same whatever the values."""
    out = ["0", "SECTION", "2", "HEADER", "9", "$ACADVER", "1", "AC1015", "9", "$HANDSEED", "5", "FFFFFF",
           "0", "ENDSEC", "0", "SECTION", "2", "BLOCKS",
           "0", "BLOCK", "5", "20", "8", "0", "2", "TAG", "70", "2", "10", "0", "20", "0", "30", "0", "3", "TAG",
           "0", "ATTDEF", "5", "21", "8", "0", "10", "0", "20", "0", "30", "0", "40", "1", "1", "", "3", "Mark",
           "2", "MARK", "70", "0",
           "0", "ENDBLK", "5", "22", "8", "0", "0", "ENDSEC", "0", "SECTION", "2", "ENTITIES"]
    handle = 0x100
    for i in range(REFERENCES):
        out += ["0", "INSERT", "5", "%X" % handle, "8", "0", "66", "1", "2", "TAG",
                "10", str(i % 500), "20", str(i // 500), "30", "0",
                "0", "ATTRIB", "5", "%X" % (handle + 1), "8", "0", "10", str(i % 500), "20", str(i // 500),
                "30", "0", "40", "1", "1", f"{mark}{i}", "2", "MARK", "70", "0",
                "0", "SEQEND", "5", "%X" % (handle + 2), "8", "0"]
        handle += 3
    out += ["0", "ENDSEC", "0", "EOF"]
    return "\n".join(out) + "\n"


def same_file(a, b):
    """The same file, a workbook's save time aside (it changes with every save)."""
    if a == b:
        return True
    try:
        za, zb = zipfile.ZipFile(BytesIO(a)), zipfile.ZipFile(BytesIO(b))
        names = [n for n in za.namelist() if n != "docProps/core.xml"]
        return names == [n for n in zb.namelist() if n != "docProps/core.xml"] and \
            all(za.read(n) == zb.read(n) for n in names) and za.testzip() is None
    except zipfile.BadZipFile:
        return False


def velmar(work, *args):
    return [str(VELMAR), "--settings", str(work / "settings.ini"), "--log", str(work / "Velmar.log"),
            "--yes", *args]


def leftovers(path):
    return [p for p in path.parent.iterdir() if p.name.startswith("." + path.name + ".") and "tmp" in p.name]


def kill_at_moments(work, name, target, backup, make_old, args):
    """Runs `args` once to learn the new target and the time it takes, then kills it at MOMENTS
    moments spread over that time and checks what is left each time."""
    make_old()
    old = target.read_bytes()
    started = time.monotonic()
    done = subprocess.run(args, capture_output=True, text=True, timeout=600)
    duration = time.monotonic() - started
    if done.returncode != 0:
        fail(f"{name}: the run to kill doesn't succeed on its own: {done.stderr}")
        return
    new = target.read_bytes()
    if same_file(new, old):
        fail(f"{name}: the run changes nothing, so killing it proves nothing")
        return
    outcomes = {"old": 0, "new": 0, "leftovers": 0}
    for k in range(MOMENTS):
        make_old()
        if backup and backup.exists():
            backup.unlink()
        process = subprocess.Popen(args, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if k < MOMENTS // 2:
            # Anywhere in the run.
            time.sleep(duration * (k + 0.5) / (MOMENTS // 2))
        else:
            # While the file is being written: once its temporary exists, a little later each time.
            deadline = time.monotonic() + 2 * duration + 5
            while not leftovers(target) and process.poll() is None and time.monotonic() < deadline:
                time.sleep(0.0005)
            time.sleep(0.003 * (k - MOMENTS // 2))
        process.send_signal(signal.SIGKILL)
        process.wait()
        now = target.read_bytes()
        if now == old:
            outcomes["old"] += 1
        elif same_file(now, new):
            outcomes["new"] += 1
            if backup and (not backup.exists() or backup.read_bytes() != old):
                fail(f"{name}: killed at moment {k}, the target is new but the backup is not the old file")
        else:
            fail(f"{name}: killed at moment {k}, the target is neither the old file nor the new one")
        # The next run cleans up after the killed one, and says so.
        left = leftovers(target)
        outcomes["leftovers"] += bool(left)
        after = subprocess.run(args, capture_output=True, text=True, timeout=600)
        if after.returncode != 0:
            fail(f"{name}: the run after the kill at moment {k} failed: {after.stderr}")
        if leftovers(target):
            fail(f"{name}: leftovers after the next run: {[p.name for p in leftovers(target)]}")
        elif left and "Removed a leftover temporary file" not in after.stderr + after.stdout:
            fail(f"{name}: the next run removed {[p.name for p in left]} without a word")
    print(f"{name}: {MOMENTS} kills over {duration:.2f} s: target old {outcomes['old']} times, "
          f"new {outcomes['new']} times, never anything else; {outcomes['leftovers']} kills left a "
          f"temporary file that the next run removed")


def main():
    work = Path(tempfile.mkdtemp(prefix="velmar-kill-"))
    try:
        plan = work / "plan.dxf"
        book = work / "plan.xlsx"
        old_drawing = drawing("A")
        (work / "exported.dxf").write_text(drawing("B"))
        result = subprocess.run(velmar(work, "--drawing", str(work / "exported.dxf"), "--output", str(book),
                                       "export", "--combine", "off"),
                                capture_output=True, text=True, timeout=600)
        if result.returncode != 0:
            fail(f"export of the drawing to kill the import of failed: {result.stderr}")
            return 1
        # The workbook names exported.dxf: the import takes its keys as the current drawing's.
        kill_at_moments(work, "import by handle", plan, work / "plan.bak",
                        lambda: plan.write_text(old_drawing),
                        velmar(work, "--drawing", str(plan), "--workbook", str(book), "import-by-handle",
                               "--ignore-drawing-path", "on"))
        exported = book.read_bytes()
        kill_at_moments(work, "export into a workbook", book, None,
                        lambda: book.write_bytes(exported),
                        velmar(work, "--drawing", str(plan), "--workbook", str(book), "export",
                               "--workbook-mode", "active", "--start-row", "1", "--combine", "off"))
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print(f"{len(failures)} failures")
        return 1
    print("every kill left the old file or the new one, and no leftover past the next run")
    return 0


if __name__ == "__main__":
    sys.exit(main())
