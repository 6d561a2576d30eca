#!/usr/bin/python3
"""Turns what the benchmarks measured into docs/performance.md and its plot.

usage: report.py EFFECTS.json MACHINE.txt DOCS_FOLDER [PEERS.json PEER_NOTES.json]
"""

import collections
import json
import pathlib
import statistics
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

FULL_HD = "1920x1080"
FORMATS = ["bgra", "rgb24", "yuv420p", "yuva420p"]
SIZES = ["320x180", "1280x720", FULL_HD, "3840x2160", "7680x4320", "32000x1", "1x32000"]


class Row:
    """What all repetitions of one benchmark found, in microseconds."""

    def __init__(self):
        self.least = float("inf")
        self.copy = float("inf")
        self.copies = []  # of every repetition: how many copies of the picture one call is worth

    def add(self, entry):
        scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}[entry["time_unit"]]
        self.least = min(self.least, entry.get("call_us", entry["real_time"] * scale))
        if "copy_us" in entry:
            self.copy = min(self.copy, entry["copy_us"])
            self.copies.append(entry["call_us"] / entry["copy_us"])

    @property
    def x_copy(self):
        return statistics.median(self.copies)


def read(path):
    rows = collections.defaultdict(Row)
    for entry in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
        if entry.get("run_type") == "aggregate" or entry.get("error_occurred"):
            continue
        rows[entry["run_name"].removesuffix("/real_time").removesuffix("/manual_time")].add(entry)
    return dict(rows)


class Report:
    def __init__(self, rows, peers, notes):
        self.rows = rows
        self.peers = peers
        self.notes = {(n["peer"], n["effect"], n["format"], n["call"]): n for n in notes}
        self.effects = sorted({n.split("/")[1] for n in rows if n.startswith("plain/")})
        found = collections.Counter(
            n.split("/")[3] for n in rows if n.count("/") == 3 and n.split("/")[0] in self.effects and n.split("/")[2] == FULL_HD)
        order = ["AVX3_DL", "AVX3", "AVX2", "SSE4", "SSSE3", "NEON", "SCALAR"]
        self.targets = [t for t in order if t in found]
        self.lines = []

    def row(self, effect, form, size=FULL_HD, target=None, suffix=""):
        return self.rows.get(f"{effect}/{form}/{size}/{target or self.targets[0]}{suffix}")

    def plain(self, effect, form):
        return self.rows.get(f"plain/{effect}/{form}/{FULL_HD}")

    def copy(self, form, size=FULL_HD):
        """The least time of a copy, in microseconds."""
        return min(row.copy for name, row in self.rows.items() if f"/{form}/{size}" in name)

    def usual_copy(self, form):
        """What a copy took in the middle, for calls that were not timed beside copies of their own."""
        times = [row.copy for name, row in self.rows.items() if f"/{form}/{FULL_HD}" in name and row.copies]
        return statistics.median(times)

    def fastest_peers(self, effect, form):
        """(time, peer, call, note) of the fastest peers: first any, then one that computes all afresh."""
        rows = []
        for name, row in self.peers.items():
            time = row.least
            _, peer, its_effect, its_form, call = name.split("/", 4)
            if its_effect == effect and {"rgba": "bgra"}.get(its_form, its_form) == form:
                rows.append((time, peer, call, self.notes.get((peer, effect, its_form, call), {})))
        rows.sort(key=lambda row: row[0])
        fresh = [row for row in rows if row[3].get("fresh")]
        return rows[0] if rows else None, fresh[0] if fresh else None

    def add(self, *lines):
        self.lines.extend(lines)

    def table(self, heads, rows):
        self.add("", "| " + " | ".join(heads) + " |", "|" + "---|" + "---:|" * (len(heads) - 1))
        for row in rows:
            self.add("| " + " | ".join("" if cell is None else str(cell) for cell in row) + " |")
        self.add("")


def ratio(a, b, digits=2):
    """How many times the second row's time the first one's is, each in copies of its own moment."""
    return f"{a.x_copy / b.x_copy:.{digits}f}" if a and b else None


