# Cell blocks end to end: a corpus range made a block, read by ezdxf against LibreOffice's
# layout of the sheet; values back to the sheet (openpyxl) and from it.
velmar_interop(cell_blocks SCRIPT cell_blocks.py DEPENDS velmar)
