"""Renders the held-out pictures with their truth, the demo pictures, and the text files beside them."""

import argparse
import json
from pathlib import Path

import cv2
import numpy as np

from dataset import DEMO, HELD_OUT
from network import INPUT
from scenes import render
from shapes import NAMES

PLAIN = 180
MIXED = ((320, 240), (240, 320), (400, 300), (300, 400), (480, 320), (360, 360), (426, 240), (512, 288), (256, 256),
         (288, 352))
AWKWARD = ((97, 61), (61, 97), (120, 90), (75, 75), (101, 149), (1280, 720), (720, 1280), (333, 501), (501, 333),
           (640, 200), (200, 640), (161, 640), (319, 321), (321, 319), (640, 640), (800, 450), (257, 431), (1000, 330),
           (330, 700), (127, 255), (640, 480), (480, 640), (201, 83), (83, 201), (577, 389), (389, 577), (319, 319),
           (160, 160), (641, 359), (150, 320))
DEMO_SCENES = ((960, 540, 1), (1280, 720, 1002), (640, 800, 2003),
               (1024, 768, 3000), (900, 900, 4003), (800, 600, 5017))
QUALITY = 84
CONFIGURATION = """\
# {title}
model_path: models/shapes/{network}.onnx
model: {model}
{extra}conf_thres: 0.45
nms_thres: 0.45
class_num: {count}
input_size: [{size}, {size}]
class_mapping:
{mapping}
"""
CONFIGURATIONS = {
    "shapes_fused": ("Detector with its decoding inside the network.", "shapes_fused", "yolov5", ""),
    "shapes_cut": ("The same detector cut before its detection layer; its outputs are 8-bit.", "shapes_cut",
                   "yolov5_cutoff", ""),
    "shapes_seg": ("Instance segmentation on floats.", "shapes_seg", "yolov8_seg",
                   "framework: ONNX\nis_quantized: false\n"),
    "shapes_seg_int8": ("Instance segmentation on 8-bit tensors, from the float network.", "shapes_seg", "yolov8_seg",
                        "framework: ONNX\nis_quantized: true\n"),
}


def run_lengths(mask):
    """COCO's uncompressed run lengths: column-major, the first run counts zeros."""
    flat = np.asarray(mask, bool).ravel(order="F")
    edges = np.flatnonzero(np.diff(flat)) + 1
    runs = np.diff(np.concatenate(([0], edges, [flat.size]))).tolist()
    return [0] + runs if flat[0] else runs


def annotations(scene, picture_id, first_id):
    for i, (label, box) in enumerate(zip(scene.labels, scene.boxes)):
        mask = scene.index == i + 1
        counts = {"size": list(mask.shape), "counts": run_lengths(mask)}
        yield {"id": first_id + i, "image_id": picture_id, "category_id": label + 1, "bbox": box,
               "area": int(mask.sum()), "iscrowd": 0, "segmentation": counts}


def held_out(folder):
    """Writes pictures/NNN_WxH.jpg and truth.json."""
    (folder / "pictures").mkdir(parents=True, exist_ok=True)
    sizes = [(INPUT, INPUT)] * PLAIN + list(MIXED) * 2 + list(AWKWARD)
    truth = {"info": {"description": "rendered shapes; category_id is the label + 1; boxes and masks are what is seen"},
             "images": [], "annotations": [],
             "categories": [{"id": i + 1, "name": name} for i, name in enumerate(NAMES)]}
    for i, (width, height) in enumerate(sizes):
        scene = render(np.random.default_rng([HELD_OUT, i]), width, height, INPUT)
        name = f"{i:03d}_{width}x{height}.jpg"
        save(folder / "pictures" / name, scene.picture)
        truth["images"].append({"id": i + 1, "file_name": name, "width": width, "height": height})
        truth["annotations"] += annotations(scene, i + 1, len(truth["annotations"]) + 1)
    (folder / "truth.json").write_text(json.dumps(truth, separators=(",", ":")) + "\n")
    print(f"{len(sizes)} pictures, {len(truth['annotations'])} objects")


def demo(folder):
    (folder / "demo").mkdir(parents=True, exist_ok=True)
    for number, (width, height, seed) in enumerate(DEMO_SCENES, 1):
        scene = render(np.random.default_rng([DEMO, seed]), width, height, INPUT)
        save(folder / "demo" / f"shapes_{number}_{width}x{height}.jpg", scene.picture)


def save(path, picture):
    if not cv2.imwrite(str(path), picture, [cv2.IMWRITE_JPEG_QUALITY, QUALITY]):
        raise SystemExit(f"cannot write {path}")


def text_files(folder):
    (folder / "shapes.names").write_text("\n".join(NAMES) + "\n")
    mapping = "\n".join(f"  {i}: {name}" for i, name in enumerate(NAMES))
    for file, (title, network, model, extra) in CONFIGURATIONS.items():
        text = CONFIGURATION.format(title=title, network=network, model=model, extra=extra, count=len(NAMES),
                                    size=INPUT, mapping=mapping)
        (folder / f"{file}.yaml").write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", type=Path)
    folder = parser.parse_args().folder
    cv2.setNumThreads(1)
    held_out(folder)
    demo(folder)
    text_files(folder)


if __name__ == "__main__":
    main()
