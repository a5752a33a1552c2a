# The road back: the sample and corpus drawings exported, two attribute cells, a position and a
# layer changed with openpyxl, imported by handle; ezdxf finds exactly the changed values, every
# other record of the file is unchanged, and a second import leaves the file alone.
velmar_interop(import_by_handle_roundtrip SCRIPT import_roundtrip.py DEPENDS velmar)

# Import by key attribute: sheets typed with openpyxl update 50 drawings made by ezdxf, corpus
# drawings, title blocks by "DWG File" and layout, and multileaders; ezdxf and a record by
# record comparison show that exactly the matched attributes changed.
velmar_interop(import_by_key SCRIPT import_by_key.py DEPENDS velmar)

# Dynamic properties the road back: a drawing of dynamic blocks exported with its dynamic
# properties, a distance and a visibility state changed with openpyxl, imported by handle; the
# drawing reads back the new values, ezdxf shows the new geometry and audits it clean.
velmar_interop(import_dynamic_properties SCRIPT import_dynamic.py DEPENDS velmar)
