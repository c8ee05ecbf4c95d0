"""What the tests of the tools share."""

from __future__ import annotations

import contextlib
import io
import os
import sys
import tempfile
import unittest
from pathlib import Path

os.environ.setdefault("OPENCV_LOG_LEVEL", "SILENT")  # Read once, when OpenCV is loaded.
import cv2  # noqa: E402
import numpy as np
import onnx

SOURCE = Path(__file__).resolve().parents[2]
TOOL = SOURCE / "tools" / "prepare_network.py"
sys.path.insert(0, str(SOURCE / "tools"))

from prepare import command_line  # noqa: E402  The folder is known from here on only.


# float32 rounds by 2^-24 of a number; 30 convolutions of at most 300 products each add that up (see
# tools/prepare/verification.py for the reasoning).
ROUNDING = 2.0**-24 * 30 * 300**0.5


def run_tool(*arguments: object) -> tuple[int, str, str]:
    """Exit status, standard output and standard error of the command."""
    out, err = io.StringIO(), io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        try:
            status = command_line.main([str(a) for a in arguments])
        except SystemExit as end:
            status = end.code
    return status, out.getvalue(), err.getvalue()


def picture(width: int, height: int, seed: int = 3) -> np.ndarray:
    """[1, 3, height, width], red first."""
    return np.random.default_rng(seed).random((1, 3, height, width), dtype=np.float32)


def run_opencv(model: onnx.ModelProto, values: np.ndarray) -> dict[str, np.ndarray]:
    """All outputs of a network with one input, by name."""
    net = cv2.dnn.readNetFromONNX(np.frombuffer(model.SerializeToString(), np.uint8))
    net.setInput(np.ascontiguousarray(values))
    names = [output.name for output in model.graph.output]
    return dict(zip(names, net.forward(names)))


def shape_of(value: onnx.ValueInfoProto) -> list[int]:
    return [d.dim_value for d in value.type.tensor_type.shape.dim]


def metadata_of(model: onnx.ModelProto) -> dict[str, str]:
    return {entry.key: entry.value for entry in model.metadata_props}


class ToolTest(unittest.TestCase):
    """Gives each test a folder of its own."""

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def save(self, model: onnx.ModelProto, name: str = "export.onnx") -> Path:
        """As it stands: onnx.save would write weights to wherever the network says that they lie."""
        path = self.folder / name
        path.write_bytes(model.SerializeToString())
        return path

    def prepare(self, model: onnx.ModelProto, *options: object) -> onnx.ModelProto:
        """The prepared network of an export that has to be taken, verified by the tool itself."""
        result = self.folder / "prepared.onnx"
        status, out, err = run_tool(self.save(model), "-o", result, "--force", *options)
        self.assertEqual((status, err), (0, ""))
        self.assertIn("verified in OpenCV", out)
        return onnx.load(str(result))

    def refusal(self, model: onnx.ModelProto, *options: object) -> str:
        """The line with which an export is refused; nothing must have been written."""
        result = self.folder / "refused.onnx"
        status, _, err = run_tool(self.save(model), "-o", result, *options)
        self.assertEqual(status, 2, err)
        self.assertFalse(result.exists())
        self.assertEqual(err.count("\n"), 1, err)
        return err

    def assert_rows_close(self, found: np.ndarray, wanted: np.ndarray) -> None:
        """Decoded rows: centres, sizes and probabilities each have a scale of their own."""
        for columns in (slice(0, 2), slice(2, 4), slice(4, None)):
            self.assert_close(found[..., columns], wanted[..., columns])

    def assert_close(self, found: np.ndarray, wanted: np.ndarray, part: float = ROUNDING) -> None:
        """Equal up to `part` of the largest value."""
        self.assertEqual(found.shape, wanted.shape)
        self.assertLessEqual(float(np.abs(found - wanted).max()), part * float(np.abs(wanted).max()))
