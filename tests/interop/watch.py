#!/usr/bin/python3
"""Runs `velmar watch` in the background over a drawing that ezdxf saves, in place and by rename,
and checks with openpyxl that each save reaches the workbook's cells, only those cells and soon;
a writer killed halfway uploads nothing, a workbook open elsewhere waits for its lock file to go,
Ctrl-C ends the watch, and the drawing is never written by velmar."""
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import textwrap
import threading
import time
import warnings
from pathlib import Path

import ezdxf
import openpyxl

BUILD = Path(os.environ["VELMAR_BUILD_DIR"])
VELMAR = BUILD / "src/cli/velmar"
REFERENCES = 200
# From the end of a save to the watch's line saying the workbook took its cells. A quiet machine
# takes about a twentieth of this; a busy one still has room.
REACTION_LIMIT = 1.0
STARTUP_LIMIT = 30.0
UPLOADED = "Uploading the modified attributes and properties successfully."
failures = []
reactions = []


def fail(text):
    failures.append(text)
    print("FAIL:", text, flush=True)


BLOCKS = {
    "PUMP": ["TAG", "DESC", "POWER"],
    "VALVE": ["TAG", "SIZE"],
    "SENSOR": ["TAG", "RANGE", "NOTE"],
}
LAYERS = ["M-EQPM", "M-VALV", "I-SENS", "Z-SPARE"]


