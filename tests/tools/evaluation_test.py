"""The NumPy evaluation, on which verification rests, against literal loops and hand-computed values."""

import unittest

import numpy as np
from onnx import TensorProto

import support  # noqa: F401  It makes the tool's folder known.

from prepare.evaluation import compute, compute_node
from prepare.network import Input, Network, Node
from prepare.refusal import Refusal


def run(kind: str, *inputs, opset: int = 12, outputs: int = 1, **attributes):
    node = Node(kind, [f"i{k}" for k in range(len(inputs))], [f"o{k}" for k in range(outputs)], attributes, "node")
    values = [None if i is None else np.asarray(i) for i in inputs]
    results = compute_node(node, values, opset)
    return results[0] if outputs == 1 else results


def random(*shape: int, seed: int = 1) -> np.ndarray:
    return np.random.default_rng(seed).normal(size=shape).astype(np.float32)


def literal_convolution(x, weight, bias, strides, pads, dilations, group):
    """The definition, one product after another."""
    top, left, bottom, right = pads
    x = np.pad(x, ((0, 0), (0, 0), (top, bottom), (left, right)))
    count, per_group, kh, kw = weight.shape
    rows = (x.shape[2] - dilations[0] * (kh - 1) - 1) // strides[0] + 1
    columns = (x.shape[3] - dilations[1] * (kw - 1) - 1) // strides[1] + 1
    result = np.zeros((x.shape[0], count, rows, columns))
    for n, o, r, c in np.ndindex(result.shape):
        first = o // (count // group) * per_group
        total = float(bias[o])
        for i, y, z in np.ndindex(per_group, kh, kw):
            total += float(weight[o, i, y, z]) * float(
                x[n, first + i, r * strides[0] + y * dilations[0], c * strides[1] + z * dilations[1]])
        result[n, o, r, c] = total
    return result


