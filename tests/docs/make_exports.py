"""Ordinary exports out of the sample networks: what a training framework would have written for them."""

from __future__ import annotations

import json
from pathlib import Path

import numpy as np
import onnx
from onnx import helper, numpy_helper

BINS = 16
STRIDES = (8, 16, 32)


def write_detector(source: Path, target: Path) -> None:
    """The fused sample network under an export's names, with nothing in its metadata but the class names."""
    model = onnx.load(str(source))
    rename(model, {"image": "images", "output0": "output"})
    keep_names_only(model)
    onnx.save(model, str(target))


def write_segmentation(source: Path, target: Path) -> None:
    """The sample network's heads decoded into one output, fed RGB, its prototypes as the second one."""
    model = onnx.load(str(source))
    graph = model.graph
    swap_first_convolution(model)
    size = graph.input[0].type.tensor_type.shape.dim[2].dim_value
    classes = {output.name: output for output in graph.output}["output1"].type.tensor_type.shape.dim[1].dim_value
    boxes, scores, coefficients = [], [], []
    for head, stride in enumerate(STRIDES):
        cells = (size // stride) ** 2
        boxes.append(flattened(graph, f"output{3 * head}", 4 * BINS, cells))
        scores.append(flattened(graph, f"output{3 * head + 1}", classes, cells))
        coefficients.append(flattened(graph, f"output{3 * head + 2}", 32, cells))
    box = decoded_boxes(graph, joined(graph, boxes, "box_logits"), size)
    score = node(graph, "Sigmoid", [joined(graph, scores, "score_logits")], "scores")
    node(graph, "Concat", [box, score, joined(graph, coefficients, "mask_coefficients")], "detections", axis=1)
    rename(model, {"detections": "output0", "output0": "head0_boxes", "proto": "output1", "output1": "head0_scores"})
    total = sum((size // stride) ** 2 for stride in STRIDES)
    del graph.output[:]
    graph.output.extend([
        helper.make_tensor_value_info("output0", onnx.TensorProto.FLOAT, [1, 4 + classes + 32, total]),
        helper.make_tensor_value_info("output1", onnx.TensorProto.FLOAT, [1, 32, size // 4, size // 4])])
    keep_names_only(model)
    onnx.checker.check_model(model)
    onnx.save(model, str(target))


def write_truth(source: Path, pictures: Path, target: Path) -> None:
    """The ground truth of the pictures in a folder."""
    truth = json.loads(source.read_text())
    present = {picture.name for picture in pictures.iterdir()}
    truth["images"] = [image for image in truth["images"] if Path(image["file_name"]).name in present]
    for image in truth["images"]:
        image["file_name"] = Path(image["file_name"]).name
    ids = {image["id"] for image in truth["images"]}
    truth["annotations"] = [entry for entry in truth["annotations"] if entry["image_id"] in ids]
    target.write_text(json.dumps(truth))


def node(graph: onnx.GraphProto, kind: str, inputs: list[str], output: str, **attributes: object) -> str:
    graph.node.append(helper.make_node(kind, inputs, [output], **attributes))
    return output


def constant(graph: onnx.GraphProto, name: str, values: np.ndarray) -> str:
    graph.initializer.append(numpy_helper.from_array(values, name))
    return name


def joined(graph: onnx.GraphProto, parts: list[str], name: str) -> str:
    return node(graph, "Concat", parts, name, axis=2)


def flattened(graph: onnx.GraphProto, head: str, channels: int, cells: int) -> str:
    shape = constant(graph, f"{head}_flat_shape", np.array([1, channels, cells], np.int64))
    return node(graph, "Reshape", [head, shape], f"{head}_flat")


def decoded_boxes(graph: onnx.GraphProto, logits: str, size: int) -> str:
    """Distances by their distributions, then centre and size in network pixels."""
    shape = constant(graph, "bins_shape", np.array([1, 4, BINS, -1], np.int64))
    bins = node(graph, "Transpose", [node(graph, "Reshape", [logits, shape], "bins")], "bins_first", perm=[0, 2, 1, 3])
    shares = softmax_over_bins(graph, bins)
    weights = constant(graph, "bin_numbers", np.arange(BINS, dtype=np.float32).reshape(1, BINS, 1, 1))
    expected = node(graph, "Conv", [shares, weights], "expected")
    flat = node(graph, "Reshape", [expected, constant(graph, "distances_shape", np.array([1, 4, -1], np.int64))],
                "distances")
    near, far = node_split(graph, flat)
    centres, strides = cell_centres(size)
    anchor = constant(graph, "cell_centres", centres)
    low = node(graph, "Sub", [anchor, near], "low_corner")
    high = node(graph, "Add", [anchor, far], "high_corner")
    centre = node(graph, "Div", [node(graph, "Add", [low, high], "corner_sum"),
                                 constant(graph, "two", np.float32(2.0).reshape(()))], "centre")
    extent = node(graph, "Sub", [high, low], "extent")
    cells = node(graph, "Concat", [centre, extent], "box_cells", axis=1)
    return node(graph, "Mul", [cells, constant(graph, "cell_strides", strides)], "box_pixels")


def softmax_over_bins(graph: onnx.GraphProto, bins: str) -> str:
    """Up to opset 12 Softmax takes all that follows its axis together: the bins have to come last."""
    last = node(graph, "Transpose", [bins], "bins_last", perm=[0, 2, 3, 1])
    shares = node(graph, "Softmax", [last], "shares_last", axis=3)
    return node(graph, "Transpose", [shares], "shares", perm=[0, 3, 1, 2])


def node_split(graph: onnx.GraphProto, distances: str) -> tuple[str, str]:
    graph.node.append(helper.make_node("Split", [distances], ["near", "far"], axis=1, split=[2, 2]))
    return "near", "far"


def cell_centres(size: int) -> tuple[np.ndarray, np.ndarray]:
    centres, strides = [], []
    for stride in STRIDES:
        grid = size // stride
        rows, columns = np.mgrid[0:grid, 0:grid].astype(np.float32) + 0.5
        centres.append(np.stack([columns.ravel(), rows.ravel()]))
        strides.append(np.full((1, grid * grid), stride, np.float32))
    return np.concatenate(centres, 1)[None], np.concatenate(strides, 1)[None]


def swap_first_convolution(model: onnx.ModelProto) -> None:
    graph = model.graph
    first = next(entry for entry in graph.node if graph.input[0].name in entry.input)
    weight = next(tensor for tensor in graph.initializer if tensor.name == first.input[1])
    weight.CopyFrom(numpy_helper.from_array(np.ascontiguousarray(numpy_helper.to_array(weight)[:, ::-1]), weight.name))


def rename(model: onnx.ModelProto, names: dict[str, str]) -> None:
    """Renames values all at once, so that two may trade names."""
    graph = model.graph
    for value in [*graph.input, *graph.output, *graph.value_info]:
        value.name = names.get(value.name, value.name)
    for entry in graph.node:
        entry.input[:] = [names.get(name, name) for name in entry.input]
        entry.output[:] = [names.get(name, name) for name in entry.output]


def keep_names_only(model: onnx.ModelProto) -> None:
    kept = [(entry.key, entry.value) for entry in model.metadata_props if entry.key == "names"]
    del model.metadata_props[:]
    for key, value in kept:
        helper.set_model_props(model, {key: value})
