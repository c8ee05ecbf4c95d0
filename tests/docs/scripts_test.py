#!/usr/bin/env python3
"""Each script says how it is used, and does nothing else when it is asked."""

from __future__ import annotations

import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / "scripts"
HARMLESS = ["basename", "cat", "dirname", "dpkg", "sed"]  # a script that goes on would miss the system's other programs


class Scripts(unittest.TestCase):
    def test_help_is_the_usage_and_nothing_is_done(self) -> None:
        scripts = sorted(path for path in SCRIPTS.iterdir() if path.is_file())
        self.assertGreaterEqual(len(scripts), 10)
        programs = tempfile.TemporaryDirectory()
        self.addCleanup(programs.cleanup)
        for name in HARMLESS:
            Path(programs.name, name).symlink_to(shutil.which(name))
        for script in scripts:
            for option in ("--help", "-h"):
                with self.subTest(f"{script.name} {option}"):
                    # From beside it, where the project's folder is elsewhere, and with folders that cd looks in first.
                    done = subprocess.run(["/bin/bash", f"../scripts/{script.name}", option], cwd=SCRIPTS,
                                          env={"PATH": programs.name, "CDPATH": f".:{SCRIPTS.parent}"},
                                          capture_output=True, text=True, check=False, timeout=60)
                    self.assertIn(f"Usage: scripts/{script.name}", done.stdout)
                    self.assertEqual((done.returncode, done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
