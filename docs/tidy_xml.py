# SPDX-License-Identifier: Apache-2.0
"""Parts paragraphs of Doxygen's XML from the lists of parameters that Doxygen puts into them, and joins their lines.

Breathe breaks the text of such a paragraph at every word of code, and any text at the ends of lines that Doxygen leaves
within quotes. Run by scripts/docs between the two.

tidy_xml.py FOLDER
"""

import sys
import xml.etree.ElementTree as ET
from pathlib import Path

LISTS = ("parameterlist", "simplesect")
CODE = ("programlisting", "verbatim")


def parted(paragraph: ET.Element) -> list[ET.Element]:
    """The paragraph as paragraphs of text and paragraphs of lists, in their order."""
    parts = [ET.Element("para")]
    parts[0].text = paragraph.text
    for child in paragraph:
        is_list = child.tag in LISTS
        after, child.tail = (child.tail, None) if is_list else (None, child.tail)
        if is_list:
            parts.append(ET.Element("para"))
        parts[-1].append(child)
        if is_list:
            parts.append(ET.Element("para"))
            parts[-1].text = after
    return [part for part in parts if len(part) or (part.text or "").strip()]


def joined(text: str | None) -> str | None:
    """The lines of a text as one; blanks between elements stay as they are."""
    return text.replace("\n", " ") if text and text.strip() else text


def join_lines(element: ET.Element) -> None:
    """Join the lines of all texts but code."""
    if element.tag not in CODE:
        element.text = joined(element.text)
        for child in element:
            join_lines(child)
            child.tail = joined(child.tail)


for file in Path(sys.argv[1]).glob("*.xml"):
    tree = ET.parse(file)
    for description in tree.iter("detaileddescription"):
        for place, paragraph in reversed(list(enumerate(description))):
            if paragraph.tag == "para" and any(child.tag in LISTS for child in paragraph):
                description[place : place + 1] = parted(paragraph)
        join_lines(description)
    tree.write(file, encoding="UTF-8", xml_declaration=True)
