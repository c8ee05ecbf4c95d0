"""Box arithmetic on tensors."""

import math

import torch


def corners(boxes):
    """(x centre, y centre, width, height) to (left, top, right, bottom)."""
    half = boxes[..., 2:] / 2
    return torch.cat((boxes[..., :2] - half, boxes[..., :2] + half), -1)


def iou(a, b, complete=False):
    """Overlap of corner boxes that broadcast; the complete form adds distance and aspect terms."""
    low, high = torch.maximum(a[..., :2], b[..., :2]), torch.minimum(a[..., 2:], b[..., 2:])
    inter = (high - low).clamp(min=0).prod(-1)
    size_a, size_b = a[..., 2:] - a[..., :2], b[..., 2:] - b[..., :2]
    overlap = inter / (size_a.prod(-1) + size_b.prod(-1) - inter + 1e-7)
    if not complete:
        return overlap
    hull = torch.maximum(a[..., 2:], b[..., 2:]) - torch.minimum(a[..., :2], b[..., :2])
    apart = ((a[..., :2] + a[..., 2:] - b[..., :2] - b[..., 2:]) ** 2).sum(-1) / 4
    turn = torch.atan(size_b[..., 0] / (size_b[..., 1] + 1e-7)) - torch.atan(size_a[..., 0] / (size_a[..., 1] + 1e-7))
    aspect = 4 / math.pi**2 * turn**2
    with torch.no_grad():
        weight = aspect / (aspect - overlap + 1 + 1e-7)
    return overlap - apart / ((hull**2).sum(-1) + 1e-7) - weight * aspect
