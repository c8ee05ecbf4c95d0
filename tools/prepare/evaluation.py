"""Computes a network, or a part of it, with NumPy.

It is slow and plain, shares no code with the engines, and takes what they refuse: half precision, open shapes, every
operator set from 11 to 17. Half-precision tensors are computed in float32, so that a network and its float32 form
agree to rounding.
"""

from __future__ import annotations

from collections import Counter
from typing import Callable

import numpy as np

from . import array_operators, layer_operators  # noqa: F401  Both enter what they compute into the table.
from .network import Network, Node, needed_nodes
from .network_file import READING_ERRORS, first_line
from .operators import OPERATORS
from .refusal import Incomputable, Refusal

Progress = Callable[[int, int], None]


def compute_node(node: Node, values: list[np.ndarray | None], opset: int) -> list[np.ndarray]:
    """The outputs of one operator; a refusal that names the node where that is impossible."""
    operator = OPERATORS.get(node.kind)
    if operator is None:
        raise Refusal(f"operator {node.label()} is not among those that can be computed here")
    try:
        with np.errstate(all="ignore"):
            results = operator(node, [as_float32(v) for v in values], opset)
    except (*READING_ERRORS, MemoryError) as error:
        shapes = ", ".join("-" if v is None else str(list(v.shape)) for v in values)
        raise Incomputable(f"operator {node.label()} cannot be computed from tensors of the shapes {shapes}: "
                           f"{first_line(error)}") from error
    return [np.asarray(r) for r in (results if isinstance(results, list) else [results])]


def as_float32(value: np.ndarray | None) -> np.ndarray | None:
    """Floats of any width as float32, everything else as it is."""
    if value is not None and value.dtype in (np.float16, np.float64):
        return value.astype(np.float32)
    return value


def compute(network: Network, given: dict[str, np.ndarray], wanted: list[str],
            progress: Progress = lambda done, count: None) -> dict[str, np.ndarray]:
    """The tensors `wanted`, from the tensors `given`, which may be inside of the network."""
    nodes = needed_nodes(network, wanted, set(given))
    uses = Counter(name for node in nodes for name in node.inputs) + Counter(wanted)
    values = dict(given)
    for done, node in enumerate(nodes, 1):
        inputs = [_value(network, values, node, name) for name in node.inputs]
        results = compute_node(node, inputs, network.opset)
        values.update((name, result) for name, result in zip(node.outputs, results) if name)
        uses.subtract(node.inputs)
        for name in node.inputs:
            if uses[name] <= 0:
                values.pop(name, None)
        progress(done, len(nodes))
    return {name: _wanted(network, values, name) for name in wanted}


def _value(network: Network, values: dict[str, np.ndarray], node: Node, name: str) -> np.ndarray | None:
    if not name:
        return None
    value = values.get(name, network.constants.get(name))
    if value is None:
        raise Refusal(f"operator {node.label()} reads '{name}', which was not given")
    return value


def _wanted(network: Network, values: dict[str, np.ndarray], name: str) -> np.ndarray:
    value = values.get(name, network.constants.get(name))
    if value is None:
        raise Refusal(f"nothing computes '{name}'")
    return as_float32(value)
