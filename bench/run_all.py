#!/usr/bin/env python3
"""Runs every benchmark and prints one table: each figure of the library beside
the peer measured in the same run (KDL for kinematics and IK, the raw socket for
the wire, FCL for collision, the dense reference for the QP), the ratio, the
target and whether it is met.

    python3 bench/run_all.py                  # configure, build and run in build-bench/
    python3 bench/run_all.py --build-dir DIR  # reuse a tree configured with ZQ_BUILD_BENCH=ON
    python3 bench/run_all.py --no-build       # run what DIR already holds
    python3 bench/run_all.py --quick          # tiny samples: checks that every figure is still read

Times of the micro-benchmarks are CPU times, medians over repetitions; their
spread (largest coefficient of variation) is printed as the noise. Latencies of
the wire are wall-clock percentiles. The load average before and after the run
tells how busy the machine was.
"""
import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

MODEL = {0: "ZQ41", 1: "ZQ52", 3: "ZQL36", 4: "ZQL36III", 5: "VDA41", 6: "VDA26", 7: "HTR27", 8: "VDA36",
         10: "KWBL37", 11: "KWBR37", 12: "MQL52", 13: "MQR52", 14: "KWBL47", 15: "KWBR47", 16: "MQL52II",
         17: "MQR52II"}
SIX_JOINTS = {0, 3, 4, 5, 6, 8}
GENERAL_CHAIN = {10, 11, 12, 13, 14, 15, 16, 17}

rows = []      # (area, case, ours, peer, ratio, target, met)
noise = []     # coefficient of variation of each repeated micro-benchmark


def row(area, case, ours, peer, ratio, target, met):
    rows.append((area, case, ours, peer, ratio, target, "yes" if met else "NO"))


def run(build, name, *args, timeout=900, env=None):
    exe = os.path.join(build, "bench", name)
    if not os.access(exe, os.X_OK):
        print(f"  ({name} not built, skipped)", file=sys.stderr)
        return None
    t0 = time.time()
    out = subprocess.run([exe, *args], capture_output=True, text=True, timeout=timeout,
                         env={**os.environ, **(env or {})})
    print(f"  {name} {' '.join(args)} {' '.join(f'{k}={v}' for k, v in (env or {}).items())}:"
          f" {time.time() - t0:.0f} s", file=sys.stderr)
    if out.returncode != 0:
        print(out.stdout[-2000:] + out.stderr[-2000:], file=sys.stderr)
        raise SystemExit(f"{name} failed with {out.returncode}")
    return out.stdout


def gbench(build, name, reps, *extra, env=None):
    """Google Benchmark runs as {name: {"cpu_ns", "real_ns", counters...}}, medians over reps."""
    args = ["--benchmark_format=json", *extra]
    if reps > 1:
        args += [f"--benchmark_repetitions={reps}", "--benchmark_report_aggregates_only=true"]
    text = run(build, name, *args, env=env)
    if text is None:
        return {}
    result = {}
    for b in json.loads(text)["benchmarks"]:
        base = b.get("run_name", b["name"])
        base = re.sub(r"/(iterations|min_time|real_time|repeats).*$", "", base)
        agg = b.get("aggregate_name")
        if agg == "cv":
            noise.append(b["cpu_time"])
            continue
        if agg not in (None, "median"):
            continue
        scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}[b.get("time_unit", "ns")]
        entry = {"cpu_ns": b["cpu_time"] * scale, "real_ns": b["real_time"] * scale}
        for k, v in b.items():
            if isinstance(v, (int, float)) and k not in entry:
                entry[k] = v
        result[base] = entry
    return result


def arg_of(key):
    m = re.search(r"/(\d+)", key)
    return int(m.group(1)) if m else None


MIN_TIME = "--benchmark_min_time=0.2"


