"""COCO's twelve figures of detections, computed literally from their definitions.

Slow on purpose: every figure starts again from the lists of objects, masks are whole numbers with one bit a
pixel, and precision is looked up by trying every point of the curve. Nothing but Python itself is needed.

Usage: independent_ap.py TRUTH.json DETECTIONS.json FIGURES.json
FIGURES.json is what `brellix eval --json` writes. The exit status is 1 where a figure differs.
"""
import json
import math
import sys

TOLERANCE = 1e-9  # sums of a few thousand numbers below 1 in another order

# Ten overlaps, as evenly spaced floating-point numbers: 0.5 + i * step, and the last is the end itself.
OVERLAPS = [i * ((0.95 - 0.5) / 9) + 0.5 for i in range(9)] + [0.95]
RECALLS = [i * 0.01 for i in range(100)] + [1.0]
ANY_AREA = (0, 1e10)
AREAS = {"small": (0, 32 ** 2), "medium": (32 ** 2, 96 ** 2), "large": (96 ** 2, 1e10)}


# ---- masks ----

def numbers_of_text(text):
    """The run lengths of COCO's compressed text."""
    numbers = []
    digits = []
    for character in text:
        code = ord(character) - 48
        assert 0 <= code < 64
        digits.append(code % 32)
        if code < 32:
            value = sum(digit << (5 * place) for place, digit in enumerate(digits))
            if digits[-1] >= 16:
                value -= 1 << (5 * len(digits))
            if len(numbers) >= 3:
                value += numbers[-2]
            numbers.append(value)
            digits = []
    assert not digits
    return numbers


def bits_of_runs(runs, pixels):
    bits = 0
    position = 0
    for index, run in enumerate(runs):
        assert run >= 0
        if index % 2 == 1:
            bits |= ((1 << run) - 1) << position
        position += run
    assert position == pixels, (position, pixels)
    return bits


def is_inside(x, y, corners):
    """Whether an odd number of edges lies below the point."""
    inside = False
    for (ax, ay), (bx, by) in zip(corners, corners[1:] + corners[:1]):
        if (ax > x) != (bx > x):
            if ay + (x - ax) / (bx - ax) * (by - ay) > y:
                inside = not inside
    return inside


def bits_of_polygons(polygons, width, height):
    bits = 0
    for coordinates in polygons:
        corners = list(zip(coordinates[0::2], coordinates[1::2]))
        for column in range(width):
            for row in range(height):
                if is_inside(column + 0.5, row + 0.5, corners):
                    bits |= 1 << (column * height + row)
    return bits


def mask_bits(segmentation, image):
    if isinstance(segmentation, list):
        return bits_of_polygons(segmentation, image["width"], image["height"])
    height, width = segmentation["size"]
    counts = segmentation["counts"]
    runs = numbers_of_text(counts) if isinstance(counts, str) else counts
    return bits_of_runs(runs, height * width)


def count_bits(bits):
    return bin(bits).count("1")


# ---- overlaps ----

def box_overlap(detection, truth, crowd):
    ax, ay, aw, ah = detection
    bx, by, bw, bh = truth
    width = min(aw + ax, bw + bx) - max(ax, bx)
    height = min(ah + ay, bh + by) - max(ay, by)
    if width <= 0 or height <= 0:
        return 0.0
    common = width * height
    if crowd:
        return common / (aw * ah)
    return common / (aw * ah + bw * bh - common)


def mask_overlap(detection, truth, crowd):
    common = count_bits(detection & truth)
    if common == 0:
        return 0.0
    return common / count_bits(detection if crowd else detection | truth)


# ---- one class ----

class ClassOnPicture:
    """The objects of one class on one picture, and how far they overlap."""

    def __init__(self, truths, found, shape):
        self.truths = truths
        # sorted() keeps the order of equals
        self.found = sorted(found, key=lambda detection: -detection["score"])[:100]
        overlap = box_overlap if shape == "box" else mask_overlap
        key = "bbox" if shape == "box" else "bits"
        self.overlaps = [[overlap(d[key], t[key], t["crowd"]) for t in truths] for d in self.found]
        self.sizes = [d["bbox"][2] * d["bbox"][3] if shape == "box" else count_bits(d["bits"])
                      for d in self.found]


def verdicts(picture, threshold, area):
    """(score, "right" | "wrong" | "ignored") of each detection, and how many truths are to be found."""
    low, high = area
    ignored = [t["crowd"] or t["area"] < low or t["area"] > high for t in picture.truths]
    used = [False] * len(ignored)
    result = []
    for number, detection in enumerate(picture.found):
        chosen = None
        for want_ignored in (False, True):
            if chosen is not None:
                break
            best = min(threshold, 1 - 1e-10)
            for index, truth in enumerate(picture.truths):
                if ignored[index] != want_ignored:
                    continue
                if used[index] and not truth["crowd"]:
                    continue
                if picture.overlaps[number][index] >= best:
                    best = picture.overlaps[number][index]
                    chosen = index
        if chosen is not None:
            used[chosen] = True
            verdict = "ignored" if ignored[chosen] else "right"
        else:
            outside = picture.sizes[number] < low or picture.sizes[number] > high
            verdict = "ignored" if outside else "wrong"
        result.append((detection["score"], verdict))
    return result, ignored.count(False)


