"""Writes the trained networks as ONNX files (opset 12, static shape, float32) with batch normalisation folded in."""

import argparse
import json

import cv2
import numpy as np
import onnx
import torch
from torch import nn

from dataset import HELD_OUT
from network import ANCHORS, INPUT, STRIDES, Conv, Detector, Segmenter
from scenes import render
from shapes import NAMES

OPSET = 12
DIFFERENCE_MAX = 1e-3
CUT_OUTPUTS = tuple(f"/model.24/m.{k}/Conv_output_0" for k in range(3))
SEGMENT_OUTPUTS = tuple(f"output{k}" for k in range(9)) + ("proto",)


def fold(network):
    """Replaces each convolution and its normalisation by one convolution with a bias."""
    for block in network.modules():
        if isinstance(block, Conv):
            block.conv = nn.utils.fusion.fuse_conv_bn_eval(block.conv, block.bn)
            block.bn = nn.Identity()
    return network


def swap_channels(network):
    """Lets a network that learned RGB take BGR."""
    weight = network.body.stem.conv.weight
    weight.data = weight.data.flip(1).clone()
    return network


class Fused(nn.Module):
    """Detector with its decoding: one tensor of (cx, cy, w, h, objectness, classes) rows.

    The constants have the full shape of what they are combined with: OpenCV's importer broadcasts only in part.
    """

    def __init__(self, detector):
        super().__init__()
        self.detector = detector
        for head, (stride, anchors) in enumerate(zip(STRIDES, ANCHORS)):
            grid = INPUT // stride
            row, column = torch.meshgrid(torch.arange(grid), torch.arange(grid), indexing="ij")
            cells = (torch.stack((column, row), 2).float() - 0.5) * stride
            sizes = torch.tensor(anchors, dtype=torch.float32).view(3, 1, 1, 2) * 4
            self.register_buffer(f"cells{head}", cells.expand(1, 3, grid, grid, 2).contiguous())
            self.register_buffer(f"sizes{head}", sizes.expand(1, 3, grid, grid, 2).contiguous())

    def forward(self, image):
        rows = []
        per_anchor = 5 + self.detector.classes
        for head, out in enumerate(self.detector(image)):
            grid = INPUT // STRIDES[head]
            p = out.view(1, 3, per_anchor, grid, grid).permute(0, 1, 3, 4, 2).contiguous().sigmoid()
            centre = p[..., 0:2] * (2 * STRIDES[head]) + getattr(self, f"cells{head}")
            size = p[..., 2:4] ** 2 * getattr(self, f"sizes{head}")
            rows.append(torch.cat((centre, size, p[..., 4:]), 4).view(1, 3 * grid * grid, per_anchor))
        return torch.cat(rows, 1)


def write(network, path, inputs, outputs, channels, anchors=None):
    """Exports, tells in the metadata what the file's tensors do not, checks the file."""
    picture = torch.zeros(1, 3, INPUT, INPUT)
    torch.onnx.export(network, picture, path, opset_version=OPSET, input_names=[inputs],
                      output_names=list(outputs), do_constant_folding=True)
    model = onnx.load(path)
    metadata = {"names": str(dict(enumerate(NAMES))), "stride": str(max(STRIDES)), "imgsz": str([INPUT, INPUT]),
                "brellix_channels": channels}
    if anchors:
        metadata["anchors"] = json.dumps(anchors, separators=(",", ":"))
    for key, value in metadata.items():
        entry = model.metadata_props.add()
        entry.key, entry.value = key, value
    model.doc_string = ""
    onnx.checker.check_model(model, full_check=True)
    onnx.save(model, path)
    print(f"{path}: {len(model.SerializeToString())} bytes, {compare(network, path, list(outputs)):.1e} from torch")


def compare(network, path, names):
    """Largest relative difference between torch and OpenCV on one scene; ends the program where it is too large."""
    picture = render(np.random.default_rng([HELD_OUT, 0]), INPUT, INPUT, INPUT).picture
    blob = cv2.dnn.blobFromImage(picture, 1 / 255)
    net = cv2.dnn.readNetFromONNX(path)
    net.setInput(blob)
    got = net.forward(names)
    wanted = network(torch.from_numpy(blob))
    wanted = [wanted] if isinstance(wanted, torch.Tensor) else wanted
    worst = 0.0
    for name, a, b in zip(names, got, (w.numpy() for w in wanted)):
        if a.shape != b.shape:
            raise SystemExit(f"{path}: OpenCV gives {name} the shape {a.shape}, torch {b.shape}")
        worst = max(worst, float((np.abs(a - b) / (1 + np.abs(b))).max()))
    if worst > DIFFERENCE_MAX:
        raise SystemExit(f"{path}: OpenCV and torch differ by {worst}")
    return worst


def load(kind, checkpoint):
    network = kind()
    network.load_state_dict(torch.load(checkpoint)["average"])
    return fold(network.eval())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("kind", choices=("fused", "cut", "seg"))
    parser.add_argument("checkpoint")
    parser.add_argument("file")
    args = parser.parse_args()
    with torch.no_grad():
        if args.kind == "fused":
            write(Fused(load(Detector, args.checkpoint)), args.file, "image", ["output0"], "rgb", ANCHORS)
        elif args.kind == "cut":
            write(swap_channels(load(Detector, args.checkpoint)), args.file, "images", CUT_OUTPUTS, "bgr",
                  ANCHORS)
        else:
            write(swap_channels(load(Segmenter, args.checkpoint)), args.file, "images", SEGMENT_OUTPUTS, "bgr")


if __name__ == "__main__":
    main()
