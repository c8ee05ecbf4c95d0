"""From a network as it was exported to a network that a model takes, step by step."""

from __future__ import annotations

import ast
import json
from dataclasses import dataclass, field

import numpy as np
import onnx

from . import channels, forms
from .anchor_heads import AnchorHeads
from .forms import CUT, FUSED, SEGMENTATION, Form
from .head_walk import Analysis
from .network import Network, cut
from .network_file import model_of
from .recognition import Heads, recognise
from .refusal import Incomputable, Refusal
from .sizes import Size, analysis_sizes, check_target, target_size
from .static_shape import make_static

CHANNELS_KEY = "brellix_channels"
ANCHORS_KEY = "anchors"
# The anchors of the cut form's decoder, in network pixels; it has no others.
FIXED_ANCHORS = np.array([[[10, 13], [16, 30], [33, 23]], [[30, 61], [62, 45], [59, 119]],
                          [[116, 90], [156, 198], [373, 326]]], np.float32)
# Half precision keeps 11 bits of a number.
ANCHOR_TOLERANCE = 2.0**-10


@dataclass
class Wishes:
    """What the user asked for; None where the file and the form decide."""

    size: Size | None = None
    cut: bool = False
    bgr: bool | None = None


@dataclass
class Prepared:
    """The result, and what has to be known to compare it with the file it came from."""

    original: Network
    analysis: Analysis
    heads: Heads
    form: Form
    size: Size
    swapped: bool
    took_bytes: bool
    model: onnx.ModelProto
    notes: list[str] = field(default_factory=list)


def prepare(original: Network, wishes: Wishes) -> Prepared:
    """Raises Refusal where the network is of no kind that a model takes, or cannot be brought into the form."""
    channels.check_input(original)
    target, origin = target_size(original, wishes.size)
    check_target(target)
    analysis, heads = _analyse(original, target)
    form = _form_for(heads, wishes)
    _check_form(original, heads, form, target)
    prepared = assemble(original, analysis, heads, form, target, wishes.bgr)
    prepared.notes.insert(0, f"input {target[0]} x {target[1]} ({origin})")
    return prepared


def _analyse(original: Network, target: Size) -> tuple[Analysis, Heads]:
    """The first size for which the network can be understood; the file may be made for another one than asked for."""
    refusals = []
    for width, height in analysis_sizes(original, target):
        network = original.copy()
        try:
            analysis = Analysis(network, make_static(network, width, height))
            return analysis, recognise(analysis)
        except Refusal as refusal:
            refusals.append(refusal)
    # What a size that fits says is worth more than that others do not fit.
    raise next((refusal for refusal in refusals if not isinstance(refusal, Incomputable)), refusals[0])


def _form_for(heads: Heads, wishes: Wishes) -> Form:
    if not isinstance(heads, AnchorHeads):
        if wishes.cut:
            raise Refusal("--cut is for YOLOv5 detectors; this is a YOLOv8 segmentation network, whose nine heads and "
                          "prototypes are written without any option")
        return SEGMENTATION
    return CUT if wishes.cut or heads.decoded is None else FUSED


def _check_form(original: Network, heads: Heads, form: Form, target: Size) -> None:
    if form is SEGMENTATION and target[0] != target[1]:
        raise Refusal(f"the segmentation model takes square inputs only, {target[0]} x {target[1]} is none; give a "
                      f"square --size, for example --size {max(target)} {max(target)}")
    if form is CUT:
        anchors = known_anchors(original, heads)
        if anchors is not None and not _are_fixed(anchors):
            raise Refusal("the cut form's decoder has the fixed anchors "
                          f"{anchors_text(FIXED_ANCHORS)}, this network was trained with {anchors_text(anchors)}: its "
                          "boxes would be wrong; leave --cut out and use the fused form (model yolov5)")


