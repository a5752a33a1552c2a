"""Helpers of the geometry interop checks: finding and running cad_geometry_tool."""
import os
import subprocess
import sys

BUILD = os.environ.get("VELMAR_BUILD_DIR", "")
SOURCE = os.environ.get("VELMAR_SOURCE_DIR", os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
TOOL = os.path.join(BUILD, "tests", "cad", "geometry", "cad_geometry_tool")


def run_tool(*args):
    if not os.path.exists(TOOL):
        sys.exit("cad_geometry_tool is not built: cmake --build <build> --target cad_geometry_tool")
    done = subprocess.run([TOOL, *map(str, args)], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit("cad_geometry_tool %s failed: %s" % (" ".join(map(str, args)), done.stderr))


def check(condition, message):
    if not condition:
        sys.exit("FAILED: " + message)