def kinematics(build, reps):
    r = gbench(build, "bench_kinematics", reps, MIN_TIME)
    for key, ours in sorted(r.items()):
        m = re.match(r"BM_(Forward|Jacobian)(OursExported|Ours)/(\d+)$", key)
        if not m:
            continue
        what, kind, arm = m.group(1), m.group(2), int(m.group(3))
        kdl = r.get(f"BM_{what}Kdl/{arm}")
        if not kdl:
            continue
        ratio = kdl["cpu_ns"] / ours["cpu_ns"]
        name = MODEL.get(arm, str(arm))
        chain = "general chain" if arm in GENERAL_CHAIN else "closed chain"
        exported = kind == "OursExported"
        if what == "Forward" and exported:
            target, met = ">=4x and <=100 ns", ratio >= 4 and (arm not in SIX_JOINTS or ours["cpu_ns"] <= 100)
        elif exported:
            target, met = ">=4x", ratio >= 4
        elif arm in GENERAL_CHAIN:
            target, met = ">=5x", ratio >= 5
        else:
            target, met = "-", True
        call = "exported call" if exported else "core"
        row(f"{what.lower()} kinematics", f"{name} ({chain}), {call}", f"{ours['cpu_ns']:.0f} ns",
            f"KDL {kdl['cpu_ns']:.0f} ns", f"{ratio:.1f}x", target, met)


IK_LINE = re.compile(r"^\s+(.+?)\s+(\d+)/(\d+)\s+([\d.]+)%(?:\s+([\d.]+) us/solve)?")


def ik(build, samples):
    text = run(build, "bench_ik", str(samples))
    if text is None:
        return
    model, dof, t = None, 0, {}

    def flush():
        if not model:
            return
        ours, kdl = t.get("ours, near reference"), t.get("KDL LMA, near reference")
        if ours and kdl and ours[1]:
            ratio = kdl[1] / ours[1]
            mode = "closed form" if dof == 6 else "traversal"
            target = "-" if dof == 6 else ">=10x, success >= KDL"
            met = dof == 6 or (ratio >= 10 and ours[0] >= kdl[0])
            row("inverse kinematics", f"{model} {mode}, near reference", f"{ours[1]:.1f} us {ours[0]:.1f}%",
                f"KDL LMA {kdl[1]:.1f} us {kdl[0]:.1f}%", f"{ratio:.1f}x", target, met)
        # Traversal success of the solver alone and with the rescue stages,
        # from a far reference, against KDL from the same reference.
        alone, ours, kdl = t.get("solver alone, far reference"), t.get("ours, far reference"), t.get("KDL LMA, far reference")
        if alone and ours and kdl:
            target = "success >= KDL" if dof == 7 else "-"
            row("inverse kinematics", f"{model} {'closed form' if dof == 6 else 'traversal'}, far reference, success",
                f"{ours[0]:.1f}% (solver alone {alone[0]:.1f}%)", f"KDL LMA {kdl[0]:.1f}%", "-", target,
                dof == 6 or ours[0] >= kdl[0])
        ours, kdl = t.get("ours tracking, path of 2 ms steps"), t.get("KDL LMA, same path, seeded")
        if ours and kdl and ours[1]:
            row("inverse kinematics", f"{model} tracking", f"{ours[1]:.1f} us {ours[0]:.1f}%",
                f"KDL LMA {kdl[1]:.1f} us {kdl[0]:.1f}%", f"{kdl[1] / ours[1]:.1f}x", "-", True)

    for line in text.splitlines():
        m = re.match(r"^(\S+) \((\d+) joints\)", line)
        if m:
            flush()
            model, dof, t = m.group(1), int(m.group(2)), {}
            continue
        m = IK_LINE.match(line)
        if m:
            t[m.group(1)] = (float(m.group(4)), float(m.group(5)) if m.group(5) else None)
    flush()


UNI_LINE = re.compile(r"^\s+(.+?)\s+(\d+)/(\d+)\s+([\d.]+)%\s+median\s+([\d.]+) us\s+p99\s+([\d.]+) us")


# Joint count: success (%), median and p99 (us) of the library's answer.
UNI_GOALS = {6: (99.5, 250, 600), 7: (99.5, 120, None), 5: (99, 2000, None)}


