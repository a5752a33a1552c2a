#!/usr/bin/env python3
"""`velmar shell` as users run it: a session driven through a pipe (numbering over two
selections, a second drawing opened, switched to and back, the module state shown, the save
question at the end), and one typed on a pseudo-terminal with Tab completion.

Usage: shell_session.py VELMAR
"""
import os
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
SAMPLE = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(HERE))), "examples", "floor.dxf")
failures = []


def check(ok, what, output=""):
    if not ok:
        failures.append(what)
        print("FAIL:", what)
        if output:
            print(output[-3000:])


def environment(folder):
    env = dict(os.environ)
    env["XDG_CONFIG_HOME"] = os.path.join(folder, "config")
    env["XDG_STATE_HOME"] = os.path.join(folder, "state")
    env["HOME"] = folder
    env["TERM"] = "dumb"
    return env


def attribute_values(path, tag):
    """Handle of each block reference -> the value of its attribute `tag`, read from the DXF tags:
    the attributes follow their reference."""
    with open(path, encoding="utf-8", errors="replace") as f:
        lines = [line.rstrip("\r\n") for line in f]
    values, record, insert = {}, None, None

    def close(record):
        if record and record.get("type") == "ATTRIB" and record.get("2") == tag:
            values[insert] = record.get("1", "")

    for i in range(0, len(lines) - 1, 2):
        code, value = lines[i].strip(), lines[i + 1]
        if code == "0":
            close(record)
            record = {"type": value}
        elif record is not None and code in ("1", "2", "5") and code not in record:
            record[code] = value
            if code == "5" and record["type"] == "INSERT":
                insert = value
    close(record)
    return values


def shell(folder, args, script):
    return subprocess.run([VELMAR, "shell"] + args, input=script, cwd=folder, env=environment(folder),
                          capture_output=True, text=True, timeout=60)


def pipe_session(folder):
    shutil.copy(SAMPLE, os.path.join(folder, "a.dxf"))
    shutil.copy(SAMPLE, os.path.join(folder, "b.dxf"))
    script = "\n".join([
        "auto-number --selection 12D,130",
        "Select-order",  # the sort
        "",              # starting number: the default, 1
        "",              # increment: 1
        "",              # placement: Overwrite
        "133",           # a second selection: the number runs on
        "",              # no third selection: the command ends
        "state",
        "open b.dxf",
        "documents",
        "switch 1",
        "auto-number --selection 136",
        "",              # starting number: the one after the last, 4
        "",              # increment
        "",              # no further selection
        "switch b.dxf",
        "switch a.dxf",
        "documents",
        "state",
        "exit",
        "yes",           # Save changes to a.dxf?
    ]) + "\n"
    result = shell(folder, ["--drawing", "a.dxf"], script)
    out = result.stdout
    check(result.returncode == 0, "the piped session ends with status 0 (%d)" % result.returncode,
          out + result.stderr)
    check("Command: auto-number --selection 12D,130" in out, "each command line stands after its prompt", out)
    check("Sort selected objects by [X/Y/Select-order]<Select-order>:Select-order" in out,
          "a prompt takes the script's next line", out)
    check("Specify starting number <4>:" in out, "the numbering state lasts from one command to the next", out)
    check('Numbering: number "3" (prefix ""), increment 1, last block "DESK_SET"' in out,
          "state shows the numbering state", out)
    check("* 2 " + os.path.join(folder, "b.dxf") in out, "the opened drawing becomes current", out)
    check("Current drawing: " + os.path.join(folder, "a.dxf") in out, "switch makes a drawing current", out)
    check("* 1 " + os.path.join(folder, "a.dxf") + " (changed)" in out,
          "documents marks the current and the changed drawing", out)
    check("Saved " + os.path.join(folder, "a.dxf") in out, "Yes at the end saves the changed drawing", out)
    values = attribute_values(os.path.join(folder, "a.dxf"), "DESK_NO")
    check([values.get(h) for h in ("12D", "130", "133", "136")] == ["1", "2", "3", "4"],
          "the references are numbered over both selections and both commands: %s" % values)
    with open(os.path.join(folder, "b.dxf"), "rb") as b, open(SAMPLE, "rb") as sample:
        check(b.read() == sample.read(), "the drawing that was only opened is left byte for byte")
    check(os.path.exists(os.path.join(folder, "a.dxf.bak")) or os.path.exists(os.path.join(folder, "a.bak")),
          "the save keeps a backup")


