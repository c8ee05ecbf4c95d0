"""Rewrites a network of static shape for operator set 12, the newest that OpenCV 4.6 reads without mistakes.

Only what changed between the sets 11 to 17 is touched. In the end each node is held against set 12's own definition of
its operator, so that nothing newer slips through.
"""

from __future__ import annotations

from typing import Callable

import numpy as np
import onnx

from .network import Network, Node, fresh_name
from .refusal import Refusal
from .static_shape import Shapes

OPSET = 12
AXES_AS_INPUT = {"Squeeze", "Unsqueeze", "ReduceSum"}
AXIS_FROM_THE_FRONT = {"Concat", "Gather", "LogSoftmax", "Softmax", "Split"}
# Attributes of newer sets that mean nothing at these values.
MEANINGLESS = {"Reshape": {"allowzero": 0}, "BatchNormalization": {"training_mode": 0},
               "ReduceSum": {"noop_with_empty_axes": 0}}


def to_opset_12(network: Network, shapes: Shapes) -> None:
    """Rewrites in place. Raises Refusal for an operator that set 12 lacks."""
    rewritten: list[Node] = []
    for node in network.nodes:
        _drop_meaningless(node)
        if node.kind in AXES_AS_INPUT:
            _input_to_attribute(network, node, 1, "axes")
        if node.kind == "Split":
            _input_to_attribute(network, node, 1, "split")
        _count_axis_from_the_front(node, shapes)
        rewrite = REWRITES.get(node.kind)
        rewritten += rewrite(network, node, shapes) if rewrite else [node]
    network.nodes = rewritten
    network.opset = OPSET
    for node in network.nodes:
        _check_definition(node)


def _drop_meaningless(node: Node) -> None:
    for name, value in MEANINGLESS.get(node.kind, {}).items():
        if node.attributes.get(name) == value:
            del node.attributes[name]
    node.attributes = {name: value for name, value in node.attributes.items()
                       if not isinstance(value, list) or value}


def _input_to_attribute(network: Network, node: Node, index: int, name: str) -> None:
    if len(node.inputs) <= index:
        return
    tensor = node.inputs.pop(index)
    if not tensor:
        return
    if tensor not in network.constants:
        raise Refusal(f"operator {node.label()} computes its {name} from the picture; export the network with opset 12")
    node.attributes[name] = network.constants[tensor].reshape(-1).tolist()


def _count_axis_from_the_front(node: Node, shapes: Shapes) -> None:
    """OpenCV 4.6 reads past an end for some axes that count from the back."""
    shape = shapes.get(node.inputs[0], (0, None))[1] if node.inputs else None
    axis = node.attributes.get("axis", 0)
    if node.kind in AXIS_FROM_THE_FRONT and shape is not None and axis < 0:
        node.attributes["axis"] = axis + len(shape)


def _softmax(network: Network, node: Node, shapes: Shapes) -> list[Node]:
    """Up to set 12 all axes from `axis` on are normalised together; from 13 on only that one, by default the last."""
    if network.opset < 13:
        return [node]
    shape = shapes.get(node.inputs[0], (0, None))[1]
    if shape is None:
        raise Refusal(f"operator {node.label()} works on a tensor of unknown shape; export the network with opset 12")
    last = len(shape) - 1
    axis = node.attributes.setdefault("axis", last)
    if axis < 0:
        axis = node.attributes["axis"] = last
    if axis == last:
        return [node]
    order = list(range(last + 1))
    order[axis], order[last] = last, axis
    names = network.tensor_names()
    turned = fresh_name(names, f"{node.outputs[0]}_turned")
    scaled = fresh_name(names, f"{node.outputs[0]}_scaled")
    return [Node("Transpose", [node.inputs[0]], [turned], {"perm": order}),
            Node(node.kind, [turned], [scaled], {"axis": last}, node.name),
            Node("Transpose", [scaled], [node.outputs[0]], {"perm": order})]


def _hard_swish(network: Network, node: Node, shapes: Shapes) -> list[Node]:
    """An operator since set 14; x * HardSigmoid(x) before."""
    gate = fresh_name(network.tensor_names(), f"{node.outputs[0]}_gate")
    return [Node("HardSigmoid", [node.inputs[0]], [gate], {"alpha": 1 / 6, "beta": 0.5}),
            Node("Mul", [node.inputs[0], gate], node.outputs, {}, node.name)]


def _batch_normalization(network: Network, node: Node, shapes: Shapes) -> list[Node]:
    """The outputs beside the first are for training only, and fewer in newer sets."""
    node.outputs = node.outputs[:1]
    return [node]


def _resize(network: Network, node: Node, shapes: Shapes) -> list[Node]:
    """Factors instead of sizes, and no region: what every reader of set 12 understands."""
    factors_from_sizes(network, node, shapes)
    inputs = (node.inputs + ["", "", ""])[:4]
    for index in (1, 2):
        if not inputs[index] and (index == 1 or inputs[3]):
            inputs[index] = _empty_floats(network)
    node.inputs = inputs if inputs[3] else inputs[:3]
    return [node]


def factors_from_sizes(network: Network, node: Node, shapes: Shapes) -> None:
    """Replaces the constant sizes of a Resize by their factors where these give the same sizes."""
    sizes = network.constants.get(node.inputs[3]) if len(node.inputs) > 3 else None
    source = shapes.get(node.inputs[0], (0, None))[1]
    if sizes is None or not sizes.size or source is None or len(source) != sizes.size:
        return
    factors = (sizes / np.array(source)).astype(np.float32)
    if not np.array_equal(factors * np.array(source), sizes):
        return
    name = fresh_name(network.tensor_names(), f"{node.outputs[0]}_factors")
    network.constants[name] = factors
    node.inputs = [node.inputs[0], node.inputs[1], name]


def _empty_floats(network: Network) -> str:
    name = "no_values"
    while name in network.tensor_names() and getattr(network.constants.get(name), "size", 1) != 0:
        name += "_"
    network.constants[name] = np.zeros(0, np.float32)
    return name


REWRITES: dict[str, Callable[[Network, Node, Shapes], list[Node]]] = {
    "Softmax": _softmax, "LogSoftmax": _softmax, "HardSwish": _hard_swish,
    "BatchNormalization": _batch_normalization, "Resize": _resize}


def _check_definition(node: Node) -> None:
    try:
        definition = onnx.defs.get_schema(node.kind, OPSET, "")
    except onnx.defs.SchemaError as error:
        raise Refusal(f"operator {node.label()} does not exist in opset 12, which OpenCV needs; export the network "
                      "again with opset 12") from error
    unknown = sorted(set(node.attributes) - set(definition.attributes))
    if unknown:
        raise Refusal(f"operator {node.label()} has the attribute '{unknown[0]}', which opset 12 lacks; export the "
                      "network again with opset 12")
    if not definition.min_input <= len(node.inputs) <= definition.max_input:
        raise Refusal(f"operator {node.label()} has {len(node.inputs)} inputs, in opset 12 it takes "
                      f"{definition.min_input} to {definition.max_input}; export the network again with opset 12")
