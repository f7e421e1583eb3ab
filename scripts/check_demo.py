#!/usr/bin/env python3
"""check_demo.py FOLDER: recomputes what demo.sh reported, from its own inputs and in the plainest way:
every edge for every point, the side of an arc by a fine polygon. The reports must agree with that
and with each other."""
import csv
import json
import math
import pathlib
import sys
import xml.etree.ElementTree as xml


class Line:
    def __init__(self, a, b):
        self.a, self.b = a, b

    def distance(self, p):
        dx, dy = self.b[0] - self.a[0], self.b[1] - self.a[1]
        t = ((p[0] - self.a[0]) * dx + (p[1] - self.a[1]) * dy) / (dx * dx + dy * dy)
        t = min(1.0, max(0.0, t))
        return math.dist(p, (self.a[0] + t * dx, self.a[1] + t * dy))

    def chords(self):
        return [(self.a, self.b)]


class Arc:
    """From a to b about a centre; a whole turn where they agree."""
    pieces = 2000

    def __init__(self, a, b, centre, direct):
        self.a, self.b, self.centre, self.radius = a, b, centre, math.dist(a, centre)
        self.start = math.atan2(a[1] - centre[1], a[0] - centre[0])
        turn = math.atan2(b[1] - centre[1], b[0] - centre[0]) - self.start
        self.sweep = turn % math.tau or math.tau if direct else -(-turn % math.tau or math.tau)

    def distance(self, p):
        seen = math.atan2(p[1] - self.centre[1], p[0] - self.centre[0]) - self.start
        along = seen % math.tau if self.sweep > 0 else -seen % math.tau
        if along <= abs(self.sweep):
            return abs(math.dist(p, self.centre) - self.radius)
        return min(math.dist(p, self.a), math.dist(p, self.b))

    def chords(self):
        """A fine polygon, which tells the side of points that are not within its sagitta."""
        angles = [self.start + self.sweep * i / self.pieces for i in range(1, self.pieces)]
        points = [self.a] + [(self.centre[0] + self.radius * math.cos(t),
                              self.centre[1] + self.radius * math.sin(t))
                             for t in angles] + [self.b]
        return list(zip(points, points[1:]))


def read_vertices(path):
    """The edges of a run round the profile."""
    vertices = []
    for line in path.read_text().splitlines():
        try:
            x, y = map(float, line.split("#")[0].replace(",", " ").split())
        except ValueError:
            continue
        vertices.append((x, y))
    if vertices[0] == vertices[-1]:
        vertices.pop()
    return [Line(a, b) for a, b in zip(vertices, vertices[1:] + vertices[:1])]


def read_arcs(path):
    """The edges of lines of M, L, A, Z and C."""
    edges = []
    for line in path.read_text().splitlines()[1:]:
        letter, *fields = line.split()
        numbers = [float(field) for field in fields if not field.endswith("cw")]
        to = tuple(numbers[:2])
        if letter == "M":
            start = at = to
        elif letter == "L":
            edges.append(Line(at, to))
            at = to
        elif letter == "A":
            edges.append(Arc(at, to, tuple(numbers[2:]), fields[-1] == "ccw"))
            at = to
        elif letter == "Z" and at != start:
            edges.append(Line(at, start))
        elif letter == "C":
            seam = to[0] + numbers[2], to[1]
            edges.append(Arc(seam, seam, to, True))
    return edges


def signed_distance(edges, chords, p):
    """To the nearest edge, positive outside (even-odd rule)."""
    nearest = min(edge.distance(p) for edge in edges)
    crossings = sum((a[1] > p[1]) != (b[1] > p[1]) and
                    p[0] < a[0] + (p[1] - a[1]) * (b[0] - a[0]) / (b[1] - a[1])
                    for a, b in chords)
    return -nearest if crossings % 2 else nearest


def unit(v):
    length = math.hypot(*v)
    return [c / length for c in v]


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