class Windows(unittest.TestCase):

    def test_convolutions_follow_the_definition(self):
        for strides, pads, dilations, group in (([1, 1], [0, 0, 0, 0], [1, 1], 1), ([2, 1], [1, 0, 2, 1], [1, 1], 2),
                                                ([1, 3], [2, 2, 2, 2], [2, 1], 4)):
            x, weight, bias = random(2, 4, 7, 6), random(8, 4 // group, 3, 2, seed=2), random(8, seed=3)
            found = run("Conv", x, weight, bias, strides=strides, pads=pads, dilations=dilations, group=group)
            wanted = literal_convolution(x, weight, bias, strides, pads, dilations, group)
            np.testing.assert_allclose(found, wanted, rtol=0, atol=1e-5)

    def test_same_padding_puts_the_odd_cell_where_it_belongs(self):
        x, weight = np.ones((1, 1, 4, 4), np.float32), np.ones((1, 1, 2, 2), np.float32)
        upper = run("Conv", x, weight, auto_pad=b"SAME_UPPER")[0, 0]
        lower = run("Conv", x, weight, auto_pad=b"SAME_LOWER")[0, 0]
        self.assertEqual((upper[0, 0], upper[3, 3], lower[0, 0], lower[3, 3]), (4, 1, 1, 4))

    def test_a_transposed_convolution_is_the_transpose_of_the_convolution(self):
        x, weight = random(1, 4, 9, 8), random(6, 2, 3, 2, seed=3)
        settings = {"strides": [2, 2], "pads": [1, 1, 1, 1], "dilations": [1, 1], "group": 2}
        forward = run("Conv", x, weight, **settings)
        self.assertEqual(forward.shape, (1, 6, 5, 5))
        y = random(*forward.shape, seed=4)
        back = run("ConvTranspose", y, weight, output_padding=[0, 0], **settings)
        x = x[:, :, :back.shape[2], :back.shape[3]]
        forward = run("Conv", x, weight, **settings)
        there = float((forward * y[:, :, :forward.shape[2], :forward.shape[3]]).sum())
        self.assertAlmostEqual(there, float((x * back).sum()), delta=2e-4)

    def test_pools(self):
        x = np.arange(25, dtype=np.float32).reshape(1, 1, 5, 5)
        self.assertEqual(run("MaxPool", x, kernel_shape=[2, 2], strides=[2, 2])[0, 0].tolist(), [[6, 8], [16, 18]])
        self.assertEqual(run("MaxPool", x, kernel_shape=[2, 2], strides=[2, 2], ceil_mode=1)[0, 0].tolist(),
                         [[6, 8, 9], [16, 18, 19], [21, 23, 24]])
        negative = run("MaxPool", -x, kernel_shape=[3, 3], pads=[1, 1, 1, 1])
        self.assertEqual(negative[0, 0, 0].tolist(), [0, 0, -1, -2, -3])
        self.assertEqual(run("AveragePool", x, kernel_shape=[3, 3], pads=[1, 1, 1, 1])[0, 0, 0, 0], 3)
        counted = run("AveragePool", x, kernel_shape=[3, 3], pads=[1, 1, 1, 1], count_include_pad=1)
        self.assertAlmostEqual(float(counted[0, 0, 0, 0]), 12 / 9, places=6)

    def test_resizing(self):
        x = np.array([[[[1, 2], [3, 4]]]], np.float32)
        floor = {"mode": b"nearest", "coordinate_transformation_mode": b"asymmetric", "nearest_mode": b"floor"}
        twice = [[1, 1, 2, 2], [1, 1, 2, 2], [3, 3, 4, 4], [3, 3, 4, 4]]
        scales = np.array([1, 1, 2, 2], np.float32)
        self.assertEqual(run("Resize", x, None, scales, **floor)[0, 0].tolist(), twice)
        self.assertEqual(run("Resize", x, None, None, np.array([1, 1, 4, 4]), **floor)[0, 0].tolist(), twice)
        linear = run("Resize", x, None, scales, mode=b"linear")[0, 0]
        self.assertEqual(linear[0].tolist(), [1, 1.25, 1.75, 2])
        corners = run("Resize", x, None, None, np.array([1, 1, 2, 3]), mode=b"linear",
                      coordinate_transformation_mode=b"align_corners")
        self.assertEqual(corners[0, 0].tolist(), [[1, 1.5, 2], [3, 3.5, 4]])

    def test_space_and_depth_undo_each_other(self):
        x = random(1, 8, 4, 6)
        again = run("SpaceToDepth", run("DepthToSpace", x, blocksize=2), blocksize=2)
        self.assertTrue(np.array_equal(again, x))


class Arrays(unittest.TestCase):

    def test_softmax_took_all_later_axes_together_before_opset_13(self):
        x = random(2, 3, 4)
        together, alone = run("Softmax", x, opset=12), run("Softmax", x, opset=13)
        np.testing.assert_allclose(together.sum((1, 2)), 1, atol=1e-6)
        np.testing.assert_allclose(alone.sum(2), 1, atol=1e-6)

    def test_whole_numbers_are_divided_toward_zero(self):
        self.assertEqual(run("Div", [7, -7, 7, -7], [2, 2, -2, -2]).tolist(), [3, -3, -3, 3])
        with self.assertRaisesRegex(Refusal, "division by zero"):
            run("Div", [1], [0])

    def test_slices_with_ends_beyond_and_backward(self):
        x = np.arange(6)
        self.assertEqual(run("Slice", x, [1], [1 << 60], [0], [2]).tolist(), [1, 3, 5])
        self.assertEqual(run("Slice", x, [-1], [-(1 << 60)], [0], [-1]).tolist(), [5, 4, 3, 2, 1, 0])
        self.assertEqual(run("Slice", x, [4], [0], [-1], [-2]).tolist(), [4, 2])
        self.assertEqual(run("Slice", np.eye(2), [0], [1]).tolist(), [[1, 0]])

    def test_sizes_and_axes_are_attributes_or_inputs(self):
        x = random(2, 6)
        for found in (run("Split", x, outputs=2, axis=1, split=[2, 4]),
                      run("Split", x, [2, 4], opset=13, outputs=2, axis=1)):
            self.assertTrue(np.array_equal(found[0], x[:, :2]) and np.array_equal(found[1], x[:, 2:]))
        self.assertEqual([p.shape for p in run("Split", x, outputs=3, axis=1)], [(2, 2)] * 3)
        self.assertEqual(run("Unsqueeze", x, axes=[0, 3]).shape, (1, 2, 6, 1))
        self.assertEqual(run("Unsqueeze", x, [0, -1], opset=13).shape, (1, 2, 6, 1))
        self.assertEqual(run("ReduceSum", x, axes=[1], keepdims=0).shape, (2,))
        self.assertEqual(run("ReduceSum", x, [1], opset=13).shape, (2, 1))

    def test_reshape_keeps_an_extent_at_zero(self):
        self.assertEqual(run("Reshape", random(2, 3, 4), [0, -1]).shape, (2, 12))

    def test_parts_of_a_shape(self):
        x = random(2, 3, 4)
        self.assertEqual(run("Shape", x).tolist(), [2, 3, 4])
        self.assertEqual(run("Shape", x, opset=15, start=-2, end=2).tolist(), [3])

    def test_scattering_writes_over_a_copy(self):
        x = np.zeros((2, 2), np.float32)
        found = run("ScatterND", x, [[0, 1], [1, 0]], np.array([5, 6], np.float32))
        self.assertEqual((found.tolist(), x.sum()), ([[0, 5], [6, 0]], 0))

    def test_half_and_double_become_float32(self):
        for kind in (np.float16, np.float64):
            self.assertEqual(run("Add", np.ones(2, kind), np.ones(2, kind)).dtype, np.float32)
        for target in (TensorProto.FLOAT16, TensorProto.DOUBLE):
            self.assertEqual(run("Cast", [1, 2], to=target).dtype, np.float32)

    def test_arrays_that_no_machine_holds_are_refused(self):
        for kind, inputs in (("ConstantOfShape", [[1 << 20, 1 << 20]]), ("Expand", [[1.0], [1 << 40]]),
                             ("Tile", [[1.0], [1 << 40]]), ("Range", [0, 1 << 40, 1]), ("ConstantOfShape", [[-1]])):
            with self.assertRaisesRegex(Refusal, "no tensor can have the shape"):
                run(kind, *inputs)

    def test_windows_over_pictures_that_no_machine_holds_are_refused(self):
        x, weight = random(1, 3, 8, 8), random(4, 3, 1, 1)
        for kind, inputs in (("Conv", (x, weight)), ("MaxPool", (x,))):
            with self.assertRaisesRegex(Refusal, "no tensor can have the shape"):
                run(kind, *inputs, kernel_shape=[1, 1], pads=[30000] * 4)

    def test_a_refusal_names_the_node_and_the_shapes(self):
        with self.assertRaisesRegex(Refusal, r"operator Add 'node' cannot be computed from .* \[2\], \[3\]"):
            run("Add", random(2), random(3))
        with self.assertRaisesRegex(Refusal, "operator Unheard 'node' is not among"):
            run("Unheard", random(2))


class Networks(unittest.TestCase):

    def network(self) -> Network:
        nodes = [Node("Add", ["x", "one"], ["a"]), Node("Mul", ["a", "a"], ["b"]), Node("Sub", ["b", "missing"], ["c"])]
        return Network([Input("x", 1, [2])], ["b"], nodes, {"one": np.ones(2, np.float32)}, 12)

    def test_a_part_is_computed_from_tensors_inside(self):
        found = compute(self.network(), {"a": np.array([2, 3], np.float32)}, ["b"])
        self.assertEqual(found["b"].tolist(), [4, 9])

    def test_what_is_wanted_stays_though_it_is_read_again(self):
        found = compute(self.network(), {"x": np.array([1, 2], np.float32)}, ["a", "b", "one"])
        self.assertEqual([found[n].tolist() for n in ("a", "b", "one")], [[2, 3], [4, 9], [1, 1]])

    def test_a_missing_tensor_is_named(self):
        with self.assertRaisesRegex(Refusal, "reads 'missing'"):
            compute(self.network(), {"x": np.ones(2, np.float32)}, ["c"])


if __name__ == "__main__":
    unittest.main()
