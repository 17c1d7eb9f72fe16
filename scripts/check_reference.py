#!/usr/bin/env python3
"""Checks that the reference covers the whole interface.

Every exported function of docs/abi/api_cpp.symbols (plain functions and the methods of the
service classes) must appear in the API reference that Doxygen makes of the public headers,
with a description of its own; and every public method and function of the Python package
must have a docstring beyond its signature. The first one missing fails the check.

  scripts/check_reference.py BUILD_DIR [--python INTERPRETER]

BUILD_DIR holds the built Python package (BUILD_DIR/python/zq); Doxygen's XML goes to
BUILD_DIR/reference.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ET

ROOT = pathlib.Path(__file__).resolve().parent.parent
SYMBOLS = ROOT / "docs" / "abi" / "api_cpp.symbols"

DOXYFILE = """PROJECT_NAME = api_cpp
OUTPUT_DIRECTORY = {out}
INPUT = {inputs}
OPTIMIZE_OUTPUT_FOR_C = YES
EXTRACT_ALL = NO
ENABLE_PREPROCESSING = YES
MACRO_EXPANSION = YES
PREDEFINED = ZQ_API=
GENERATE_HTML = NO
GENERATE_LATEX = NO
GENERATE_XML = YES
XML_PROGRAMLISTING = NO
QUIET = YES
WARNINGS = NO
"""


def fail(message):
    print(f"check_reference: {message}", file=sys.stderr)
    sys.exit(1)


def exported():
    """(class or "", function name) of every exported function: the plain functions first, whose
    comments the methods repeat, then the methods, each in the list's order."""
    out = []
    for line in SYMBOLS.read_text().splitlines():
        name = line.split(" ", 1)[1].strip() if " " in line else line.strip()
        scope, _, name = name.partition("(")[0].rpartition("::")
        if name and (scope, name) not in out:
            out.append((scope, name))
    return sorted(out, key=lambda s: s[0] != "")


def own_text(element):
    """The text of a description, less its parameter and result lists."""
    if element is None:
        return ""
    parts = []

    def walk(e):
        if e.tag in ("parameterlist", "simplesect"):
            return
        parts.append(e.text or "")
        for child in e:
            walk(child)
            parts.append(child.tail or "")

    walk(element)
    return " ".join("".join(parts).split())


def reference(build):
    """(class or "", name) -> [description of each declaration] from Doxygen's XML."""
    out_dir = build / "reference"
    shutil.rmtree(out_dir, ignore_errors=True)
    out_dir.mkdir(parents=True)
    inputs = sorted(str(p) for p in (ROOT / "include").glob("zq_*.h"))
    (out_dir / "Doxyfile").write_text(DOXYFILE.format(out=out_dir, inputs=" ".join(inputs)))
    run = subprocess.run(["doxygen", str(out_dir / "Doxyfile")], capture_output=True, text=True)
    if run.returncode != 0:
        fail("doxygen failed:\n" + run.stderr)
    found, seen = {}, set()
    for path in sorted((out_dir / "xml").glob("*.xml")):
        root = ET.parse(path).getroot()
        for compound in root.iter("compounddef"):
            scope = compound.findtext("compoundname") if compound.get("kind") in ("class", "struct") else ""
            for member in compound.iter("memberdef"):
                if member.get("kind") != "function" or member.get("id") in seen:
                    continue
                seen.add(member.get("id"))
                text = own_text(member.find("briefdescription")) or own_text(member.find("detaileddescription"))
                found.setdefault((scope, member.findtext("name")), []).append(text)
    return found


PYTHON_CHECK = r"""
import inspect, re, sys
import zq

def scopes():
    yield "zq", zq
    yield "zq.algo", zq.algo
    yield "zq.qp", zq.qp
    for name in sorted(set(zq.__all__)):
        obj = getattr(zq, name)
        if inspect.isclass(obj) and not issubclass(obj, BaseException):
            yield "zq." + name, obj

checked = 0
for label, owner in scopes():
    for name, value in vars(owner).items():
        if name.startswith("_") or not inspect.isroutine(getattr(owner, name)):
            continue
        doc = getattr(owner, name).__doc__ or ""
        first, _, rest = doc.partition("\n")
        text = rest if re.match(re.escape(name) + r"\(", first) else doc
        if not text.strip():
            print(f"{label}.{name} has no docstring beyond its signature")
            sys.exit(1)
        checked += 1
if not re.fullmatch(r"\d+\.\d+\.\d+", getattr(zq, "__version__", "")):
    print("zq.__version__ is missing or not a version")
    sys.exit(1)
print(checked)
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--python", default="/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable)
    args = parser.parse_args()

    found = reference(args.build.resolve())
    symbols = exported()
    for scope, name in symbols:
        label = f"{scope}::{name}" if scope else name
        if (scope, name) not in found:
            fail(f"{label} is exported but not in the reference (a header without a file comment?)")
        if not all(found[(scope, name)]):
            fail(f"{label} has no description in the reference: give its declaration a comment")

    env = dict(os.environ, PYTHONPATH=str(args.build.resolve() / "python"))
    run = subprocess.run([args.python, "-c", PYTHON_CHECK], capture_output=True, text=True, env=env)
    if run.returncode != 0:
        fail(run.stdout.strip() or run.stderr.strip())
    print(f"check_reference: {len(symbols)} exported functions described, "
          f"{run.stdout.strip()} Python methods and functions with docstrings")


if __name__ == "__main__":
    main()
