#!/usr/bin/env python3
"""Runs every benchmark program and prints one table.

Naming convention of the benchmarks (Google Benchmark names split at '/'):
one component names the implementation: ours ("xvosc", or a SIMD level such
as "scalar", "sse2", "avx2") or a peer ("spandsp", "fftw", "speexdsp",
"bcg729", "ref"); the rest names the kernel and its size. A benchmark of a
codec stage sets the counter "frame_ns": the audio duration one iteration
processes, in nanoseconds; the report then shows channels per core
(frame duration / time per frame).
"""
import glob
import json
import os
import subprocess
import sys
import tempfile

PEERS = {"spandsp", "fftw", "speexdsp", "bcg729", "ref", "webrtc"}
OURS = {"xvosc", "scalar", "sse2", "sse41", "sse4.1", "avx2", "simd", "vector"}
UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(prog, min_time):
    # Some programs print their own comparison tables on stdout, so the JSON
    # goes to a file of its own.
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        subprocess.run([prog, f"--benchmark_out={out.name}", "--benchmark_out_format=json",
                        f"--benchmark_min_time={min_time}"],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        with open(out.name) as f:
            return json.load(f)["benchmarks"]


def split(name):
    parts = [p for p in name.split("/") if not p.startswith("repeats:")]
    impl = next((p for p in parts if p.lower() in PEERS | OURS), None)
    if impl is None:
        # An implementation named as the prefix of the first component
        # ("XvoscEncode", "SpandspEncode").
        head = parts[0].lower()
        pre = next((i for i in sorted(PEERS | OURS, key=len, reverse=True) if head.startswith(i)), None)
        if pre and len(head) > len(pre):
            parts[0] = parts[0][len(pre):]
            return "/".join(parts), pre
        return "/".join(parts), "xvosc"
    key = "/".join(p for p in parts if p != impl)
    return key, impl.lower()


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build"
    min_time = os.environ.get("BENCH_MIN_TIME", "0.2")
    rows = {}
    for prog in sorted(glob.glob(os.path.join(build, "bench", "bench_*"))):
        if not os.access(prog, os.X_OK) or prog.endswith((".cmake", ".py")):
            continue
        for b in run(prog, min_time):
            name = b["name"]
            if b.get("run_type") == "aggregate":
                # Programs that report only aggregates: take the fastest repetition.
                if b.get("aggregate_name") != "min":
                    continue
                name = b["run_name"]
            key, impl = split(name)
            ns = b["real_time"] * UNIT.get(b.get("time_unit", "ns"), 1.0)
            rows.setdefault(os.path.basename(prog), {}).setdefault(key, {})[impl] = (ns, b.get("frame_ns"))
    print(f"{'benchmark':58} {'ours ns':>11} {'impl':>7} {'peer':>9} {'peer ns':>11} {'peer/ours':>9} {'ch/core':>9}")
    for prog, table in rows.items():
        print(f"-- {prog}")
        for key, impls in table.items():
            ours = [(ns, i, f) for i, (ns, f) in impls.items() if i in OURS]
            if not ours:
                # A peer measured once per size, ours per variant ("rate:8000" vs
                # "rate:8000/level:2"): compare with our fastest variant.
                ours = [(ns, i, f) for k, v in table.items() if k.startswith(key + "/")
                        for i, (ns, f) in v.items() if i in OURS]
            peers = [(ns, i, f) for i, (ns, f) in impls.items() if i in PEERS]
            best = min(ours) if ours else None
            line = f"{key[:58]:58} "
            line += f"{best[0]:11.1f} {best[1]:>7} " if best else f"{'':11} {'':>7} "
            if peers:
                pns, pname, _ = min(peers)
                line += f"{pname:>9} {pns:11.1f} "
                line += f"{pns / best[0]:9.2f} " if best else f"{'':9} "
            else:
                line += f"{'':>9} {'':11} {'':9} "
            frame = best[2] if best else None
            if frame:
                line += f"{frame / best[0]:9.0f}"
            print(line.rstrip())
            # SIMD twins: show the speed-up over the scalar path.
            if "scalar" in impls and best and best[1] != "scalar":
                print(f"{'':4}{'speed-up over scalar':54} {impls['scalar'][0] / best[0]:11.2f}x")


if __name__ == "__main__":
    main()
