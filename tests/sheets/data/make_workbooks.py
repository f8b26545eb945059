#!/usr/bin/python3
"""Writes the workbooks the reader tests read, as the programs people use write them.

openpyxl.xlsx is written by openpyxl itself (python3-openpyxl); the other two are packed by
hand to carry what other writers do: libreoffice.xlsx mimics an older LibreOffice Calc
(row-only dimension, "t=n" cells, cached formula results, E-notation values), excel.xlsx an
Excel package whose tabs were moved and one deleted (sheet parts no longer follow the tab
order), with phonetic guides, a padding number format, custom date formats and merges.
Run it from this folder; the files are committed, so the tests never need it.
"""
import datetime
import zipfile

CONTENT_TYPES = """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="xml" ContentType="application/xml"/>
<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>
</Types>"""

PACKAGE_RELS = """<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/>
</Relationships>"""

MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
REL = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
REL_TYPE = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/"


def pack(name, parts):
    with zipfile.ZipFile(name, "w", zipfile.ZIP_DEFLATED) as z:
        for part, text in parts.items():
            z.writestr(part, text)


def openpyxl_workbook():
    import openpyxl
    wb = openpyxl.Workbook()
    wb.iso_dates = True  # dates as t="d" ISO 8601 cells
    ws = wb.active
    ws.title = "Contacts"
    ws.append(["Name", " ", "Phone", "Padded", "Joined", "Message"])
    ws.append(["Ann", "x", 447700900003.0, 7700900004, datetime.date(2024, 3, 5), "Hello all"])
    ws.append(["Bob", "y", 5550100.0, 7700900005, datetime.datetime(2024, 3, 6, 14, 30), None])
    ws.append(["Cy", "z", "+44 (0)7700 900006", 7700900006, datetime.date(1999, 12, 31), None])
    for row in range(2, 5):
        ws.cell(row=row, column=4).number_format = "00000000000"
    ws.merge_cells("F2:F4")
    old = wb.create_sheet("Old")
    old.append(["Phone"])
    old.append(["999"])
    wb.save("openpyxl.xlsx")


def libreoffice_workbook():
    workbook = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<workbook xmlns="{MAIN}" xmlns:r="{REL}"><sheets><sheet name="Sheet1" sheetId="1" state="visible" r:id="rId2"/></sheets></workbook>"""
    rels = f"""<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Type="{REL_TYPE}styles" Target="styles.xml"/>
<Relationship Id="rId2" Type="{REL_TYPE}worksheet" Target="worksheets/sheet1.xml"/>
<Relationship Id="rId3" Type="{REL_TYPE}sharedStrings" Target="sharedStrings.xml"/>
</Relationships>"""
    styles = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<styleSheet xmlns="{MAIN}"><numFmts count="1"><numFmt numFmtId="164" formatCode="General"/></numFmts>
<cellXfs count="2"><xf numFmtId="164"/><xf numFmtId="14"/></cellXfs></styleSheet>"""
    strings = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<sst xmlns="{MAIN}" count="4" uniqueCount="4"><si><t xml:space="preserve">Name</t></si><si><t xml:space="preserve">Phone</t></si>
<si><t xml:space="preserve">Next</t></si><si><t xml:space="preserve">Dee</t></si></sst>"""
    sheet = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<worksheet xmlns="{MAIN}" xmlns:r="{REL}"><dimension ref="1:2"/><sheetData>
<row r="1"><c r="A1" s="0" t="s"><v>0</v></c><c r="B1" s="0" t="s"><v>1</v></c><c r="C1" s="0" t="s"><v>2</v></c><c r="D1" s="1" t="n"><v>45356</v></c></row>
<row r="2"><c r="A2" s="0" t="s"><v>3</v></c><c r="B2" s="0" t="n"><v>4.47700900002E11</v></c><c r="C2" s="0" t="n"><f aca="false">B2+1</f><v>447700900003</v></c><c r="D2" s="0" t="n"><v>12.5</v></c></row>
<row r="3"><c r="B3" s="0" t="n"><v>5550100</v></c><c r="C3" s="0" t="str"><f aca="false">"+"&amp;B3</f><v>+5550100</v></c><c r="E3" s="0" t="n"><v>1</v></c></row>
</sheetData></worksheet>"""
    pack("libreoffice.xlsx", {
        "[Content_Types].xml": CONTENT_TYPES, "_rels/.rels": PACKAGE_RELS, "xl/workbook.xml": workbook,
        "xl/_rels/workbook.xml.rels": rels, "xl/styles.xml": styles, "xl/sharedStrings.xml": strings,
        "xl/worksheets/sheet1.xml": sheet})


