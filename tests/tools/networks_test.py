"""Prepared networks in the program: the same objects as from networks that were prepared by other means."""

import json
import os
import subprocess
import unittest
from pathlib import Path

from support import SOURCE, ToolTest, run_tool

PROGRAM = os.environ.get("BRELLIX_PROGRAM", "")
NETWORKS = Path(folder) if (folder := os.environ.get("BRELLIX_NETWORKS")) else None
SHAPES = SOURCE / "models" / "shapes"


def configuration(network: Path, model: str, size: tuple[int, int], classes: int, confidence: float,
                  overlap: float) -> str:
    return (f"model_path: {network}\nmodel: {model}\nframework: {'ONNX' if model == 'yolov8_seg' else 'RKNN'}\n"
            f"is_quantized: false\nconf_thres: {confidence}\nnms_thres: {overlap}\nclass_num: {classes}\n"
            f"input_size: [{size[0]}, {size[1]}]\n")


def mask_pixels(mask: dict | None) -> int:
    """From COCO's compressed run lengths: five bits a character, from the fourth number on relative to two before."""
    counts, position, text = [], 0, (mask or {"counts": ""})["counts"]
    while position < len(text):
        value, shift, more = 0, 0, True
        while more:
            bits = ord(text[position]) - 48
            value |= (bits & 31) << shift
            more, shift, position = bool(bits & 32), shift + 5, position + 1
        if bits & 16:
            value -= 1 << shift
        counts.append(value + (counts[-2] if len(counts) > 2 else 0))
    return sum(counts[1::2])


def overlap_of(a: list[float], b: list[float]) -> float:
    width = min(a[0] + a[2], b[0] + b[2]) - max(a[0], b[0])
    height = min(a[1] + a[3], b[1] + b[3]) - max(a[1], b[1])
    shared = max(0, width) * max(0, height)
    return shared / (a[2] * a[3] + b[2] * b[3] - shared) if shared else 0


