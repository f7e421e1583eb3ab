#!/usr/bin/env python3
"""check_demo.py FOLDER: recomputes what demo.sh reported, from its own inputs and in the plainest way:
every edge for every point, the side of an arc by a fine polygon. Of what was fitted, the motion of the
panel and the circle of the bore, no small change may lower the sum of squares: its derivatives are 0.
Of the housing each point's distance is that of its face's formula. The reports must agree with that and
with each other."""
import csv
import json
import math
import pathlib
import struct
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
        """A fine polygon, which decides the side of points that are not within its sagitta."""
        angles = [self.start + self.sweep * i / self.pieces for i in range(1, self.pieces)]
        points = [self.a] + [(self.centre[0] + self.radius * math.cos(t),
                              self.centre[1] + self.radius * math.sin(t))
                             for t in angles] + [self.b]
        return list(zip(points, points[1:]))


class Spline:
    """A curve of weights 1, by de Boor's recursion; distances by golden section on each stretch around
    the nearest of many samples."""
    samples = 4000

    def __init__(self, degree, knots, poles):
        self.degree, self.knots, self.poles = degree, knots, poles
        low, high = knots[degree], knots[-degree - 1]
        self.at = [low + (high - low) * i / self.samples for i in range(self.samples + 1)]
        self.points = [self.point(t) for t in self.at]

    def point(self, t):
        p, k = self.degree, self.knots
        span = max(i for i in range(p, len(self.poles)) if k[i] <= t and k[i] < k[i + 1])
        d = self.poles[span - p:span + 1]
        for level in range(1, p + 1):
            for j in range(p, level - 1, -1):
                i = span - p + j
                a = (t - k[i]) / (k[i + p + 1 - level] - k[i])
                d[j] = tuple((1 - a) * u + a * v for u, v in zip(d[j - 1], d[j]))
        return d[p]

    def distance(self, p):
        distances = [math.dist(p, q) for q in self.points]
        at = distances.index(min(distances))
        low, high = self.at[max(0, at - 1)], self.at[min(self.samples, at + 1)]
        golden = (math.sqrt(5) - 1) / 2
        for _ in range(60):
            a, b = high - golden * (high - low), low + golden * (high - low)
            if math.dist(p, self.point(a)) < math.dist(p, self.point(b)):
                high = b
            else:
                low = a
        return math.dist(p, self.point((low + high) / 2))

    def chords(self):
        return list(zip(self.points, self.points[1:]))


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
    """The edges of lines of M, L, A, N, Z and C."""
    edges = []
    for line in path.read_text().splitlines()[1:]:
        letter, *fields = line.split()
        if letter == "N":
            degree, split = int(fields[0]), fields.index("poles")
            poles = [float(field) for field in fields[split + 1:]]
            edges.append(Spline(degree, [float(field) for field in fields[2:split]],
                                list(zip(poles[::3], poles[1::3]))))
            continue
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


def minus(a, b):
    return [x - y for x, y in zip(a, b)]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


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


def check_figures(check, name, figures, values):
    n = len(values)
    mean = math.fsum(values) / n
    squares = math.fsum((d - mean) ** 2 for d in values)
    for key, value in {
            "minimum": min(values), "maximum": max(values), "mean": mean,
            "standard_deviation": math.sqrt(squares / (n - 1)),
            "rms": math.sqrt(math.fsum(d * d for d in values) / n)}.items():
        check.same(f"{name}, {key}", figures[key], value, 1e-12)


def check_summary(check, summary, points, distances=()):
    """The figures are those of deviations; distances without a sign have figures of their own."""
    inside = sum(point["in_tolerance"] for point in points)
    worst = max(points, key=lambda point: abs(point["deviation"]))
    for key, value in {"count": len(points), "in_tolerance": inside,
                       "out_of_tolerance": len(points) - inside}.items():
        check.same(f"summary, {key}", summary[key], value)
    check_figures(check, "summary", summary,
                  [point["deviation"] for point in points if point["id"] not in distances])
    if distances:
        check.same("distances, count", summary["distances"]["count"], len(distances))
        check_figures(check, "distances", summary["distances"],
                      [point["deviation"] for point in points if point["id"] in distances])
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
        if "displaced" in row:  # by that much along the normal, with ten decimals
            check.same(f"{row['id']}, displaced", point["deviation"], float(row["displaced"]), 2e-10)
        check.same(f"{row['id']}, in tolerance", point["in_tolerance"],
                   band["lower"] <= point["deviation"] <= band["upper"])
    check_summary(check, report["summary"], points)
    svg = xml.parse(folder / f"{name}.svg").getroot()
    check.same("root of the picture", svg.tag, "{http://www.w3.org/2000/svg}svg")
    print(f"{name}: {len(points)} points against {len(edges)} edges, "
          f"{report['summary']['out_of_tolerance']} out of tolerance, {check.faults} faults")
    return check.faults + (not points)


