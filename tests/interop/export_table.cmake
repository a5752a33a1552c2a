# The sample drawing and two corpus drawings exported to native tables with `velmar export
# --to-table`: ezdxf reads each table's cells with the schedule's texts, its audit finds nothing
# new, and the table's block holds one text per non-empty cell inside the cell; after ezdxf edits
# a value and adds a reference, `velmar refresh-table` refills the table with the new schedule.
velmar_interop(export_table_against_ezdxf SCRIPT export_table.py DEPENDS velmar)
