#!/usr/bin/env python3
"""Makes tests/surfaces/data/nurbs.txt: points and derivatives of NURBS surfaces in exact arithmetic.

usage: nurbs_surfaces.py > tests/surfaces/data/nurbs.txt

    surface DEGREE_U DEGREE_V POLES_U POLES_V
    knots ...           those of U, then those of V, as C99 hexadecimal doubles like all numbers
    pole X Y Z W        weighted coordinates, rows along U one after the other
    at U V              parameters inside the domains, some of them knots
    row X Y Z SIZE      P, Pu, Pv, Puu, Puv, Pvv, rounded once

SIZE is as in nurbs.py. Knots are uneven with every multiplicity up to the degree, weights run from
1e-3 to 1e3; every third pair of vectors is unclamped, every fourth surface a single Bezier piece.
"""
import random
from fractions import Fraction

from nurbs import derivative, knot_vector, size, text

random.seed(20261123)
ORDERS = [(0, 0), (1, 0), (0, 1), (2, 0), (1, 1), (0, 2)]  # by u, by v


def direction(p, doubles, t):
    """The basis functions' derivatives at t, by index."""
    knots = [Fraction(k) for k in doubles]
    n = len(knots) - p - 1
    span = max(i for i in range(p, n) if knots[i] <= t and knots[i] < knots[i + 1])
    return [derivative(knots, span, p, k, t) for k in range(3)]


def rows(poles, in_u, in_v):
    a, sizes, weights, jet, scale = {}, {}, {}, {}, {}
    for k, m in ORDERS:
        terms = [(in_u[k][i] * in_v[m][j], poles[j][i]) for i in in_u[k] for j in in_v[m]]
        a[k, m] = [sum(b * pole[c] for b, pole in terms) for c in range(4)]
        sizes[k, m] = max(sum(abs(b * pole[c]) for b, pole in terms) for c in range(3))
        weights[k, m] = sum(abs(b * pole[3]) for b, pole in terms)
    w = a[0, 0][3]
    for k, m in ORDERS:
        # Leibniz: the derivatives of weight times point, less those of lower orders.
        lower = {(0, 0): [], (1, 0): [((1, 0), (0, 0), 1)], (0, 1): [((0, 1), (0, 0), 1)],
                 (2, 0): [((1, 0), (1, 0), 2), ((2, 0), (0, 0), 1)],
                 (0, 2): [((0, 1), (0, 1), 2), ((0, 2), (0, 0), 1)],
                 (1, 1): [((1, 0), (0, 1), 1), ((0, 1), (1, 0), 1), ((1, 1), (0, 0), 1)]}[k, m]
        jet[k, m] = [(a[k, m][c] - sum(f * a[x][3] * jet[y][c] for x, y, f in lower)) / w
                     for c in range(3)]
        scale[k, m] = (sizes[k, m] + abs(w) * size(jet[k, m]) +
                       sum(f * weights[x] * (size(jet[y]) + scale[y]) for x, y, f in lower)) / w
    return [(jet[order], scale[order]) for order in ORDERS]


def main():
    for case in range(36):
        p, q = 1 + case % 9, 1 + (case * 5 + case // 9) % 9
        piece, clamped = case % 4 == 3, case % 3 != 0 or case % 4 == 3
        n, m = (d + 1 + (0 if piece else random.randint(0, 4)) for d in (p, q))
        knots_u, knots_v = knot_vector(p, n, clamped), knot_vector(q, m, clamped)
        poles = []
        for _ in range(m * n):
            weight = 10 ** random.uniform(-3, 3)
            poles.append([random.uniform(-1, 1) * weight for _ in range(3)] + [weight])
        print("surface", p, q, n, m)
        print("knots", text(knots_u + knots_v))
        for pole in poles:
            print("pole", text(pole))
        exact = [[Fraction(c) for c in pole] for pole in poles]
        net = [exact[j * n:(j + 1) * n] for j in range(m)]
        for inside in (True, False):
            u = random.uniform(knots_u[p], knots_u[n]) if inside else random.choice(knots_u[p:n])
            v = random.uniform(knots_v[q], knots_v[m]) if inside else random.choice(knots_v[q:m])
            print("at", float(u).hex(), float(v).hex())
            for row, scale in rows(net, direction(p, knots_u, Fraction(u)),
                                   direction(q, knots_v, Fraction(v))):
                print("row", text(row), float(scale).hex())


if __name__ == "__main__":
    main()
