#!/usr/bin/env python3
"""What the documents point at is there: relative links with their anchors, paths of the repository, and in the maps of the
sources each file.
"""

from __future__ import annotations

import re
import tempfile
import unittest
from pathlib import Path
from urllib.parse import unquote

ROOT = Path(__file__).resolve().parents[2]
ROOMS = ["apps", "benchmarks", "cmake", "docs", "engine", "examples", "fuzz", "include", "models", "packaging", "scripts",
         "src", "tests", "tools"]


def documents() -> list[Path]:
    return sorted([*ROOT.glob("*.md"), *(path for room in ROOMS for path in (ROOT / room).rglob("*.md"))])


def prose(document: Path) -> str:
    """The text without its blocks of code."""
    return re.sub(r"^( *)```.*?^\1```$", "", document.read_text(), flags=re.MULTILINE | re.DOTALL)


def anchors_of(document: Path) -> set[str]:
    """Headings as they are linked: lower case, without punctuation, dashes for spaces, numbered where they repeat."""
    seen: dict[str, int] = {}
    anchors = set()
    for heading in re.findall(r"^#+ (.*)$", prose(document), re.MULTILINE):
        slug = re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-")
        anchors.add(f"{slug}-{seen[slug]}" if slug in seen else slug)
        seen[slug] = seen.get(slug, 0) + 1
    return anchors


def links_of(document: Path) -> list[str]:
    """Targets within the repository, also those of picture links."""
    targets = re.findall(r"\]\(([^()\s]+)\)", re.sub(r"`[^`\n]*`", "", prose(document)))
    return [target for target in targets if not re.match(r"[a-z]+:", target)]


def broken_links(document: Path) -> list[str]:
    broken = []
    for link in links_of(document):
        path, _, anchor = unquote(link).partition("#")
        target = document.parent / path if path else document
        if not target.exists() or (anchor and anchor not in anchors_of(target)):
            broken.append(link)
    return broken


def missing_paths(document: Path) -> list[str]:
    """Words set as code that begin with a folder of the root. Patterns have to match something, and so have names in
    capitals, which stand for others."""
    named = re.findall(rf"`((?:{'|'.join(ROOMS)})/[\w./*-]*)", prose(document))
    patterns = {path: re.sub(r"(?<![A-Za-z])(?!README)[A-Z]+(?![A-Za-z])", "*", path.rstrip("/")) for path in named}
    return [path for path, pattern in patterns.items() if not list(ROOT.glob(pattern))]


class Links(unittest.TestCase):
    def test_links_lead_to_files_and_headings(self) -> None:
        self.assertGreaterEqual(sum(len(links_of(document)) for document in documents()), 50)
        for document in documents():
            with self.subTest(document.relative_to(ROOT)):
                self.assertEqual(broken_links(document), [])

    def test_paths_of_the_repository_exist(self) -> None:
        for document in documents():
            with self.subTest(document.relative_to(ROOT)):
                self.assertEqual(missing_paths(document), [])

    def test_broken_ones_are_found(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "other.md").write_text("# A title: `with` code\n## Twice\n## Twice\n```\n# no heading\n```\n")
            document = Path(folder, "document.md")
            good = ["other.md", "other.md#a-title-with-code", "other.md#twice-1", "#here", "https://example.org/x"]
            bad = ["gone.md", "other.md#no-heading", "other.md#twice-2", "#there"]
            document.write_text("# Here\n" + "".join(f"[word]({link}) and " for link in good + bad) + "`[code](x.md)`\n"
                                "`docs/testing.md` `docs/no-such-guide.md` `tests/*_nothing`\n")
            self.assertEqual(broken_links(document), bad)
            self.assertEqual(missing_paths(document), ["docs/no-such-guide.md", "tests/*_nothing"])


class Maps(unittest.TestCase):
    def test_each_source_file_of_the_libraries_is_on_its_map(self) -> None:
        for guide, folder in (("architecture.md", "src"), ("engine.md", "engine/src")):
            named = "\n".join(re.findall(r"^\| (`.*?) \|", (ROOT / "docs" / guide).read_text(), re.MULTILINE))
            sources = list((ROOT / folder).rglob("*.cpp"))
            self.assertGreater(len(sources), 10)
            for source in sources:
                with self.subTest(source.relative_to(ROOT)):
                    self.assertRegex(named, rf"\b{source.stem}\b|{source.parent.name}/`")

    def test_each_room_of_the_program_is_on_its_map(self) -> None:
        named = re.findall(r"`(\w+)/`", (ROOT / "docs" / "architecture.md").read_text())
        rooms = {path.name for path in (ROOT / "apps" / "brellix").iterdir() if path.is_dir()}
        self.assertEqual(rooms - set(named), set())

    def test_each_option_of_the_build_is_described(self) -> None:
        text = (ROOT / "CMakeLists.txt").read_text()
        options = re.findall(r"^(?:option\((BRELLIX_\w+)|set\((BRELLIX_\w+) .* CACHE )", text, re.MULTILINE)
        described = re.findall(r"^\| `(BRELLIX_\w+)` \|", (ROOT / "docs" / "installing.md").read_text(), re.MULTILINE)
        self.assertEqual(sorted(described), sorted(first or second for first, second in options))


if __name__ == "__main__":
    unittest.main(verbosity=2)
