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
    Row("create, all cores", TIME, "all/create/moldex", "all/create/zip", "zip -2", 0.40, 0.34),
    Row("create, all cores", TIME, "all/create/moldex", "all/create/pigz", "tar and pigz -2", 0.75),
    Row("create, all cores", TIME, "all/create/moldex", "create/moldex", "itself on one core"),
    Row("create, small files, all cores", TIME, "create from small files/all",
        "create from small files/1", "itself on one core", 1.0, 0.8),
    Row("create, one large file, all cores", TIME, "create from one large file/all",
        "create from one large file/1", "itself on one core", 0.69, 0.61),
    Row("extract, all cores", TIME, "all/extract/moldex", "all/extract/bsdtar", "bsdtar -xf", 0.34),
    Row("extract, all cores", TIME, "all/extract/moldex", "all/extract/cp", "cp -r", 0, 1.25),
    Row("verify, all cores", TIME, "all/verify/moldex", "all/verify/unzip", "unzip -t", 0.17, 0.15),
    Row("peak memory", MEMORY, "peak", must=8192, aim=4096),
    Row("peak memory, all cores", MEMORY, "all/peak", beside="less 4 MiB for each core but one",
        must=8192),
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
    for name, taken in figures["on_all"].items():
        values[f"all/{name}"] = taken[0]  # of several cores only the wall's time tells anything
    for name, taken in figures["scaling"].items():
        work, count = name.rsplit("/", 1)
        values[name] = taken[0]
        if int(count) == figures["cores"] > 1:
            values[f"{work}/all"] = taken[0]
    if all(name in figures["peaks"] for name in figures["commands"]):
        values["peak"] = max(figures["peaks"].values())
    if all(name in figures["peaks_on_all"] for name in figures["commands"]):
        further = 4096 * (figures["cores"] - 1)
        values["all/peak"] = max(1, max(figures["peaks_on_all"].values()) - further)
    return {name: value for name, value in values.items() if value}


def shown(value, unit):
    return f"{value / 1e6:.0f}" if unit == SPEED else f"{value:.3f}" if unit == TIME else f"{value}"


def verdict_of(row, ratio):
    if row.must and not row.within(ratio, row.must):
        return "MISSED"
    if row.aim and row.within(ratio, row.aim):
        return "aim met"
    return "met" if row.must else ""


def rows_of(figures):
    """Several cores cannot be judged where there is one."""
    return [row for row in ROWS if figures["cores"] > 1 or not row.work.endswith("all cores")]


def judge(figures):
    """The table's lines, each a tuple of texts, and the rows that failed. Nothing but a missing
    figure fails what was measured in a hurry, on little data."""
    values = flat(figures)
    lines, failed = [], []
    for row in rows_of(figures):
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


def text_table(lines, headings=HEADINGS):
    widths = [max(len(line[i]) for line in [headings, *lines]) for i in range(len(headings))]
    numbers = {1, 2, 4, 5, 6} if headings is HEADINGS else set(range(1, len(headings)))
    return "\n".join("  ".join(cell.rjust(width) if i in numbers else cell.ljust(width)
                               for i, (cell, width) in enumerate(zip(line, widths))).rstrip()
                     for line in [headings, *lines])


def scaling_headings(figures):
    return ("work", *(f"{count} core{'s' if count > 1 else ''}, s"
                      for count in range(1, figures["cores"] + 1)), "times as fast")


def scaling_lines(figures):
    """How the time falls from one core to all."""
    times = {name: taken[0] for name, taken in figures["scaling"].items()}
    lines = []
    for work in dict.fromkeys(name.rsplit("/", 1)[0] for name in times):
        taken = [times.get(f"{work}/{count}") for count in range(1, figures["cores"] + 1)]
        if all(taken):
            lines.append((work, *(f"{one:.3f}" for one in taken), f"{taken[0] / taken[-1]:.2f}"))
    return lines


def limit_text(figures):
    """How close create comes to what the machine can give."""
    values, limit = flat(figures), figures["side_by_side"]
    if figures["cores"] == 1:
        return "There is one core, so nothing shows what several give."
    if not limit or not {"create/1", "create/all"} <= values.keys():
        return "runs side by side: not measured"
    reached = values["create/1"] / values["create/all"]
    return (f"One create on each core, side by side, does {limit:.2f} times the work of one core; one "
            f"create on all cores {reached:.2f} times, {reached / limit:.0%} of that.")


def speedups(figures):
    """For the chart: how many times as fast as the peer, with must and aim turned the same way."""
    for line, row in zip(judge(figures)[0], rows_of(figures)):
        if row.unit == MEMORY or not line[4]:
            continue
        own, peer = flat(figures)[row.own], flat(figures)[row.peer]
        peer += flat(figures)[row.plus] if row.plus else 0
        turned = [value if row.unit == SPEED else 1 / value if value else 0
                  for value in (own / peer, row.must, row.aim)]
        yield f"{row.work}, {row.beside}", *turned
