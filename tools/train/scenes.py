"""Renders one seeded scene: a cluttered background, 1 to 12 shapes, light, blur and noise.

Truth is what can be seen: an index map gives every pixel to the top-most object, and boxes are tight around it.
Sizes are meant in network pixels, that is after the picture has been letterboxed into the network's input.
"""

from dataclasses import dataclass

import cv2
import numpy as np

from letterbox import scale_of
from shapes import NAMES, coverage, outline

SIZE_MIN, SIZE_MAX = 24.0, 200.0
HIDDEN_MAX = 0.15
SOURCE_MIN = 14.0  # an object of fewer source pixels has no recognisable outline
OBJECTS_MAX = 12


@dataclass
class Scene:
    """picture: BGR; index: 0 for background, else 1 + position in labels; boxes: x, y, width, height in pixels."""

    picture: np.ndarray
    index: np.ndarray
    labels: list
    boxes: list


def render(rng, width, height, size=320):
    """Draws a scene of width x height pixels for a network input of size x size."""
    unit = 1.0 / float(scale_of(width, height, size))
    canvas = _background(rng, width, height)
    _clutter(rng, canvas, unit, int(rng.integers(0, 14)))
    labels, index = _objects(rng, canvas, unit)
    if rng.random() < 0.25:
        _hairs(rng, canvas, unit)
    picture = _camera(rng, canvas, unit)
    boxes = [box_of(index == i + 1) for i in range(len(labels))]
    return Scene(picture, index, labels, boxes)


def box_of(mask):
    x, y, w, h = cv2.boundingRect(mask.astype(np.uint8))
    return [x, y, w, h]


def _colour(rng):
    """A random colour: saturated ones as often as dull ones."""
    hsv = np.uint8([[[rng.integers(0, 180), rng.integers(0, 256), rng.integers(25, 256)]]])
    return cv2.cvtColor(hsv, cv2.COLOR_HSV2BGR)[0, 0].astype(np.float32)


def _ramp(rng, width, height):
    """A plane from 0 to 1 in a random direction."""
    angle = rng.uniform(0, 2 * np.pi)
    x = np.linspace(-0.5, 0.5, width, dtype=np.float32)[None, :] * np.float32(np.cos(angle))
    y = np.linspace(-0.5, 0.5, height, dtype=np.float32)[:, None] * np.float32(np.sin(angle))
    plane = x + y
    low, high = plane.min(), plane.max()
    return (plane - low) / max(high - low, 1e-6)


def _cloud(rng, width, height, cells):
    """Smooth random field in -1..1 with about `cells` bumps a side."""
    coarse = rng.uniform(-1, 1, (cells + 1, cells + 1)).astype(np.float32)
    return cv2.resize(coarse, (width, height), interpolation=cv2.INTER_CUBIC)


def _background(rng, width, height):
    start = _colour(rng)
    end = np.clip(start + rng.uniform(-90, 90, 3), 0, 255).astype(np.float32)
    canvas = start + (end - start) * _ramp(rng, width, height)[..., None]
    if rng.random() < 0.6:
        tint = rng.uniform(-22, 22, 3).astype(np.float32)
        canvas += tint * _cloud(rng, width, height, int(rng.integers(2, 24)))[..., None]
    return canvas


def _clutter(rng, canvas, unit, strokes):
    """Lines, arcs and polylines that are no shapes."""
    height, width = canvas.shape[:2]
    for _ in range(strokes):
        colour = _colour(rng).tolist()
        thick = max(1, int(round(rng.uniform(1, 5) * unit)))
        kind = rng.integers(0, 4)
        if kind <= 1:
            a, b = rng.uniform(-0.1, 1.1, (2, 2)) * (width, height)
            cv2.line(canvas, _point(a), _point(b), colour, thick, cv2.LINE_AA)
        elif kind == 2:
            middle = rng.uniform(0, 1, 2) * (width, height)
            axes = rng.uniform(10, 90, 2) * unit
            start = rng.uniform(0, 360)
            cv2.ellipse(canvas, _point(middle), _point(axes), rng.uniform(0, 180), start,
                        start + rng.uniform(40, 200), colour, thick, cv2.LINE_AA)
        else:
            steps = np.cumsum(rng.normal(0, 22 * unit, (int(rng.integers(3, 8)), 2)), 0)
            points = steps + rng.uniform(0, 1, 2) * (width, height)
            cv2.polylines(canvas, [np.round(points).astype(np.int32)], False, colour, thick, cv2.LINE_AA)


def _hairs(rng, canvas, unit):
    """A few thin lines in front of everything; too thin to count as hiding."""
    height, width = canvas.shape[:2]
    for _ in range(int(rng.integers(1, 4))):
        a, b = rng.uniform(-0.1, 1.1, (2, 2)) * (width, height)
        cv2.line(canvas, _point(a), _point(b), _colour(rng).tolist(), max(1, int(round(unit))), cv2.LINE_AA)


def _point(p):
    return int(round(float(p[0]))), int(round(float(p[1])))


