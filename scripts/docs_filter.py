#!/usr/bin/env python3
"""docs_filter.py FILE: what Doxygen reads in the place of FILE, so that the header stays plain C and the pages
stay Markdown as the repository shows it. In headers, comments become documentation of what they stand at; in
pages, headings get the names that links know them by, and links lead to the built pages."""
import html
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CALL = r"\b[a-z][A-Za-z0-9]*TL\b"


def source_of(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def slug(heading):
    """The name that a heading has for links, as code hosts make it."""
    text = re.sub(r"!?\[([^\]]*)\]\([^)]*\)", r"\1", heading).replace("`", "")
    return re.sub(r"[^\w\- ]", "", text.strip().lower()).replace(" ", "-")


def page_of(path):
    return re.sub(r"\W", "_", os.path.splitext(path)[0].lower())


def repository_files():
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, capture_output=True,
                            text=True)
    if listed.returncode == 0:
        return [name for name in listed.stdout.splitlines() if os.path.exists(os.path.join(ROOT, name))]
    return [os.path.relpath(os.path.join(folder, name), ROOT)  # an unpacked archive
            for folder, folders, names in os.walk(ROOT) for name in names
            if not os.path.relpath(folder, ROOT).startswith(("build", "dist"))]


def headings(text):
    """The headings of a page outside its code, with line numbers and names."""
    seen, fenced = {}, False
    for number, line in enumerate(text.split("\n")):
        if line.lstrip().startswith("```"):
            fenced = not fenced
        found = re.match(r"(#{1,6}) (.*)", line)
        if found and not fenced:
            name = slug(found[2])
            seen[name] = seen.get(name, -1) + 1
            yield number, found[1], found[2], name + (f"-{seen[name]}" if seen[name] else "")


class Page:
    def __init__(self, path, functions):
        self.path, self.functions = path, functions

    def link(self, label, target):
        label = label.replace("\n", " ")
        if re.match(r"[a-z]+:", target):
            return f"[{label}]({target})"
        path, _, anchor = target.partition("#")
        path = os.path.normpath(os.path.join(os.path.dirname(self.path), path)) if path else self.path
        plain = label.replace("`", "")
        if path.endswith(".md"):
            return f"[{plain}](@ref {page_of(path)}{'_' + anchor if anchor else ''})"
        if path.endswith((".h", ".hpp")) and path.startswith(("api/", "bindings/")):
            return f"[{plain}](@ref {os.path.basename(path)})"
        if os.path.isdir(os.path.join(ROOT, path)):
            return label
        return f'<a href="files/{path}">{label}</a>'

    def code(self, text):
        name = text.removesuffix("()")
        if name in self.functions:
            return f"@ref c_{name} \"{name}\""
        return "``" + text.replace("\n", " ") + "``"  # a single one would end at an apostrophe, too

    def spans(self, line):
        parts = re.split(r"(`[^`]+`)", re.sub(r"``+ ?([^`]+?) ?``+", r"`\1`", line))
        line = "".join(self.code(part[1:-1]) if i % 2 else part for i, part in enumerate(parts))
        line = re.sub(r"!\[([^\]]*)\]\(([^)]+)\)", lambda m: '<img src="files/%s" alt="%s"/>' % (
            os.path.normpath(os.path.join(os.path.dirname(self.path), m[2])), html.escape(m[1])), line)
        return re.sub(r"\[([^\]]*)\]\(([^)\s]+)\)", lambda m: self.link(m[1], m[2]), line)

    def filtered(self, text):
        lines, named = text.split("\n"), {n: rest for n, *rest in headings(text)}
        fenced = first = False
        paragraph = []  # a code span may go on in the next line
        for number, line in enumerate(lines):
            fence = line.lstrip().startswith("```")
            prose = line and not (fenced or fence or line.startswith("    ") or number in named)
            if paragraph and (not prose or line.startswith("|")):
                yield self.spans("\n".join(paragraph))
                paragraph = []
            if prose:
                paragraph.append(line)
            elif number in named:
                level, title, name = named[number]
                page = page_of(self.path)
                title = re.sub("#$", "#\u200c", title.replace("`", ""))  # or Doxygen ends the heading there
                yield f"{level} {title} {{#{page + '_' + name if first else page}}}"
                first = True
            else:
                yield line
            fenced ^= fence
        if paragraph:
            yield self.spans("\n".join(paragraph))