def curve(pictures, threshold, area, most):
    """[(recall, precision)] after each detection; None without anything to find."""
    everything = []
    to_find = 0
    for picture in pictures:
        judged, count = verdicts(picture, threshold, area)
        everything.extend(judged[:most])
        to_find += count
    if to_find == 0:
        return None
    points = []
    right = 0
    wrong = 0
    for _, verdict in sorted(everything, key=lambda pair: -pair[0]):
        right += verdict == "right"
        wrong += verdict == "wrong"
        points.append((right / to_find, right / (right + wrong) if right + wrong else 0.0))
    return points


def precision_at(points, recall):
    return max((precision for reached, precision in points if reached >= recall), default=0.0)


def mean(values):
    values = list(values)
    return math.fsum(values) / len(values) if values else None


def average_precision(pictures, thresholds, area):
    values = []
    for threshold in thresholds:
        points = curve(pictures, threshold, area, 100)
        if points is None:
            return None
        values.extend(precision_at(points, recall) for recall in RECALLS)
    return mean(values)


def average_recall(pictures, area, most):
    values = []
    for threshold in OVERLAPS:
        points = curve(pictures, threshold, area, most)
        if points is None:
            return None
        values.append(points[-1][0] if points else 0.0)
    return mean(values)


def figures_of_class(pictures):
    figures = {
        "AP": average_precision(pictures, OVERLAPS, ANY_AREA),
        "AP50": average_precision(pictures, OVERLAPS[0:1], ANY_AREA),
        "AP75": average_precision(pictures, OVERLAPS[5:6], ANY_AREA),
    }
    for most in (1, 10, 100):
        figures["AR%d" % most] = average_recall(pictures, ANY_AREA, most)
    for name, area in AREAS.items():
        figures["AP_" + name] = average_precision(pictures, OVERLAPS, area)
        figures["AR_" + name] = average_recall(pictures, area, 100)
    return figures


# ---- files ----

def prepare(truth, detections, shape):
    """By category: the class on each picture, in the order of the picture ids."""
    images = {image["id"]: image for image in truth["images"]}
    truths = {}
    for annotation in truth["annotations"]:
        entry = {"bbox": annotation["bbox"], "crowd": bool(annotation.get("iscrowd", 0)),
                 "area": annotation["area"]}
        if shape == "mask":
            entry["bits"] = mask_bits(annotation["segmentation"], images[annotation["image_id"]])
        truths.setdefault((annotation["category_id"], annotation["image_id"]), []).append(entry)
    found = {}
    for detection in detections:
        entry = {"bbox": detection["bbox"], "score": detection["score"]}
        if shape == "mask":
            entry["bits"] = mask_bits(detection["segmentation"], images[detection["image_id"]])
        found.setdefault((detection["category_id"], detection["image_id"]), []).append(entry)
    return {
        category["id"]: [ClassOnPicture(truths.get((category["id"], image), []),
                                        found.get((category["id"], image), []), shape)
                         for image in sorted(images)]
        for category in truth["categories"]
    }


def evaluate(truth, detections, shape):
    """The figures of each category by its id, and their means."""
    by_category = {category: figures_of_class(pictures)
                   for category, pictures in prepare(truth, detections, shape).items()}
    names = next(iter(by_category.values())).keys()
    means = {name: mean(figures[name] for figures in by_category.values() if figures[name] is not None)
             for name in names}
    return by_category, means


def differences(expected, found, where):
    for name, value in expected.items():
        other = found[name]
        if (value is None) != (other is None) or (value is not None and abs(value - other) > TOLERANCE):
            yield "%s %s: %r here, %r there" % (where, name, value, other)


def have_masks(annotations, detections):
    """Whether masks can be measured: there is something to find, something was found, and all of it has one."""
    return bool(annotations and detections) and all("segmentation" in entry for entry in annotations + detections)


def compare(truth, detections, report):
    """Every line says what differs; none where all figures agree."""
    lines = []
    compared = 0
    for shape in ("box", "mask"):
        if report[shape] is None:
            if shape == "box" or have_masks(truth["annotations"], detections):
                lines.append("%s: no figures there" % shape)
            continue
        by_category, means = evaluate(truth, detections, shape)
        lines.extend(differences(means, report[shape], shape))
        classes = {entry["category_id"]: entry for entry in report[shape]["classes"]}
        assert set(classes) == set(by_category)
        for category, figures in by_category.items():
            lines.extend(differences(figures, classes[category], "%s of %s" % (shape, category)))
            compared += sum(value is not None for value in figures.values())
    return lines, compared


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def main(truth, detections, report):
    lines, compared = compare(read(truth), read(detections), read(report))
    print("\n".join(lines + ["%d figures compared, %d differ" % (compared, len(lines))]))
    return 1 if lines or compared == 0 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
