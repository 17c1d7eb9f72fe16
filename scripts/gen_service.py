#!/usr/bin/env python3
"""Generates the ZQ_Service and ZQ_Internal classes from the public headers.

Every `ZQ_API` function whose name begins with `zq_` in include/zq_*.h gets a
static method of the same name and signature that forwards to it. The few
methods that differ are described by the tables below. Output:

  include/zq_service.h       the public C++ header of both classes
  src/service/service.cpp    their definitions (the forwarding)
  src/service/service_list.h the list of functions, for compile-time checks

  scripts/gen_service.py           rewrites the three files
  scripts/gen_service.py --check   fails when they differ from a fresh run
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = ROOT / "include" / "zq_service.h"
SOURCE = ROOT / "src" / "service" / "service.cpp"
LIST = ROOT / "src" / "service" / "service_list.h"
GENERATED = {"zq_service.h", "zq_version.h"}

# Records that a method takes by value where its plain function takes a
# const pointer: the method passes the address of its own copy on.
BY_VALUE = {
    "zq_fence_config_t", "zq_waypoint_t", "zq_send_project_t", "zq_frame_t", "zq_pose_t",
    "zq_force_position_t", "zq_force_position_move_t", "zq_multi_drag_teach_t",
    "zq_electronic_fence_enable_t", "zq_envelope_balls_list_t", "zq_realtime_push_config_t",
    "zq_peripheral_read_write_params_t", "zq_modbus_rtu_read_params_t", "zq_modbus_rtu_write_params_t",
    "zq_modbus_tcp_read_params_t", "zq_modbus_tcp_write_params_t", "zq_dh_t",
}

# Plain functions without a method of their own name, and those whose method
# has another signature (written by hand below).
NO_METHOD = {"zq_set_DH_data", "zq_set_force_position_new", "zq_start_multi_drag_teach_new"}
REPLACED = {"zq_set_IO_mode", "zq_get_IO_state"}

# Hand-written methods: (declaration, body). They need their plain function.
SPECIAL = [
    ("zq_set_force_position_new",
     "int zq_set_force_position(zq_robot_handle* handle, zq_force_position_t param)",
     "return ::zq_set_force_position_new(handle, param);"),
    ("zq_start_multi_drag_teach_new",
     "int zq_start_multi_drag_teach(zq_robot_handle* handle, zq_multi_drag_teach_t param)",
     "return ::zq_start_multi_drag_teach_new(handle, param);"),
    ("zq_get_joint_software_version",
     "int zq_get_joint_software_version(zq_robot_handle* handle, int* version)",
     "zq_version_t scratch[16] = {};\n    return ::zq_get_joint_software_version(handle, version, scratch);"),
    ("zq_get_tool_software_version",
     "int zq_get_tool_software_version(zq_robot_handle* handle, int* version)",
     "zq_version_t scratch = {};\n    return ::zq_get_tool_software_version(handle, version, &scratch);"),
    ("zq_set_IO_mode",
     "int zq_set_IO_mode(zq_robot_handle* handle, int io_num, int io_mode, int io_speed_mode, int io_speed)",
     "zq_io_config_t config = {};\n    config.io_mode = io_mode;\n    config.io_speed = io_speed;\n"
     "    config.io_speed_mode = io_speed_mode;\n    return ::zq_set_IO_mode(handle, io_num, &config);"),
    ("zq_get_IO_state",
     "int zq_get_IO_state(zq_robot_handle* handle, int io_num, int* io_state, int* io_mode, int* io_speed_mode,\n"
     "                        int* io_speed)",
     "zq_io_get_t io = {};\n    const int rc = ::zq_get_IO_state(handle, io_num, &io);\n"
     "    if (io_state) *io_state = io.io_state;\n    if (io_mode) *io_mode = io.io_mode;\n"
     "    if (io_speed_mode) *io_speed_mode = io.io_speed_mode;\n    if (io_speed) *io_speed = io.io_speed;\n"
     "    return rc;"),
]

# The comments of the hand-written methods whose arguments differ from their plain function's
# (the others take the plain function's comment, these lines added).
SPECIAL_DOCS = {
    "zq_get_joint_software_version": ["This form passes a scratch text record of its own, for generation 3 callers."],
    "zq_get_tool_software_version": ["This form passes a scratch text record of its own, for generation 3 callers."],
}
SPECIAL_OWN_DOCS = {
    "zq_set_IO_mode": [
        "@brief Sets the mode of one controller IO port, from four integers.",
        "@param handle the arm.",
        "@param io_num the port, 0 to 4.",
        "@param io_mode 0 to 14 (the controller's numbering).",
        "@param io_speed_mode the realtime speed mode, sent in mode 14 only.",
        "@param io_speed the realtime speed, sent in mode 14 only.",
        "@return as the plain zq_set_IO_mode(): 1 with nothing sent for a port or mode out of range.",
    ],
    "zq_get_IO_state": [
        "@brief Reads the level and mode of one controller IO port into separate integers.",
        "@param handle the arm.",
        "@param io_num the port, 0 to 4.",
        "@param[out] io_state the level, 1 high; may be null.",
        "@param[out] io_mode the mode, 0 to 14; may be null.",
        "@param[out] io_speed_mode the realtime speed mode, -1 below mode 14; may be null.",
        "@param[out] io_speed the realtime speed, -1 below mode 14; may be null.",
        "@return as the plain zq_get_IO_state(); the values are copied out even when it failed.",
    ],
}

# ZQ_Internal: methods whose plain functions stay inside the library.
INTERNAL = [
    ("int", "zq_set_current_canfd_enable", "zq_robot_handle* handle, bool enable", "handle, enable"),
    ("int", "zq_get_current_canfd_enable", "zq_robot_handle* handle, bool* enable", "handle, enable"),
    ("int", "zq_current_canfd", "zq_robot_handle* handle, float* current", "handle, current"),
]
INTERNAL_DOCS = {
    "zq_set_current_canfd_enable": [
        "@brief Switches the streaming of joint currents on or off.",
        "@param handle the arm.",
        "@param enable true on.",
        "@return 0 or a common code; waits up to the query time-out.",
    ],
    "zq_get_current_canfd_enable": [
        "@brief Reads whether the streaming of joint currents is on.",
        "@param handle the arm.",
        "@param[out] enable receives true when on.",
        "@return 0 or a common code; -1 on an unknown controller generation. Waits up to the query",
        "        time-out.",
    ],
    "zq_current_canfd": [
        "@brief Streams one set of joint currents; asks first whether current streaming is on.",
        "@param handle the arm.",
        "@param current the arm's joint count of currents, in the controller's units.",
        "@return 0 once sent; -4 streaming is off (nothing sent); -1 unknown handle, joint count or",
        "        send failure. Waits up to the query time-out for the check on every call.",
    ],
}


def public_headers():
    api = ROOT / "include" / "zq_api.h"
    rest = sorted(p for p in (ROOT / "include").glob("zq_*.h") if p.name not in GENERATED and p != api)
    return [api] + rest


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.sub(r"//[^\n]*", " ", text)


def split_params(text):
    parts, depth, cur = [], 0, ""
    for ch in text:
        if ch in "([":
            depth += 1
        elif ch in ")]":
            depth -= 1
        if ch == "," and depth == 0:
            parts.append(cur.strip())
            cur = ""
        else:
            cur += ch
    if cur.strip():
        parts.append(cur.strip())
    return [] if parts == ["void"] else parts


DECL = re.compile(r"\bZQ_API\s+([^;{}()]*?)\b(zq_\w+)\s*\(([^;{}]*?)\)\s*;", re.S)


def declarations():
    seen, out = set(), []
    for path in public_headers():
        for m in DECL.finditer(strip_comments(path.read_text())):
            ret = " ".join(m.group(1).split())
            name = m.group(2)
            params = [" ".join(p.split()) for p in split_params(m.group(3))]
            if name in seen:
                sys.exit(f"gen_service: {name} declared twice")
            seen.add(name)
            out.append((path.name, ret, name, params))
    return out


# ---- the reference comments of the declarations ----

def doc_comments():
    """zq_ name -> the lines of the /** */ comment right before its declaration, without the
    comment marks (continuation indents kept); functions without one are absent."""
    docs = {}
    for path in public_headers():
        text = path.read_text()
        for m in re.finditer(r"^ZQ_API\b[^;]*?\b(zq_\w+)\s*\(", text, re.M):
            before = text[:m.start()].rstrip()
            start = before.rfind("/*")
            if not before.endswith("*/") or not before.startswith("/**", start):
                continue
            lines = [re.sub(r"^\s*\* ?", "", l, count=1) if l.strip().startswith("*") else l.strip()
                     for l in before[start + 3:-2].split("\n")]
            lines = [l.rstrip() for l in lines if not re.match(r"\s*@(ingroup|addtogroup)\b", l)]
            while lines and not lines[0].strip():
                lines.pop(0)
            while lines and not lines[-1].strip():
                lines.pop()
            docs[m.group(1)] = lines
    return docs


def parse_doc(lines):
    """A comment's parts: brief, further paragraphs, parameters (name, out?, text) and the
    results, each with its whitespace folded."""
    doc = {"brief": "", "details": [], "params": [], "return": ""}
    blocks, cur = [], None
    for line in lines + [""]:
        s = line.strip()
        if not s:
            if cur:
                blocks.append(cur)
            cur = None
        elif s.startswith("@") and not s.startswith("@{") and not s.startswith("@}"):
            if cur:
                blocks.append(cur)
            cur = [s]
        else:
            cur = (cur or [""]) + [s] if cur is None else cur + [s]
    for b in blocks:
        text = " ".join(x for x in b if x).strip()
        m = re.match(r"@param(\[(in|out|in,out)\])?\s+(\w+)\s*(.*)$", text, re.S)
        if m:
            doc["params"].append((m.group(3), m.group(2) in ("out", "in,out"), m.group(4)))
        elif re.match(r"@returns?\b", text):
            doc["return"] = re.sub(r"^@returns?\s*", "", text)
        elif text.startswith("@brief"):
            doc["brief"] = text[len("@brief"):].strip()
        elif not doc["brief"] and not text.startswith("@"):
            doc["brief"] = text
        else:
            doc["details"].append(re.sub(r"^@(note|details)\s*", "", text))
    return doc


def only_params(lines, names):
    """The comment lines less the @param blocks of parameters not in `names`."""
    out, skipping = [], False
    for line in lines:
        m = re.match(r"\s*@param(?:\[[\w,]+\])?\s+(\w+)", line)
        if m:
            skipping = m.group(1) not in names
        elif re.match(r"\s*@", line) or not line.strip():
            skipping = False
        if not skipping:
            out.append(line)
    return out


def c_comment(lines, indent):
    """A /** */ block of the comment's lines at `indent`."""
    body = "".join(f"{indent} * {l}".rstrip() + "\n" for l in lines)
    return f"{indent}/**\n{body}{indent} */\n"