class Header:
    """A C header: each comment before declarations documents all of them up to the next blank line."""

    def __init__(self):
        self.group = None
        self.current = []

    def text(self, comment):
        """A comment's lines as Markdown: tables stay as they are set, calls become links."""
        item = False
        # Between quotation marks Doxygen takes all as it stands.
        parts = re.split(r'("[^"]*")', "\n".join(comment))
        comment = "".join(part if i % 2 else html.escape(part, quote=False) for i, part in enumerate(parts)).split("\n")
        for line in comment:
            if item and line and not line.startswith(("- ", "  ")):
                yield ""
            item = line.startswith("- ") or item and line.startswith("  ")
            if line.startswith("  ") and not item:
                yield "    " + line
                continue
            line = re.sub(CALL, lambda m: f'@ref c_{m[0]} "{m[0]}"', line)
            yield re.sub(r"^(?:Calls|Texts|Amounts|Statuses|States|Times|Late answers|Version kind|Allowed)\b[.:]?|"
                         r"\b(?:At worst|Kind \d):", r"<b>\g<0></b>", line)

    def documentation(self, comment, name=None):
        lines = list(self.text(comment))
        for i, line in enumerate(lines):
            found = re.match(r"<b>Statuses:</b> (\d[\d+? ]*)\.", line)
            if found and name:
                codes = " ".join(f"<code>{code}</code>" for code in found[1].split())
                lines[i] = f"\n<b>Statuses:</b> {codes} - @ref docs_statuses_{name.lower()} \"what each asks of the till\""
        anchor = f"\n@anchor c_{name}" if name else ""
        return "/**\n" + "\n".join(lines) + anchor + "\n*/"

    def filtered(self, text):
        source = re.split(r"(?m)^(/\*(?!\*).*?\*/[ \t]*\n)", text, flags=re.S | re.M)
        for i, part in enumerate(source):
            if i % 2:
                comment = [re.sub(r"^ \*( |$)", "", line) for line in
                           re.sub(r"\s*\*/\s*$", "", part)[2:].strip("\n").split("\n")]
                comment[0] = comment[0].strip()
                yield from self.comment([line for line in comment], first=i == 1)
            else:
                yield from self.code(part)
        if self.group:
            yield "/** @} */"

    def comment(self, lines, first):
        if not lines[0]:
            lines = lines[1:]
        section = re.match(r"---- (.*) ----$", lines[0])
        self.current = lines
        if first:
            yield "/** @file\n" + "\n".join(self.text(lines)) + "\n*/"
        elif section:
            if self.group:
                yield "/** @} */"
            self.group = "group_" + slug(section[1]).replace("-", "_").replace(",", "")
            yield f"/** @defgroup {self.group} {section[1]}\n@details " + \
                "\n".join(self.text(lines[1:])).strip("\n") + "\n@{ */"

    def code(self, part):
        open_declaration = False
        for line in part.split("\n"):
            starts = re.match(r"(?:int16_t (\w+)\(|static inline |typedef |#define \w+ )", line)
            if not line.strip():
                self.current = []
            if starts and self.current and not open_declaration and "/*" not in line:
                yield self.documentation(self.current, starts[1])
            yield re.sub(r"(\S[ \t]+)/\* (.*)\*/", r"\1/**< \2*/", line)
            if line.strip():
                open_declaration = bool(starts or open_declaration) and not line.rstrip().endswith((";", "*/")) \
                    and not line.startswith("#")


def cpp(text):
    """The C++ header: the first comment is the file's, and the calls of Session are those of the C header."""
    group, before = False, ""
    briefs = {name: first for first, declarations in re.findall(
        r"/\* ((?:(?!\*/).)*?[.])[ \n](?:(?!\*/).)*\*/\n((?:(?:int16_t| ) [^\n]*\n)+)", source_of("api/tllogics.h"), re.S)
        for name in re.findall(rf"int16_t ({CALL})", declarations)}
    for number, line in enumerate(text.split("\n")):
        section = re.match(r"    // ---- (.*) ----$", line)
        if group and (section or re.match(r"[a-z]+:$|};", line)):
            yield "    ///@}"
            group = False
        if section:
            yield f"    /// @name {section[1]}\n    ///@{{"
            group = True
        elif group and (call := re.match(rf"    [\w<>:]+ ({CALL})\(", line)):
            brief = "" if "///" in before else re.sub(r"\s*\n \* ", " ", briefs[call[1]])
            yield f"    /// {brief}\n    ///\n    /// More: @ref c_{call[1]} \"{call[1]} in C\"."
        yield "/// @file\n" + line if number == 0 and line.startswith("///") else line
        before = line


def main(path):
    path = os.path.relpath(os.path.abspath(path), ROOT)
    text = source_of(path)
    if path.endswith(".md"):
        functions = set(re.findall(rf"^int16_t ({CALL})\(", source_of("api/tllogics.h"), re.M))
        result = Page(path, functions).filtered(text)
    elif path.endswith(".h"):
        result = Header().filtered(text)
    elif path.endswith(".hpp"):
        result = cpp(text)
    else:
        result = [text]
    sys.stdout.write("\n".join(result))


if __name__ == "__main__":
    main(sys.argv[1])
