#!/usr/bin/env python3
"""Makes tests/numerics/data/polynomials.txt: published hard polynomials with their real roots.

usage: polynomials.py > tests/numerics/data/polynomials.txt     (needs python3-mpmath)

    poly NAME BASIS LOWER UPPER LABEL   BASIS is power or bernstein; roots in [LOWER, UPPER]
    coef ...                            C99 hexadecimal doubles, the lowest power first
    group ...                           roots to 30 digits, a multiple one repeated

The roots are those of the coefficients as rounded to double. One group holds what one rounding of
each coefficient can't tell apart: between two roots of a group |p| stays below 2^-53 S, S being the
sum of the sizes of p's terms. An empty group is a place where |p| does so without reaching zero. A
polynomial whose groups all hold one root is labelled `apart`. The others are labelled `beyond`: no
method that sees the coefficients as doubles can tell their roots apart.
"""
from fractions import Fraction
from math import comb
from mpmath import mp, mpf, polyroots, nstr

mp.dps = 90
UNIT = Fraction(1, 2**53)


def product(roots, lead=1):
    c = [Fraction(lead)]
    for r in roots:
        c = [(c[i - 1] if i else 0) - Fraction(r) * (c[i] if i < len(c) else 0)
             for i in range(len(c) + 1)]
    return c


def chebyshev(n):
    a, b = [1], [0, 1]
    for _ in range(n - 1):
        a, b = b, [2 * x - y for x, y in zip([0] + b, a + [0, 0])]
    return b


def to_bernstein(c):
    n = len(c) - 1
    return [sum(Fraction(comb(i, j), comb(n, j)) * c[j] for j in range(i + 1))
            for i in range(n + 1)]


def to_power(b):
    n = len(b) - 1
    c = [Fraction(0)] * (n + 1)
    for i in range(n + 1):
        for j in range(n - i + 1):
            c[i + j] += b[i] * comb(n, i) * comb(n - i, j) * (-1)**j
    return c


def mignotte(n, a):
    c = [-2, 4 * a, -2 * a * a] + [0] * (n - 3) + [1]
    return c


def cases():
    """Name, basis, limits and exact coefficients."""
    inf = float("inf")
    ten = lambda k: Fraction(10)**k
    for n in range(10, 21):  # Wilkinson, Rounding Errors in Algebraic Processes, 1963, chapter 2
        yield f"wilkinson{n}", "power", -inf, inf, product(range(1, n + 1))
    perturbed = product(range(1, 21))
    perturbed[19] -= Fraction(1, 2**23)
    yield "wilkinson20_perturbed", "power", -inf, inf, perturbed
    yield "wilkinson20_halves", "power", -inf, inf, product(Fraction(1, 2**i) for i in range(1, 21))
    # Farouki and Rajan, On the numerical condition of polynomials in Bernstein form, 1987
    twentieths = product(Fraction(i, 20) for i in range(1, 21))
    yield "farouki_power", "power", 0.0, 1.0, twentieths
    yield "farouki_bernstein", "bernstein", 0.0, 1.0, to_bernstein(twentieths)
    for n in (10, 20, 30):
        yield f"chebyshev{n}", "power", -1.0, 1.0, chebyshev(n)
    # Jenkins and Traub, Principles for testing polynomial zerofinding programs, 1975
    for k in (-8, 8, 15):
        yield f"jenkins_traub1_{k}", "power", -inf, inf, product([ten(k), -ten(k), 1])
    yield "jenkins_traub3", "power", -inf, inf, product(ten(-i) for i in range(1, 21))
    yield "jenkins_traub4", "power", 0.0, 1.0, product(
        [Fraction(i, 10) for i in (1, 1, 1, 5, 6, 7)])
    yield "jenkins_traub5", "power", 0.0, 1.0, product(
        [Fraction(i, 10) for i in (1, 1, 1, 1, 2, 2, 2, 3, 3, 4)])
    for k in (3, 10):
        yield f"jenkins_traub10_{k}", "power", -inf, inf, product([ten(k), 1, ten(-k)])
    yield "orders30", "power", -inf, inf, product((-1)**k * ten(k) for k in range(-7, 8))
    # Zeng, Algorithm 835: MultRoot, 2004
    yield "zeng_1234", "power", -inf, inf, product([1, 2, 2, 3, 3, 3, 4, 4, 4, 4])
    yield "zeng_power20", "power", -inf, inf, product([1] * 20)
    yield "zeng_close", "power", -inf, inf, product([Fraction(9, 10)] * 3 + [1] * 4)
    # Mignotte, Some inequalities about univariate polynomials, 1981
    for n, a in ((9, 5), (17, 10), (20, 30)):
        yield f"mignotte{n}_{a}", "power", -inf, inf, mignotte(n, a)
    # Kahan, On the cost of floating-point computation without extra-precise arithmetic, 2004
    yield "kahan", "power", -inf, inf, [Fraction("94906268.375"), -2 * 94906267,
                                        Fraction("94906265.625")]
    # The same double root, rounded to either side, and roots on the ends
    yield "double_split", "power", 0.0, 2.0, [1 - Fraction(1, 2**53), -2, 1]
    yield "double_lifted", "power", 0.0, 2.0, [1 + Fraction(1, 2**52), -2, 1]
    yield "ends", "power", 1.0, 6.0, product([1, 1, 3, 6])
    yield "ends_bernstein", "bernstein", 0.0, 1.0, to_bernstein(
        product([0, 0, 0, Fraction(1, 4), Fraction(5, 8), 1, 1]))


