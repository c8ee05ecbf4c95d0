"""Runs `brellix eval` and holds its figures against the independent evaluation of the detections it wrote.

Usage: check_shapes.py BRELLIX CONFIG TRUTH.json
"""
import os
import subprocess
import sys
import tempfile

import independent_ap


def main(program, config, truth):
    with tempfile.TemporaryDirectory() as folder:
        detections = os.path.join(folder, "detections.json")
        figures = os.path.join(folder, "figures.json")
        subprocess.run([program, "eval", config, truth, "--quiet", "--detections", detections, "--json", figures],
                       check=True)
        print("AP50 of the boxes: %.4f" % independent_ap.read(figures)["box"]["AP50"])
        return independent_ap.main(truth, detections, figures)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
