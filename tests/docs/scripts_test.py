#!/usr/bin/env python3
"""Each script says how it is used, and does nothing else when it is asked."""

from __future__ import annotations

import itertools
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
# These hand on what they do not know to the programs that they run.
HAND_ON = {"bench", "test"}
HARMLESS = ["basename", "cat", "dirname", "dpkg", "sed"]  # a script that goes on would miss the system's other programs


def header_of(script: Path) -> str:
    """The comment at its head, without the line that names the shell."""
    lines = itertools.takewhile(lambda line: line.startswith("#"), script.read_text().splitlines()[1:])
    return "".join(line.removeprefix("#").removeprefix(" ") + "\n" for line in lines)


class Scripts(unittest.TestCase):
    def setUp(self) -> None:
        self.scripts = sorted(path for path in SCRIPTS.iterdir() if path.is_file())
        self.assertGreaterEqual(len(self.scripts), 10)
        self.programs = tempfile.TemporaryDirectory()
        self.addCleanup(self.programs.cleanup)
        for name in HARMLESS:
            Path(self.programs.name, name).symlink_to(shutil.which(name))

    def run_script(self, script: Path, option: str) -> subprocess.CompletedProcess[str]:
        # From beside it, where the project's folder is elsewhere, and with folders that cd looks in first.
        return subprocess.run(["/bin/bash", f"../scripts/{script.name}", option], cwd=SCRIPTS,
                              env={"PATH": self.programs.name, "CDPATH": f".:{SCRIPTS.parent}"},
                              capture_output=True, text=True, check=False, timeout=60)

    def test_help_is_the_usage_and_nothing_is_done(self) -> None:
        for script in self.scripts:
            for option in ("--help", "-h"):
                with self.subTest(f"{script.name} {option}"):
                    done = self.run_script(script, option)
                    self.assertIn(f"Usage: scripts/{script.name}", done.stdout)
                    self.assertEqual((done.returncode, done.stdout, done.stderr), (0, header_of(script), ""))

    def test_unknown_options_are_named_and_nothing_is_done(self) -> None:
        for script in self.scripts:
            if script.name in HAND_ON:
                continue
            with self.subTest(script.name):
                done = self.run_script(script, "--no-such-option")
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertRegex(done.stderr, f"^scripts/{script.name}: unknown (option|argument) '--no-such-option'; ")


if __name__ == "__main__":
    unittest.main(verbosity=2)
