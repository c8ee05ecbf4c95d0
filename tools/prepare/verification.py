"""Runs the prepared network in an engine, and the file as it came with NumPy, on the same picture."""

from __future__ import annotations

import importlib
import os
from dataclasses import dataclass
from typing import Callable

import numpy as np
import onnx

from .anchor_heads import AnchorHeads
from .decoding import anchor_rows
from .evaluation import Progress, compute
from .forms import FUSED, head_tensors
from .head_walk import STRIDES
from .network_file import first_line, network_of
from .preparation import Prepared, assemble
from .refusal import Difference, Refusal

PICTURE_SEED = 640
BLOCK = 32
FLOAT32_ROUNDING = 2.0**-23
HALF_ROUNDING = 2.0**-11
# Centres, sizes and probabilities of decoded rows have scales of their own.
ROW_GROUPS = (slice(0, 2), slice(2, 4), slice(4, None))

NUMPY_ALONE = "NumPy alone (neither OpenCV, python3-opencv, nor ONNX Runtime can be imported)"

Engine = Callable[[bytes, dict[str, np.ndarray], list[str]], list[np.ndarray]]


@dataclass
class Report:
    """The largest difference as a part of what is allowed at its place, or why nothing was compared."""

    engines: list[str]
    largest: float = 0.0
    share: float = 0.0
    where: str = ""
    size: tuple[int, int] = (0, 0)
    not_verified: str = ""


def verify(prepared: Prepared, bgr: bool | None, progress: Progress) -> Report:
    """Raises Difference where the networks disagree, Refusal where an engine cannot run the prepared one."""
    engines = available_engines()
    checked, wanted = prepared, None
    try:
        wanted = _expected(prepared, progress)
    except Refusal as refusal:
        _run_all(engines, prepared)
        if prepared.analysis.input_size() == prepared.size:
            return Report(list(engines), not_verified=str(refusal))
    if wanted is None:
        # The file runs at its own size only: it is compared there, after the result has run at the size asked for.
        checked = assemble(prepared.original, prepared.analysis, prepared.heads, prepared.form,
                           prepared.analysis.input_size(), bgr)
        wanted = _expected(checked, progress)
    report = Report(list(engines), size=checked.size)
    for engine, found in _run_all(engines, checked).items():
        _compare(checked, engine, wanted, found, report)
    return report


def available_engines() -> dict[str, Engine]:
    """What can be imported here; NumPy, which finds mistakes of the rewriting at least, where nothing can."""
    os.environ.setdefault("OPENCV_LOG_LEVEL", "SILENT")
    engines = {}
    for module, run in (("cv2", _run_opencv), ("onnxruntime", _run_onnxruntime)):
        try:
            version = importlib.import_module(module).__version__
        except ImportError:
            continue
        engines[f"{'OpenCV' if module == 'cv2' else 'ONNX Runtime'} {version}"] = run
    return engines or {NUMPY_ALONE: _run_numpy}


def _run_opencv(model: bytes, inputs: dict[str, np.ndarray], outputs: list[str]) -> list[np.ndarray]:
    cv2 = importlib.import_module("cv2")
    net = cv2.dnn.readNetFromONNX(np.frombuffer(model, np.uint8))
    for name, value in inputs.items():
        net.setInput(np.ascontiguousarray(value), name)
    return list(net.forward(outputs))


def _run_onnxruntime(model: bytes, inputs: dict[str, np.ndarray], outputs: list[str]) -> list[np.ndarray]:
    runtime = importlib.import_module("onnxruntime")
    session = runtime.InferenceSession(model, providers=["CPUExecutionProvider"])
    return session.run(outputs, {name: np.ascontiguousarray(value) for name, value in inputs.items()})


def _run_numpy(model: bytes, inputs: dict[str, np.ndarray], outputs: list[str]) -> list[np.ndarray]:
    results = compute(network_of(onnx.load_from_string(model)), inputs, outputs)
    return [results[name] for name in outputs]


