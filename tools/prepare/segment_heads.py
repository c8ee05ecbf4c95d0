"""YOLOv8 segmentation: a box, a class and a coefficient convolution a grid, and mask prototypes.

Which convolution does what is found by running the export's own decoding: a change in one of them changes the rows of
the output that belong to it.
"""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from .array_operators import sigmoid
from .decoding import centre_and_size, distance_corners
from .head_walk import STRIDES, Analysis, Reach, by_stride, convolution
from .refusal import Refusal

BOX_ROWS = 4
BOX_CHANNELS = 64
COEFFICIENTS = 32
PROTO_STRIDE = 4
CONVOLUTIONS_A_GRID = 3
PROBE_SEED = 8
OUTPUT_NAMES = tuple(f"output{k}" for k in range(9)) + ("proto",)


@dataclass
class SegmentHeads:
    """Tensors with the strides 8, 16, 32: per stride box, class and coefficient logits, then the prototypes."""

    tensors: list[str]
    proto: str
    class_count: int
    decoded: str | None


def find_segment_heads(analysis: Analysis, reaches: list[Reach]) -> SegmentHeads | None:
    """None where the network is of another kind."""
    prepared = _prepared_heads(analysis, reaches)
    if prepared is not None:
        return prepared
    convolutions = len(STRIDES) * CONVOLUTIONS_A_GRID
    rows = next((r for r in reaches if len(r.heads) == convolutions and len(analysis.shape(r.output)) == 3), None)
    if rows is None:
        return None
    roles = _roles(analysis, rows)
    tensors = [roles[stride][role] for stride in STRIDES for role in range(CONVOLUTIONS_A_GRID)]
    _check_channels(analysis, tensors)
    _check_law(analysis, tensors, rows.output)
    return SegmentHeads(tensors, _prototypes(analysis, reaches), analysis.shape(tensors[1])[1], rows.output)


