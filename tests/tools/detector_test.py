"""YOLOv5 exports of all kinds become the fused and the cut form."""

import json
import unittest

import onnx
from onnx import helper

from exports import ANCHORS, OWN_ANCHORS, Variant, yolov5, yolov5_heads
from support import ToolTest, metadata_of, picture, run_opencv, shape_of

CUT_NAMES = [f"/model.24/m.{k}/Conv_output_0" for k in range(3)]


class FusedForm(ToolTest):

    def check(self, variant: Variant, *options: object) -> onnx.ModelProto:
        """The prepared network computes what a plain export of the same weights computes."""
        prepared = self.prepare(yolov5(variant), *options)
        self.check_table(prepared, variant)
        values = picture(variant.width, variant.height)
        wanted = run_opencv(yolov5(variant.plain(), rounded=variant.half), values)["output"]
        self.assert_rows_close(run_opencv(prepared, values)["output0"], wanted)
        return prepared

    def check_table(self, prepared: onnx.ModelProto, variant: Variant) -> None:
        onnx.checker.check_model(prepared, full_check=True)
        self.assertEqual([(o.domain, o.version) for o in prepared.opset_import], [("", 12)])
        (given,), (output,) = prepared.graph.input, prepared.graph.output
        cells = sum(variant.width // s * (variant.height // s) for s in (8, 16, 32))
        self.assertEqual((given.name, shape_of(given)), ("image", [1, 3, variant.height, variant.width]))
        self.assertEqual((output.name, shape_of(output)), ("output0", [1, 3 * cells, variant.classes + 5]))
        for value in (given, output):
            self.assertEqual(value.type.tensor_type.elem_type, onnx.TensorProto.FLOAT)
        kinds = {tensor.data_type for tensor in prepared.graph.initializer}
        self.assertLessEqual(kinds, {onnx.TensorProto.FLOAT, onnx.TensorProto.INT64})
        read = {name for node in prepared.graph.node for name in node.input}
        self.assertEqual({tensor.name for tensor in prepared.graph.initializer} - read, set())

    def test_every_opset_and_way_of_decoding_is_taken(self):
        for opset in range(11, 18):
            for style in ("split", "slices", "premultiplied", "in_place"):
                with self.subTest(opset=opset, style=style):
                    self.check(Variant(opset=opset, style=style, width=160, height=128))

    def test_half_precision_is_taken(self):
        for cast_ends in (False, True):
            for style in ("split", "premultiplied"):
                with self.subTest(cast_ends=cast_ends, style=style):
                    self.check(Variant(half=True, cast_ends=cast_ends, style=style, opset=13))

    def test_an_open_shape_with_computed_grids_takes_any_size(self):
        for opset in (11, 13, 17):
            for width, height in ((320, 320), (416, 256)):
                with self.subTest(opset=opset, width=width, height=height):
                    variant = Variant(opset=opset, dynamic=True, computed_grid=True, width=width, height=height)
                    self.check(variant, "--size", width, height)

    def test_an_open_shape_around_grids_of_one_size_takes_other_sizes(self):
        export = yolov5(Variant(dynamic=True, style="slices"))
        wanted = Variant(width=256, height=192)
        prepared = self.prepare(export, "--size", 256, 192)
        self.check_table(prepared, wanted)
        values = picture(256, 192)
        self.assert_rows_close(run_opencv(prepared, values)["output0"], run_opencv(yolov5(wanted), values)["output"])

    def test_a_file_of_one_size_takes_other_sizes(self):
        wanted = Variant(width=256, height=192)
        prepared = self.prepare(yolov5(Variant()), "--size", 256, 192)
        self.check_table(prepared, wanted)
        values = picture(256, 192)
        self.assert_rows_close(run_opencv(prepared, values)["output0"], run_opencv(yolov5(wanted), values)["output"])

    def test_one_class_and_ten_classes_at_320_and_640(self):
        for classes, side in ((1, 320), (10, 640)):
            with self.subTest(classes=classes):
                self.check(Variant(classes=classes, width=side, height=side))

    def test_further_outputs_are_left_out(self):
        self.check(Variant(raw_outputs=True, style="slices"))

    def test_an_open_shape_may_be_written_in_any_way(self):
        def named(model: onnx.ModelProto) -> None:
            model.graph.input[0].type.tensor_type.shape.dim[3].dim_param = "width"

        def missing(model: onnx.ModelProto) -> None:
            model.graph.input[0].type.tensor_type.ClearField("shape")

        def negative(model: onnx.ModelProto) -> None:
            for extent in model.graph.input[0].type.tensor_type.shape.dim:
                extent.dim_value = -1

        for write in (named, missing, negative):
            with self.subTest(write=write.__name__):
                variant = Variant(dynamic=True, computed_grid=True, width=256, height=192)
                export = yolov5(variant)
                write(export)
                self.check_table(self.prepare(export, "--size", 256, 192), variant)

    def test_weights_listed_as_inputs_stay_weights(self):
        export = yolov5(Variant())
        export.ir_version = 3
        export.graph.input.extend(
            helper.make_tensor_value_info(w.name, w.data_type, w.dims) for w in export.graph.initializer)
        self.check_table(self.prepare(export), Variant())

    def test_grids_of_an_odd_size_in_an_open_shape_are_found(self):
        prepared = self.prepare(yolov5(Variant(dynamic=True, width=416, height=256, style="in_place")))
        self.check_table(prepared, Variant(width=640, height=640))

    def test_names_do_not_matter(self):
        self.check(Variant(anonymous=True, opset=14, style="slices"))

    def test_a_network_that_begins_with_slices_is_taken(self):
        self.check(Variant(focus=True))

    def test_a_division_by_255_is_taken_out(self):
        export = yolov5(Variant(divides_by_255=True))
        prepared = self.prepare(export)
        values = picture(320, 320)
        wanted = run_opencv(yolov5(Variant()), values)["output"]
        self.assert_rows_close(run_opencv(prepared, values)["output0"], wanted)
        self.assertNotIn("Div", {node.op_type for node in prepared.graph.node})

    def test_bytes_as_input_become_floats(self):
        export = yolov5(Variant(divides_by_255=True))
        export.graph.input[0].type.tensor_type.elem_type = onnx.TensorProto.UINT8
        first = next(node for node in export.graph.node if "images" in node.input)
        first.input[0] = "floats"
        export.graph.node.insert(0, helper.make_node("Cast", ["images"], ["floats"], to=onnx.TensorProto.FLOAT))
        prepared = self.prepare(export)
        self.check_table(prepared, Variant())
        values = picture(320, 320)
        wanted = run_opencv(yolov5(Variant()), values)["output"]
        self.assert_rows_close(run_opencv(prepared, values)["output0"], wanted)

    def test_own_anchors_are_noted(self):
        for half in (False, True):
            prepared = self.check(Variant(anchors=OWN_ANCHORS, half=half))
            self.assertEqual(json.loads(metadata_of(prepared)["anchors"]), OWN_ANCHORS)

    def test_metadata_is_kept_and_the_size_brought_up_to_date(self):
        kept = (("names", "{0: 'cat', 1: 'dog'}"), ("stride", "32"), ("task", "detect"))
        prepared = self.prepare(yolov5(Variant(metadata=(*kept, ("imgsz", "[320, 320]")))), "--size", 256, 192)
        found = metadata_of(prepared)
        self.assertEqual({key: found[key] for key, _ in kept}, dict(kept))
        self.assertEqual((found["imgsz"], found["brellix_channels"]), ("[192, 256]", "rgb"))
        self.assertEqual(json.loads(found["anchors"]), ANCHORS)

    def test_the_noted_size_is_the_default_where_the_shape_is_open(self):
        variant = Variant(dynamic=True, computed_grid=True, width=256, height=192, metadata=(("imgsz", "[192, 256]"),))
        self.check(variant)

    def test_preparing_twice_gives_the_same_bytes(self):
        once = self.prepare(yolov5(Variant(half=True, dynamic=True, opset=17, anchors=OWN_ANCHORS)), "--size", 320, 320)
        twice = self.prepare(once)
        self.assertEqual(once.SerializeToString(), twice.SerializeToString())


class CutForm(ToolTest):

    def check(self, variant: Variant, *options: object) -> onnx.ModelProto:
        """The heads of the prepared network, given BGR, are those of the export, given RGB."""
        prepared = self.prepare(yolov5(variant), *options)
        self.assertEqual([i.name for i in prepared.graph.input], ["images"])
        self.assertEqual([o.name for o in prepared.graph.output], CUT_NAMES)
        for output, stride in zip(prepared.graph.output, (8, 16, 32)):
            shape = [1, 3 * (variant.classes + 5), variant.height // stride, variant.width // stride]
            self.assertEqual(shape_of(output), shape)
        self.check_heads(prepared, variant)
        return prepared

    def check_heads(self, prepared: onnx.ModelProto, variant: Variant, swapped: bool = True) -> None:
        values = picture(variant.width, variant.height)
        wanted = run_opencv(yolov5_heads(variant.plain(), rounded=variant.half), values)
        found = run_opencv(prepared, values[:, ::-1] if swapped else values)
        for k, name in enumerate(CUT_NAMES):
            self.assert_close(found[name], wanted[f"head{k}"])

    def test_all_kinds_of_exports_are_cut(self):
        variants = (Variant(), Variant(half=True, opset=17, style="slices"), Variant(classes=1, anonymous=True),
                    Variant(classes=10, width=640, height=640, style="in_place"), Variant(raw_outputs=True, opset=14),
                    Variant(dynamic=True, computed_grid=True, width=416, height=256), Variant(divides_by_255=True))
        for variant in variants:
            with self.subTest(variant=variant):
                prepared = self.check(variant, "--cut", "--size", variant.width, variant.height)
                self.assertEqual(metadata_of(prepared)["brellix_channels"], "bgr")
                self.assertEqual(json.loads(metadata_of(prepared)["anchors"]), ANCHORS)

    def test_the_swapped_channels_matter_in_these_networks(self):
        prepared = self.prepare(yolov5(Variant()), "--cut")
        with self.assertRaises(AssertionError):
            self.check_heads(prepared, Variant(), swapped=False)

    def test_channels_stay_with_no_bgr(self):
        prepared = self.prepare(yolov5(Variant()), "--cut", "--no-bgr")
        self.assertEqual(metadata_of(prepared)["brellix_channels"], "rgb")
        self.check_heads(prepared, Variant(), swapped=False)

    def test_a_network_that_begins_with_slices_exchanges_the_colours_before_them(self):
        prepared = self.check(Variant(focus=True), "--cut")
        self.assertEqual(prepared.graph.node[0].op_type, "Conv")

    def test_raw_heads_alone_are_cut_without_being_asked(self):
        self.check(Variant(only_raw=True))

    def test_preparing_twice_gives_the_same_bytes_and_swaps_once(self):
        once = self.prepare(yolov5(Variant(half=True, opset=13)), "--cut")
        twice = self.prepare(once)
        self.assertEqual(once.SerializeToString(), twice.SerializeToString())

    def test_the_fused_form_of_a_network_that_takes_bgr_takes_rgb(self):
        export = yolov5(Variant())
        bgr = self.prepare(export, "--bgr")
        self.assertEqual(metadata_of(bgr)["brellix_channels"], "bgr")
        back = self.prepare(bgr)
        self.assertEqual(metadata_of(back)["brellix_channels"], "rgb")
        values = picture(320, 320)
        self.assert_rows_close(run_opencv(back, values)["output0"], run_opencv(export, values)["output"])

    def test_own_anchors_are_refused_with_both_lists(self):
        said = self.refusal(yolov5(Variant(anchors=OWN_ANCHORS)), "--cut")
        self.assertIn("[[[10,13],[16,30],[33,23]]", said)
        self.assertIn("[[[12.5,14],[20,21.25],[30,35]]", said)
        self.assertIn("fused form", said)

    def test_own_anchors_are_remembered_by_the_fused_form(self):
        fused = self.prepare(yolov5(Variant(anchors=OWN_ANCHORS)))
        self.assertIn("fixed anchors", self.refusal(fused, "--cut"))


if __name__ == "__main__":
    unittest.main()
