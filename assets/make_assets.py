#!/usr/bin/env python3
"""Makes Orbisk's two sample files, device.glb and imu_run.csv, next to itself.

    python3 assets/make_assets.py            write both files
    python3 assets/make_assets.py --check    compare them with the committed ones

The output has to be the same, byte for byte, on every machine and every
Python from 3.9 on. So geometry is snapped to a binary grid, which hides what
the C libraries' sines disagree on; only random() is asked of the generator,
the one method whose sequence Python promises to keep; and sum() over floats,
which has changed its rounding once already, is not used.
"""

import json
import math
import pathlib
import random
import struct
import sys
from typing import List, NamedTuple, Tuple

# --- Geometry ----------------------------------------------------------------
#
# Right-handed, +X right, +Y up, +Z towards the viewer. The device is built in
# place, around the origin it is turned about, because Orbisk's loader ignores
# node transforms.

X, Y, Z = 0, 1, 2

# Coordinates on this grid are exact as float32 and as JSON decimals, which
# makes the accessors' min and max exact too.
GRID = 1 << 20

Vector = Tuple[float, float, float]


class Mesh:
    """Indexed triangles, counter-clockwise from outside; equal vertices are shared."""

    def __init__(self):
        self.positions: List[Vector] = []
        self.normals: List[Vector] = []
        self.indices: List[int] = []
        self._known = {}

    def vertex(self, position, normal):
        key = tuple(round(c * GRID) / GRID for c in (*position, *normal))
        if key not in self._known:
            self._known[key] = len(self.positions)
            self.positions.append(key[:3])
            self.normals.append(key[3:])
        return self._known[key]

    def triangle(self, a, b, c):
        # Rings may shrink to a point or have corners without a side between
        # them; sharing vertices has turned what is empty there into repeats.
        if a != b and b != c and c != a:
            self.indices += (a, b, c)


class Solid(NamedTuple):
    """A frustum with rounded rims: the one shape everything here is made of.

    It stands along `axis` from span[0] to span[1], with the radii `radius`
    at either end and rims rounded by `rim`. A `core` widens the circle into
    a rounded rectangle: its corners are drawn around the corners of a
    rectangle of these half sizes. So the same shape gives plates and boxes
    (with a core), knobs (without), pointed cones (end radius = rim) and
    balls (both radii = rim = half the span).

    `centre` and `core` are given in the two coordinates that follow the axis
    in the cycle X, Y, Z: (x, y) for Z, (y, z) for X and (z, x) for Y.
    """

    axis: int
    centre: Tuple[float, float]
    span: Tuple[float, float]
    radius: Tuple[float, float]
    rim: float
    core: Tuple[float, float] = (0, 0)
    around: int = 8  # steps in a quarter of the circle
    along: int = 2    # steps in the rounding of a rim

    def add_to(self, mesh):
        rings = [self._ring(mesh, row) for row in self._rows()]
        for low, high in zip(rings, rings[1:]):
            for a, b, c, d in zip(low, low[1:] + low[:1], high[1:] + high[:1], high):
                mesh.triangle(a, b, c)
                mesh.triangle(a, c, d)
        # The rims end level with the flat ends, so these need no vertices of
        # their own.
        bottom, top = rings[0], rings[-1]
        for a, b in zip(top[1:], top[2:]):
            mesh.triangle(top[0], a, b)
        for a, b in zip(bottom[1:], bottom[2:]):
            mesh.triangle(bottom[0], b, a)

    def _rows(self):
        """The outline from bottom to top: radius, height, angle of the normal."""
        radii = [r - self.rim for r in self.radius]
        heights = (self.span[0] + self.rim, self.span[1] - self.rim)
        # The rims are equally round, so the wall that touches both is
        # parallel to the line between their centres.
        slope = math.atan2(radii[0] - radii[1], heights[1] - heights[0])
        arcs = ((-math.pi / 2, slope), (slope, math.pi / 2))
        for radius, height, (start, end) in zip(radii, heights, arcs):
            for step in range(self.along + 1):
                angle = start + (end - start) * step / self.along
                yield (radius + self.rim * math.cos(angle),
                       height + self.rim * math.sin(angle), angle)

    def _ring(self, mesh, row):
        radius, height, tilt = row
        ring = []
        for quarter, (side_u, side_v) in enumerate(((1, 1), (-1, 1), (-1, -1), (1, -1))):
            for step in range(self.around + 1):
                angle = math.pi / 2 * (quarter + step / self.around)
                u, v = math.cos(angle), math.sin(angle)
                ring.append(mesh.vertex(
                    self._turned(self.centre[0] + side_u * self.core[0] + radius * u,
                                 self.centre[1] + side_v * self.core[1] + radius * v,
                                 height),
                    self._turned(math.cos(tilt) * u, math.cos(tilt) * v, math.sin(tilt))))
        return ring

    def _turned(self, u, v, w):
        # Passing the axes on in a cycle, unlike swapping two, mirrors nothing.
        return {X: (w, u, v), Y: (v, w, u), Z: (u, v, w)}[self.axis]


