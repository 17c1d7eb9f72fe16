#!/usr/bin/env bash
# Checks api_cpp.dll from its own tables (objdump -p): it exports exactly the
# public interface listed in docs/abi/api_cpp.symbols (what libapi_cpp.so
# exports) plus the functions that cJSON's header declares, and it imports
# only system DLLs (the MinGW runtime is linked in).
#   scripts/check_dll.sh path/to/api_cpp.dll path/to/cjson/cJSON.h
set -euo pipefail
cd "$(dirname "$0")/.."
dll=${1:?usage: scripts/check_dll.sh api_cpp.dll cJSON.h}
cjson_header=${2:?usage: scripts/check_dll.sh api_cpp.dll cJSON.h}
objdump=${OBJDUMP:-x86_64-w64-mingw32-objdump}
cxxfilt=${CXXFILT:-x86_64-w64-mingw32-c++filt}
tables=$("$objdump" -p "$dll")

exports=$(printf '%s\n' "$tables" | sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\s*\[ *[0-9]*\] //p' |
          "$cxxfilt" | LC_ALL=C sort -u)
# va_list is a char pointer on 64-bit Windows.
expected=$(sed -E 's/^[A-Z] //; s/__va_list_tag\*/char*/g' docs/abi/api_cpp.symbols | LC_ALL=C sort -u)
if ! diff -u <(printf '%s\n' "$expected") <(printf '%s\n' "$exports" | grep -v '^cJSON_'); then
    echo "check_dll: the exports of $dll differ from docs/abi/api_cpp.symbols (- expected, + found)" >&2
    exit 1
fi
cjson_expected=$(sed -n 's/^CJSON_PUBLIC([^)]*)[ *]*\(cJSON_[A-Za-z0-9_]*\)(.*/\1/p' "$cjson_header" | LC_ALL=C sort -u)
if ! diff -u <(printf '%s\n' "$cjson_expected") <(printf '%s\n' "$exports" | grep '^cJSON_'); then
    echo "check_dll: the cJSON exports of $dll differ from the functions of $cjson_header" >&2
    exit 1
fi

# System DLLs only: the C runtime, the kernel, sockets and the multimedia timer.
imports=$(printf '%s\n' "$tables" | sed -n 's/^\s*DLL Name: //p' | LC_ALL=C sort -u)
allowed='^(KERNEL32|msvcrt|WS2_32|WINMM|ADVAPI32|USER32|ntdll|api-ms-win-[a-z0-9-]+)\.dll$'
if printf '%s\n' "$imports" | grep -viE "$allowed"; then
    echo "check_dll: $dll imports the DLLs above, which Windows does not have" >&2
    exit 1
fi
echo "check_dll: $(printf '%s\n' "$exports" | grep -vc '^cJSON_') functions and" \
     "$(printf '%s\n' "$exports" | grep -c '^cJSON_') of cJSON exported; imports" $imports
