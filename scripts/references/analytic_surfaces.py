#!/usr/bin/env python3
"""Makes tests/surfaces/data/analytic.txt: points and derivatives of analytic surfaces to 40 digits.

usage: analytic_surfaces.py > tests/surfaces/data/analytic.txt     (needs python3-mpmath)

A line is a kind (plane, cylinder, cone, sphere, torus), the origin and two directions of a frame,
the two sizes of the surface (radius, half angle, radii), u, v, and then P, dP/du, d2P/du2, dP/dv,
d2P/dudv, d2P/dv2, of 3 coordinates each. The derivatives are limits of differences of the position,
taken with 40 digits, so that no formula for a derivative is used.
"""
import random
from mpmath import mp, mpf, cos, sin, tan, diff, nstr, sqrt

mp.dps = 40
random.seed(18)


def position(kind, a, b, u, v):
    return {'plane': lambda: (u, v, mpf(0)),
            'cylinder': lambda: (a * cos(v), a * sin(v), u),
            'cone': lambda: (u * tan(a) * cos(v), u * tan(a) * sin(v), u),
            'sphere': lambda: (a * cos(v) * cos(u), a * cos(v) * sin(u), a * sin(v)),
            'torus': lambda: ((a + b * cos(v)) * cos(u), (a + b * cos(v)) * sin(u), b * sin(v))}[kind]()


def unit(p):
    length = sqrt(sum(x * x for x in p))
    return [x / length for x in p]


def cross(p, q):
    return [p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]]


for kind in ('plane', 'cylinder', 'cone', 'sphere', 'torus'):
    for _ in range(8):
        drawn = [random.uniform(-5, 5) for _ in range(9)]
        a = random.uniform(0.1, 1.3) if kind == 'cone' else random.uniform(3, 9)
        b = random.uniform(0.5, 2.5)
        u, v = random.uniform(-3, 3), random.uniform(-3, 3)
        o, x, y = ([mpf(c) for c in drawn[i:i + 3]] for i in (0, 3, 6))
        x = unit(x)
        z = unit(cross(x, y))
        y = cross(z, x)

        def coordinate(axis):
            def place(s, t):
                p = position(kind, mpf(a), mpf(b), s, t)
                return o[axis] + p[0] * x[axis] + p[1] * y[axis] + p[2] * z[axis]
            return place

        at = (mpf(u), mpf(v))
        values = [diff(coordinate(axis), at, n) if sum(n) else coordinate(axis)(*at)
                  for n in ((0, 0), (1, 0), (2, 0), (0, 1), (1, 1), (0, 2)) for axis in range(3)]
        print(kind, *(repr(c) for c in drawn + [a, b, u, v]), *(nstr(c, 20) for c in values))