def known_anchors(original: Network, heads: AnchorHeads) -> np.ndarray | None:
    """From the decoding, else from what an earlier preparation noted in the file."""
    if heads.anchors is not None:
        return heads.anchors
    try:
        anchors = np.array(json.loads(original.metadata.get(ANCHORS_KEY, "")), np.float32)
    except (ValueError, TypeError):
        return None
    return anchors if anchors.shape == FIXED_ANCHORS.shape else None


def _are_fixed(anchors: np.ndarray) -> bool:
    return bool((np.abs(anchors - FIXED_ANCHORS) <= ANCHOR_TOLERANCE * FIXED_ANCHORS).all())


def anchors_text(anchors: np.ndarray) -> str:
    """JSON with the shortest numbers that give the same float32 values."""
    short = [[[_short(v) for v in pair] for pair in head] for head in anchors.astype(np.float32)]
    return json.dumps(short, separators=(",", ":"))


def _short(value: np.float32) -> int | float:
    number = float(str(value))
    return int(number) if number.is_integer() else number


def assemble(original: Network, analysis: Analysis, heads: Heads, form: Form, size: Size,
             bgr: bool | None) -> Prepared:
    """The form for pictures of `size`, whatever size the network was understood at."""
    body = forms.body_of(original, analysis, heads, *size)
    notes = []
    took_bytes = channels.take_values_up_to_one(body)
    if took_bytes:
        notes.append("the network divided its input by 255 itself; that is left out, since the models feed 0..1")
    swapped = _order_channels(original, body, heads, form, bgr, notes)
    body = cut(body, body.outputs)  # What stood before the first convolution may have left constants behind.
    _note_anchors(original, body, heads, notes)
    _note_size(body, size)
    shapes = forms.shape_outputs(body, heads, form)
    body.inputs[0].shape = [1, 3, size[1], size[0]]
    return Prepared(original, analysis, heads, form, size, swapped, took_bytes, model_of(body, shapes), notes)


def _order_channels(original: Network, body: Network, heads: Heads, form: Form, bgr: bool | None,
                    notes: list[str]) -> bool:
    """Returns whether red and blue were exchanged."""
    told = original.metadata.get(CHANNELS_KEY)
    told = told if told in ("rgb", "bgr") else None
    already_in_form = heads.decoded is None and original.outputs == list(form.outputs)
    if told is None and bgr is None and already_in_form:
        raise Refusal(f"the network already has the outputs of the {form.name} form, and does not say whether it takes "
                      "RGB or BGR: give --bgr to swap red and blue, or --no-bgr if it takes BGR already")
    wanted = form.channels if bgr is None else "bgr"
    if bgr is False or wanted == (told or "rgb"):
        if told or not already_in_form:
            body.metadata[CHANNELS_KEY] = told or "rgb"
        takes = body.metadata.get(CHANNELS_KEY, "").upper() or "the channels that it took before"
        notes.append(f"takes {takes}, not swapped")
        return False
    how = channels.swap_channels(body)
    body.metadata[CHANNELS_KEY] = wanted
    notes.append(f"takes {wanted.upper()}: {how}")
    return True


def _note_anchors(original: Network, body: Network, heads: Heads, notes: list[str]) -> None:
    if not isinstance(heads, AnchorHeads):
        return
    anchors = known_anchors(original, heads)
    if anchors is None:
        notes.append("the file holds raw heads and does not tell its anchors; the cut form decodes with "
                     f"{anchors_text(FIXED_ANCHORS)}, which have to be those of the training")
        return
    body.metadata[ANCHORS_KEY] = anchors_text(anchors)
    notes.append(f"anchors {anchors_text(anchors)}" + ("" if _are_fixed(anchors) else ", its own"))


def _note_size(body: Network, size: Size) -> None:
    """Exporters write down the size; a file of another size must not go on saying the old one."""
    if "imgsz" in body.metadata:
        body.metadata["imgsz"] = str([size[1], size[0]])


def class_names(metadata: dict[str, str]) -> int:
    """How many class names the file holds, 0 where it holds none that can be read."""
    try:
        return len(ast.literal_eval(metadata.get("names", "")))
    except (ValueError, SyntaxError, TypeError, MemoryError, RecursionError):
        return 0
