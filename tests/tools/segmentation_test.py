"""YOLOv8 segmentation exports of all kinds become nine heads and prototypes."""

import unittest

import onnx

from exports import Variant, yolov8_seg, yolov8_seg_heads
from support import ToolTest, metadata_of, picture, run_opencv, shape_of

NAMES = [f"output{k}" for k in range(9)] + ["proto"]


class SegmentationForm(ToolTest):

    def check(self, variant: Variant, *options: object) -> onnx.ModelProto:
        """The heads of the prepared network, given BGR, are those of the export, given RGB."""
        prepared = self.prepare(yolov8_seg(variant), *options)
        self.check_table(prepared, variant)
        self.check_heads(prepared, variant)
        return prepared

    def check_table(self, prepared: onnx.ModelProto, variant: Variant) -> None:
        onnx.checker.check_model(prepared, full_check=True)
        self.assertEqual([o.version for o in prepared.opset_import], [12])
        self.assertEqual([(i.name, shape_of(i)) for i in prepared.graph.input],
                         [("images", [1, 3, variant.height, variant.width])])
        self.assertEqual([o.name for o in prepared.graph.output], NAMES)
        grids = [variant.width // s for s in (8, 16, 32)]
        wanted = [[1, channels, g, g] for g in grids for channels in (64, variant.classes, 32)]
        wanted.append([1, 32, variant.height // 4, variant.width // 4])
        self.assertEqual([shape_of(o) for o in prepared.graph.output], wanted)

    def check_heads(self, prepared: onnx.ModelProto, variant: Variant) -> None:
        values = picture(variant.width, variant.height)
        wanted = list(run_opencv(yolov8_seg_heads(variant.plain(), rounded=variant.half), values).values())
        found = run_opencv(prepared, values[:, ::-1])
        for name, value in zip(NAMES, wanted):
            self.assert_close(found[name], value)

    def test_every_opset_and_way_of_decoding_is_taken(self):
        for opset in range(11, 18):
            for style in ("split", "separate"):
                with self.subTest(opset=opset, style=style):
                    self.check(Variant(opset=opset, style=style, width=160, height=160))

    def test_half_precision_is_taken(self):
        for cast_ends in (False, True):
            with self.subTest(cast_ends=cast_ends):
                self.check(Variant(half=True, cast_ends=cast_ends, opset=13))

    def test_open_shapes_around_one_size_take_other_sizes(self):
        for side in (320, 256):
            with self.subTest(side=side):
                prepared = self.prepare(yolov8_seg(Variant(dynamic=True, opset=13)), "--size", side, side)
                self.check_table(prepared, Variant(width=side, height=side))
                self.check_heads(prepared, Variant(width=side, height=side))

    def test_a_file_of_one_size_takes_other_sizes(self):
        prepared = self.prepare(yolov8_seg(Variant()), "--size", 256, 256)
        self.check_table(prepared, Variant(width=256, height=256))
        self.check_heads(prepared, Variant(width=256, height=256))

    def test_class_counts_that_look_like_other_heads_are_told_apart(self):
        for classes in (1, 32, 64):
            with self.subTest(classes=classes):
                self.check(Variant(classes=classes, anonymous=True))

    def test_ten_classes_at_640(self):
        self.check(Variant(classes=10, width=640, height=640, opset=17))

    def test_turned_rows_and_turned_outputs_are_taken(self):
        self.check(Variant(turned=True, style="separate"))

    def test_preparing_twice_gives_the_same_bytes_and_swaps_once(self):
        once = self.prepare(yolov8_seg(Variant(half=True, opset=13, metadata=(("names", "{0: 'a', 1: 'b'}"),))))
        twice = self.prepare(once)
        self.assertEqual(once.SerializeToString(), twice.SerializeToString())
        self.assertEqual(metadata_of(twice), {"names": "{0: 'a', 1: 'b'}", "brellix_channels": "bgr"})

    def test_heads_that_do_not_tell_their_channels_need_a_word(self):
        prepared = self.prepare(yolov8_seg(Variant()))
        del prepared.metadata_props[:]
        self.assertIn("give --bgr to swap red and blue, or --no-bgr", self.refusal(prepared))
        left = self.prepare(prepared, "--no-bgr")
        self.assertNotIn("brellix_channels", metadata_of(left))
        self.check_heads(left, Variant())

    def test_a_size_that_is_not_square_is_refused(self):
        self.assertIn("square", self.refusal(yolov8_seg(Variant()), "--size", 320, 256))

    def test_a_file_that_is_not_square_is_taken_at_a_square_size(self):
        export = yolov8_seg(Variant(width=320, height=256))
        self.assertIn("square", self.refusal(export))
        self.check_heads(self.prepare(export, "--size", 320, 320), Variant())

    def test_cells_of_an_odd_size_in_an_open_shape_are_found(self):
        export = yolov8_seg(Variant(dynamic=True, width=320, height=256))
        self.check_heads(self.prepare(export, "--size", 320, 320), Variant())

    def test_cut_is_refused(self):
        self.assertIn("--cut is for YOLOv5", self.refusal(yolov8_seg(Variant()), "--cut"))


if __name__ == "__main__":
    unittest.main()
