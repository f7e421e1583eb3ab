#!/usr/bin/env python3
"""check_demo.py FOLDER: recomputes what demo.sh reported, from its own inputs and in the plainest way:
every edge for every point. The reports must agree with that and with each other."""
import csv
import json
import math
import pathlib
import sys
import xml.etree.ElementTree as xml


def read_outline(path):
    """The vertices of a run round the profile."""
    vertices = []
    for line in path.read_text().splitlines():
        try:
            x, y = map(float, line.split("#")[0].replace(",", " ").split())
        except ValueError:
            continue
        vertices.append((x, y))
    return vertices[:-1] if vertices[0] == vertices[-1] else vertices


def foot_on(a, b, p):
    dx, dy = b[0] - a[0], b[1] - a[1]
    t = ((p[0] - a[0]) * dx + (p[1] - a[1]) * dy) / (dx * dx + dy * dy)
    t = min(1.0, max(0.0, t))
    return a[0] + t * dx, a[1] + t * dy


def signed_distance(outline, p):
    """To the nearest edge, positive outside (even-odd rule)."""
    edges = list(zip(outline, outline[1:] + outline[:1]))
    nearest = min(math.dist(p, foot_on(a, b, p)) for a, b in edges)
    crossings = sum((a[1] > p[1]) != (b[1] > p[1]) and
                    p[0] < a[0] + (p[1] - a[1]) * (b[0] - a[0]) / (b[1] - a[1]) for a, b in edges)
    return -nearest if crossings % 2 else nearest


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


def main():
    folder = pathlib.Path(sys.argv[1])
    outline = read_outline(folder / "blade.dat")
    size = max(max(map(abs, vertex)) for vertex in outline)
    report = json.loads((folder / "report.json").read_text())
    rows = list(csv.DictReader((folder / "probed.csv").open(newline="")))
    points, band = report["points"], report["tolerance"]

    check = Check()
    check.same("points of the report", len(points), len(rows))
    check.same("rows of report.csv", len((folder / "report.csv").read_text().splitlines()) - 1,
               len(rows))
    for row, point in zip(rows, points):
        p = float(row["x"]), float(row["y"])
        check.same("id", point["id"], row["id"])
        distance = signed_distance(outline, p)
        check.same(f"{row['id']}, distance", point["distance"], distance, 1e-12 * size)
        deviation = distance - float(row["diameter"]) / 2
        check.same(f"{row['id']}, deviation", point["deviation"], deviation, 1e-12 * size)
        check.same(f"{row['id']}, in tolerance", point["in_tolerance"],
                   band["lower"] <= point["deviation"] <= band["upper"])
    check_summary(check, report["summary"], points)
    svg = xml.parse(folder / "report.svg").getroot()
    check.same("root of the picture", svg.tag, "{http://www.w3.org/2000/svg}svg")
    print(f"demo: {len(points)} points against {len(outline)} edges, "
          f"{report['summary']['out_of_tolerance']} out of tolerance, {check.faults} faults")
    return 1 if check.faults or not points else 0


if __name__ == "__main__":
    sys.exit(main())
