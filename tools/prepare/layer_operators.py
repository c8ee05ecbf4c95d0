"""ONNX operators on planar pictures: convolution, pooling, resizing. See `evaluation`."""

from __future__ import annotations

import numpy as np

from .array_operators import checked_shape
from .network import Node
from .operators import operator

NEAREST_PLACES = {b"round_prefer_floor": lambda p: np.ceil(p - 0.5), b"round_prefer_ceil": lambda p: np.floor(p + 0.5),
                  b"floor": np.floor, b"ceil": np.ceil}


class Window:
    """Kernel, strides, dilations and padding of a sliding window over the last two axes."""

    def __init__(self, node: Node, extents: tuple[int, ...], kernel: tuple[int, ...]):
        if len(extents) != 2 or len(kernel) != 2:
            raise ValueError("only windows over height and width are computed here")
        self.kernel = kernel
        self.strides = node.attributes.get("strides", [1, 1])
        self.dilations = node.attributes.get("dilations", [1, 1])
        self.span = [d * (k - 1) + 1 for k, d in zip(kernel, self.dilations)]
        self.pads = self._pads(node, extents)
        padded = [e + self.pads[i] + self.pads[i + 2] for i, e in enumerate(extents)]
        self.extents = [(p - s) // t + 1 for p, s, t in zip(padded, self.span, self.strides)]
        self.overhang = [0, 0]
        if node.attributes.get("ceil_mode", 0):
            self._round_up(padded, extents)

    def _round_up(self, padded: list[int], extents: tuple[int, ...]) -> None:
        for i in range(2):
            count = -(-(padded[i] - self.span[i]) // self.strides[i]) + 1
            # A last window that would begin in the padding behind the picture is left out.
            count -= (count - 1) * self.strides[i] >= extents[i] + self.pads[i]
            self.overhang[i] = max(0, (count - 1) * self.strides[i] + self.span[i] - padded[i])
            self.extents[i] = count

    def _pads(self, node: Node, extents: tuple[int, ...]) -> list[int]:
        mode = node.attributes.get("auto_pad", b"NOTSET")
        if mode == b"NOTSET":
            return node.attributes.get("pads", [0, 0, 0, 0])
        if mode == b"VALID":
            return [0, 0, 0, 0]
        totals = [max(0, (-(-e // t) - 1) * t + s - e) for e, t, s in zip(extents, self.strides, self.span)]
        small, large = [t // 2 for t in totals], [t - t // 2 for t in totals]
        return small + large if mode == b"SAME_UPPER" else large + small

    def padded(self, x: np.ndarray, value: float) -> np.ndarray:
        if min(self.extents) < 1:
            raise ValueError(f"the window {list(self.kernel)} does not fit")
        top, left, bottom, right = self.pads
        amounts = ((0, 0), (0, 0), (top, bottom + self.overhang[0]), (left, right + self.overhang[1]))
        checked_shape([extent + sum(amount) for extent, amount in zip(x.shape, amounts)])
        return np.pad(x, amounts, constant_values=value)

    def views(self, padded: np.ndarray):
        """For each place of the kernel: row, column and the values that it meets."""
        for i in range(self.kernel[0]):
            for j in range(self.kernel[1]):
                y, x = i * self.dilations[0], j * self.dilations[1]
                yield i, j, padded[:, :, y:y + (self.extents[0] - 1) * self.strides[0] + 1:self.strides[0],
                                   x:x + (self.extents[1] - 1) * self.strides[1] + 1:self.strides[1]]


@operator("Conv")
def _convolution(node: Node, x: list, opset: int) -> np.ndarray:
    data, weight = x[0], x[1]
    groups = node.attributes.get("group", 1)
    window = Window(node, data.shape[2:], weight.shape[2:])
    filters = weight.reshape(groups, weight.shape[0] // groups, weight.shape[1], *weight.shape[2:])
    area = window.extents[0] * window.extents[1]
    checked_shape([data.shape[0], weight.shape[0], area])
    result = np.zeros((data.shape[0], groups, filters.shape[1], area), np.float32)
    for i, j, values in window.views(window.padded(data, 0)):
        columns = values.reshape(data.shape[0], groups, filters.shape[2], area)
        result += np.matmul(np.ascontiguousarray(filters[..., i, j]), columns)
    result = result.reshape(data.shape[0], weight.shape[0], *window.extents)
    return result if len(x) < 3 or x[2] is None else result + x[2].reshape(1, -1, 1, 1)


@operator("ConvTranspose")
def _transposed_convolution(node: Node, x: list, opset: int) -> np.ndarray:
    data, weight = x[0], x[1]
    if node.attributes.get("auto_pad", b"NOTSET") != b"NOTSET" or "output_shape" in node.attributes:
        raise ValueError("only explicit padding is computed here")
    strides, dilations = node.attributes.get("strides", [1, 1]), node.attributes.get("dilations", [1, 1])
    groups, (rows, columns) = node.attributes.get("group", 1), data.shape[2:]
    extra = node.attributes.get("output_padding", [0, 0])
    full = [(e - 1) * s + d * (k - 1) + 1 + p
            for e, s, d, k, p in zip((rows, columns), strides, dilations, weight.shape[2:], extra)]
    filters = weight.reshape(groups, weight.shape[0] // groups, weight.shape[1], *weight.shape[2:])
    flat = data.reshape(data.shape[0], groups, filters.shape[1], rows * columns)
    result = np.zeros(checked_shape([data.shape[0], groups * filters.shape[2], *full]), np.float32)
    for i, j in np.ndindex(*weight.shape[2:]):
        part = np.matmul(np.ascontiguousarray(filters[..., i, j].transpose(0, 2, 1)), flat)
        result[:, :, i * dilations[0]:i * dilations[0] + (rows - 1) * strides[0] + 1:strides[0],
               j * dilations[1]:j * dilations[1] + (columns - 1) * strides[1] + 1:strides[1]] += part.reshape(
                   data.shape[0], -1, rows, columns)
    top, left, bottom, right = node.attributes.get("pads", [0, 0, 0, 0])
    result = result[:, :, top:full[0] - bottom, left:full[1] - right]
    return result if len(x) < 3 or x[2] is None else result + x[2].reshape(1, -1, 1, 1)


@operator("MaxPool")
def _max_pool(node: Node, x: list, opset: int) -> np.ndarray:
    window = Window(node, x[0].shape[2:], tuple(node.attributes["kernel_shape"]))
    result = None
    for _, _, values in window.views(window.padded(x[0], -np.inf)):
        result = values.copy() if result is None else np.maximum(result, values, out=result)
    return result


@operator("AveragePool")
def _average_pool(node: Node, x: list, opset: int) -> np.ndarray:
    window = Window(node, x[0].shape[2:], tuple(node.attributes["kernel_shape"]))
    if any(window.overhang):
        raise ValueError("ceil_mode is not computed here")
    total = sum(values for _, _, values in window.views(window.padded(x[0], 0)))
    if node.attributes.get("count_include_pad", 0):
        return total / np.float32(np.prod(window.kernel))
    ones = np.ones((1, 1) + x[0].shape[2:], np.float32)
    return total / sum(values for _, _, values in window.views(window.padded(ones, 0)))


@operator("GlobalAveragePool")
def _global_average_pool(node: Node, x: list, opset: int) -> np.ndarray:
    return x[0].mean((2, 3), keepdims=True, dtype=np.float32)


@operator("BatchNormalization")
def _batch_normalization(node: Node, x: list, opset: int) -> np.ndarray:
    scale, bias, mean, variance = (v.reshape(1, -1, 1, 1) for v in x[1:5])
    return (x[0] - mean) / np.sqrt(variance + np.float32(node.attributes.get("epsilon", 1e-5))) * scale + bias


@operator("Pad")
def _pad(node: Node, x: list, opset: int) -> np.ndarray:
    if node.attributes.get("mode", b"constant") != b"constant":
        raise ValueError("only padding with a constant is computed here")
    pads = x[1].tolist()
    value = x[2].item() if len(x) > 2 and x[2] is not None and x[2].size else 0
    return np.pad(x[0], list(zip(pads[:len(pads) // 2], pads[len(pads) // 2:])), constant_values=value)


@operator("Resize")
def _resize(node: Node, x: list, opset: int) -> np.ndarray:
    sizes = x[3].tolist() if len(x) > 3 and x[3] is not None and x[3].size else None
    scales = [s / e for s, e in zip(sizes, x[0].shape)] if sizes else x[2].tolist()
    sizes = sizes or [int(np.floor(e * s)) for e, s in zip(x[0].shape, scales)]
    checked_shape(sizes)
    result = x[0]
    for axis, (extent, scale) in enumerate(zip(sizes, scales)):
        if extent != x[0].shape[axis] or scale != 1:
            result = _resize_axis(node, result, axis, extent, scale)
    return result


def _resize_axis(node: Node, x: np.ndarray, axis: int, extent: int, scale: float) -> np.ndarray:
    last = x.shape[axis] - 1
    places = _source_places(node, np.arange(extent, dtype=np.float64), extent, x.shape[axis], scale)
    mode = node.attributes.get("mode", b"nearest")
    if mode == b"nearest":
        rounding = NEAREST_PLACES[node.attributes.get("nearest_mode", b"round_prefer_floor")]
        return np.take(x, np.clip(rounding(places), 0, last).astype(np.int64), axis)
    if mode != b"linear":
        raise ValueError(f"the mode {mode.decode(errors='replace')} is not computed here")
    places = np.clip(places, 0, last)
    low = np.floor(places).astype(np.int64)
    share = (places - low).astype(np.float32).reshape([-1 if i == axis else 1 for i in range(x.ndim)])
    return np.take(x, low, axis) * (1 - share) + np.take(x, np.minimum(low + 1, last), axis) * share


def _source_places(node: Node, places: np.ndarray, extent: int, source: int, scale: float) -> np.ndarray:
    mode = node.attributes.get("coordinate_transformation_mode", b"half_pixel")
    if mode == b"asymmetric":
        return places / scale
    if mode == b"half_pixel" or (mode == b"pytorch_half_pixel" and extent > 1):
        return (places + 0.5) / scale - 0.5
    if mode == b"pytorch_half_pixel":
        return np.zeros_like(places)
    if mode == b"align_corners":
        return places * ((source - 1) / max(1, extent - 1))
    raise ValueError(f"the coordinates {mode.decode(errors='replace')} are not computed here")


@operator("DepthToSpace")
def _depth_to_space(node: Node, x: list, opset: int) -> np.ndarray:
    block = node.attributes["blocksize"]
    n, c, h, w = x[0].shape
    if node.attributes.get("mode", b"DCR") == b"CRD":
        return x[0].reshape(n, c // block**2, block, block, h, w).transpose(0, 1, 4, 2, 5, 3).reshape(
            n, c // block**2, h * block, w * block)
    return x[0].reshape(n, block, block, c // block**2, h, w).transpose(0, 3, 4, 1, 5, 2).reshape(
        n, c // block**2, h * block, w * block)


@operator("SpaceToDepth")
def _space_to_depth(node: Node, x: list, opset: int) -> np.ndarray:
    block = node.attributes["blocksize"]
    n, c, h, w = x[0].shape
    return x[0].reshape(n, c, h // block, block, w // block, block).transpose(0, 3, 5, 1, 2, 4).reshape(
        n, c * block**2, h // block, w // block)