def _run_all(engines: dict[str, Engine], prepared: Prepared) -> dict[str, list[np.ndarray]]:
    """Each engine's outputs for the picture."""
    model, form = prepared.model.SerializeToString(), prepared.form
    picture = test_picture(*prepared.size)
    inputs = {form.input_name: picture[:, ::-1] if prepared.swapped else picture}
    results = {}
    for name, run in engines.items():
        try:
            results[name] = run(model, inputs, list(form.outputs))
        except Exception as error:  # The engines raise types of their own, which cannot be imported without them.
            # OpenCV's own words, without the place in its sources, stand in `err`.
            reason = first_line(getattr(error, "err", None) or error)
            raise Refusal(f"{name} cannot run the prepared network: {reason}; export the network with opset 12 and no "
                          "options, or write it unchecked with --no-verify") from error
    return results


def test_picture(width: int, height: int) -> np.ndarray:
    """Coloured blocks under noise: flat areas and edges as in a photo, the same ones each time."""
    generator = np.random.default_rng(PICTURE_SEED)
    blocks = generator.random((1, 3, -(-height // BLOCK), -(-width // BLOCK)), dtype=np.float32)
    picture = blocks.repeat(BLOCK, 2).repeat(BLOCK, 3)[:, :, :height, :width]
    return (picture * np.float32(0.8) + generator.random(picture.shape, dtype=np.float32) * np.float32(0.2))


def _expected(prepared: Prepared, progress: Progress) -> list[np.ndarray]:
    """The form's outputs from the file as it came, by NumPy alone."""
    heads, original = prepared.heads, prepared.original
    picture = test_picture(*prepared.size) * np.float32(255 if prepared.took_bytes else 1)
    given = {original.inputs[0].name: picture}
    if prepared.form is FUSED and prepared.analysis.input_size() == prepared.size:
        return list(compute(original, given, [_own_name(prepared)], progress).values())
    values = compute(original, given, head_tensors(heads), progress)
    if prepared.form is FUSED:
        parts = zip(heads.heads, STRIDES, heads.anchors)
        return [np.concatenate([anchor_rows(values[name], stride, anchors) for name, stride, anchors in parts], 1)]
    return [values[name] for name in head_tensors(heads)]


def _own_name(prepared: Prepared) -> str:
    """The decoded output as the file names it: a copy of it may have been taken out for the analysis."""
    position = prepared.analysis.network.outputs.index(prepared.heads.decoded)
    return prepared.original.outputs[position]


def _compare(prepared: Prepared, engine: str, wanted: list[np.ndarray], found: list[np.ndarray],
             report: Report) -> None:
    part = tolerated_part(prepared)
    for name, expected, value in zip(prepared.form.outputs, wanted, found):
        if value.size != expected.size:
            raise Difference(f"{engine} computes '{name}' as {list(value.shape)}, the file as {list(expected.shape)}")
        value = value.reshape(expected.shape)
        groups = ROW_GROUPS if prepared.form is FUSED else (slice(None),)
        for group in groups:
            _compare_group((f"'{name}'", engine), expected[..., group], value[..., group], part, report)


def _compare_group(where: tuple[str, str], expected: np.ndarray, value: np.ndarray, part: float,
                   report: Report) -> None:
    output, engine = where
    allowed = part * float(np.abs(expected).max())
    difference = float(np.abs(value - expected).max())
    if not difference <= allowed:
        raise Difference(f"the prepared network differs from the file: {output} in {engine} by {difference:.3g}, "
                         f"where rounding explains {allowed:.3g}; nothing was written. Export the network again with "
                         "opset 12")
    share = difference / allowed if allowed else 0.0
    if share >= report.share:
        report.largest, report.share, report.where = difference, share, output


def tolerated_part(prepared: Prepared) -> float:
    """The part of an output's largest value that rounding may change.

    A convolution adds up n products; in another order the sum of n rounded numbers moves by about sqrt(n) roundings of
    its scale, and the convolutions of a path add up. Decoding constants in half precision bring their own rounding.
    """
    weights = {tensor.name: tensor.dims for tensor in prepared.model.graph.initializer}
    convolutions = [node for node in prepared.model.graph.node if node.op_type == "Conv" and node.input[1] in weights]
    products = max((int(np.prod(weights[node.input[1]][1:])) for node in convolutions), default=1)
    part = FLOAT32_ROUNDING * max(1, len(convolutions)) * float(np.sqrt(products))
    decoded_by_file = isinstance(prepared.heads, AnchorHeads) and prepared.form is FUSED
    return part + (HALF_ROUNDING if prepared.original.half and decoded_by_file else 0)
