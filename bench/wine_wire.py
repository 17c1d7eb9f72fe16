#!/usr/bin/env python3
"""Query round trip and streaming rate of the Windows build under Wine, beside
the Linux build, in one run on one machine. Wine is not Windows: the figures
are for information, with no target.

    python3 bench/wine_wire.py [--windows build-windows] [--linux build-ci]

Builds bench_session and bench_motion in both trees (the Windows one with
Google Benchmark built from Debian's source package, scripts/windows_deps.sh)
and runs, per thread mode 1 and 2, the library's query against the in-process
simulator beside the same bytes over a plain socket, and the joint set-point
stream (zq_movej_canfd) to it.
"""
import argparse
import json
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TARGETS = ["bench_session", "bench_motion"]


def sh(*cmd, env=None, capture=False):
    full = dict(os.environ, **(env or {}))
    r = subprocess.run(cmd, cwd=ROOT, env=full, check=True, text=True,
                       stdout=subprocess.PIPE if capture else subprocess.DEVNULL)
    return r.stdout


def build(windows, linux, jobs):
    deps = sh("bash", "scripts/windows_deps.sh", windows, env={"ZQ_WINDOWS_BENCH": "1"},
              capture=True).strip().splitlines()[-1]
    tree = os.path.join(windows, "tree")
    sh("cmake", "-S", ".", "-B", tree, f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/mingw-w64.cmake",
       f"-DCMAKE_PREFIX_PATH={deps}", "-DCMAKE_BUILD_TYPE=Release", "-DZQ_BUILD_WIRE_BENCH=ON")
    sh("cmake", "--build", tree, f"-j{jobs}", "--target", *TARGETS)
    sh("cmake", "-S", ".", "-B", linux, "-DZQ_BUILD_BENCH=ON")
    sh("cmake", "--build", linux, f"-j{jobs}", "--target", *TARGETS)
    return tree


def gbench(program, filt, mode, wine_prefix=None):
    env = {"ZQ_BENCH_MODE": mode}
    cmd = [program, f"--benchmark_filter={filt}", "--benchmark_format=json"]
    if wine_prefix:
        env.update(WINEPREFIX=wine_prefix, WINEDEBUG="-all", WINEDLLOVERRIDES="mscoree,mshtml=")
        cmd = ["wine"] + cmd
    text = sh(*cmd, env=env, capture=True)
    return json.loads(text[text.index("{"):])["benchmarks"][0]


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--windows", default="build-windows")
    ap.add_argument("--linux", default="build-ci")
    ap.add_argument("--jobs", default=os.environ.get("ZQ_JOBS", "2"))
    ap.add_argument("--no-build", action="store_true")
    a = ap.parse_args()
    windows = os.path.abspath(a.windows)
    linux = os.path.abspath(a.linux)
    tree = os.path.join(windows, "tree") if a.no_build else build(windows, linux, a.jobs)
    prefix = os.path.join(windows, "wine")
    sides = [("Linux", lambda name: os.path.join(linux, "bench", name), None),
             ("Wine", lambda name: os.path.join(tree, name + ".exe"), prefix)]
    rows = []
    for mode in ("1", "2"):
        for side, path, wp in sides:
            q = gbench(path("bench_session"), "BM_RunModeRoundTrip", mode, wp)
            s = gbench(path("bench_motion"), "BM_MovejCanfdStream", mode, wp)
            rows.append((mode, side, q["p50_us"], q["p99_us"], q["raw_p50_us"], s["set_points_per_s"],
                         int(q["failures"] + s["failures"])))
    print(f"{'mode':<5}{'side':<7}{'query p50':>11}{'query p99':>11}{'raw p50':>10}{'stream':>14}{'fail':>6}")
    for mode, side, p50, p99, raw, rate, fail in rows:
        print(f"{mode:<5}{side:<7}{p50:>8.1f} us{p99:>8.1f} us{raw:>7.1f} us{rate / 1e3:>9.0f} k/s{fail:>6}")
    return 0 if all(r[-1] == 0 for r in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
