"""Draws how many times faster than the best peer each case is, as an SVG that reads in light and dark."""

import math
from xml.sax.saxutils import escape

STYLE = """
  .back { fill: #ffffff } text { fill: #1f2328; font: 12px system-ui, sans-serif }
  .job { font-weight: 600 } .faint, .axis text { fill: #59636e } .grid { stroke: #d1d9e0 }
  .one { stroke: #59636e } .met { fill: #1a7f5a } .missed { fill: #bc6c00 } .none { fill: #5b7fbf }
  .target { stroke: #1f2328; stroke-width: 2 } .end { text-anchor: end } .middle { text-anchor: middle }
  .title { font-size: 16px; font-weight: 600 }
  @media (prefers-color-scheme: dark) {
    .back { fill: #0d1117 } text { fill: #e6edf3 } .faint, .axis text { fill: #9198a1 } .grid { stroke: #30363d }
    .one { stroke: #9198a1 } .met { fill: #3fb98a } .missed { fill: #e09b3d } .none { fill: #7fa3e0 }
    .target { stroke: #e6edf3 }
  }
"""

ROW, JOB, TOP = 20, 30, 92
LABEL, PLOT, RIGHT = 300, 420, 250
LOW, HIGH = 0.5, 64.0
WIDTH = LABEL + PLOT + RIGHT


def x_of(ratio):
    clipped = min(max(ratio, LOW), HIGH)
    return LABEL + PLOT * math.log(clipped / LOW) / math.log(HIGH / LOW)


def text(x, y, words, css=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{css}">{escape(words)}</text>'


def bar(case, y):
    ratio, target = case.ratio, case.target("warm")
    css = "none" if target is None else "met" if ratio >= target else "missed"
    one, end = x_of(1.0), x_of(ratio)
    left, width = min(one, end), max(abs(end - one), 1.0)
    parts = [f'<rect x="{left:.1f}" y="{y + 3}" width="{width:.1f}" height="{ROW - 6}" rx="2" class="{css}"/>']
    if target is not None:
        x = x_of(target)
        parts.append(f'<line x1="{x:.1f}" y1="{y + 1}" x2="{x:.1f}" y2="{y + ROW - 1}" class="target"/>')
    words = max(end, one) + 6
    if target is not None and words - 6 < x_of(target) < words + 36:
        words = x_of(target) + 6
    parts.append(text(words, y + 14, f"{ratio:.1f}x"))
    peer = case.peer["name"].split()[0]
    parts.append(text(WIDTH - 12, y + 14, f'{case.ours:.3g} ms, {peer} {case.peer["warm_ms"]:.3g} ms', "faint end"))
    return parts


def draw(cases, head_line):
    shown = [case for case in cases if case.ratio is not None and case.volume != "CT"]
    body, y, job = [], TOP, None
    for case in shown:
        if case.job != job:
            job = case.job
            body.append(text(12, y + 20, job, "job"))
            y += JOB
        body.append(text(24, y + 14, case.name))
        body += bar(case, y)
        y += ROW
    height = y + 16
    axis = []
    tick = LOW
    while tick <= HIGH:
        x, css = x_of(tick), "one" if tick == 1 else "grid"
        axis.append(f'<line x1="{x:.1f}" y1="{TOP - 4}" x2="{x:.1f}" y2="{height - 10}" class="{css}"/>')
        axis.append(text(x, TOP - 10, f"{tick:g}x", "middle"))
        tick *= 2
    key = []
    for x, css, words in ((12, "met", "target met"), (112, "missed", "target missed"), (232, "none", "no target")):
        key.append(f'<rect x="{x}" y="53" width="12" height="12" rx="2" class="{css}"/>' + text(x + 18, 63, words))
    key.append('<line x1="322" y1="52" x2="322" y2="66" class="target"/>' + text(330, 63, "target"))
    return "\n".join(
        [
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height}" '
            f'viewBox="0 0 {WIDTH} {height}" role="img" aria-label="Times faster than the best peer">',
            f"<style>{STYLE}</style>",
            f'<rect width="{WIDTH}" height="{height}" class="back"/>',
            text(12, 26, "Times faster than the best peer, one thread, warm", "title"),
            text(12, 44, head_line, "faint"),
            *key,
            f'<g class="axis">{"".join(axis)}</g>',
            *body,
            "</svg>\n",
        ]
    )
