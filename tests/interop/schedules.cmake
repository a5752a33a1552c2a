# The small schedules end to end: block counts over the sample and corpus drawings against
# counts made with ezdxf, and a recount after ezdxf added references.
velmar_interop(count_blocks SCRIPT count_blocks.py DEPENDS velmar)
