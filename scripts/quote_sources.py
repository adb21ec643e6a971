#!/usr/bin/env python3
"""quote_sources.py [--check]: fills the fenced blocks of the pages that stand below a line like

    <!-- from examples/first_sale.c -->
    <!-- from examples/shop_day.c: The journal -->

with the file, or with its part below the heading "---- The journal ----" up to the next heading. With --check
it only tells whether they are what the files say."""
import pathlib
import re
import sys

LANGUAGES = {".c": "c", ".h": "c", ".cpp": "cpp", ".hpp": "cpp", ".cs": "csharp", ".py": "python", ".sh": "sh"}
QUOTATION = re.compile(r"^<!-- from ([^:\n]+?)(?:: (.+))? -->\n(?:```[\s\S]*?^```\n)?", re.M)
HEADING = re.compile(r"^\W{1,2} ---- (.+) ----\W*$", re.M)


def quoted(file, part):
    text = pathlib.Path(file).read_text(encoding="utf-8")
    if part:
        headings = [*HEADING.finditer(text), None]
        found = [(heading.end(), after.start() if after else len(text))
                 for heading, after in zip(headings, headings[1:]) if heading[1] == part]
        if len(found) != 1:
            sys.exit(f"{file} has {len(found)} headings \"{part}\"")
        text = text[slice(*found[0])]
    return text.strip("\n") + "\n"


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    wrong = count = 0
    for page in [root / "README.md", *sorted(root.glob("docs/**/*.md")), *sorted(root.glob("bindings/**/*.md"))]:
        old = page.read_text(encoding="utf-8")

        def block(match):
            nonlocal count
            count += 1
            language = LANGUAGES[pathlib.Path(match[1]).suffix]
            marker = match[0][:match[0].index("\n") + 1]
            return f"{marker}```{language}\n{quoted(root / match[1], match[2])}```\n"

        new = QUOTATION.sub(block, old)
        if new != old and sys.argv[1:] == ["--check"]:
            print(f"{page.relative_to(root)} does not quote what its sources say: run scripts/quote_sources.py")
            wrong = 1
        elif new != old:
            page.write_text(new, encoding="utf-8")
    return wrong or count == 0


if __name__ == "__main__":
    sys.exit(main())
