"""Helpers of the block interop checks: running cad_block_tool and reading corpus drawings."""
import os
import subprocess
import sys

import ezdxf

BUILD = os.environ.get("VELMAR_BUILD_DIR", "")
SOURCE = os.environ.get("VELMAR_SOURCE_DIR",
                        os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
TOOL = os.path.join(BUILD, "tests", "cad", "cad_block_tool")
CORPUS = os.path.join(SOURCE, "tests", "corpus", "dxf")
failures = []


def corpus(name):
    return os.path.join(CORPUS, name)


def run_tool(*args):
    """Runs cad_block_tool; its standard output, or the end of the check when it fails."""
    if not os.path.exists(TOOL):
        sys.exit("cad_block_tool is not built: cmake --build <build> --target cad_block_tool")
    done = subprocess.run([TOOL, *map(str, args)], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit("cad_block_tool %s failed: %s" % (" ".join(map(str, args[:3])), done.stderr))
    return done.stdout


def check(condition, message):
    """Notes a failure and goes on, so that one run tells every difference."""
    if not condition:
        failures.append(message)
        print("FAILED: " + message)
    return condition


def audit_findings(doc):
    """What ezdxf's audit finds and fixes, as (code, message) pairs."""
    auditor = doc.audit()
    return {(e.code, e.message) for e in auditor.errors} | {(f.code, f.message) for f in auditor.fixes}


def finish():
    if failures:
        sys.exit("%d failures" % len(failures))
    print("ok")
