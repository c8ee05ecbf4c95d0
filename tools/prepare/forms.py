"""Builds the three forms of network that the models take."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from .anchor_heads import AnchorHeads
from .decoding import ANCHORS_PER_CELL, cell_corners
from .head_walk import STRIDES, Analysis
from .network import Network, Node, cut, fresh_name, rename
from .opset import factors_from_sizes, to_opset_12
from .recognition import Heads
from .refusal import Refusal
from .segment_heads import OUTPUT_NAMES as SEGMENT_OUTPUTS
from .static_shape import make_static

CUT_OUTPUTS = tuple(f"/model.24/m.{k}/Conv_output_0" for k in range(len(STRIDES)))
FUSED_OUTPUT = "output0"


@dataclass(frozen=True)
class Form:
    """What one model asks of a network."""

    name: str
    model: str
    input_name: str
    channels: str
    outputs: tuple[str, ...]


FUSED = Form("fused", "yolov5", "image", "rgb", (FUSED_OUTPUT,))
CUT = Form("cut", "yolov5_cutoff", "images", "bgr", CUT_OUTPUTS)
SEGMENTATION = Form("seg", "yolov8_seg", "images", "bgr", SEGMENT_OUTPUTS)


def head_tensors(heads: Heads) -> list[str]:
    """The tensors from which every form is made, in the order of the form's outputs."""
    return heads.heads if isinstance(heads, AnchorHeads) else [*heads.tensors, heads.proto]


def body_of(original: Network, analysis: Analysis, heads: Heads, width: int, height: int) -> Network:
    """Everything up to the heads, for pictures of `width` x `height`, in operator set 12."""
    body = cut(original, head_tensors(heads))
    if analysis.input_size() != (width, height):
        _let_sizes_follow(body, analysis)
    shapes = make_static(body, width, height)
    body = cut(body, body.outputs)
    _check_head_shapes(analysis, Analysis(body, shapes), width, height)
    to_opset_12(body, shapes)
    return cut(body, body.outputs)


def _let_sizes_follow(body: Network, analysis: Analysis) -> None:
    """A file of one size may hold the sizes of its enlarged pictures as constants."""
    for node in body.nodes:
        if node.kind == "Resize":
            factors_from_sizes(body, node, analysis.shapes)


def _check_head_shapes(old: Analysis, new: Analysis, width: int, height: int) -> None:
    for before, after in zip(_shapes(old, new.network.outputs), new.network.outputs):
        found = new.shape(after)
        wanted = _scaled(before, old.input_size(), (width, height))
        if found != wanted:
            raise Refusal(f"for pictures of {width} x {height}, '{after}' would have the shape {new.shape_text(after)} "
                          f"instead of {wanted}: the file is made for {old.input_size()[0]} x {old.input_size()[1]}; "
                          f"leave --size out, or export the network for {width} x {height}")


def _shapes(analysis: Analysis, tensors: list[str]) -> list[list[int]]:
    return [analysis.shape(name) for name in tensors]


