"""Runs scripts/bench on little data: smoke_test.py BUILD. No time is judged, only that every figure
is measured, and what comes of figures that are missing or miss their bound."""
import copy
import json
import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(ROOT, "bench"))
import rows  # noqa: E402

BUILD = sys.argv.pop(1)


def bench(*arguments):
    done = subprocess.run([os.path.join(ROOT, "scripts", "bench"), *arguments], text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout


def ahead(figures):
    """The same figures of a machine on which this project is a thousand times as fast."""
    fast = copy.deepcopy(figures)
    fast["quick"] = False
    for group in ("peaks", "peaks_on_all"):
        fast[group] = {name: 3000 for name in fast[group]}
    fast["on_all"] = {name: [clock / 1e6 for clock in seconds] if name.endswith("/moldex") else seconds
                      for name, seconds in fast["on_all"].items()}
    fast["scaling"] = {name: [1, 1] if name.endswith("/1") else [1e-3, 1e-3] for name in fast["scaling"]}
    for name, rates in fast["rates"].items():
        if name.endswith(("/CsCompr", "/CsDecompr", "/archive")):
            fast["rates"][name] = {sample: rate * 1000 for sample, rate in rates.items()}
    for name, seconds in fast["seconds"].items():
        if name.endswith("/moldex"):
            fast["seconds"][name] = [clock / 1000 for clock in seconds]
    return fast


class Smoke(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        cls.kept = os.path.join(cls.folder, "figures")
        cls.status, cls.output = bench("--quick", "--build", BUILD, "--figures", cls.kept,
                                       os.path.join(ROOT, "docs"), os.path.join(ROOT, "scripts"))
        with open(cls.kept, encoding="utf-8") as file:
            cls.figures = json.load(file)

    def judged(self, figures, *more):
        path = os.path.join(self.folder, "changed")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(figures, file)
        return bench("--from", path, *more)

    def test_measures_every_row(self):
        self.assertEqual(self.status, 0, self.output)
        self.assertNotIn("not measured", self.output)
        self.assertNotIn("failed", self.output)

    def test_fails_whatever_figure_is_missing(self):
        named = {name for row in rows.rows_of(self.figures) for name in (row.own, row.peer, row.plus)}
        for name in (named | set(rows.LIMITS)) - {"", "peak", "all/peak"}:
            figures = ahead(self.figures)
            self.assertEqual(rows.judge(figures)[1], [])
            for group in ("rates", "seconds", "scaling"):
                figures[group].pop(name.replace("/all", f"/{figures['cores']}"), None)
            figures["on_all"].pop(name.removeprefix("all/"), None) if name.startswith("all/") else None
            self.assertTrue(rows.judge(figures)[1], name)
        on_several = ("peaks_on_all",) if self.figures["cores"] > 1 else ()
        for kind in ("peaks", "samples", *on_several):
            for name in self.figures[kind]:
                figures = ahead(self.figures)
                figures[kind].pop(name)
                self.assertTrue(rows.judge(figures)[1], name)

    def test_fails_whatever_must_is_missed(self):
        slow = ahead(ahead(self.figures))
        for group, factor in (("rates", 1e-9), ("seconds", 1e9)):
            for name, values in slow[group].items():
                if name.endswith(("/CsCompr", "/CsDecompr", "/archive", "/moldex")):
                    items = values.items() if group == "rates" else enumerate(values)
                    for key, value in list(items):
                        values[key] = value * factor
        slow["peaks"]["list"] = 8193
        slow["peaks_on_all"]["list"] = 8193 + 4096 * (slow["cores"] - 1)
        for name, values in slow["on_all"].items():
            slow["on_all"][name] = [value * (1e15 if name.endswith("/moldex") else 1) for value in values]
        for name in slow["scaling"]:
            slow["scaling"][name] = [1, 1] if name.endswith("/1") else [100, 100]
        lines, failed = rows.judge(slow)
        self.assertEqual(failed, [row for row in rows.rows_of(slow) if row.must])
        self.assertEqual(sum(line[7] == "MISSED" for line in lines), len(failed))
        status, output = self.judged(slow)
        self.assertEqual(status, 1)
        self.assertIn("missed or not measured: create zip -2", output)

    def test_reports_with_a_chart(self):
        docs = os.path.join(self.folder, "docs")
        status, output = self.judged(ahead(self.figures), "--report", "--docs", docs)
        self.assertEqual(status, 0, output)
        for name, expected in (("performance.md", "| CsDecompr LZH |"), ("performance.svg", "must")):
            with open(os.path.join(docs, name), encoding="utf-8") as file:
                self.assertIn(expected, file.read())

    def test_fails_when_programs_fail(self):
        for name in ("moldex", "lzc_pipe", "codec_bench"):
            os.symlink("/bin/false", os.path.join(self.folder, name))
        status, output = bench("--quick", "--build", self.folder, "--figures", self.kept + "2",
                               os.path.join(ROOT, "docs"))
        self.assertEqual(status, 1, output)
        for row in rows.rows_of(self.figures):
            self.assertIn(f"missed or not measured: {row.work} {row.beside}".rstrip(), output)


if __name__ == "__main__":
    unittest.main()
