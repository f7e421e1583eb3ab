#!/usr/bin/env python3
"""Makes tests/curves/data/feet.txt: the feet of points on rational Bezier curves, exactly.

usage: curve_feet.py > tests/curves/data/feet.txt     (needs python3-mpmath)

A line `curve D N` begins a curve of dimension D and degree N, with the (D + 1) (N + 1) doubles of
its weighted coordinates and weights as C99 hexadecimals. A line `point` has the D coordinates of a
query, the least distance to 30 digits, and for each foot its parameter to 30 digits and its
multiplicity as a zero of the derivative of the squared distance. All is computed in rational
arithmetic: the square-free factors of that polynomial are isolated by Descartes' rule, and each
zero is refined to 45 digits.

The curves: random ones of degree 1 to 7, weighted and not; a cusp; a loop; a symmetric arch; a
vertex whose centre of curvature is a query; nearly straight, nearly circular, tiny and far away
ones. The queries: random ones; the poles; points on the curve, its crossing and its ends; above its
ends; centres of curvature; equally near to two places.
"""
import random
from fractions import Fraction as F
from math import comb
from mpmath import mp, mpf, nstr, sqrt

mp.dps = 60


def power(row):
    n = len(row) - 1
    return [comb(n, j) * sum((-1) ** (j - i) * comb(j, i) * row[i] for i in range(j + 1)) for j in range(n + 1)]


def mul(a, b):
    out = [F(0)] * (len(a) + len(b) - 1)
    for i, x in enumerate(a):
        for j, y in enumerate(b):
            out[i + j] += x * y
    return out


def add(a, b, s=1):
    out = [F(0)] * max(len(a), len(b))
    for i, x in enumerate(a):
        out[i] += x
    for i, x in enumerate(b):
        out[i] += s * x
    return out


def strip(a):
    while a and a[-1] == 0:
        a = a[:-1]
    return a


def diff(a):
    return [i * x for i, x in enumerate(a)][1:]


def divide(a, b):
    a, q = list(a), [F(0)] * max(1, len(a) - len(b) + 1)
    for i in range(len(a) - len(b), -1, -1):
        q[i] = a[i + len(b) - 1] / b[-1]
        for j, y in enumerate(b):
            a[i + j] -= q[i] * y
    return strip(q), strip(a[:len(b) - 1])


def gcd(a, b):
    while b:
        a, b = b, divide(a, b)[1]
        if b:
            b = [x / b[-1] for x in b]
    return [x / a[-1] for x in a]


def factors(p):
    """Yun's square-free decomposition: pairs of factor and multiplicity."""
    d = strip(diff(p))
    a = gcd(p, d)
    b, c = divide(p, a)[0], divide(d, a)[0]
    k = 1
    while len(b) > 1:
        c = strip(add(c, diff(b), -1))
        a = gcd(b, c) if c else [x / b[-1] for x in b]
        if len(a) > 1:
            yield a, k
        b, c = divide(b, a)[0], divide(c, a)[0] if c else []
        k += 1


def value(p, x):
    result = F(0)
    for c in reversed(p):
        result = result * x + c
    return result


def zeros(p):
    """The zeros of a square-free polynomial in [0, 1] as rationals within 1e-45."""
    found = [F(x) for x in (0, 1) if value(p, F(x)) == 0]
    n = len(p) - 1
    bern = [sum(F(comb(i, j), comb(n, j)) * p[j] for j in range(i + 1)) for i in range(n + 1)]
    work = [(F(0), F(1), bern)]
    while work:
        lo, hi, b = work.pop()
        signs = [x > 0 for x in b if x != 0]
        changes = sum(x != y for x, y in zip(signs, signs[1:]))
        if changes == 0:
            continue
        if changes == 1 and b[0] != 0 and b[-1] != 0:
            rising = b[0] < 0
            while hi - lo > F(1, 10**45):
                width, m = hi - lo, (lo + hi) / 2
                # A Newton step, rounded, if it lands inside; the sign decides what is kept.
                slope = value(diff(p), m)
                if slope:
                    x = m - value(p, m) / slope
                    x = F(round(x * 2**170), 2**170)
                    for c in (x - width**2 / 4, x + width**2 / 4):
                        c = F(round(c * 2**170), 2**170)
                        if lo < c < hi:
                            lo, hi = (c, hi) if (value(p, c) < 0) == rising else (lo, c)
                m = F(round((lo + hi) / 2 * 2**170), 2**170)
                if lo < m < hi:
                    lo, hi = (m, hi) if (value(p, m) < 0) == rising else (lo, m)
            found.append(lo)
            continue
        left, right, row = [], [], list(b)
        while row:
            left.append(row[0])
            right.append(row[-1])
            row = [(x + y) / 2 for x, y in zip(row, row[1:])]
        m = (lo + hi) / 2
        if left[-1] == 0:
            found.append(m)
        work += [(lo, m, left), (m, hi, right[::-1])]
    return found


