# The upload end to end: a drawing made by ezdxf exported, changed by ezdxf and uploaded;
# openpyxl finds exactly the changed values in their cells, every other value and comment as it
# was and the untouched parts of the package the same bytes; a second upload writes nothing; the
# row of a deleted reference is offered and removed only when asked; a dry run writes nothing;
# corpus drawings take the same road and LibreOffice opens the result.
velmar_interop(upload SCRIPT upload.py DEPENDS velmar)
