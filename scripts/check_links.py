#!/usr/bin/env python3
"""check_links.py: whether what the repository's pages link to is there, with the anchors. Links to other places
are not looked at. --html DIRECTORY: the same for built pages; --tree DIRECTORY: for pages that were installed or
unpacked there; --list lists the repository's pages."""
import html.parser
import os
import re
import sys
import urllib.parse

sys.dont_write_bytecode = True

from docs_filter import ROOT, headings, repository_files

failed = 0


def complain(where, what):
    global failed
    failed += 1
    print(f"{where}: {what}", file=sys.stderr)


def without_code(text):
    """The same lines without what stands in code."""
    lines, fenced = [], False
    for line in text.split("\n"):
        fence = line.lstrip().startswith("```")
        lines.append("" if fenced or fence or line.startswith("    ") else line)
        fenced ^= fence
    return re.sub(r"`(?:[^`\n]|\n(?!\n))*`", lambda found: "`" + "\n" * found[0].count("\n"), "\n".join(lines))


def anchors_of(text):
    return {name for *_, name in headings(text)} | set(re.findall(r'<a (?:id|name)="([^"]+)"', text))


def check_pages(root, files):
    pages = {}
    for name in files:
        if name.endswith(".md"):
            with open(os.path.join(root, name), encoding="utf-8") as file:
                pages[name] = file.read()
    known = set(files) | {os.path.dirname(name) for name in files}
    known |= {"/".join(name.split("/")[:depth]) for name in files for depth in range(1, name.count("/") + 1)}
    count = 0
    for page, text in pages.items():
        text_only = without_code(text)
        for found in re.finditer(r"\]\(([^)\s]*)\)|<(?:img|a) [^>]*(?:src|href)=\"([^\"]*)\"|^\[[^\]]+\]: (\S+)",
                                 text_only, re.M):
            link = found[1] or found[2] or found[3] or ""
            where = f"{page}:{text_only.count(chr(10), 0, found.start()) + 1}"
            if re.match(r"[a-z]+:", link):
                continue
            count += 1
            path, _, anchor = urllib.parse.unquote(link).partition("#")
            target = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
            if target.rstrip("/") not in known and target != ".":
                complain(where, f"nothing is at {link!r}")
            elif anchor and anchor not in anchors_of(pages.get(target, "")):
                complain(where, f"no heading makes the anchor of {link!r}")
        for line in re.findall(r"^.*\]\[[^\]]*\].*$", text_only, re.M):
            complain(page, f"a link by reference, which nobody checks: {line}")
    return count


class Document(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.links, self.names, self.raw = [], set(), []

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.names |= {attributes[key] for key in ("id", "name") if attributes.get(key)}
        self.links += [attributes[key] for key in ("href", "src") if attributes.get(key)]

    def handle_data(self, data):
        self.raw += re.findall(r".*(?:@ref|@anchor|``|\w\]\().*", data)  # a link that Doxygen did not understand


def check_html(directory):
    documents, count = {}, 0
    for folder, _, names in os.walk(directory):
        for name in names:
            if name.endswith(".html"):
                path = os.path.join(folder, name)
                documents[path] = Document()
                with open(path, encoding="utf-8") as file:
                    documents[path].feed(file.read())
    for page, document in documents.items():
        for text in document.raw:
            complain(page, f"this was no link: {text}")
        for link in document.links:
            if re.match(r"[a-z]+:", link):
                continue
            count += 1
            path, _, anchor = urllib.parse.unquote(link).partition("#")
            target = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
            if not os.path.exists(target):
                complain(page, f"nothing is at {link!r}")
            elif anchor and target in documents and anchor not in documents[target].names:
                complain(page, f"no anchor for {link!r}")
    if not documents:
        complain(directory, "no pages here")
    return count


def main(what="--tree", directory=None):
    if what == "--html":
        count = check_html(directory)
    else:
        root = directory or ROOT
        files = repository_files() if root == ROOT else [
            os.path.relpath(os.path.join(folder, name), root) for folder, _, names in os.walk(root)
            for name in names]
        if what == "--list":
            print("\n".join(sorted(name for name in files if name.endswith(".md"))))
            return
        count = check_pages(root, files)
    print(f"{count} links, {failed} of them lead nowhere")
    sys.exit(failed > 0 or count == 0)


main(*sys.argv[1:])