def _prepared_heads(analysis: Analysis, reaches: list[Reach]) -> SegmentHeads | None:
    """A network whose outputs already have the names that the model asks for."""
    names = [reach.output for reach in reaches]
    if sorted(names) != sorted(OUTPUT_NAMES):
        return None
    tensors = list(OUTPUT_NAMES[:-1])
    for number, name in enumerate(tensors):
        if analysis.stride(name) != STRIDES[number // CONVOLUTIONS_A_GRID]:
            raise Refusal(f"output '{name}' has the shape {analysis.shape_text(name)}, not that of a grid of "
                          f"{STRIDES[number // CONVOLUTIONS_A_GRID]} pixels a cell; export the network again")
    _check_channels(analysis, tensors)
    _check_prototypes(analysis, "proto")
    return SegmentHeads(tensors, "proto", analysis.shape(tensors[1])[1], None)


def _roles(analysis: Analysis, rows: Reach) -> dict[int, list[str]]:
    """For each stride its box, class and coefficient convolution."""
    groups = by_stride(analysis, rows.heads)
    for stride, tensors in groups.items():
        if len(tensors) != CONVOLUTIONS_A_GRID:
            raise Refusal(f"looked for three convolutions of stride {stride} behind output '{rows.output}'; "
                          f"found {len(tensors)}: {tensors}")
    base = _random_heads(analysis, rows.heads)
    before = _rows_first(analysis, analysis.decode(base, rows.output), rows)
    firsts = {name: _first_changed_row(analysis, rows, base, before, name) for name in rows.heads}
    return {stride: sorted(tensors, key=firsts.__getitem__) for stride, tensors in groups.items()}


def _random_heads(analysis: Analysis, tensors: list[str]) -> dict[str, np.ndarray]:
    generator = np.random.default_rng(PROBE_SEED)
    return {name: generator.normal(0, 2, analysis.shape(name)).astype(np.float32) for name in sorted(tensors)}


def _rows_first(analysis: Analysis, output: np.ndarray, rows: Reach) -> np.ndarray:
    """[4 + classes + 32, N], whichever way round the export has it."""
    cells = sum(int(np.prod(analysis.shape(name)[2:])) for name in rows.heads) // CONVOLUTIONS_A_GRID
    if output.ndim == 3 and output.shape[0] == 1 and cells in output.shape[1:]:
        return output[0] if output.shape[2] == cells else output[0].T
    raise Refusal(f"looked for an output [1, 4 + classes + 32, {cells}]; found '{rows.output}' {list(output.shape)}")


def _first_changed_row(analysis: Analysis, rows: Reach, base: dict[str, np.ndarray], before: np.ndarray,
                       name: str) -> int:
    # Bins only matter against each other, so the change must not be the same for all of them.
    ramp = np.linspace(1, 3, base[name].shape[1], dtype=np.float32).reshape(1, -1, 1, 1)
    after = _rows_first(analysis, analysis.decode({**base, name: base[name] + ramp}, rows.output), rows)
    changed = np.flatnonzero((after != before).any(1))
    if not len(changed):
        raise Refusal(f"{convolution(name)} has no influence on output '{rows.output}': this is no YOLOv8 segmentation "
                      "network as it is exported")
    return int(changed[0])


def _check_channels(analysis: Analysis, tensors: list[str]) -> None:
    classes = analysis.shape(tensors[1])[1]
    for number, name in enumerate(tensors):
        role = number % CONVOLUTIONS_A_GRID
        wanted = (BOX_CHANNELS, classes, COEFFICIENTS)[role]
        if analysis.shape(name)[1] != wanted:
            kind = ("box distributions", "class scores", "mask coefficients")[role]
            raise Refusal(f"looked for {wanted} channels of {kind}; found '{name}' {analysis.shape_text(name)}: the "
                          "model takes 4 x 16 bins, one score a class and 32 coefficients")


def _check_law(analysis: Analysis, tensors: list[str], output: str) -> None:
    """On random logits the export's decoding has to give what the model's formulas give."""
    given = _random_heads(analysis, tensors)
    found = _rows_first(analysis, analysis.decode(given, output), Reach(output, tensors))
    triples = [tensors[k:k + CONVOLUTIONS_A_GRID] for k in range(0, len(tensors), CONVOLUTIONS_A_GRID)]
    corners = np.concatenate([distance_corners(given[t[0]], s) for t, s in zip(triples, STRIDES)], 1)
    scores = np.concatenate([sigmoid(given[t[1]][0].reshape(-1, _area(given[t[1]]))) for t in triples], 1)
    coefficients = np.concatenate([given[t[2]][0].reshape(-1, _area(given[t[2]])) for t in triples], 1)
    boxes = (centre_and_size(corners), corners)
    if not any(_agree(found, np.concatenate((box, scores, coefficients)), analysis.law_tolerance())
               for box in boxes):
        raise Refusal(f"output '{output}' is not decoded as YOLOv8 segmentation does (boxes in pixels from 16 bins a "
                      "side, class scores, 32 mask coefficients): for random heads its first column is "
                      f"{found[:4, 0].round(3).tolist()} ... instead of {boxes[0][:, 0].round(3).tolist()} ...; export "
                      "a YOLOv8 segmentation network as it is, without options")


def _area(head: np.ndarray) -> int:
    return head.shape[2] * head.shape[3]


def _agree(found: np.ndarray, wanted: np.ndarray, tolerance: float) -> bool:
    if found.shape != wanted.shape:
        return False
    largest = np.maximum(np.abs(wanted).max(1, keepdims=True), np.float32(1))
    return bool((np.abs(found - wanted) <= tolerance * largest).all())


def _prototypes(analysis: Analysis, reaches: list[Reach]) -> str:
    for reach in reaches:
        if len(analysis.shape(reach.output)) == 4 and analysis.stride(reach.output) == PROTO_STRIDE:
            _check_prototypes(analysis, reach.output)
            return reach.output
    shapes = "; ".join(f"'{r.output}' {analysis.shape_text(r.output)}" for r in reaches)
    raise Refusal(f"looked for an output with mask prototypes [1, 32, height / 4, width / 4]; found {shapes}; export "
                  "the segmentation network with both of its outputs")


def _check_prototypes(analysis: Analysis, tensor: str) -> None:
    width, height = analysis.input_size()
    wanted = [1, COEFFICIENTS, height // PROTO_STRIDE, width // PROTO_STRIDE]
    if analysis.shape(tensor) != wanted:
        raise Refusal(f"looked for mask prototypes {wanted}; found '{tensor}' {analysis.shape_text(tensor)}")
