#!/usr/bin/env python3
"""Makes tests/measure/data/fits.txt: orthogonal least-squares fits to 25 digits.

usage: fits.py > tests/measure/data/fits.txt     (needs python3-mpmath)

A problem is a line "line2d|line3d|plane|circle2d NAME N", N points as C99 hexadecimal doubles, and
a line "answer" with: the centroid and the unit direction or normal, or the centre and the radius;
then the root mean square of the distances. The points are badly placed on purpose: coordinates of
1e5 with deviations of 1e-4, long and narrow sets, short and shallow arcs, tiny and huge scales.
"""
import random
from mpmath import mp, mpf, cos, sin, sqrt, nstr, matrix, eigsy, lu_solve

mp.dps = 80
draw = random.Random(20260611)


def principal(points):
    n, size = len(points), len(points[0])
    mean = [sum(p[k] for p in points) / n for k in range(size)]
    m = matrix(size, size)
    for k in range(size):
        for l in range(size):
            m[k, l] = sum((p[k] - mean[k]) * (p[l] - mean[l]) for p in points) / n
    values, vectors = eigsy(m)  # increasing
    return mean, values, [[vectors[k, c] for k in range(size)] for c in range(size)]


def circle(points, guess):
    """Newton's method on the gradient of the sum of squared distances."""
    a, b, r = (mpf(x) for x in guess)
    for _ in range(400):
        gradient, hessian = matrix(3, 1), matrix(3, 3)
        for x, y in points:
            dx, dy = a - x, b - y
            s = sqrt(dx * dx + dy * dy)
            u, v, d = dx / s, dy / s, s - r
            j = (u, v, mpf(-1))
            second = ((v * v / s, -u * v / s, 0), (-u * v / s, u * u / s, 0), (0, 0, 0))
            for k in range(3):
                gradient[k] += j[k] * d
                for l in range(3):
                    hessian[k, l] += j[k] * j[l] + d * second[k][l]
        step = lu_solve(hessian, -gradient)
        a, b, r = a + step[0], b + step[1], r + step[2]
        if max(abs(x) for x in step) < mpf(10) ** -45 * r:
            rms = sqrt(sum((sqrt((x - a) ** 2 + (y - b) ** 2) - r) ** 2 for x, y in points)
                       / len(points))
            return a, b, r, rms
    raise SystemExit("no convergence")


def show(kind, name, points, answer):
    print(kind, name, len(points))
    for p in points:
        print(*(x.hex() for x in p))
    print("answer", *(nstr(x, 25) for x in answer))


def linear(kind, name, points):
    points = [tuple(float(x) for x in p) for p in points]
    mean, values, axes = principal([[mpf(x) for x in p] for p in points])
    if kind == "plane":
        show(kind, name, points, [*mean, *axes[0], sqrt(values[0])])
    else:
        show(kind, name, points, [*mean, *axes[-1], sqrt(sum(values[k] for k in range(len(values) - 1)))])


def noise(size):
    return draw.uniform(-size, size)


def main():
    print("# Made by scripts/references/fits.py, which says how to read it.")
    for name, place, length, width, deviation in (
            ("far", 1e5, 100, 100, 1e-4), ("narrow", 1e5, 500, 0.5, 1e-4), ("near", 0, 1, 1, 0.05),
            ("tiny", 1e-9, 1e-6, 1e-6, 1e-12), ("huge", 1e150, 1e148, 1e148, 1e142)):
        u, v, w = (0.6, 0.64, 0.48), (-0.8, 0.48, 0.36), (0.0, -0.6, 0.8)
        spots = [(noise(length), noise(width), noise(deviation)) for _ in range(40)]
        linear("plane", name, [[place + a * u[k] + b * v[k] + c * w[k] for k in range(3)]
                               for a, b, c in spots])
        linear("line3d", name, [[place + a * u[k] + noise(deviation) for k in range(3)]
                                for a, _, _ in spots])
        linear("line2d", name, [[place + a * 0.6 + c * 0.8, -place + a * 0.8 - c * 0.6]
                                for a, _, c in spots])
    for name, x, y, r, start, span, deviation in (
            ("far_full", 1e5, -1e5, 20, 0, 6.28, 1e-4), ("far_quarter", 1e5, 1e5, 50, 1, 1.57, 1e-4),
            ("far_short", -1e5, 1e5, 300, 2, 0.1, 1e-4), ("shallow", 10, 20, 1e4, 4, 0.01, 1e-5),
            ("shallower", 0, 0, 1e6, 1, 1e-3, 1e-7), ("noisy", 3, 4, 5, 0, 6.28, 1.0),
            ("noisy_arc", 3, 4, 5, 0.3, 1.2, 0.1), ("tiny", 1e-9, 0, 1e-6, 0, 3, 1e-12),
            ("huge", 1e150, 0, 1e150, 0, 2, 1e140)):
        points = []
        for k in range(40):
            t, s = start + span * k / 39, r + noise(deviation)
            points.append((float(x + s * cos(t)), float(y + s * sin(t))))
        show("circle2d", name, points,
             circle([(mpf(a), mpf(b)) for a, b in points], (x, y, r)))


main()
