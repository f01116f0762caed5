"""Checks that what only one compiler understands stands in common/compiler.h, so that all other sources are the same to every compiler."""

import pathlib
import re
import sys

FOLDERS = ["common", "interpolation", "meshmapping", "resultmapping", "opensuite", "tools", "platform", "include"]
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
    errors, files = [], 0
    for folder in FOLDERS:
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in {".h", ".cpp"}:
                continue
            files += 1
            name = source.relative_to(root).as_posix()
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                for word in WORDS.findall(line.split("// ")[0]):
                    if name not in ALLOWED or not ALLOWED[name].fullmatch(word):
                        errors.append(f"{name}:{number}: {line.strip()}")
    print("\n".join(errors) or f"{files} files leave what differs between compilers to common/compiler.h")
    return 1 if errors or files == 0 else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
