"""Small exports as different exporters would write them.

All variants of one family and one seed compute the same function, so that a plain static float32 export in opset 12,
which OpenCV runs as it is, tells what the prepared form of every other variant has to compute.
"""

from __future__ import annotations

from dataclasses import dataclass, field

import numpy as np
import onnx
from onnx import helper, numpy_helper

ANCHORS = [[[10, 13], [16, 30], [33, 23]], [[30, 61], [62, 45], [59, 119]], [[116, 90], [156, 198], [373, 326]]]
OWN_ANCHORS = [[[12.5, 14], [20, 21.25], [30, 35]], [[44, 40], [52, 80], [90, 66]],
               [[110, 120], [200, 180], [301, 280]]]
STRIDES = (8, 16, 32)
BINS = 16
COEFFICIENTS = 32


@dataclass(frozen=True)
class Variant:
    """How an export is written; what it computes follows from classes, anchors and size alone."""

    opset: int = 12
    classes: int = 2
    width: int = 320
    height: int = 320
    anchors: list = field(default_factory=lambda: ANCHORS)
    style: str = "split"
    half: bool = False
    dynamic: bool = False
    computed_grid: bool = False
    cast_ends: bool = False
    raw_outputs: bool = False
    only_raw: bool = False
    focus: bool = False
    divides_by_255: bool = False
    turned: bool = False
    anonymous: bool = False
    metadata: tuple = ()

    def plain(self) -> "Variant":
        """The same function as OpenCV 4.6 takes it."""
        return Variant(classes=self.classes, width=self.width, height=self.height, anchors=self.anchors,
                       focus=self.focus)


