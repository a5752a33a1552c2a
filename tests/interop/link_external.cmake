# Link External Data end to end: a real workbook given door numbers by openpyxl is tied to the
# sample drawing by velmar; openpyxl finds the keys on exactly the matched cells and the rest of
# the workbook as it was, LibreOffice opens it, and a linked cell changed by openpyxl reaches the
# drawing through the import by handle, as ezdxf sees.
velmar_interop(link_external SCRIPT link_external.py DEPENDS velmar)
