"""From an output back to the convolutions it is decoded from."""

from __future__ import annotations

from dataclasses import dataclass, field

import numpy as np

from .evaluation import compute
from .network import Network, Node
from .refusal import Refusal
from .static_shape import Shapes

STRIDES = (8, 16, 32)
# What exporters decode with. Whatever else stands behind an output belongs to another kind of network.
DECODING_KINDS = {
    "Abs", "Add", "And", "Cast", "Clip", "Concat", "ConstantOfShape", "CumSum", "Div", "Elu", "Equal", "Exp", "Expand",
    "Flatten", "Floor", "Gather", "GatherElements", "GatherND", "Greater", "HardSigmoid", "HardSwish",
    "Identity", "LeakyRelu", "Less", "Max", "Min", "Mod", "Mul", "Neg", "Not", "PRelu", "Pow", "Range", "Reciprocal",
    "ReduceSum", "Relu", "Reshape", "ScatterND", "Shape", "Sigmoid", "Slice", "Softmax", "Softplus", "Split", "Sqrt",
    "Squeeze", "Sub", "Sum", "Tanh", "Tile", "Transpose", "Unsqueeze", "Where"}
# An export's decoding and the models' formulas differ by a few float32 roundings, or by those of its own constants.
LAW_TOLERANCE = 1e-5
LAW_TOLERANCE_HALF = 2.0**-10


@dataclass
class Analysis:
    """A network of static shape, with all that is known about its tensors."""

    network: Network
    shapes: Shapes
    producers: dict[str, Node] = field(init=False)

    def __post_init__(self) -> None:
        self.producers = self.network.producers()

    def shape(self, tensor: str) -> list[int]:
        """A tensor's shape, empty where nothing is known of it."""
        return self.shapes.get(tensor, (0, None))[1] or []

    def shape_text(self, tensor: str) -> str:
        return str(self.shape(tensor) or "of unknown shape")

    def input_size(self) -> tuple[int, int]:
        _, _, height, width = self.network.inputs[0].shape
        return width, height

    def stride(self, tensor: str) -> int:
        """Input pixels a cell, 0 where the tensor is no grid over the input."""
        width, height = self.input_size()
        shape = self.shape(tensor)
        if len(shape) != 4 or not shape[2] or not shape[3] or width % shape[3] or height % shape[2]:
            return 0
        return width // shape[3] if width // shape[3] == height // shape[2] else 0

    def decode(self, heads: dict[str, np.ndarray], output: str) -> np.ndarray:
        """What the network's own decoding makes of raw heads."""
        return compute(self.network, heads, [output])[output]

    def law_tolerance(self) -> float:
        """How far two decodings of the same heads may differ, as a part of the largest value."""
        return LAW_TOLERANCE_HALF if self.network.half else LAW_TOLERANCE

    def zeros(self, tensors: list[str]) -> dict[str, np.ndarray]:
        return {name: np.zeros(self.shape(name), np.float32) for name in tensors}


@dataclass
class Reach:
    """The convolutions behind an output, or the operator at which the walk had to stop."""

    output: str
    heads: list[str] = field(default_factory=list)
    stopped: str = ""


def reach_of(analysis: Analysis, output: str) -> Reach:
    reach = Reach(output)
    seen = {output}
    waiting = [output]
    while waiting:
        tensor = waiting.pop()
        node = analysis.producers.get(tensor)
        if node is None:
            continue
        if node.kind == "Conv" and not _adds_up_bins(analysis.network, node):
            reach.heads.append(tensor)
            continue
        if not _decodes(analysis.network, node):
            reach.stopped = f"computed through the operator {node.label()}, which decodes no heads"
            return reach
        fresh = [name for name in node.inputs if name and name not in seen]
        seen.update(fresh)
        waiting += fresh
    return reach


def _decodes(network: Network, node: Node) -> bool:
    if node.kind == "MatMul":
        return any(name in network.constants for name in node.inputs)
    return node.kind in DECODING_KINDS or node.kind == "Conv"


def _adds_up_bins(network: Network, node: Node) -> bool:
    """The convolution with the weights 0, 1, 2, ... that turns bins into distances."""
    weight = network.constants.get(node.inputs[1])
    if weight is None or weight.ndim != 4 or weight.shape[0] != 1 or weight.shape[2:] != (1, 1):
        return False
    return bool(np.array_equal(weight.reshape(-1), np.arange(weight.shape[1])))


def by_stride(analysis: Analysis, tensors: list[str]) -> dict[int, list[str]]:
    """The tensors of each stride; a refusal where one lies on no grid of 8, 16 or 32 pixels."""
    groups: dict[int, list[str]] = {stride: [] for stride in STRIDES}
    for tensor in tensors:
        stride = analysis.stride(tensor)
        if stride not in groups:
            width, height = analysis.input_size()
            raise Refusal(f"looked for head convolutions with the strides 8, 16 and 32; found {convolution(tensor)} "
                          f"of the shape {analysis.shape_text(tensor)} for an input of {width} x {height}")
        groups[stride].append(tensor)
    return groups


def convolution(tensor: str) -> str:
    return f"the convolution with the output '{tensor}'"
