"""What is not taken is refused in one line that says what was looked for, what was found and what to do."""

import unittest
import unittest.mock

import numpy as np
import onnx
from onnx import helper, numpy_helper

from exports import Maker, Variant, yolov5, yolov8_seg
from support import ToolTest


def network(nodes: list, outputs: list[str], weights: list = (), shape: list = (1, 3, 320, 320), kind: int = 1,
            opset: int = 13) -> onnx.ModelProto:
    graph = helper.make_graph(nodes, "g", [helper.make_tensor_value_info("images", kind, shape)],
                              [onnx.ValueInfoProto(name=name) for name in outputs], list(weights))
    return helper.make_model(graph, opset_imports=[helper.make_opsetid("", opset)], ir_version=7)


def detector_without_masks() -> onnx.ModelProto:
    """YOLOv8 detection: box and class convolutions only."""
    maker = Maker(Variant(), rounded=False)
    grids, channels, _ = maker.body()
    heads = [maker.op("Concat", maker.conv(x, c, 64), maker.conv(x, c, 2), axis=1) for x, c in zip(grids, channels)]
    flat = [maker.op("Reshape", head, maker.numbers([1, 66, -1])) for head in heads]
    return maker.model({"output0": maker.op("Concat", *flat, axis=2)})


def heads_of(count: int, outputs: int = 18) -> onnx.ModelProto:
    """Decoded rows of another number of heads, or of another number of channels."""
    maker = Maker(Variant(), rounded=False)
    grids, channels, _ = maker.body()
    grids.append(maker.layer(grids[2], 16, 16, 3, 2))
    heads = [maker.conv(x, c, outputs) for x, c in zip(grids[:count], (*channels, 16))]
    flat = [maker.op("Reshape", maker.op("Sigmoid", head), maker.numbers([1, -1, outputs // 3])) for head in heads]
    return maker.model({"output0": maker.op("Concat", *flat, axis=1)})


class Families(ToolTest):

    def test_a_classifier_names_the_operator_at_which_the_walk_ended(self):
        weight = numpy_helper.from_array(np.ones((4, 3, 3, 3), np.float32), "w")
        nodes = [helper.make_node("Conv", ["images", "w"], ["a"]),
                 helper.make_node("GlobalAveragePool", ["a"], ["b"], name="pool"),
                 helper.make_node("Flatten", ["b"], ["scores"])]
        said = self.refusal(network(nodes, ["scores"], [weight]))
        self.assertIn("output 'scores' [1, 4], computed through the operator GlobalAveragePool 'pool'", said)
        self.assertIn("looked for a YOLOv5 detection export", said)

    def test_yolov8_without_masks(self):
        said = self.refusal(detector_without_masks())
        self.assertIn("behind it 6 convolutions", said)
        self.assertIn("without masks", said)

    def test_another_number_of_heads(self):
        for count in (2, 4):
            said = self.refusal(heads_of(count))
            self.assertIn(f"three head convolutions with the strides 8, 16 and 32; found {count}", said)

    def test_channels_that_are_no_anchors(self):
        self.assertIn("3 x (classes + 5) channels; found", self.refusal(heads_of(3, outputs=15)))

    def test_another_law_of_decoding(self):
        said = self.refusal(yolov5(Variant(style="exponential")))
        self.assertIn("not decoded as YOLOv5 does", said)
        self.assertIn("row 0, column 0", said)

    def test_another_law_in_an_open_shape_is_said_though_another_size_is_asked_for(self):
        export = yolov5(Variant(style="exponential", dynamic=True))
        self.assertIn("not decoded as YOLOv5 does", self.refusal(export, "--size", 256, 256))

    def test_yolov5_with_masks(self):
        maker = Maker(Variant(), rounded=False)
        grids, channels, fine = maker.body()
        heads = [maker.conv(x, c, 3 * (5 + 2 + 32)) for x, c in zip(grids, channels)]
        flat = [maker.op("Reshape", maker.op("Sigmoid", head), maker.numbers([1, -1, 39])) for head in heads]
        rows, masks = maker.op("Concat", *flat, axis=1), maker.layer(fine, 8, 32)
        said = self.refusal(maker.model({"output0": rows, "output1": masks}))
        self.assertIn("output 'output1' [1, 32, 80, 80] looks like mask prototypes", said)
        self.assertIn("YOLOv5 segmentation", said)

    def test_yolov8_with_points_instead_of_masks(self):
        with unittest.mock.patch("exports.COEFFICIENTS", 51):
            export = yolov8_seg(Variant())
        self.assertIn("looked for 32 channels of mask coefficients; found", self.refusal(export))

    def test_prototypes_that_are_missing(self):
        export = yolov8_seg(Variant())
        del export.graph.output[1]
        self.assertIn("looked for an output with mask prototypes", self.refusal(export))

    def test_suppression_inside(self):
        export = yolov5(Variant())
        rows = export.graph.output[0].name
        export.graph.node.append(helper.make_node("NonMaxSuppression", [rows, rows], ["kept"], name="nms"))
        self.assertIn("NonMaxSuppression 'nms' suppresses boxes", self.refusal(export))

    def test_a_selection_of_the_best_rows(self):
        export = yolov5(Variant())
        export.graph.initializer.append(numpy_helper.from_array(np.array([9], np.int64), "k"))
        export.graph.node.append(helper.make_node("TopK", ["output", "k"], ["best", "places"], axis=1, name="top"))
        export.graph.output[0].name = "best"
        self.assertIn("computed through the operator TopK 'top'", self.refusal(export))


class Files(ToolTest):

    def test_quantised_networks(self):
        nodes = [helper.make_node("QuantizeLinear", ["images", "s"], ["q"], name="quantise")]
        scale = numpy_helper.from_array(np.float32(1), "s")
        self.assertIn("QuantizeLinear 'quantise' is quantised", self.refusal(network(nodes, ["q"], [scale])))

    def test_operators_of_other_makers(self):
        nodes = [helper.make_node("FastGelu", ["images"], ["y"], domain="com.example")]
        self.assertIn("belongs to 'com.example'", self.refusal(network(nodes, ["y"])))

    def test_opsets_outside_of_the_range(self):
        for opset in (10, 18):
            export = yolov5(Variant())
            export.opset_import[0].version = opset
            self.assertIn(f"opset {opset}, taken are 11 to 17", self.refusal(export))

    def test_operators_that_opset_12_lacks(self):
        export = yolov5(Variant(opset=17))
        first = export.graph.node[0]
        grid = numpy_helper.from_array(np.zeros((1, 320, 320, 2), np.float32), "grid")
        export.graph.initializer.append(grid)
        export.graph.node.insert(0, helper.make_node("GridSample", ["images", "grid"], ["sampled"], name="sample"))
        first = export.graph.node[1]
        first.input[0] = "sampled"
        self.assertIn("GridSample 'sample' does not exist in opset 12", self.refusal(export))

    def test_operators_whose_result_has_no_known_shape(self):
        export = yolov5(Variant(opset=13))
        node = next(n for n in export.graph.node if n.op_type == "MaxPool")
        node.op_type, node.name = "Trilu", "newer"
        del node.attribute[:]
        self.assertIn("the shape of what operator Trilu 'newer' computes", self.refusal(export))

    def test_what_opencv_cannot_run(self):
        export = yolov5(Variant(opset=13))
        node = next(n for n in export.graph.node if n.op_type == "MaxPool")
        node.op_type = "Hardmax"
        del node.attribute[:]
        self.assertRegex(self.refusal(export), 'OpenCV .* cannot run the prepared network: .*type "Hardmax"')

    def test_inputs_that_are_no_colour_picture(self):
        for shape, words in (((1, 320, 320, 3), "channels first"), ((1, 1, 320, 320), "colour pictures"),
                             ((4, 3, 320, 320), "batch of 4"), ((3, 320, 320), "looked for an input")):
            with self.subTest(shape=shape):
                nodes = [helper.make_node("Relu", ["images"], ["y"])]
                self.assertIn(words, self.refusal(network(nodes, ["y"], shape=shape)))

    def test_two_inputs(self):
        export = yolov5(Variant())
        export.graph.input.append(helper.make_tensor_value_info("other", 1, [1]))
        self.assertIn("found 2 ('images', 'other')", self.refusal(export))

    def test_sizes_that_are_no_multiple_of_32(self):
        for size in ((300, 320), (0, 32), (-32, 320), (1 << 40, 320)):
            self.assertIn("multiples of 32", self.refusal(yolov5(Variant()), "--size", *size))

    def test_a_size_for_which_the_file_is_not_made_says_for_which_it_is(self):
        maker = Maker(Variant(), rounded=False)
        grids, channels, _ = maker.body()
        flat = maker.op("Reshape", grids[0], maker.numbers([1, 12, 1600]))
        grids[0] = maker.op("Reshape", flat, maker.numbers([1, 12, 40, 40]))
        heads = [maker.conv(x, c, 21) for x, c in zip(grids, channels)]
        said = self.refusal(maker.model({f"h{k}": head for k, head in enumerate(heads)}), "--size", 256, 256)
        self.assertIn("the file is made for 320 x 320", said)

    def test_nodes_in_no_order(self):
        export = yolov5(Variant())
        nodes = list(export.graph.node)
        del export.graph.node[:]
        export.graph.node.extend(nodes[::-1])
        self.assertIn("which nothing before it computes", self.refusal(export))

    def test_window_numbers_that_would_crash_a_library(self):
        for name, value in (("strides", [0, 0]), ("kernel_shape", [-1, 3]), ("pads", [0, 0, 1 << 40, 0]), ("group", 0)):
            export = yolov5(Variant())
            node = next(n for n in export.graph.node if n.op_type == "Conv")
            kept = [a for a in node.attribute if a.name != name]
            del node.attribute[:]
            node.attribute.extend([*kept, helper.make_attribute(name, value)])
            self.assertIn(f"has the attribute {name} {value}", self.refusal(export))


if __name__ == "__main__":
    unittest.main()
