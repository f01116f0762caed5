"""Checks that the product calls no function of the C library whose last bit differs between systems: exponentials, logarithms, powers,
angles, cube roots. common/exact_math.h has what is needed instead. Square roots, absolute values, rounding and the like are exact everywhere.
"""

import pathlib
import re
import sys

import product_lines

NAMES = (
    "exp exp2 expm1 log log2 log10 log1p pow sin cos tan asin acos atan atan2 sinh cosh tanh asinh acosh atanh cbrt hypot erf erfc "
    "tgamma lgamma fma complex lerp riemann_zeta beta legendre"
).split()
CALL = re.compile(r"(?:\bstd::|(?<![\w.:>]))(?:" + "|".join(NAMES) + r")[fl]?\s*[(<]")
RANDOM = re.compile(r"#\s*include\s*<(random|complex|valarray)>")


def main(root: pathlib.Path) -> int:
    return product_lines.check(root, lambda _, code: bool(CALL.search(code) or RANDOM.search(code)), f"call none of {len(NAMES)} functions")


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