class PreparedNetworks(ToolTest):

    def setUp(self) -> None:
        super().setUp()
        if not PROGRAM:
            self.skipTest("BRELLIX_PROGRAM names no program")

    def detect(self, text: str, pictures: list[Path]) -> list[list[dict]]:
        """The objects that the program finds on each picture."""
        config = self.folder / "config.yaml"
        config.write_text(text)
        done = subprocess.run([PROGRAM, "detect", config, *pictures, "--json", "-", "--quiet"], capture_output=True,
                              text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return [json.loads(line)["objects"] for line in done.stdout.splitlines()]

    def prepare_file(self, export: Path, *options: object) -> Path:
        result = self.folder / "prepared.onnx"
        status, out, err = run_tool(export, "-o", result, "--force", *options)
        self.assertEqual((status, err), (0, ""))
        self.assertIn("verified in OpenCV", out)
        return result

    def assert_same_objects(self, found: list[dict], expected: list[dict], prob: float, pixels: float,
                            overlap: float) -> None:
        """Each expected object has one of the same class, and there are no others."""
        self.assertEqual(len(found), len(expected))
        left = list(found)
        for wanted in expected:
            same = [o for o in left if o["label"] == wanted["label"]]
            best = max(same, key=lambda o: overlap_of(o["box"], wanted["box"]), default=None)
            self.assertIsNotNone(best, wanted)
            left.remove(best)
            self.assertGreaterEqual(overlap_of(best["box"], wanted["box"]), overlap)
            self.assertLessEqual(abs(best["prob"] - wanted["prob"]), prob)
            self.assertLessEqual(max(abs(a - b) for a, b in zip(best["box"], wanted["box"])), pixels)
            if "mask_pixels" in wanted:
                difference = abs(mask_pixels(best["mask"]) - wanted["mask_pixels"])
                self.assertLessEqual(difference, 0.02 * wanted["mask_pixels"])


class SampleNetworks(PreparedNetworks):
    """The detector of models/shapes stands for an export: the cut network holds the same weights."""

    def setUp(self) -> None:
        super().setUp()
        self.pictures = sorted((SHAPES / "demo").glob("*.jpg"))[:3]

    def objects(self, network: Path, model: str) -> list[list[dict]]:
        found = self.detect(configuration(network, model, (320, 320), 6, 0.45, 0.45), self.pictures)
        self.assertEqual(len(found), len(self.pictures))
        self.assertGreater(min(map(len, found)), 3)
        return found

    def test_the_fused_form_finds_what_the_export_finds(self):
        expected = self.objects(SHAPES / "shapes_fused.onnx", "yolov5")
        found = self.objects(self.prepare_file(SHAPES / "shapes_fused.onnx"), "yolov5")
        for ours, theirs in zip(found, expected):
            self.assert_same_objects(ours, theirs, prob=1e-4, pixels=1, overlap=0.9)

    def test_the_cut_form_finds_what_the_cut_network_finds(self):
        expected = self.objects(SHAPES / "shapes_cut.onnx", "yolov5_cutoff")
        found = self.objects(self.prepare_file(SHAPES / "shapes_fused.onnx", "--cut"), "yolov5_cutoff")
        for ours, theirs in zip(found, expected):
            self.assert_same_objects(ours, theirs, prob=1e-4, pixels=1, overlap=0.9)


class LargeNetworks(PreparedNetworks):
    """Exports as people have them, against the objects that an independent decoder found."""

    def setUp(self) -> None:
        super().setUp()
        if NETWORKS is None:
            self.skipTest("BRELLIX_NETWORKS is not set")
        self.expected = json.loads((NETWORKS / "expected.json").read_text())

    def check(self, network: Path, model: str, name: str, prob: float, pixels: float, overlap: float) -> None:
        photos = sorted(self.expected)
        paths = [NETWORKS / "photos" / photo for photo in photos]
        found = self.detect(configuration(network, model, (640, 640), 80, 0.25, 0.65), paths)
        self.assertEqual(len(found), len(photos))
        for photo, objects in zip(photos, found):
            with self.subTest(photo=photo):
                self.assert_same_objects(objects, self.expected[photo][name], prob, pixels, overlap)

    def test_a_half_precision_open_export_finds_the_expected_objects(self):
        network = self.prepare_file(NETWORKS / "yolov5n_export_fp16_dynamic.onnx")
        self.check(network, "yolov5", "yolov5n_fused_640", prob=0.02, pixels=2, overlap=0.5)

    def test_the_same_export_cut_finds_the_expected_objects(self):
        network = self.prepare_file(NETWORKS / "yolov5n_export_fp16_dynamic.onnx", "--cut")
        self.check(network, "yolov5_cutoff", "yolov5n_cutoff_bgr_640", prob=0.05, pixels=1e9, overlap=0.9)

    def test_a_segmentation_export_finds_the_expected_objects_and_masks(self):
        network = self.prepare_file(NETWORKS / "yolov8n-seg_std_640.onnx")
        self.check(network, "yolov8_seg", "yolov8n-seg_heads_bgr_640", prob=0.02, pixels=2, overlap=0.5)

    def test_other_sizes_find_the_large_objects(self):
        photo = NETWORKS / "photos" / "bus.jpg"
        large = [o for o in self.expected["bus.jpg"]["yolov5n_fused_640"] if o["prob"] > 0.6]
        for name, model, size in (("yolov5n_export_fp16_dynamic", "yolov5", (320, 320)),
                                  ("yolov5n_export_fp16_dynamic", "yolov5", (416, 640)),
                                  ("yolov5n_fused_640", "yolov5", (480, 480)),
                                  ("yolov8n-seg_std_640", "yolov8_seg", (320, 320))):
            with self.subTest(name=name, size=size):
                network = self.prepare_file(NETWORKS / f"{name}.onnx", "--size", *size)
                found, = self.detect(configuration(network, model, size, 80, 0.25, 0.65), [photo])
                for wanted in large:
                    self.assertTrue(any(o["label"] == wanted["label"] and overlap_of(o["box"], wanted["box"]) > 0.7
                                        for o in found), wanted)


if __name__ == "__main__":
    unittest.main()