def copies(row):
    return f"{row.x_copy:.1f}" if row else None


def main_table(report):
    report.add(f"## Every effect, `bgra`, {FULL_HD}", "",
               "\"x copy\" is the time over that of copying the picture. \"over plain\" is the time of the plain reference over that of the",
               "best instruction set. Level 5000; blurs 10000; Emboss and Sketch 3700, since 5000 is a lucky one for them.")
    rows = []
    for effect in report.effects:
        best = report.row(effect, "bgra")
        if best is None:
            continue
        row = [effect, f"{best.least / 1e3:.3f}"]
        row += [copies(report.row(effect, "bgra", target=t)) for t in report.targets]
        row.append(ratio(report.plain(effect, "bgra"), best, 1))
        for peer in report.fastest_peers(effect, "bgra"):
            row.append(f"{peer[0] / report.usual_copy('bgra'):.1f} ({peer[1]}: {peer[2]})" if peer else None)
        rows.append(row)
    heads = ["effect", "ms"] + [f"x copy, {t}" for t in report.targets] + ["over plain", "fastest peer, x copy", "fastest that computes all afresh"]
    if not report.peers:
        heads, rows = heads[:-2], [row[:-2] for row in rows]
    report.table(heads, rows)
    times = ", ".join(f"{f} {report.copy(f) / 1e3:.3f} ms" for f in FORMATS)
    report.add(f"The quickest copy took: {times}.", "")


def layout_table(report):
    report.add("## Layouts", "", f"Milliseconds at {FULL_HD} with {report.targets[0]}, and x copy of the same planes.")
    rows = []
    for effect in report.effects:
        row = [effect]
        for form in FORMATS:
            found = report.row(effect, form)
            row.append(f"{found.least / 1e3:.3f} ({copies(found)})" if found else None)
        rows.append(row)
    report.table(["effect"] + FORMATS, rows)


def band_table(report):
    report.add("## Bands and threads", "",
               "Time in bands of 32 rows over one call for the whole picture, and how many times faster two halves are on two threads.")
    rows = []
    for effect in report.effects:
        row = [effect]
        for form in ("bgra", "yuv420p"):
            whole = report.row(effect, form)
            row += [ratio(report.row(effect, form, suffix="/bands32"), whole), ratio(whole, report.row(effect, form, suffix="/threads2"))]
        if any(row[1:]):
            rows.append(row)
    report.table(["effect", "bgra, bands", "bgra, two threads", "yuv420p, bands", "yuv420p, two threads"], rows)


def size_table(report):
    report.add("## Sizes", "", f"Nanoseconds per pixel, `bgra`, {report.targets[0]}. Large pictures leave the caches; so does their copy.")
    rows = []
    for effect in ["memcpy"] + report.effects:
        row = [effect]
        for size in SIZES:
            width, height = map(int, size.split("x"))
            found = report.row(effect, "bgra", size)
            time = report.copy("bgra", size) if effect == "memcpy" else found.least if found else None
            row.append(f"{time * 1e3 / (width * height):.2f}" if time else None)
        rows.append(row)
    report.table(["effect"] + SIZES, rows)


def hard_table(report):
    report.add("## Hard cases", "",
               "Contents and settings chosen to be slow: time over that of real footage at the usual level.")
    cases = collections.defaultdict(dict)
    for name, row in report.rows.items():
        if name.startswith("hard/"):
            _, effect, what, form = name.split("/")
            cases[(effect, what)][form] = ratio(row, report.row(effect, form))
    rows = [[f"{e}: {w}", c.get("bgra"), c.get("yuv420p")] for (e, w), c in sorted(cases.items())]
    report.table(["case", "bgra", "yuv420p"], rows)
    build, phase = report.rows.get("Ripple tables/amplitude"), report.rows.get("Ripple tables/phase")
    if build is not None:
        report.add(f"Ripple's tables take {build.least / 1e3:.3f} ms when damping or amplitude change, and {phase.least:.2f} us when only the phase does.", "")
    glass, rand = report.row("Ground Glass", "bgra"), report.rows.get(f"rand/bgra/{FULL_HD}")
    if glass and rand:
        planar, pairs = report.row("Ground Glass", "yuv420p"), report.rows[f"rand/yuv420p/{FULL_HD}"]
        report.add(f"Ground Glass takes {glass.least / rand.least:.2f} times as long as its calls of `rand()` alone in `bgra`, "
                   f"{planar.least / pairs.least:.2f} times in `yuv420p`.", "")