def triple(row, *columns):
    return [float(row[column]) for column in columns]


def check_panel(folder):
    """Recomputes the report of targets: each measured point through the motion that the report states,
    then its deviation."""
    report = json.loads((folder / "panel_report.json").read_text())
    rows = list(csv.DictReader((folder / "panel.csv").open(newline="")))
    points, band, motion = report["points"], report["tolerance"], report["alignment"]
    check = Check()
    check.same("points of the report", len(points), len(rows))
    check.same("rows of panel_report.csv",
               len((folder / "panel_report.csv").read_text().splitlines()) - 1, len(rows))
    derivatives, size, distances = [0.0] * 6, 0.0, set()
    for row, point in zip(rows, points):
        def near(what, found, expected):
            for a, b in zip(found, expected):
                check.same(f"{row['id']}, {what}", a, b, 1e-11)

        check.same("id", point["id"], row["id"])
        nominal = triple(row, "nom_x", "nom_y", "nom_z")
        near("target", point["target"], nominal)
        direct = row["nom_i"] == ""
        probed = triple(row, "act_x", "act_y", "act_z") if direct else triple(row, "x", "y", "z")
        measured = [dot(r, probed) + t for r, t in zip(motion["rotation"], motion["translation"])]
        near("measured", point["measured"], measured)
        if direct:
            off = minus(measured, nominal)
            judged = math.hypot(*off)
            distances.add(row["id"])
            near("distance", [point["distance"]], [judged])
            check.same(f"{row['id']}, deviation", point["deviation"], None)
        else:
            normal = unit(triple(row, "nom_i", "nom_j", "nom_k"))
            touched = minus(measured, [float(row["diameter"]) / 2 * c for c in normal])
            judged = dot(minus(touched, nominal), normal)
            off = [judged * c for c in normal]
            near("calculated", point["calculated"], touched)
            near("deviation", [point["deviation"]], [judged])
            near("distance", [point["distance"]], [math.dist(touched, nominal)])
        check.same(f"{row['id']}, in tolerance", point["in_tolerance"],
                   judged <= band["upper"] and (direct or band["lower"] <= judged))
        size = max(size, math.hypot(*measured))
        for i, term in enumerate(off + cross(measured, off)):
            derivatives[i] += term
        point["deviation"] = judged
    for derivative in derivatives[:3] + [torque / size for torque in derivatives[3:]]:
        check.same("derivative of the sum of squares", derivative, 0.0, 1e-6)
    check_summary(check, report["summary"], points, distances)
    print(f"panel_report: {len(points)} targets, {report['summary']['out_of_tolerance']} out of "
          f"tolerance, {check.faults} faults")
    return check.faults + (not points)


def check_bore(folder):
    """The residuals of the fitted circle, whose derivatives by centre and radius are 0."""
    report = json.loads((folder / "bore_report.json").read_text())
    circle, points, check = report["entity"], report["points"], Check()
    derivatives = [0.0] * 4
    for point in points:
        out = minus(point["measured"], circle["centre"])
        height = dot(out, circle["normal"])
        out = [o - height * n for o, n in zip(out, circle["normal"])]
        residual = math.hypot(*out) - (circle["radius"] - report["ball"]["diameter"] / 2)
        check.same(f"{point['id']}, residual", point["residual"], residual, 1e-11)
        for i, term in enumerate([residual] + [residual * u for u in unit(out)]):
            derivatives[i] += term
    for derivative in derivatives:
        check.same("derivative of the sum of squares", derivative, 0.0, 1e-9)
    print(f"bore_report: {len(points)} points on a circle, {check.faults} faults")
    return check.faults + (not points)


