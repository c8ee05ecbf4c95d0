#!/usr/bin/env python3
"""The README's figures are those of docs/performance.md, which scripts/bench writes: after it the README has to follow."""

from __future__ import annotations

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
README = (ROOT / "README.md").read_text()


def cells_of(line: str) -> list[str]:
    return [cell.strip() for cell in line.strip()[1:-1].split("|")]


def measured() -> dict[str, list[str]]:
    """The cells of each row of docs/performance.md by its stage and case."""
    rows = {}
    text = (ROOT / "docs" / "performance.md").read_text()
    for stage, table in re.findall(r"^## (.*)\n\n((?:\|.*\n)+)", text, re.MULTILINE):
        for line in table.splitlines()[2:]:
            case, *cells = cells_of(line)
            rows[f"{stage}, {case}"] = cells
    return rows


def said() -> list[list[str]]:
    """The cells of each row of the README's table of figures."""
    table = re.search(r"^ *\| \| microseconds \| plain \|\n *\|(?:---\|)+\n((?: *\|.*\n)+)", README, re.MULTILINE)
    assert table, "the README has no table of figures"
    return [cells_of(line) for line in table.group(1).splitlines()]


class Figures(unittest.TestCase):
    def test_those_of_the_readme_are_measured_ones(self) -> None:
        """Ours and the plain reading's microseconds."""
        for name, ours, plain in said():
            with self.subTest(name):
                cells = measured()[name]
                self.assertEqual((ours, plain), (cells[0], cells[3]))

    def test_the_comparison_with_opencv_is_a_measured_one(self) -> None:
        factors = [float(found.group(1)) for name, cells in measured().items()
                   if name.startswith("letterbox and float tensor") and (found := re.search(r"\((.*)\)", cells[5]))]
        self.assertGreaterEqual(len(factors), 3)
        self.assertIn(f"take {min(factors):.1f} to {max(factors):.1f} times as long", README)


if __name__ == "__main__":
    unittest.main(verbosity=2)
