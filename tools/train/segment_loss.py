"""Loss of the anchor-free segmentation network: task-aligned assignment, box, distribution, class and mask terms."""

import cv2
import numpy as np
import torch
from torch.nn import functional as F

from boxes import corners, iou
from network import BINS, INPUT, MASKS, STRIDES

TOP = 10
SCORE_POWER, OVERLAP_POWER = 0.5, 6.0
BOX, DISTRIBUTION, CLASS, MASK = 3.0, 0.75, 0.7, 1.5
MASK_SAMPLES = 160
GRID = INPUT // 4


def cells():
    """Centres and strides of the cells of all heads, in pixels."""
    centres, strides = [], []
    for stride in STRIDES:
        grid = INPUT // stride
        row, column = torch.meshgrid(torch.arange(grid), torch.arange(grid), indexing="ij")
        centres.append((torch.stack((column, row), 2).float().view(-1, 2) + 0.5) * stride)
        strides.append(torch.full((grid * grid, 1), float(stride)))
    return torch.cat(centres), torch.cat(strides)


CENTRES, CELL_STRIDES = cells()


def flatten(outputs):
    """Tensors of all heads as [n, cells, channels]."""
    rows = [o.float().flatten(2).transpose(1, 2) for o in outputs]
    return torch.cat(rows[0::3], 1), torch.cat(rows[1::3], 1), torch.cat(rows[2::3], 1)


def decode(box):
    """Corner boxes in pixels from distributions."""
    reach = box.view(*box.shape[:2], 4, BINS).softmax(3) @ torch.arange(BINS, dtype=torch.float32)
    return torch.cat((CENTRES - reach[..., :2] * CELL_STRIDES, CENTRES + reach[..., 2:] * CELL_STRIDES), 2)


def pad(truth, pictures):
    """Labels [n, m], corner boxes [n, m, 4] and which of them are real; m is the fullest picture's count."""
    picture = truth[:, 0].long()
    counts = torch.bincount(picture, minlength=pictures)
    place = torch.arange(len(truth)) - (counts.cumsum(0) - counts)[picture]
    most = max(1, int(counts.max()))
    labels = torch.zeros(pictures, most, dtype=torch.long)
    boxes = torch.zeros(pictures, most, 4)
    real = torch.zeros(pictures, most, dtype=torch.bool)
    labels[picture, place] = truth[:, 1].long()
    boxes[picture, place] = corners(truth[:, 2:])
    real[picture, place] = True
    return labels, boxes, real


@torch.no_grad()
def assign(scores, predicted, labels, boxes, real):
    """For every cell the object it is in charge of (or -1) and how well it does, 0..1.

    An object takes the cells inside its box whose class score and overlap together are best.
    """
    n, count, classes = scores.shape
    near = torch.cat((CENTRES - boxes[..., None, :2], boxes[..., None, 2:] - CENTRES), 3).amin(3) > 0
    near &= real[..., None]
    overlap = iou(boxes[:, :, None], predicted[:, None]).clamp(min=0) * near
    score = scores.transpose(1, 2).gather(1, labels[..., None].expand(-1, -1, count))
    metric = score**SCORE_POWER * overlap**OVERLAP_POWER
    # the small term lets an object without any overlap yet start with the cells nearest to its middle
    middle = (boxes[..., None, :2] + boxes[..., None, 2:]) / 2 - CENTRES
    start = near * 1e-9 / (1 + (middle**2).sum(3))
    best = (metric + start).topk(TOP, 2).indices
    taken = torch.zeros_like(near).scatter_(2, best, True) & near
    owner_overlap, owner = torch.where(taken, overlap, torch.full_like(overlap, -1)).max(1)
    owner[owner_overlap < 0] = -1
    mine = torch.arange(labels.shape[1])[None, :, None] == owner[:, None]
    metric = torch.where(mine, metric, torch.zeros_like(metric))
    peak = metric.amax(2, keepdim=True)
    reach = torch.where(mine, overlap, torch.zeros_like(overlap)).amax(2, keepdim=True)
    return owner, (metric / (peak + 1e-12) * reach).amax(1)


