"""ezdxf reads a multileader attribute value we set, and the other leaders stay as they were."""
import os
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from cad_geometry_common import SOURCE, check, run_tool  # noqa: E402

import ezdxf  # noqa: E402

source = os.path.join(SOURCE, "tests", "corpus", "dxf", "gdal-leader-mleader-blockcontent-ac1027.dxf")
with tempfile.TemporaryDirectory() as tmp:
    out = os.path.join(tmp, "mleader.dxf")
    value = "Pears \u00b1 12"
    run_tool("mleader-set", source, out, "2D8", "ED6", value)
    doc = ezdxf.readfile(out)
    auditor = doc.audit()
    check(not auditor.has_errors, "ezdxf audit errors: %s" % [str(e) for e in auditor.errors])
    leaders = {e.dxf.handle: e for e in doc.modelspace().query("MULTILEADER")}
    check(leaders["2D8"].get_block_content() == {"SITSABOVE": value},
          "2D8 reads %r" % leaders["2D8"].get_block_content())
    check(leaders["EEB"].get_block_content() == {"SITSABOVE": ""}, "EEB changed")
    original = ezdxf.readfile(source)
    check(len(list(original.modelspace().query("MULTILEADER"))) == len(leaders), "multileader count changed")
print("ok")
