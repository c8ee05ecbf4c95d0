"""Seeded ground truth and detections with everything that is awkward to evaluate."""
import random


def to_text(runs):
    """COCO's compressed text of run lengths."""
    text = ""
    for index, run in enumerate(runs):
        number = run - runs[index - 2] if index > 2 else run
        while True:
            low = number & 31
            number >>= 5
            is_last = (number == -1 and low & 16) or (number == 0 and not low & 16)
            text += chr(48 + low + (0 if is_last else 32))
            if is_last:
                break
    return text


def runs_of_box(box, width, height):
    """A box, cut to whole pixels of the picture, down the columns."""
    x, y, w, h = box
    left, right = max(0, round(x)), min(width, round(x + w))
    top, bottom = max(0, round(y)), min(height, round(y + h))
    inside = [left <= column < right and top <= row < bottom
              for column in range(width) for row in range(height)]
    runs = []
    value = False
    length = 0
    for pixel in inside:
        if pixel != value:
            runs.append(length)
            length = 0
            value = pixel
        length += 1
    return runs + [length]


class Maker:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.width = self.random.choice([40, 120, 200])
        self.height = self.random.choice([30, 110])
        self.whole_numbers = self.random.random() < 0.5  # overlaps that are exactly a threshold
        self.few_scores = self.random.random() < 0.5     # ties
        self.with_masks = self.random.random() < 0.7 and self.width < 200
        self.categories = self.random.choice([1, 3, 12])
        self.crowd = self.random.choice([0.0, 0.15])
        self.most_detections = self.random.choice([5, 30, 30, 250])

    def number(self, low, high):
        value = self.random.uniform(low, high)
        return round(value) if self.whole_numbers else value

    def box(self):
        width = self.number(1, self.random.choice([12, 60, self.width]))
        height = self.number(1, self.random.choice([12, 60, self.height]))
        return [self.number(-5, self.width - 2), self.number(-5, self.height - 2), width, height]

    def near(self, box):
        shift = self.random.choice([0, 1, 3, 8])
        moved = [value + self.number(-shift, shift) for value in box]
        return [moved[0], moved[1], max(moved[2], 1), max(moved[3], 1)]

    def truth_mask(self, box):
        kind = self.random.choice(["polygon", "runs", "text"])
        if kind == "polygon":
            x, y, w, h = box
            corners = [(x, y + h * 0.1), (x + w * 0.9, y), (x + w, y + h), (x + w * 0.4, y + h * 0.5), (x, y + h)]
            return [[value + 0.013 for corner in corners for value in corner]]
        runs = runs_of_box(box, self.width, self.height)
        return {"size": [self.height, self.width], "counts": to_text(runs) if kind == "text" else runs}

    def annotation(self, number, image):
        box = self.box()
        entry = {"id": number, "image_id": image, "category_id": self.category(), "bbox": box,
                 "area": box[2] * box[3] * self.random.choice([1, 1, 0.7]),
                 "iscrowd": int(self.random.random() < self.crowd)}
        if self.random.random() < 0.1:
            entry["area"] = self.random.choice([32 ** 2, 96 ** 2])  # both ends belong to a range
        if self.with_masks:
            entry["segmentation"] = self.truth_mask(box)
        return entry

    def category(self):
        return 3 + 7 * self.random.randrange(self.categories)

    def detection(self, image, annotations):
        score = self.random.random()
        entry = {"image_id": image, "category_id": self.category(), "bbox": self.box(),
                 "score": round(score, 1) if self.few_scores else score}
        if annotations and self.random.random() < 0.8:
            chosen = self.random.choice(annotations)
            entry["bbox"] = self.near(chosen["bbox"])
            if self.random.random() < 0.9:
                entry["category_id"] = chosen["category_id"]
        if self.with_masks:
            runs = runs_of_box(entry["bbox"], self.width, self.height)
            entry["segmentation"] = {"size": [self.height, self.width], "counts": to_text(runs)}
        return entry

    def make(self):
        images = [{"id": 100 - 3 * number, "file_name": "%d.png" % number, "width": self.width,
                   "height": self.height} for number in range(self.random.choice([1, 4, 9]))]
        annotations = []
        detections = []
        for image in images:
            here = [self.annotation(len(annotations) + number + 1, image["id"])
                    for number in range(self.random.choice([0, 1, 6, 14]))]
            annotations.extend(here)
            most = self.most_detections // (5 if self.with_masks else 1)
            detections.extend(self.detection(image["id"], here) for _ in range(self.random.randint(0, most)))
        self.random.shuffle(annotations)
        self.random.shuffle(detections)
        categories = [{"id": 3 + 7 * number, "name": "class %d" % number} for number in range(self.categories)]
        return {"images": images, "annotations": annotations, "categories": categories}, detections
