# Checks that the guide shows no code and quotes no long number or message but those of its compiled, running snippets.
import pathlib
import re
import sys


def tagged_pieces(source):
    return {tag for tag in re.findall(r"//! \[(\w+)\]", source) if source.count(f"//! [{tag}]") == 2}


def long_numbers(text):
    return re.findall(r"(?<![\w.])\d+\.\d{3,}(?:e-?\d+)?", text)


def problems_of(page, text, pieces, all_sources):
    for line in text.splitlines():
        if re.match(r"\s*(```|~~~)", line) or line.startswith(("    ", "\\code")):
            yield f"{page}: code that no test compiles: {line.strip()}"
    for file, tag in re.findall(r"\\snippet (\S+) (\S+)", text):
        if tag not in pieces.get(file, ()):
            yield f"{page}: no piece '{tag}' in {file}"
    for number in set(long_numbers(text)) - set(long_numbers(all_sources)):
        yield f"{page}: no snippet asserts {number}"
    for message in re.findall(r"`\"([^`]*)\"`", text):
        if message not in all_sources:
            yield f"{page}: no snippet asserts '{message}'"


def main():
    guide = pathlib.Path(sys.argv[1])
    sources = {path.name: path.read_text(encoding="utf-8") for path in (guide / "snippets").iterdir()}
    pieces = {name: tagged_pieces(source) for name, source in sources.items()}
    pages = {path.name: path.read_text(encoding="utf-8") for path in guide.glob("*.md")}
    shown = {(file, tag) for text in pages.values() for file, tag in re.findall(r"\\snippet (\S+) (\S+)", text)}

    all_sources = "".join(sources.values())
    problems = [problem for page, text in pages.items() for problem in problems_of(page, text, pieces, all_sources)]
    for file, tags in pieces.items():
        problems += [f"{file}: no page shows '{tag}'" for tag in tags if (file, tag) not in shown]
    if len(pages) < 2 or not shown:
        problems.append(f"{guide}: no pages with pieces of code found")
    print("\n".join(problems))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