class Frame:
    """The plane of a section in space."""

    def __init__(self, numbers):
        self.origin, self.z = numbers[:3], unit(numbers[3:6])
        along = dot(numbers[6:], self.z)
        self.x = unit([a - along * n for a, n in zip(numbers[6:], self.z)])
        (a, b, c), (d, e, f) = self.z, self.x
        self.y = [b * f - c * e, c * d - a * f, a * e - b * d]

    def bring(self, p):
        v = [a - o for a, o in zip(p, self.origin)]
        return dot(v, self.x), dot(v, self.y), dot(v, self.z)


class Check:
    """Counts what does not hold."""

    def __init__(self):
        self.faults = 0

    def same(self, what, found, expected, tolerance=0.0):
        close = found == expected or (isinstance(expected, float) and
                                      abs(found - expected) <= tolerance)
        if not close:
            print(f"{what}: found {found}, expected {expected}")
            self.faults += 1


def check_summary(check, summary, points):
    deviations = [point["deviation"] for point in points]
    n = len(deviations)
    mean = math.fsum(deviations) / n
    squares = math.fsum((d - mean) ** 2 for d in deviations)
    inside = sum(point["in_tolerance"] for point in points)
    worst = max(points, key=lambda point: abs(point["deviation"]))
    for key, value in {
            "count": n, "in_tolerance": inside, "out_of_tolerance": n - inside,
            "minimum": min(deviations), "maximum": max(deviations), "mean": mean,
            "standard_deviation": math.sqrt(squares / (n - 1)),
            "rms": math.sqrt(math.fsum(d * d for d in deviations) / n)}.items():
        check.same(f"summary, {key}", summary[key], value, 1e-12)
    check.same("summary, worst", summary["worst"]["id"], worst["id"])


def check_report(folder, probed, name, edges, frame=None):
    """Recomputes one report from its inputs; returns the number of faults."""
    report = json.loads((folder / f"{name}.json").read_text())
    rows = list(csv.DictReader((folder / probed).open(newline="")))
    points, band = report["points"], report["tolerance"]
    chords = [chord for edge in edges for chord in edge.chords()]
    size = max(abs(float(row[axis])) for row in rows for axis in "xy")

    check = Check()
    check.same("points of the report", len(points), len(rows))
    check.same(f"rows of {name}.csv", len((folder / f"{name}.csv").read_text().splitlines()) - 1,
               len(rows))
    for row, point in zip(rows, points):
        measured = [float(row[axis]) for axis in ("xyz" if frame else "xy")]
        check.same("id", point["id"], row["id"])
        check.same(f"{row['id']}, measured", point["measured"], measured)
        p = measured
        if frame:
            *p, height = frame.bring(measured)
            check.same(f"{row['id']}, height", point["height"], height, 1e-12 * size)
        distance = signed_distance(edges, chords, p)
        check.same(f"{row['id']}, distance", point["distance"], distance, 1e-12 * size)
        deviation = distance - float(row["diameter"]) / 2
        check.same(f"{row['id']}, deviation", point["deviation"], deviation, 1e-12 * size)
        check.same(f"{row['id']}, in tolerance", point["in_tolerance"],
                   band["lower"] <= point["deviation"] <= band["upper"])
    check_summary(check, report["summary"], points)
    svg = xml.parse(folder / f"{name}.svg").getroot()
    check.same("root of the picture", svg.tag, "{http://www.w3.org/2000/svg}svg")
    print(f"{name}: {len(points)} points against {len(edges)} edges, "
          f"{report['summary']['out_of_tolerance']} out of tolerance, {check.faults} faults")
    return check.faults + (not points)


def main():
    folder = pathlib.Path(sys.argv[1])
    frame = Frame([412.5, 230.0, 95.0, 0.02, -0.01, 1.0, 4.0, 3.0, 0.0])
    faults = check_report(folder, "probed.csv", "report", read_vertices(folder / "blade.dat"))
    faults += check_report(folder, "link.csv", "link_report", read_arcs(folder / "link.txt"), frame)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
