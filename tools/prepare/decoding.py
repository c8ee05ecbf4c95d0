"""What the models do with raw heads, as NumPy: the laws that an export's own decoding is held against."""

from __future__ import annotations

import numpy as np

from .array_operators import sigmoid

ANCHORS_PER_CELL = 3
BOX_AND_OBJECTNESS = 5


def cell_corners(height: int, width: int) -> np.ndarray:
    """[height, width, 2]: column and row of each cell."""
    rows, columns = np.indices((height, width), dtype=np.float32)
    return np.stack((columns, rows), -1)


def anchor_rows(head: np.ndarray, stride: int, anchors: np.ndarray) -> np.ndarray:
    """[1, 3 * h * w, classes + 5] in network pixels from YOLOv5's head [1, 3 * (classes + 5), h, w]."""
    _, channels, height, width = head.shape
    values = sigmoid(head.reshape(1, ANCHORS_PER_CELL, channels // ANCHORS_PER_CELL, height, width))
    values = values.transpose(0, 1, 3, 4, 2)
    centres = (values[..., :2] * 2 - np.float32(0.5) + cell_corners(height, width)) * np.float32(stride)
    sizes = (values[..., 2:4] * 2) ** 2 * anchors.reshape(1, ANCHORS_PER_CELL, 1, 1, 2).astype(np.float32)
    rows = np.concatenate((centres, sizes, values[..., 4:]), -1)
    return rows.reshape(1, -1, channels // ANCHORS_PER_CELL)


def distance_corners(box: np.ndarray, stride: int) -> np.ndarray:
    """[4, h * w]: left, top, right, bottom in network pixels from YOLOv8's box logits [1, 4 * bins, h, w]."""
    _, channels, height, width = box.shape
    bins = channels // 4
    powers = np.exp(box.reshape(4, bins, height * width))
    distances = (powers / powers.sum(1, keepdims=True) * np.arange(bins, dtype=np.float32)[:, None]).sum(1)
    centres = cell_corners(height, width).reshape(-1, 2).T + np.float32(0.5)
    return np.concatenate((centres - distances[:2], centres + distances[2:])) * np.float32(stride)


def centre_and_size(corners: np.ndarray) -> np.ndarray:
    return np.concatenate(((corners[:2] + corners[2:]) / 2, corners[2:] - corners[:2]))
