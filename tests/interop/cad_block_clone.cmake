# Blocks cloned between corpus drawings and drawings inserted as blocks, read back by ezdxf: its
# audit finds nothing new, and the blocks hold what the source's hold, with every record they
# name. References exploded by us and by ezdxf's own explode give the same pieces.
velmar_interop(cad_block_clone SCRIPT cad_block_clone.py DEPENDS cad_block_tool)
velmar_interop(cad_block_explode SCRIPT cad_block_explode.py DEPENDS cad_block_tool)
