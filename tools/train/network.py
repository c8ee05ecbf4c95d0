"""The networks: one YOLOv5 kind body with either a detection or a segmentation head."""

import math

import torch
from torch import nn

STRIDES = (8, 16, 32)
ANCHORS = (((10, 13), (16, 30), (33, 23)), ((30, 61), (62, 45), (59, 119)), ((116, 90), (156, 198), (373, 326)))
INPUT = 320
BINS = 16
MASKS = 32
WIDTHS = (16, 16, 32, 64, 112)


class Conv(nn.Module):
    """Convolution, batch normalisation, activation."""

    def __init__(self, cin, cout, k=1, s=1, p=None):
        super().__init__()
        self.conv = nn.Conv2d(cin, cout, k, s, k // 2 if p is None else p, bias=False)
        self.bn = nn.BatchNorm2d(cout, eps=1e-3, momentum=0.03)
        self.act = nn.ReLU(inplace=True)

    def forward(self, x):
        return self.act(self.bn(self.conv(x)))


class Bottleneck(nn.Module):
    def __init__(self, c, shortcut):
        super().__init__()
        self.cv1 = Conv(c, c, 1)
        self.cv2 = Conv(c, c, 3)
        self.add = shortcut

    def forward(self, x):
        y = self.cv2(self.cv1(x))
        return x + y if self.add else y


class C3(nn.Module):
    """Cross stage partial block with three convolutions."""

    def __init__(self, cin, cout, n=1, shortcut=True):
        super().__init__()
        half = cout // 2
        self.cv1 = Conv(cin, half)
        self.cv2 = Conv(cin, half)
        self.cv3 = Conv(2 * half, cout)
        self.m = nn.Sequential(*(Bottleneck(half, shortcut) for _ in range(n)))

    def forward(self, x):
        return self.cv3(torch.cat((self.m(self.cv1(x)), self.cv2(x)), 1))


class SPPF(nn.Module):
    """Three chained 5 x 5 maxima, so that the last grid sees the whole picture."""

    def __init__(self, cin, cout):
        super().__init__()
        half = cin // 2
        self.cv1 = Conv(cin, half)
        self.cv2 = Conv(4 * half, cout)
        self.pool = nn.MaxPool2d(5, 1, 2)

    def forward(self, x):
        x = self.cv1(x)
        y = self.pool(x)
        z = self.pool(y)
        return self.cv2(torch.cat((x, y, z, self.pool(z)), 1))


class Body(nn.Module):
    """Backbone and PAN neck; gives the features of strides 8, 16 and 32."""

    def __init__(self, widths):
        super().__init__()
        c1, c2, c3, c4, c5 = widths
        self.channels = (c3, c4, c5)
        self.stem = Conv(3, c1, 6, 2, 2)
        self.down2 = nn.Sequential(Conv(c1, c2, 3, 2), C3(c2, c2, 1))
        self.down3 = nn.Sequential(Conv(c2, c3, 3, 2), C3(c3, c3, 2))
        self.down4 = nn.Sequential(Conv(c3, c4, 3, 2), C3(c4, c4, 2))
        self.down5 = nn.Sequential(Conv(c4, c5, 3, 2), C3(c5, c5, 1), SPPF(c5, c5))
        self.lat5 = Conv(c5, c4)
        self.up4 = C3(2 * c4, c4, 1, False)
        self.lat4 = Conv(c4, c3)
        self.up3 = C3(2 * c3, c3, 1, False)
        self.pan3 = Conv(c3, c3, 3, 2)
        self.out4 = C3(2 * c3, c4, 1, False)
        self.pan4 = Conv(c4, c4, 3, 2)
        self.out5 = C3(2 * c4, c5, 1, False)
        self.up = nn.Upsample(scale_factor=2, mode="nearest")

    def forward(self, x):
        p3 = self.down3(self.down2(self.stem(x)))
        p4 = self.down4(p3)
        l5 = self.lat5(self.down5(p4))
        l4 = self.lat4(self.up4(torch.cat((self.up(l5), p4), 1)))
        n3 = self.up3(torch.cat((self.up(l4), p3), 1))
        n4 = self.out4(torch.cat((self.pan3(n3), l4), 1))
        n5 = self.out5(torch.cat((self.pan4(n4), l5), 1))
        return n3, n4, n5


def init_detector(network):
    """Objectness starts rare and classes undecided, so that the first steps are calm."""
    for head, stride in zip(network.heads, STRIDES):
        with torch.no_grad():
            bias = head.bias.view(3, -1)
            bias[:, 4] += torch.log(torch.tensor(6 / (INPUT / stride) ** 2))
            bias[:, 5:] += -1.5


class Detector(nn.Module):
    """Anchor-based detector: three 1 x 1 convolutions give 3 x (5 + classes) logits a cell."""

    def __init__(self, classes=6, widths=WIDTHS):
        super().__init__()
        self.classes = classes
        self.body = Body(widths)
        self.heads = nn.ModuleList(nn.Conv2d(c, 3 * (5 + classes), 1) for c in self.body.channels)
        init_detector(self)

    def forward(self, x):
        return [head(f) for head, f in zip(self.heads, self.body(x))]


class Prototypes(nn.Module):
    """Masks at a quarter of the input's resolution, from which each object mixes its own."""

    def __init__(self, cin, hidden=32):
        super().__init__()
        self.cv1 = Conv(cin, hidden, 3)
        self.up = nn.Upsample(scale_factor=2, mode="nearest")
        self.cv2 = Conv(hidden, hidden, 3)
        self.cv3 = nn.Conv2d(hidden, MASKS, 1)

    def forward(self, x):
        return self.cv3(self.cv2(self.up(self.cv1(x))))


def branch(cin, hidden, cout, k):
    return nn.Sequential(Conv(cin, hidden, k), nn.Conv2d(hidden, cout, 1))


class Segmenter(nn.Module):
    """Anchor-free: per head box distributions, class logits and mask coefficients; prototypes from the finest grid."""

    def __init__(self, classes=6, widths=WIDTHS):
        super().__init__()
        self.classes = classes
        self.body = Body(widths)
        channels = self.body.channels
        kernels = (3, 3, 1)  # neighbours add little on the coarsest grid, and its weights are the dearest
        self.box = nn.ModuleList(branch(c, 32, 4 * BINS, k) for c, k in zip(channels, kernels))
        self.cls = nn.ModuleList(branch(c, 24, classes, k) for c, k in zip(channels, kernels))
        self.mask = nn.ModuleList(branch(c, 16, MASKS, k) for c, k in zip(channels, kernels))
        self.proto = Prototypes(channels[0])
        for last, stride in zip(self.cls, STRIDES):
            with torch.no_grad():
                last[-1].bias.fill_(math.log(5 / classes / (INPUT / stride) ** 2))

    def forward(self, x):
        features = self.body(x)
        outputs = []
        for f, box, cls, mask in zip(features, self.box, self.cls, self.mask):
            outputs += [box(f), cls(f), mask(f)]
        return outputs + [self.proto(features[0])]
