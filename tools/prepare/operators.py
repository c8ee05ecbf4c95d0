"""The table of the ONNX operators that can be computed. See `evaluation`."""

from __future__ import annotations

from typing import Callable

OPERATORS: dict[str, Callable] = {}


def operator(*kinds: str) -> Callable:
    """Enters the function below it under these names. It takes the node, its inputs and the operator set."""
    def enter(function: Callable) -> Callable:
        OPERATORS.update((kind, function) for kind in kinds)
        return function
    return enter