def unsaved_at_end_of_input(folder):
    shutil.copy(SAMPLE, os.path.join(folder, "c.dxf"))
    result = shell(folder, ["c.dxf"], "auto-number --selection 12D\n\n\n\n\n")
    with open(os.path.join(folder, "c.dxf"), "rb") as c, open(SAMPLE, "rb") as sample:
        check(c.read() == sample.read(), "a change nobody agreed to save leaves the file as it was")
    check("the changes to " + os.path.join(folder, "c.dxf") + " were not saved" in result.stderr,
          "the end of input says which changes were not saved", result.stdout + result.stderr)


def queued_and_unknown(folder):
    result = shell(folder, [], "expotr\nopen missing.dxf\nhelp\n")
    check(result.returncode != 0, "a failed command line makes the session's status a failure")
    check("unknown command 'expotr'" in result.stderr, "an unknown command is said", result.stderr)
    check("missing.dxf" in result.stderr, "a drawing that can't be opened is said", result.stderr)
    check("The shell's own words:" in result.stdout and "Velmar_AutoNumber" in result.stdout,
          "help lists the shell's words and the commands", result.stdout)


def read_until(fd, wanted, seconds=10):
    seen = b""
    end = time.time() + seconds
    while time.time() < end and wanted not in seen:
        ready, _, _ = select.select([fd], [], [], 0.2)
        if ready:
            try:
                chunk = os.read(fd, 4096)
            except OSError:
                break
            if not chunk:
                break
            seen += chunk
    return seen


def typed_session(folder):
    shutil.copy(SAMPLE, os.path.join(folder, "t.dxf"))
    pid, fd = pty.fork()
    if pid == 0:
        os.chdir(folder)
        os.execve(VELMAR, [VELMAR, "shell", "--drawing", "t.dxf"], environment(folder))
    try:
        check(b"Command: " in read_until(fd, b"Command: "), "the shell shows its prompt on a terminal")
        os.write(fd, b"docu\t")
        seen = read_until(fd, b"documents")
        check(b"documents" in seen, "Tab completes a command name", seen.decode(errors="replace"))
        os.write(fd, b"\r")
        seen = read_until(fd, b"t.dxf")
        check(b"* 1 " in seen and b"t.dxf" in seen, "the completed command runs", seen.decode(errors="replace"))
        read_until(fd, b"Command: ")
        os.write(fd, b"auto-number --dry\t")
        seen = read_until(fd, b"--dry-run")
        check(b"--dry-run" in seen, "Tab completes a command's option", seen.decode(errors="replace"))
        os.write(fd, b"--selection 12D\r")
        read_until(fd, b"starting number")
        os.write(fd, b"7\r")
        read_until(fd, b"increment")
        os.write(fd, b"\r")
        read_until(fd, b"Placement")
        os.write(fd, b"\r")
        read_until(fd, b"Select text")
        os.write(fd, b"\r")
        seen = read_until(fd, b"Command: ")
        check(b"Nothing was written (dry run)." in seen, "the typed command's prompts are answered on the terminal",
              seen.decode(errors="replace"))
        os.write(fd, b"exit\r")
        read_until(fd, b"\x00", 3)
    finally:
        try:
            os.kill(pid, 9)
        except ProcessLookupError:
            pass
        os.waitpid(pid, 0)
    check(os.path.exists(os.path.join(folder, "state", "velmar", "history")), "the typed lines are kept as history")
    with open(os.path.join(folder, "state", "velmar", "history"), encoding="utf-8", errors="replace") as history:
        kept = history.read()
        check("auto-number --dry-run " in kept and "--selection 12D" in kept, "the history holds the completed line",
              kept)


def main(argv):
    global VELMAR
    if len(argv) != 2:
        print(__doc__)
        return 2
    VELMAR = os.path.abspath(argv[1])
    for test in (pipe_session, unsaved_at_end_of_input, queued_and_unknown, typed_session):
        with tempfile.TemporaryDirectory(prefix="velmar-shell-") as folder:
            test(folder)
    if failures:
        print("%d failure(s)" % len(failures))
        return 1
    print("shell sessions: all checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
