# Workbooks the library edited (a cell written, a note added, a row deleted) open in openpyxl and
# LibreOffice with the edit visible and everything else as before.
velmar_interop(xl_edit_openpyxl SCRIPT xl_edit_check.py ARGS openpyxl)
velmar_interop(xl_edit_soffice SCRIPT xl_edit_check.py ARGS soffice)
# velmar dxf info / xlsx info on unreadable files: errors on standard error, the file named once.
velmar_interop(info_tools_errors SCRIPT info_tools_errors.py DEPENDS velmar)
