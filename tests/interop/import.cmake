# The road back: the sample and corpus drawings exported, two attribute cells, a position and a
# layer changed with openpyxl, imported by handle; ezdxf finds exactly the changed values, every
# other record of the file is unchanged, and a second import leaves the file alone.
velmar_interop(import_by_handle_roundtrip SCRIPT import_roundtrip.py DEPENDS velmar)
