#!/usr/bin/env python3
"""Draws what a terminal shows as a figure, its text as text: terminal_svg.py TITLE <TEXT >FIGURE.svg

The text may have the styles that mrvctl prints on a terminal (bold, dim, reverse, the eight colours),
and the sequences that place the cursor at the top, with which a frame begins: the last frame counts.
"""
import html
import re
import sys

CELL_WIDTH, LINE_HEIGHT, FONT_SIZE, MARGIN, BAR = 8, 18, 13.3, 16, 34
FOREGROUND, BACKGROUND, FRAME = "#d8dee9", "#20242c", "#3b4252"
COLOURS = ["#4c566a", "#e06c75", "#98c379", "#e5c07b", "#61afef", "#c678dd", "#56b6c2", "#d8dee9"]
STYLE = re.compile(r"\x1b\[([0-9;]*)m")
FRAME_START = re.compile(r"\x1b\[H")
OTHER_SEQUENCE = re.compile(r"\x1b\[\??[0-9;]*[A-Za-ln-z]|\r")


def apply(codes, style):
    """The style behind a sequence with these codes; styles are sets of them."""
    for code in [int(code or 0) for code in codes.split(";")]:
        if code == 0:
            style = frozenset()
        elif 30 <= code <= 37:
            style = frozenset(c for c in style if c < 30) | {code}
        else:
            style |= {code}
    return style


def runs(line):
    """The runs of one style of a line, which begins plain: where each begins, its text, its style."""
    column, style = 0, frozenset()
    for i, part in enumerate(STYLE.split(line)):
        if i % 2 == 1:
            style = apply(part, style)
        elif part:
            yield column, part, style
            column += len(part)


def draw_run(column, top, text, style):
    left, width = MARGIN + column * CELL_WIDTH, len(text) * CELL_WIDTH
    fill = next((COLOURS[code - 30] for code in style if code >= 30), FOREGROUND)
    if 7 in style:
        yield f'<rect x="{left}" y="{top - 4}" width="{width}" height="{LINE_HEIGHT}" fill="{fill}"/>'
        fill = BACKGROUND
    weight = ' font-weight="bold"' if 1 in style else ""
    opacity = ' opacity="0.5"' if 2 in style else ""
    if text.strip():
        yield (f'<text x="{left}" y="{top + 10}" textLength="{width}" fill="{fill}"{weight}{opacity}>'
               f"{html.escape(text)}</text>")


def draw_lines(lines):
    for row, line in enumerate(lines):
        for column, text, style in runs(line):
            yield from draw_run(column, BAR + MARGIN + row * LINE_HEIGHT, text, style)


def draw(title, text):
    frame = OTHER_SEQUENCE.sub("", FRAME_START.split(text)[-1])
    lines = [line.rstrip() for line in frame.rstrip().split("\n")]
    columns = max(len(STYLE.sub("", line)) for line in lines)
    width = 2 * MARGIN + columns * CELL_WIDTH
    height = BAR + 2 * MARGIN + len(lines) * LINE_HEIGHT - 6
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}"'
           f' viewBox="0 0 {width} {height}" role="img">')
    yield f"<title>{html.escape(title)}</title>"
    yield f'<rect width="{width}" height="{height}" rx="8" fill="{BACKGROUND}"/>'
    yield f'<path d="M0 {BAR}V8a8 8 0 0 1 8-8H{width - 8}a8 8 0 0 1 8 8V{BAR}z" fill="{FRAME}"/>'
    yield ('<g font-family="DejaVu Sans Mono, Menlo, Consolas, monospace"'
           f' font-size="{FONT_SIZE}" xml:space="preserve">')
    yield (f'<text x="{width / 2:g}" y="{BAR - 12}" fill="{FOREGROUND}" text-anchor="middle">'
           f"{html.escape(title)}</text>")
    yield from draw_lines(lines)
    yield "</g>\n</svg>"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: terminal_svg.py TITLE <TEXT >FIGURE.svg")
    shown = sys.stdin.read()
    if not shown.strip():
        sys.exit("terminal_svg.py: nothing to draw")
    print("\n".join(draw(sys.argv[1], shown)))
