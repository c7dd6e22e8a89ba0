#!/usr/bin/env python3
"""Draws docs/journeys.svg for the README: how a message is written, and how it is shown.

Usage: docs/journeys.py [--check]   --check only tells whether the picture is that of this file
"""
import sys
from html import escape
from pathlib import Path

PICTURE = Path(__file__).with_suffix(".svg")
WIDTH, HEIGHT = 440, 586  # narrow enough for a phone

STYLE = """
  text { font: 13px -apple-system, 'Segoe UI', Roboto, 'DejaVu Sans', sans-serif; fill: #1f2328 }
  .small { font-size: 11px; fill: #59636e } .head { font-weight: 600 } .code { font-family: 'DejaVu Sans Mono', Menlo, Consolas, monospace }
  .panel { fill: #ffffff } rect { stroke-width: 1.2 }
  .step { fill: #f0f3f6; stroke: #8c959f } .file { fill: #fff4d6; stroke: #bf8700 } .end { fill: #dcf3e2; stroke: #2da44e }
  path { stroke: #57606a; stroke-width: 1.5; fill: none } .tip { fill: #57606a; stroke: none }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3 } .small { fill: #a0aab4 } .panel { fill: #0d1117 }
    .step { fill: #1c2128; stroke: #768390 } .file { fill: #3a2d0a; stroke: #d29922 } .end { fill: #12301c; stroke: #3fb950 }
    path { stroke: #9da7b1 } .tip { fill: #9da7b1 }
  }"""

# Kind, left, top, width, height; then the lines of text, with the class of each.
BOXES = [
    ("end", 20, 36, 400, 44, ("head code", "QEN_MESSAGE(&log, SEV_INFO, …, 100, 1, …)"),
     ("small", "a service: severity, identity 100-1, English text, arguments")),
    ("step", 120, 106, 200, 44, ("head", "message site"), ("small", "packs the message as bytes")),
    ("step", 120, 176, 200, 44, ("head", "logger thread"), ("small", "optional: nobody waits for a disk")),
    ("file", 20, 258, 190, 62, ("head code", "engine_A.log"), ("small", "the line, in English,"), ("small", "for any pager")),
    ("file", 230, 258, 190, 62, ("head code", "engine_A.ldf"), ("small", "the record: identity,"),
     ("small", "arguments, some 67 bytes")),
    ("step", 230, 368, 190, 44, ("head", "reader"), ("small", "filters, no text yet")),
    ("file", 20, 438, 190, 44, ("head", "message catalog"), ("small", "of the reader's language")),
    ("step", 230, 438, 190, 44, ("head", "display"), ("small", "identity + arguments = text")),
    ("end", 20, 508, 400, 44, ("head code", "Ressource web3 ist auf System node1 jetzt ONLINE"),
     ("small", "taqmsg, taqldf: a line in any language, or JSON and CSV")),
]
ARROWS = ["220,80 220,104", "220,150 220,174", "170,220 170,238 115,238 115,256", "270,220 270,238 325,238 325,256",
          "325,320 325,366", "325,412 325,436", "210,460 228,460", "325,482 325,506"]
LABELS = [("head", 20, 25, "Writing a message"), ("head", 20, 356, "Showing it"),
          ("small", 20, 574, "What led up to a crash is captured at the message site, and dumped.")]


def box(kind, left, top, width, height, *lines):
    drawn = [f'<rect class="{kind}" x="{left}" y="{top}" width="{width}" height="{height}" rx="6"/>']
    first = top + height / 2 + 5 - 8 * (len(lines) - 1)
    for i, (style, text) in enumerate(lines):
        drawn.append(f'<text class="{style}" x="{left + width / 2:g}" y="{first + 17 * i:g}" text-anchor="middle">{escape(text)}</text>')
    return drawn


def arrow(points):
    ends = [tuple(map(int, point.split(","))) for point in points.split()]
    (x, y), (before, _) = ends[-1], ends[-2]
    tip = f"{x - 7},{y - 4} {x - 7},{y + 4} {x},{y}" if before != x else f"{x - 4},{y - 7} {x + 4},{y - 7} {x},{y}"
    return [f'<path d="M{" L".join(points.split())}"/>', f'<polygon class="tip" points="{tip}"/>']


def picture():
    drawn = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}" role="img">',
             "<title>How a message is written, and how it is shown</title>", f"<style>{STYLE}\n</style>",
             f'<rect class="panel" width="{WIDTH}" height="{HEIGHT}" rx="8"/>']
    for points in ARROWS:
        drawn += arrow(points)
    for kind, *rest in BOXES:
        drawn += box(kind, *rest)
    drawn += [f'<text class="{style}" x="{x}" y="{y}">{escape(text)}</text>' for style, x, y, text in LABELS]
    return "\n".join([*drawn, "</svg>"]) + "\n"


if "--check" in sys.argv:
    sys.exit(0 if PICTURE.read_text(encoding="utf-8") == picture() else f"{PICTURE.name} is old: run docs/journeys.py")
PICTURE.write_text(picture(), encoding="utf-8")
