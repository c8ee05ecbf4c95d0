#!/usr/bin/env python3
"""Runs the ```sh blocks of guides in docs/, line by line, in a folder that holds what the guides say.

A line has to end with status 0, or with N where it says "# exit status N". The folder is kept from guide to guide.
Paths of the installed sample networks become those of the repository. ```bash blocks need a machine of their own and
are not run.
"""

from __future__ import annotations

import argparse
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import make_exports

ROOT = Path(__file__).resolve().parents[2]
SHAPES = ROOT / "models" / "shapes"
INSTALLED_MODELS = "/usr/share/brellix/models"
PICTURES = 24


def commands_of(guide: Path) -> list[tuple[str, int]]:
    """The lines of the guide's sh blocks with the status that each has to end with."""
    text = guide.read_text().replace(INSTALLED_MODELS, str(ROOT / "models"))
    blocks = re.findall(r"^```sh\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
    lines = [line for block in blocks for line in block.splitlines() if line and not line.startswith("#")]
    return [(line, int(status.group(1)) if (status := re.search(r"# exit status (\d)", line)) else 0) for line in lines]


def furnish(folder: Path) -> None:
    """Puts the files into the folder that a reader of the guides has."""
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "pictures").mkdir(parents=True)
    (folder / "tools").symlink_to(ROOT / "tools")
    for picture in sorted((SHAPES / "pictures").iterdir())[:PICTURES]:
        shutil.copy(picture, folder / "pictures")
    shutil.copy(sorted((SHAPES / "demo").iterdir())[0], folder / "photo.jpg")
    make_exports.write_truth(SHAPES / "truth.json", folder / "pictures", folder / "truth.json")
    make_exports.write_detector(SHAPES / "shapes_fused.onnx", folder / "best.onnx")
    make_exports.write_segmentation(SHAPES / "shapes_seg.onnx", folder / "best-seg.onnx")


def run(command: str, expected: int, folder: Path, program: Path) -> bool:
    environment = dict(os.environ, PATH=f"{program.parent}:{os.environ['PATH']}")
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    print(f"[{done.returncode}] {command}")
    if done.returncode != expected:
        print(f"expected status {expected}; it said:\n{done.stdout}")
    return done.returncode == expected


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", type=Path, required=True)
    parser.add_argument("--work", type=Path, required=True)
    parser.add_argument("guides", nargs="+")
    arguments = parser.parse_args()
    furnish(arguments.work)
    program = arguments.program.resolve()
    results = []
    for guide in arguments.guides:
        commands = commands_of(ROOT / "docs" / guide)
        if not commands:
            print(f"{guide} holds no commands")
            return 1
        results += [run(command, status, arguments.work, program) for command, status in commands]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