def plate(x, y, z, corner, rim, around=4):
    """A rounded rectangle in the x-y plane, given by its three ranges."""
    return Solid(Z, ((x[0] + x[1]) / 2, (y[0] + y[1]) / 2), z, (corner, corner), rim,
                 ((x[1] - x[0]) / 2 - corner, (y[1] - y[0]) / 2 - corner), around)


def bar(x, y, z):
    """A small plate, as used for marks and ribs: hardly rounded, few triangles."""
    return plate(x, y, z, 0.016, 0.01, 1)._replace(along=1)


def collar(axis, centre, span, radius):
    """A flat disc from which another part rises."""
    return Solid(axis, centre, span, (radius, radius), 0.02, along=1)


def ball(centre, radius):
    x, y, z = centre
    return Solid(Y, (z, x), (y - radius, y + radius), (radius, radius), radius, around=6, along=6)


class Part(NamedTuple):
    """One mesh in one colour, and how it is stored.

    The parts do not all store their data alike, so that the sample takes a
    loader through every way there is.
    """

    name: str
    finish: str
    colour: Vector
    solids: Tuple[Solid, ...]
    interleaved: bool = False   # positions and normals in turn, in one view
    with_normals: bool = True   # if not, the loader is left to find them
    wide_indices: bool = False  # 32 bits instead of 16


# Orbisk lights colours with 0.6 in the shade to 1.1 in full light, on black or
# on nothing: the body must not be too dark to stand out, and bright colours
# stay a little below 1 to keep their shades apart.
DEVICE = (
    Part("Body", "slate paint", (0.34, 0.39, 0.48), (
        plate((-0.8, 0.8), (-0.52, 0.52), (-0.23, 0.23), 0.17, 0.07, 6)._replace(along=4),
    ), interleaved=True, wide_indices=True),
    Part("Bezel", "graphite", (0.17, 0.19, 0.24), (
        plate((-0.71, 0.25), (-0.41, 0.41), (0.20, 0.25), 0.07, 0.015),
    )),
    Part("Screen", "lit glass", (0.72, 0.90, 0.88), (
        plate((-0.65, 0.19), (-0.35, 0.35), (0.22, 0.265), 0.04, 0.01),
    ), interleaved=True),
    # An F is its own mirror image in no direction.
    Part("Letter", "ink", (0.10, 0.20, 0.32), (
        bar((-0.56, -0.48), (-0.25, 0.25), (0.25, 0.285)),
        bar((-0.53, -0.24), (0.17, 0.25), (0.25, 0.285)),
        bar((-0.53, -0.31), (-0.04, 0.04), (0.25, 0.285)),
    )),
    Part("Gauge", "amber", (0.95, 0.52, 0.12), (
        bar((-0.17, -0.10), (-0.25, -0.12), (0.25, 0.285)),
        bar((-0.05, 0.02), (-0.25, 0.00), (0.25, 0.285)),
        bar((0.07, 0.14), (-0.25, 0.15), (0.25, 0.285)),
    )),
    Part("Trim", "brushed steel", (0.68, 0.71, 0.75), (
        collar(X, (0, 0), (0.76, 0.84), 0.19),
        collar(Y, (0, 0.2), (0.48, 0.56), 0.17),
        collar(Y, (0, -0.52), (0.48, 0.60), 0.09),
        collar(Z, (0.52, 0.16), (0.20, 0.28), 0.22),
    ), interleaved=True),
    Part("Knob", "signal red", (0.90, 0.16, 0.14), (
        Solid(X, (0, 0), (0.80, 1.14), (0.15, 0.08), 0.04),
    )),
    Part("Trigger", "signal green", (0.16, 0.76, 0.26), (
        Solid(Y, (0, 0.2), (0.52, 0.80), (0.13, 0.08), 0.04),
    )),
    Part("Lens", "signal blue", (0.18, 0.40, 0.95), (
        Solid(Z, (0.52, 0.16), (0.24, 0.56), (0.17, 0.11), 0.05),
    )),
    Part("Keys", "ivory", (0.90, 0.88, 0.82), tuple(
        Solid(Z, (x, -0.26), (0.20, 0.28), (0.055, 0.055), 0.025, around=4)
        for x in (0.37, 0.52, 0.67)
    )),
    Part("Mast", "brushed steel", (0.68, 0.71, 0.75), (
        Solid(Y, (0, -0.52), (0.56, 1.10), (0.045, 0.03), 0.02, around=4),
    )),
    Part("Beacon", "amber", (0.95, 0.52, 0.12), (
        ball((-0.52, 1.13, 0), 0.1),
    ), with_normals=False),
    Part("Cover", "safety yellow", (0.95, 0.80, 0.16), (
        plate((-0.62, 0.34), (-0.36, 0.36), (-0.275, -0.20), 0.08, 0.025),
        *(bar((x, x + 0.05), (-0.20, 0.20), (-0.31, -0.26)) for x in (-0.50, -0.41, -0.32)),
    )),
    Part("Feet", "rubber", (0.24, 0.24, 0.27), tuple(
        Solid(Y, (0, x), (-0.58, -0.48), (0.10, 0.12), 0.02, around=4) for x in (-0.5, 0.5)
    )),
)

