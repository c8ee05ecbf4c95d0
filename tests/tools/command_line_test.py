"""The command: files, exit statuses, messages."""

import importlib
import os
import random
import subprocess
import sys
import tempfile
import types
import unittest
from pathlib import Path
from unittest import mock

import numpy as np
import onnx
from onnx import external_data_helper, helper, numpy_helper

from support import TOOL, ToolTest, run_tool  # First, since it makes the tool's folder known.

from exports import Variant, yolov5
from prepare import verification
from prepare.evaluation import compute
from prepare.network_file import network_of


class Files(ToolTest):

    def setUp(self) -> None:
        super().setUp()
        self.export = self.save(yolov5(Variant()))

    def test_the_result_lies_beside_the_export_and_tells_the_next_command(self):
        status, out, err = run_tool(self.export)
        result = self.folder / "export_fused.onnx"
        self.assertEqual((status, err), (0, ""))
        self.assertTrue(result.is_file())
        self.assertEqual(out.splitlines()[-1], f"next: brellix init {result}")
        self.assertEqual(sorted(p.name for p in self.folder.iterdir()), ["export.onnx", "export_fused.onnx"])
        self.assertEqual(run_tool(self.export, "--cut")[0], 0)
        self.assertTrue((self.folder / "export_cut.onnx").is_file())

    def test_a_file_that_is_there_is_replaced_with_force_only(self):
        result = self.folder / "there.onnx"
        result.write_text("mine")
        status, _, err = run_tool(self.export, "-o", result)
        self.assertEqual((status, result.read_text()), (2, "mine"))
        self.assertIn("--force", err)
        self.assertEqual(run_tool(self.export, "-o", result, "--force")[0], 0)
        self.assertEqual(len(onnx.load(str(result)).graph.output), 1)

    def test_the_export_is_never_replaced(self):
        before = self.export.read_bytes()
        linked = self.folder / "linked.onnx"
        os.link(self.export, linked)
        for name in (self.export, linked, self.folder / "." / "export.onnx"):
            status, _, err = run_tool(self.export, "-o", name, "--force")
            self.assertEqual((status, self.export.read_bytes() == before), (2, True))
            self.assertIn("the export itself", err)

    def test_a_folder_that_is_missing_or_in_the_place_of_a_file_is_named(self):
        self.assertIn("does not exist", run_tool(self.export, "-o", self.folder / "no" / "a.onnx")[2])
        self.assertIn("is a folder", run_tool(self.export, "-o", self.folder)[2])
        self.assertIn("is a folder", run_tool(self.folder)[2])
        self.assertIn("cannot be read: No such file", run_tool(self.folder / "none.onnx")[2])

    def test_a_failure_to_write_is_status_3_and_leaves_nothing(self):
        with mock.patch("os.replace", side_effect=OSError(28, "No space left on device")):
            status, _, err = run_tool(self.export, "-o", self.folder / "out.onnx")
        self.assertEqual(status, 3)
        self.assertIn("No space left on device", err)
        self.assertEqual([p.name for p in self.folder.iterdir()], ["export.onnx"])

    def test_an_interruption_leaves_no_file(self):
        with mock.patch("os.replace", side_effect=KeyboardInterrupt):
            status, _, err = run_tool(self.export, "-o", self.folder / "out.onnx")
        self.assertEqual(status, 130)
        self.assertIn("nothing was written", err)
        self.assertEqual([p.name for p in self.folder.iterdir()], ["export.onnx"])

    def test_a_name_that_no_file_system_takes_is_named(self):
        long = self.folder / ("n" * 300 + ".onnx")
        status, _, err = run_tool(long)
        self.assertEqual((status, err), (2, f"prepare_network.py: '{long}' cannot be read: File name too long\n"))
        status, _, err = run_tool(self.export, "-o", long)
        self.assertEqual((status, err), (3, f"prepare_network.py: '{long}': File name too long\n"))

    def test_a_folder_that_must_not_be_read_is_named(self):
        with mock.patch.object(Path, "is_dir", side_effect=PermissionError(13, "Permission denied")):
            status, _, err = run_tool(self.export)
        self.assertEqual((status, err), (2, f"prepare_network.py: '{self.export}' cannot be read: Permission denied\n"))

    def test_a_folder_that_cannot_be_written_is_said_before_the_work(self):
        with mock.patch("os.access", return_value=False):
            status, out, err = run_tool(self.export)
        self.assertEqual((status, out), (3, ""))
        self.assertIn("choose another one with -o", err)

    def test_weights_in_a_file_beside_are_taken_in(self):
        model = onnx.load(str(self.export))
        external_data_helper.convert_model_to_external_data(model, location="weights.bin", size_threshold=0)
        onnx.save(model, str(self.folder / "outside.onnx"))
        self.assertEqual(run_tool(self.folder / "outside.onnx")[0], 0)
        self.assertEqual(run_tool(self.export)[0], 0)
        together = [(self.folder / name).read_bytes() for name in ("outside_fused.onnx", "export_fused.onnx")]
        self.assertEqual(together[0], together[1])

    def test_weights_that_are_missing_or_lie_elsewhere_are_refused(self):
        model = onnx.load(str(self.export))
        external_data_helper.convert_model_to_external_data(model, location="weights.bin", size_threshold=0)
        onnx.save(model, str(self.folder / "outside.onnx"))
        (self.folder / "weights.bin").unlink()
        self.assertIn("'weights.bin', which is not beside it", run_tool(self.folder / "outside.onnx")[2])
        tensor = onnx.load(str(self.export))
        weight = tensor.graph.initializer[0]
        weight.data_location = onnx.TensorProto.EXTERNAL
        elsewhere = tempfile.TemporaryDirectory()
        self.addCleanup(elsewhere.cleanup)
        secret = Path(elsewhere.name, "secret")
        secret.write_bytes(b"not for networks")
        weight.external_data.add(key="location", value=os.path.relpath(secret, self.folder))
        self.assertIn("not beside it", self.refusal(tensor))
        self.assertEqual(secret.read_bytes(), b"not for networks")

    def test_quiet_prints_nothing(self):
        self.assertEqual(run_tool(self.export, "--quiet"), (0, "", ""))

    def test_damaged_files_get_one_line(self):
        generator, good = random.Random(4), self.export.read_bytes()
        damaged = self.folder / "damaged.onnx"
        for turn in range(60):
            data = bytearray(good[:generator.randrange(len(good))] if turn % 2 else good)
            for _ in range(10):
                data[generator.randrange(len(data))] = generator.randrange(256)
            damaged.write_bytes(data)
            status, _, err = run_tool(damaged, "-o", self.folder / "out.onnx", "--force", "--no-verify")
            self.assertIn((status, err.count("\n")), ((0, 0), (2, 1)), err)

    def test_files_of_other_kinds_are_named_as_such(self):
        for content in (b"", b"text\n", b"\x89PNG\r\n\x1a\n", os.urandom(100)):
            other = self.folder / "other.onnx"
            other.write_bytes(content)
            status, _, err = run_tool(other)
            self.assertEqual(status, 2)
            self.assertIn("is no ONNX file", err)


