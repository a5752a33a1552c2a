# The small schedules end to end: block counts over the sample and corpus drawings against
# counts made with ezdxf, and a recount after ezdxf added references; new attributes added to
# blocks and their references, as ezdxf sees them; attribute definitions out to a workbook and
# back with an edited prompt; the points of lines and polylines against ezdxf's vertices.
velmar_interop(count_blocks SCRIPT count_blocks.py DEPENDS velmar)
velmar_interop(add_new_atts SCRIPT add_new_atts.py DEPENDS velmar)
velmar_interop(attdefs SCRIPT attdefs.py DEPENDS velmar)
velmar_interop(export_points SCRIPT export_points.py DEPENDS velmar)
