# ezdxf reads every corpus drawing after we changed one attribute value in it; its audit finds no
# new error, and the only difference it sees from the original is that value.
velmar_interop(cad_ezdxf_reads_edited_corpus SCRIPT cad_ezdxf_edit.py DEPENDS cad_edit_attribute)

# ezdxf reads what we create (layer, block, attributed reference with extended data, text,
# polyline, dictionary and xrecord) in drawings of every version, and its audit finds nothing new.
velmar_interop(cad_ezdxf_reads_created_content SCRIPT cad_ezdxf_created.py DEPENDS cad_make_content)

# ezdxf reads every corpus drawing we brought to AC1032, R12 to 2013, ASCII and binary: its audit
# finds nothing new, and entities, attribute texts and layers are those of the original.
velmar_interop(cad_ezdxf_reads_upgraded_corpus SCRIPT cad_ezdxf_upgrade.py DEPENDS cad_upgrade)
