"""Writes docs/performance.md and its chart from the figures of one run."""
import os
import subprocess
import tempfile

import rows

TEXT = """# Performance

Written by `scripts/bench --report`, which anyone can run again; the last section is kept by hand in
bench/tried.md. Absolute figures hold for this machine alone, ratios travel better: everything below
was measured in one run, in turn, on one core, and the medians of {rounds} rounds are shown.

## Machine

{machine}

Measured on a tree of {files} files and {tree_mb:.0f} MB on tmpfs ({archives}); the codecs on
{sample_count} samples of that tree, {sample_mb:.0f} MB; the list on an archive of {entries} entries
and {entries_mb:.0f} MB.

## Beside the peers

Speeds (MB/s) compare as own by peer's, times (s) as own by peer's, too: a ratio of speeds is good
when it is large, one of times when it is small. Codecs get processor time, input and output in
pieces of 64 KiB; programs get {clock} time. zlib compresses with the encoder's window and matcher
parameters.

{table}

![How many times as fast as the peer](performance.svg)

## Codecs by file

MB/s, and in brackets how many times as fast as zlib.

{codecs}

## Distance to the limit

{limits}

## Peak memory

{peaks}

## What was tried

{tried}"""

ALIGNED = {"moldex", "peer", "ratio", "must", "aim", "KB", "MB/s"}


def markdown(headings, lines):
    rule = ["--:" if heading in ALIGNED else "---" for heading in headings]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in [headings, rule, *lines])


def codec_table(figures):
    works = [("compress-1", "CsCompr"), ("compress-2", "CsCompr"), ("compress-6", "CsCompr"),
             ("compress-9", "CsCompr"), ("decompress", "CsDecompr")]

    def cell(work, who, sample):
        own = figures["rates"].get(f"{work}/{who}", {}).get(sample)
        peer = figures["rates"].get(f"{work}/zlib", {}).get(sample)
        return f"{own / 1e6:.0f} ({own / peer:.2f})" if own and peer else "not measured"

    def lzc(way, who, sample):
        return f"{figures['rates'].get(f'{way}-lzc/{who}', {}).get(sample, 0) / 1e6:.0f}"

    lines = [[sample, *(cell(work, who, sample) for work, who in works),
              lzc("compress", "CsCompr", sample), lzc("decompress", "CsDecompr", sample)]
             for sample in figures["samples"]]
    return markdown(["sample", "level 1", "level 2", "level 6", "level 9", "decompress LZH",
                     "compress LZC", "decompress LZC"], lines)


def limit_table(figures):
    values = rows.flat(figures)
    tree = figures["tree"]["bytes"]
    seconds = {work: values.get(f"{work}/moldex") for work in ("create", "verify", "extract")}
    speeds = [(name, values.get(figure)) for name, figure in (
        ("memcpy of the samples", "limit/memcpy"), ("reading them as files", "limit/read"),
        ("writing them as files", "limit/write"), ("archive checksum", "checksum/archive"),
        ("CsDecompr LZH", "decompress/CsDecompr"), ("CsCompr level 2", "compress-2/CsCompr"))]
    speeds += [(f"{work} of the tree", tree / taken if taken else None)
               for work, taken in seconds.items()]
    copying = values.get("extract/cp")
    speeds.append(("cp -r of the tree", tree / copying if copying else None))
    return markdown(["work", "MB/s"], [[name, f"{speed / 1e6:.0f}" if speed else "not measured"]
                                       for name, speed in speeds])


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
        machine=markdown(["what", "which"],
                         [[key, str(value)] for key, value in figures["machine"].items()]),
        files=figures["tree"]["files"], tree_mb=figures["tree"]["bytes"] / 1e6,
        archives=", ".join(f"{size / 1e6:.1f} MB packed by {names[name]}"
                           for name, size in figures["archives"].items()),
        sample_count=len(figures["samples"]), sample_mb=sum(figures["samples"].values()) / 1e6,
        entries=figures["entries"]["files"], entries_mb=figures["entries"]["bytes"] / 1e6,
        table=markdown(["work", "moldex", "peer", "unit", "ratio", "must", "aim", "verdict",
                        "peer's name"], rows.judge(figures)[0]),
        codecs=codec_table(figures), limits=limit_table(figures),
        peaks=markdown(["command", "KB"],
                       [[name, str(peak)] for name, peak in figures["peaks"].items()]))
    with open(os.path.join(docs, "performance.md"), "w", encoding="utf-8") as file:
        file.write(text)
    draw_chart(figures, os.path.join(docs, "performance.svg"), folder)
