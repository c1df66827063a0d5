"""Runs commands: whole programs against their peers, in turn, and each command's peak memory."""
import json
import os
import shlex
import shutil
import statistics
import subprocess
import sys
import time

# Each work: its name, the command, and the files removed before it. {moldex} and {lzc_pipe} are
# programs.
ROUND = [
    ("create/moldex", "{moldex} -cf a.qel tree", ["a.qel"]),
    ("create/zip", "zip -2qr z.zip tree", ["z.zip"]),
    ("create/7zz", "7zz a -tzip -mm=Deflate -mx=1 -mmt=1 -bso0 -bsp0 y.zip tree", ["y.zip"]),
    ("extract/moldex", "{moldex} -xf a.qel -R out", ["out"]),
    ("extract/bsdtar", "bsdtar -xf z.zip -C out", ["out/"]),
    ("extract/unzip", "unzip -q z.zip -d out", ["out"]),
    ("extract/7zz", "7zz x -mmt=1 -bso0 -bsp0 -oout z.zip", ["out"]),
    ("extract/cp", "cp -r tree out", ["out"]),
    ("verify/moldex", "{moldex} -df a.qel", ["out"]),
    ("verify/unzip", "unzip -tq z.zip", []),
    ("verify/7zz", "7zz t -mmt=1 -bso0 -bsp0 z.zip", []),
    ("list/moldex", "{moldex} -tf e.qel", []),
    ("list/unzip", "unzip -l e.zip", []),
    ("list/bsdtar", "bsdtar -tvf e.zip", []),
    ("list/7zz", "7zz l e.zip", []),
    ("lzc-compress/moldex", "{lzc_pipe} compress samples.joined /dev/null", []),
    ("lzc-compress/compress", "compress -b 13 -c samples.joined", []),
    ("lzc-decompress/moldex", "{lzc_pipe} decompress s.lzc /dev/null", []),
    ("lzc-decompress/compress", "compress -dc same.Z", []),
]

# The same on every core that there is.
ALL_CORES = [
    ("create/moldex", "{moldex} -cf a.qel tree", ["a.qel"]),
    ("create/zip", "zip -2qr z.zip tree", ["z.zip"]),
    ("create/pigz", "sh -c 'tar cf - tree | pigz -2 >z.tgz'", ["z.tgz"]),
    ("extract/moldex", "{moldex} -xf a.qel -R out", ["out"]),
    ("extract/bsdtar", "bsdtar -xf z.zip -C out", ["out/"]),
    ("extract/cp", "cp -r tree out", ["out"]),
    ("verify/moldex", "{moldex} -df a.qel", ["out"]),
    ("verify/unzip", "unzip -tq z.zip", []),
]
# On one core, on two, and so on up to all: how the time falls.
SCALED = [
    ("create", "{moldex} -cf a.qel tree", ["a.qel"]),
    ("create from small files", "{moldex} -cf s.qel small", ["s.qel"]),
    ("create from one large file", "{moldex} -cf l.qel large", ["l.qel"]),
    ("verify", "{moldex} -df a.qel", []),
    ("extract", "{moldex} -xf a.qel -R out", ["out"]),
    ("verify one large file", "{moldex} -df l.qel", []),
    ("extract one large file", "{moldex} -xf l.qel -R out", ["out"]),
]

# The commands whose peak memory is measured, in this order: on the tree and, where that makes sense, on
# many entries.
PEAKS = [
    ("create", "{moldex} -cf p.qel tree"),
    ("append", "{moldex} -af p.qel samples"),
    ("list", "{moldex} -tf p.qel"),
    ("list with space report", "{moldex} -tsf p.qel"),
    ("verify", "{moldex} -df p.qel"),
    ("extract", "{moldex} -xf p.qel -R out"),
    ("merge", "{moldex} -mf 'a.qel p.qel'"),
    ("scan", "{moldex} -lf p.qel tree"),
    ("create, many entries", "{moldex} -cf e.qel entries"),
    ("list, many entries", "{moldex} -tf e.qel"),
    ("verify, many entries", "{moldex} -df e.qel"),
    ("extract, many entries", "{moldex} -xf e.qel -R out"),
]
HEADER_BYTES = 8  # of a compressed stream
COMPRESS_HEADER = b"\x1f\x9d\x8d"  # block mode, 13 bits


