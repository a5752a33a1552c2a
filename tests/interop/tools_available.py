"""The independent readers the other interop checks rely on are installed and work."""
import shutil
import subprocess
import sys

import ezdxf
import openpyxl

doc = ezdxf.new("R2000")
doc.modelspace().add_line((0, 0), (1, 1))
assert len(doc.modelspace()) == 1

wb = openpyxl.Workbook()
wb.active["A1"] = "x"
assert wb.active["A1"].value == "x"

soffice = shutil.which("soffice") or shutil.which("libreoffice")
if soffice is None:
    sys.exit("LibreOffice (soffice) is not on PATH: run scripts/install-deps.sh")
out = subprocess.run([soffice, "--version"], capture_output=True, text=True, timeout=120)
assert "LibreOffice" in out.stdout, out.stdout + out.stderr
print("ezdxf", ezdxf.__version__, "openpyxl", openpyxl.__version__, out.stdout.strip())
