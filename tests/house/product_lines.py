"""Checks of the product's sources, line by line."""

import pathlib
from collections.abc import Callable

FOLDERS = ["common", "interpolation", "meshmapping", "resultmapping", "opensuite", "tools", "platform", "include"]


def check(root: pathlib.Path, is_wrong: Callable[[str, str], bool], when_right: str) -> int:
    """Shows every line of which `is_wrong` (name of the file from the root, line without comment) says so. Returns the exit status: 1 also when there is
    nothing to check."""
    errors, files = [], 0
    for folder in FOLDERS:
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in {".h", ".cpp"}:
                continue
            files += 1
            name = source.relative_to(root).as_posix()
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                if is_wrong(name, line.split("// ")[0]):
                    errors.append(f"{name}:{number}: {line.strip()}")
    print("\n".join(errors) or f"{files} files {when_right}")
    return 1 if errors or files == 0 else 0