class Curve:
    def __init__(self, dim, poles):
        self.dim, self.poles = dim, poles
        rows = [power([F(p[k]) for p in poles]) for k in range(dim + 1)]
        self.x, self.w = rows[:dim], rows[dim]
        self.h = [add(mul(diff(x), self.w), mul(x, diff(self.w)), -1) for x in self.x]

    def at(self, t):
        w = value(self.w, F(t))
        return [value(x, F(t)) / w for x in self.x]

    def squared(self, p, t):
        return sum((a - F(b)) ** 2 for a, b in zip(self.at(t), p))

    def write(self):
        numbers = " ".join(float(x).hex() for p in self.poles for x in p)
        print("curve", self.dim, len(self.poles) - 1, numbers)

    def query(self, p):
        p = [float(x) for x in p]
        g = [F(0)]
        for k in range(self.dim):
            g = add(g, mul(add(self.x[k], [F(p[k]) * w for w in self.w], -1), self.h[k]))
        g = strip(g)
        if not g:
            return
        feet = sorted({(t, m) for factor, m in factors(g) for t in zeros(factor)})
        least = min(self.squared(p, t) for t in [F(0), F(1)] + [t for t, _ in feet])
        digits = lambda x: nstr(mpf(x.numerator) / x.denominator, 30)
        root = nstr(sqrt(mpf(least.numerator) / least.denominator), 30)
        print("point", *(x.hex() for x in p), root, *(f"{digits(t)} {m}" for t, m in feet))


def weighted(points, weights):
    return [[float(x) * w for x in p] + [w] for p, w in zip(points, weights)]


def random_curve(rnd, dim, degree, rational, size=1.0, centre=0.0):
    points = [[centre + size * rnd.uniform(-1, 1) for _ in range(dim)] for _ in range(degree + 1)]
    weights = [10.0 ** rnd.uniform(-1, 1) if rational else 1.0 for _ in points]
    return Curve(dim, weighted(points, weights))


def random_queries(rnd, curve, count):
    points = [[a / p[-1] for a in p[:-1]] for p in curve.poles]
    low = [min(p[k] for p in points) for k in range(curve.dim)]
    high = [max(p[k] for p in points) for k in range(curve.dim)]
    size = max(h - l for l, h in zip(low, high)) or 1.0
    for _ in range(count):
        yield [rnd.uniform(l - size, h + size) for l, h in zip(low, high)]
    yield points[len(points) // 2]
    for t in (0.0, 1.0, 0.5, rnd.random()):
        yield curve.at(t)
    for end, inner in ((0, 1), (-1, -2)): # above an end
        tangent = [a - b for a, b in zip(points[inner], points[end])]
        offset = [-tangent[1], tangent[0]] + [0.0] * (curve.dim - 2)
        yield [a + 0.3 * b for a, b in zip(points[end], offset)]


def nasty():
    one = lambda points: Curve(len(points[0]), weighted(points, [1.0] * len(points)))
    cusp = one([(0, 0), (1, 1), (0, 1), (1, 0)])
    yield cusp, [(0.5, 0.75), (0.5, 2), (0.5, 0), (0.25, 1), (0.5, 0.7499999)]
    loop = one([(0, 0), (4, 4), (-3, 4), (1, 0)])
    yield loop, [(0.5, 2.0), (0.5, 2.5), (0.5, 1.0), (0.5, 1.1842105263157894)]
    parabola = one([(-1, 1), (0, -1), (1, 1)]) # y = x^2, centre of curvature (0, 1/2)
    yield parabola, [(0, 0.5), (0, 0.50000001), (0, 0.4999999), (0, 0.75), (0, 10), (0, 1.5), (0, -1),
                     (-0.5, 1.25), (0.03125, 0.546875), (0, 0), (0.5, 0.25)]
    # The evolute of y = x^2: (-4 x^3, 3 x^2 + 1/2), exactly representable for these x.
    yield parabola, [(-4 * x**3, 3 * x * x + 0.5) for x in (0.25, 0.5, -0.125, 0.0625, 0.75)]
    inflection = one([(-1, -1), (-1/3, 1), (1/3, -1), (1, 1)])
    yield inflection, [(0, 0), (0, 1), (0.5, -0.5), (1, -1), (2, -2)]
    kappa = 0.5522847498
    circle_like = one([(1, 0), (1, kappa), (kappa, 1), (0, 1)])
    yield circle_like, [(0, 0), (1e-9, 1e-9), (1e-4, 0), (0.5, 0.5), (0.0002, 0.0002)]
    straight = one([(0, 0), (1, 1e-12), (2, -1e-12), (3, 0)])
    yield straight, [(1.5, 1), (1.5, 0), (0, 1), (-1, 0), (3, 5), (1.5, 1e9)]
    uneven = one([(0, 0), (0, 0), (0, 0), (1, 2), (3, 3)]) # no derivative at the start
    yield uneven, [(0, 0), (-1, 1), (1, 1), (-1, -1), (0.1, 0)]
    helix = one([(0, 0, 0), (1, 2, 1), (2, -2, 2), (3, 0, 3)])
    yield helix, [(1.5, 0, 1.5), (0, 0, 0), (3, 0, 3), (1.5, 4, 1.5), (-1, 0, 1)]


def main():
    rnd = random.Random(16)
    print("# Made by scripts/references/curve_feet.py, which describes it.")
    curves = []
    for dim in (2, 3):
        for degree, rational in ((1, 0), (2, 0), (2, 1), (3, 0), (3, 0), (3, 1), (3, 1), (4, 1), (5, 0), (7, 0)):
            curves.append(random_curve(rnd, dim, degree, rational))
    curves.append(random_curve(rnd, 2, 3, 1, size=1e-6))
    curves.append(random_curve(rnd, 3, 3, 1, size=1e6))
    curves.append(random_curve(rnd, 3, 3, 0, size=10.0, centre=1e5))
    for curve in curves:
        curve.write()
        for p in random_queries(rnd, curve, 4):
            curve.query(p)
    for curve, queries in nasty():
        curve.write()
        for p in queries:
            curve.query(p)


main()
