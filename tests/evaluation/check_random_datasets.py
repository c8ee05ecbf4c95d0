"""Holds the program's evaluation against the independent one on seeded random datasets.

Usage: check_random_datasets.py EVALUATE_FILES [COUNT [FIRST_SEED]]
"""
import json
import os
import subprocess
import sys
import tempfile

import independent_ap
import random_datasets


def figures_of(program, folder, truth, detections):
    paths = []
    for name, content in (("truth.json", truth), ("detections.json", detections)):
        paths.append(os.path.join(folder, name))
        with open(paths[-1], "w", encoding="utf-8") as file:
            json.dump(content, file)
    return json.loads(subprocess.run([program] + paths, check=True, stdout=subprocess.PIPE).stdout)


def main(program, count="60", first="1"):
    different = 0
    compared = 0
    masks = 0
    with tempfile.TemporaryDirectory() as folder:
        for seed in range(int(first), int(first) + int(count)):
            truth, detections = random_datasets.Maker(seed).make()
            report = figures_of(program, folder, truth, detections)
            lines, figures = independent_ap.compare(truth, detections, report)
            for line in lines:
                print("seed %d: %s" % (seed, line))
            different += len(lines)
            compared += figures
            masks += report["mask"] is not None
    print("%d figures compared, %d datasets with masks, %d differ" % (compared, masks, different))
    return 1 if different or compared < 10 * int(count) or masks == 0 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
