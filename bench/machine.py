"""Describes the machine and the programs that a run was made with."""
import os
import platform
import subprocess

PEERS = ["zlib1g", "libdeflate0", "libisal2", "ncompress", "zip", "pigz", "unzip", "libarchive-tools",
         "7zip", "libbenchmark-dev"]


def output(*words):
    """The output of a command, or "unknown" when the machine does not have it."""
    try:
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              check=False)
    except OSError:
        return "unknown"
    return done.stdout.strip() or "unknown"


def field(path, name, separator):
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            return next((line.split(separator, 1)[1].strip() for line in file
                         if line.startswith(name) and separator in line), "unknown")
    except OSError:
        return "unknown"


def describe(build):
    compiler = field(os.path.join(build, "CMakeCache.txt"), "CMAKE_CXX_COMPILER:", "=")
    versions = [f"{name} {output('dpkg-query', '-W', '-f', '${Version}', name)}"
                for name in PEERS]
    processor = field("/proc/cpuinfo", "model name", ":")
    return {
        "processor": processor if processor != "unknown" else platform.machine(),
        "cores": os.cpu_count(),
        "memory": field("/proc/meminfo", "MemTotal", ":"),
        "kernel": f"{platform.system()} {platform.release()}",
        "system": field("/etc/os-release", "PRETTY_NAME", "=").strip('"'),
        "compiler": output(compiler, "--version").splitlines()[0],
        "peers": ", ".join(versions),
        "revision": output("git", "-C", os.path.dirname(__file__), "describe", "--always",
                           "--dirty"),
    }
