"""Turns network outputs into detections in source pixels: an independent check of what the exported files compute."""

from dataclasses import dataclass

import cv2
import numpy as np

from letterbox import letterbox
from network import ANCHORS, BINS, INPUT, MASKS, STRIDES

KEPT_MAX = 100


@dataclass
class Detections:
    """boxes: left, top, right, bottom; masks: one boolean picture each, or None."""

    boxes: np.ndarray
    scores: np.ndarray
    labels: np.ndarray
    masks: object = None


def sigmoid(x):
    return 1 / (1 + np.exp(-x))


def as_int8(tensor):
    """Quantises a tensor by its own range and back."""
    low, high = min(0.0, float(tensor.min())), max(0.0, float(tensor.max()))
    scale = max(high - low, 1e-9) / 255
    zero = np.round(-128 - low / scale)
    return ((np.clip(np.round(tensor / scale) + zero, -128, 127) - zero) * scale).astype(np.float32)


class Network:
    """One exported file in OpenCV dnn."""

    def __init__(self, kind, path, int8=False):
        self.kind, self.int8 = kind, int8
        self.net = cv2.dnn.readNetFromONNX(str(path))
        self.names = {"fused": ["output0"],
                      "cut": [f"/model.24/m.{k}/Conv_output_0" for k in range(3)],
                      "seg": [f"output{k}" for k in range(9)] + ["proto"]}[kind]

    def forward(self, blob):
        self.net.setInput(blob)
        outputs = [np.array(o) for o in self.net.forward(self.names)]
        return [as_int8(o) for o in outputs] if self.int8 else outputs

    def detect(self, picture, confidence, overlap):
        boxed, r, dw, dh = letterbox(picture, INPUT)
        blob = cv2.dnn.blobFromImage(boxed, 1 / 255, (0, 0), (0, 0, 0), self.kind == "fused", False, cv2.CV_32F)
        outputs = self.forward(blob)
        if self.kind == "seg":
            boxes, scores, labels, extra = _anchor_free(outputs[:9], confidence)
        else:
            rows = outputs[0][0] if self.kind == "fused" else _anchored(outputs)
            boxes, scores, labels, extra = _rows(rows, confidence)
        boxes = (boxes - (dw, dh, dw, dh)) / r
        height, width = picture.shape[:2]
        boxes = np.clip(boxes, 0, (width, height, width, height))
        keep = suppress(boxes, scores, labels, overlap)[:KEPT_MAX]
        found = Detections(boxes[keep], scores[keep], labels[keep])
        if self.kind == "seg":
            found.masks = _masks(extra[keep], outputs[9][0], found.boxes, (width, height), (dw, dh))
        return found


def _rows(rows, confidence):
    best = rows[:, 5:].argmax(1)
    top = rows[np.arange(len(rows)), 5 + best]
    use = (rows[:, 4] > confidence) & (top > confidence)
    centre, half = rows[use, :2], rows[use, 2:4] / 2
    return np.concatenate((centre - half, centre + half), 1), (rows[:, 4] * top)[use], best[use], None


def _anchored(outputs):
    """Logits of the cut network as rows like those of the fused one."""
    rows = []
    for out, anchors, stride in zip(outputs, ANCHORS, STRIDES):
        grid = out.shape[-1]
        p = sigmoid(out[0].reshape(3, -1, grid, grid)).transpose(0, 2, 3, 1)
        row, column = np.mgrid[:grid, :grid]
        p[..., 0] = (p[..., 0] * 2 - 0.5 + column) * stride
        p[..., 1] = (p[..., 1] * 2 - 0.5 + row) * stride
        p[..., 2:4] = (p[..., 2:4] * 2) ** 2 * np.array(anchors, np.float32)[:, None, None]
        rows.append(p.reshape(-1, p.shape[-1]))
    return np.concatenate(rows)


def _anchor_free(outputs, confidence):
    boxes, scores, labels, coefficients = [], [], [], []
    for head, stride in enumerate(STRIDES):
        distribution, classes, masks = (o[0] for o in outputs[3 * head : 3 * head + 3])
        best = classes.argmax(0)
        score = sigmoid(classes.max(0))
        row, column = (score > confidence).nonzero()
        bins = distribution[:, row, column].reshape(4, BINS, -1)
        weight = np.exp(bins - bins.max(1, keepdims=True))
        reach = (weight * np.arange(BINS)[None, :, None]).sum(1) / weight.sum(1)
        x, y = column + 0.5, row + 0.5
        boxes.append(np.stack((x - reach[0], y - reach[1], x + reach[2], y + reach[3]), 1) * stride)
        scores.append(score[row, column])
        labels.append(best[row, column])
        coefficients.append(masks[:, row, column].T)
    return tuple(np.concatenate(v) for v in (boxes, scores, labels, coefficients))


def _masks(coefficients, prototypes, boxes, size, padding):
    """One mask a box: logits above 0 after scaling to the source, inside the box."""
    width, height = size
    grid = prototypes.shape[-1]
    cut_x, cut_y = (int(p / INPUT * grid) for p in padding)
    planes = (coefficients @ prototypes.reshape(MASKS, -1)).reshape(-1, grid, grid)
    masks = np.zeros((len(boxes), height, width), bool)
    for plane, mask, box in zip(planes, masks, boxes):
        view = cv2.resize(plane[cut_y : grid - cut_y, cut_x : grid - cut_x], (width, height))
        x0, y0, x1, y1 = box.astype(int)
        mask[y0:y1, x0:x1] = view[y0:y1, x0:x1] > 0
    return masks


def overlaps(a, b):
    """IoU of every box of a with every box of b."""
    low = np.maximum(a[:, None, :2], b[None, :, :2])
    high = np.minimum(a[:, None, 2:], b[None, :, 2:])
    inter = np.clip(high - low, 0, None).prod(-1)
    area_a, area_b = ((v[:, 2:] - v[:, :2]).prod(-1) for v in (a, b))
    return inter / np.maximum(area_a[:, None] + area_b[None] - inter, 1e-9)


def suppress(boxes, scores, labels, overlap):
    """Greedy suppression inside each class; kept positions by falling score."""
    order = np.argsort(-scores, kind="stable")
    near = overlaps(boxes, boxes) > overlap
    near &= labels[:, None] == labels[None]
    gone = np.zeros(len(boxes), bool)
    keep = []
    for i in order:
        if not gone[i]:
            keep.append(i)
            gone |= near[i]
    return np.array(keep, int)
