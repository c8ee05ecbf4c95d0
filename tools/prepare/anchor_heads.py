"""YOLOv5: three heads with three anchors a cell.

The anchors are read by running the export's own decoding on chosen heads: logits of 0 give boxes of exactly the
anchors' sizes, whatever operators the exporter has decoded with.
"""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from .decoding import ANCHORS_PER_CELL, BOX_AND_OBJECTNESS, anchor_rows
from .head_walk import STRIDES, Analysis, Reach, by_stride
from .refusal import Refusal

PROBE_SEED = 5


@dataclass
class AnchorHeads:
    """Tensors with the strides 8, 16, 32. Without an output of decoded rows the anchors are not known."""

    heads: list[str]
    class_count: int
    anchors: np.ndarray | None
    decoded: str | None


def find_anchor_heads(analysis: Analysis, reaches: list[Reach]) -> AnchorHeads | None:
    """None where the network is of another kind."""
    decoded = [reach for reach in reaches if len(reach.heads) > 1 and not reach.stopped]
    if decoded:
        return _decoded_heads(analysis, decoded, reaches)
    return _raw_heads(analysis, reaches)


def _decoded_heads(analysis: Analysis, decoded: list[Reach], reaches: list[Reach]) -> AnchorHeads | None:
    rows = next((r for r in decoded if len(analysis.shape(r.output)) == 3), None)
    if rows is None or not _look_like_anchors(analysis, rows.heads):
        return None
    heads = _ordered(analysis, rows.heads)
    _refuse_masks(analysis, heads, reaches)
    class_count = _class_count(analysis, heads)
    _check_rows(analysis, rows.output, heads, class_count)
    anchors = _read_anchors(analysis, heads, rows.output)
    _check_law(analysis, heads, anchors, rows.output)
    return AnchorHeads(heads, class_count, anchors, rows.output)


def _raw_heads(analysis: Analysis, reaches: list[Reach]) -> AnchorHeads | None:
    """Outputs that are the heads themselves, maybe with the anchors moved to an axis of their own."""
    single = list(dict.fromkeys(r.heads[0] for r in reaches if len(r.heads) == 1 and not r.stopped))
    if len(single) != len(STRIDES) or len(single) != len(reaches) or not _look_like_anchors(analysis, single):
        return None
    heads = _ordered(analysis, single)
    return AnchorHeads(heads, _class_count(analysis, heads), None, None)


def _look_like_anchors(analysis: Analysis, heads: list[str]) -> bool:
    """One head a grid, all with the same channels: other families have several convolutions a grid."""
    shapes = [analysis.shape(name) for name in heads]
    return (all(len(shape) == 4 for shape in shapes) and len({shape[1] for shape in shapes}) == 1
            and len({tuple(shape[2:]) for shape in shapes}) == len(shapes))


def _ordered(analysis: Analysis, heads: list[str]) -> list[str]:
    if len(heads) != len(STRIDES):
        shapes = ", ".join(f"'{name}' {analysis.shape_text(name)}" for name in heads)
        raise Refusal("looked for three head convolutions with the strides 8, 16 and 32; found "
                      f"{len(heads)}: {shapes}. No model here takes such a network: train one with three heads")
    groups = by_stride(analysis, heads)
    return [groups[stride][0] for stride in STRIDES]


def _class_count(analysis: Analysis, heads: list[str]) -> int:
    channels = analysis.shape(heads[0])[1]
    class_count = channels // ANCHORS_PER_CELL - BOX_AND_OBJECTNESS
    if channels % ANCHORS_PER_CELL or class_count < 1:
        raise Refusal(f"looked for heads of 3 x (classes + 5) channels; found '{heads[0]}' "
                      f"{analysis.shape_text(heads[0])}: the models take three anchors a cell")
    return class_count


def _refuse_masks(analysis: Analysis, heads: list[str], reaches: list[Reach]) -> None:
    for reach in reaches:
        shape = analysis.shape(reach.output)
        apart = len(reach.heads) == 1 and reach.heads[0] not in heads
        if len(shape) == 4 and apart and analysis.stride(reach.output) < STRIDES[0]:
            raise Refusal(f"output '{reach.output}' {shape} looks like mask prototypes: this is a YOLOv5 segmentation "
                          "network, which no model here takes; use a YOLOv5 detector or YOLOv8 segmentation")


def _check_rows(analysis: Analysis, output: str, heads: list[str], class_count: int) -> None:
    cells = sum(int(np.prod(analysis.shape(name)[2:])) for name in heads)
    wanted = [1, ANCHORS_PER_CELL * cells, class_count + BOX_AND_OBJECTNESS]
    if analysis.shape(output) != wanted:
        raise Refusal(f"looked for decoded rows of the shape {wanted} behind which the heads {heads} stand; found "
                      f"output '{output}' {analysis.shape_text(output)}")


def _read_anchors(analysis: Analysis, heads: list[str], output: str) -> np.ndarray:
    rows = analysis.decode(analysis.zeros(heads), output)[0]
    anchors, begin = [], 0
    for name in heads:
        area = int(np.prod(analysis.shape(name)[2:]))
        anchors.append(rows[begin:begin + ANCHORS_PER_CELL * area:area, 2:4])
        begin += ANCHORS_PER_CELL * area
    return np.stack(anchors).astype(np.float32)


def _check_law(analysis: Analysis, heads: list[str], anchors: np.ndarray, output: str) -> None:
    """On random logits the export's decoding has to give what YOLOv5's formulas give with these anchors."""
    generator = np.random.default_rng(PROBE_SEED)
    given = {name: generator.normal(0, 2, analysis.shape(name)).astype(np.float32) for name in heads}
    found = analysis.decode(given, output)[0]
    wanted = np.concatenate([anchor_rows(given[n], s, a)[0] for n, s, a in zip(heads, STRIDES, anchors)])
    largest = np.maximum(np.abs(wanted).max(0), np.float32(1))
    wrong = np.argwhere(~(np.abs(found - wanted) <= analysis.law_tolerance() * largest))
    if len(wrong):
        row, column = wrong[0]
        raise Refusal(f"output '{output}' is not decoded as YOLOv5 does (centre x, centre y, width, height in pixels, "
                      f"objectness, classes): for the same heads, row {row}, column {column} is "
                      f"{found[row, column]:.6g} instead of {wanted[row, column]:.6g}, with the anchors read as "
                      f"{anchors.round(4).tolist()}; export a YOLOv5 detector as it is, without options")
