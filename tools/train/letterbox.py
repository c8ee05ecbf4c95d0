"""Fits a picture into the network's square input exactly as the library does."""

import math

import cv2
import numpy as np

GREY = (114, 114, 114)


def _round(x):
    return int(math.floor(float(x) + 0.5)) if x >= 0 else -int(math.floor(0.5 - float(x)))


def scale_of(width, height, size):
    """Factor from source to network pixels."""
    return min(np.float32(size) / np.float32(height), np.float32(size) / np.float32(width))


def borders(width, height, size):
    """Factor, scaled width and height, left and top border in network pixels."""
    r = scale_of(width, height, size)
    w, h = _round(np.float32(width) * r), _round(np.float32(height) * r)
    return r, w, h, (size - w) * 0.5, (size - h) * 0.5


def letterbox(picture, size, interpolation=cv2.INTER_LINEAR, fill=GREY):
    """Returns the padded picture, the factor, and the unrounded left and top padding."""
    height, width = picture.shape[:2]
    r, w, h, dw, dh = borders(width, height, size)
    if (w, h) != (width, height):
        picture = cv2.resize(picture, (w, h), interpolation=interpolation)
    top, bottom = _round(dh - 0.1), _round(dh + 0.1)
    left, right = _round(dw - 0.1), _round(dw + 0.1)
    return cv2.copyMakeBorder(picture, top, bottom, left, right, cv2.BORDER_CONSTANT, value=fill), float(r), dw, dh
