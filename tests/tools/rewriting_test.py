"""Single steps of preparing: operator set, shapes, the input's colours and range."""

import unittest

import numpy as np
from onnx import TensorProto

import support  # noqa: F401  It makes the tool's folder known.

from prepare.channels import swap_channels, take_values_up_to_one
from prepare.evaluation import compute
from prepare.network import Input, Network, Node, cut, rename
from prepare.opset import to_opset_12
from prepare.refusal import Refusal
from prepare.static_shape import infer_shapes, make_static

PIXELS = np.random.default_rng(7).random((1, 3, 8, 8), dtype=np.float32)


def network(nodes: list[Node], constants: dict | None = None, opset: int = 13, shape=(1, 3, 8, 8)) -> Network:
    """Ends at the last node's first output."""
    arrays = {name: np.asarray(value) for name, value in (constants or {}).items()}
    return Network([Input("x", TensorProto.FLOAT, list(shape))], [nodes[-1].outputs[0]], nodes, arrays, opset)


def result(net: Network, pixels: np.ndarray = PIXELS) -> np.ndarray:
    return compute(net, {net.inputs[0].name: pixels}, net.outputs)[net.outputs[0]]


class OperatorSet(unittest.TestCase):

    def check(self, *nodes: Node, constants: dict | None = None, opset: int = 13) -> Network:
        """The same values in set 12. Returns the network in set 12."""
        net = network(list(nodes), constants, opset)
        wanted = result(net)
        to_opset_12(net, infer_shapes(net))
        self.assertEqual(net.opset, 12)
        np.testing.assert_allclose(result(net), wanted, atol=1e-6)
        return net

    def test_softmax_over_any_axis(self):
        for axis in (0, 1, 2, 3, -1, -3, None):
            for opset in (12, 13):
                with self.subTest(axis=axis, opset=opset):
                    attributes = {} if axis is None else {"axis": axis}
                    self.check(Node("Softmax", ["x"], ["y"], attributes), opset=opset)

    def test_axes_and_sizes_become_attributes(self):
        constants = {"axes": np.array([0]), "sizes": np.array([1, 2]), "last": np.array([-1])}
        net = self.check(Node("Unsqueeze", ["x", "axes"], ["a"]), Node("Squeeze", ["a", "axes"], ["b"]),
                         Node("Split", ["b", "sizes"], ["c", "d"], {"axis": 1}),
                         Node("ReduceSum", ["d", "last"], ["e"], {"noop_with_empty_axes": 0}), constants=constants)
        self.assertEqual([len(node.inputs) for node in net.nodes], [1, 1, 1, 1])
        self.assertEqual(net.nodes[2].attributes, {"axis": 1, "split": [1, 2]})

    def test_axes_count_from_the_front(self):
        net = self.check(Node("Concat", ["x", "x"], ["y"], {"axis": -3}))
        self.assertEqual(net.nodes[0].attributes["axis"], 1)

    def test_hard_swish_is_written_out(self):
        net = self.check(Node("HardSwish", ["x"], ["y"]), opset=14)
        self.assertEqual([node.kind for node in net.nodes], ["HardSigmoid", "Mul"])

    def test_attributes_without_effect_are_dropped(self):
        constants = {"shape": np.array([1, -1]), **{n: np.full(3, 0.5, np.float32) for n in "sbmv"}}
        net = self.check(Node("BatchNormalization", ["x", *"sbmv"], ["n"], {"training_mode": 0}),
                         Node("Reshape", ["n", "shape"], ["y"], {"allowzero": 0}), constants=constants, opset=15)
        self.assertEqual([node.attributes for node in net.nodes], [{}, {}])

    def test_sizes_become_factors_where_these_give_the_same(self):
        for side, inputs in ((14, 3), (10, 4)):
            attributes = {"mode": b"nearest", "coordinate_transformation_mode": b"asymmetric", "nearest_mode": b"floor"}
            net = self.check(Node("MaxPool", ["x"], ["m"], {"kernel_shape": [2, 2]}),
                             Node("Resize", ["m", "", "", "sizes"], ["y"], attributes),
                             constants={"sizes": np.array([1, 3, side, side])})
            self.assertEqual(len(net.nodes[1].inputs), inputs)

    def test_what_set_12_lacks_is_refused_by_name(self):
        layer = Node("LayerNormalization", ["x", "w"], ["y"], {}, "ln")
        for node, words in ((layer, "LayerNormalization 'ln' does not exist"),
                            (Node("Reshape", ["x", "w"], ["y"], {"allowzero": 1}), "attribute 'allowzero'"),
                            (Node("Split", ["x", "x"], ["y"]), "computes its split from the picture")):
            with self.assertRaisesRegex(Refusal, words):
                net = network([node], {"w": np.ones(8, np.float32)}, 17)
                to_opset_12(net, {})


