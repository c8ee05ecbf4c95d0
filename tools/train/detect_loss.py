"""Loss of the anchor-based detector: complete IoU, objectness and class cross entropy."""

import torch
from torch.nn import functional as F

from boxes import corners, iou
from network import ANCHORS, STRIDES

RATIO_MAX = 2.6  # an anchor further off gives a poor box beside a good one, which suppression then leaves
SHARPNESS = 2.0  # objectness is learned as IoU to this power, so that poor boxes fall below the threshold
BALANCE = (2.0, 1.0, 0.6)
BOX, OBJECT, CLASS = 0.3, 1.0, 0.5
NEIGHBOURS = torch.tensor(((0, 0), (1, 0), (0, 1), (-1, 0), (0, -1)), dtype=torch.float32) * 0.5


def match(truth, anchors, stride, grid):
    """Cells and anchors in charge of each object: those of similar size, in the object's cell and the two next to it.

    truth rows: picture, label, x centre, y centre, width, height. Gives picture, anchor, row, column and truth rows.
    """
    anchors = torch.tensor(anchors, dtype=torch.float32)
    ratio = truth[None, :, 4:6] / anchors[:, None]
    fits = torch.maximum(ratio, 1 / ratio).amax(2) < RATIO_MAX
    anchor, row = fits.nonzero(as_tuple=True)
    truth = truth[row]
    centre = truth[:, 2:4] / stride
    fraction, mirrored = centre % 1, (grid - centre) % 1
    near = (fraction < 0.5) & (centre > 1)
    far = (mirrored < 0.5) & (grid - centre > 1)
    use = torch.stack((torch.ones_like(near[:, 0]), near[:, 0], near[:, 1], far[:, 0], far[:, 1]))
    which, pick = use.nonzero(as_tuple=True)
    cell = (centre[pick] - NEIGHBOURS[which]).floor().long().clamp(0, grid - 1)
    return truth[pick, 0].long(), anchor[pick], cell[:, 1], cell[:, 0], truth[pick]


def loss(outputs, truth, classes):
    """outputs: per head [n, 3 (5 + classes), g, g] logits; truth: rows as in match."""
    box = obj = cls = torch.zeros(())
    for out, anchors, stride, balance in zip(outputs, ANCHORS, STRIDES, BALANCE):
        n, _, grid, _ = out.shape
        out = out.float().view(n, 3, 5 + classes, grid, grid).permute(0, 1, 3, 4, 2)
        wanted = torch.zeros(out.shape[:4])
        picture, anchor, row, column, rows = match(truth, anchors, stride, grid)
        if len(rows):
            found = out[picture, anchor, row, column]
            p = found[:, :4].sigmoid()
            centre = (p[:, :2] * 2 - 0.5 + torch.stack((column, row), 1)) * stride
            size = (p[:, 2:] * 2) ** 2 * torch.tensor(anchors, dtype=torch.float32)[anchor]
            quality = iou(corners(torch.cat((centre, size), 1)), corners(rows[:, 2:]), True)
            box = box + (1 - quality).mean()
            order = quality.detach().argsort()  # where two objects share a place, the better box decides
            value = quality.detach().clamp(0) ** SHARPNESS
            wanted[picture[order], anchor[order], row[order], column[order]] = value[order]
            labels = F.one_hot(rows[:, 1].long(), classes).float()
            cls = cls + F.binary_cross_entropy_with_logits(found[:, 5:], labels)
        obj = obj + F.binary_cross_entropy_with_logits(out[..., 4], wanted) * balance
    return BOX * box + OBJECT * obj + CLASS * cls, (box.item(), obj.item(), cls.item())