# --- glTF --------------------------------------------------------------------

UNSIGNED_SHORT, UNSIGNED_INT, FLOAT = 5123, 5125, 5126
ARRAY_BUFFER, ELEMENT_ARRAY_BUFFER = 34962, 34963


def padded(data, filler):
    return data + filler * (-len(data) % 4)


class GlbWriter:
    def __init__(self):
        self.binary = b""
        self.json = {
            "asset": {"version": "2.0", "generator": "orbisk make_assets.py"},
            "scene": 0,
            "scenes": [{"nodes": []}],
            "nodes": [],
            "meshes": [],
            "materials": [],
            "accessors": [],
            "bufferViews": [],
        }

    def add(self, part):
        mesh = Mesh()
        for solid in part.solids:
            solid.add_to(mesh)

        attributes = self._attributes(mesh, part)
        primitive = {
            "attributes": attributes,
            "indices": self._indices(mesh, part.wide_indices),
            "material": self._append("materials", {
                "name": part.finish,
                "pbrMetallicRoughness": {
                    "baseColorFactor": [*part.colour, 1.0],
                    "metallicFactor": 0.0,
                    "roughnessFactor": 0.7,
                },
            }),
        }
        node = {"name": part.name,
                "mesh": self._append("meshes", {"name": part.name, "primitives": [primitive]})}
        self.json["scenes"][0]["nodes"].append(self._append("nodes", node))

    def bytes(self):
        document = {**self.json, "buffers": [{"byteLength": len(self.binary)}]}
        text = json.dumps(document, separators=(",", ":")).encode("ascii")
        chunks = b"".join(struct.pack("<I4s", len(data), kind) + data for kind, data in (
            (b"JSON", padded(text, b" ")), (b"BIN\0", self.binary)))
        return struct.pack("<4sII", b"glTF", 2, 12 + len(chunks)) + chunks

    def _attributes(self, mesh, part):
        data = {"POSITION": mesh.positions}
        if part.with_normals:
            data["NORMAL"] = mesh.normals
        if part.interleaved:
            rows = [c for vertex in zip(*data.values()) for vector in vertex for c in vector]
            shared = self._view(self._floats(rows), ARRAY_BUFFER, byteStride=12 * len(data))
            places = [(shared, 12 * i) for i in range(len(data))]
        else:
            places = [(self._view(self._floats([c for vector in vectors for c in vector]),
                                  ARRAY_BUFFER), 0) for vectors in data.values()]
        attributes = {}
        for (name, vectors), (view, offset) in zip(data.items(), places):
            # Only positions are required to come with their bounds.
            bounds = {"min": [min(c) for c in zip(*vectors)],
                      "max": [max(c) for c in zip(*vectors)]} if name == "POSITION" else {}
            attributes[name] = self._append("accessors", {
                "bufferView": view, "byteOffset": offset, "componentType": FLOAT,
                "count": len(vectors), "type": "VEC3", **bounds})
        return attributes

    def _indices(self, mesh, wide):
        kind, code = (UNSIGNED_INT, "I") if wide else (UNSIGNED_SHORT, "H")
        data = struct.pack(f"<{len(mesh.indices)}{code}", *mesh.indices)
        return self._append("accessors", {
            "bufferView": self._view(data, ELEMENT_ARRAY_BUFFER), "byteOffset": 0,
            "componentType": kind, "count": len(mesh.indices), "type": "SCALAR"})

    def _view(self, data, target, **stride):
        view = {"buffer": 0, "byteOffset": len(self.binary), "byteLength": len(data),
                **stride, "target": target}
        self.binary += padded(data, b"\0")
        return self._append("bufferViews", view)

    def _append(self, kind, item):
        self.json[kind].append(item)
        return len(self.json[kind]) - 1

    @staticmethod
    def _floats(values):
        return struct.pack(f"<{len(values)}f", *values)


