"""Checks the includes in src/; runs in the root of the repository.

A module may include the modules before it in ORDER; MAY_INCLUDE names those that may include fewer.
Exits 1 with a line for every include that goes the wrong way, and for every cycle of includes."""
import os
import re
import sys

ORDER = ["base", "parallel", "cscompr", "codepage", "report", "platform", "run", "archive",
         "extraction", "oldformat", "commands", "driver", "moldexread"]
MAY_INCLUDE = {module: set(ORDER[:i]) for i, module in enumerate(ORDER)}
MAY_INCLUDE.update(parallel={"base"}, cscompr=set(), codepage={"base"}, report={"base"},
                   platform={"base", "report"}, run={"base", "report", "platform"},
                   moldexread={"base", "report", "platform", "archive"})

SYSTEM_FILE = re.compile(r"_(posix|win32)\.(cpp|h)$")
SYSTEM_HEADER = re.compile(
    r"#\s*include\s+<(windows\.h|unistd\.h|fcntl\.h|dirent\.h|sched\.h|sys/.*|io\.h|direct\.h|"
    r"shlobj\.h|iconv\.h|langinfo\.h)>")


def includes(path):
    with open(path, encoding="utf-8") as source:
        text = source.read()
    if not SYSTEM_FILE.search(path) and SYSTEM_HEADER.search(text):
        yield None
    yield from re.findall(r'^\s*#\s*include\s+"([^"]+)"', text, re.MULTILINE)


def find_cycle(graph, start, path, done):
    if start in path:
        return path[path.index(start):] + [start]
    if start in done:
        return None
    done.add(start)
    for target in sorted(graph.get(start, ())):
        cycle = find_cycle(graph, target, path + [start], done)
        if cycle:
            return cycle
    return None


def main():
    faults = []
    graph = {}
    for folder, _, names in os.walk("src"):
        for name in names:
            path = os.path.relpath(os.path.join(folder, name), "src")
            if not name.endswith((".h", ".cpp")):
                continue
            module = path.split("/")[0]
            for target in includes(os.path.join("src", path)):
                if target is None:
                    faults.append(f"{path} includes a header of the operating system")
                    continue
                other = target.split("/")[0]
                if other != module and other not in MAY_INCLUDE.get(module, set()):
                    faults.append(f"{path} includes {target}")
                graph.setdefault(path, set()).add(target)
    done = set()
    for path in sorted(graph):
        cycle = find_cycle(graph, path, [], done)
        if cycle:
            faults.append("cycle: " + " -> ".join(cycle))
    print("\n".join(faults) if faults else "layering holds")
    return 1 if faults else 0


sys.exit(main())
