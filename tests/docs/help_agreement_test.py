#!/usr/bin/env python3
"""What `--help` says, the man pages and the guide say, and the shells complete: the same options with the same arguments.

The program is taken from the environment variable BRELLIX_PROGRAM.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import tempfile
import unittest
import unittest.mock
from functools import cache
from pathlib import Path

PROGRAM = os.environ["BRELLIX_PROGRAM"]
ROOT = Path(__file__).resolve().parents[2]
APP = ROOT / "apps" / "brellix"
GUIDE = (ROOT / "docs" / "command-line.md").read_text()
COMMANDS = ["init", "check", "detect", "calibrate", "eval", "compare", "bench"]

Option = tuple[str, str, str]  # short and long name, argument; empty where there is none


@cache
def help_of(*command: str) -> str:
    return subprocess.run([PROGRAM, *command, "--help"], capture_output=True, text=True, check=True).stdout


def options_of_help(text: str) -> list[Option]:
    """Lines like `  -o,--out DIR`, `  --model TEXT:{a,b}`, `  --camera N:INT in [0 - 9999]`, `  -f,--force`."""
    options = []
    for line in re.findall(r"^  (-.*)$", text, re.MULTILINE):
        spelled = re.match(r"(?:(-\w),)?(--[\w-]+)(?: ([A-Z]+)(?=$|[ :])(?::\{([^}]*)\})?)?", line)
        assert spelled, line
        short, long, name, values = spelled.groups()
        options.append((short or "", long, (values or name or "").replace(",", "|")))
    return options


def synopsis_of_help(command: str) -> list[str]:
    usage = re.search(rf"^Usage: brellix {command} \[OPTIONS\] (.*)$", help_of(command), re.MULTILINE)
    assert usage, command
    return usage.group(1).replace("[", "").replace("]", "").split()


def statuses_of_help(text: str) -> set[str]:
    sentence = text[text.index("Exit status:"):]
    return set(re.findall(r"(?<![\d.])[0-3](?= )", sentence))


def page_of(command: str) -> str:
    return (APP / "man" / (f"brellix-{command}.1" if command else "brellix.1")).read_text()


def plain(line: str) -> str:
    """A line of a man page without its fonts."""
    return re.sub(r"\\f[BIR]", "", line).replace("\\-", "-")


def section(page: str, title: str) -> str:
    found = re.search(rf"^\.SH {title}\n(.*?)(?=^\.SH|\Z)", page, re.MULTILINE | re.DOTALL)
    assert found, title
    return found.group(1)


def tags(text: str) -> list[str]:
    return [plain(line) for line in re.findall(r"^\.TP\n(.*)$", text, re.MULTILINE)]


def options_of_page(page: str) -> list[Option]:
    options = []
    for tag in tags(section(page, "OPTIONS")):
        spelled = re.fullmatch(r"(?:(-\w), )?(--[\w-]+)(?: (\S+))?", tag)
        assert spelled, tag
        options.append(tuple(part or "" for part in spelled.groups()))
    return options


class ManPages(unittest.TestCase):
    def test_each_command_has_a_page_and_each_page_a_command(self) -> None:
        said = re.search(r"^Subcommands:\n(.*?)^$", help_of(), re.MULTILINE | re.DOTALL)
        assert said
        self.assertEqual(re.findall(r"^  (\w+)", said.group(1), re.MULTILINE), COMMANDS)
        pages = {path.name for path in (APP / "man").iterdir()}
        self.assertEqual(pages, {"brellix.1", *(f"brellix-{command}.1" for command in COMMANDS)})
        self.assertEqual(tags(section(page_of(""), "COMMANDS")), COMMANDS)

    def test_options_and_their_arguments_are_those_of_help(self) -> None:
        for command in ["", *COMMANDS]:
            with self.subTest(command):
                options = options_of_help(help_of(*command.split()))
                self.assertGreaterEqual(len(options), 2)
                self.assertEqual(options_of_page(page_of(command)), options)

    def test_positionals_are_those_of_help(self) -> None:
        for command in COMMANDS:
            with self.subTest(command):
                lines = section(page_of(command), "SYNOPSIS").splitlines()[2:]
                words = [word for line in lines for word in re.findall(r"[A-Z]+(?:\.\.\.)?", line.split(" ", 1)[1])]
                self.assertEqual(words, synopsis_of_help(command))

    def test_exit_statuses_are_those_of_help(self) -> None:
        for command in ["", *COMMANDS]:
            with self.subTest(command):
                self.assertEqual(set(tags(section(page_of(command), "EXIT STATUS"))),
                                 statuses_of_help(help_of(*command.split())))

    def test_every_command_tells_the_statuses_that_all_have(self) -> None:
        for command in COMMANDS:
            with self.subTest(command=command):
                self.assertLessEqual({"0", "2", "3"}, statuses_of_help(help_of(command)))

    def test_formatting_gives_no_warnings(self) -> None:
        if shutil.which("groff") is None:
            self.skipTest("groff is not installed")
        for path in sorted((APP / "man").iterdir()):
            done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-z", path], capture_output=True, text=True, check=True)
            self.assertEqual(done.stderr, "", path.name)


def guide_section(command: str) -> tuple[str, str]:
    """The words behind the command in its heading, and the section itself."""
    found = re.search(rf"^## `brellix {command} ([^`]*)`\n(.*?)(?=^## |\Z)", GUIDE, re.MULTILINE | re.DOTALL)
    assert found, command
    return found.group(1), found.group(2)


def guide_rows(command: str) -> list[tuple[list[tuple[str, str]], str]]:
    """The rows of the command's table: names with their arguments, and what they do. `--` alone is no option."""
    table = re.search(r"^\| option \| what it does \|\n\|[-|]*\|\n((?:\|.*\n)*)", guide_section(command)[1], re.MULTILINE)
    assert table, command
    rows = [[cell.strip() for cell in line.strip("|").split(" | ", 1)] for line in table.group(1).splitlines()]
    return [([(name, argument) for name, argument in re.findall(r"`(-[\w-]*)(?: (\S+))?`", names) if name != "--"], what)
            for names, what in rows]


