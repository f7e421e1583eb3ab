#!/usr/bin/env python3
"""Makes tests/curves/data/nurbs.txt: points and derivatives of NURBS curves in exact arithmetic.

usage: nurbs.py > tests/curves/data/nurbs.txt

    curve DEGREE POLES
    knots ...           C99 hexadecimal doubles, as all numbers
    pole X Y Z W        weighted coordinates
    at T                parameters inside the domain, some of them knots
    row X Y Z SIZE      the point, the first and the second derivative by t, rounded once

SIZE is what roundings of the terms may move the row by, as a multiple of one rounding: the sums of
the terms' sizes in the homogeneous rows, through the quotient rule. The derivative of a basis
function is a difference of two lower ones and may vanish while they don't: its size is their sum.
Knots are uneven with every multiplicity up to the degree, weights run from 1e-3 to 1e3; every third
vector is unclamped.
"""
import random
from fractions import Fraction

random.seed(20261122)


def knot_vector(p, n, clamped):
    inner = []
    while len(inner) < n - p - 1:
        inner += [random.uniform(0, 1) ** 3] * random.randint(1, p)
    inner = sorted(inner[:n - p - 1])
    if clamped:
        return [0.0] * (p + 1) + inner + [1.0] * (p + 1)
    low, high = [0.0], [1.0]
    for _ in range(p):
        low.append(low[-1] - random.uniform(0, 0.3))
        high.append(high[-1] + random.uniform(0, 0.3))
    return low[::-1] + inner + high


def basis(knots, span, p, t):
    """The functions of degree p that do not vanish, by index."""
    values = {span: Fraction(1)}
    for q in range(1, p + 1):
        raised = {}
        for i in range(span - q, span + 1):
            total = Fraction(0)
            if values.get(i):
                total += (t - knots[i]) / (knots[i + q] - knots[i]) * values[i]
            if values.get(i + 1):
                total += (knots[i + q + 1] - t) / (knots[i + q + 1] - knots[i + 1]) * values[i + 1]
            raised[i] = total
        values = raised
    return values


def derivative(knots, span, p, k, t, sign=-1):
    """Of order k; with a sign of +1 the sizes of its terms."""
    if k == 0:
        return basis(knots, span, p, t)
    if k > p:
        return {i: Fraction(0) for i in range(span - p, span + 1)}
    lower = derivative(knots, span, p - 1, k - 1, t, sign)
    result = {}
    for i in range(span - p, span + 1):
        total = Fraction(0)
        if lower.get(i):
            total += lower[i] / (knots[i + p] - knots[i])
        if lower.get(i + 1):
            total += sign * lower[i + 1] / (knots[i + p + 1] - knots[i + 1])
        result[i] = p * total
    return result


def size(x):
    return max(abs(c) for c in x)


def rows(knots, poles, p, t):
    span = max(i for i in range(p, len(poles)) if knots[i] <= t and knots[i] < knots[i + 1])
    a, sizes, weights = [], [], []
    for k in range(3):
        n = derivative(knots, span, p, k, t)
        a.append([sum(n[i] * poles[i][c] for i in n) for c in range(4)])
        terms = derivative(knots, span, p, k, t, 1)
        sizes.append(max(sum(abs(terms[i] * poles[i][c]) for i in n) for c in range(3)))
        weights.append(sum(abs(terms[i] * poles[i][3]) for i in n))
    w = a[0][3]
    point = [x / w for x in a[0][:3]]
    first = [(a[1][c] - a[1][3] * point[c]) / w for c in range(3)]
    second = [(a[2][c] - 2 * a[1][3] * first[c] - a[2][3] * point[c]) / w for c in range(3)]
    s0 = (sizes[0] + weights[0] * size(point)) / w
    s1 = (sizes[1] + weights[1] * (size(point) + s0) + abs(w) * size(first)) / w
    s2 = (sizes[2] + 2 * weights[1] * (size(first) + s1) + weights[2] * (size(point) + s0)) / w
    return zip((point, first, second), (s0, s1, s2))


def text(values):
    return " ".join(float(x).hex() for x in values)


def main():
    for case in range(40):
        p = 1 + case % 20
        n = p + 1 + random.randint(0, 6)
        doubles = knot_vector(p, n, case % 3 != 0)
        poles = []
        for _ in range(n):
            weight = 10 ** random.uniform(-3, 3)
            poles.append([random.uniform(-1, 1) * weight for _ in range(3)] + [weight])
        print("curve", p, n)
        print("knots", text(doubles))
        for pole in poles:
            print("pole", text(pole))
        knots = [Fraction(k) for k in doubles]
        exact = [[Fraction(c) for c in pole] for pole in poles]
        for t in [random.uniform(doubles[p], doubles[n]), random.choice(doubles[p:n])]:
            print("at", float(t).hex())
            for row, scale in rows(knots, exact, p, Fraction(t)):
                print("row", text(row), float(scale).hex())


if __name__ == "__main__":
    main()
