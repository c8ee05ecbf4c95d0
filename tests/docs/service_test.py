#!/usr/bin/env python3
"""The example unit for systemd: its keys are systemd's, and its command does what the guide says.

The program is taken from the environment variable BRELLIX_PROGRAM.
"""

from __future__ import annotations

import json
import os
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

PROGRAM = os.environ["BRELLIX_PROGRAM"]
ROOT = Path(__file__).resolve().parents[2]
TEMPLATE = (ROOT / "apps" / "brellix" / "brellix-detect.service.in").read_text()
UNIT = TEMPLATE.replace("@BRELLIX_PROGRAM@", PROGRAM)
GUIDE = (ROOT / "docs" / "board-day-one.md").read_text()
SHAPES = ROOT / "models" / "shapes"


def value_of(key: str) -> str:
    found = re.search(rf"^{key}=(.*)$", UNIT, re.MULTILINE)
    assert found, key
    return found.group(1)


class ExampleUnit(unittest.TestCase):
    def expect_that_systemd_takes(self, folder: Path, unit: str) -> None:
        if shutil.which("systemd-analyze") is None:
            self.skipTest("systemd is not installed")
        file = folder / "brellix-detect.service"
        file.write_text(unit)
        # Not what is wrong with the machine's own units, which it reads as well.
        done = subprocess.run(["systemd-analyze", "verify", "--man=no", "--recursive-errors=no", file],
                              capture_output=True, text=True, check=False)
        said = [line for line in (done.stdout + done.stderr).splitlines() if file.name in line]
        self.assertEqual((done.returncode, said), (0, []))

    def test_systemd_knows_each_key(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            self.expect_that_systemd_takes(Path(folder), UNIT)

    def test_the_program_may_lie_below_a_name_with_blanks(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            program = Path(folder, "two words", "brellix")
            program.parent.mkdir()
            program.symlink_to(PROGRAM)
            self.expect_that_systemd_takes(Path(folder), TEMPLATE.replace("@BRELLIX_PROGRAM@", str(program)))

    def test_the_command_writes_a_line_a_frame_without_masks(self) -> None:
        """A picture stands in for the camera."""
        program, *arguments = shlex.split(value_of("ExecStart"))
        self.assertEqual(program, PROGRAM)
        camera = arguments.index("--camera")
        arguments[camera:camera + 2] = [str(sorted((SHAPES / "demo").iterdir())[0])]
        arguments = [argument.replace("/etc/brellix/camera.yaml", str(SHAPES / "shapes_seg.yaml")) for argument in arguments]
        environment = dict(os.environ, **dict(word.split("=") for word in value_of("Environment").split()))
        done = subprocess.run([program, *arguments], env=environment, capture_output=True, text=True, check=True)
        self.assertEqual(done.stderr, "")
        (line,) = done.stdout.splitlines()
        objects = json.loads(line)["objects"]
        self.assertGreater(len(objects), 0)
        self.assertFalse([found for found in objects if "mask" in found])

    def test_what_may_pass_is_a_failure_that_is_tried_again(self) -> None:
        """A missing camera and a missing configuration: neither is a success, and no status is left out."""
        self.assertEqual((value_of("Restart"), value_of("StartLimitIntervalSec")), ("on-failure", "0"))
        self.assertNotIn("RestartPreventExitStatus", UNIT)
        for configuration in (str(SHAPES / "shapes_seg.yaml"), "missing.yaml"):
            done = subprocess.run([PROGRAM, "detect", configuration, "--camera", "9999"], capture_output=True, check=False)
            self.assertEqual(done.returncode, 2)

    def test_nothing_holds_up_the_boot(self) -> None:
        """What comes before the program, or a type other than the usual, would keep the start waiting."""
        self.assertNotRegex(UNIT, r"(?m)^(ExecStartPre|ExecCondition|Type|TimeoutStartSec)=")

    def test_cameras_are_within_its_rights(self) -> None:
        """Each of these closes /dev/videoN: PrivateDevices= as a whole, the others allow some other device only."""
        self.assertNotRegex(UNIT, r"(?m)^(PrivateDevices|ProtectClock|DevicePolicy|DeviceAllow)=")
        self.assertIn("video", value_of("SupplementaryGroups").split())

    def test_systemd_takes_the_commands_of_the_guide_in_its_place(self) -> None:
        commands = re.findall(r"^ExecStart=.*$", GUIDE, re.MULTILINE)
        self.assertGreater(len(commands), 0)
        for command in commands:
            with self.subTest(command), tempfile.TemporaryDirectory() as folder:
                self.expect_that_systemd_takes(Path(folder), UNIT.replace(f"ExecStart={value_of('ExecStart')}", command))


if __name__ == "__main__":
    unittest.main(verbosity=2)
