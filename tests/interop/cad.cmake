# ezdxf reads every corpus drawing after we changed one attribute value in it; its audit finds no
# new error, and the only difference it sees from the original is that value.
velmar_interop(cad_ezdxf_reads_edited_corpus SCRIPT cad_ezdxf_edit.py DEPENDS cad_edit_attribute)
