"""Writes docs/performance.md and its chart from the figures of one run."""
import os
import subprocess
import tempfile

import rows

TEXT = """# Performance

`scripts/bench --report` writes this page, and anyone can run it again. The last section is written by
hand, in bench/tried.md. Absolute figures hold only for this machine; ratios hold for others, too,
more or less. Everything was measured in one run, in turn: on one core, but for the rows that say
"all cores". The tables show the medians of {rounds} rounds.

## Machine

{machine}

The tree has {files} files and {tree_mb:.0f} MB on tmpfs ({archives}). The codecs ran on
{sample_count} samples of that tree, {sample_mb:.0f} MB. The list ran on an archive of {entries} entries
and {entries_mb:.0f} MB.

## Beside the peers

Each ratio is the program's figure divided by the peer's. A ratio of speeds (MB/s) is good when it is
large, a ratio of times (s) when it is small. Codecs are measured in processor time, with input and
output in pieces of 64 KiB; programs are measured in {clock} time. zlib compresses with the encoder's window
and matcher parameters: once with its own default for the rest, which is a finer hash, and once with
the encoder's hash, so that it takes exactly the encoder's decisions. libdeflate compresses with a
window of 32 KB and a matcher of its own.

{table}

![How many times as fast as the peer](performance.svg)

## How the time falls with the cores

{scaling}

{limit} The large file has {large_mb:.0f} MB; there are {small} small files of 100 bytes.

![What runs on which thread](threads.svg)

Create cuts large files into pieces, so that one file is enough for all cores. A stream can only be
decompressed from its start, so an entry of up to 1 GiB takes one core: reading the archive and writing
the file run beside that, and the last two rows show what it gives.

## Codecs by file

MB/s, and in brackets how many times as fast as zlib.

{codecs}

## Distance to the limit

{limits}

## Peak memory

{peaks}

## What was tried

{tried}"""

ALIGNED = {"moldex", "peer", "ratio", "must", "aim", "KB", "KB, all cores", "MB/s"}


def markdown(headings, lines):
    rule = ["--:" if heading in ALIGNED else "---" for heading in headings]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in [headings, rule, *lines])


def codec_table(figures):
    works = [*((f"compress-{level}", "CsCompr", "zlib-8") for level in (1, 2, 6, 9)),
             ("decompress", "CsDecompr", "zlib")]

    def cell(work, who, peers, sample):
        own = figures["rates"].get(f"{work}/{who}", {}).get(sample)
        peer = figures["rates"].get(f"{work}/{peers}", {}).get(sample)
        return f"{own / 1e6:.0f} ({own / peer:.2f})" if own and peer else "not measured"

    def lzc(way, who, sample):
        return f"{figures['rates'].get(f'{way}-lzc/{who}', {}).get(sample, 0) / 1e6:.0f}"

    lines = [[sample, *(cell(*work, sample) for work in works),
              lzc("compress", "CsCompr", sample), lzc("decompress", "CsDecompr", sample)]
             for sample in figures["samples"]]
    return markdown(["sample", "level 1", "level 2", "level 6", "level 9", "decompress LZH",
                     "compress LZC", "decompress LZC"], lines)


LIMITED = [("archive checksum", "checksum/archive", "memcpy"),
           ("CsDecompr LZH", "decompress/CsDecompr", "memcpy"),
           ("CsCompr level 2", "compress-2/CsCompr", "memcpy"),
           ("create from the tree", "create/moldex", "read"),
           ("verify the tree", "verify/moldex", "read"),
           ("extract the tree", "extract/moldex", "write"),
           ("cp -r of the tree", "extract/cp", "write")]


def limit_table(figures):
    """Speeds in bytes of the uncompressed data, and their share of the speed of a bare copy."""
    values = rows.flat(figures)
    limits = {name.split("/")[1]: values.get(name) for name in rows.LIMITS}
    what = {"memcpy": "memcpy, out of cache", "read": "reading files on tmpfs",
            "write": "writing files on tmpfs"}
    lines = [[what[name], f"{speed / 1e6:.0f}", ""] for name, speed in limits.items() if speed]
    for name, figure, limit in LIMITED:
        speed = values.get(figure)
        if speed and figure.split("/")[0] in ("create", "verify", "extract"):
            speed = figures["tree"]["bytes"] / speed
        if speed and limits[limit]:
            lines.append([name, f"{speed / 1e6:.0f}", f"{speed / limits[limit]:.1%} of {limit}"])
    return markdown(["work", "MB/s", "of the limit"], lines)


def draw_chart(figures, chart, folder):
    with tempfile.NamedTemporaryFile("w", suffix=".data", encoding="utf-8") as data:
        for label, *values in rows.speedups(figures):
            data.write("\t".join([label, *(f"{value:.4g}" for value in values)]) + "\n")
        data.flush()
        subprocess.run(["gnuplot", "-e", f"data='{data.name}'; chart='{chart}'",
                        os.path.join(folder, "chart.gp")], check=True)


def write(figures, docs, folder):
    """Into the folder `docs`; `folder` holds chart.gp and tried.md."""
    os.makedirs(docs, exist_ok=True)
    with open(os.path.join(folder, "tried.md"), encoding="utf-8") as file:
        tried = file.read()
    names = {"a.qel": "moldex", "z.zip": "zip -2", "y.zip": "7zz"}
    text = TEXT.format(
        rounds=figures["rounds"], clock=figures["clock"], tried=tried,
        machine=markdown(["property", "value"],
                         [[key, str(value)] for key, value in figures["machine"].items()]),
        files=figures["tree"]["files"], tree_mb=figures["tree"]["bytes"] / 1e6,
        archives=", ".join(f"{size / 1e6:.1f} MB packed by {names[name]}"
                           for name, size in figures["archives"].items()),
        sample_count=len(figures["samples"]), sample_mb=sum(figures["samples"].values()) / 1e6,
        entries=figures["entries"]["files"], entries_mb=figures["entries"]["bytes"] / 1e6,
        table=markdown(["work", "moldex", "peer", "unit", "ratio", "must", "aim", "verdict",
                        "peer's name"], rows.judge(figures)[0]),
        scaling=markdown(rows.scaling_headings(figures), rows.scaling_lines(figures)),
        limit=rows.limit_text(figures), large_mb=figures["large"] / 1e6,
        small=figures["small"]["files"], codecs=codec_table(figures), limits=limit_table(figures),
        peaks=markdown(["command", "KB", "KB, all cores"],
                       [[name, str(peak), str(figures["peaks_on_all"].get(name, ""))]
                        for name, peak in figures["peaks"].items()]))
    with open(os.path.join(docs, "performance.md"), "w", encoding="utf-8") as file:
        file.write(text)
    draw_chart(figures, os.path.join(docs, "performance.svg"), folder)