class Maker:
    """Writes nodes in the operator set and the precision of a variant."""

    def __init__(self, variant: Variant, rounded: bool):
        self.variant = variant
        self.rounded = rounded
        self.random = np.random.default_rng(20)
        self.kind = np.float16 if variant.half else np.float32
        self.nodes: list[onnx.NodeProto] = []
        self.weights: list[onnx.TensorProto] = []

    def name(self, hint: str) -> str:
        number = len(self.nodes) + len(self.weights)
        return f"t{number}" if self.variant.anonymous else f"/model/{hint}_{number}"

    def op(self, kind: str, *inputs: str, outputs: int = 1, output: str = "", **attributes):
        names = [output] if output else [f"{self.name(kind)}_output_{k}" for k in range(outputs)]
        node_name = "" if self.variant.anonymous else self.name(kind)
        self.nodes.append(helper.make_node(kind, inputs, names, name=node_name, **attributes))
        return names[0] if outputs == 1 else names

    def floats(self, values) -> str:
        return self.op("Constant", value=numpy_helper.from_array(np.asarray(values, self.kind)))

    def numbers(self, values) -> str:
        return self.op("Constant", value=numpy_helper.from_array(np.asarray(values, np.int64)))

    def weight(self, values: np.ndarray) -> str:
        values = values.astype(np.float32)
        if self.rounded:
            values = values.astype(np.float16).astype(np.float32)
        name = self.name("weight")
        self.weights.append(numpy_helper.from_array(values.astype(self.kind), name))
        return name

    def conv(self, x: str, source: int, target: int, kernel: int = 1, stride: int = 1, output: str = "") -> str:
        scale = 1.6 / np.sqrt(source * kernel * kernel)
        weight = self.weight(self.random.normal(0, scale, (target, source, kernel, kernel)))
        bias = self.weight(self.random.normal(0, 0.3, target))
        pad = (kernel - 1) // 2
        return self.op("Conv", x, weight, bias, output=output, kernel_shape=[kernel] * 2, strides=[stride] * 2,
                       pads=[pad] * 4, dilations=[1, 1], group=1)

    def layer(self, x: str, source: int, target: int, kernel: int = 1, stride: int = 1) -> str:
        y = self.conv(x, source, target, kernel, stride)
        return self.op("Mul", y, self.op("Sigmoid", y))

    def split(self, x: str, sizes: list[int], axis: int) -> list[str]:
        if self.variant.opset >= 13:
            return self.op("Split", x, self.numbers(sizes), outputs=len(sizes), axis=axis)
        return self.op("Split", x, outputs=len(sizes), axis=axis, split=sizes)

    def unsqueeze(self, x: str, axes: list[int]) -> str:
        if self.variant.opset >= 13:
            return self.op("Unsqueeze", x, self.numbers(axes))
        return self.op("Unsqueeze", x, axes=axes)

    def reduce_sum(self, x: str, axes: list[int]) -> str:
        if self.variant.opset >= 13:
            return self.op("ReduceSum", x, self.numbers(axes), keepdims=0)
        return self.op("ReduceSum", x, axes=axes, keepdims=0)

    def softmax(self, x: str, axis: int, rank: int) -> str:
        """Before opset 13 only over the last axis what it is after."""
        if self.variant.opset >= 13 or axis == rank - 1:
            return self.op("Softmax", x, axis=axis)
        order = list(range(rank))
        order[axis], order[-1] = order[-1], order[axis]
        turned = self.op("Softmax", self.op("Transpose", x, perm=order), axis=rank - 1)
        return self.op("Transpose", turned, perm=order)

    def part(self, x: str, begin: int, end: int, axis: int) -> str:
        return self.op("Slice", x, self.numbers([begin]), self.numbers([end]), self.numbers([axis]), self.numbers([1]))

    def extent(self, x: str, axis: int) -> str:
        return self.op("Gather", self.op("Shape", x), self.numbers(axis), axis=0)

    def joined(self, *scalars) -> str:
        """A shape from numbers and from scalars computed in the network."""
        parts = [self.numbers([s]) if isinstance(s, int) else self.unsqueeze(s, [0]) for s in scalars]
        return self.op("Concat", *parts, axis=0)

    def twice_as_large(self, x: str) -> str:
        attributes = {"mode": "nearest", "coordinate_transformation_mode": "asymmetric", "nearest_mode": "floor"}
        none = "" if self.variant.opset >= 13 else self.op(
            "Constant", value=numpy_helper.from_array(np.zeros(0, np.float32)))
        if not self.variant.dynamic:
            factors = self.op("Constant", value=numpy_helper.from_array(np.array([1, 1, 2, 2], np.float32)))
            return self.op("Resize", x, none, factors, **attributes)
        extents = [self.op("Cast", self.extent(x, axis), to=1) for axis in (2, 3)]
        sizes = [self.op("Cast", self.op("Floor", self.op("Mul", e, self.two())), to=7) for e in extents]
        front = self.part(self.op("Shape", x), 0, 2, 0)
        return self.op("Resize", x, none, none, self.op("Concat", front, self.joined(*sizes), axis=0), **attributes)

    def two(self) -> str:
        return self.op("Constant", value=numpy_helper.from_array(np.array(2, np.float32)))

    def body(self) -> tuple[list[str], list[int], str]:
        """Three grids, their channels and a finer one, as a backbone with a way back up gives them."""
        x = "images"
        if self.variant.cast_ends:
            x = self.op("Cast", x, to=10 if self.variant.half else 1)
        if self.variant.divides_by_255:
            x = self.op("Div", x, self.floats(255.0))
        x = self.layer(self._focus(x), 12, 8, 3) if self.variant.focus else self.layer(x, 3, 8, 3, 2)
        fine = self.layer(x, 8, 8, 3, 2)
        grids = [self.layer(fine, 8, 12, 3, 2)]
        grids.append(self.layer(grids[0], 12, 16, 3, 2))
        deep = self.layer(grids[1], 16, 16, 3, 2)
        pooled = self.op("MaxPool", deep, kernel_shape=[5, 5], strides=[1, 1], pads=[2] * 4)
        grids.append(self.layer(self.op("Concat", deep, pooled, axis=1), 32, 16))
        up = self.op("Concat", self.twice_as_large(grids[2]), grids[1], axis=1)
        grids[1] = self.layer(up, 32, 16)
        grids[0] = self.layer(self.op("Concat", self.twice_as_large(grids[1]), grids[0], axis=1), 28, 12)
        return grids, [12, 16, 16], fine

    def _focus(self, x: str) -> str:
        def every_second(row: int, column: int) -> str:
            y = self.op("Slice", x, self.numbers([row]), self.numbers([1 << 40]), self.numbers([2]), self.numbers([2]))
            return self.op("Slice", y, self.numbers([column]), self.numbers([1 << 40]), self.numbers([3]),
                           self.numbers([2]))
        return self.op("Concat", *(every_second(r, c) for r, c in ((0, 0), (1, 0), (0, 1), (1, 1))), axis=1)

    def model(self, outputs: dict[str, str]) -> onnx.ModelProto:
        """`outputs` gives the tensor for each output's name."""
        v = self.variant
        kind = onnx.TensorProto.FLOAT16 if v.half and not v.cast_ends else onnx.TensorProto.FLOAT
        if v.half and v.cast_ends:
            self.nodes += [helper.make_node("Cast", [tensor], [name], to=1) for name, tensor in outputs.items()]
        else:
            self._rename(outputs)
        shape = ["batch", 3, "height", "width"] if v.dynamic else [1, 3, v.height, v.width]
        graph = helper.make_graph(self.nodes, "export", [helper.make_tensor_value_info("images", kind, shape)],
                                  [onnx.ValueInfoProto(name=name) for name in outputs], self.weights)
        model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", v.opset)], ir_version=7)
        model.graph.output.MergeFrom(self._described_outputs(model, kind))
        del model.graph.output[:len(outputs)]
        helper.set_model_props(model, dict(v.metadata))
        onnx.checker.check_model(model)
        return model

    def _described_outputs(self, model: onnx.ModelProto, kind: int) -> list[onnx.ValueInfoProto]:
        """Exporters of open shapes give the outputs' extents names, others give numbers."""
        described = []
        for output in onnx.shape_inference.infer_shapes(model).graph.output:
            extents = [d.dim_value for d in output.type.tensor_type.shape.dim]
            if self.variant.dynamic or 0 in extents:
                rank = {"r": 5, "h": 4, "m": 4}.get(output.name[0], 4 if output.name == "output1" else 3)
                extents = [f"{output.name}_{k}" for k in range(rank)]
            described.append(helper.make_tensor_value_info(output.name, kind, extents))
        return described

    def _rename(self, outputs: dict[str, str]) -> None:
        """Gives the tensors the names of the outputs."""
        names = {tensor: name for name, tensor in outputs.items()}
        for node in self.nodes:
            for k, name in enumerate(node.output):
                node.output[k] = names.get(name, name)
            for k, name in enumerate(node.input):
                node.input[k] = names.get(name, name)


