"""Writes the trained networks as ONNX files (opset 12, static shape, float32) with batch normalisation folded in."""

import argparse

import onnx
import torch
from torch import nn

from network import ANCHORS, INPUT, STRIDES, Conv, Detector, Segmenter
from shapes import NAMES

OPSET = 12
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
    """Detector with its decoding: one tensor of (cx, cy, w, h, objectness, classes) rows."""

    def __init__(self, detector):
        super().__init__()
        self.detector = detector

    def forward(self, image):
        rows = []
        per_anchor = 5 + self.detector.classes
        for head, out in enumerate(self.detector(image)):
            grid = INPUT // STRIDES[head]
            p = out.view(1, 3, per_anchor, grid * grid).permute(0, 1, 3, 2).sigmoid()
            centre = (p[..., 0:2] * 2 + self._cells(grid)) * STRIDES[head]
            size = (p[..., 2:4] * 2) ** 2 * torch.tensor(ANCHORS[head], dtype=torch.float32).view(1, 3, 1, 2)
            rows.append(torch.cat((centre, size, p[..., 4:]), 3).reshape(1, 3 * grid * grid, per_anchor))
        return torch.cat(rows, 1)

    @staticmethod
    def _cells(grid):
        row, column = torch.meshgrid(torch.arange(grid), torch.arange(grid), indexing="ij")
        cells = torch.stack((column, row), 2).float().view(1, 1, grid * grid, 2)
        return (cells - 0.5).expand(1, 3, -1, -1).contiguous()


def write(network, path, inputs, outputs):
    """Exports, names the classes, checks the file."""
    picture = torch.zeros(1, 3, INPUT, INPUT)
    torch.onnx.export(network, picture, path, opset_version=OPSET, input_names=[inputs],
                      output_names=list(outputs), do_constant_folding=True)
    model = onnx.load(path)
    for key, value in (("names", str(dict(enumerate(NAMES)))), ("stride", str(max(STRIDES))),
                       ("imgsz", str([INPUT, INPUT]))):
        entry = model.metadata_props.add()
        entry.key, entry.value = key, value
    model.doc_string = ""
    onnx.checker.check_model(model, full_check=True)
    onnx.save(model, path)
    print(f"{path}: {len(model.SerializeToString())} bytes")


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
            write(Fused(load(Detector, args.checkpoint)), args.file, "image", ["output0"])
        elif args.kind == "cut":
            write(swap_channels(load(Detector, args.checkpoint)), args.file, "images", CUT_OUTPUTS)
        else:
            write(swap_channels(load(Segmenter, args.checkpoint)), args.file, "images", SEGMENT_OUTPUTS)


if __name__ == "__main__":
    main()