class Process(ToolTest):
    """As a program of its own, from another folder."""

    def run_program(self, *arguments: object, **settings) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, "-B", str(TOOL), *map(str, arguments)], capture_output=True, text=True,
                              cwd=self.folder, check=False, **settings)

    def test_help_shows_forms_statuses_and_examples(self):
        shown = self.run_program("--help")
        self.assertEqual(shown.returncode, 0)
        for word in ("--cut", "--bgr", "exit status", "examples", "brellix_channels"):
            self.assertIn(word, shown.stdout)

    def test_wrong_use_is_status_2(self):
        for arguments in ((), ("a.onnx", "--size", "640"), ("a.onnx", "--nothing")):
            self.assertEqual(self.run_program(*arguments).returncode, 2)

    def test_standard_output_that_cannot_be_written_is_status_3(self):
        self.save(yolov5(Variant()))
        with open("/dev/full", "w", encoding="ascii") as full:
            done = self.run_with_output(full)
        self.assertEqual((done.returncode, done.stderr),
                         (3, "prepare_network.py: cannot write to standard output: No space left on device\n"))

    def test_a_reader_that_has_gone_is_status_3(self):
        self.save(yolov5(Variant()))
        reader, writer = os.pipe()
        os.close(reader)
        with open(writer, "w", encoding="ascii") as pipe:
            done = self.run_with_output(pipe)
        self.assertEqual((done.returncode, done.stderr),
                         (3, "prepare_network.py: cannot write to standard output: Broken pipe\n"))

    def run_with_output(self, output) -> subprocess.CompletedProcess:
        return subprocess.run([sys.executable, "-B", str(TOOL), "export.onnx"], stdout=output, stderr=subprocess.PIPE,
                              text=True, cwd=self.folder, check=False)

    def test_missing_packages_are_named(self):
        # Without its site module, Python does not find installed packages.
        bare = subprocess.run([sys.executable, "-S", "-B", str(TOOL), "--help"], capture_output=True, text=True,
                              env={}, check=False)
        self.assertEqual((bare.returncode, bare.stdout), (3, ""))
        self.assertIn("install python3-onnx and python3-numpy", bare.stderr)

    def test_it_runs_from_anywhere_and_needs_no_display(self):
        self.save(yolov5(Variant(half=True)))
        done = self.run_program("export.onnx", env={"PATH": os.environ["PATH"]})
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("float16, 2 classes, no names in the file", done.stdout)
        self.assertIn("verified in OpenCV", done.stdout)