def device_glb():
    writer = GlbWriter()
    for part in DEVICE:
        writer.add(part)
    return writer.bytes()


# --- Motion ------------------------------------------------------------------

RATE = 100      # samples per second
DURATION = 20   # seconds

# Per axis, the angles in degrees the hand comes to rest at, and when; it moves
# smoothly from each to the next. Every axis is shown by itself first; then the
# three tracks run together, with their stops apart, so that the motion flows.
# The full turn about Y is taken back in the end: a turn by 360 degrees is the
# quaternion -1, and so the run ends at +1, where it began, without a jump.
TRACKS = {
    X: ((1.5, 0), (2.4, 60), (2.6, 60), (3.8, -60), (4.0, -60), (4.9, 0),
        (14.2, 0), (15.4, 40), (16.9, -45), (18.5, 0)),
    Y: ((5.2, 0), (6.1, 75), (6.3, 75), (7.5, -75), (7.7, -75), (10.0, -360),
        (14.4, -360), (18.2, 0)),
    Z: ((10.3, 0), (11.2, 90), (11.4, 90), (12.8, -90), (13.0, -90), (13.9, 0),
        (14.6, 0), (16.0, -50), (17.3, 35), (18.6, 0)),
}

TREMOR_HERTZ = (6, 10)
TREMOR_DEGREES = 0.2  # of each of the waves below
TREMOR_WAVES = 2
NOISE_DEGREES = 0.1   # standard deviation about each axis
SEED = 20


def eased(s):
    """From 0 to 1 with neither speed nor acceleration at the ends."""
    return s * s * s * (10 + s * (6 * s - 15))


def angle_at(track, t):
    if t <= track[0][0]:
        return track[0][1]
    for (start, a), (end, b) in zip(track, track[1:]):
        if t <= end:
            return a + (b - a) * eased((t - start) / (end - start))
    return track[-1][1]


def turn(axis, degrees):
    half = math.radians(degrees) / 2
    q = [0.0, 0.0, 0.0, math.cos(half)]
    q[axis] = math.sin(half)
    return q


def product(p, q):
    px, py, pz, pw = p
    qx, qy, qz, qw = q
    return [pw * qx + px * qw + py * qz - pz * qy,
            pw * qy - px * qz + py * qw + pz * qx,
            pw * qz + px * qy - py * qx + pz * qw,
            pw * qw - px * qx - py * qy - pz * qz]


def normalised(q):
    x, y, z, w = q
    length = math.sqrt(x * x + y * y + z * z + w * w)
    return [c / length for c in q]


def normal_deviate(rng):
    # random.gauss() may change from one Python to the next; twelve uniform
    # numbers have a variance of 1 and are near enough to a bell.
    total = -6.0
    for _ in range(12):
        total += rng.random()
    return total


def imu_run_csv():
    rng = random.Random(SEED)
    low, high = TREMOR_HERTZ
    tremor = {axis: [(low + (high - low) * rng.random(), 2 * math.pi * rng.random())
                     for _ in range(TREMOR_WAVES)] for axis in TRACKS}
    # Half of the angle: so much of a small turn shows in the quaternion.
    noise = math.radians(NOISE_DEGREES) / 2

    lines = ["t,qx,qy,qz,qw"]
    for sample in range(RATE * DURATION):
        t = sample / RATE
        # Turned about the viewer's vertical, then tipped, then rolled.
        q = [0.0, 0.0, 0.0, 1.0]
        for axis in (Y, X, Z):
            degrees = angle_at(TRACKS[axis], t)
            for hertz, phase in tremor[axis]:
                degrees += TREMOR_DEGREES * math.sin(2 * math.pi * hertz * t + phase)
            q = product(q, turn(axis, degrees))
        q = normalised([c + noise * normal_deviate(rng) for c in q])
        # Adding zero turns a rounded -0 into 0.
        lines.append(",".join([f"{t:.3f}"] + [f"{round(c, 6) + 0.0:.6f}" for c in q]))
    return "\n".join(lines + [""]).encode("ascii")


# --- Command line ------------------------------------------------------------

FILES = {"device.glb": device_glb, "imu_run.csv": imu_run_csv}


def main(arguments):
    if arguments not in ([], ["--check"]):
        return f"usage: {pathlib.Path(__file__).name} [--check]"
    folder = pathlib.Path(__file__).resolve().parent
    stale = []
    for name, make in FILES.items():
        file = folder / name
        if not arguments:
            file.write_bytes(make())
        elif not file.is_file() or file.read_bytes() != make():
            stale.append(name)
    if stale:
        return f"not what make_assets.py makes: {', '.join(stale)}"
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
