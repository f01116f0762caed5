"""Checks that the product makes texts of floating-point numbers in one place, common/number_text.h: the C libraries of the systems name what is not a
number differently, and follow the host's locale. (Streams cannot be checked by their text; tests/system/same_bytes.py sees what they write.)
"""

import pathlib
import re
import sys

FOLDERS = ["common", "interpolation", "meshmapping", "resultmapping", "opensuite", "tools", "platform", "include"]
FORMAT = re.compile(r'"[^"]*%[-+ #0]*[\d*]*(?:\.[\d*]+)?(?:l|L)?[aAeEfFgG][^"]*"')
ELSEWHERE = re.compile(r"\bstd::(?:setprecision|fixed|scientific|hexfloat|format)\b")


def main(root: pathlib.Path) -> int:
    errors, files = [], 0
    for folder in FOLDERS:
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in {".h", ".cpp"}:
                continue
            files += 1
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                code = line.split("// ")[0]
                if FORMAT.search(code) or ELSEWHERE.search(code):
                    errors.append(f"{source.relative_to(root)}:{number}: {line.strip()}")
    print("\n".join(errors) or f"{files} files format no floating-point number themselves")
    return 1 if errors or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
