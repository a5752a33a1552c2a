#!/usr/bin/python3
# Writes the small workbooks the bridge tests read: cells our own writer can't make (Booleans,
# errors, dates), packed by hand so that no spreadsheet library of ours is involved.
import zipfile

CT = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="xml" ContentType="application/xml"/><Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/><Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/><Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/></Types>'''
RELS = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/></Relationships>'''
WB = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets><sheet name="Data" sheetId="1" r:id="rId1"/></sheets></workbook>'''
WBRELS = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="worksheets/sheet1.xml"/><Relationship Id="rId2" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/></Relationships>'''
STYLES = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<styleSheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><fonts count="1"><font><sz val="11"/><name val="Calibri"/></font></fonts><fills count="2"><fill><patternFill patternType="none"/></fill><fill><patternFill patternType="gray125"/></fill></fills><borders count="1"><border><left/><right/><top/><bottom/><diagonal/></border></borders><cellStyleXfs count="1"><xf numFmtId="0" fontId="0" fillId="0" borderId="0"/></cellStyleXfs><cellXfs count="2"><xf numFmtId="0" fontId="0" fillId="0" borderId="0" xfId="0"/><xf numFmtId="14" fontId="0" fillId="0" borderId="0" xfId="0" applyNumberFormat="1"/></cellXfs></styleSheet>'''


def s(ref, text):
    return f'<c r="{ref}" t="inlineStr"><is><t>{text}</t></is></c>'


def n(ref, value, style=0):
    attr = ' s="%d"' % style if style else ""
    return f'<c r="{ref}"{attr}><v>{value}</v></c>'


# Rows 1 and 3 are plain; row 2 holds TRUE in B, row 4 an error in B and row 5 a date in B.
ROWS = [
    [s("A1", "a1"), n("B1", "12.50"), s("C1", "c1")],
    [s("A2", "a2"), '<c r="B2" t="b"><v>1</v></c>', s("C2", "c2")],
    [s("A3", "a3"), n("B3", "7"), s("C3", "c3")],
    [s("A4", "a4"), '<c r="B4" t="e"><v>#N/A</v></c>', s("C4", "c4")],
    [s("A5", "a5"), n("B5", "45000", 1), s("C5", "c5")],
]
SHEET = ('<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
         '<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>' +
         "".join(f'<row r="{i + 1}">{"".join(cells)}</row>' for i, cells in enumerate(ROWS)) +
         '</sheetData></worksheet>')



def write(path, workbook):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        for name, data in [("[Content_Types].xml", CT), ("_rels/.rels", RELS), ("xl/workbook.xml", workbook),
                           ("xl/_rels/workbook.xml.rels", WBRELS), ("xl/styles.xml", STYLES),
                           ("xl/worksheets/sheet1.xml", SHEET)]:
            z.writestr(zipfile.ZipInfo(name, (2024, 1, 1, 0, 0, 0)), data, zipfile.ZIP_DEFLATED)


write("typed-cells.xlsx", WB)
# The same cells in a workbook that counts its dates from 1904, as old Mac files do.
write("typed-cells-1904.xlsx", WB.replace("<sheets>", '<workbookPr date1904="1"/><sheets>'))
