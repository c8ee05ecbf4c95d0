"""Outlines of the six shape classes and their antialiased coverage masks."""

import cv2
import numpy as np

NAMES = ("circle", "triangle", "square", "pentagon", "star", "cross")


def _regular(corners):
    turn = np.arange(corners) * 2 * np.pi / corners
    return np.stack((np.cos(turn), np.sin(turn)), 1)


def _star(rng):
    turn = np.arange(10) * np.pi / 5
    radius = np.where(np.arange(10) % 2 == 0, 1.0, rng.uniform(0.38, 0.5))
    return np.stack((radius * np.cos(turn), radius * np.sin(turn)), 1)


def _cross(rng):
    a, b = 1.0, rng.uniform(0.26, 0.4)
    return np.array([(b, a), (b, b), (a, b), (a, -b), (b, -b), (b, -a),
                     (-b, -a), (-b, -b), (-a, -b), (-a, b), (-b, b), (-b, a)])


def outline(label, rng):
    """Corner points of one shape, turned and slightly squeezed, with a longer box side of exactly 1."""
    name = NAMES[label]
    if name == "circle":
        points = _regular(90)
    elif name == "star":
        points = _star(rng)
    elif name == "cross":
        points = _cross(rng)
    else:
        points = _regular({"triangle": 3, "square": 4, "pentagon": 5}[name])
    squeeze_angle, angle = rng.uniform(0, 2 * np.pi, 2)
    points = _turn(_turn(points, squeeze_angle) * (rng.uniform(0.86, 1.0), 1.0), angle)
    low, high = points.min(0), points.max(0)
    return (points - (low + high) / 2) / (high - low).max()


def _turn(points, angle):
    c, s = np.cos(angle), np.sin(angle)
    return points @ np.array(((c, s), (-s, c)))


def coverage(points, shape):
    """Share of every pixel of an h x w patch that lies inside the outline, 0..1."""
    height, width = shape
    fine = 4 if max(shape) < 200 else 2
    patch = np.zeros((height * fine, width * fine), np.uint8)
    corners = np.round((points * fine - 0.5) * 16).astype(np.int32)
    cv2.fillPoly(patch, [corners], 255, cv2.LINE_8, 4)
    return cv2.resize(patch, (width, height), interpolation=cv2.INTER_AREA).astype(np.float32) / 255
