# SPDX-License-Identifier: Apache-2.0
"""Writes a program that runs the example of every public header, each after the include of that header alone.

write_examples.py FOLDER ROOT HEADER...    one source file per header, ROOT/HEADER, and a main function into FOLDER
"""

import re
import sys
from pathlib import Path

folder, root, *headers = sys.argv[1:]
# Nothing in them is called: the macros that mark exports, and the check that other headers include.
WITHOUT_EXAMPLE = ("velmora/native/export.hpp", "velmora/native/eigen_abi.hpp")
EXAMPLE = re.compile(r"^ *///? @code\{\.cpp\}\n(.*?)^ */// @endcode$", re.MULTILINE | re.DOTALL)

names = []
for header in headers:
    text = next(
        path for path in map(Path(root).joinpath, (f"include/{header}", f"bundled/include/{header}")) if path.exists()
    ).read_text(encoding="utf-8")
    examples = EXAMPLE.findall(text)
    if not examples and header not in WITHOUT_EXAMPLE:
        sys.exit(f"{header}: no example between @code{{.cpp}} and @endcode")
    if not examples:
        continue
    name = re.sub(r"\W", "_", header)
    # The namespace that the header declares, so that its names are found as in the header.
    namespace = re.findall(r"^namespace ([\w:]+) \{", text, re.MULTILINE)[-1]
    bodies = "".join("{\n" + re.sub(r"^ */// ?", "", example, flags=re.MULTILINE) + "}\n" for example in examples)
    Path(folder, f"{name}_example.cpp").write_text(
        f'#include "{header}"\n\n#undef NDEBUG\n#include <cassert>\n\n'
        f"void {name}();\n\nvoid {name}() {{\nusing namespace {namespace};\n{bodies}}}\n",
        encoding="utf-8",
    )
    names.append(name)

declarations = "".join(f"void {name}();\n" for name in names)
calls = "".join(f"  {name}();\n" for name in names)
Path(folder, "main_example.cpp").write_text(
    f'#include <cstdio>\n\n{declarations}\nint main() {{\n{calls}  std::puts("{len(names)} examples run");\n}}\n',
    encoding="utf-8",
)
print(";".join(f"{folder}/{name}_example.cpp" for name in [*names, "main"]))
