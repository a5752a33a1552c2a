# Dynamic block properties set by the drawing library, the changed drawings read by ezdxf: a
# clean audit, the geometry the new state shows, and the representation data read back.
velmar_interop(cad_dynamic_write SCRIPT cad_dynamic_write.py DEPENDS velmar cad_set_dynamic)
