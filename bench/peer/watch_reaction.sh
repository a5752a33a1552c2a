#!/bin/sh
# How soon `velmar watch` brings a workbook in step with a drawing saved by another program: a
# drawing of REFS references made by the peer's generator is exported, watched, and replaced
# SAVES times by a copy with 1 % of its attribute values changed (prepared before any timing).
# Each reaction is the time from the rename of the new file into place to the watch's line saying
# the upload succeeded. Prints each reaction and their min / median / max; the aim is under 0.5 s.
#
#   bench/peer/watch_reaction.sh [BUILD_DIR] [REFS [SAVES]]      (default: build, 10000 5)
#
# Needs /usr/bin/python3 with ezdxf (Debian package) for the generator.
NAME=watch
. "$(dirname "$0")/setup.sh"
set -- $SIZES
REFS=${1:-10000}
SAVES=${2:-5}
[ "$SAVES" = 100000 ] && SAVES=5  # setup's default sizes are for the export and import roads

/usr/bin/python3 "$PEER/make_drawing.py" --refs "$REFS" --blocks 24 --version R2018 --seed 1 "$WORK/plan.dxf" >/dev/null
"$TOOL" --settings "$WORK/settings.ini" --drawing "$WORK/plan.dxf" --output "$WORK/plan.xlsx" --force --quiet \
    export --combine off >/dev/null

/usr/bin/python3 - "$TOOL" "$WORK" "$SAVES" <<'PY'
import os, random, statistics, subprocess, sys, threading, time

tool, work, saves = sys.argv[1], sys.argv[2], int(sys.argv[3])
drawing, workbook = os.path.join(work, "plan.dxf"), os.path.join(work, "plan.xlsx")
UPLOADED = "Uploading the modified attributes and properties successfully."

# The saves, made up front at the text level: each changes 1 % of the values (group code 1) of
# the attributes of the model and paper space references, on top of the save before it.
with open(drawing, encoding="utf-8", newline="") as f:
    lines = f.read().split("\n")
values, entity, section = [], None, None
for i in range(0, len(lines) - 1, 2):
    code, value = lines[i].strip(), lines[i + 1].rstrip("\r")
    if code == "0":
        entity = value
    elif code == "2" and entity == "SECTION":
        section = value
    elif code == "1" and entity == "ATTRIB" and section == "ENTITIES":
        values.append(i + 1)
rng = random.Random(1)
count = max(1, len(values) // 100)
prepared = []
for k in range(saves):
    for i in rng.sample(values, count):
        lines[i] = f"revised {k} at {i}" + ("\r" if lines[i].endswith("\r") else "")
    path = os.path.join(work, f".plan.dxf.save{k}")
    with open(path, "w", encoding="utf-8", newline="") as f:
        f.write("\n".join(lines))
    prepared.append(path)
print(f"{len(values)} attribute values; each save changes {count} of them")

watch = subprocess.Popen([tool, "--settings", os.path.join(work, "settings.ini"), "watch", "--drawing", drawing,
                          "--workbook", workbook, "--auto-upload", "on"],
                         stdout=subprocess.PIPE, stderr=subprocess.PIPE)
seen, lock = [], threading.Lock()


def read(stream):
    for raw in iter(stream.readline, b""):
        now = time.monotonic()
        with lock:
            seen.append((now, raw.decode("utf-8", "replace").rstrip("\n")))


for stream in (watch.stdout, watch.stderr):
    threading.Thread(target=read, args=(stream,), daemon=True).start()


def wait_for(start, predicate, timeout):
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline and watch.poll() is None:
        with lock:
            found = [line for line in seen[start:] if predicate(line[1])]
        if found:
            return found[0]
        time.sleep(0.002)
    return None


started = time.monotonic()
ready = wait_for(0, lambda text: text.startswith("Watching "), 120)
if ready is None:
    watch.kill()
    sys.exit("the watch didn't start: " + "\n".join(text for _, text in seen))
loaded = wait_for(0, lambda text: text == UPLOADED, 120)  # the at-load upload, which finds nothing to do
if loaded is None:
    watch.kill()
    sys.exit("the watch's at-load upload didn't end: " + "\n".join(text for _, text in seen))
print(f"watch started in {ready[0] - started:.2f} s, its at-load upload took {loaded[0] - ready[0]:.2f} s")
time.sleep(0.5)

reactions = []
for k, path in enumerate(prepared):
    with lock:
        start = len(seen)
    os.rename(path, drawing)
    renamed = time.monotonic()
    done = wait_for(start, lambda text: text == UPLOADED, 120)
    if done is None:
        watch.kill()
        sys.exit(f"save {k + 1}: no upload: " + "\n".join(text for _, text in seen[start:]))
    with lock:
        said = next((line for line in seen[start:] if " was saved" in line[1]), (renamed, "?"))
        cells = sum(1 for _, text in seen[start:] if text.startswith("  "))
    reactions.append(done[0] - renamed)
    # A line shows when the next one starts: "was saved" once the drawing was read and compared.
    print(f"save {k + 1}: {reactions[-1]:.3f} s, of which {said[0] - renamed:.3f} s to read the drawing "
          f"({said[1].split(': ', 1)[-1]} {cells} cells)")
    time.sleep(0.5)

watch.send_signal(2)
watch.wait(timeout=30)
print(f"reaction over {len(reactions)} saves: min {min(reactions):.3f} s, median "
      f"{statistics.median(reactions):.3f} s, max {max(reactions):.3f} s (aim: under 0.5 s)")
PY
