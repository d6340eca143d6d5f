#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes sample.ngc, the milling program that ydpath runs on when it is given no input.

A name plate as a CAM system would cut it with a 3 mm end mill, in millimetres:
  * the outer profile: long straight edges, rounded corners, a wavy top edge, a V-notch with
    sharp corners, and a right edge that the CAM system split into many short collinear moves;
  * a heart-shaped pocket contour: two lobes meeting in a cusp and a sharp point at the bottom;
  * engraved single-stroke lettering "yd", one plunge per stroke;
  * a round hole cut with two G2 half circles (kept as programmed by ydpath).
Every curve is flattened into short G1 moves within a chord tolerance, and coordinates are
rounded to 3 decimals, as a post-processor does. Only the Python standard library is used.

Run:  python3 make_sample.py [output]   (default: sample.ngc beside this script)
"""

import math
import os
import sys

CHORD_TOL = 0.004  # mm: how far a G1 chord may cut a true curve
MAX_MOVE = 1.5  # mm: longest G1 move a curve is flattened into
SAFE_Z = 5.0
CUT_Z = -3.0
ENGRAVE_Z = -0.4


def flatten(f, t0, t1, tol=CHORD_TOL, max_len=MAX_MOVE):
    """Points of the curve f(t) on [t0, t1] (end points included) whose chords stay within tol
    of the curve and are at most max_len long."""
    out = [f(t0)]

    def rec(a, pa, b, pb, depth):
        m = 0.5 * (a + b)
        pm = f(m)
        # Distance of the curve's midpoint from the chord, and the chord's length.
        cx, cy = pb[0] - pa[0], pb[1] - pa[1]
        length = math.hypot(cx, cy)
        if length > 0.0:
            dev = abs((pm[0] - pa[0]) * cy - (pm[1] - pa[1]) * cx) / length
        else:
            dev = math.hypot(pm[0] - pa[0], pm[1] - pa[1])
        if depth < 20 and (dev > tol or length > max_len or depth < 2):
            rec(a, pa, m, pm, depth + 1)
            rec(m, pm, b, pb, depth + 1)
        else:
            out.append(pb)

    rec(t0, f(t0), t1, f(t1), 0)
    return out


def arc(cx, cy, r, a0, a1):
    """Flattened circular arc from angle a0 to a1 (radians, either direction)."""
    return flatten(lambda t: (cx + r * math.cos(t), cy + r * math.sin(t)), a0, a1)


def bezier(p0, p1, p2, p3):
    def f(t):
        s = 1.0 - t
        return (
            s * s * s * p0[0] + 3 * s * s * t * p1[0] + 3 * s * t * t * p2[0] + t * t * t * p3[0],
            s * s * s * p0[1] + 3 * s * s * t * p1[1] + 3 * s * t * t * p2[1] + t * t * t * p3[1],
        )

    return flatten(f, 0.0, 1.0)


def join(*pieces):
    """Chains point lists, dropping the repeated point where two pieces meet."""
    pts = []
    for piece in pieces:
        for p in piece:
            if not pts or math.hypot(p[0] - pts[-1][0], p[1] - pts[-1][1]) > 1e-9:
                pts.append(p)
    return pts


def outer_profile():
    r = 10.0
    top = 70.0
    wave = lambda t: (140.0 - t, top + 3.5 * math.sin(2.0 * math.pi * t / 35.0))
    right_edge = [(140.0, 10.0 + 1.6 * k) for k in range(0, 38)]  # many short collinear moves
    return join(
        [(10.0, 0.0), (130.0, 0.0)],  # bottom edge: one long move
        arc(130.0, r, r, -math.pi / 2, 0.0),  # rounded corner
        right_edge,
        [(140.0, top)],
        flatten(wave, 0.0, 140.0),  # wavy top edge, sharp corner where it starts
        [(0.0, 36.0)],  # left edge
        [(9.0, 30.0), (0.0, 24.0)],  # V-notch: three sharp corners
        [(0.0, r)],
        arc(r, r, r, math.pi, 1.5 * math.pi),  # rounded corner back to the start
    )


def heart():
    # Two lobes of radius 9 meeting in a cusp at (37, 48); the point at (37, 20).
    r = 9.0
    left = (37.0 - r * math.cos(math.radians(30)), 48.0 - r * 0.5)
    right = (37.0 + r * math.cos(math.radians(30)), 48.0 - r * 0.5)
    lobe_r = arc(right[0], right[1], r, math.radians(150), math.radians(-30))
    lobe_l = arc(left[0], left[1], r, math.radians(210), math.radians(30))
    side_r = bezier(lobe_r[-1], (52.0, 30.0), (42.0, 26.0), (37.0, 20.0))
    side_l = bezier((37.0, 20.0), (32.0, 26.0), (22.0, 30.0), lobe_l[0])
    return join(lobe_r, side_r, side_l, lobe_l)


def letters():
    """Single strokes of a script "yd", each a separate plunge."""
    strokes = []
    # y: a u-shaped stroke, then a descender with a hook.
    strokes.append(
        join(
            bezier((70.0, 40.0), (70.0, 34.0), (69.0, 27.0), (75.0, 27.0)),
            bezier((75.0, 27.0), (80.0, 27.0), (81.0, 33.0), (81.0, 40.0)),
        )
    )
    strokes.append(
        join(
            [(81.0, 40.0), (81.0, 30.0)],
            bezier((81.0, 30.0), (81.0, 18.0), (79.0, 12.0), (73.5, 12.0)),
            bezier((73.5, 12.0), (69.0, 12.0), (68.5, 16.0), (71.0, 17.5)),
        )
    )
    # d: the bowl, closed, then the ascender.
    strokes.append(
        join(
            arc(96.0, 33.0, 6.5, math.radians(10), math.radians(370)),
        )
    )
    strokes.append(
        join(
            [(102.4, 52.0), (102.4, 30.0)],
            bezier((102.4, 30.0), (102.4, 27.5), (103.5, 26.5), (106.0, 27.0)),
        )
    )
    return strokes


class Program:
    def __init__(self):
        self.lines = []
        self.n = 0

    def raw(self, text):
        self.lines.append(text)

    def block(self, text):
        # Line numbers on every block, as many post-processors write them.
        self.n += 10
        self.lines.append("N%d %s" % (self.n, text))

    @staticmethod
    def num(v):
        s = "%.3f" % v
        s = s.rstrip("0").rstrip(".") if "." in s else s
        return "0" if s in ("-0", "") else s

    def rapid_to(self, x, y):
        self.block("G0 X%s Y%s" % (self.num(x), self.num(y)))

    def cut(self, pts, z, feed):
        """Rapid over the start, plunge, follow pts with modal G1 moves, retract."""
        self.rapid_to(*pts[0])
        self.block("G1 Z%s F%d (plunge)" % (self.num(z), feed // 3))
        last = pts[0]
        first = True
        for p in pts[1:]:
            words = []
            if self.num(p[0]) != self.num(last[0]):
                words.append("X" + self.num(p[0]))
            if self.num(p[1]) != self.num(last[1]):
                words.append("Y" + self.num(p[1]))
            if not words:
                continue
            if first:
                words.append("F%d" % feed)
                first = False
            self.block(" ".join(words))
            last = p
        self.block("G0 Z%s" % self.num(SAFE_Z))


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "sample.ngc")
    prog = Program()
    prog.raw("%")
    prog.raw("(ydpath sample: name plate 140 x 74 mm, 3 mm end mill)")
    prog.raw("(generated by make_sample.py; curves flattened to G1 moves within 0.004 mm)")
    prog.block("G21 G90 G17 G94 (mm, absolute, XY plane)")
    prog.block("T1 M6 (3 mm flat end mill)")
    prog.block("S12000 M3")
    prog.block("G0 Z%s" % Program.num(SAFE_Z))

    prog.raw("; --- heart pocket contour")
    prog.cut(heart(), CUT_Z, 900)

    prog.raw("; --- lettering, engraved")
    for stroke in letters():
        prog.cut(stroke, ENGRAVE_Z, 600)

    prog.raw("; --- mounting hole, two half circles")
    prog.rapid_to(125.0, 40.0)
    prog.block("G1 Z%s F300" % Program.num(CUT_Z))
    prog.block("G2 X115 Y40 I-5 J0 F900")
    prog.block("G2 X125 Y40 I5 J0")
    prog.block("G0 Z%s" % Program.num(SAFE_Z))

    prog.raw("; --- outer profile")
    prog.cut(outer_profile(), CUT_Z, 1200)

    prog.block("G0 Z25")
    prog.block("M5")
    prog.block("M30")
    prog.raw("%")
    with open(out, "w", newline="\n") as f:
        f.write("\n".join(prog.lines) + "\n")


if __name__ == "__main__":
    main()
