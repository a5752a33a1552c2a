#!/usr/bin/python3
"""Checks that every include of the source tree looks down the floors of docs/layers.txt.

Reads each `#include "..."` of every .h and .cpp file under the source root (those inside #if
blocks too; `<...>` includes and commented-out ones are not includes of ours), gives the
including file and the included path to the longest folder of the graph they start with, and
fails on an include that the graph does not allow, on an include of a folder the graph does not
know, and on a source file in a folder the graph does not know.

Usage: check_layers.py [SOURCE_ROOT [GRAPH]]   (defaults: src and docs/layers.txt of this checkout)
Exit status: 0 when every include is allowed, 1 when one is not, 2 when the graph can't be read.
"""
import os
import re
import sys

CHECKOUT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SOURCE_SUFFIXES = (".h", ".cpp")
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]*)"')


class GraphError(Exception):
    pass


def read_graph(path):
    """{folder: set of folders it may include}, itself included; raises GraphError."""
    allowed = {}
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            text = line.split("#", 1)[0].strip()
            if not text:
                continue
            folder, colon, rest = text.partition(":")
            folder = folder.strip().strip("/")
            if not colon or not folder or " " in folder:
                raise GraphError(f"{path}:{number}: expected 'FOLDER: ALLOWED FOLDERS...', got '{text}'")
            if folder in allowed:
                raise GraphError(f"{path}:{number}: {folder} is listed twice")
            allowed[folder] = [name.strip("/") for name in rest.split()]
    for folder, names in allowed.items():
        for name in names:
            if name not in allowed:
                raise GraphError(f"{path}: {folder} may include {name}, which has no line of its own")
    _refuse_loops(path, allowed)
    return {folder: set(names) | {folder} for folder, names in allowed.items()}


def _refuse_loops(path, allowed):
    # A loop would make two floors one: whoever wants that merges the folders instead.
    done = set()

    def visit(folder, trail):
        if folder in trail:
            loop = trail[trail.index(folder):] + [folder]
            raise GraphError(f"{path}: the graph goes round: {' -> '.join(loop)}")
        if folder in done:
            return
        for name in allowed[folder]:
            if name != folder:
                visit(name, trail + [folder])
        done.add(folder)

    for folder in allowed:
        visit(folder, [])


def layer_of(relative_dir, graph):
    """The longest folder of the graph that `relative_dir` (from the source root) lies in, or None."""
    best = None
    for folder in graph:
        if relative_dir == folder or relative_dir.startswith(folder + "/"):
            if best is None or len(folder) > len(best):
                best = folder
    return best


def code_lines(text):
    """(line number, line without comments) of `text`; string literals, raw ones too, stay."""
    in_comment = False
    raw_end = None  # the closing )delim" of a raw string that runs over lines
    for number, line in enumerate(text.splitlines(), 1):
        out = []
        i = 0
        n = len(line)
        while i < n:
            if raw_end is not None:
                end = line.find(raw_end, i)
                if end < 0:
                    i = n
                    break
                i = end + len(raw_end)
                raw_end = None
                continue
            if in_comment:
                end = line.find("*/", i)
                if end < 0:
                    i = n
                    break
                i = end + 2
                in_comment = False
                out.append(" ")
                continue
            c = line[i]
            if line.startswith("//", i):
                break
            if line.startswith("/*", i):
                in_comment = True
                i += 2
                continue
            raw = re.match(r'(?:u8|u|U|L)?R"([^()\\\s]{0,16})\(', line[i:])
            if raw and (i == 0 or not (line[i - 1].isalnum() or line[i - 1] == "_")):
                raw_end = ")" + raw.group(1) + '"'
                out.append(line[i:i + raw.end()])
                i += raw.end()
                continue
            if c == "'" and _ends_number(out):
                out.append(c)  # a digit separator, as in 1'000
                i += 1
                continue
            if c in "\"'":
                # An ordinary literal ends on its line; a '/' inside it starts no comment.
                j = i + 1
                while j < n and line[j] != c:
                    j += 2 if line[j] == "\\" else 1
                out.append(line[i:j + 1])
                i = j + 1
                continue
            out.append(c)
            i += 1
        yield number, "".join(out)


def _ends_number(out):
    token = re.search(r"[0-9A-Za-z_.']*$", "".join(out[-40:])).group(0)
    return token[:1].isdigit()


def source_files(root):
    for directory, folders, files in os.walk(root):
        folders.sort()
        for name in sorted(files):
            if name.endswith(SOURCE_SUFFIXES):
                yield os.path.join(directory, name)


def check(root, graph, graph_name="docs/layers.txt"):
    """(problems, files read, includes checked); a problem is one line of the report."""
    root = os.path.abspath(root)
    shown_root = os.path.basename(root)
    problems = []
    unknown_folders = set()
    files = includes = 0
    for path in source_files(root):
        relative = os.path.relpath(path, root).replace(os.sep, "/")
        shown = f"{shown_root}/{relative}"
        own_dir = os.path.dirname(relative)
        own = layer_of(own_dir, graph)
        if own is None:
            if own_dir not in unknown_folders:
                unknown_folders.add(own_dir)
                problems.append(f"{shown}: {shown_root}/{own_dir or '.'} is a folder that "
                                f"{graph_name} does not know: give it a line there")
            continue
        files += 1
        with open(path, encoding="utf-8", errors="replace") as f:
            text = f.read()
        for number, line in code_lines(text):
            match = INCLUDE.match(line)
            if not match:
                continue
            includes += 1
            written = match.group(1)
            # As the compiler does, a path beside the including file wins over one from the root.
            beside = os.path.normpath(os.path.join(os.path.dirname(path), written))
            target_path = beside if os.path.isfile(beside) else os.path.normpath(os.path.join(root, written))
            target_relative = os.path.relpath(target_path, root).replace(os.sep, "/")
            target = None if target_relative.startswith("../") else layer_of(os.path.dirname(target_relative), graph)
            where = f"{shown}:{number}"
            if target is None:
                problems.append(f'{where}: {own} includes "{written}", which lies in no folder of '
                                f"{graph_name}: give its folder a line there")
            elif target not in graph[own]:
                others = sorted(graph[own] - {own}, key=list(graph).index)
                problems.append(f'{where}: {own} may not include {target} ("{written}")  '
                                f"(allowed: {', '.join(others) or 'nothing'})")
    return problems, files, includes


def main(argv):
    if argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(argv) > 3 or any(arg.startswith("-") for arg in argv[1:]):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    root = argv[1] if len(argv) > 1 else os.path.join(CHECKOUT, "src")
    graph_path = argv[2] if len(argv) > 2 else os.path.join(CHECKOUT, "docs", "layers.txt")
    if not os.path.isdir(root):
        print(f"check_layers: {root} is no folder", file=sys.stderr)
        return 2
    try:
        graph = read_graph(graph_path)
    except (OSError, GraphError) as error:
        print(f"check_layers: {error}", file=sys.stderr)
        return 2
    problems, files, includes = check(root, graph, graph_path)
    if problems:
        for problem in problems:
            print(problem)
        print(f"check_layers: {len(problems)} include(s) or folder(s) against {graph_path}")
        return 1
    print(f"check_layers: {files} files, {includes} includes, each allowed by {graph_path}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