def distribution_loss(box, target):
    """Cross entropy of the two bins that enclose each distance."""
    target = target.clamp(0, BINS - 1.01)
    left = target.floor().long()
    share = left + 1 - target
    logits = box.view(-1, BINS)
    low = F.cross_entropy(logits, left.view(-1), reduction="none").view(target.shape)
    high = F.cross_entropy(logits, left.view(-1) + 1, reduction="none").view(target.shape)
    return (low * share + high * (1 - share)).mean(1)


def covered(picture, number, indices):
    """Share of each prototype cell that an object covers; worked out once for each object."""
    pairs, which = torch.unique(picture * 256 + number, return_inverse=True)
    maps = indices.numpy()
    shares = np.empty((len(pairs), GRID, GRID), np.uint8)
    for share, pair in zip(shares, pairs.tolist()):
        mine = (maps[pair // 256] == pair % 256 + 1).view(np.uint8) * np.uint8(255)
        share[:] = cv2.resize(mine, (GRID, GRID), interpolation=cv2.INTER_AREA)
    return (torch.from_numpy(shares).float() / 255)[which]


def mask_loss(coefficients, proto, picture, number, boxes, indices):
    """Cross entropy of the mixed masks inside the box, on the prototypes' grid; targets are covered shares."""
    if len(picture) > MASK_SAMPLES:
        pick = torch.randperm(len(picture))[:MASK_SAMPLES]
        coefficients, picture, number, boxes = coefficients[pick], picture[pick], number[pick], boxes[pick]
    share = covered(picture, number, indices)
    order = [(picture == p).nonzero()[:, 0] for p in picture.unique()]
    mixed = [coefficients[rows] @ proto[picture[rows[0]]].reshape(MASKS, -1) for rows in order]
    logits = torch.cat(mixed)[torch.argsort(torch.cat(order))].view(-1, GRID, GRID)
    line = torch.arange(GRID) + 0.5
    edge = boxes / (INPUT // GRID)
    inside = ((line > edge[:, :1] - 0.5) & (line < edge[:, 2:3] + 0.5))[:, None, :]
    inside = inside & ((line > edge[:, 1:2] - 0.5) & (line < edge[:, 3:] + 0.5))[:, :, None]
    value = F.binary_cross_entropy_with_logits(logits, share, reduction="none") * inside
    return (value.sum((1, 2)) / inside.sum((1, 2)).clamp(min=1)).mean()


def loss(outputs, truth, indices, classes):
    """outputs: the ten tensors; truth rows: picture, label, centre, size; indices: [n, INPUT, INPUT] index maps."""
    box, cls, coefficients = flatten(outputs[:9])
    proto = outputs[9].float()
    labels, boxes, real = pad(truth, len(box))
    predicted = decode(box)
    owner, quality = assign(cls.sigmoid(), predicted, labels, boxes, real)
    picture, cell = (owner >= 0).nonzero(as_tuple=True)
    number, weight = owner[picture, cell], quality[picture, cell]
    wanted = torch.zeros_like(cls)
    wanted[picture, cell, labels[picture, number]] = weight
    total = weight.sum().clamp(min=1)
    class_part = F.binary_cross_entropy_with_logits(cls, wanted, reduction="sum") / total
    if len(picture) == 0:
        return CLASS * class_part, (0.0, 0.0, class_part.item(), 0.0)
    target = boxes[picture, number]
    stride = CELL_STRIDES[cell]
    box_part = ((1 - iou(predicted[picture, cell], target, True)) * weight).sum() / total
    reach = torch.cat((CENTRES[cell] - target[:, :2], target[:, 2:] - CENTRES[cell]), 1) / stride
    spread = (distribution_loss(box[picture, cell], reach) * weight).sum() / total
    mask_part = mask_loss(coefficients[picture, cell], proto, picture, number, target, indices)
    value = BOX * box_part + DISTRIBUTION * spread + CLASS * class_part + MASK * mask_part
    return value, (box_part.item(), spread.item(), class_part.item(), mask_part.item())
