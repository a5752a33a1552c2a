# The links end to end: an import that saves its link, the workbook edited by openpyxl, and the
# values brought in by the next command's drawing load while the automatic update is on; the
# link broken, moved and updated; ezdxf reads every drawing written.
velmar_interop(links SCRIPT links.py DEPENDS velmar)
