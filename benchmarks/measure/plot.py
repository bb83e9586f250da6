"""The results as a plot in SVG: a line for each work, and on it what the others and the target cost relative to us."""
import math
from xml.sax.saxutils import escape

from .row import BARE, BEAST, CURL, GMIME, LIBRARIES, OURS, POCO

COLOURS = {OURS: "#1a1a1a", BARE: "#8c8c8c", BEAST: "#d1495b", CURL: "#00798c", POCO: "#edae49", GMIME: "#7b5ea7"}
LABELS, WIDTH, LINE, TOP = 570, 460, 18, 56
# What is further away stands at the border, with an arrow.
LEAST, MOST = 1 / 10, 100


def position(ratio):
    share = (math.log(min(max(ratio, LEAST), MOST)) - math.log(LEAST)) / (math.log(MOST) - math.log(LEAST))
    return LABELS + share * WIDTH


def text(x, y, words, anchor="start", **more):
    attributes = "".join(f' {name.replace("_", "-")}="{value}"' for name, value in more.items())
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{attributes}>{escape(words)}</text>'


def mark(name, ratio, y):
    x = position(ratio)
    element, shape = "circle", f'cx="{x:.1f}" cy="{y:.1f}" r="4"'
    if ratio > MOST or ratio < LEAST:
        tip = 5 if ratio > MOST else -5
        element, shape = "path", f'd="M{x - tip:.1f},{y - 4:.1f} L{x + tip:.1f},{y:.1f} L{x - tip:.1f},{y + 4:.1f} Z"'
    return f'<{element} {shape} fill="{COLOURS[name]}"><title>{escape(name)}: {ratio:.3g}</title></{element}>'


def target_mark(row, y):
    """A stroke at the smallest of the costs that the target allows."""
    limits = [row.target.limit] if row.target.limit is not None else []
    limits += [factor * row.values[other] for other, factor in row.target.times.items() if other in row.values]
    if not limits:
        return ""
    x = position(min(limits) / row.values[OURS])
    return f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{y - 6:.1f}" y2="{y + 6:.1f}" stroke="#2a7f3f" stroke-width="2.5"/>'


def axis(height):
    parts = []
    exponent = round(math.log10(LEAST))
    while 10 ** exponent <= MOST:
        x = position(10 ** exponent)
        parts.append(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{TOP - 14}" y2="{height}" stroke="#e3e3e3"/>')
        parts.append(text(x, TOP - 20, f"{10 ** exponent:g}", "middle"))
        exponent += 1
    return parts


def legend(names):
    parts, x = [], 12
    for name in names:
        parts.append(f'<circle cx="{x}" cy="14" r="4" fill="{COLOURS[name]}"/>')
        parts.append(text(x + 9, 18, name))
        x += 30 + 7 * len(name)
    parts.append(f'<line x1="{x}" x2="{x}" y1="8" y2="20" stroke="#2a7f3f" stroke-width="2.5"/>')
    parts.append(text(x + 9, 18, "target; the scale is the cost divided by ours, less is better"))
    return parts


def svg(sections):
    """Works that nobody else does are left out."""
    shown = [(section, [row for row in section.rows if set(row.values) & {BARE, *LIBRARIES} and row.values[OURS] > 0])
             for section in sections]
    shown = [(section, rows) for section, rows in shown if rows]
    names = [name for name in COLOURS if any(name in row.values for _, rows in shown for row in rows)]
    y, parts = TOP, []
    for section, rows in shown:
        y += LINE * 1.3
        parts.append(text(12, y, section.title, font_weight="bold"))
        for row in rows:
            y += LINE
            parts.append(text(24, y, row.work))
            parts.append(target_mark(row, y - 4))
            for name in reversed(names):
                if row.values.get(name, 0) > 0:
                    parts.append(mark(name, row.values[name] / row.values[OURS], y - 4))
    height = y + LINE
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABELS + WIDTH + 20}" height="{height:.0f}" '
                      'font-family="sans-serif" font-size="12">',
                      '<rect width="100%" height="100%" fill="white"/>', *legend(names), *axis(height),
                      *filter(None, parts), "</svg>\n"])
