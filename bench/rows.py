"""The ratio table: what is compared with what, what must be reached, and whether it was."""
from dataclasses import dataclass

SPEED, TIME, MEMORY = "MB/s", "s", "KB"


@dataclass
class Row:
    work: str
    unit: str
    own: str  # the figure's name
    peer: str = ""
    beside: str = ""  # the peer, for people
    must: float = 0  # 0: no bound. Ratios of speeds are to be above it, of times and KB below
    aim: float = 0
    plus: str = ""  # a second figure that the peer's is added to

    def within(self, ratio, bound):
        return ratio >= bound if self.unit == SPEED else ratio <= bound


def deflate_rows():
    for level, must, aim in ((1, 0, 0), (2, 1.5, 2.0), (6, 1.5, 2.0), (9, 1.5, 2.0)):
        work = f"compress-{level}"
        yield Row(f"CsCompr level {level}", SPEED, f"{work}/CsCompr", f"{work}/zlib-8",
                  "zlib, same parameters", must, aim)
        yield Row(f"CsCompr level {level}", SPEED, f"{work}/CsCompr", f"{work}/zlib-7",
                  "zlib, same hash and tokens, too")
        yield Row(f"CsCompr level {level}", SPEED, f"{work}/CsCompr", f"{work}/libdeflate",
                  f"libdeflate -{level}, whole buffer")


ROWS = [
    *deflate_rows(),
    Row("CsDecompr LZH", SPEED, "decompress/CsDecompr", "decompress/zlib", "zlib", 2.2),
    Row("CsDecompr LZH", SPEED, "decompress/CsDecompr", "decompress/libdeflate",
        "libdeflate, whole buffer", 0, 1.0),
    Row("CsDecompr LZH", SPEED, "decompress/CsDecompr", "decompress/ISA-L", "ISA-L"),
    Row("LZC compress", SPEED, "lzc-compress/moldex", "lzc-compress/compress", "compress -b 13",
        1.5, 2.0),
    Row("LZC decompress", SPEED, "lzc-decompress/moldex", "lzc-decompress/compress", "compress -d",
        2.0, 4.0),
    Row("archive checksum", SPEED, "checksum/archive", "checksum/zlib", "zlib's crc32", 3.0),
    Row("archive checksum", SPEED, "checksum/archive", "checksum/libdeflate", "libdeflate's crc32"),
    Row("archive checksum", SPEED, "checksum/archive", "limit/memcpy", "memcpy, out of cache", 0,
        1.0),
    Row("create", TIME, "create/moldex", "create/zip", "zip -2", 0.75, 0.55),
    Row("create", TIME, "create/moldex", "create/7zz", "7zz, deflate level 1"),
    Row("extract", TIME, "extract/moldex", "extract/bsdtar", "bsdtar -xf", 1.0, 0.55),
    Row("extract", TIME, "extract/moldex", "extract/cp", "cp -r plus verify", 0, 1.0,
        plus="verify/moldex"),
    Row("extract", TIME, "extract/moldex", "extract/unzip", "unzip"),
    Row("extract", TIME, "extract/moldex", "extract/7zz", "7zz x"),
    Row("verify", TIME, "verify/moldex", "verify/unzip", "unzip -t", 0.5, 0.25),
    Row("verify", TIME, "verify/moldex", "verify/7zz", "7zz t"),
    Row("list", TIME, "list/moldex", "list/unzip", "unzip -l", 0.5, 0.2),
    Row("list", TIME, "list/moldex", "list/bsdtar", "bsdtar -tvf"),
    Row("list", TIME, "list/moldex", "list/7zz", "7zz l"),
    Row("peak memory", MEMORY, "peak", must=8192, aim=4096),
]
LIMITS = ["limit/memcpy", "limit/read", "limit/write"]


def overall(rates, sizes):
    """One speed of several samples: all their bytes by all their time."""
    if not sizes or set(rates) != set(sizes):
        return None
    return sum(sizes.values()) / sum(length / rates[name] for name, length in sizes.items())


def flat(figures):
    """Every figure that rows name, in bytes per second, seconds or KB; what is missing is absent."""
    clock = 1 if figures["clock"] == "processor" else 0
    values = {name: overall(rates, figures["samples"]) for name, rates in figures["rates"].items()}
    joined = sum(figures["samples"].values())
    for name, taken in figures["seconds"].items():
        values[name] = joined / taken[clock] if name.startswith("lzc-") else taken[clock]
    if all(name in figures["peaks"] for name in figures["commands"]):
        values["peak"] = max(figures["peaks"].values())
    return {name: value for name, value in values.items() if value}


def shown(value, unit):
    return f"{value / 1e6:.0f}" if unit == SPEED else f"{value:.3f}" if unit == TIME else f"{value}"


def verdict_of(row, ratio):
    if row.must and not row.within(ratio, row.must):
        return "MISSED"
    if row.aim and row.within(ratio, row.aim):
        return "aim met"
    return "met" if row.must else ""


def judge(figures):
    """The table's lines, each a tuple of texts, and the rows that failed. Nothing but a missing
    figure fails what was measured in a hurry, on little data."""
    values = flat(figures)
    lines, failed = [], []
    for row in ROWS:
        bounds = [f"{bound:.2f}" if bound and row.unit != MEMORY else f"{bound:g}" if bound else ""
                  for bound in (row.must, row.aim)]
        own, peer = values.get(row.own), values.get(row.peer)
        if peer and row.plus:
            peer = peer + values[row.plus] if row.plus in values else None
        if own is None or (row.peer and peer is None):
            lines.append((row.work, "", "", row.unit, "", *bounds, "not measured", row.beside))
            failed.append(row)
            continue
        ratio = own / peer if peer else own
        verdict = verdict_of(row, ratio) if not figures["quick"] else "not judged"
        if verdict == "MISSED":
            failed.append(row)
        lines.append((row.work, shown(own, row.unit), shown(peer, row.unit) if peer else "",
                      row.unit, f"{ratio:.2f}" if peer else "", *bounds, verdict, row.beside))
    for name in LIMITS:
        if name not in values:
            failed.append(Row(name, SPEED, name))
    return lines, failed


HEADINGS = ("work", "moldex", "peer", "unit", "ratio", "must", "aim", "", "peer's name")


def text_table(lines):
    widths = [max(len(line[i]) for line in [HEADINGS, *lines]) for i in range(len(HEADINGS))]
    numbers = {1, 2, 4, 5, 6}
    return "\n".join("  ".join(cell.rjust(width) if i in numbers else cell.ljust(width)
                               for i, (cell, width) in enumerate(zip(line, widths))).rstrip()
                     for line in [HEADINGS, *lines])


def speedups(figures):
    """For the chart: how many times as fast as the peer, with must and aim turned the same way."""
    for line, row in zip(judge(figures)[0], ROWS):
        if row.unit == MEMORY or not line[4]:
            continue
        own, peer = flat(figures)[row.own], flat(figures)[row.peer]
        peer += flat(figures)[row.plus] if row.plus else 0
        turned = [value if row.unit == SPEED else 1 / value if value else 0
                  for value in (own / peer, row.must, row.aim)]
        yield f"{row.work}, {row.beside}", *turned
