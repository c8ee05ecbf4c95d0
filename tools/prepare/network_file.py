"""Reading and writing ONNX files."""

from __future__ import annotations

import os
import tempfile
import warnings
from pathlib import Path
from typing import Any

import google.protobuf.message
import numpy as np
import onnx
from onnx import external_data_helper, helper, numpy_helper

from .hazards import check_hazards
from .network import Input, Network, Node
from .refusal import Refusal, WorkFailure

OPSET_MIN = 11
OPSET_MAX = 17
IR_VERSION = 7
FILE_BYTES_MAX = (1 << 31) - 1
QUANTIZED_KINDS = {"QuantizeLinear", "DequantizeLinear", "DynamicQuantizeLinear", "ConvInteger", "MatMulInteger"}
SUPPRESSION_WORDS = ("NonMaxSuppression", "NMS", "YoloLayer")
# What Python and its libraries throw at numbers, names and shapes that do not fit together.
READING_ERRORS = (ValueError, TypeError, KeyError, IndexError, AttributeError, RuntimeError,
                  ArithmeticError)


def read_network(path: Path) -> Network:
    """The network in an ONNX file, with weights that lie in files beside it."""
    model = _parse(path)
    try:
        return network_of(model)
    except READING_ERRORS as error:
        raise Refusal(f"'{path}' is damaged: {first_line(error)}; export the network again") from error


def _parse(path: Path) -> onnx.ModelProto:
    try:
        if path.is_dir():
            raise Refusal(f"'{path}' is a folder; give the export, an ONNX file")
        data = path.read_bytes()
    except OSError as error:
        raise Refusal(f"'{path}' cannot be read: {error.strerror}") from error
    model = onnx.ModelProto()
    try:
        with warnings.catch_warnings(record=True) as doubts:
            warnings.simplefilter("always")
            model.ParseFromString(data)
        if doubts:
            raise ValueError(str(doubts[0].message))
    except (google.protobuf.message.DecodeError, ValueError, RuntimeError) as error:
        raise Refusal(f"'{path}' is no ONNX file, or it is damaged; export the network again") from error
    if not model.graph.node:
        raise Refusal(f"'{path}' is no ONNX file: it holds no operator; export the network again")
    _load_external_data(model, path)
    return model


def _load_external_data(model: onnx.ModelProto, path: Path) -> None:
    """Weights from other files of the same folder; nothing outside of it is touched."""
    for tensor in external_data_helper._get_all_tensors(model):
        if not external_data_helper.uses_external_data(tensor):
            continue
        location = external_data_helper.ExternalDataInfo(tensor).location
        beside = (path.parent / location).resolve()
        if not beside.is_relative_to(path.parent.resolve()) or not beside.is_file():
            raise Refusal(f"'{path}' keeps tensor '{tensor.name}' in the file '{location}', which is not beside it; "
                          "put it there, or export the network as one file")
        try:
            external_data_helper.load_external_data_for_tensor(tensor, str(path.parent))
            tensor.data_location = onnx.TensorProto.DEFAULT
            del tensor.external_data[:]
        except (OSError, ValueError) as error:
            raise Refusal(f"tensor '{tensor.name}' cannot be read from '{beside}': {error}") from error


def network_of(model: onnx.ModelProto) -> Network:
    """Raises Refusal for what is not taken, and READING_ERRORS for what is damaged."""
    graph = model.graph
    opset = _opset_of(model)
    constants = {tensor.name: numpy_helper.to_array(tensor) for tensor in graph.initializer}
    if graph.sparse_initializer:
        raise Refusal("the network holds sparse weights; export it with ordinary ones")
    nodes = []
    for record in graph.node:
        node = _node_of(record)
        if node.kind == "Constant":
            constants[node.outputs[0]] = _constant_of(node)
        else:
            nodes.append(node)
    inputs = [_input_of(value) for value in graph.input if value.name not in constants]
    network = Network(inputs, [value.name for value in graph.output], nodes, constants, opset,
                      {entry.key: entry.value for entry in model.metadata_props},
                      (model.producer_name, model.producer_version),
                      any(value.dtype == np.float16 for value in constants.values()))
    _check_order(network)
    check_hazards(network)
    return network


def _opset_of(model: onnx.ModelProto) -> int:
    versions = [entry.version for entry in model.opset_import if entry.domain in ("", "ai.onnx")]
    if not versions:
        raise Refusal("the file names no operator set; export the network again with opset 12")
    if not OPSET_MIN <= versions[0] <= OPSET_MAX:
        raise Refusal(f"the network has opset {versions[0]}, taken are {OPSET_MIN} to {OPSET_MAX}; "
                      "export it again with opset 12")
    return versions[0]