def yolov5(variant: Variant, rounded: bool = False) -> onnx.ModelProto:
    """A detector. `rounded`: weights as half precision has them, whatever the variant's own precision."""
    maker = Maker(variant, rounded or variant.half)
    grids, channels, _ = maker.body()
    width = variant.classes + 5
    heads = [maker.conv(x, c, 3 * width) for x, c in zip(grids, channels)]
    planes = [_planes(maker, head, k, width) for k, head in enumerate(heads)]
    raw = {f"raw{k}": x for k, x in enumerate(planes)}
    if variant.only_raw:
        return maker.model(raw)
    rows = [DECODERS[variant.style](maker, x, head, k) for k, (x, head) in enumerate(zip(planes, heads))]
    flat = [maker.op("Reshape", x, maker.numbers([1, -1, width])) for x in rows]
    outputs = {"output": maker.op("Concat", *flat, axis=1)}
    return maker.model({**outputs, **raw} if variant.raw_outputs else outputs)


def yolov5_heads(variant: Variant, rounded: bool = False) -> onnx.ModelProto:
    """The same detector, ending at its three head convolutions."""
    maker = Maker(variant, rounded)
    grids, channels, _ = maker.body()
    heads = [maker.conv(x, c, 3 * (variant.classes + 5)) for x, c in zip(grids, channels)]
    return maker.model({f"head{k}": x for k, x in enumerate(heads)})


