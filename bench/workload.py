"""Makes the data to measure on: a tree of files, samples of it for the codecs, one large file of its
files, 100,000 files, and as many tiny ones.

All of it is in one folder on tmpfs, so that no disk is timed. Files that do not fit are left out, which
is reported."""
import os
import random
import shutil
import sys

MB = 1_000_000
SHARED_CORPORA = os.path.join(os.path.dirname(__file__), "..", "..", "shared", "corpora")

ANY = ("",)
DOCUMENTS = ("copyright", ".html", ".txt", ".md", ".rst", ".css", ".js", ".xml", ".tex", ".h")
# The machine's own files: name, where, names' endings, most files, most bytes.
OWN_FILES = [
    ("headers", "/usr/include", ANY, 6000, 50 * MB),
    ("documents", "/usr/share/doc", DOCUMENTS, 5000, 50 * MB),
    ("programs", "/usr/bin", ANY, 600, 90 * MB),
    ("libraries", "/usr/lib", (".so", ".a", ".0", ".1", ".2", ".6"), 600, 90 * MB),
    ("scripts", "/usr/lib", (".py", ".pm", ".sh"), 3000, 40 * MB),
    ("packed", "/usr/share", (".gz", ".png", ".xz", ".jpg", ".zip"), 2000, 30 * MB),
    ("corpora", SHARED_CORPORA, ANY, 100, 30 * MB),
]
LARGEST_OWN_FILE = 8 * MB

# At most this is on tmpfs at once: the tree, three archives of it and the extracted files; and two
# archives of the many entries. Each group may use half of the space.
TREE_COPIES = 4.5
ENTRY_COPIES = 2.2


def free_bytes(folder):
    """Free space on tmpfs that the machine has memory for."""
    with open("/proc/meminfo", encoding="ascii") as info:
        available = next(int(line.split()[1]) for line in info if line.startswith("MemAvailable"))
    return min(shutil.disk_usage(folder).free, available * 1024 * 3 // 4)


def regular_files(path):
    """Files and their lengths, in the same order on every call, without links."""
    found = [path] if os.path.isfile(path) else []
    for folder, folders, names in os.walk(path):
        folders.sort()
        found += (os.path.join(folder, name) for name in sorted(names))
    return [(name, os.path.getsize(name)) for name in found
            if os.path.isfile(name) and not os.path.islink(name)]


def copy_some(source, files, target, budget):
    """Copies until the budget is used up. Returns the bytes copied, and how many files were copied and
    how many were not."""
    copied = count = 0
    for path, length in files:
        if copied + length > budget:
            continue
        inside = os.path.relpath(path, os.path.dirname(source.rstrip("/")) or "/")
        place = os.path.join(target, inside)
        os.makedirs(os.path.dirname(place), exist_ok=True)
        try:
            shutil.copy2(path, place)
        except OSError:
            continue  # unreadable, or gone: nothing to measure on
        copied += length
        count += 1
    return copied, count, len(files) - count


def make_own_tree(tree, share):
    """All of the machine's own files, or a share of them."""
    for name, source, endings, most, most_bytes in OWN_FILES:
        files = [file for file in regular_files(source)
                 if file[1] <= LARGEST_OWN_FILE and file[0].endswith(endings)]
        random.Random(1).shuffle(files)  # some of everything, and the same on every run
        copy_some(source, files[:int(most * share) + 1], os.path.join(tree, name),
                  most_bytes * share)


def make_given_tree(tree, paths, budget):
    for path in map(os.path.abspath, paths):
        if not os.path.exists(path):
            sys.exit(f"scripts/bench: no such file or directory: {path}")
        copied, _, left_out = copy_some(path, regular_files(path), tree, budget)
        budget -= copied
        if left_out:
            print(f"reduced: {left_out} files of {path} left out, unreadable or for lack of space")


def make_tree(tree, paths, quick):
    os.makedirs(tree)
    budget = free_bytes(os.path.dirname(tree)) / 2 / TREE_COPIES
    if paths:
        make_given_tree(tree, paths, budget)
    else:
        fitting = min(1.0, budget / sum(group[4] for group in OWN_FILES))
        if fitting < 1:
            print(f"reduced: the tree to {fitting:.0%} for lack of space")
        make_own_tree(tree, min(fitting, 1 / 400) if quick else fitting)
    files = regular_files(tree)
    if not files:
        sys.exit("scripts/bench: no files to measure on")
    return {"files": len(files), "bytes": sum(length for _, length in files)}


def make_samples(tree, folder, most_bytes, most_samples=8):
    """Makes one file for each of the largest members of the tree by joining files from all over it."""
    members = [os.path.join(tree, name) for name in sorted(os.listdir(tree))]
    if len(members) == 1 and os.path.isdir(members[0]):
        members = [os.path.join(members[0], name) for name in sorted(os.listdir(members[0]))]
    groups = {member: regular_files(member) for member in members}
    largest = sorted(members, key=lambda member: -sum(file[1] for file in groups[member]))
    os.makedirs(folder)
    samples = {}
    for member in sorted(largest[:most_samples]):
        random.Random(1).shuffle(groups[member])
        joined = b""
        for path, _ in groups[member]:
            with open(path, "rb") as file:
                joined += file.read(min(MB, most_bytes - len(joined)))
        name = os.path.basename(member).replace("/", "_")
        if joined:
            samples[name] = len(joined)
            with open(os.path.join(folder, name), "wb") as file:
                file.write(joined)
    with open(folder + ".joined", "wb") as file:
        for name in samples:
            with open(os.path.join(folder, name), "rb") as sample:
                shutil.copyfileobj(sample, file)
    return samples


def make_entries(folder, quick):
    """Makes many names for a few files that do not compress. The archives hold all of them."""
    os.makedirs(folder)
    wanted, length = (200, 1000) if quick else (100_000, 10_000)
    count = min(wanted, int(free_bytes(folder) / 2 / (ENTRY_COPIES * length)))
    if count < wanted:
        print(f"reduced: the archive to list to {count} entries for lack of space")
    noise = random.Random(1)
    for number in range(count):
        inner = os.path.join(folder, f"folder-{number // 1000:03}")
        if number % 1000 == 0:
            os.makedirs(inner)
            first = os.path.join(inner, "file-0000.bin")
            with open(first, "wb") as file:
                file.write(noise.randbytes(length))
        else:
            os.link(first, os.path.join(inner, f"file-{number % 1000:04}.bin"))
    return {"files": count, "bytes": count * length}


def make_small_files(folder, quick):
    """Makes files of 100 bytes, which have little to compress and much to open."""
    count = 200 if quick else 100_000
    for number in range(count):
        inner = os.path.join(folder, f"{number // 1000:03}")
        if number % 1000 == 0:
            os.makedirs(inner)
        with open(os.path.join(inner, f"{number:06}"), "wb") as file:
            file.write((b"a small file, number %06d. " % number * 4)[:100])
    return {"files": count, "bytes": 100 * count}


def make_large_file(tree, path, quick):
    """Joins files of the tree, over and over, to one of 200 MB."""
    wanted = 2 * MB if quick else 200 * MB
    files = regular_files(tree)
    random.Random(2).shuffle(files)
    with open(path, "wb") as large:
        while large.tell() < wanted:
            for name, _ in files:
                with open(name, "rb") as file:
                    large.write(file.read(wanted - large.tell()))
            if large.tell() == 0:
                sys.exit("scripts/bench: only empty files to measure on")
    return wanted