def excel_workbook():
    # Tabs: "Contacts" was moved first, the second sheet deleted; parts keep their old names.
    workbook = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<workbook xmlns="{MAIN}" xmlns:r="{REL}"><sheets><sheet name="Contacts" sheetId="3" r:id="rId3"/><sheet name="Old" sheetId="1" r:id="rId1"/></sheets></workbook>"""
    rels = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId3" Type="{REL_TYPE}worksheet" Target="worksheets/sheet3.xml"/>
<Relationship Id="rId1" Type="{REL_TYPE}worksheet" Target="worksheets/sheet1.xml"/>
<Relationship Id="rId5" Type="{REL_TYPE}styles" Target="styles.xml"/>
<Relationship Id="rId6" Type="{REL_TYPE}sharedStrings" Target="sharedStrings.xml"/>
</Relationships>"""
    styles = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<styleSheet xmlns="{MAIN}"><numFmts count="3"><numFmt numFmtId="164" formatCode="00000000000"/>
<numFmt numFmtId="170" formatCode="yyyy\\-mm\\-dd;@"/><numFmt numFmtId="165" formatCode="0.00"/></numFmts>
<cellXfs count="4"><xf numFmtId="0"/><xf numFmtId="164"/><xf numFmtId="170"/><xf numFmtId="165"/></cellXfs></styleSheet>"""
    strings = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<sst xmlns="{MAIN}" count="6" uniqueCount="6">
<si><t>Name</t></si><si><t xml:space="preserve"> </t></si><si><t>Phone</t></si><si><t>Message</t></si>
<si><t>山田</t><rPh sb="0" eb="2"><t>ヤマダ</t></rPh><phoneticPr fontId="1"/></si>
<si><r><t>Meeting </t></r><r><rPr><b/></rPr><t>today</t></r></si></sst>"""
    contacts = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<worksheet xmlns="{MAIN}" xmlns:r="{REL}"><dimension ref="A1"/><sheetData>
<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>1</v></c><c r="C1" t="s"><v>2</v></c><c r="D1" t="s"><v>3</v></c><c r="E1" t="inlineStr"><is><t>Due</t></is></c></row>
<row r="2"><c r="A2" t="s"><v>4</v></c><c r="B2"><v>1</v></c><c r="C2" s="1"><v>7700900001</v></c><c r="D2" t="s"><v>5</v></c><c r="E2" s="2"><v>45356</v></c></row>
<row r="3"><c r="A3" t="inlineStr"><is><t>Bo</t><rPh sb="0" eb="2"><t>ボ</t></rPh></is></c><c r="B3"><v>2</v></c><c r="C3" s="1"><f>C2+1</f><v>7700900002</v></c><c r="E3" s="3"><v>12.5</v></c></row>
<row r="4"><c r="A4" t="inlineStr"><is><t>Cy</t></is></c><c r="C4"><v>447700900003.0</v></c><c r="E4" t="d"><v>2024-03-07T00:00:00Z</v></c></row>
</sheetData><mergeCells count="1"><mergeCell ref="D2:D4"/></mergeCells></worksheet>"""
    old = f"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<worksheet xmlns="{MAIN}"><dimension ref="A1:A2"/><sheetData>
<row r="1"><c r="A1" t="inlineStr"><is><t>Phone</t></is></c></row><row r="2"><c r="A2"><v>999</v></c></row>
</sheetData></worksheet>"""
    pack("excel.xlsx", {
        "[Content_Types].xml": CONTENT_TYPES, "_rels/.rels": PACKAGE_RELS, "xl/workbook.xml": workbook,
        "xl/_rels/workbook.xml.rels": rels, "xl/styles.xml": styles, "xl/sharedStrings.xml": strings,
        "xl/worksheets/sheet3.xml": contacts, "xl/worksheets/sheet1.xml": old,
        "xl/media/image1.png": b"\x89PNG\r\n\x1a\n" + bytes(4096)})


if __name__ == "__main__":
    openpyxl_workbook()
    libreoffice_workbook()
    excel_workbook()