def ik_universal(build, targets):
    text = run(build, "bench_ik_universal", str(targets))
    if text is None:
        return
    arm, t = None, {}

    def flush():
        ours = next((v for k, v in t.items() if k.startswith("ours")), None)
        kdl = next((v for k, v in t.items() if "restarts" in k), None)
        if not (arm and ours and kdl):
            return
        ratio = kdl[1] / ours[1]
        row("iterative IK", arm, f"{ours[1]:.0f} us {ours[0]:.1f}%", f"KDL LMA+restarts {kdl[1]:.0f} us {kdl[0]:.1f}%",
            f"{ratio:.2f}x", ">=99%, >=3x", ours[0] >= 99 and ratio >= 3)
        # The solver alone and with the rescue stages: success, median and p99.
        alone = next((v for k, v in t.items() if k.startswith("solver alone")), None)
        goal = next((g for j, g in UNI_GOALS.items() if arm.startswith(f"universal, {j} joints")), None)
        if alone and goal:
            success, median, p99 = goal
            row("iterative IK", f"{arm}, solver alone", f"{alone[0]:.1f}% {alone[1]:.0f}/{alone[2]:.0f} us",
                f"KDL LMA+restarts {kdl[0]:.1f}% {kdl[1]:.0f}/{kdl[2]:.0f} us", f"{kdl[1] / alone[1]:.2f}x", "-", True)
            met = ours[0] >= success and ours[1] <= median and (p99 is None or ours[2] <= p99)
            target = f">={success}%, median <={median} us" + (f", p99 <={p99} us" if p99 else "")
            row("iterative IK", f"{arm}, with rescue", f"{ours[0]:.1f}% {ours[1]:.0f}/{ours[2]:.0f} us",
                f"KDL LMA+restarts {kdl[0]:.1f}% {kdl[1]:.0f}/{kdl[2]:.0f} us", f"{ratio:.2f}x", target, met)

    for line in text.splitlines():
        m = re.match(r"^(\S.*?), \d+ random reachable targets", line)
        if m:
            flush()
            arm, t = m.group(1), {}
            continue
        m = UNI_LINE.match(line)
        if m:
            t[m.group(1)] = (float(m.group(4)), float(m.group(5)), float(m.group(6)))
    flush()


def wire(build):
    # The library's query and the same bytes over a plain socket to the same
    # simulator alternate in one loop; the blocking move's return is timed from
    # the simulator's write of the completion push, beside a plain socket
    # reading the same push. The thread mode is chosen per process.
    for mode in ("1", "2"):
        env = {"ZQ_BENCH_MODE": mode}
        r = gbench(build, "bench_session", 1, "--benchmark_filter=BM_RunModeRoundTrip", env=env)
        for v in r.values():
            for q in ("p50", "p99"):
                over = v[f"over_{q}_us"]
                row("wire", f"query round trip, mode {mode}, {q}", f"{v[f'{q}_us']:.1f} us",
                    f"raw socket {v[f'raw_{q}_us']:.1f} us", f"+{over:.1f} us", "<=+5 us", over <= 5)
        r = gbench(build, "bench_motion", 1, "--benchmark_filter=BlockingMovej", env=env)
        for v in r.values():
            over = v["wire_p50_us"] - v["raw_p50_us"]
            row("wire", f"blocking move return after its push, mode {mode}, p50", f"{v['wire_p50_us']:.1f} us",
                f"raw socket read {v['raw_p50_us']:.1f} us", f"+{over:.1f} us", "<=+20 us", over <= 20)


def collision(build, reps):
    r = gbench(build, "bench_collision", reps, MIN_TIME)
    for key, ours in sorted(r.items()):
        m = re.match(r"BM_PairsOursLanes/model:(\d+)/tool:(\d)$", key)
        if m:
            fcl = r.get(key.replace("OursLanes", "Fcl"))
            if fcl:
                ratio = fcl["cpu_ns"] / ours["cpu_ns"]
                row("self-collision", f"{MODEL[int(m.group(1))]} pairs, tool {m.group(2)}", f"{ours['cpu_ns']:.0f} ns",
                    f"FCL {fcl['cpu_ns']:.0f} ns", f"{ratio:.1f}x", ">=3x", ratio >= 3)
        m = re.match(r"BM_SelfCollision(FullWalk)?/model:(\d+)/tool:(\d)$", key)
        if m:
            arm, tool = int(m.group(2)), int(m.group(3))
            what = "whole-arm check, free arm" if m.group(1) else "whole-arm check"
            limit = (450 if tool else 300) if arm == 0 else 1000
            row("self-collision", f"{MODEL[arm]} {what}, tool {tool}",
                f"{ours['cpu_ns']:.0f} ns", "-", "-", f"<={limit} ns", ours["cpu_ns"] <= limit)
        m = re.match(r"BM_SelfCollisionPath/model:(\d+)/tool:(\d)$", key)
        if m:
            arm, tool = int(m.group(1)), int(m.group(2))
            rate = ours.get("items_per_second", 0.0) / 1e6
            target, met = (">=4 M/s", rate >= 4) if arm == 0 and tool == 0 else ("-", True)
            row("self-collision", f"{MODEL[arm]} path, tool {tool}", f"{rate:.1f} M configs/s", "-", "-", target, met)


