"""Reads a .docx back for the tests, or makes a template for them.

read FILE: prints the document as JSON (paragraphs with style and text, tables
with their cells, paragraph styles, page width, the main part's content type).
template FILE [code]: writes a .dotx made with python-docx's own template,
with a style "Code" when asked.
"""
import json
import sys
import zipfile

import docx
from docx.enum.style import WD_STYLE_TYPE


def cells(table):
    return [[cell.text for cell in row.cells] for row in table.rows]


def read(path):
    d = docx.Document(path)
    with zipfile.ZipFile(path) as z:
        types = z.read("[Content_Types].xml").decode()
    main = "document.main+xml" if "wordprocessingml.document.main+xml" in types else "other"
    paragraphs = [[p.style.name, p.text] for p in d.paragraphs]
    tables = [cells(t) for t in d.tables]
    nested = [cells(t) for t in d.tables for row in t.rows for c in row.cells for t in c.tables]
    code = [r.text for t in d.tables for row in t.rows for c in row.cells for p in c.paragraphs
            if p.style.name == "Code" for r in p.runs if r.bold]
    styles = sorted(s.name for s in d.styles if s.type == WD_STYLE_TYPE.PARAGRAPH)
    header = [t.rows[0].cells[0]._tc.tcPr.xpath("./w:shd/@w:fill") for t in d.tables]
    print(json.dumps({"paragraphs": paragraphs, "tables": tables, "nested": nested, "boldInCode": code,
                      "styles": styles, "pageWidth": d.sections[0].page_width.twips if d.sections[0].page_width else 0,
                      "main": main, "headerFill": [h[0] if h else "" for h in header]}))


def template(path, with_code):
    d = docx.Document()
    if with_code:
        d.styles.add_style("Code", WD_STYLE_TYPE.PARAGRAPH)
    d.save(path)
    with zipfile.ZipFile(path) as z:
        parts = {n: z.read(n) for n in z.namelist()}
    parts["[Content_Types].xml"] = parts["[Content_Types].xml"].replace(
        b"wordprocessingml.document.main+xml", b"wordprocessingml.template.main+xml")
    with zipfile.ZipFile(path, "w") as z:
        for n, data in parts.items():
            z.writestr(n, data)


if __name__ == "__main__":
    if sys.argv[1] == "read":
        read(sys.argv[2])
    else:
        template(sys.argv[2], len(sys.argv) > 3)