class Shapes(unittest.TestCase):

    def test_what_follows_from_the_shape_is_computed(self):
        nodes = [Node("Cast", ["x"], ["h"], {"to": TensorProto.FLOAT16}), Node("Shape", ["h"], ["s"]),
                 Node("Gather", ["s", "two"], ["rows"], {"axis": 0}), Node("Mul", ["rows", "two"], ["twice"]),
                 Node("Unsqueeze", ["twice"], ["u"], {"axes": [0]}),
                 Node("Concat", ["one", "minus", "u"], ["shape"], {"axis": 0}),
                 Node("Reshape", ["h", "shape"], ["y"])]
        constants = {"two": np.array(2), "one": np.array([1]), "minus": np.array([-1])}
        net = network(nodes, constants, 12, (None, 3, None, None))
        shapes = make_static(net, 8, 16)
        self.assertEqual([node.kind for node in net.nodes], ["Reshape"])
        self.assertEqual(net.constants[net.nodes[0].inputs[1]].tolist(), [1, -1, 32])
        self.assertEqual((net.inputs[0].shape, shapes["y"][1]), ([1, 3, 16, 8], [1, 12, 32]))

    def test_half_precision_becomes_float32(self):
        net = network([Node("Mul", ["x", "k"], ["y"])], {"k": np.full(1, 0.1, np.float16)})
        net.inputs[0].element_type = TensorProto.FLOAT16
        make_static(net, 8, 8)
        self.assertEqual(net.inputs[0].element_type, TensorProto.FLOAT)
        self.assertEqual(net.constants["k"].dtype, np.float32)
        self.assertEqual(net.constants["k"][0], np.float32(np.float16(0.1)))

    def test_only_what_the_outputs_need_is_left(self):
        net = network([Node("Relu", ["x"], ["a"]), Node("Add", ["a", "k"], ["b"]), Node("Neg", ["a"], ["c"])],
                      {"k": np.float32(1), "unused": np.float32(2)})
        part = cut(net, ["a"])
        self.assertEqual(([n.kind for n in part.nodes], part.constants), (["Relu"], {}))

    def test_a_name_that_is_taken_steps_aside(self):
        net = network([Node("Relu", ["x"], ["a"]), Node("Neg", ["a"], ["b"])])
        wanted = result(net)
        rename(net, "b", "a")
        self.assertEqual(net.outputs, ["a"])
        self.assertTrue(np.array_equal(result(net), wanted))


class PictureInput(unittest.TestCase):
    """What stands between the picture and the first convolution."""

    def convolution(self, *before: Node, **constants) -> Network:
        source = before[-1].outputs[0] if before else "x"
        weights = np.random.default_rng(3).normal(size=(4, 3, 3, 3)).astype(np.float32)
        return network([*before, Node("Conv", [source, "w"], ["y"], {"kernel_shape": [3, 3]})],
                       {"w": weights, **{name: np.asarray(v, np.float32) for name, v in constants.items()}})

    def check_swap(self, net: Network) -> str:
        wanted = result(net)
        words = swap_channels(net)
        np.testing.assert_allclose(result(net, PIXELS[:, ::-1]), wanted, atol=1e-5)
        return words

    def test_the_weights_are_swapped_behind_a_normalisation_too(self):
        mean, deviation = np.reshape([0.4, 0.5, 0.6], (1, 3, 1, 1)), np.reshape([0.2, 0.3, 0.25], (3, 1, 1))
        nets = (self.convolution(),
                self.convolution(Node("Sub", ["x", "m"], ["a"]), Node("Div", ["a", "d"], ["b"]), m=mean, d=deviation),
                self.convolution(Node("Mul", ["k", "x"], ["a"]), Node("Sub", ["m", "a"], ["b"]), m=mean, k=2.0))
        for net in nets:
            self.assertIn("first convolution", self.check_swap(net))

    def test_weights_that_others_read_stay_for_them(self):
        net = network([Node("Conv", ["x", "w"], ["a"], {"pads": [1, 1, 1, 1]}), Node("Conv", ["a", "w"], ["y"])],
                      {"w": np.random.default_rng(3).normal(size=(3, 3, 3, 3)).astype(np.float32)})
        self.check_swap(net)

    def test_what_begins_otherwise_gets_a_convolution_that_exchanges(self):
        net = self.convolution(Node("MaxPool", ["x"], ["a"], {"kernel_shape": [2, 2]}))
        self.assertIn("does not begin with one", self.check_swap(net))
        both = network([Node("Conv", ["x", "w"], ["a"], {"pads": [1, 1, 1, 1]}), Node("Add", ["a", "x"], ["y"])],
                       {"w": np.random.default_rng(3).normal(size=(3, 3, 3, 3)).astype(np.float32)})
        self.check_swap(both)

    def test_values_up_to_255_become_values_up_to_1(self):
        mean = np.reshape([100, 120, 130], (1, 3, 1, 1))
        nets = (self.convolution(Node("Div", ["x", "k"], ["a"]), k=255),
                self.convolution(Node("Mul", ["x", "k"], ["a"]), k=1 / 255),
                self.convolution(Node("Sub", ["x", "m"], ["a"]), Node("Div", ["a", "k"], ["b"]), m=mean, k=58.0))
        for net, left in zip(nets, (["Conv"], ["Conv"], ["Mul", "Add", "Conv"])):
            wanted = result(net, PIXELS * 255)
            self.assertTrue(take_values_up_to_one(net))
            np.testing.assert_allclose(result(net), wanted, atol=1e-4)
            self.assertEqual([node.kind for node in net.nodes], left)

    def test_values_up_to_1_stay(self):
        deviation = np.reshape([0.2, 0.3, 0.25], (1, 3, 1, 1))
        for net in (self.convolution(), self.convolution(Node("Div", ["x", "d"], ["a"]), d=deviation)):
            self.assertFalse(take_values_up_to_one(net))


if __name__ == "__main__":
    unittest.main()
