"""Finds the head convolutions of a network by walking back from its outputs."""

from __future__ import annotations

from .anchor_heads import AnchorHeads, find_anchor_heads
from .head_walk import Analysis, Reach, reach_of
from .refusal import Incomputable, Refusal
from .segment_heads import SegmentHeads, find_segment_heads

Heads = AnchorHeads | SegmentHeads
WANTED = ("a YOLOv5 detection export (one output of rows, or three heads) or a YOLOv8 segmentation export (an output "
          "[1, 4 + classes + 32, N] and prototypes)")


def recognise(analysis: Analysis) -> Heads:
    """The heads of a network of static shape.

    A network that is none of the two kinds is refused with what its outputs look like.
    """
    reaches = [reach_of(analysis, name) for name in analysis.network.outputs]
    heads = find_segment_heads(analysis, reaches) or find_anchor_heads(analysis, reaches)
    if heads is None:
        _refuse_unknown_shapes(analysis)
        raise Refusal(f"looked for {WANTED}; found {describe(analysis, reaches)}. {_advice(reaches)}")
    return heads


def _refuse_unknown_shapes(analysis: Analysis) -> None:
    """Without shapes every network looks like none; the operator where they are lost is the reason then."""
    for node in analysis.network.nodes:
        if analysis.shapes.get(node.outputs[0], (0, None))[1] is None:
            raise Incomputable(f"the shape of what operator {node.label()} computes cannot be worked out; export the "
                               "network again with opset 12 and a static shape")


def describe(analysis: Analysis, reaches: list[Reach]) -> str:
    words = []
    for reach in reaches:
        found = reach.stopped or f"behind it {len(reach.heads)} convolution" + ("s" * (len(reach.heads) != 1))
        words.append(f"output '{reach.output}' {analysis.shape_text(reach.output)}, {found}")
    return "; ".join(words)


def _advice(reaches: list[Reach]) -> str:
    if max((len(reach.heads) for reach in reaches), default=0) == 6:
        return ("Six convolutions are a YOLOv8 detection network without masks, which no model here takes: "
                "export a YOLOv5 detector or a YOLOv8 segmentation network")
    return "Export the network as it was trained, without suppression, with opset 12"
