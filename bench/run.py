"""Measures, prints the ratio table, and writes the report; scripts/bench calls it."""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile

import commands
import machine
import report
import rows
import workload

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
MB = workload.MB
LEAST_ROUNDS = 5


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=(
        "Measures the archiver and its codecs beside their peers, in turn, first on one core and then "
        "on all. Exits 1 where a must is missed or a figure is missing."))
    parser.add_argument("paths", nargs="*", metavar="PATH",
                        help="files or directories to measure on; else the machine's own")
    parser.add_argument("--report", action="store_true", help="write docs/performance.md, too")
    parser.add_argument("--rounds", type=int, default=LEAST_ROUNDS)
    parser.add_argument("--processor", action="store_true",
                        help="compare processor times: for a machine that is busy otherwise")
    parser.add_argument("--quick", action="store_true",
                        help="little data, one round: only shows that everything can be measured")
    parser.add_argument("--build", default=None, help="a build folder that is complete already")
    parser.add_argument("--figures", default=None, help="where to keep the figures, as JSON")
    parser.add_argument("--from", dest="source", metavar="FIGURES",
                        help="measure nothing: judge and report these figures")
    parser.add_argument("--pieces", action="store_true",
                        help="measure nothing else than how pieces of streams of these files agree")
    parser.add_argument("--docs", default=os.path.join(ROOT, "docs"), help=argparse.SUPPRESS)
    options = parser.parse_args()
    if not options.quick and options.rounds < LEAST_ROUNDS:
        parser.error(f"medians are of {LEAST_ROUNDS} rounds at least")
    return options


def complete_build(options):
    if options.build:
        return os.path.abspath(options.build)
    done = subprocess.run([os.path.join(ROOT, "scripts", "build"), "bench"], check=False,
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(done.stderr[-3000:])
    return os.path.join(ROOT, "build", "bench")


def measure(options, build, folder):
    quick = options.quick
    tree = workload.make_tree(os.path.join(folder, "tree"), options.paths, quick)
    samples = workload.make_samples(os.path.join(folder, "tree"), os.path.join(folder, "samples"),
                                    100_000 if quick else 4 * MB)
    entries = workload.make_entries(os.path.join(folder, "entries"), quick)
    small = workload.make_small_files(os.path.join(folder, "small"), quick)
    large = workload.make_large_file(os.path.join(folder, "tree"), os.path.join(folder, "large"),
                                     quick)
    print(f"{tree['files']} files, {tree['bytes'] / MB:.0f} MB; codecs: {len(samples)} samples, "
          f"{sum(samples.values()) / MB:.0f} MB; {entries['files']} entries to list", flush=True)
    runner = commands.Runner(folder, {name: os.path.join(build, name)
                                      for name in ("moldex", "lzc_pipe")})
    rounds = 1 if quick else options.rounds
    cores = sorted(os.sched_getaffinity(0))
    peaks_on_all = commands.measure_peaks(runner)
    os.sched_setaffinity(0, cores[-1:])
    peaks = commands.measure_peaks(runner)
    commands.prepare_peers(runner)
    seconds = commands.measure_rounds(runner, rounds, commands.ROUND)
    rates = commands.measure_codecs(os.path.join(build, "codec_bench"),
                                    [os.path.join(folder, "samples", name) for name in samples],
                                    rounds, 0.0001 if quick else 0.05)
    os.sched_setaffinity(0, cores)
    on_all = commands.measure_rounds(runner, rounds, commands.ALL_CORES)
    scaling = commands.measure_scaling(runner, rounds, cores)
    limit = commands.measure_side_by_side(runner, rounds, cores)
    for failure in runner.failures:
        print(f"failed: {failure}", file=sys.stderr)
    return {"machine": machine.describe(build), "quick": quick, "rounds": rounds,
            "clock": "processor" if options.processor else "wall", "tree": tree,
            "entries": entries, "samples": samples, "rates": rates, "seconds": seconds,
            "on_all": on_all, "scaling": scaling, "side_by_side": limit, "cores": len(cores),
            "small": small, "large": large, "peaks": peaks, "peaks_on_all": peaks_on_all,
            "commands": [peak[0] for peak in commands.PEAKS],
            "archives": {name: os.path.getsize(runner.path(name))
                         for name in ("a.qel", "z.zip", "y.zip") if os.path.exists(runner.path(name))}}


def measure_in_memory(options):
    build = complete_build(options)
    folder = tempfile.mkdtemp(prefix="moldex-bench-", dir="/dev/shm")
    try:
        return measure(options, build, folder)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def busy_share(figures):
    """How much of the time the commands waited for a processor that others had."""
    wall = sum(taken[0] for taken in figures["seconds"].values())
    return 1 - sum(taken[1] for taken in figures["seconds"].values()) / wall if wall else 0


def main():
    options = arguments()
    if options.pieces:
        return subprocess.run([os.path.join(complete_build(options), "piece_agreement"), *options.paths],
                              check=False).returncode
    if options.source:
        with open(options.source, encoding="utf-8") as file:
            figures = json.load(file)
    else:
        figures = measure_in_memory(options)
        kept = options.figures or os.path.join(ROOT, "build", "bench", "figures.json")
        os.makedirs(os.path.dirname(os.path.abspath(kept)), exist_ok=True)
        with open(kept, "w", encoding="utf-8") as file:
            json.dump(figures, file, indent=1)
    lines, failed = rows.judge(figures)
    print(rows.text_table(lines))
    print()
    print(rows.text_table(rows.scaling_lines(figures), rows.scaling_headings(figures)))
    print(rows.limit_text(figures))
    if figures["clock"] == "wall" and busy_share(figures) > 0.1 and not figures["quick"]:
        print(f"The commands waited {busy_share(figures):.0%} of their time for a processor: "
              "wall times of this run mean little, see --processor.")
    for row in failed:
        print(f"missed or not measured: {row.work} {row.beside}".rstrip())
    if options.report:
        report.write(figures, options.docs, os.path.dirname(os.path.abspath(__file__)))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
