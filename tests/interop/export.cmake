# The sample drawing and corpus drawings exported through `velmar export`: openpyxl reads every
# workbook, each comment's key names a reference and attribute that ezdxf finds in the drawing
# with the cell's value, links and borders stand where asked, LibreOffice opens the result, and
# an export into an existing corpus workbook leaves its other sheets as they were.
velmar_interop(export_keys_against_ezdxf SCRIPT export_keys.py DEPENDS velmar)
# Every corpus workbook takes an export into its active sheet with nothing else changed, or is
# refused and left byte for byte as it was.
velmar_interop(export_into_every_corpus_workbook SCRIPT export_into_corpus.py DEPENDS velmar)
# Killed at 20 moments of an import and of an export of 50,000 references, velmar leaves the old
# file or the new one, never anything between, and the next run removes its leftovers.
velmar_interop(kill_during_save SCRIPT kill_during_save.py DEPENDS velmar)
