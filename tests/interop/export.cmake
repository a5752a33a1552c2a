# The sample drawing and corpus drawings exported through `velmar export`: openpyxl reads every
# workbook, each comment's key names a reference and attribute that ezdxf finds in the drawing
# with the cell's value, links and borders stand where asked, LibreOffice opens the result, and
# an export into an existing corpus workbook leaves its other sheets as they were.
velmar_interop(export_keys_against_ezdxf SCRIPT export_keys.py DEPENDS velmar_export_tool)
# Every corpus workbook takes an export into its active sheet with nothing else changed, or is
# refused and left byte for byte as it was.
velmar_interop(export_into_every_corpus_workbook SCRIPT export_into_corpus.py DEPENDS velmar_export_tool)
