#!/usr/bin/env python3
"""Writes the table and the chart of a measurement: report.py RESULTS FOLDER"""

import datetime
import os
import pathlib
import sys

import chart
import results

HERE = pathlib.Path(__file__).resolve().parent

INTRO = """# Benchmarks

Written by `scripts/bench`; change nothing here by hand. Every number is the least of many calls on one thread. The
peers run in the same process and in the same rounds, on the same samples in one block of huge pages, their best case;
NumPy runs in a process of its own and takes its own time. Before the clock starts, our picture is compared with the
plain kernels of the tests, to the bit, and every peer's with ours.

How slices lie: ours in one pager block, 2368 bytes beyond a whole number of pages apart, so that equal places of
neighbouring slices fall on different cache sets; the peers' without gaps, as their formats demand, which for 512 x 512
samples is a power of two.

The phantom has 512 x 512 x 400 samples of 16 bits with seeded noise, and every plane lies wholly inside it. A sample is
a pixel of one plane of a slab. *First call* is the first picture after all samples of the volume were written anew.
*Floor* is a probe of the same run that does only the loads of the job: four loads of two neighbours per linear sample,
16 loads of 8 bytes and a table entry of 128 bytes per cubic sample, a copy for a plane on the grid, every sample once
for what can be read in order. Of two linear probes, one sample after another and eight columns at once, and of two
probes of whole rasters, one after the other and side by side, the faster counts; where samples can be read side by
side, as in pictures along the axes, a kernel can be faster than it. In the chart a diamond stands where a kernel as fast
as the floor would end.

![Times faster than the best peer](benchmarks.svg)
"""


def memory():
    with open("/proc/meminfo", encoding="utf-8") as file:
        return f"{int(file.readline().split()[1]) / 2**20:.0f} GiB"


def machine(head):
    lines = [
        f"- {head['processor']}, {os.cpu_count()} cores, {memory()}, Linux {os.uname().release}",
        f"- {head['compiler']}, -O3",
        f"- {', '.join(head['versions']) or 'no peers'}",
        f"- {datetime.datetime.now(datetime.timezone.utc):%Y-%m-%d %H:%M} UTC, "
        f"load before the run {os.environ.get('RZ_BENCH_LOAD', 'unknown')}",
    ]
    return "\n".join(lines)


def number(value, unit=""):
    return "" if value is None else f"{value:.3g}{unit}"


def times(value):
    return "" if value is None else f"{value:.3g}x" if value < 100 else f"{value:.0f}x"


def targets_of(case):
    words = []
    for measure, _, target, met in case.verdicts():
        what = {"warm": "{}x", "cold": "first call {}x", "ms": "{} ms", "floor": "{}x of the floor"}[measure]
        words.append(what.format(f"{target:g}") + (" met" if met else " **missed**"))
    return ", ".join(words)


def row(case):
    peer = f"{case.peer['name'].split()[0]} {case.peer['warm_ms']:.3g}" if case.peer else ""
    cold = number(case.cold)
    if case.cold_peer:
        cold += f" ({case.cold_peer['name'].split()[0]} {case.cold_peer['cold_ms']:.3g})"
    cells = [
        case.name,
        case.work,
        number(case.ours),
        number(case.ours * 1e6 / case.samples),
        peer,
        f"**{times(case.ratio)}**" if case.ratio else "",
        number(case.floor),
        times(case.floor_ratio),
        cold,
        targets_of(case),
    ]
    return "| " + " | ".join(cells) + " |"


TABLE_HEAD = """| case | work | ours, ms | ns per sample | best peer, ms | times faster | floor, ms | of the floor | first call, ms | targets |
|---|---|---|---|---|---|---|---|---|---|"""


def tables(cases):
    parts = []
    for job in dict.fromkeys(case.job for case in cases):
        parts.append(f"\n### {job}\n\n{TABLE_HEAD}")
        parts += [row(case) for case in cases if case.job == job]
    return "\n".join(parts)


def every_peer(cases):
    parts = ["| case | contender | ms | of ours |", "|---|---|---|---|"]
    for case in cases:
        for name, timing in case.timings.items():
            if name in ("ours", "floor"):
                continue
            parts.append(f"| {case.job}: {case.name} | {name} | {timing['warm_ms']:.3g} "
                         f"| {times(timing['warm_ms'] / case.ours)} |")
    return "\n".join(parts)


def missed(cases, notes):
    parts = []
    for case in cases:
        lost = [f"{value:.3g} for {target:g} ({measure})" for measure, value, target, met in case.verdicts() if not met]
        if lost:
            note = notes.get(case.key) or notes.get((case.job, "*")) or ""
            parts.append(f"- {case.job}: {case.name}: {'; '.join(lost)}. {note}".rstrip())
    return "\n".join(parts) or "None."


def main():
    head, cases = results.read_results(sys.argv[1], HERE.parent / "targets.csv")
    notes = results.read_notes(HERE.parent / "notes.csv")
    for name in results.unknown_names(cases, HERE.parent / "targets.csv", HERE.parent / "notes.csv"):
        print(f"report: not measured: {name}", file=sys.stderr)
    folder = pathlib.Path(sys.argv[2])
    phantom = [case for case in cases if case.volume != "CT"]
    ct = [case for case in cases if case.volume == "CT"]
    verdicts = [met for case in phantom for measure, _, _, met in case.verdicts() if measure != "floor"]
    near = [met for case in phantom for measure, _, _, met in case.verdicts() if measure == "floor"]
    text = [
        INTRO,
        machine(head),
        f"\n{sum(verdicts)} of {len(verdicts)} targets against peers and clocks met; {sum(near)} of {len(near)} cases "
        "within 1.5 times of their floor.",
        "\n## The phantom",
        tables(phantom),
    ]
    if ct:
        text += ["\n## A real CT (140 slices of 512 x 512)", tables(ct)]
    text += ["\n## Targets that were missed\n", missed(phantom, notes), "\n## Every peer\n", every_peer(cases)]
    (folder / "benchmarks.md").write_text("\n".join(text) + "\n", encoding="utf-8")
    line = f"{head['processor']}; {', '.join(head['versions'])}"
    (folder / "benchmarks.svg").write_text(chart.draw(cases, line), encoding="utf-8")


main()
