"""Rendered scenes on disk, and training batches drawn from them.

Every scene is made from (stream, position), so that the training scenes and the held-out ones share no seed and each
can be re-created alone.
"""

import argparse
from multiprocessing import Pool
from pathlib import Path

import cv2
import numpy as np

from letterbox import letterbox
from network import INPUT
from scenes import OBJECTS_MAX, render

TRAINING, HELD_OUT, DEMO = 1, 2, 3
ODD_SHARE = 0.3
COUNT = 14000


def training_scene(position):
    """Letterboxed picture, index map and truth rows (label, x centre, y centre, width, height), network pixels."""
    rng = np.random.default_rng([TRAINING, position])
    width, height = _size(rng)
    scene = render(rng, width, height, INPUT)
    picture, r, dw, dh = letterbox(scene.picture, INPUT)
    index, *_ = letterbox(scene.index, INPUT, cv2.INTER_NEAREST, 0)
    truth = np.full((OBJECTS_MAX, 5), -1, np.float32)
    for row, label, (x, y, w, h) in zip(truth, scene.labels, scene.boxes):
        row[:] = label, (x + w / 2) * r + dw, (y + h / 2) * r + dh, w * r, h * r
    return picture, index, truth


def _size(rng):
    if rng.random() >= ODD_SHARE:
        return INPUT, INPUT
    longest = np.exp(rng.uniform(np.log(64), np.log(900)))
    sides = np.array((longest, longest * rng.uniform(0.4, 1.0)))
    return tuple(int(s) for s in rng.permutation(np.maximum(np.round(sides), 40)))


class Scenes:
    """Memory-mapped cache of the training scenes."""

    def __init__(self, folder, count, mode="r"):
        shapes = {"pictures": (count, INPUT, INPUT, 3), "indices": (count, INPUT, INPUT)}
        for name, shape in shapes.items():
            setattr(self, name, np.memmap(Path(folder) / f"{name}.u8", np.uint8, mode, shape=shape))
        self.truth = np.memmap(Path(folder) / "truth.f32", np.float32, mode, shape=(count, OBJECTS_MAX, 5))

    def __len__(self):
        return len(self.truth)


def _quiet():
    cv2.setNumThreads(1)


def create(folder, count, processes):
    Path(folder).mkdir(parents=True, exist_ok=True)
    scenes = Scenes(folder, count, "w+")
    with Pool(processes, _quiet) as pool:
        for i, made in enumerate(pool.imap(training_scene, range(count), 16)):
            scenes.pictures[i], scenes.indices[i], scenes.truth[i] = made
            if (i + 1) % 1000 == 0:
                print(f"{i + 1} of {count} scenes", flush=True)


def batch(scenes, picks, rng):
    """Interleaved pictures (uint8), index maps, and truth rows, each turned, mirrored and recoloured at random."""
    pictures = np.empty((len(picks), INPUT, INPUT, 3), np.uint8)
    indices = np.empty((len(picks), INPUT, INPUT), np.uint8)
    truths = []
    for place, i in enumerate(picks):
        picture, index, truth = scenes.pictures[i], scenes.indices[i], scenes.truth[i]
        truth = truth[truth[:, 0] >= 0].copy()
        picture, index = _dihedral(picture, index, truth, int(rng.integers(0, 8)))
        picture = picture[..., rng.permutation(3)]
        if rng.random() < 0.1:
            picture = 255 - picture
        pictures[place], indices[place] = picture, index
        truths.append(truth)
    return pictures, indices, truths


def _dihedral(picture, index, truth, kind):
    """One of the square's 8 symmetries; changes truth in place."""
    if kind & 1:
        picture, index = picture[:, ::-1], index[:, ::-1]
        truth[:, 1] = INPUT - truth[:, 1]
    if kind & 2:
        picture, index = picture[::-1], index[::-1]
        truth[:, 2] = INPUT - truth[:, 2]
    if kind & 4:
        picture, index = picture.transpose(1, 0, 2), index.T
        truth[:, 1:] = truth[:, [2, 1, 4, 3]]
    return picture, index


def main():
    parser = argparse.ArgumentParser(description="Renders the training scenes.")
    parser.add_argument("folder")
    parser.add_argument("--count", type=int, default=COUNT)
    parser.add_argument("--processes", type=int, default=2)
    args = parser.parse_args()
    create(args.folder, args.count, args.processes)


if __name__ == "__main__":
    main()
