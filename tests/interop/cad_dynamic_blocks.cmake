# Dynamic block properties as `velmar dxf dynamic --json` reads them, against the same drawings'
# tags as ezdxf reads them.
velmar_interop(cad_dynamic_blocks SCRIPT cad_dynamic_blocks.py DEPENDS velmar)