def _objects(rng, canvas, unit):
    """Places the objects one on top of the other; refuses places that would hide too much."""
    height, width = canvas.shape[:2]
    index = np.zeros((height, width), np.uint8)
    labels, full = [], []
    wanted = int(rng.integers(1, OBJECTS_MAX + 1))
    largest = min(SIZE_MAX, 0.9 * min(width, height) / unit)
    smallest = max(SIZE_MIN + 2, SOURCE_MIN / unit)
    for _ in range(wanted * 6):
        if len(labels) == wanted:
            break
        side = np.exp(rng.uniform(np.log(smallest), np.log(max(largest, smallest)))) * unit
        label = int(rng.integers(0, len(NAMES)))
        points = outline(label, rng) * side
        extent = points.max(0) - points.min(0)
        room = np.array((width, height)) - extent - 2
        if (room <= 0).any():
            continue
        corner = rng.uniform(0, 1, 2) * room + 1
        points = points - points.min(0) + corner
        if _place(rng, canvas, index, points, unit, len(labels) + 1, full):
            labels.append(label)
    return labels, index


def _place(rng, canvas, index, points, unit, number, full):
    """Draws one object unless it hides more of another than allowed."""
    x0, y0 = np.floor(points.min(0)).astype(int)
    x1, y1 = np.ceil(points.max(0)).astype(int) + 1
    window = np.s_[y0 : min(y1, index.shape[0]), x0 : min(x1, index.shape[1])]
    part, patch, points = index[window], canvas[window], points - (x0, y0)
    alpha = coverage(points, part.shape)
    solid = alpha >= 0.5
    if not _may_hide(index, window, solid, full, unit):
        return False
    fill = _fill(rng, patch, alpha, solid)
    patch += (fill - patch) * alpha[..., None]
    if rng.random() < 0.3:
        _rim(rng, patch, points, fill, alpha, unit)
    part[solid] = number
    full.append(int(solid.sum()))
    return True


def _may_hide(index, window, solid, full, unit):
    """Every object below must keep enough of its area, and a box that is not too small."""
    hidden = np.bincount(index[window][solid], minlength=len(full) + 1)
    for other in np.flatnonzero(hidden[1:]) + 1:
        rest = index == other
        rest[window] &= ~solid
        _, _, w, h = box_of(rest)
        if rest.sum() < (1 - HIDDEN_MAX) * full[other - 1] or max(w, h) < SIZE_MIN * unit:
            return False
    return True


def _fill(rng, patch, alpha, solid):
    """Flat, shaded, striped or mottled, in a colour that differs from what lies around the object."""
    height, width = alpha.shape
    ground = patch[~solid].mean(0) if (~solid).any() else patch.mean((0, 1))
    below = patch[solid].mean(0) if solid.any() else ground
    colour = _colour(rng)
    for _ in range(30):
        if min(np.abs(colour - ground).max(), np.abs(colour - below).max()) > 55:
            break
        colour = _colour(rng)
    fill = np.broadcast_to(colour, patch.shape).astype(np.float32)
    kind = rng.random()
    if kind < 0.35:
        return fill
    other = np.clip(colour + rng.uniform(-60, 60, 3), 0, 255).astype(np.float32)
    if kind < 0.65:
        share = _ramp(rng, width, height)
    elif kind < 0.8:
        share = (np.sin(_ramp(rng, width, height) * rng.uniform(10, 40)) > 0).astype(np.float32) * 0.7
    else:
        share = np.clip(0.5 + 0.5 * _cloud(rng, width, height, int(rng.integers(2, 10))), 0, 1)
    return fill + (other - fill) * share[..., None]


def _rim(rng, patch, points, fill, alpha, unit):
    """A line along the inside of the outline."""
    colour = np.clip(fill.mean((0, 1)) + rng.uniform(-90, 90), 0, 255)
    line = np.zeros(alpha.shape, np.uint8)
    corners = np.round(points * 16).astype(np.int32)
    thick = max(1, int(round(rng.uniform(2, 5) * unit)))
    cv2.polylines(line, [corners], True, 255, thick, cv2.LINE_AA, 4)
    share = np.minimum(line.astype(np.float32) / 255, alpha)[..., None]
    patch += (colour.astype(np.float32) - patch) * share


def _camera(rng, canvas, unit):
    """Uneven light, a colour cast, contrast, blur and noise; gives 8-bit BGR."""
    height, width = canvas.shape[:2]
    light = 1 + rng.uniform(-0.35, 0.35) * (_ramp(rng, width, height) - 0.5)
    gain = rng.uniform(0.75, 1.2) * rng.uniform(0.9, 1.1, 3)
    view = canvas * light[..., None] * gain.astype(np.float32) + np.float32(rng.uniform(-12, 18))
    sigma = rng.uniform(0, 1.1) * unit
    if sigma > 0.3:
        view = cv2.GaussianBlur(view, (0, 0), sigma)
    strength = rng.uniform(0, 10)
    view = view + rng.standard_normal(view.shape, np.float32) * np.float32(strength)
    return np.clip(np.round(view), 0, 255).astype(np.uint8)
