# The geometry test program and its tool, should the drawing tests not have added them already
# (the checks below run that tool).
if(NOT TARGET test_cad_geometry)
  add_subdirectory(${PROJECT_SOURCE_DIR}/tests/cad/geometry ${PROJECT_BINARY_DIR}/tests/cad/geometry)
endif()

# The geometry layer's edits, read back by ezdxf: multileader attribute values, a reference
# moved by one matrix with its attributes, the active view set on an entity.
velmar_interop(cad_geometry_mleader SCRIPT cad_geometry_mleader.py DEPENDS cad_geometry_tool)
velmar_interop(cad_geometry_transform SCRIPT cad_geometry_transform.py DEPENDS cad_geometry_tool)
velmar_interop(cad_geometry_extents SCRIPT cad_geometry_extents.py DEPENDS cad_geometry_tool)