def _scaled(shape: list[int], old: tuple[int, int], new: tuple[int, int]) -> list[int]:
    return [*shape[:2], shape[2] * new[1] // old[1], shape[3] * new[0] // old[0]]


def shape_outputs(body: Network, heads: Heads, form: Form) -> dict[str, list[int]]:
    """Gives the body the form's names and, for the fused form, its decoding. Returns the outputs' shapes."""
    _, _, height, width = body.inputs[0].shape
    rename(body, body.inputs[0].name, form.input_name)
    if form is FUSED:
        return _append_decoding(body, heads, width, height)
    for number, name in enumerate(form.outputs):
        rename(body, body.outputs[number], name)
    return _output_shapes(form, heads, width, height)


def _output_shapes(form: Form, heads: Heads, width: int, height: int) -> dict[str, list[int]]:
    grids = [[height // stride, width // stride] for stride in STRIDES]
    if form is CUT:
        channels = ANCHORS_PER_CELL * (heads.class_count + 5)
        return {name: [1, channels, *grid] for name, grid in zip(CUT_OUTPUTS, grids)}
    shapes = {name: [1, (64, heads.class_count, 32)[k % 3], *grids[k // 3]]
              for k, name in enumerate(SEGMENT_OUTPUTS[:-1])}
    return {**shapes, SEGMENT_OUTPUTS[-1]: [1, 32, height // 4, width // 4]}


def _append_decoding(body: Network, heads: AnchorHeads, width: int, height: int) -> dict[str, list[int]]:
    """YOLOv5's decoding, written so that OpenCV 4.6 computes it rightly whatever the exporter wrote."""
    parts, rows, values = [], 0, heads.class_count + 5
    for number, (head, stride) in enumerate(zip(list(body.outputs), STRIDES)):
        grid = (height // stride, width // stride)
        parts.append(_decode_head(body, number, head, stride, grid, heads))
        rows += ANCHORS_PER_CELL * grid[0] * grid[1]
    if FUSED_OUTPUT in body.tensor_names():
        rename(body, FUSED_OUTPUT, fresh_name(body.tensor_names(), FUSED_OUTPUT))
    body.nodes.append(Node("Concat", parts, [FUSED_OUTPUT], {"axis": 1}, "decode/rows"))
    body.outputs = [FUSED_OUTPUT]
    return {FUSED_OUTPUT: [1, rows, values]}


def _decode_head(body: Network, number: int, head: str, stride: int, grid: tuple[int, int],
                 heads: AnchorHeads) -> str:
    """The constants have the full shape of what they are combined with: OpenCV broadcasts only in part."""
    values, area = heads.class_count + 5, ANCHORS_PER_CELL * grid[0] * grid[1]
    full = (1, ANCHORS_PER_CELL, *grid, 2)
    corners = (cell_corners(*grid) - np.float32(0.5)) * np.float32(stride)
    anchors = 4 * heads.anchors[number].reshape(1, ANCHORS_PER_CELL, 1, 1, 2)
    builder = _Builder(body, f"decode/{number}")
    planes = builder.add("Reshape", [head, builder.constant("grid", [1, ANCHORS_PER_CELL, values, *grid])])
    scores = builder.add("Sigmoid", [builder.add("Transpose", [planes], perm=[0, 1, 3, 4, 2])])
    centre, size, rest = builder.split(scores, 4, [2, 2, values - 4])
    steps = builder.add("Mul", [centre, builder.constant("step", np.array(2 * stride, np.float32))], "centre_scaled")
    centre = builder.add("Add", [steps, builder.constant("cells", np.broadcast_to(corners, full))], "centre")
    square = builder.add("Mul", [size, size], "square")
    size = builder.add("Mul", [square, builder.constant("anchors", np.broadcast_to(anchors, full))], "size")
    joined = builder.add("Concat", [centre, size, rest], axis=4)
    return builder.add("Reshape", [joined, builder.constant("rows", [1, area, values])], "rows")


class _Builder:
    """Appends nodes whose names and tensors begin alike."""

    def __init__(self, network: Network, prefix: str):
        self._network, self._prefix = network, prefix

    def constant(self, name: str, value) -> str:
        tensor = self._free(f"{self._prefix}/{name}_value")
        kind = np.float32 if isinstance(value, np.ndarray) else np.int64
        self._network.constants[tensor] = np.ascontiguousarray(value, kind)
        return tensor

    def add(self, kind: str, inputs: list[str], name: str = "", **attributes) -> str:
        node_name = f"{self._prefix}/{name or kind.lower()}"
        output = self._free(node_name)
        self._network.nodes.append(Node(kind, inputs, [output], attributes, node_name))
        return output

    def split(self, tensor: str, axis: int, sizes: list[int]) -> list[str]:
        outputs = [self._free(f"{self._prefix}/part{k}") for k in range(len(sizes))]
        self._network.nodes.append(Node("Split", [tensor], outputs, {"axis": axis, "split": sizes},
                                        f"{self._prefix}/split"))
        return outputs

    def _free(self, name: str) -> str:
        names = self._network.tensor_names()
        return fresh_name(names, name) if name in names else name