def _planes(maker: Maker, head: str, number: int, width: int) -> str:
    """[1, 3, rows, columns, classes + 5]"""
    v = maker.variant
    if v.dynamic:
        shape = maker.joined(maker.extent(head, 0), 3, width, maker.extent(head, 2), maker.extent(head, 3))
    else:
        shape = maker.numbers([1, 3, width, v.height // STRIDES[number], v.width // STRIDES[number]])
    return maker.op("Transpose", maker.op("Reshape", head, shape), perm=[0, 1, 3, 4, 2])


def _grid(maker: Maker, head: str, number: int, shift: float = 0, step: float = 1) -> str:
    """(cell - shift) * step for column and row: as a constant of one size, or computed from the head's shape."""
    v, stride = maker.variant, STRIDES[number]
    height, width = v.height // stride, v.width // stride
    if not v.computed_grid:
        rows, columns = np.indices((height, width))
        cells = (np.stack((columns, rows), -1) - shift) * step
        return maker.floats(np.broadcast_to(cells, (1, 3, height, width, 2)))
    rows, columns = maker.extent(head, 2), maker.extent(head, 3)
    one, zero = maker.numbers(1), maker.numbers(0)
    both = maker.joined(rows, columns)
    across = maker.op("Expand", maker.op("Range", zero, columns, one), both)
    down = maker.op("Expand", maker.unsqueeze(maker.op("Range", zero, rows, one), [1]), both)
    cells = maker.op("Concat", maker.unsqueeze(across, [-1]), maker.unsqueeze(down, [-1]), axis=-1)
    kind = 10 if v.half else 1
    cells = maker.op("Cast", maker.op("Reshape", cells, maker.joined(1, 1, rows, columns, 2)), to=kind)
    return maker.op("Mul", maker.op("Sub", cells, maker.floats(shift)), maker.floats(step))


def _sizes(maker: Maker, wh: str, number: int, square: bool) -> str:
    v, stride = maker.variant, STRIDES[number]
    anchors = np.asarray(v.anchors[number], np.float32).reshape(1, 3, 1, 1, 2)
    full = np.broadcast_to(anchors, (1, 3, v.height // stride, v.width // stride, 2))
    doubled = maker.op("Mul", wh, maker.floats(2.0))
    power = maker.op("Mul", doubled, doubled) if square else maker.op("Pow", doubled, maker.floats(2.0))
    # Where the grid is a constant the anchors are spread over it, too.
    return maker.op("Mul", power, maker.floats(anchors if v.computed_grid else full))


def _decode_split(maker: Maker, planes: str, head: str, number: int) -> str:
    y = maker.op("Sigmoid", planes)
    xy, wh, rest = maker.split(y, [2, 2, maker.variant.classes + 1], 4)
    shifted = maker.op("Add", maker.op("Mul", xy, maker.floats(2.0)), _grid(maker, head, number, 0.5))
    xy = maker.op("Mul", shifted, maker.floats(STRIDES[number]))
    return maker.op("Concat", xy, _sizes(maker, wh, number, False), rest, axis=4)


def _decode_slices(maker: Maker, planes: str, head: str, number: int) -> str:
    y = maker.op("Sigmoid", planes)
    doubled = maker.op("Mul", maker.part(y, 0, 2, 4), maker.floats(2.0))
    shifted = maker.op("Add", maker.op("Sub", doubled, maker.floats(0.5)), _grid(maker, head, number))
    xy = maker.op("Mul", shifted, maker.floats(STRIDES[number]))
    wh = _sizes(maker, maker.part(y, 2, 4, 4), number, True)
    return maker.op("Concat", xy, wh, maker.part(y, 4, 1 << 40, 4), axis=-1)


def _decode_premultiplied(maker: Maker, planes: str, head: str, number: int) -> str:
    """The stride multiplied into the grid, the activation after the parts are taken."""
    stride = STRIDES[number]
    xy, wh, rest = maker.split(planes, [2, 2, maker.variant.classes + 1], 4)
    cells = _grid(maker, head, number, 0.5, stride)
    xy = maker.op("Add", maker.op("Mul", maker.op("Sigmoid", xy), maker.floats(2 * stride)), cells)
    wh = _sizes(maker, maker.op("Sigmoid", wh), number, False)
    return maker.op("Concat", xy, wh, maker.op("Sigmoid", rest), axis=4)


def _decode_in_place(maker: Maker, planes: str, head: str, number: int) -> str:
    """Results written over the first values of each row."""
    v, stride = maker.variant, STRIDES[number]
    y = maker.op("Sigmoid", planes)
    doubled = maker.op("Mul", maker.part(y, 0, 2, 4), maker.floats(2.0))
    shifted = maker.op("Add", maker.op("Sub", doubled, maker.floats(0.5)), _grid(maker, head, number))
    boxes = maker.op("Concat", maker.op("Mul", shifted, maker.floats(stride)),
                     _sizes(maker, maker.part(y, 2, 4, 4), number, True), axis=4)
    places = np.indices((1, 3, v.height // stride, v.width // stride, 4)).transpose(1, 2, 3, 4, 5, 0)
    return maker.op("ScatterND", y, maker.numbers(places), boxes)


def _decode_exponential(maker: Maker, planes: str, head: str, number: int) -> str:
    """Another family's law, with the same shapes."""
    xy, wh, rest = maker.split(planes, [2, 2, maker.variant.classes + 1], 4)
    xy = maker.op("Mul", maker.op("Add", maker.op("Sigmoid", xy), _grid(maker, head, number)),
                  maker.floats(STRIDES[number]))
    anchors = np.asarray(maker.variant.anchors[number]).reshape(1, 3, 1, 1, 2)
    wh = maker.op("Mul", maker.op("Exp", wh), maker.floats(anchors))
    return maker.op("Concat", xy, wh, maker.op("Sigmoid", rest), axis=4)


DECODERS = {"split": _decode_split, "slices": _decode_slices, "premultiplied": _decode_premultiplied,
            "in_place": _decode_in_place, "exponential": _decode_exponential}


def _segment_heads(maker: Maker) -> tuple[list[list[str]], str]:
    """Per grid the box, class and coefficient convolution; then the prototypes."""
    grids, channels, fine = maker.body()
    heads = []
    for x, c in zip(grids, channels):
        parts = (4 * BINS, maker.variant.classes, COEFFICIENTS)
        heads.append([maker.conv(maker.layer(x, c, 8, 3), 8, n) for n in parts])
    weight = maker.weight(maker.random.normal(0, 0.3, (12, 8, 2, 2)))
    up = maker.op("ConvTranspose", maker.layer(grids[0], 12, 12), weight, kernel_shape=[2, 2], strides=[2, 2])
    return heads, maker.layer(up, 8, COEFFICIENTS, 3)


def yolov8_seg_heads(variant: Variant, rounded: bool = False) -> onnx.ModelProto:
    """A segmentation network, ending at its nine heads (h0 ... h8) and the prototypes."""
    maker = Maker(variant, rounded)
    heads, proto = _segment_heads(maker)
    tensors = [tensor for triple in heads for tensor in triple]
    return maker.model({**{f"h{k}": tensor for k, tensor in enumerate(tensors)}, "masks": proto})


def yolov8_seg(variant: Variant, rounded: bool = False) -> onnx.ModelProto:
    """A segmentation network with its decoding; the styles are `split` (heads joined per grid) and `separate`."""
    maker = Maker(variant, rounded or variant.half)
    heads, proto = _segment_heads(maker)
    v = maker.variant
    cells = [v.width // s * (v.height // s) for s in STRIDES]
    if v.style == "separate":
        boxes, scores = (_side_by_side(maker, [h[k] for h in heads]) for k in (0, 1))
    else:
        joined = _side_by_side(maker, [maker.op("Concat", h[0], h[1], axis=1) for h in heads])
        boxes, scores = maker.split(joined, [4 * BINS, v.classes], 1)
    coefficients = _side_by_side(maker, [h[2] for h in heads])
    box = _boxes_from_bins(maker, boxes, cells)
    rows = maker.op("Concat", box, maker.op("Sigmoid", scores), coefficients, axis=1)
    if v.turned:
        rows = maker.op("Transpose", rows, perm=[0, 2, 1])
    return maker.model({"output1": proto, "output0": rows} if v.turned else {"output0": rows, "output1": proto})


def _side_by_side(maker: Maker, tensors: list[str]) -> str:
    def flat(tensor: str) -> str:
        if maker.variant.dynamic:
            shape = maker.joined(maker.extent(tensor, 0), maker.extent(tensor, 1), -1)
            return maker.op("Reshape", tensor, shape)
        return maker.op("Reshape", tensor, maker.numbers([0, 0, -1]))
    return maker.op("Concat", *map(flat, tensors), axis=2)


def _boxes_from_bins(maker: Maker, boxes: str, cells: list[int]) -> str:
    v, total = maker.variant, sum(cells)
    bins = maker.op("Reshape", boxes, maker.numbers([1, 4, BINS, -1]))
    if v.style == "separate":
        shares = maker.op("Mul", maker.softmax(bins, 2, 4), maker.floats(np.arange(BINS).reshape(1, 1, BINS, 1)))
        distances = maker.reduce_sum(shares, [2])
    else:
        shares = maker.softmax(maker.op("Transpose", bins, perm=[0, 2, 1, 3]), 1, 4)
        weight = maker.weight(np.arange(BINS).reshape(1, BINS, 1, 1))
        summed = maker.op("Conv", shares, weight, kernel_shape=[1, 1])
        distances = maker.op("Reshape", summed, maker.numbers([1, 4, -1]))
    near, far = maker.part(distances, 0, 2, 1), maker.part(distances, 2, 4, 1)
    centres, steps = np.zeros((1, 2, total)), np.zeros((1, total))
    begin = 0
    for stride, count in zip(STRIDES, cells):
        rows, columns = np.indices((v.height // stride, v.width // stride)).reshape(2, -1) + 0.5
        centres[0, :, begin:begin + count], steps[0, begin:begin + count] = (columns, rows), stride
        begin += count
    low, high = maker.op("Sub", maker.floats(centres), near), maker.op("Add", maker.floats(centres), far)
    middle = maker.op("Div", maker.op("Add", low, high), maker.floats(2.0))
    return maker.op("Mul", maker.op("Concat", middle, maker.op("Sub", high, low), axis=1), maker.floats(steps))
