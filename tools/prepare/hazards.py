"""Values in damaged files that end a library by a division by zero or a read past an end, before it can complain."""

from __future__ import annotations

from .network import Network, Node
from .refusal import Refusal

# Far beyond any real network's.
WINDOW_MAX = 32767
WINDOW_LEAST = {"kernel_shape": 1, "strides": 1, "dilations": 1, "group": 1, "blocksize": 1, "output_shape": 1,
                "pads": 0, "output_padding": 0}
WINDOWED_KINDS = {"Conv", "ConvTranspose", "MaxPool", "AveragePool", "LpPool", "DepthToSpace", "SpaceToDepth"}
CONVOLUTIONS = {"Conv", "ConvTranspose"}
WEIGHT_RANK_LEAST = 3


def check_hazards(network: Network) -> None:
    """Raises Refusal with the first such value."""
    for node in network.nodes:
        if node.kind in WINDOWED_KINDS:
            _check_window(node)
        if node.kind in CONVOLUTIONS:
            _check_weights(network, node)


def _check_window(node: Node) -> None:
    for name, least in WINDOW_LEAST.items():
        value = node.attributes.get(name, least)
        for number in value if isinstance(value, list) else [value]:
            if not isinstance(number, int) or not least <= number <= WINDOW_MAX:
                raise Refusal(f"operator {node.label()} has the attribute {name} {value}, its numbers must lie in "
                              f"{least} .. {WINDOW_MAX}; export the network again")


def _check_weights(network: Network, node: Node) -> None:
    weight = network.constants.get(node.inputs[1]) if len(node.inputs) > 1 else None
    computed = weight is None and len(node.inputs) > 1 and node.inputs[1] in network.producers()
    if not computed and (weight is None or weight.ndim < WEIGHT_RANK_LEAST):
        raise Refusal(f"operator {node.label()} has no weights of {WEIGHT_RANK_LEAST} or more dimensions; export the "
                      "network again")