def _node_of(record: onnx.NodeProto) -> Node:
    label = f"{record.op_type} '{record.name or (record.output[0] if record.output else '')}'"
    if any(word in record.op_type for word in SUPPRESSION_WORDS):
        raise Refusal(f"operator {label} suppresses boxes inside the network, which the models do themselves; "
                      "export it again without NMS")
    if record.op_type in QUANTIZED_KINDS or record.op_type.startswith("QLinear"):
        raise Refusal(f"operator {label} is quantised; give the float export, the engine quantises by itself")
    if record.domain not in ("", "ai.onnx"):
        raise Refusal(f"operator {label} belongs to '{record.domain}', not to ONNX; export the network without it")
    attributes = {a.name: _attribute_of(label, a) for a in record.attribute}
    return Node(record.op_type, list(record.input), list(record.output), attributes, record.name)


def _attribute_of(label: str, attribute: onnx.AttributeProto) -> Any:
    if attribute.type in (onnx.AttributeProto.GRAPH, onnx.AttributeProto.GRAPHS):
        raise Refusal(f"operator {label} holds a graph of its own; export the network without control flow")
    value = helper.get_attribute_value(attribute)
    if isinstance(value, onnx.TensorProto):
        return numpy_helper.to_array(value)
    return list(value) if attribute.type in (onnx.AttributeProto.INTS, onnx.AttributeProto.FLOATS) else value


def _constant_of(node: Node) -> np.ndarray:
    kinds = {"value": None, "value_float": np.float32, "value_floats": np.float32, "value_int": np.int64,
             "value_ints": np.int64}
    for key, kind in kinds.items():
        if key in node.attributes:
            return np.asarray(node.attributes[key], kind)
    raise Refusal(f"{node.label()} holds no numbers; export the network again")


def _input_of(value: onnx.ValueInfoProto) -> Input:
    tensor = value.type.tensor_type
    shape = None
    if tensor.HasField("shape"):
        shape = [d.dim_value if d.HasField("dim_value") and d.dim_value > 0 else None for d in tensor.shape.dim]
    return Input(value.name, tensor.elem_type, shape)


def _check_order(network: Network) -> None:
    known = {given.name for given in network.inputs} | set(network.constants)
    for node in network.nodes:
        if not node.outputs:
            raise Refusal(f"a {node.kind} node has no output; export the network again")
        for name in node.inputs:
            if name and name not in known:
                raise Refusal(f"{node.label()} reads '{name}', which nothing before it computes; "
                              "export the network again")
        twice = known.intersection(name for name in node.outputs if name)
        if twice:
            raise Refusal(f"'{sorted(twice)[0]}' is computed twice, by {node.label()} too; export the network again")
        known.update(name for name in node.outputs if name)
    for name in network.outputs:
        if name not in known:
            raise Refusal(f"nothing computes the output '{name}'; export the network again")


def model_of(network: Network, output_shapes: dict[str, list[int]]) -> onnx.ModelProto:
    """The network as an ONNX model, checked against ONNX's own rules."""
    float32 = onnx.TensorProto.FLOAT
    graph = helper.make_graph(
        [helper.make_node(n.kind, n.inputs, n.outputs, name=n.name or None, **n.attributes) for n in network.nodes],
        "network",
        [helper.make_tensor_value_info(i.name, float32, i.shape) for i in network.inputs],
        [helper.make_tensor_value_info(name, float32, output_shapes[name]) for name in network.outputs],
        [numpy_helper.from_array(np.ascontiguousarray(value).reshape(value.shape), name)
         for name, value in network.constants.items()])
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", network.opset)], ir_version=IR_VERSION,
                              producer_name=network.producer[0], producer_version=network.producer[1])
    helper.set_model_props(model, network.metadata)
    try:
        onnx.checker.check_model(model, full_check=True)
    except (onnx.checker.ValidationError, onnx.shape_inference.InferenceError, ValueError) as error:
        raise Refusal(f"the network breaks ONNX's rules: {first_line(error)}; export it again with opset 12") from error
    return model


def write_atomically(data: bytes, path: Path) -> None:
    """All of the file or none of it, whatever happens meanwhile."""
    if len(data) > FILE_BYTES_MAX:
        raise Refusal(f"the prepared network has {len(data)} bytes, an ONNX file holds at most {FILE_BYTES_MAX}")
    temporary = ""
    try:
        handle, temporary = tempfile.mkstemp(prefix=f".{path.name}.", dir=path.parent)
        with os.fdopen(handle, "wb") as file:
            file.write(data)
        mask = os.umask(0)
        os.umask(mask)
        os.chmod(temporary, 0o666 & ~mask)
        os.replace(temporary, path)
    except BaseException as error:
        if temporary:
            Path(temporary).unlink(missing_ok=True)
        if isinstance(error, OSError):
            raise WorkFailure(f"'{path}' cannot be written: {error.strerror}") from error
        raise


def first_line(error: BaseException) -> str:
    lines = [line.strip() for line in str(error).splitlines() if line.strip()]
    return lines[0] if lines else type(error).__name__
