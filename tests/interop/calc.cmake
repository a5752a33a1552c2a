# velmar --spreadsheet calc against a real headless soffice: the export of the sample drawing
# lands in a document of the running Calc with the cells and comments of the file export, and a
# refused connection is said. Only where the Calc backend was built.
if(TARGET velmar_calc)
  velmar_interop(calc_export SCRIPT calc_export.py DEPENDS velmar)
endif()
if(TARGET velmar_calc)
  velmar_interop(calc_roundtrip SCRIPT calc_roundtrip.py DEPENDS velmar)
endif()
