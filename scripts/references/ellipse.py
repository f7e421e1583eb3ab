#!/usr/bin/env python3
"""Makes tests/wireframe/data/ellipse.txt: nearest points of ellipses to 25 digits.

usage: ellipse.py > tests/wireframe/data/ellipse.txt     (needs python3-mpmath)

Each line: half axes a >= b > 0 and a query x, y >= 0 as C99 hexadecimal doubles, then the nearest
point's coordinates in the same quadrant. The queries of a shape: random ones inside, on and outside
the ellipse; points on and close to both axes; the centre's neighbourhood; the foci; points of the
evolute; points around its cusp ((a^2 - b^2) / a, 0), down to one unit in the last place; points
very near and very far.
"""
import math
import random
from mpmath import mp, mpf, sqrt, nstr

mp.dps = 80


def nearest(a, b, x, y):
    """Bisection on the multiplier, to 60 digits relative to its distance from the pole."""
    a, b, x, y = mpf(a), mpf(b), mpf(x), mpf(y)
    A, B, C = a * x, b * y, a * a - b * b
    if B == 0:
        if A >= C:
            return a, mpf(0)
        return a * A / C, b * sqrt(1 - (A / C) ** 2)
    f = lambda w: (A / (w + C)) ** 2 + (B / w) ** 2 - 1
    low, high = max(B, A - C), sqrt(A * A + B * B)
    while high - low > mpf(10) ** -60 * low:
        middle = sqrt(low * high) if high > 2 * low else (low + high) / 2
        if f(middle) > 0:
            low = middle
        else:
            high = middle
    w = (low + high) / 2
    return a * A / (w + C), b * B / w


def shapes():
    for eccentricity in (0.0, 1e-8, 1e-3, 0.1, 0.5, 0.8, 0.95, 0.999, 0.99999, 0.999999):
        for size in (1.0, 123.456):
            yield size, float(mpf(size) * sqrt(1 - mpf(eccentricity) ** 2))
    yield 1e8, 1e-8
    yield 1e150, 3e149
    yield 1e-150, 2e-151


def queries(a, b, rnd):
    cusp = (a - b) * ((a + b) / a)
    focus = math.sqrt(a - b) * math.sqrt(a + b)
    for _ in range(12):
        t, r = rnd.uniform(0, math.pi / 2), rnd.choice((0.01, 0.5, 0.999999, 1.0, 1.000001, 2.0))
        yield a * r * math.cos(t), b * r * math.sin(t)
    for t in (0.1, 0.7, 1.4):
        yield cusp * math.cos(t) ** 3, (a - b) * ((a + b) / b) * math.sin(t) ** 3
    yield focus, 0.0
    yield focus, b * 1e-9
    for y in (b * 1e-18, b * 1e-12, b * 1e-6, b * 1e-3, b * 1e-40):
        for x in (cusp, math.nextafter(cusp, 0.0), math.nextafter(cusp, math.inf), cusp * (1 - 1e-9),
                  cusp * (1 + 1e-9), cusp * 0.5, a):
            yield x, y
    for x in (0.0, cusp * 0.3, cusp, a, 2 * a):
        yield x, 0.0
    for y in (b * 1e-10, b, 3 * b):
        yield 0.0, y
        yield a * 1e-12, y
    yield a * 1e6, b * 1e-3
    yield a * 3.0, a * 1e7


def main():
    rnd = random.Random(5)
    print("# Made by scripts/references/ellipse.py, which says how to read it.")
    for a, b in shapes():
        for x, y in queries(a, b, rnd):
            if x == 0 and y == 0 and a == b or 0 < x < 1e-300:
                continue
            px, py = nearest(a, b, x, y)
            print(a.hex(), b.hex(), x.hex(), y.hex(), nstr(px, 25), nstr(py, 25))


main()
