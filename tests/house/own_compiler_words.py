"""Checks that what only one compiler understands stands in common/compiler.h, so that all other sources are the same to every compiler."""

import pathlib
import re
import sys

import product_lines

WORDS = re.compile(r"\b(?:__builtin_\w+|__attribute__|__asm__|__asm|__declspec|__forceinline|_MSC_VER|__GNUC__|__clang__|__cpuid\w*)\b|#\s*pragma\s+(?!once\b)")
ALLOWED = {
    "common/compiler.h": WORDS,
    "common/processor.cpp": re.compile("_MSC_VER|__cpuid(?:ex)?|__builtin_cpu_supports"),  # asks the processor what it can
    # The exported headers stand by themselves.
    "include/Tav3dInterpolation.h": re.compile("__declspec|__attribute__"),
    "include/Tav3dMeshMappingArrary.h": re.compile("__declspec|__attribute__"),
    "include/Tav3dQ7XMapping_Voxel2CutCell.h": re.compile("__declspec|__attribute__"),
}


def main(root: pathlib.Path) -> int:
    def is_wrong(name: str, code: str) -> bool:
        return any(name not in ALLOWED or not ALLOWED[name].fullmatch(word) for word in WORDS.findall(code))

    return product_lines.check(root, is_wrong, "leave what differs between compilers to common/compiler.h")


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