class Guide(unittest.TestCase):
    def test_commands_and_their_words_are_those_of_help(self) -> None:
        (overview,) = re.findall(r"^```\n(brellix init .*?)^```", GUIDE, re.MULTILINE | re.DOTALL)
        listed = dict(re.findall(r"^brellix (\w+) (.*?)  ", overview, re.MULTILINE))
        self.assertEqual(list(listed), COMMANDS)
        for command in COMMANDS:
            with self.subTest(command):
                self.assertEqual(listed[command].split(), synopsis_of_help(command))
                self.assertEqual(guide_section(command)[0].split(), synopsis_of_help(command))

    def test_each_option_of_help_has_a_row_and_each_row_an_option(self) -> None:
        for command in COMMANDS:
            with self.subTest(command):
                options = [option for option in options_of_help(help_of(command)) if option[1] != "--help"]
                named = {name for names, _ in guide_rows(command) for name, _ in names}
                self.assertEqual(named - spellings(options), set(), "no options of the command")
                self.assertEqual([long for short, long, _ in options if not {short, long} & named], [], "not in the table")

    def test_arguments_are_those_of_help(self) -> None:
        """A row says the argument behind the long name, and where it is one of several words, all of them."""
        for command in COMMANDS:
            arguments = {long: argument for _, long, argument in options_of_help(help_of(command))}
            for names, what in guide_rows(command):
                for name, said in [entry for entry in names if entry[0] in arguments and not what.startswith("as for")]:
                    with self.subTest(f"{command} {name}"):
                        words = arguments[name].split("|")
                        if len(words) > 1:
                            self.assertTrue(said)
                            self.assertEqual([word for word in words if f"`{word}`" not in what], [])
                        else:
                            self.assertEqual(said, arguments[name])

    def test_what_is_as_for_another_command_stands_there(self) -> None:
        references = 0
        for command in COMMANDS:
            for names, what in guide_rows(command):
                if other := re.match(r"as for `(\w+)`", what):
                    there = {name for row, _ in guide_rows(other.group(1)) for name, _ in row}
                    self.assertEqual({name for name, _ in names} - there, set(), command)
                    references += 1
        self.assertGreaterEqual(references, 5)

    def test_examples_of_all_documents_use_options_that_exist(self) -> None:
        examples = [line for path in [ROOT / "README.md", *(ROOT / "docs").glob("*.md")]
                    for block in re.findall(r"```(?:sh|bash)\n(.*?)```", path.read_text(), re.DOTALL)
                    for line in re.findall(rf"\bbrellix (?:{'|'.join(COMMANDS)}) [^|;&#\n]*", block)]
        self.assertGreaterEqual(len(examples), 50)
        known = {command: spellings(options_of_help(help_of(command))) for command in COMMANDS}
        for example in examples:
            with self.subTest(example):
                used = {word for word in example.split()[2:] if re.match(r"--?[a-z]", word)}
                self.assertEqual(used - known[example.split()[1]], set())


def bash_completion(*words: str, folder: str | None = None) -> set[str]:
    script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _brellix; '
              '((${#COMPREPLY[@]} == 0)) || printf "%s\\n" "${COMPREPLY[@]}"')
    done = subprocess.run(["bash", "-u", "-c", script, "bash", APP / "completion" / "brellix.bash", "brellix", *words],
                          cwd=folder, capture_output=True, text=True, check=True)
    assert done.stderr == "", done.stderr
    return set(done.stdout.splitlines())


def spellings(options: list[Option]) -> set[str]:
    return {name for short, long, _ in options for name in (short, long) if name}


