# Insert blocks end to end: 500 rows written by openpyxl inserted into the current drawing and two
# other drawing files, checked by ezdxf (block, position, scale, layer, attribute values, row
# links, audit); 50 rows changed and brought back with --update, every other record of the drawing
# the same bytes; a block taken from a corpus library drawing; bursts compared with ezdxf's explode.
velmar_interop(insert_blocks SCRIPT insert_blocks.py DEPENDS velmar)
