"""Checks that every row of docs/deliberate.md has a tag in the code and a tag in the tests, and that every tag has a row."""

import pathlib
import re
import sys

CODE = ["include", "common", "interpolation", "meshmapping", "resultmapping"]
SOURCES = {".h", ".cpp", ".py"}
ID = r"[a-z0-9]+(?:[-.][a-z0-9]+)*"


def rows(table: str) -> list[str]:
    """First cells of the table, without its head."""
    found = re.findall(rf"^\| *({ID}) *\|.*\|.*\|$", table, re.MULTILINE)
    return [name for name in found if name != "id"]


def tags(root: pathlib.Path, folders: list[str]) -> dict[str, list[str]]:
    """Tagged places by id."""
    places: dict[str, list[str]] = {}
    for folder in folders:
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in SOURCES:
                continue
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                for name in re.findall(rf"(?://|#) DELIBERATE ({ID})", line):
                    places.setdefault(name, []).append(f"{source.relative_to(root)}:{number}")
    return places


def main(root: pathlib.Path) -> int:
    listed = rows((root / "docs/deliberate.md").read_text(encoding="utf-8"))
    code, tests = tags(root, CODE), tags(root, ["tests"])
    errors = [f"{name}: listed more than once" for name in sorted({n for n in listed if listed.count(n) > 1})]
    errors += [f"{name}: no tag in the code" for name in listed if name not in code]
    errors += [f"{name}: no tag in the tests" for name in listed if name not in tests]
    for places in (code, tests):
        errors += [f"{name}: tagged in {', '.join(where)}, but not listed" for name, where in places.items() if name not in listed]
    print("\n".join(errors) or f"{len(listed)} ids, each with its code and its test")
    return 1 if errors or not listed else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
