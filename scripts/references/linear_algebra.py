#!/usr/bin/env python3
"""Makes tests/numerics/data/linear_algebra.txt: answers of linear problems to 25 digits.

usage: linear_algebra.py > tests/numerics/data/linear_algebra.txt     (needs python3-mpmath)

The matrices are not stored: the tests make them again by the same rules, and the doubles come out
the same to the last bit. `random` draws uniform numbers in [-1, 1) by splitmix64 from SEED, row
by row; `graded` divides row i of such a matrix by 8^i; `hilbert` has 1.0 / (i + j + 1) rounded to
double; `gram` is A A^T + I of whole numbers from -9 to 9; `ones` is a matrix of ones plus twice the
identity (eigenvalues 2, n - 1 times, and n + 2). For the symmetric problems `random` and `graded`
are mirrored from their lower triangle, and `graded` divides row i and column i by 8^i. The right
hand side is drawn after the matrix from the same generator. `sum` has whole numbers from -9 to 9,
and the sum of the other rows for its last one.

Lines, by kind of problem:
  solve KIND N SEED COND DET then N numbers of the solution and N of the inverse's first row
  cholesky KIND N SEED COND then N numbers of the factor's last row
  eigen KIND N SEED NORM then N eigenvalues, ascending
  null KIND N SEED COND then the null vector, its largest entry 1; COND leaves the zero out
COND is in the infinity norm, NORM the largest absolute eigenvalue.
"""
from mpmath import mp, mpf, matrix

mp.dps = 60


class Random:
    def __init__(self, seed):
        self.state = seed

    def next(self):
        mask = (1 << 64) - 1
        self.state = (self.state + 0x9E3779B97F4A7C15) & mask
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & mask
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & mask
        return z ^ (z >> 31)

    def uniform(self):
        return -1.0 + 2.0 * ((self.next() >> 11) * 2.0 ** -53)

    def below(self, n):
        return self.next() % n


def make(kind, n, random):
    if kind == "hilbert":
        return [[1.0 / (i + j + 1) for j in range(n)] for i in range(n)]
    if kind == "ones":
        return [[1.0 + (2.0 if i == j else 0.0) for j in range(n)] for i in range(n)]
    if kind == "gram":
        a = [[random.below(19) - 9 for _ in range(n)] for _ in range(n)]
        return [[float(sum(a[i][k] * a[j][k] for k in range(n)) + (i == j)) for j in range(n)]
                for i in range(n)]
    if kind == "sum":
        a = [[float(random.below(19) - 9) for _ in range(n)] for _ in range(n - 1)]
        return a + [[sum(row[j] for row in a) for j in range(n)]]
    scale = 8.0 if kind == "graded" else 1.0
    return [[random.uniform() / scale ** i for _ in range(n)] for i in range(n)]


def mirrored(kind, rows):
    n = len(rows)
    for i in range(n):
        for j in range(i):
            if kind == "graded":
                rows[i][j] /= 8.0 ** j
            rows[j][i] = rows[i][j]
        if kind == "graded":
            rows[i][i] /= 8.0 ** i
    return rows


def text(values):
    return " ".join(mp.nstr(mpf(v), 25, min_fixed=1, max_fixed=0) for v in values)


def norm(m):
    return max(sum(abs(m[i, j]) for j in range(m.cols)) for i in range(m.rows))


def solve_line(kind, n, seed):
    random = Random(seed)
    a = matrix(make(kind, n, random))
    b = matrix([random.uniform() for _ in range(n)])
    inverse = a ** -1
    x = inverse * b
    print("solve", kind, n, seed, text([norm(a) * norm(inverse), mp.det(a)]), text(x),
          text(inverse[0, j] for j in range(n)))


def cholesky_line(kind, n, seed):
    a = matrix(make(kind, n, Random(seed)))
    lower = mp.cholesky(a)
    print("cholesky", kind, n, seed, text([norm(a) * norm(a ** -1)]),
          text(lower[n - 1, j] for j in range(n)))


def eigen_line(kind, n, seed):
    a = matrix(mirrored(kind, make(kind, n, Random(seed))))
    values = sorted(mp.eigsy(a, eigvals_only=True)) if n > 1 else [a[0, 0]]
    print("eigen", kind, n, seed, text([max(abs(v) for v in values)]), text(values))


def null_line(kind, n, seed):
    a = matrix(make(kind, n, Random(seed)))
    values, vectors = mp.eigsy(a.T * a)
    order = sorted(range(n), key=lambda k: values[k])
    x = vectors[:, order[0]]
    top = max(x, key=abs)
    print("null", kind, n, seed, text([mp.sqrt(values[order[-1]] / values[order[1]])]),
          text(v / top for v in x))


print("# Made by scripts/references/linear_algebra.py, which says how to read it.")
for n in (1, 2, 3, 4, 6, 9, 13, 20, 33, 50):
    solve_line("random", n, 100 + n)
for n in range(2, 9):
    solve_line("hilbert", n, 0)
for n in (5, 12):
    solve_line("graded", n, 200 + n)
for n in (1, 3, 7, 15):
    cholesky_line("gram", n, 300 + n)
for n in range(2, 9):
    cholesky_line("hilbert", n, 0)
for n in (1, 2, 3, 4, 5, 10, 20, 50):
    eigen_line("random", n, 400 + n)
for n in (3, 4, 5, 12):
    eigen_line("ones", n, 0)
for n in (3, 4, 8):
    eigen_line("graded", n, 500 + n)
for n in (3, 4, 8):
    eigen_line("hilbert", n, 0)
for n in (2, 3, 4, 5, 10, 20, 50):
    null_line("sum", n, 600 + n)
