"""Draws how many times faster than the best peer each case is, as an SVG that reads in light and dark."""

import math
from xml.sax.saxutils import escape

STYLE = """
  .back { fill: #ffffff } text { fill: #1f2328; font: 12px system-ui, sans-serif }
  .job { font-weight: 600 } .faint, .axis text { fill: #59636e } .grid { stroke: #d1d9e0 }
  .one { stroke: #59636e } .met { fill: #1a7f5a } .missed { fill: #bc6c00 } .none { fill: #5b7fbf }
  .target { stroke: #1f2328; stroke-width: 2 } .floor { fill: #ffffff; stroke: #1f2328 }
  .end { text-anchor: end } .middle { text-anchor: middle } .title { font-size: 16px; font-weight: 600 }
  @media (prefers-color-scheme: dark) {
    .back { fill: #0d1117 } text { fill: #e6edf3 } .faint, .axis text { fill: #9198a1 } .grid { stroke: #30363d }
    .one { stroke: #9198a1 } .met { fill: #3fb98a } .missed { fill: #e09b3d } .none { fill: #7fa3e0 }
    .target { stroke: #e6edf3 } .floor { fill: #0d1117; stroke: #e6edf3 }
  }
"""

ROW, JOB, TOP = 20, 30, 92
LABEL, PLOT = 300, 420
LOW, HIGH = 0.5, 64.0
# right ends of the columns of words
TARGET, OURS, PEER, FLOOR = (LABEL + PLOT + x for x in (90, 172, 292, 382))
WIDTH = FLOOR + 20


def x_of(ratio):
    clipped = min(max(ratio, LOW), HIGH)
    return LABEL + PLOT * math.log(clipped / LOW) / math.log(HIGH / LOW)


def text(x, y, words, css=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{css}">{escape(words)}</text>'


def times(ratio):
    return f"{ratio:.0f}x" if ratio >= 100 else f"{ratio:.1f}x" if ratio >= 0.95 else f"{ratio:.2f}x"


def diamond(x, y):
    return f'<path d="M{x:.1f} {y - 4:.1f}l4 4l-4 4l-4 -4z" class="floor"/>'


def colour(case):
    """By the target against peers, or against a clock where there is none against peers."""
    verdicts = {measure: met for measure, _, _, met in case.verdicts()}
    met = verdicts.get("warm", verdicts.get("ms"))
    return "none" if met is None else "met" if met else "missed"


def bar(case, y):
    ratio, target = case.ratio, case.target("warm")
    one, end = x_of(1.0), x_of(ratio)
    left, width = min(one, end), max(abs(end - one), 1.0)
    parts = [f'<rect x="{left:.1f}" y="{y + 3}" width="{width:.1f}" height="{ROW - 6}" rx="2" class="{colour(case)}"/>']
    marks = []
    if target is not None:
        x = x_of(target)
        marks.append(x)
        parts.append(f'<line x1="{x:.1f}" y1="{y + 1}" x2="{x:.1f}" y2="{y + ROW - 1}" class="target"/>')
    if case.floor:
        x = x_of(case.peer["warm_ms"] / case.floor)
        marks.append(x)
        parts.append(diamond(x, y + ROW / 2))
    # the number stands behind the bar, clear of the marks
    number = times(ratio) + (" (beyond the scale)" if not LOW <= ratio <= HIGH else "")
    words, width = max(end, one) + 6, 8 * len(number)
    for x in sorted(marks):
        if words - 6 < x < words + width:
            words = x + 8
    parts.append(text(words, y + 14, number))
    return parts


def columns(case, y):
    parts = [text(OURS, y + 14, f"{case.ours:.3g} ms", "end")]
    for measure, unit in (("warm", "x"), ("ms", " ms")):
        target = case.target(measure)
        if target is not None:
            parts.append(f'<circle cx="{TARGET - 52}" cy="{y + 10}" r="4" class="{colour(case)}"/>')
            parts.append(text(TARGET, y + 14, f"{target:g}{unit}", "end"))
    if case.peer:
        name = case.peer["name"].split()[0]
        parts.append(text(PEER, y + 14, f'{name} {case.peer["warm_ms"]:.3g} ms', "faint end"))
    else:
        parts.append(text(PEER, y + 14, "no peer", "faint end"))
    if case.floor_ratio:
        near = next((met for measure, _, _, met in case.verdicts() if measure == "floor"), None)
        css = "none" if near is None else "met" if near else "missed"
        parts.append(f'<circle cx="{FLOOR - 42}" cy="{y + 10}" r="4" class="{css}"/>')
        parts.append(text(FLOOR, y + 14, times(case.floor_ratio), "end"))
    return parts


def key():
    parts = []
    for x, css, words in ((12, "met", "target met"), (112, "missed", "target missed"), (232, "none", "no target")):
        parts.append(f'<rect x="{x}" y="53" width="12" height="12" rx="2" class="{css}"/>' + text(x + 18, 63, words))
    parts.append('<line x1="322" y1="52" x2="322" y2="66" class="target"/>' + text(330, 63, "target"))
    parts.append(diamond(386, 59) + text(396, 63, "the floor: what the loads alone take"))
    for x, words in ((TARGET, "target"), (OURS, "ours"), (PEER, "best peer"), (FLOOR, "of the floor")):
        parts.append(text(x, TOP - 10, words, "faint end"))
    return parts


def draw(cases, head_line):
    shown = [case for case in cases if case.volume != "CT"]
    body, y, job = [], TOP, None
    for case in shown:
        if case.job != job:
            job = case.job
            body.append(text(12, y + 20, job, "job"))
            y += JOB
        body.append(text(24, y + 14, case.name))
        if case.ratio is not None:
            body += bar(case, y)
        body += columns(case, y)
        y += ROW
    height = y + 16
    axis = []
    tick = LOW
    while tick <= HIGH:
        x, css = x_of(tick), "one" if tick == 1 else "grid"
        axis.append(f'<line x1="{x:.1f}" y1="{TOP - 4}" x2="{x:.1f}" y2="{height - 10}" class="{css}"/>')
        axis.append(text(x, TOP - 10, f"{tick:g}x", "middle"))
        tick *= 2
    return "\n".join(
        [
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
            f'viewBox="0 0 {WIDTH} {height}" role="img" aria-label="Times faster than the best peer">',
            f"<style>{STYLE}</style>",
            f'<rect width="{WIDTH}" height="{height}" class="back"/>',
            text(12, 26, "Times faster than the best peer, one thread, warm", "title"),
            text(12, 44, head_line, "faint"),
            *key(),
            f'<g class="axis">{"".join(axis)}</g>',
            *body,
            "</svg>\n",
        ]
    )
