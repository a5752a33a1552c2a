# Auto numbering end to end: references and texts of a drawing ezdxf made, numbered by filter and
# sort with prompts answered in advance, read back by ezdxf with everything else intact; and the
# same through a piped shell session over a corpus drawing.
velmar_interop(auto_number SCRIPT auto_number.py DEPENDS velmar)
