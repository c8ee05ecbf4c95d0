"""Figures of the independent evaluation that were worked out by hand."""
import unittest

import independent_ap

BOX = [0, 0, 10, 10]
FAR = [50, 50, 10, 10]


def dataset(*objects):
    """Ground truth of one picture and class: (box, crowd) each."""
    return {"images": [{"id": 1, "width": 100, "height": 100}], "categories": [{"id": 1}],
            "annotations": [{"image_id": 1, "category_id": 1, "bbox": box, "iscrowd": crowd,
                             "area": box[2] * box[3]} for box, crowd in objects]}


def found(*detections):
    return [{"image_id": 1, "category_id": 1, "bbox": box, "score": score} for box, score in detections]


def means(truth, detections):
    return independent_ap.evaluate(truth, detections, "box")[1]


class ByHand(unittest.TestCase):
    def test_perfect(self):
        figures = means(dataset((BOX, 0)), found((BOX, 0.9)))
        self.assertEqual((figures["AP"], figures["AR1"], figures["AP_large"]), (1.0, 1.0, None))

    def test_nothing_found(self):
        self.assertEqual(means(dataset((BOX, 0)), [])["AP"], 0.0)

    def test_one_of_two_found(self):
        # precision 1 at the recalls 0.00 to 0.50, which are 51 of 101
        self.assertAlmostEqual(means(dataset((BOX, 0), (FAR, 0)), found((BOX, 0.9)))["AP"], 51 / 101)

    def test_wrong_one_first(self):
        self.assertAlmostEqual(means(dataset((BOX, 0)), found((FAR, 0.9), (BOX, 0.8)))["AP"], 0.5)

    def test_second_on_the_same_object_is_wrong(self):
        figures = means(dataset((BOX, 0), (FAR, 0)), found((BOX, 0.9), (BOX, 0.8), (FAR, 0.7)))
        self.assertAlmostEqual(figures["AP"], (51 + 50 * 2 / 3) / 101)

    def test_crowd_takes_many(self):
        figures = means(dataset((BOX, 0), ([50, 50, 40, 40], 1)),
                        found((FAR, 0.9), ([60, 60, 10, 10], 0.8), (BOX, 0.7)))
        self.assertEqual(figures["AP"], 1.0)

    def test_overlap_of_exactly_a_threshold_counts(self):
        # 6 of 10 pixels in common, none outside
        figures = means(dataset((BOX, 0)), found(([0, 0, 10, 6], 0.9)))
        self.assertAlmostEqual(figures["AP"], 0.3)

    def test_figures_of_masks_that_the_report_lacks(self):
        truth = dataset((BOX, 0))
        detections = found((BOX, 0.9))
        by_category, overall = independent_ap.evaluate(truth, detections, "box")
        classes = [dict(figures, category_id=category) for category, figures in by_category.items()]
        report = {"box": dict(overall, classes=classes), "mask": None}
        self.assertEqual(independent_ap.compare(truth, detections, report)[0], [])
        truth["annotations"][0]["segmentation"] = [[0, 0, 10, 0, 10, 10, 0, 10]]
        self.assertEqual(independent_ap.compare(truth, detections, report)[0], [])
        detections[0]["segmentation"] = {"size": [100, 100], "counts": [0, 10000]}
        self.assertEqual(independent_ap.compare(truth, detections, report)[0], ["mask: no figures there"])

    def test_compressed_text(self):
        # 1 40 1 1 7: the last two are 1 - 40 and 7 - 1
        self.assertEqual(independent_ap.numbers_of_text("1X11iN6"), [1, 40, 1, 1, 7])


if __name__ == "__main__":
    unittest.main()
