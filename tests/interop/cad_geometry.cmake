
# The geometry layer's edits, read back by ezdxf: multileader attribute values, a reference
# moved by one matrix with its attributes, the active view set on an entity.
velmar_interop(cad_geometry_mleader SCRIPT cad_geometry_mleader.py DEPENDS cad_geometry_tool)
velmar_interop(cad_geometry_transform SCRIPT cad_geometry_transform.py DEPENDS cad_geometry_tool)
velmar_interop(cad_geometry_extents SCRIPT cad_geometry_extents.py DEPENDS cad_geometry_tool)
