"""A network as plain Python data: easier to rewrite than the file's own records."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import numpy as np


@dataclass
class Node:
    """One operator. Inputs that are left out have the name ''."""

    kind: str
    inputs: list[str]
    outputs: list[str]
    attributes: dict[str, Any] = field(default_factory=dict)
    name: str = ""

    def label(self) -> str:
        return f"{self.kind} '{self.name or self.outputs[0]}'"

    def copy(self) -> "Node":
        return Node(self.kind, list(self.inputs), list(self.outputs), dict(self.attributes), self.name)


@dataclass
class Input:
    """A tensor that the caller gives. Extents that the file leaves open are None; no shape at all is None, too."""

    name: str
    element_type: int
    shape: list[int | None] | None


@dataclass
class Network:
    """Nodes in an order in which they can be computed, and everything they read.

    `half` says that the file held numbers in half precision, which limits what can be expected of them.
    """

    inputs: list[Input]
    outputs: list[str]
    nodes: list[Node]
    constants: dict[str, np.ndarray]
    opset: int
    metadata: dict[str, str] = field(default_factory=dict)
    producer: tuple[str, str] = ("", "")
    half: bool = False

    def copy(self) -> "Network":
        """A network that can be rewritten on its own; the constants' values are shared, they are never written to."""
        inputs = [Input(i.name, i.element_type, None if i.shape is None else list(i.shape)) for i in self.inputs]
        return Network(inputs, list(self.outputs), [n.copy() for n in self.nodes], dict(self.constants), self.opset,
                       dict(self.metadata), self.producer, self.half)

    def producers(self) -> dict[str, Node]:
        """The node that computes each tensor."""
        return {name: node for node in self.nodes for name in node.outputs if name}

    def consumers(self) -> dict[str, list[Node]]:
        """The nodes that read each tensor."""
        readers: dict[str, list[Node]] = {}
        for node in self.nodes:
            for name in dict.fromkeys(node.inputs):
                if name:
                    readers.setdefault(name, []).append(node)
        return readers

    def tensor_names(self) -> set[str]:
        names = {i.name for i in self.inputs} | set(self.constants)
        return names.union(*(node.outputs for node in self.nodes)) if self.nodes else names


def needed_nodes(network: Network, wanted: list[str], given: set[str]) -> list[Node]:
    """The nodes that compute `wanted` from `given` and constants, in order."""
    needed = set(wanted) - given
    chosen = []
    for node in reversed(network.nodes):
        if any(name in needed for name in node.outputs):
            chosen.append(node)
            needed.update(name for name in node.inputs if name and name not in given)
    return chosen[::-1]


def cut(network: Network, outputs: list[str]) -> Network:
    """The part of the network that computes `outputs`, and nothing else."""
    part = network.copy()
    part.outputs = list(outputs)
    part.nodes = needed_nodes(part, part.outputs, set())
    read = {name for node in part.nodes for name in node.inputs} | set(part.outputs)
    part.constants = {name: value for name, value in part.constants.items() if name in read}
    return part


def rename(network: Network, old: str, new: str) -> None:
    """Gives a tensor another name; a tensor that has the name already steps aside."""
    if old == new:
        return
    names = network.tensor_names()
    if new in names:
        _replace(network, new, fresh_name(names, new))
    _replace(network, old, new)


def fresh_name(names: set[str], like: str) -> str:
    number = 1
    while f"{like}_{number}" in names:
        number += 1
    return f"{like}_{number}"


def _replace(network: Network, old: str, new: str) -> None:
    for node in network.nodes:
        node.inputs = [new if name == old else name for name in node.inputs]
        node.outputs = [new if name == old else name for name in node.outputs]
    for given in network.inputs:
        given.name = new if given.name == old else given.name
    network.outputs = [new if name == old else name for name in network.outputs]
    if old in network.constants:
        network.constants[new] = network.constants.pop(old)
