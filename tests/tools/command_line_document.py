"""Holds docs/command-line.md against the program: a section per subcommand, and in each the options of its --help, no more and no fewer.

usage: command_line_document.py TAV3D DOCUMENT
"""

import pathlib
import re
import subprocess
import sys


def help_of(program, *command):
    return subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True).stdout


def main(program, document):
    overview = help_of(program)
    commands = re.findall(r"^  (\w+) ", overview[overview.index("Subcommands:") :], re.MULTILINE)
    text = pathlib.Path(document).read_text(encoding="utf-8")
    sections = dict(re.findall(r"^## `tav3d (\w+)`\n(.*?)(?=^## |\Z)", text, re.MULTILINE | re.DOTALL))
    errors = []
    if len(commands) < 7 or sorted(sections) != sorted(commands):
        errors.append(f"sections: {sorted(sections)}, subcommands: {sorted(commands)}")
    for command in commands:
        options = help_of(program, command).split("Options:")[1].split("\n\n")[0]
        expected = set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", options, re.MULTILINE)) - {"--help"}
        rows = "\n".join(line for line in sections.get(command, "").splitlines() if line.startswith("| `"))
        found = set(re.findall(r"`(--[\w-]+)[^`]*`", "\n".join(row.split("|")[1] for row in rows.splitlines())))
        errors += [f"tav3d {command}: {option} is not documented" for option in sorted(expected - found)]
        errors += [f"tav3d {command}: {option} does not exist" for option in sorted(found - expected)]
    print("\n".join(errors) or f"{len(commands)} subcommands, all options documented")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