class Verification(ToolTest):

    def setUp(self) -> None:
        super().setUp()
        self.export = self.save(yolov5(Variant(opset=13)))
        self.result = self.folder / "out.onnx"

    def run_with(self, modules: dict, *options: object) -> tuple[int, str, str]:
        """With these modules in the place of the engines; None stands for one that cannot be imported."""
        def instead(name: str):
            if modules.get(name) is None:
                raise ImportError(name)
            return modules[name]
        with mock.patch.object(importlib, "import_module", instead):
            return run_tool(self.export, "-o", self.result, "--force", *options)

    def onnxruntime(self, change: float = 0) -> types.SimpleNamespace:
        """ONNX Runtime's interface, as far as the tool uses it."""
        class Session:
            def __init__(self, model, providers):
                self.network = network_of(onnx.load_from_string(model))

            def run(self, names, inputs):
                return [compute(self.network, inputs, names)[name] * (1 + change) for name in names]
        return types.SimpleNamespace(__version__="1.0", InferenceSession=Session)

    def test_a_network_that_computes_something_else_is_not_written(self):
        status, _, err = self.run_with({"onnxruntime": self.onnxruntime(change=0.01)})
        self.assertEqual((status, self.result.exists()), (1, False))
        self.assertIn("differs from the file: 'output0' in ONNX Runtime 1.0", err)

    def test_numbers_that_are_none_count_as_a_difference(self):
        status, _, _ = self.run_with({"onnxruntime": self.onnxruntime(change=float("nan"))})
        self.assertEqual(status, 1)

    def test_onnx_runtime_is_used_where_it_is_there(self):
        status, out, _ = self.run_with({"onnxruntime": self.onnxruntime()})
        self.assertEqual(status, 0)
        self.assertIn("verified in ONNX Runtime 1.0: at most", out)

    def test_numpy_alone_is_said_to_be_numpy_alone(self):
        status, out, _ = self.run_with({})
        self.assertEqual(status, 0)
        self.assertIn("verified in NumPy alone (neither OpenCV", out)

    def test_no_verify_says_so(self):
        status, out, _ = run_tool(self.export, "-o", self.result, "--no-verify")
        self.assertEqual(status, 0)
        self.assertIn("not verified: --no-verify", out)

    def test_an_engine_that_cannot_run_the_result_is_named(self):
        session = mock.Mock(side_effect=RuntimeError("no\nmore"))
        broken = types.SimpleNamespace(__version__="9", InferenceSession=session)
        status, _, err = self.run_with({"onnxruntime": broken})
        self.assertEqual((status, self.result.exists()), (2, False))
        self.assertIn("ONNX Runtime 9 cannot run the prepared network: no;", err)

    def test_an_export_that_numpy_cannot_compute_is_written_as_not_verified(self):
        model = onnx.load(str(self.export))
        node = next(n for n in model.graph.node if n.op_type == "MaxPool")
        node.op_type = "LRN"
        del node.attribute[:]
        node.attribute.append(helper.make_attribute("size", 3))
        onnx.save(model, str(self.export))
        status, out, _ = run_tool(self.export, "-o", self.result)
        self.assertEqual(status, 0)
        self.assertIn("not verified: the file as it came cannot be computed here: operator LRN", out)

    def test_a_file_of_one_size_is_compared_at_that_size(self):
        model = onnx.load(str(self.export))
        enlarged = [node for node in model.graph.node if node.op_type == "Resize"]
        for node, side in zip(enlarged, (20, 40)):
            name = f"sizes_{side}"
            model.graph.initializer.append(numpy_helper.from_array(np.array([1, 16, side, side], np.int64), name))
            node.input[2:] = ["", name]
        onnx.save(model, str(self.export))
        status, out, _ = run_tool(self.export, "-o", self.result, "--size", 256, 256)
        self.assertEqual(status, 0)
        self.assertIn("at 320 x 320, the only size the file runs at", out)

    def test_the_picture_is_the_same_each_time_and_has_edges_and_noise(self):
        first, second = (verification.test_picture(96, 64) for _ in range(2))
        self.assertTrue(np.array_equal(first, second))
        self.assertEqual(first.shape, (1, 3, 64, 96))
        self.assertGreater(float(first.std()), 0.1)
        self.assertTrue(0 <= first.min() and first.max() <= 1)


if __name__ == "__main__":
    unittest.main()