def param_parts(param, index):
    """Type and name of one parameter; an unnamed one gets argN."""
    m = re.match(r"^(.*?[\s*&])(\w+)(\s*\[[^\]]*\])?$", param)
    if m and m.group(1).strip() and m.group(1).strip() not in ("const", "unsigned", "signed", "struct"):
        return m.group(1).strip(), m.group(2), m.group(3) or ""
    return param, f"arg{index}", ""


def method(ret, name, params):
    decl, args, changed = [], [], False
    for i, p in enumerate(params):
        typ, pname, arr = param_parts(p, i)
        m = re.match(r"^const (\w+)\s*\*$", typ)
        if m and m.group(1) in BY_VALUE and not arr:
            decl.append(f"{m.group(1)} {pname}")
            args.append(f"&{pname}")
            changed = True
        else:
            decl.append(f"{typ} {pname}{arr}".replace("* ", "* ").replace(" *", "*"))
            args.append(pname)
    sig = f"{ret} {name}({', '.join(decl)})"
    return sig, f"return ::{name}({', '.join(args)});", changed


def wrap(text, indent, width=110):
    """Breaks a declaration at commas to keep lines short."""
    if len(indent + text) <= width or "(" not in text:
        return indent + text
    head, _, rest = text.partition("(")
    parts = rest.split(", ")
    lines, cur = [], indent + head + "(" + parts[0]
    cont = " " * len(indent + head + "(")
    for p in parts[1:]:
        if len(cur) + 2 + len(p) > width:
            lines.append(cur + ",")
            cur = cont + p
        else:
            cur += ", " + p
    lines.append(cur)
    return "\n".join(lines)


