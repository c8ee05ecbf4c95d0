"""Which input size is asked for, and for which one the file was made."""

from __future__ import annotations

import ast
import math

import numpy as np

from .head_walk import STRIDES
from .network import Network
from .refusal import Refusal

Size = tuple[int, int]
MULTIPLE = STRIDES[-1]
EXTENT_MAX = 8192
ORDINARY: Size = (640, 640)
# Cells of the three grids on a square input of the side s: s^2 * (1/64 + 1/256 + 1/1024).
CELLS_A_PIXEL = sum(1 / stride**2 for stride in STRIDES)


def target_size(network: Network, asked: Size | None) -> tuple[Size, str]:
    """Width and height of the result, and in words where they come from."""
    if asked is not None:
        return asked, "as asked for"
    fixed = _fixed(network)
    if fixed is not None:
        return fixed, "the file's own size"
    noted = _noted(network)
    if noted is not None:
        return noted, "the file leaves it open and notes this size; --size sets another one"
    return ORDINARY, "the file leaves it open; --size sets another one"


def check_target(size: Size) -> None:
    """The coarsest grid has to fit in whole cells."""
    for extent in size:
        if not MULTIPLE <= extent <= EXTENT_MAX or extent % MULTIPLE:
            near = min(max(MULTIPLE, round(extent / MULTIPLE) * MULTIPLE), EXTENT_MAX)
            raise Refusal(f"the input size {size[0]} x {size[1]} does not do: width and height have to be multiples of "
                          f"{MULTIPLE} from {MULTIPLE} to {EXTENT_MAX}; the nearest to {extent} is {near}")


def analysis_sizes(network: Network, target: Size) -> list[Size]:
    """Sizes at which the file may be complete, the likeliest first."""
    fixed = _fixed(network)
    if fixed is not None:
        return [fixed]
    noted = _noted(network)
    guesses = [target, *([noted] if noted else []), *_sizes_of_grids(network), ORDINARY]
    return list(dict.fromkeys(guesses))


def _fixed(network: Network) -> Size | None:
    shape = network.inputs[0].shape
    if shape is None or shape[2] is None or shape[3] is None:
        return None
    return shape[3], shape[2]


def _noted(network: Network) -> Size | None:
    """The size in the metadata of newer exporters: [height, width] as text."""
    try:
        height, width = ast.literal_eval(network.metadata.get("imgsz", ""))
        size = (int(width), int(height))
        check_target(size)
        return size
    except (ValueError, SyntaxError, TypeError, MemoryError, RecursionError, Refusal):
        return None


def _sizes_of_grids(network: Network) -> list[Size]:
    """An open shape does not keep an exporter from writing down the grids of the size that it saw."""
    grids = [value.shape[2:4] for value in network.constants.values() if value.ndim == 5 and value.shape[4] == 2]
    sizes = [(max(w for _, w in grids) * STRIDES[0], max(h for h, _ in grids) * STRIDES[0])] if grids else []
    # YOLOv8 has the middles of all cells in one constant, x and y below each other, the finest grid among them.
    sizes += [tuple(round(float(v)) * STRIDES[0] for v in value.reshape(2, -1).max(1) + 0.5)
              for value in network.constants.values() if value.ndim >= 2 and value.size == 2 * value.shape[-1] > 2
              and np.isfinite(value).all()]
    rows = {value.shape[-1] for value in network.constants.values() if value.ndim >= 2}
    for cells in sorted(rows, reverse=True):
        side = math.isqrt(round(cells / CELLS_A_PIXEL))
        if side >= MULTIPLE and side % MULTIPLE == 0 and round(side**2 * CELLS_A_PIXEL) == cells:
            sizes.append((side, side))
    return [size for size in sizes if all(0 < extent <= EXTENT_MAX for extent in size)]
