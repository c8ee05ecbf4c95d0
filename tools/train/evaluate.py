"""Average precision at IoU 0.5 of an exported network over the held-out pictures, through OpenCV dnn.

AP is COCO's: per class, all detections by falling score, at most 100 a picture, precision made monotone and read at 101
recalls; the mean over the classes is reported.
"""

import argparse
import json
from collections import defaultdict
from pathlib import Path

import cv2
import numpy as np

from decode import Network, overlaps

IOU = 0.5
RECALLS = np.linspace(0, 1, 101)


def unpack(segmentation):
    """Boolean mask of uncompressed COCO run lengths."""
    height, width = segmentation["size"]
    counts = segmentation["counts"]
    return np.repeat(np.arange(len(counts)) % 2, counts).astype(bool).reshape(width, height).T


def mask_overlaps(a, b):
    a, b = (v.reshape(len(v), int(np.prod(v.shape[1:]))).astype(np.float32) for v in (a, b))
    inter = a @ b.T
    return inter / np.maximum(a.sum(1)[:, None] + b.sum(1)[None] - inter, 1e-9)


def claim(table, labels, true_labels):
    """Each detection in turn takes the free object of its class that it overlaps most; True where it finds one."""
    free = np.ones(len(true_labels), bool)
    hits = np.zeros(len(labels), bool)
    for i, label in enumerate(labels):
        value = np.where(free & (true_labels == label), table[i], -1) if len(true_labels) else np.array([-1])
        best = int(value.argmax())
        if value[best] >= IOU:
            hits[i], free[best] = True, False
    return hits


def average_precision(scores, hits, objects):
    order = np.argsort(-scores, kind="stable")
    right = np.cumsum(hits[order])
    recall = right / objects
    precision = np.maximum.accumulate((right / np.arange(1, len(right) + 1))[::-1])[::-1]
    position = np.searchsorted(recall, RECALLS, side="left")
    return float(np.append(precision, 0.0)[np.minimum(position, len(precision))].mean())


def mean_ap(scores, labels, hits, objects):
    scores, labels, hits = (np.concatenate(v) for v in (scores, labels, hits))
    return {c: average_precision(scores[labels == c], hits[labels == c], n) for c, n in sorted(objects.items())}


def truths(folder):
    truth = json.loads((folder / "truth.json").read_text())
    objects = defaultdict(list)
    for annotation in truth["annotations"]:
        objects[annotation["image_id"]].append(annotation)
    return [(image["file_name"], objects[image["id"]]) for image in truth["images"]]


def evaluate(network, folder, confidence, overlap):
    scores, labels, box_hits, mask_hits, objects = [], [], [], [], defaultdict(int)
    for name, annotations in truths(folder):
        picture = cv2.imread(str(folder / "pictures" / name))
        found = network.detect(picture, confidence, overlap)
        true_labels = np.array([a["category_id"] - 1 for a in annotations])
        boxes = np.array([a["bbox"] for a in annotations], float)
        boxes[:, 2:] += boxes[:, :2]
        for label in true_labels:
            objects[int(label)] += 1
        scores.append(found.scores)
        labels.append(found.labels)
        box_hits.append(claim(overlaps(found.boxes, boxes), found.labels, true_labels))
        if found.masks is not None:
            masks = np.stack([unpack(a["segmentation"]) for a in annotations])
            mask_hits.append(claim(mask_overlaps(found.masks, masks), found.labels, true_labels))
    report = {"box": mean_ap(scores, labels, box_hits, objects)}
    if mask_hits:
        report["mask"] = mean_ap(scores, labels, mask_hits, objects)
    return report


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("kind", choices=("fused", "cut", "seg"))
    parser.add_argument("network")
    parser.add_argument("folder", type=Path, help="folder of truth.json and pictures/")
    parser.add_argument("--confidence", type=float, default=0.01)
    parser.add_argument("--overlap", type=float, default=0.65)
    parser.add_argument("--int8", action="store_true", help="quantise each output by its own range first")
    args = parser.parse_args()
    cv2.setNumThreads(1)
    network = Network(args.kind, args.network, args.int8)
    for what, per_class in evaluate(network, args.folder, args.confidence, args.overlap).items():
        classes = " ".join(f"{v:.4f}" for v in per_class.values())
        print(f"{what} AP50 {np.mean(list(per_class.values())):.4f} (classes: {classes})")


if __name__ == "__main__":
    main()
