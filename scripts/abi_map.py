#!/usr/bin/env python3
"""The export map of libapi_cpp.so, cmake/api_cpp.map, from the public headers.

Every `ZQ_API` function declared in include/*.h is one line of the version
node, one C symbol per line ending in ';' under 'global:'; the two service
classes follow in one extern "C++" block; everything else is local.

    scripts/abi_map.py --write   rewrite the map from the headers
    scripts/abi_map.py --check   fail when the map and the headers differ
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAP = ROOT / "cmake" / "api_cpp.map"
NODE = "API_CPP_1"
CLASSES = ("ZQ_Service", "ZQ_Internal")
SYMBOL_LINE = re.compile(r"^    (zq_[A-Za-z0-9_]+);$")


def declared():
    names = set()
    for header in sorted((ROOT / "include").glob("*.h")):
        text = header.read_text()
        text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
        text = re.sub(r"//[^\n]*", " ", text)
        names.update(re.findall(r"\bZQ_API\b[^;{}()]*?\b(zq_[A-Za-z0-9_]+)\s*\(", text))
    return sorted(names)


def render(names):
    lines = [
        "/* Export map of libapi_cpp.so, written by scripts/abi_map.py from the public",
        " * headers (rerun it after adding or removing a ZQ_API function).",
        " * One version node for the present interface. Under 'global:' each C symbol",
        " * stands alone on its line, indented four spaces and ended by ';'; the service",
        " * classes follow in the extern \"C++\" block; everything else is local. */",
        f"{NODE} {{",
        "  global:",
    ]
    lines += [f"    {n};" for n in names]
    lines += ['    extern "C++" {'] + [f"      {c}::*;" for c in CLASSES] + ["    };", "  local:", "    *;", "};"]
    return "\n".join(lines) + "\n"


def in_map():
    return sorted(m.group(1) for line in MAP.read_text().splitlines() if (m := SYMBOL_LINE.match(line)))


def main():
    mode = sys.argv[1] if len(sys.argv) > 1 else "--check"
    names = declared()
    if mode == "--write":
        MAP.write_text(render(names))
        print(f"abi_map: {MAP.relative_to(ROOT)} written, {len(names)} C symbols")
        return 0
    if mode == "--list":
        print("\n".join(names))
        return 0
    if MAP.read_text() == render(names):
        print(f"abi_map: the map exports the {len(names)} functions of the headers")
        return 0
    have = set(in_map())
    for n in names:
        if n not in have:
            print(f"abi_map: {n} is declared ZQ_API but not in {MAP.relative_to(ROOT)}", file=sys.stderr)
    for n in sorted(have - set(names)):
        print(f"abi_map: {n} is in {MAP.relative_to(ROOT)} but no header declares it", file=sys.stderr)
    print("abi_map: rewrite the map with: python3 scripts/abi_map.py --write", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())
