# SPDX-License-Identifier: Apache-2.0
# Checks that the pages show no code that nothing runs, and quote of the C++ library no long number or message but those
# that a snippet asserts.
import pathlib
import re
import sys

# Run elsewhere: cells and plots while the site is built, console blocks and doctest sessions by python/tests.
RUN_ELSEWHERE = ("console", "pycon")
INCLUDE = re.compile(r"```\{literalinclude\} (\S+)\n((?::.*\n)*)```")
FOLDERS_WITH_SNIPPETS = ("explanations", "how-to")


def tagged_pieces(source):
    return {tag for tag in re.findall(r"//! \[(\w+)\]", source) if source.count(f"//! [{tag}]") == 2}


def long_numbers(text):
    return re.findall(r"(?<![\w.])\d+\.\d{3,}(?:e-?\d+)?", text)


def included_pieces(page, text):
    for target, options in INCLUDE.findall(text):
        tag = re.search(r':start-after: "\[(\w+)\]"', options)
        yield (page.parent / target).resolve(), tag and tag[1]


def unrun_code(page, text):
    for fence in re.findall(r"^(?:```|~~~)(\S*)", text, re.MULTILINE):
        if fence and not fence.startswith("{") and fence not in RUN_ELSEWHERE:
            yield f"{page}: code that no test runs: {fence}"


def main():
    docs = pathlib.Path(sys.argv[1])
    sources = {path.resolve(): path.read_text(encoding="utf-8") for path in (docs / "snippets").glob("*.[ch]pp")}
    pieces = {path: tagged_pieces(source) for path, source in sources.items()}
    pages = {path: path.read_text(encoding="utf-8") for path in docs.rglob("*.md")}

    problems, shown = [], set()
    for page, text in pages.items():
        # The reports at the top name the long checks that gave their figures.
        if page.parent != docs:
            problems += unrun_code(page, text)
        for path, tag in included_pieces(page, text):
            if not path.exists():
                problems.append(f"{page}: {path} does not exist")
            elif path in pieces and tag not in pieces[path]:
                problems.append(f"{page}: no piece '{tag}' in {path.name}")
            shown.add((path, tag))
    for path, tags in pieces.items():
        problems += [f"{path.name}: no page shows '{tag}'" for tag in tags if (path, tag) not in shown]

    # Pages with pieces of C++ quote what these assert; pages whose figures come from elsewhere are not judged.
    all_sources = "".join(sources.values())
    for page, text in pages.items():
        if page.parent.name in FOLDERS_WITH_SNIPPETS and "../snippets/" in text:
            problems += [
                f"{page}: no snippet asserts {n}" for n in set(long_numbers(text)) - set(long_numbers(all_sources))
            ]
            quoted = re.findall(r"`\"([^`]*)\"`", text)
            problems += [f"{page}: no snippet asserts '{message}'" for message in quoted if message not in all_sources]
    if not shown:
        problems.append(f"{docs}: no pages with pieces of code found")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
