# velmar watch in the background over a drawing that ezdxf saves in place and by rename: openpyxl
# finds exactly the changed cells written after each save, a writer killed halfway uploads nothing,
# a workbook with a lock file beside it waits for the lock to go, Ctrl-C ends the watch with 0 and
# the drawing is never written by it.
velmar_interop(watch SCRIPT watch.py DEPENDS velmar)
