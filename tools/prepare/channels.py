"""What the network expects of its input: the order of the colours and the range of the values."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from .network import Network, Node, fresh_name
from .refusal import Refusal

# The models feed 0..1. A network that first divides by 255 (by 255 times a deviation of 0.2 or so) takes 0..255; one
# that normalises 0..1 multiplies by about 1 to 5.
LARGEST_FACTOR_OF_BYTES = 0.1
BYTE_MAX = np.float32(255)
ARITHMETIC = {"Add", "Sub", "Mul", "Div"}


@dataclass
class Entrance:
    """From the input to the first convolution: y = factor * x + offset for each of the three channels."""

    nodes: list[Node]
    factor: np.ndarray
    offset: np.ndarray
    tensor: str


def entrance_of(network: Network) -> Entrance:
    """Follows the arithmetic with constants behind the input as far as it goes."""
    consumers = network.consumers()
    entrance = Entrance([], np.ones(3, np.float32), np.zeros(3, np.float32), network.inputs[0].name)
    while True:
        readers = consumers.get(entrance.tensor, [])
        if len(readers) != 1 or entrance.tensor in network.outputs or not _append(network, entrance, readers[0]):
            return entrance


def _append(network: Network, entrance: Entrance, node: Node) -> bool:
    """Takes one more operator into the entrance; false where it is of another kind."""
    if node.kind not in ARITHMETIC or len(node.inputs) != 2:
        return False
    first = node.inputs[0] == entrance.tensor
    value = _per_channel(network.constants.get(node.inputs[1 if first else 0]))
    if value is None or (node.kind == "Div" and not first):
        return False
    if node.kind in ("Mul", "Div"):
        scale = value if node.kind == "Mul" else 1 / value
        entrance.factor, entrance.offset = entrance.factor * scale, entrance.offset * scale
    elif node.kind == "Sub" and not first:
        entrance.factor, entrance.offset = -entrance.factor, value - entrance.offset
    else:
        entrance.offset = entrance.offset + (value if node.kind == "Add" else -value)
    entrance.nodes.append(node)
    entrance.tensor = node.outputs[0]
    return True


def _per_channel(value: np.ndarray | None) -> np.ndarray | None:
    """Three numbers from a constant of one, or of one a channel."""
    if value is None or value.dtype != np.float32 or not np.isfinite(value).all():
        return None
    if value.size == 1:
        return np.full(3, value.reshape(-1)[0], np.float32)
    return value.reshape(-1) if value.shape in ((3, 1, 1), (1, 3, 1, 1)) else None


def take_values_up_to_one(network: Network) -> bool:
    """Makes a network of values 0..255 one of values 0..1. Returns whether it was one of 0..255."""
    entrance = entrance_of(network)
    largest = np.abs(entrance.factor).max()
    if not entrance.nodes or not 0 < largest < LARGEST_FACTOR_OF_BYTES:
        return False
    entrance.factor = entrance.factor * BYTE_MAX
    _replace(network, entrance)
    return True


def swap_channels(network: Network) -> str:
    """Lets a network that takes RGB take BGR, or the other way round. Returns how, in words."""
    entrance = entrance_of(network)
    readers = network.consumers().get(entrance.tensor, [])
    if not all(_takes_three_channels(network, node, entrance.tensor) for node in readers) or not readers:
        _exchange_at_the_input(network)
        return "a convolution at the input exchanges red and blue, since the network does not begin with one"
    for node in readers:
        name = fresh_name(network.tensor_names(), f"{node.inputs[1]}_swapped")
        weight = network.constants[node.inputs[1]]
        users = network.consumers()[node.inputs[1]]
        network.constants[name] = np.ascontiguousarray(weight[:, ::-1])
        if len(users) == 1:
            del network.constants[node.inputs[1]]
            name = _renamed(network, name, node.inputs[1])
        node.inputs[1] = name
    entrance.factor, entrance.offset = entrance.factor[::-1], entrance.offset[::-1]
    if entrance.nodes:
        _replace(network, entrance)
    return "the first convolution's input channels are swapped"


def _renamed(network: Network, name: str, wanted: str) -> str:
    network.constants[wanted] = network.constants.pop(name)
    return wanted


def _takes_three_channels(network: Network, node: Node, tensor: str) -> bool:
    if node.kind != "Conv" or node.inputs[0] != tensor or node.attributes.get("group", 1) != 1:
        return False
    weight = network.constants.get(node.inputs[1])
    return weight is not None and weight.ndim == 4 and weight.shape[1] == 3


def _replace(network: Network, entrance: Entrance) -> None:
    """Puts one multiplication and one addition, as far as they do anything, in the place of the entrance's nodes."""
    gone = {id(node) for node in entrance.nodes}
    network.nodes = [node for node in network.nodes if id(node) not in gone]
    tensor, fresh = network.inputs[0].name, []
    for kind, value, neutral in (("Mul", entrance.factor, 1), ("Add", entrance.offset, 0)):
        if np.allclose(value, neutral, rtol=0, atol=1e-6):
            continue
        names = network.tensor_names()
        constant, result = fresh_name(names, "input_values"), fresh_name(names, f"input_{kind.lower()}")
        network.constants[constant] = np.ascontiguousarray(value, np.float32).reshape(1, 3, 1, 1)
        fresh.append(Node(kind, [tensor, constant], [result]))
        network.nodes.insert(len(fresh) - 1, fresh[-1])
        tensor = result
    _redirect(network, entrance.tensor, tensor, fresh)


def _exchange_at_the_input(network: Network) -> None:
    names = network.tensor_names()
    weight, exchanged = fresh_name(names, "exchange_weight"), fresh_name(names, "exchanged")
    network.constants[weight] = np.ascontiguousarray(np.eye(3, dtype=np.float32)[::-1]).reshape(3, 3, 1, 1)
    source = network.inputs[0].name
    node = Node("Conv", [source, weight], [exchanged], {"kernel_shape": [1, 1]})
    network.nodes.insert(0, node)
    _redirect(network, source, exchanged, [node])


def _redirect(network: Network, old: str, new: str, untouched: list[Node]) -> None:
    for node in network.nodes:
        if not any(node is other for other in untouched):
            node.inputs = [new if name == old else name for name in node.inputs]


def check_input(network: Network) -> None:
    """One picture of three planes is what every model gives."""
    if len(network.inputs) != 1:
        names = ", ".join(f"'{given.name}'" for given in network.inputs) or "none"
        raise Refusal(f"looked for one input, the picture; found {len(network.inputs)} ({names}); export the network "
                      "with the picture as its only input")
    given = network.inputs[0]
    shape = given.shape
    if shape is None:
        return
    if len(shape) != 4 or shape[1] not in (3, None) or (shape[1] is None and shape[3] == 3):
        raise Refusal(f"looked for an input [1, 3, height, width]; found '{given.name}' {_shown(shape)}; export the "
                      "network for colour pictures, channels first")
    if shape[0] not in (1, None):
        raise Refusal(f"input '{given.name}' {_shown(shape)} is a batch of {shape[0]} pictures, the models give one; "
                      "export the network with batch size 1")


def _shown(shape: list[int | None]) -> str:
    return "[" + ", ".join("?" if extent is None else str(extent) for extent in shape) + "]"