class Runner:
    def __init__(self, folder, programs):
        self.folder = folder
        self.programs = programs
        self.failures = []

    def path(self, name):
        return os.path.join(self.folder, name)

    def remove(self, name):
        path = self.path(name)
        if os.path.isdir(path):
            shutil.rmtree(path)
        elif os.path.exists(path):
            os.remove(path)

    def make_way(self, stale):
        """Removes files, and makes empty folders of names that end with a slash."""
        for path in stale:
            self.remove(path.rstrip("/"))
            if path.endswith("/"):
                os.makedirs(self.path(path))

    def words(self, line):
        return shlex.split(line.format(**self.programs))

    def run(self, line, wrapper=()):
        """Wall time and processor time in seconds; None when the command fails."""
        words = [*wrapper, *self.words(line)]
        try:
            with open(self.path("stderr"), "wb") as errors:
                start = time.perf_counter()
                process = subprocess.Popen(words, cwd=self.folder, stdin=subprocess.DEVNULL,
                                           stdout=subprocess.DEVNULL, stderr=errors)
                _, status, usage = os.wait4(process.pid, 0)
                wall = time.perf_counter() - start
        except OSError as failure:
            self.failures.append(str(failure))
            return None
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode == 0:
            return wall, usage.ru_utime + usage.ru_stime
        with open(self.path("stderr"), encoding="utf-8", errors="replace") as errors:
            self.failures.append(
                f"{' '.join(words)}: status {process.returncode} {errors.read()[-300:]}")
        return None


def measure_peaks(runner):
    """Kilobytes by command. A small program starts the archiver, because the memory of the process
    that it is started from counts towards its peak, and this script is large."""
    peaks = {}
    runner.run("{moldex} -cf a.qel samples")
    for name, line in PEAKS:
        if "-R out" in line:
            runner.remove("out")
        if runner.run(line, wrapper=["/usr/bin/time", "-o", "peak", "-f", "%M"]):
            with open(runner.path("peak"), encoding="ascii") as file:
                peaks[name] = int(file.read())
    for name in ("out", "p.qel", "a.qel", "files.log"):
        runner.remove(name)
    return peaks


def prepare_peers(runner):
    """Makes the files that the peers work on: the archive to list and a stream of the same codes."""
    runner.run("zip -0qr e.zip entries")
    if runner.run("{lzc_pipe} compress samples.joined s.lzc"):
        with open(runner.path("s.lzc"), "rb") as own, open(runner.path("same.Z"), "wb") as same:
            same.write(COMPRESS_HEADER + own.read()[HEADER_BYTES:])


def medians(times, rounds):
    return {name: [statistics.median(clock) for clock in zip(*taken)]
            for name, taken in times.items() if len(taken) == rounds}


def measure_rounds(runner, rounds, commands):
    """The medians of wall time and processor time in seconds, by command."""
    times = {}
    for number in range(rounds):
        print(f"round {number + 1} of {rounds}", file=sys.stderr)
        for name, line, stale in commands:
            runner.make_way(stale)
            taken = runner.run(line)
            if taken:
                times.setdefault(name, []).append(taken)
    return medians(times, rounds)


def measure_scaling(runner, rounds, cores):
    """The same by "COMMAND/N", on the first N of these cores, for every N."""
    times = {}
    for number in range(rounds):
        print(f"cores, round {number + 1} of {rounds}", file=sys.stderr)
        for name, line, stale in SCALED:
            for count in range(1, len(cores) + 1):
                os.sched_setaffinity(0, cores[:count])
                runner.make_way(stale)
                taken = runner.run(line)
                if taken:
                    times.setdefault(f"{name}/{count}", []).append(taken)
    os.sched_setaffinity(0, cores)
    return medians(times, rounds)


def measure_side_by_side(runner, rounds, cores):
    """How many times as much as one core all of them do in the same time, when each creates an archive
    for itself: the limit of what threads can give."""
    line = runner.words("{moldex} -cf /dev/null tree")
    ratios = []
    for _ in range(rounds):
        taken = []
        for used in (cores[:1], cores):
            start = time.perf_counter()
            runs = [subprocess.Popen(["taskset", "-c", str(core), *line], cwd=runner.folder,
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                    for core in used]
            if any([run.wait() != 0 for run in runs]):
                runner.failures.append("runs side by side failed")
                return None
            taken.append(time.perf_counter() - start)
        ratios.append(len(cores) * taken[0] / taken[1])
    return statistics.median(ratios)


def measure_codecs(program, samples, rounds, least_seconds):
    """Bytes per second of processor time by WORK/WHO and sample: the medians of rounds whose
    benchmarks run in random order."""
    done = subprocess.run(
        [program, f"--benchmark_repetitions={rounds}", "--benchmark_enable_random_interleaving=true",
         f"--benchmark_min_time={least_seconds}", "--benchmark_format=json", *samples],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        print(done.stderr[-500:], file=sys.stderr)
        return {}
    rates = {}
    for entry in json.loads(done.stdout)["benchmarks"]:
        if entry["run_type"] == "iteration":
            work, who, sample = entry["run_name"].split("/", 2)
            sample = sample.split("/repeats:")[0]
            rates.setdefault(f"{work}/{who}", {}).setdefault(sample, []).append(
                entry["bytes_per_second"])
    return {name: {sample: statistics.median(values) for sample, values in by_sample.items()}
            for name, by_sample in rates.items()}