class BashCompletion(unittest.TestCase):
    def test_commands_and_options_are_those_of_help(self) -> None:
        self.assertEqual(bash_completion(""), set(COMMANDS))
        self.assertEqual(bash_completion("c"), {"check", "calibrate", "compare"})
        for command in ["", *COMMANDS]:
            with self.subTest(command):
                self.assertEqual(bash_completion(*command.split(), "-"), spellings(options_of_help(help_of(*command.split()))))

    def test_an_option_is_followed_by_what_help_says(self) -> None:
        """By one of several words, by files (here there are none), or, where it takes no argument, by options."""
        for command in COMMANDS:
            for short, long, argument in options_of_help(help_of(command)):
                with self.subTest(f"{command} {long}"), tempfile.TemporaryDirectory() as empty:
                    offered = bash_completion(command, long, "", folder=empty)
                    if long != "--camera":  # The machine's own cameras.
                        self.assertEqual(offered, set(argument.split("|")) if "|" in argument else set())
                    for name in (short or long, long):
                        is_taken = "--help" not in bash_completion(command, name, "-", folder=empty)
                        self.assertEqual(is_taken, argument != "")

    def test_files_are_those_of_their_place(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            for name in ("a.yaml", "b.onnx", "c.jpg", "d e.YML", "t.json"):
                Path(folder, name).touch()
            Path(folder, "sub").mkdir()
            configurations = {"a.yaml", "d e.YML", "sub"}
            everything = {"a.yaml", "b.onnx", "c.jpg", "d e.YML", "t.json", "sub"}
            for words, expected in (
                    (["init", ""], {"b.onnx", "sub"}),
                    (["init", "b.onnx", ""], set()),
                    (["check", ""], configurations),
                    (["check", "a"], {"a.yaml"}),
                    (["detect", ""], configurations),
                    (["detect", "--conf", "0.5", "-r", ""], configurations),
                    (["detect", "--conf", "=", "0.5", ""], configurations),
                    (["detect", "a.yaml", ""], everything),
                    (["detect", "a.yaml", "-", ""], everything),
                    (["detect", "a.yaml", "--out", ""], {"sub"}),
                    (["detect", "a.yaml", "--out", "=", ""], {"sub"}),
                    (["detect", "a.yaml", "--json", "="], everything),
                    (["compare", "a.yaml", ""], configurations),
                    (["compare", "a.yaml", "a.yaml", "c"], {"c.jpg"}),
                    (["eval", "a.yaml", ""], {*configurations, "t.json"}),
                    (["check", "a.yaml", "--json", ""], set())):
                with self.subTest(words):
                    self.assertEqual(bash_completion(*words, folder=folder), expected)

    def test_folders_below_the_home_folder_are_offered_as_they_were_begun(self) -> None:
        with tempfile.TemporaryDirectory() as home, unittest.mock.patch.dict(os.environ, HOME=home):
            Path(home, "sub").mkdir()
            Path(home, "a.yaml").touch()
            self.assertEqual(bash_completion("check", "~/"), {"~/sub", "~/a.yaml"})


def zsh_options(command: str) -> set[str]:
    text = (APP / "completion" / "_brellix").read_text()

    def spelled(part: str) -> set[str]:
        pairs = {name for pair in re.findall(r"\{(-\w),(--[\w-]+)\}", part) for name in pair}
        return pairs | set(re.findall(r"""['"](?:\([^)]*\))?\*?(--[\w-]+)\[""", part))

    groups = {name: spelled(body) for name, body in re.findall(r"(\w+)=\((.*?)\)\n", text, re.DOTALL)}
    case = re.search(rf"^        {command}\)\n(.*?)^            ;;", text, re.MULTILINE | re.DOTALL)
    assert case, command
    used = [groups[name] for name in re.findall(r"\$(\w+)", case.group(1)) if name != "yaml"]
    return spelled(case.group(1)).union(*used)


def fish_options(command: str) -> set[str]:
    found = set()
    for line in (APP / "completion" / "brellix.fish").read_text().splitlines():
        condition = re.search(r"""-n ['"]__fish_seen_subcommand_from ([^'"]*)['"]""", line)
        if condition and command in condition.group(1).replace("$commands", " ".join(COMMANDS)).split():
            found |= {f"-{name}" for name in re.findall(r" -s (\w)", line)}
            found |= {f"--{name}" for name in re.findall(r" -l ([\w-]+)", line)}
    return found


class OtherShells(unittest.TestCase):
    def test_options_are_those_of_help(self) -> None:
        for command in COMMANDS:
            expected = spellings(options_of_help(help_of(command)))
            for offered in (zsh_options, fish_options):
                with self.subTest(f"{offered.__name__} {command}"):
                    self.assertEqual(offered(command), expected)

    def test_words_to_choose_from_are_those_of_help(self) -> None:
        choices = {argument for command in COMMANDS for _, _, argument in options_of_help(help_of(command)) if "|" in argument}
        self.assertGreaterEqual(len(choices), 3)
        for name in ("_brellix", "brellix.fish"):
            text = (APP / "completion" / name).read_text()
            for choice in choices:
                with self.subTest(f"{name} {choice}"):
                    self.assertRegex(text, rf"[('\s]{choice.replace('|', ' ')}[)'\s]")


if __name__ == "__main__":
    unittest.main(verbosity=2)
