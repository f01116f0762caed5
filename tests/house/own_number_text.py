"""Checks that the product makes texts of floating-point numbers in one place, common/number_text.h: the C libraries of the systems name what is not a
number differently, and follow the host's locale. (Streams cannot be checked by their text; tests/system/same_bytes.py sees what they write.)
"""

import pathlib
import re
import sys

import product_lines

FORMAT = re.compile(r'"[^"]*%[-+ #0]*[\d*]*(?:\.[\d*]+)?(?:l|L)?[aAeEfFgG][^"]*"')
ELSEWHERE = re.compile(r"\bstd::(?:setprecision|fixed|scientific|hexfloat|format)\b")


def main(root: pathlib.Path) -> int:
    return product_lines.check(root, lambda _, code: bool(FORMAT.search(code) or ELSEWHERE.search(code)), "format no floating-point number themselves")


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
