"""ONNX operators on arrays: arithmetic, comparison, shapes, selection. See `evaluation`."""

from __future__ import annotations

from typing import Callable

import numpy as np

from .element_types import numpy_type_of
from .network import Node
from .operators import OPERATORS, operator

ELEMENTS_MAX = 1 << 28


def _elementwise(kind: str, function: Callable) -> None:
    OPERATORS[kind] = lambda node, x, opset: function(*x)


def checked_shape(shape: list[int]) -> list[int]:
    """Damaged files ask for arrays that no machine holds."""
    if any(extent < 0 for extent in shape) or np.prod([float(extent) for extent in shape]) > ELEMENTS_MAX:
        raise ValueError(f"no tensor can have the shape {list(shape)}")
    return [int(extent) for extent in shape]


def _divide(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    if np.issubdtype(a.dtype, np.integer):
        if np.any(b == 0):
            raise ZeroDivisionError("division by zero")
        return (np.abs(a) // np.abs(b)) * np.sign(a) * np.sign(b)
    return a / b


def sigmoid(x: np.ndarray) -> np.ndarray:
    return (1 / (1 + np.exp(-x))).astype(x.dtype)


for _kind, _function in {
        "Add": np.add, "Sub": np.subtract, "Mul": np.multiply, "Div": _divide, "Neg": np.negative, "Abs": np.abs,
        "Pow": lambda a, b: np.power(a, b).astype(a.dtype), "Sqrt": np.sqrt, "Exp": np.exp, "Log": np.log,
        "Floor": np.floor, "Ceil": np.ceil, "Round": np.rint, "Reciprocal": np.reciprocal, "Sign": np.sign,
        "Equal": np.equal, "Greater": np.greater, "Less": np.less, "GreaterOrEqual": np.greater_equal,
        "LessOrEqual": np.less_equal, "Not": np.logical_not, "And": np.logical_and, "Or": np.logical_or,
        "Where": np.where, "Sigmoid": sigmoid, "Tanh": np.tanh, "Identity": lambda x: x,
        "Relu": lambda x: np.maximum(x, 0), "Softplus": lambda x: np.logaddexp(x, 0).astype(x.dtype),
        "PRelu": lambda x, slope: np.where(x < 0, x * slope, x), "MatMul": np.matmul,
        "HardSwish": lambda x: x * np.clip(x / 6 + np.float32(0.5), 0, 1)}.items():
    _elementwise(_kind, _function)


@operator("Min", "Max", "Sum")
def _of_many(node: Node, x: list, opset: int) -> np.ndarray:
    combine = {"Min": np.minimum, "Max": np.maximum, "Sum": np.add}[node.kind]
    result = x[0]
    for other in x[1:]:
        result = combine(result, other)
    return result


@operator("Mod")
def _mod(node: Node, x: list, opset: int) -> np.ndarray:
    return np.fmod(*x) if node.attributes.get("fmod", 0) else np.mod(*x)


@operator("Dropout")
def _dropout(node: Node, x: list, opset: int) -> np.ndarray:
    return x[0]


@operator("LeakyRelu")
def _leaky_relu(node: Node, x: list, opset: int) -> np.ndarray:
    return np.where(x[0] < 0, x[0] * np.float32(node.attributes.get("alpha", 0.01)), x[0])


@operator("Elu")
def _elu(node: Node, x: list, opset: int) -> np.ndarray:
    return np.where(x[0] < 0, np.float32(node.attributes.get("alpha", 1.0)) * np.expm1(x[0]), x[0])


@operator("HardSigmoid")
def _hard_sigmoid(node: Node, x: list, opset: int) -> np.ndarray:
    alpha = np.float32(node.attributes.get("alpha", 0.2))
    return np.clip(alpha * x[0] + np.float32(node.attributes.get("beta", 0.5)), 0, 1)


@operator("Clip")
def _clip(node: Node, x: list, opset: int) -> np.ndarray:
    low, high = (list(x[1:]) + [None, None])[:2]
    result = x[0] if low is None else np.maximum(x[0], low)
    return result if high is None else np.minimum(result, high)


@operator("Cast")
def _cast(node: Node, x: list, opset: int) -> np.ndarray:
    kind = numpy_type_of(node.attributes["to"])
    return x[0].astype(np.float32 if kind in (np.float16, np.float64) else kind)


@operator("Shape")
def _shape(node: Node, x: list, opset: int) -> np.ndarray:
    part = slice(node.attributes.get("start", 0), node.attributes.get("end"))
    return np.array(x[0].shape[part], np.int64)


@operator("Size")
def _size(node: Node, x: list, opset: int) -> np.ndarray:
    return np.array(x[0].size, np.int64)


@operator("ConstantOfShape")
def _constant_of_shape(node: Node, x: list, opset: int) -> np.ndarray:
    value = np.asarray(node.attributes.get("value", np.zeros(1, np.float32)))
    kind = np.float32 if value.dtype in (np.float16, np.float64) else value.dtype
    return np.full(checked_shape(x[0].tolist()), value.flat[0], kind)


@operator("Range")
def _range(node: Node, x: list, opset: int) -> np.ndarray:
    start, limit, step = (v.item() for v in x)
    checked_shape([max(0, int(np.ceil((limit - start) / step)))])
    return np.arange(start, limit, step).astype(x[0].dtype)


@operator("Expand")
def _expand(node: Node, x: list, opset: int) -> np.ndarray:
    return x[0] * np.ones(checked_shape(np.broadcast_shapes(x[0].shape, tuple(x[1].tolist()))), x[0].dtype)


@operator("Tile")
def _tile(node: Node, x: list, opset: int) -> np.ndarray:
    checked_shape([e * r for e, r in zip(x[0].shape, x[1].tolist())])
    return np.tile(x[0], x[1].tolist())


@operator("Reshape")
def _reshape(node: Node, x: list, opset: int) -> np.ndarray:
    shape = x[1].tolist()
    if not node.attributes.get("allowzero", 0):
        shape = [x[0].shape[i] if extent == 0 else extent for i, extent in enumerate(shape)]
    return x[0].reshape(shape)


@operator("Flatten")
def _flatten(node: Node, x: list, opset: int) -> np.ndarray:
    axis = node.attributes.get("axis", 1)
    return x[0].reshape(int(np.prod(x[0].shape[:axis])), -1)


@operator("Transpose")
def _transpose(node: Node, x: list, opset: int) -> np.ndarray:
    return np.transpose(x[0], node.attributes.get("perm"))


def _axes(node: Node, x: list) -> list[int] | None:
    """An attribute up to opset 12, an input from 13 on."""
    if len(x) > 1 and x[1] is not None:
        return x[1].reshape(-1).tolist()
    return node.attributes.get("axes")


@operator("Squeeze")
def _squeeze(node: Node, x: list, opset: int) -> np.ndarray:
    axes = _axes(node, x)
    return np.squeeze(x[0], None if axes is None else tuple(axes))


@operator("Unsqueeze")
def _unsqueeze(node: Node, x: list, opset: int) -> np.ndarray:
    return np.expand_dims(x[0], tuple(_axes(node, x)))


@operator("ReduceSum", "ReduceMean", "ReduceMax", "ReduceMin", "ReduceProd")
def _reduce(node: Node, x: list, opset: int) -> np.ndarray:
    axes = _axes(node, x)
    if not axes and node.attributes.get("noop_with_empty_axes", 0):
        return x[0]
    function = {"ReduceSum": np.sum, "ReduceMean": np.mean, "ReduceMax": np.max, "ReduceMin": np.min,
                "ReduceProd": np.prod}[node.kind]
    result = function(x[0], axis=tuple(axes) if axes else None, keepdims=bool(node.attributes.get("keepdims", 1)))
    return np.asarray(result, x[0].dtype)


@operator("Concat")
def _concat(node: Node, x: list, opset: int) -> np.ndarray:
    return np.concatenate(x, node.attributes["axis"])


@operator("Split")
def _split(node: Node, x: list, opset: int) -> list[np.ndarray]:
    axis = node.attributes.get("axis", 0)
    sizes = x[1].tolist() if len(x) > 1 and x[1] is not None else node.attributes.get("split")
    if sizes is None:
        return np.split(x[0], len(node.outputs), axis)
    if sum(sizes) != x[0].shape[axis]:
        raise ValueError(f"the parts {sizes} do not add up to the extent")
    return np.split(x[0], np.cumsum(sizes)[:-1].tolist(), axis)


@operator("Slice")
def _slice(node: Node, x: list, opset: int) -> np.ndarray:
    starts, ends = x[1].tolist(), x[2].tolist()
    axes = x[3].tolist() if len(x) > 3 and x[3] is not None else list(range(len(starts)))
    steps = x[4].tolist() if len(x) > 4 and x[4] is not None else [1] * len(starts)
    parts = [slice(None)] * x[0].ndim
    for start, end, axis, step in zip(starts, ends, axes, steps):
        # A backward slice down to the first element ends before index 0, which Python calls None.
        parts[axis] = slice(start, None if step < 0 and end < -x[0].shape[axis] else end, step)
    return x[0][tuple(parts)]


@operator("Gather")
def _gather(node: Node, x: list, opset: int) -> np.ndarray:
    return np.take(x[0], x[1], node.attributes.get("axis", 0))


@operator("GatherElements")
def _gather_elements(node: Node, x: list, opset: int) -> np.ndarray:
    return np.take_along_axis(x[0], x[1], node.attributes.get("axis", 0))


@operator("GatherND")
def _gather_nd(node: Node, x: list, opset: int) -> np.ndarray:
    if node.attributes.get("batch_dims", 0):
        raise ValueError("batch_dims is not computed here")
    return x[0][tuple(np.moveaxis(x[1], -1, 0))]


@operator("ScatterND")
def _scatter_nd(node: Node, x: list, opset: int) -> np.ndarray:
    result = x[0].copy()
    result[tuple(np.moveaxis(x[1], -1, 0))] = x[2]
    return result


@operator("NonZero")
def _non_zero(node: Node, x: list, opset: int) -> np.ndarray:
    return np.stack(np.nonzero(x[0])).astype(np.int64)


@operator("CumSum")
def _cumsum(node: Node, x: list, opset: int) -> np.ndarray:
    if node.attributes.get("exclusive", 0) or node.attributes.get("reverse", 0):
        raise ValueError("exclusive and reverse are not computed here")
    return np.cumsum(x[0], int(x[1].item()), dtype=x[0].dtype)


@operator("Gemm")
def _gemm(node: Node, x: list, opset: int) -> np.ndarray:
    a = x[0].T if node.attributes.get("transA", 0) else x[0]
    b = x[1].T if node.attributes.get("transB", 0) else x[1]
    product = np.float32(node.attributes.get("alpha", 1.0)) * (a @ b)
    return product if len(x) < 3 else product + np.float32(node.attributes.get("beta", 1.0)) * x[2]


@operator("Softmax")
def _softmax(node: Node, x: list, opset: int) -> np.ndarray:
    axis = node.attributes.get("axis", 1 if opset < 13 else -1)
    if opset >= 13:
        return _normalized_exponentials(x[0], axis)
    rows = x[0].reshape(int(np.prod(x[0].shape[:axis % x[0].ndim])), -1)
    return _normalized_exponentials(rows, 1).reshape(x[0].shape)


def _normalized_exponentials(x: np.ndarray, axis: int) -> np.ndarray:
    powers = np.exp(x - np.max(x, axis, keepdims=True))
    return powers / np.sum(powers, axis, keepdims=True)
