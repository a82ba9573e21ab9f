# SPDX-License-Identifier: Apache-2.0
"""Compares what package.xml says of the package with what CMakeLists.txt says of the project."""

import sys
from xml.etree import ElementTree

path, name, version = sys.argv[1:]
package = ElementTree.parse(path).getroot()
expected = {"name": name, "version": version, "export/build_type": "cmake", "depend": "eigen"}
faults = [
    f"{tag}: {package.findtext(tag)!r} and not {value!r}"
    for tag, value in expected.items()
    if package.findtext(tag) != value
]
if package.get("format") != "3":
    faults.append("not of format 3")
sys.exit("\n".join(f"{path}: {fault}" for fault in faults) or 0)
