"""Checks that the folders include each other in one direction only.

tools -> include + opensuite + common, and the views of the mapping, so that it can tell how a value came about; resultmapping -> meshmapping -> platform;
all of them -> common -> nothing; interpolation -> platform. The exported headers include nothing but the standard library.
"""

import pathlib
import re
import sys

ALLOWED = {
    "include": set(),
    "platform": {"platform"},
    "common": {"common"},
    "interpolation": {"interpolation", "common", "include", "platform"},
    "meshmapping": {"meshmapping", "common", "include", "platform"},
    "resultmapping": {"resultmapping", "common", "meshmapping", "include", "platform"},
    "opensuite": {"opensuite", "common", "platform"},
    "tools": {"tools", "common", "opensuite", "platform", "include", "meshmapping", "resultmapping"},
}


def main(root: pathlib.Path) -> int:
    owner = {}  # header name or path -> folder
    for folder in ALLOWED:
        for header in (root / folder).rglob("*.h"):
            owner[header.name] = folder
            owner[str(header.relative_to(root))] = folder

    errors, files = [], 0
    for folder, allowed in ALLOWED.items():
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in {".h", ".cpp"}:
                continue
            files += 1
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                match = re.match(r'\s*#\s*include\s*([<"])([^">]+)[">]', line)
                if not match:
                    continue
                beside = (source.parent / match[2]).resolve()
                if match[1] == '"' and beside.is_file():
                    target = beside.relative_to(root.resolve()).parts[0]
                else:
                    target = owner.get(match[2])
                if target is None and match[1] == '"':
                    errors.append(f"{source.relative_to(root)}:{number}: {match[2]} is no header of this project")
                elif target is not None and target != folder and target not in allowed:
                    errors.append(f"{source.relative_to(root)}:{number}: {folder} must not include {target} ({match[2]})")
                elif folder == "include" and target is not None:
                    errors.append(f"{source.relative_to(root)}:{number}: an exported header includes only the standard library")
    print("\n".join(errors) or f"{files} files, all dependencies run one way")
    return 1 if errors or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