def qp(build):
    text = run(build, "bench_qp")
    if text is None:
        return
    step = re.search(r"zq_algo_ik_remote.*?median ([\d.]+) us, p99 ([\d.]+) us.*?allocations after warm-up: (\d+)", text)
    alone = re.search(r"QP alone.*?median ([\d.]+) us, p99 ([\d.]+) us", text)
    ref = re.search(r"dense active-set reference.*?median ([\d.]+) us.*?largest difference of x: ([\d.eE+-]+)", text)
    if step:
        row("QP IK", f"seven-joint teleoperation step ({step.group(3)} allocations after warm-up)",
            f"{float(step.group(1)):.1f} us", "-", "-", "-", True)
    if alone and ref:
        ratio = float(ref.group(1)) / float(alone.group(1))
        row("QP IK", f"box QP 7x14 (max |dx| {float(ref.group(2)):.1g})", f"{float(alone.group(1)):.1f} us",
            f"dense reference {float(ref.group(1)):.1f} us", f"{ratio:.1f}x", "-", True)


def build_tree(build):
    subprocess.run(["cmake", "-S", ROOT, "-B", build, "-DCMAKE_BUILD_TYPE=Release", "-DZQ_BUILD_BENCH=ON",
                    "-DZQ_BUILD_TESTS=OFF", "-DZQ_BUILD_PYTHON=OFF"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", build, "-j", str(os.cpu_count() or 2)], check=True,
                   stdout=subprocess.DEVNULL)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--build-dir", default=os.path.join(ROOT, "build-bench"))
    ap.add_argument("--no-build", action="store_true")
    ap.add_argument("--reps", type=int, default=5, help="repetitions of each micro-benchmark")
    ap.add_argument("--ik-samples", type=int, default=1000, help="random poses per six-joint model (a quarter for seven)")
    ap.add_argument("--universal-targets", type=int, default=500)
    ap.add_argument("--only", default="kinematics,ik,universal,wire,collision,qp")
    ap.add_argument("--quick", action="store_true", help="smallest samples, for checking the script itself")
    a = ap.parse_args()
    if a.quick:
        global MIN_TIME
        MIN_TIME = "--benchmark_min_time=0.01"
        a.reps, a.ik_samples, a.universal_targets = 1, 8, 4
    if not a.no_build:
        build_tree(a.build_dir)
    load0 = os.getloadavg()
    t0 = time.time()
    stages = {"kinematics": lambda: kinematics(a.build_dir, a.reps), "ik": lambda: ik(a.build_dir, a.ik_samples),
              "universal": lambda: ik_universal(a.build_dir, a.universal_targets), "wire": lambda: wire(a.build_dir),
              "collision": lambda: collision(a.build_dir, a.reps), "qp": lambda: qp(a.build_dir)}
    for name in a.only.split(","):
        before = len(rows)
        stages[name]()
        if len(rows) == before:
            raise SystemExit(f"no figure read from the {name} benchmarks: has their output changed?")
    load1 = os.getloadavg()

    head = ("area", "case", "ours", "peer, same run", "ratio", "target", "met")
    width = [max(len(str(x[i])) for x in rows + [head]) for i in range(len(head))]
    line = lambda cells: "  ".join(str(c).ljust(w) for c, w in zip(cells, width)).rstrip()
    print(line(head))
    print(line(["-" * w for w in width]))
    for r in rows:
        print(line(r))
    missed = sum(r[6] == "NO" for r in rows)
    print(f"\n{len(rows)} figures, {missed} targets missed; run took {time.time() - t0:.0f} s on {os.cpu_count()} cores,"
          f" load average {load0[0]:.2f} before, {load1[0]:.2f} after")
    if noise:
        print(f"noise: repeated micro-benchmarks vary by {100 * statistics.median(noise):.1f}% (median CV),"
              f" {100 * max(noise):.1f}% at most")


if __name__ == "__main__":
    main()