BANNER = "// Generated by scripts/gen_service.py from the public headers: do not edit by hand.\n"


def method_doc(docs, plain, special=False):
    """The comment lines of a method that forwards to `plain` (a hand-written one: `special`)."""
    if special and plain in SPECIAL_OWN_DOCS:
        return SPECIAL_OWN_DOCS[plain]
    # A function without a comment gets a method without one: scripts/check_reference.py fails on it.
    return docs.get(plain, []) + ([""] + SPECIAL_DOCS[plain] if special and plain in SPECIAL_DOCS else [])


def generate():
    decls = declarations()
    docs = doc_comments()
    names = {d[2] for d in decls}
    for plain, *_ in SPECIAL:
        if plain not in names:
            sys.exit(f"gen_service: {plain} is not declared in a public header")
    same, changed_names, methods = [], [], []
    current = None
    for header, ret, name, params in decls:
        if header != current:
            methods.append(("comment", f"// {header}", None))
            current = header
        if name not in NO_METHOD | REPLACED:
            sig, body, changed = method(ret, name, params)
            methods.append((sig, body, method_doc(docs, name)))
            (changed_names if changed else same).append(name)
        for plain, sig, body in SPECIAL:
            if plain == name:
                methods.append((sig, body, method_doc(docs, plain, special=True)))
    specials = [plain for plain, *_ in SPECIAL]

    h = [BANNER, """/**
 * @file zq_service.h
 * @brief The C++ face of api_cpp: a static method for every exported function.
 *
 * ZQ_Service has one static method for each exported
 * zq_ function, of the same name, that forwards to it and returns what it
 * returns. The differences: records that a function takes by const pointer
 * are taken by value (the caller's record is never touched), zq_set_DH_data
 * has no method, the _new forms of zq_set_force_position and
 * zq_start_multi_drag_teach are overloads of the short names, the software
 * version queries have overloads without the text record, zq_set_IO_mode takes
 * four integers (mode, speed mode, speed) and zq_get_IO_state separate
 * pointers, any of them null.
 *
 * ZQ_Internal gives the switch and stream of joint currents, which have no
 * plain exported function.
 *
 * The classes have no fields: instances are free to make and share the
 * library's process-wide state.
 */
#ifndef ZQ_SERVICE_H
#define ZQ_SERVICE_H

#ifndef __cplusplus
#error "zq_service.h is a C++ header; C programs include zq_api.h"
#endif

#include "zq_api.h"

/** @brief One static method for each exported zq_ function, of the same name, forwarding to it. */
class ZQ_API ZQ_Service {
public:
"""]
    src = [BANNER, """// Forwarding of the service classes to the plain functions.
#include "zq_service.h"

#include "motion/stream.h"

"""]
    for sig, body, doc in methods:
        if sig == "comment":
            h.append(f"    {body}\n")
            continue
        if doc:
            names = [param_parts(p, i)[1] for i, p in enumerate(split_params(sig[sig.index("(") + 1:sig.rindex(")")]))]
            h.append(c_comment(only_params(doc, names), "    "))
        h.append(wrap("static " + sig + ";", "    ") + "\n")
        ret, _, rest = sig.partition(" zq_")
        src.append(wrap(f"{ret} ZQ_Service::zq_{rest}" + " {", "") + f"\n    {body}\n}}\n\n")
    h.append("};\n\n/** @brief The switch and stream of joint currents, which have no plain exported function. */\n"
             "class ZQ_API ZQ_Internal {\npublic:\n")
    for ret, name, params, args in INTERNAL:
        h.append(c_comment(INTERNAL_DOCS[name], "    "))
        h.append(f"    static {ret} {name}({params});\n")
        src.append(f"{ret} ZQ_Internal::{name}({params}) {{\n    return ::{name}({args});\n}}\n\n")
    h.append("};\n\n#endif /* ZQ_SERVICE_H */\n")

    lst = [BANNER, "// Every public function, by the shape of its method.\n#ifndef ZQ_SERVICE_LIST_H\n"
           "#define ZQ_SERVICE_LIST_H\n\n"]

    def xlist(macro, doc, items):
        lst.append(f"// {doc}\n#define {macro}(X)")
        for n in items:
            lst.append(f" \\\n    X({n})")
        lst.append("\n\n")

    xlist("ZQ_SERVICE_SAME", "Methods of exactly the plain function's signature.", same)
    xlist("ZQ_SERVICE_BY_VALUE", "Methods that take a const-pointer record by value.", changed_names)
    xlist("ZQ_SERVICE_SPECIAL", "Plain functions behind the hand-written overloads and forms.", sorted(set(specials)))
    xlist("ZQ_SERVICE_NONE", "Plain functions without a method of their own name.", sorted(NO_METHOD))
    xlist("ZQ_SERVICE_INTERNAL", "ZQ_Internal methods.", [n for _, n, _, _ in INTERNAL])
    lst.append("#endif  // ZQ_SERVICE_LIST_H\n")
    return {HEADER: "".join(h), SOURCE: "".join(src).rstrip("\n") + "\n", LIST: "".join(lst)}


def write_or_check(files, tool):
    """Writes the generated files that changed; with --check only names the
    stale ones and returns 1 if there are any."""
    if "--check" in sys.argv[1:]:
        stale = [p for p, text in files.items() if not p.exists() or p.read_text() != text]
        for p in stale:
            print(f"{tool}: {p.relative_to(ROOT)} is out of date; run scripts/{tool}.py", file=sys.stderr)
        return 1 if stale else 0
    for p, text in files.items():
        p.parent.mkdir(parents=True, exist_ok=True)
        if not p.exists() or p.read_text() != text:
            p.write_text(text)
    return 0


def main():
    return write_or_check(generate(), "gen_service")


if __name__ == "__main__":
    sys.exit(main())