def peer_table(report):
    if not report.peers:
        return
    report.add("## Other libraries", "",
               "The nearest call of each, on the same frame, on one thread. \"ready\": maps or masks were prepared before the clock ran.")
    rows = []
    for name, row in sorted(report.peers.items(), key=lambda item: (item[0].split("/")[2], item[1].least)):
        time = row.least
        _, peer, effect, form, call = name.split("/", 4)
        note = report.notes.get((peer, effect, form, call), {})
        own = report.row(effect, form)
        rows.append([effect, peer, form, f"{time / 1e3:.3f}", f"{time / own.least:.1f}x" if own else None, f"`{call}`",
                     "all afresh" if note.get("fresh") else "ready", note.get("difference")])
    report.table(["effect", "peer", "format", "ms", "over norix", "call", "", "what it computes differently"], rows)


def plot(report, path):
    effects = [e for e in report.effects if report.row(e, "bgra")]
    effects.sort(key=lambda e: report.row(e, "bgra").x_copy)
    copy = report.usual_copy("bgra")
    figure, axes = plt.subplots(figsize=(8, 5.5))
    places = range(len(effects))
    axes.barh([p + 0.2 for p in places], [report.row(e, "bgra").x_copy for e in effects], 0.38, label="NorixEngine", color="#1f6f8b")
    if report.peers:
        fastest = [report.fastest_peers(e, "bgra")[0] for e in effects]
        axes.barh([p - 0.2 for p in places], [f[0] / copy if f else 0 for f in fastest], 0.38, label="fastest peer", color="#d9a441")
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_xscale("log")
    axes.set_yticks(list(places), effects)
    axes.set_xlabel(f"time over that of copying the picture (line), bgra {FULL_HD}, one thread")
    axes.legend(loc="lower right")
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})


def main():
    effects, machine, docs = sys.argv[1:4]
    peers, notes = ({}, [])
    if len(sys.argv) > 4:
        peers = {n: row for n, row in read(sys.argv[4]).items() if n.startswith("peer/")}
        notes = json.loads(pathlib.Path(sys.argv[5]).read_text())
    report = Report(read(effects), peers, notes)
    report.add("# Performance", "",
               "Written by `scripts/bench` on this machine; `norix bench` measures yours.", "",
               "```", pathlib.Path(machine).read_text().strip(), "```", "",
               "![Every effect against a copy and the fastest peer](images/performance.svg)", "",
               "**Method.** Google Benchmark runs every row on one thread, in rounds of random order; the picture is a frame of real footage",
               "(`assets/meadow.mp4`, enlarged), warm in the caches as far as it fits. Every single call is timed, and so is a memcpy of the same",
               "planes right before it: in each round the quickest call and the quickest copy count, and \"x copy\" is the median of their ratios, so",
               "that a machine that others slow down slows both; all other ratios are ratios of these, milliseconds are the quickest of all.",
               "Every call computes everything anew; nothing is kept from call to call but Ripple's tables, which its parameters hold. The plain",
               "reference is the code that the tests hold every effect to, built with the same compiler at `-O3` and measured in the same run; other",
               "libraries follow in a run right after it, each with its quickest round.", "")
    main_table(report)
    layout_table(report)
    band_table(report)
    size_table(report)
    hard_table(report)
    peer_table(report)
    docs = pathlib.Path(docs)
    plot(report, docs / "images" / "performance.svg")
    (docs / "performance.md").write_text("\n".join(report.lines).rstrip() + "\n")


if __name__ == "__main__":
    main()
