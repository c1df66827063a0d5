"""Checks the pages against what they speak of: run from the repository's root.

Relative links lead to files and headings that exist. The sources contain every class, function, test
and file that a page names. The modules in docs/architecture.md and in its picture are the folders of
src/, in the order that scripts/lib/layers.py enforces. Exits 1 with a line for each fault."""
import os
import re
import subprocess
import sys

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)\)|src=\"([^\"]+)\"")
EXTERNAL = re.compile(r"[a-z]+:")
NAME = re.compile(r"`((?=\w*[a-z])[A-Z]\w*[A-Z]\w*(?:::\w+)?)`")
FILE = re.compile(r"`([\w/]+\.(?:h|cpp|cmake|py|sh|svg))`")


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def without_code(text):
    return re.sub(r"^```.*?^```", "", text, flags=re.MULTILINE | re.DOTALL)


def anchors(text):
    for heading in re.findall(r"^#+ (.+)$", without_code(text), re.MULTILINE):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def broken_links(page):
    for found in LINK.findall(without_code(read(page))):
        link = found[0] or found[1]
        if EXTERNAL.match(link):
            continue
        path, _, anchor = link.partition("#")
        target = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
        if not os.path.exists(target):
            yield f"{page}: {link} leads nowhere"
        elif anchor and anchor not in anchors(read(target)):
            yield f"{page}: {target} has no heading #{anchor}"


def unknown_names(page, files, words):
    text = without_code(read(page))
    for name in NAME.findall(text):
        if not words.issuperset(name.split("::")):
            yield f"{page}: `{name}` is not in the sources"
    for name in FILE.findall(text):
        if not any(f"/{file}".endswith(f"/{name}") for file in files):
            yield f"{page}: there is no file {name}"


def wrong_modules(order):
    if sorted(order) != sorted(d for d in os.listdir("src") if os.path.isdir(f"src/{d}")):
        yield "scripts/lib/layers.py: its modules are not the folders of src/"
    for page, pattern in [("docs/architecture.md", r"^\| `(\w+)/` \|"),
                          ("docs/architecture.svg", r'class="module"[^>]*>(\w+)/<')]:
        modules = re.findall(pattern, read(page), re.MULTILINE)
        if modules != order:
            yield f"{page}: modules {modules} instead of {order}"


def main():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                            check=True, capture_output=True, text=True).stdout.splitlines()
    files = [file for file in listed if os.path.exists(file)]
    pages = [file for file in files if file.endswith(".md")]
    sources = [file for file in files if re.match(r"(src|tests|fuzz)/.*\.(h|cpp)$", file)]
    words = set(re.findall(r"\w+", "\n".join(map(read, sources))))
    order = re.findall(r'"(\w+)"', re.search(r"ORDER = \[(.*?)\]", read("scripts/lib/layers.py"),
                                             re.DOTALL).group(1))
    faults = list(wrong_modules(order))
    for page in pages:
        faults += [*broken_links(page), *unknown_names(page, files, words)]
    print("\n".join(faults) if faults else f"{len(pages)} pages hold")
    return 1 if faults or not pages else 0


sys.exit(main())