def derivative(c):
    return [i * x for i, x in enumerate(c)][1:]


def trimmed(c):
    while c and c[-1] == 0:
        c = c[:-1]
    return c


def divided(a, b):
    """Quotient and remainder."""
    a, q = list(a), [Fraction(0)] * max(len(a) - len(b) + 1, 0)
    for k in reversed(range(len(q))):
        q[k] = Fraction(a[k + len(b) - 1]) / b[-1]
        for i, x in enumerate(b):
            a[k + i] -= q[k] * x
    return q, trimmed(a[:len(b) - 1])


def gcd(a, b):
    while b:
        a, b = b, divided(a, b)[1]
        b = [x / b[-1] for x in b] if b else b
    return a


def all_roots(c):
    """Every complex root, simple ones by iteration and multiple ones by Yun's factors."""
    result = []
    repeated = gcd(c, derivative(c))
    factor = divided(c, repeated)[0]
    multiplicity = 1
    while len(factor) > 1:
        rest = gcd(repeated, factor)
        own = divided(factor, rest)[0]
        if len(own) > 1:
            top = [mpf(x.numerator) / x.denominator for x in reversed(own)]
            result += polyroots(top, maxsteps=2000, extraprec=600) * multiplicity
        factor, repeated = rest, divided(repeated, rest)[0]
        multiplicity += 1
    return result


def groups_of(c, basis, power, lower, upper):
    """The roots in the limits by groups, and whether all are apart."""
    n = len(c) - 1
    exact = [mpf(x.numerator) / x.denominator for x in map(Fraction, c)]

    def terms(x):
        if basis == "power":
            return [a * x**i for i, a in enumerate(exact)]
        return [a * comb(n, i) * x**i * (1 - x)**(n - i) for i, a in enumerate(exact)]

    def clear(x):
        t = terms(x)
        return abs(sum(t)) > sum(map(abs, t)) / 2**53

    def clear_between(a, b):
        return any(clear(a + (b - a) * k / 256) for k in range(1, 256))

    found = all_roots(power)
    tiny = mpf(10)**-50
    groups = []
    places = []
    apart = True
    by_size = sorted(found, key=lambda z: (abs(z.imag) > tiny * abs(z), z.real))
    for z in by_size:  # the real ones first
        real = abs(z.imag) <= tiny * abs(z)
        x = z.real
        if not lower - tiny <= x <= upper + tiny or not real and (z.imag < 0 or clear(x)):
            continue
        near = [k for k, y in enumerate(places) if x == y or not clear_between(x, y)]
        apart = apart and real and not near
        if near and real:
            groups[near[0]].append(x)
        elif not near:
            places.append(x)
            groups.append([x] if real else [])
    return [g for _, g in sorted(zip(places, groups))], apart


def condition(c, basis, power, x):
    """S(x) / |x p'(x)|."""
    n = len(c) - 1
    weight = [comb(n, i) * (1 - x)**(n - i) if basis == "bernstein" else 1 for i in range(n + 1)]
    size = sum(abs(a) * w * abs(x)**i for i, (a, w) in enumerate(zip(c, weight)))
    slope = sum(mpf(a.numerator) / a.denominator * x**i for i, a in enumerate(derivative(power)))
    return size / abs(x * slope)


def main():
    print("# Made by scripts/references/polynomials.py, which says how to read it.")
    print("# name, degree, label, roots and places, condition of the worst root that is apart")
    blocks = []
    for name, basis, lower, upper, exact in cases():
        c = [float(x) for x in exact]
        as_rounded = [Fraction(x) for x in c]
        power = as_rounded if basis == "power" else trimmed(to_power(as_rounded))
        groups, apart = groups_of(c, basis, power, lower, upper)
        label = "apart" if apart else "beyond"
        alone = [g[0] for g in groups if len(g) == 1 and g[0] != 0]
        worst = max((condition(c, basis, power, x) for x in alone), default=mpf(0))
        print(f"# {name:22} {len(c) - 1:3} {label:6} {sum(map(len, groups)):3} {len(groups):3}"
              f" {float(worst):8.1e}")
        block = [f"poly {name} {basis} {lower} {upper} {label}"]
        block.append(" ".join(["coef"] + [x.hex() for x in c]))
        block += [" ".join(["group"] + [nstr(x, 30) for x in group]) for group in groups]
        blocks.append("\n".join(block))
    print("\n".join(blocks))


if __name__ == "__main__":
    main()