def make_drawing(path):
    """REFERENCES attributed references of three blocks on three layers; a fourth layer is empty."""
    doc = ezdxf.new("R2018")
    for layer in LAYERS:
        doc.layers.add(layer)
    for name, tags in BLOCKS.items():
        block = doc.blocks.new(name)
        block.add_circle((0, 0), 1)
        for row, tag in enumerate(tags):
            block.add_attdef(tag, (1.5, -row), dxfattribs={"height": 0.5})
    msp = doc.modelspace()
    names = list(BLOCKS)
    for i in range(REFERENCES):
        name = names[i % len(names)]
        ref = msp.add_blockref(name, (i % 20 * 10, i // 20 * 10), dxfattribs={"layer": LAYERS[i % 3]})
        values = {tag: f"{name[0]}{i:03d} {tag.lower()}" for tag in BLOCKS[name]}
        ref.add_auto_attribs(values)
    doc.saveas(path)


class Watch:
    """velmar watch as a child process; each line of its output is kept with the time it came."""

    def __init__(self, args):
        self.lines = []  # (monotonic time, "out" or "err", text)
        self.lock = threading.Lock()
        self.process = subprocess.Popen(args, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.readers = [threading.Thread(target=self.read, args=(stream, name), daemon=True)
                        for stream, name in ((self.process.stdout, "out"), (self.process.stderr, "err"))]
        for reader in self.readers:
            reader.start()

    def read(self, stream, name):
        for raw in iter(stream.readline, b""):
            now = time.monotonic()
            text = raw.decode("utf-8", "replace").rstrip("\r\n")
            with self.lock:
                self.lines.append((now, name, text))

    def count(self):
        with self.lock:
            return len(self.lines)

    def since(self, start):
        with self.lock:
            return self.lines[start:]

    def wait_for(self, start, predicate, timeout):
        """The first line from index `start` on that satisfies `predicate`, or None at the timeout
        or when the watch ended."""
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            for line in self.since(start):
                if predicate(line[2]):
                    return line
            if self.process.poll() is not None:
                time.sleep(0.1)  # let the readers take the last lines
                for line in self.since(start):
                    if predicate(line[2]):
                        return line
                return None
            time.sleep(0.005)
        return None

    def stop(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def cell_values(path):
    """Every cell value of every sheet, by (sheet, coordinate)."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        book = openpyxl.load_workbook(path)
    return {(sheet.title, cell.coordinate): cell.value
            for sheet in book.worksheets for row in sheet.iter_rows() for cell in row if cell.value is not None}


def keyed_cells(path):
    """The cell each key comment names, by (handle, tag or property name)."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        book = openpyxl.load_workbook(path)
    cells = {}
    for sheet in book.worksheets:
        for row in sheet.iter_rows():
            for cell in row:
                if cell.comment is None:
                    continue
                for line in cell.comment.text.splitlines():
                    if "<" not in line or not line.endswith(">"):
                        continue
                    key = line[line.rindex("<") + 1:-1]
                    # <HANDLE_TAG>, <HANDLE_TAG(ATTRIBHANDLE)> or a property's <HANDLE:Name>
                    handle, _, name = key.partition(":" if ":" in key else "_")
                    cells[(handle.upper(), name)] = (sheet.title, cell.coordinate)
    return cells


def changed_cells(before, after):
    keys = set(before) | set(after)
    return {key: after.get(key) for key in keys if before.get(key) != after.get(key)}


def shown(cell):
    """'Sheet1:$C$11' as the watch prints a cell."""
    sheet, coordinate = cell
    column = coordinate.rstrip("0123456789")
    return f"{sheet}:${column}${coordinate[len(column):]}"


class Session:
    def __init__(self, work):
        self.work = work
        self.drawing = work / "plant.dxf"
        self.workbook = work / "plant.xlsx"
        self.settings = work / "settings.ini"
        make_drawing(self.drawing)
        self.doc = ezdxf.readfile(self.drawing)
        self.refs = {ref.dxf.handle.upper(): ref for ref in self.doc.modelspace().query("INSERT")}
        self.watch = None
        self.edits = 0
        self.last_saved = None  # (bytes, mtime_ns) of the test's last save of the drawing

    def velmar(self, *args):
        return [str(VELMAR), "--settings", str(self.settings), "--log", str(self.work / "Velmar.log"), *args]

    def export(self):
        result = subprocess.run(self.velmar("--drawing", str(self.drawing), "--output", str(self.workbook),
                                            "--force", "export", "--combine", "off", "--layer", "on"),
                                capture_output=True, text=True, timeout=120)
        if result.returncode != 0:
            fail(f"export failed: {result.stdout}{result.stderr}")
            return False
        self.cells = keyed_cells(self.workbook)
        if not any(name == "Layer" for _, name in self.cells):
            fail("the exported workbook has no layer cells")
        return True

    def start(self):
        exported = self.workbook.read_bytes()
        started = time.monotonic()
        self.watch = Watch(self.velmar("watch", "--drawing", str(self.drawing), "--workbook", str(self.workbook),
                                       "--auto-upload", "on"))
        line = self.watch.wait_for(0, lambda text: text.startswith("Watching "), STARTUP_LIMIT)
        if line is None:
            fail(f"the watch didn't start: {self.output()}")
            return False
        expected = (f"Watching {self.drawing} ({REFERENCES} references); its changes go to {self.workbook}. "
                    "Ctrl-C ends the watch.")
        if line[2] != expected:
            fail(f"the watch started with '{line[2]}', not '{expected}'")
        # The at-load upload finds the workbook in step with the drawing and writes nothing; the
        # files are watched from before it.
        loaded = self.watch.wait_for(0, lambda text: text == UPLOADED, STARTUP_LIMIT)
        if loaded is None:
            fail(f"the watch's at-load upload didn't end:\n{self.output()}")
            return False
        print(f"the watch started in {line[0] - started:.2f} s, its at-load upload ended "
              f"{loaded[0] - line[0]:.3f} s later", flush=True)
        lines = [text for _, _, text in self.watch.since(0)]
        if any(text.startswith("  ") or text.startswith("Workbook ") for text in lines):
            fail(f"the at-load upload wrote to the freshly exported workbook: {lines}")
        if self.workbook.read_bytes() != exported:
            fail("the at-load upload changed the freshly exported workbook")
        return True

    def output(self):
        return "\n".join(f"[{name}] {text}" for _, name, text in self.watch.since(0))

    def attribute(self, handle, tag):
        return next(a for a in self.refs[handle].attribs if a.dxf.tag == tag)

    def pick(self, name, skip=0):
        """A reference of block `name`, a different one for each `skip`."""
        return [h for h, ref in self.refs.items() if ref.dxf.name == name][skip]

    def edit(self, attributes=(), layers=()):
        """Sets new values in the in-memory drawing: returns {(handle, name): new value}."""
        self.edits += 1
        wanted = {}
        for handle, tag in attributes:
            value = f"changed {self.edits} {tag.lower()}"
            self.attribute(handle, tag).dxf.text = value
            wanted[(handle, tag)] = value
        for handle in layers:
            ref = self.refs[handle]
            layer = next(layer for layer in LAYERS if layer != ref.dxf.layer)
            ref.dxf.layer = layer
            for attrib in ref.attribs:  # as a CAD program moves a reference with its attributes
                attrib.dxf.layer = layer
            wanted[(handle, "Layer")] = layer
        return wanted

    def save_in_place(self):
        self.doc.saveas(self.drawing)
        return self.saved()

    def save_by_rename(self):
        temporary = self.work / ".plant.dxf.saving"
        self.doc.saveas(temporary)
        os.rename(temporary, self.drawing)
        return self.saved()

    def saved(self):
        end = time.monotonic()
        info = os.stat(self.drawing)
        self.last_saved = (self.drawing.read_bytes(), info.st_mtime_ns)
        return end

    def expect_upload(self, label, start, saved_at, wanted, before, references, removed=0):
        """Waits for the upload of one save and checks what it printed and wrote: returns the
        workbook's cells after it."""
        line = self.watch.wait_for(start, lambda text: text == UPLOADED, 15)
        if line is None:
            fail(f"{label}: no upload within 15 s:\n{self.output()}")
            return cell_values(self.workbook)
        reaction = line[0] - saved_at
        reactions.append(reaction)
        print(f"{label}: uploaded {reaction:.3f} s later", flush=True)
        if reaction > REACTION_LIMIT:
            fail(f"{label}: the upload came {reaction:.3f} s after the save (limit {REACTION_LIMIT} s)")
        lines = [text for _, name, text in self.watch.since(start) if name == "out"]
        said = f"plant.dxf was saved: {references} reference(s) changed, {removed} removed."
        if said not in lines:
            fail(f"{label}: no line '{said}' in {lines}")
        cell_lines = sorted(text for text in lines if text.startswith("  "))
        expected_lines = sorted(f"  {shown(self.cells[key])}: '{before[self.cells[key]]}' -> '{value}'"
                                for key, value in wanted.items())
        if cell_lines != expected_lines:
            fail(f"{label}: the watch listed {cell_lines}, expected {expected_lines}")
        if f"Workbook {self.workbook} saved." not in lines:
            fail(f"{label}: no line 'Workbook {self.workbook} saved.' in {lines}")
        after = cell_values(self.workbook)
        changes = changed_cells(before, after)
        expected = {self.cells[key]: value for key, value in wanted.items()}
        if changes != expected:
            fail(f"{label}: the workbook's changed cells are {changes}, expected {expected}")
        return after

    def quiet_for(self, start, seconds):
        """The lines the watch printed from `start` on, after `seconds` more."""
        time.sleep(seconds)
        return [text for _, _, text in self.watch.since(start)]


def run_checks(s):
    if not s.export() or not s.start():
        return
    before = cell_values(s.workbook)

    # Three saves: in place, by rename, in place.
    pump, valve, sensor = s.pick("PUMP"), s.pick("VALVE"), s.pick("SENSOR")
    first = mark = s.watch.count()
    wanted = s.edit(attributes=[(pump, "DESC")])
    before = s.expect_upload("save in place", mark, s.save_in_place(), wanted, before, 1)
    mark = s.watch.count()
    wanted = s.edit(attributes=[(valve, "SIZE")], layers=[sensor])
    before = s.expect_upload("save by rename", mark, s.save_by_rename(), wanted, before, 2)
    mark = s.watch.count()
    wanted = s.edit(attributes=[(s.pick("SENSOR", 1), "NOTE")])
    before = s.expect_upload("second save in place", mark, s.save_in_place(), wanted, before, 1)
    time.sleep(0.3)
    lines = [text for _, _, text in s.watch.since(first)]
    saves = [text for text in lines if " was saved" in text]
    cells = [text for text in lines if text.startswith("  ")]
    uploads = [text for text in lines if text == UPLOADED]
    if len(saves) != 3 or len(uploads) != 3 or len(cells) != 4:
        fail(f"three saves gave {len(saves)} save lines, {len(uploads)} uploads and {len(cells)} cell lines, "
             f"not 3, 3 and 4:\n" + "\n".join(lines))

    # A writer killed halfway through its save: nothing is uploaded, and its next save is.
    mark = s.watch.count()
    wanted = s.edit(attributes=[(s.pick("PUMP", 1), "POWER")])
    complete = s.work / "complete.dxf"
    s.doc.saveas(complete)
    book = s.workbook.read_bytes()
    writer = subprocess.Popen([sys.executable, "-c", textwrap.dedent("""
        import sys, time
        data = open(sys.argv[1], "rb").read()
        with open(sys.argv[2], "r+b") as target:
            target.truncate(0)
            target.write(data[:len(data) // 2])
            target.flush()
            print("half", flush=True)
            time.sleep(60)
        """), str(complete), str(s.drawing)], stdout=subprocess.PIPE, text=True)
    if writer.stdout.readline().strip() != "half":
        fail("the writer to kill didn't write its half")
    writer.send_signal(signal.SIGKILL)
    writer.wait()
    killed_at = time.monotonic()
    s.last_saved = (s.drawing.read_bytes(), os.stat(s.drawing).st_mtime_ns)
    line = s.watch.wait_for(mark, lambda text: "can't be read" in text, 15)
    if line is None:
        fail(f"half a drawing: the watch didn't say it can't be read:\n{s.output()}")
    else:
        print(f"half a drawing: told {line[0] - killed_at:.3f} s after the kill: {line[2]}", flush=True)
        expected = "plant.dxf was saved but can't be read ("
        if line[1] != "err" or not line[2].startswith(expected) or \
                not line[2].endswith("); nothing was uploaded. Waiting for its next save."):
            fail(f"half a drawing: the watch said '{line[2]}' on std{line[1]}")
    lines = s.quiet_for(mark, 0.5)
    if any(text == UPLOADED or text.startswith("  ") or " reference(s) changed" in text for text in lines):
        fail(f"half a drawing: the watch uploaded something: {lines}")
    if s.workbook.read_bytes() != book:
        fail("half a drawing: the workbook was written")
    mark = s.watch.count()
    before = s.expect_upload("the complete save after it", mark, s.save_in_place(), wanted, before, 1)

    # The workbook open in another program: the upload waits for its lock file to go.
    lock = s.workbook.parent / f".~lock.{s.workbook.name}#"
    lock.write_text(f",tester,{os.uname().nodename},01.01.2030 10:00,file://{s.workbook};\n")
    mark = s.watch.count()
    wanted = s.edit(attributes=[(s.pick("VALVE", 1), "TAG")])
    book = s.workbook.read_bytes()
    s.save_in_place()
    waits = f"plant.xlsx is open in another program ({lock.name}); the upload waits until it is closed there."
    line = s.watch.wait_for(mark, lambda text: text == waits, 15)
    if line is None:
        fail(f"lock file: no line '{waits}':\n{s.output()}")
    lines = s.quiet_for(mark, 0.5)
    if UPLOADED in lines or any(text.startswith("  ") for text in lines):
        fail(f"lock file: the watch uploaded while the workbook was open elsewhere: {lines}")
    if s.workbook.read_bytes() != book:
        fail("lock file: the workbook was written while open elsewhere")
    lock.unlink()
    before = s.expect_upload("the lock file removed", mark, time.monotonic(), wanted, before, 1)

    # Ctrl-C ends the watch.
    time.sleep(0.2)
    mark = s.watch.count()
    s.watch.process.send_signal(signal.SIGINT)
    try:
        code = s.watch.process.wait(timeout=10)
    except subprocess.TimeoutExpired:
        fail("SIGINT didn't end the watch within 10 s")
        return
    for reader in s.watch.readers:
        reader.join(timeout=5)
    if code != 0:
        fail(f"the watch ended by SIGINT exited {code}, not 0")
    lines = [text for _, _, text in s.watch.since(mark)]
    if lines != ["The watch of plant.dxf ended."]:
        fail(f"the watch ended with {lines}")
    # Over the whole watch: five uploads of six cells, besides the at-load upload that wrote nothing.
    lines = [text for _, _, text in s.watch.since(0)]
    counts = (sum(" reference(s) changed" in text for text in lines), sum(text.startswith("  ") for text in lines),
              sum(text.startswith("Workbook ") for text in lines), lines.count(UPLOADED))
    if counts != (5, 6, 5, 6):
        fail(f"the watch told {counts[0]} saves, {counts[1]} cells, {counts[2]} workbook saves and {counts[3]} "
             "ended uploads, not 5, 6, 5 and 6")
    errors = [text for _, name, text in s.watch.since(0) if name == "err" and text]
    if len(errors) != 1:
        fail(f"the watch wrote {len(errors)} lines to standard error, not only the unreadable save's: {errors}")
    saved, mtime = s.last_saved
    if s.drawing.read_bytes() != saved or os.stat(s.drawing).st_mtime_ns != mtime:
        fail("the drawing was written by the watch")
    if any(p.name.startswith("plant.dxf") and p.name != "plant.dxf" or p.suffix == ".bak" for p in s.work.iterdir()):
        fail(f"the watch left files beside the drawing: {sorted(p.name for p in s.work.iterdir())}")


def main():
    work = Path(tempfile.mkdtemp(prefix="velmar-watch-"))
    session = Session(work)
    try:
        run_checks(session)
    finally:
        if session.watch:
            session.watch.stop()
            print("the watch's output:\n" + session.output())
        shutil.rmtree(work, ignore_errors=True)
    if reactions:
        print(f"reaction to {len(reactions)} saves: min {min(reactions):.3f} s, median "
              f"{statistics.median(reactions):.3f} s, max {max(reactions):.3f} s")
    if failures:
        print(f"{len(failures)} failures")
        return 1
    print("every save reached exactly its cells, an unreadable one nothing, a locked workbook waited")
    return 0


if __name__ == "__main__":
    sys.exit(main())
