"""Checks that the product calls no function of the C library whose last bit differs between systems: exponentials, logarithms, powers,
angles, cube roots. common/exact_math.h has what is needed instead. Square roots, absolute values, rounding and the like are exact everywhere.
"""

import pathlib
import re
import sys

FOLDERS = ["common", "interpolation", "meshmapping", "resultmapping", "opensuite", "tools", "platform", "include"]
NAMES = (
    "exp exp2 expm1 log log2 log10 log1p pow sin cos tan asin acos atan atan2 sinh cosh tanh asinh acosh atanh cbrt hypot erf erfc "
    "tgamma lgamma fma complex lerp riemann_zeta beta legendre"
).split()
CALL = re.compile(r"(?:\bstd::|(?<![\w.:>]))(?:" + "|".join(NAMES) + r")[fl]?\s*[(<]")
RANDOM = re.compile(r"#\s*include\s*<(random|complex|valarray)>")


def main(root: pathlib.Path) -> int:
    errors, files = [], 0
    for folder in FOLDERS:
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in {".h", ".cpp"}:
                continue
            files += 1
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                code = line.split("//")[0]
                if CALL.search(code) or RANDOM.search(code):
                    errors.append(f"{source.relative_to(root)}:{number}: {line.strip()}")
    print("\n".join(errors) or f"{files} files call none of {len(NAMES)} functions")
    return 1 if errors or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
