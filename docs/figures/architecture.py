# SPDX-License-Identifier: Apache-2.0
"""Draws what depends on what, from the includes and imports of the sources, as a graph for Graphviz.

architecture.py ROOT > architecture.dot
"""

import ast
import re
import sys
from collections import Counter
from pathlib import Path

root = Path(sys.argv[1])

# The parts of the tree, each with the paths that belong to it: the longest one that fits a file decides.
PARTS = {
    "core": {
        "native": ["include/velmora/native", "src/native", "bundled/include/velmora/native"],
        "internal": ["src/internal"],
        "util": ["include/velmora/util", "src/util"],
        "util/timing": ["include/velmora/util/timing", "src/util/timing"],
        "control/shaper": ["include/velmora/control/shaper", "src/control/shaper"],
    },
    "second": {"shaping": ["include/velmora/shaping", "src/shaping"]},
    "python": {
        "_core": ["python/src"],
        "velmora": ["python/velmora"],
    },
    "tools": {
        "commands": ["python/velmora/tools/commands", "python/velmora/tools/main.py"],
        "batch": ["python/velmora/tools/batch"],
        "report": ["python/velmora/tools/report", "python/velmora/tools/plot.py"],
        "operations": ["python/velmora/tools/operations"],
        "formats": ["python/velmora/tools/formats"],
        "shared": ["python/velmora/tools"],  # what stands beside the folders
    },
}
TITLES = {
    "core": "C++ library velmora_shaper_trajectory",
    "second": "C++ library velmora_input_shaping",
    "python": "Python package velmora",
    "tools": "command velmora (velmora.tools)",
}
PART_OF_PATH = {path: part for parts in PARTS.values() for part, paths in parts.items() for path in paths}


def part_of(path: str) -> str | None:
    """The part that a file or folder belongs to."""
    fitting = [prefix for prefix in PART_OF_PATH if path == prefix or path.startswith(prefix + "/")]
    return PART_OF_PATH[max(fitting, key=len)] if fitting else None


def includes(path: Path) -> list[str]:
    """The files of the tree that a C++ file includes."""
    names = re.findall(r'^#include ["<]([\w/]+\.hpp)[">]', path.read_text(encoding="utf-8"), re.MULTILINE)
    folders = ("include", "bundled/include", "src", "python/src")
    return [f"{folder}/{name}" for name in names for folder in folders if (root / folder / name).exists()]


def imports(path: Path) -> list[str]:
    """The modules of the package that a Python file imports, as paths."""
    package = path.relative_to(root / "python").parent.parts
    found = []
    for node in ast.walk(ast.parse(path.read_text(encoding="utf-8"))):
        if isinstance(node, ast.Import):
            found += [alias.name.split(".") for alias in node.names]
        elif isinstance(node, ast.ImportFrom):
            start = list(package[: len(package) - node.level + 1]) if node.level else []
            module = start + (node.module.split(".") if node.module else [])
            found += [[*module, alias.name] for alias in node.names]
    paths = ["python/src" if "_core" in names else "python/" + "/".join(names) for names in found]
    # A name of a module, or of something in it.
    return [f"{path}.py" if (root / f"{path}.py").exists() else path for path in paths]


edges: Counter[tuple[str, str]] = Counter()
for pattern, targets_of in (("*.?pp", includes), ("*.py", imports)):
    for folder in ("include", "bundled", "src", "python/src", "python/velmora"):
        for path in sorted((root / folder).rglob(pattern)):
            source = part_of(path.relative_to(root).as_posix())
            for target in map(part_of, targets_of(path)):
                if source and target and source != target:
                    edges[source, target] += 1

used = {part for edge in edges for part in edge}
print("digraph architecture {\n  rankdir=TB; newrank=true; ranksep=0.15; nodesep=0.2; bgcolor=white;")
print('  node [shape=box, style="rounded,filled", fillcolor=white, color="#8a97a6"];')
print('  node [fontname="sans-serif", fontsize=11];')
print('  edge [color="#1f6fb2", fontname="sans-serif", fontsize=9, fontcolor="#8a97a6"];')
for group, parts in reversed(PARTS.items()):
    print(f'  subgraph "cluster_{group}" {{\n    label="{TITLES[group]}"; style="rounded,filled"; color="#eef2f6";')
    print('    fontname="sans-serif"; fontsize=11; fontcolor="#1f2d3d";')
    for part in parts:
        if part in used:
            print(f'    "{part}";')
    print("  }")
for (source, target), count in sorted(edges.items()):
    print(f'  "{source}" -> "{target}" [label="{count}"];')
print("}")
