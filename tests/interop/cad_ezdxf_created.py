"""ezdxf reads what our drawing library creates, in drawings of every version and form."""
import os
import subprocess
import sys
import tempfile

import ezdxf

BUILD = os.environ["VELMAR_BUILD_DIR"]
SOURCE = os.environ["VELMAR_SOURCE_DIR"]
TOOL = os.path.join(BUILD, "tests", "cad", "cad_make_content")
CORPUS = os.path.join(SOURCE, "tests", "corpus", "dxf")
FILES = ["entities-attribs-ac1009.dxf", "binary-r12.dxf", "libredwg-example-ac1014.dxf",
         "entities-attribs-ac1015.dxf", "acadsharp-sample-ac1018-binary.dxf", "libredwg-example-ac1021.dxf",
         "attribute-ac1032.dxf", "netdxf-sample-ac1032-binary.dxf", "korean-ansi949-ac1032.dxf"]
APP = "999F152C-1E9D-4402-B4E6-01B380A38CD4"


def audit_errors(doc):
    try:
        return len(doc.audit().errors)
    except Exception:
        return None


def check(name, folder):
    source = os.path.join(CORPUS, name)
    target = os.path.join(folder, name)
    run = subprocess.run([TOOL, source, target], capture_output=True, text=True)
    if run.returncode != 0:
        return [f"{name}: our tool failed: {run.stderr.strip()}"]
    handle = run.stdout.strip()
    problems = []
    doc = ezdxf.readfile(target)
    if doc.blocks.get("VELMAR_VALVE") is None:
        problems.append("the block is missing")
    ref = doc.entitydb.get(handle)
    if ref is None or ref.dxftype() != "INSERT":
        return [f"{name}: reference {handle} is missing"]
    values = {a.dxf.tag: a.dxf.text for a in ref.attribs}
    if values != {"TAG": "V-101"}:
        problems.append(f"attributes are {values}")
    if ref.dxf.layer != "VELMAR_TAGS" or "VELMAR_TAGS" not in doc.layers:
        problems.append("the layer is wrong")
    if not ref.has_xdata(APP) or ref.get_xdata(APP)[0].value != "C:\\Data\\valves.xlsx":
        problems.append("the extended data is missing")
    texts = [e.dxf.text for e in doc.modelspace().query("TEXT")]
    if "Valve list \u00e9" not in texts:
        problems.append(f"the text is missing: {texts[-3:]}")
    if doc.dxfversion >= "AC1012" and not name.startswith("binary-r12"):
        link = doc.rootdict.get("ORVANE_VELMAR")
        record = link.get("EXCEL_LINK") if link is not None else None
        # ezdxf lists the cloning flag among the data of some versions; the path is the first 1.
        paths = [t.value for t in record.tags if t.code == 1] if record is not None else []
        if paths[:1] != ["C:\\Data\\valves.xlsx"]:
            problems.append("the link record is missing")
    before, after = audit_errors(ezdxf.readfile(source)), audit_errors(ezdxf.readfile(target))
    if before is not None and (after is None or after > before):
        problems.append(f"ezdxf's audit finds {after} errors, {before} in the original")
    return [f"{name}: {p}" for p in problems]


def main():
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        for name in FILES:
            try:
                failures.extend(check(name, folder))
            except Exception as error:
                failures.append(f"{name}: {error!r}")
    print(f"{len(FILES)} drawings checked")
    for failure in failures:
        print("FAIL", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