class HousingLid:
    """The height over x and y, from its poles."""
    degree = 3

    def __init__(self):
        self.knots = [self.even_knots(15, 150.0), self.even_knots(9, 90.0)]
        x, y = ([math.fsum(k[i + 1:i + 4]) / 3 for i in range(len(k) - 4)] for k in self.knots)
        self.rows = [[self.pole(a, b) for a in x] for b in y]

    @staticmethod
    def even_knots(spans, end):
        return [end * min(max(i - 3, 0), spans) / spans for i in range(spans + 7)]

    @staticmethod
    def pole(x, y):
        along = math.cos(math.pi * x / 140) ** 2 if x < 70 else 0.0
        across = 0.55 + 0.45 * math.cos(2 * math.pi * (y - 55) / 110)
        return 40 + 16 * along * across * (1 + 0.25 * math.sin(x / 13))

    @staticmethod
    def blend(knots, poles, t):
        span = max(i for i in range(3, len(poles)) if knots[i] <= t and knots[i] < knots[i + 1])
        d = poles[span - 3:span + 1]
        for level in 1, 2, 3:
            for j in range(3, level - 1, -1):
                i = span - 3 + j
                a = (t - knots[i]) / (knots[i + 4 - level] - knots[i])
                d[j] = (1 - a) * d[j - 1] + a * d[j]
        return d[3]

    def height(self, x, y):
        columns = [self.blend(self.knots[0], row, min(max(x, 0.0), 150.0)) for row in self.rows]
        return self.blend(self.knots[1], columns, min(max(y, 0.0), 90.0))

    def slopes(self, x, y, step=1e-4):
        """By differences, to 1e-8 or so."""
        x, y = min(max(x, step), 150.0 - step), min(max(y, step), 90.0 - step)
        return [(self.height(x + a, y + b) - self.height(x - a, y - b)) / (2 * step)
                for a, b in ((step, 0.0), (0.0, step))]


def plane(axis, at, side):
    return lambda p: side * (p[axis] - at)


def round_about(axis, centre, radius, side):
    """A cylinder; side 1: the material is inside."""
    return lambda p: side * (math.hypot(*(p[i] - c for i, c in zip([i for i in range(3) if i != axis],
                                                                   centre))) - radius)


def fillet(p):
    around = math.hypot(p[0] - 112, p[1] - 45)
    return 4 - math.hypot(around - 18, p[2] - 44)


def hole_tip(p):
    half = math.radians(59)
    around = math.hypot(p[0] - 112, p[1] - 45)
    return (p[2] - (20 - 7 / math.tan(half))) * math.sin(half) - around * math.cos(half)


# The distance of a point from each face, positive outside of the material; the lid is a class.
HOUSING = {
    "wall front": plane(1, 0, -1), "wall right": plane(0, 150, 1), "wall back": plane(1, 90, 1),
    "wall left": plane(0, 0, -1), "base": plane(2, 0, -1), "boss/fillet": fillet,
    "boss/side": round_about(2, (112, 45), 14, 1), "boss/top": plane(2, 58, 1),
    "boss/hole": round_about(2, (112, 45), 7, -1), "boss/hole tip": hole_tip,
    "bore 1": round_about(2, (136, 14), 5, -1), "bore 2": round_about(2, (136, 76), 5, -1),
    "pocket/floor": plane(1, 6, -1), "pocket/side below": plane(2, 12, 1),
    "pocket/side above": plane(2, 28, -1),
    "pocket/end right": round_about(1, (56, 20), 8, -1),
    "pocket/end left": round_about(1, (24, 20), 8, -1)}


def read_scan(path):
    """The points and normals of a binary PLY file."""
    head, _, data = path.read_bytes().partition(b"end_header\n")
    count = int(head.split(b"element vertex ")[1].split()[0])
    return [(row[:3], row[3:]) for row in struct.iter_unpack("<3d3f", data)], count


def least_squares(rows):
    """The two factors that leave the least of the sum of (value - a first - b second)^2."""
    xx, xy, yy, xv, yv = (math.fsum(column) for column in zip(
        *((x * x, x * y, y * y, x * v, y * v) for x, y, v in rows)))
    whole = xx * yy - xy * xy
    return (xv * yy - yv * xy) / whole, (yv * xx - xv * xy) / whole


