"""Gives a network one input shape and float32 numbers, and computes everything that then is constant."""

from __future__ import annotations

import numpy as np
import onnx
from onnx import helper, numpy_helper

from .element_types import element_type_of
from .evaluation import OPERATORS, as_float32, compute_node
from .network import Network, Node
from .network_file import IR_VERSION, first_line
from .refusal import Refusal

FLOAT = onnx.TensorProto.FLOAT
FLOAT_TYPES = {FLOAT, onnx.TensorProto.FLOAT16, onnx.TensorProto.DOUBLE, onnx.TensorProto.BFLOAT16}
COPYING_KINDS = {"Identity", "Dropout"}
VALUE_ELEMENTS_MAX = 4096
ROUNDS_MAX = 64

Shapes = dict[str, tuple[int, "list[int] | None"]]


def make_static(network: Network, width: int, height: int) -> Shapes:
    """Rewrites the network for pictures of `width` x `height`. Returns each tensor's element type and shape."""
    convert_to_float32(network)
    network.inputs[0].shape = [1, 3, height, width]
    for _ in range(ROUNDS_MAX):
        shapes = infer_shapes(network)
        removed = _fold_constants(network, shapes) + _drop_copies(network, shapes)
        if not removed:
            return shapes
    raise Refusal("the network's shapes do not settle; export it again with opset 12 and a static shape")


def convert_to_float32(network: Network) -> None:
    """Weights, constants, casts and inputs. Integers inside the network stay."""
    network.constants = {name: as_float32(value) for name, value in network.constants.items()}
    for given in network.inputs:
        given.element_type = FLOAT
    for node in network.nodes:
        if node.kind == "Cast" and node.attributes.get("to") in FLOAT_TYPES:
            node.attributes["to"] = FLOAT
        for name, value in node.attributes.items():
            if isinstance(value, np.ndarray):
                node.attributes[name] = as_float32(value)


def infer_shapes(network: Network) -> Shapes:
    """What ONNX's own rules say about each tensor; extents that they leave open make a shape None."""
    try:
        inferred = onnx.shape_inference.infer_shapes(_without_weights(network))
    except (RuntimeError, ValueError, onnx.shape_inference.InferenceError) as error:
        raise Refusal(f"the network's shapes contradict each other: {first_line(error)}") from error
    shapes: Shapes = {name: (element_type_of(value), list(value.shape))
                      for name, value in network.constants.items()}
    for value in (*inferred.graph.input, *inferred.graph.value_info, *inferred.graph.output):
        tensor = value.type.tensor_type
        extents = [d.dim_value if d.HasField("dim_value") else None for d in tensor.shape.dim]
        known = tensor.HasField("shape") and None not in extents
        shapes[value.name] = (tensor.elem_type, extents if known else None)
    return shapes


def _without_weights(network: Network) -> onnx.ModelProto:
    """Inference needs the values of small constants only; weights would be copied each time."""
    small = {name: v for name, v in network.constants.items() if v.size <= VALUE_ELEMENTS_MAX}
    given = [helper.make_tensor_value_info(i.name, i.element_type, i.shape) for i in network.inputs]
    given += [helper.make_tensor_value_info(name, element_type_of(v), v.shape)
              for name, v in network.constants.items() if name not in small]
    nodes = [helper.make_node(n.kind, n.inputs, n.outputs, name=n.name or None, **_filled(n)) for n in network.nodes]
    graph = helper.make_graph(nodes, "shapes", given, [onnx.ValueInfoProto(name=name) for name in network.outputs],
                              [numpy_helper.from_array(v, name) for name, v in small.items()])
    return helper.make_model(graph, opset_imports=[helper.make_opsetid("", network.opset)], ir_version=IR_VERSION)


def _filled(node: Node) -> dict:
    return {k: numpy_helper.from_array(v) if isinstance(v, np.ndarray) else v for k, v in node.attributes.items()
            if v != []}


def _fold_constants(network: Network, shapes: Shapes) -> int:
    kept = []
    for node in network.nodes:
        results = _constant_results(network, node, shapes)
        if results is None:
            kept.append(node)
        else:
            network.constants.update((name, value) for name, value in zip(node.outputs, results) if name)
    folded = len(network.nodes) - len(kept)
    network.nodes = kept
    return folded


def _constant_results(network: Network, node: Node, shapes: Shapes) -> list[np.ndarray] | None:
    if node.kind in ("Shape", "Size"):
        shape = shapes.get(node.inputs[0], (0, None))[1]
        return None if shape is None else compute_node(node, [np.broadcast_to(np.int8(0), shape)], network.opset)
    if node.kind not in OPERATORS or any(name and name not in network.constants for name in node.inputs):
        return None
    return compute_node(node, [network.constants[name] if name else None for name in node.inputs], network.opset)


def _drop_copies(network: Network, shapes: Shapes) -> int:
    """Takes out nodes that pass a tensor on as it is."""
    source: dict[str, str] = {}
    kept = []
    for node in network.nodes:
        node.inputs = [source.get(name, name) for name in node.inputs]
        if _is_copy(node, shapes):
            source[node.outputs[0]] = node.inputs[0]
        else:
            kept.append(node)
    network.nodes = kept
    network.outputs = [source.get(name, name) for name in network.outputs]
    return len(source)


def _is_copy(node: Node, shapes: Shapes) -> bool:
    if node.kind == "Cast":
        return shapes.get(node.inputs[0], (0, None))[0] == node.attributes["to"]
    return node.kind in COPYING_KINDS