def check_housing(folder):
    """Each point's distance from the face that it was assigned to, by that face's own formula, and
    the faults that the scan was made with, as the deviations show them."""
    report = json.loads((folder / "housing_report.json").read_text())
    scan, count = read_scan(folder / "scan.ply")
    points, band, lid, check = report["points"], report["tolerance"], HousingLid(), Check()
    check.same("points of the scan", len(scan), count)
    check.same("points of the report", len(points), count)
    faults = {"lid": [], "bore 1": [], "bore 2": []}
    for (measured, normal), point in zip(scan, points):
        name, id, deviation = point["face"].removeprefix("/housing/"), point["id"], point["deviation"]
        check.same(f"{id}, measured", point["measured"], list(measured))
        check.same(f"{id}, side of the face", dot(point["normal"], normal) > 0.5, True)
        if name == "lid":
            x, y, z = point["foot"]
            along, across = lid.slopes(x, y)
            check.same(f"{id}, foot", z, lid.height(x, y), 1e-9)
            if 0.01 < x < 149.99 and 0.01 < y < 89.99:
                up = unit([-along, -across, 1.0])
                off = minus(measured, point["foot"])
                check.same(f"{id}, deviation", deviation, dot(off, up), 1e-7)
                for part in cross(off, up):
                    check.same(f"{id}, direction of its foot", part, 0.0, 1e-7)
            bump = math.exp(-0.5 * (math.hypot(x - 38, y - 52) / 7) ** 2)
            faults["lid"].append((bump, (x / 75 - 1) * (y / 45 - 1), deviation))
        elif point["kind"] == "interior":
            check.same(f"{id}, deviation", deviation, HOUSING[name](measured), 1e-9)
        if name in faults and name != "lid":
            faults[name].append((*point["normal"][:2], deviation))
        check.same(f"{id}, in tolerance", point["in_tolerance"],
                   band["lower"] <= deviation <= band["upper"])
    for name, expected in (("lid", (0.25, 0.09)), ("bore 1", (0.13, -0.07)), ("bore 2", (0.0, 0.0))):
        for found, made in zip(least_squares(faults[name]), expected):
            check.same(f"fault of {name}", found, made, 0.003)
    check_summary(check, report["summary"], points)
    for face in report["faces"]:
        check.same(f"{face['face']}, count", face["count"],
                   sum(point["face"] == face["face"] for point in points))
    print(f"housing_report: {len(points)} points, {report['summary']['out_of_tolerance']} out of "
          f"tolerance, {check.faults} faults")
    return check.faults + (not points) + check_step(folder, points)


def check_step(folder, points):
    """Where the housing was inspected again against its STEP file, it gave the same."""
    path, check, worst = folder / "step_report.json", Check(), 0.0
    if not path.exists():
        return 0
    again = json.loads(path.read_text())["points"]
    check.same("points against the STEP file", len(again), len(points))
    for a, b in zip(points, again):
        check.same(f"{a['id']}, against the STEP file", b["deviation"], a["deviation"], 1e-7)
        worst = max(worst, abs(b["deviation"] - a["deviation"]))
        if a["kind"] == b["kind"] == "interior":  # the last levels of a path are one name there
            product, name = a["face"][1:].split("/", 1)
            check.same(f"{a['id']}, its face of the STEP file", b["face"],
                       f"/{product}/{name.replace('/', ' ')}")
    print(f"step_report: the same to {worst:.1e} mm, {check.faults} faults")
    return check.faults


def check_stored(folder):
    """The reports from the object file are those of the runs."""
    check = Check()
    for name, kinds in ("housing_report", 4), ("report", 5), ("panel_report", 4):
        stored = sorted(folder.glob(f"stored_{name}.*"))
        check.same(f"stored reports of {name}", len(stored), kinds)
        for path in stored:
            run = folder / path.name.removeprefix("stored_")
            check.same(f"{path.name} is {run.name}", path.read_bytes() == run.read_bytes(), True)
    print(f"parts.velm: {check.faults} faults")
    return check.faults


def main():
    folder = pathlib.Path(sys.argv[1])
    frame = Frame([412.5, 230.0, 95.0, 0.02, -0.01, 1.0, 4.0, 3.0, 0.0])
    faults = check_report(folder, "probed.csv", "report", read_vertices(folder / "blade.dat"))
    faults += check_report(folder, "curve.csv", "curve_report",
                           read_arcs(folder / "blade_curve.txt"))
    faults += check_report(folder, "link.csv", "link_report", read_arcs(folder / "link.txt"), frame)
    faults += check_panel(folder) + check_bore(folder) + check_housing(folder)
    faults += check_stored(folder)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
