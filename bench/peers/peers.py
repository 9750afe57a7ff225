#!/usr/bin/python3
"""Open-source LP solvers on the netlib files, for comparison with bench_simplex.

For each problem: CLP's dual simplex (clp), GLPK's dual simplex (glpsol) and HiGHS's dual
simplex (scipy.optimize.linprog, method 'highs-ds'), each with presolve off. Prints one row per
problem with status, objective, iterations and time of each, the geometric means, and, when a
bench_simplex output file is given, the merged table of ours against HiGHS and CLP.

  peers.py [--time-limit S] [--ours FILE] [--no-glpk] DATA_DIR [names...]

The peers are only run and timed here; nothing of theirs is used in the library.
"""
import gzip
import math
import os
import re
import subprocess
import sys
import time

import numpy as np
import scipy.sparse as sp
from scipy.optimize import linprog

INF = float("inf")


def mps_fields(line):
    """Fields of a data line: the fixed columns when the gaps between them are blank (names
    may then hold blanks), else split on blanks."""
    cols = [(1, 3), (4, 12), (14, 22), (24, 36), (39, 47), (49, 61)]
    gaps = [(3, 4), (12, 14), (22, 24), (36, 39), (47, 49)]
    padded = line.ljust(61)
    if len(line) <= 61 and all(not padded[a:b].strip() for a, b in gaps):
        return [line[a:b].strip() for a, b in cols if line[a:b].strip()]
    return line.split()


def read_mps(path):
    """A fixed-format MPS file: min c'x + c0, rl <= Ax <= ru, xl <= x <= xu."""
    opener = gzip.open if path.endswith(".gz") else open
    rows, rtype, obj = {}, [], None
    cols, cost = {}, []
    ai, aj, av = [], [], []
    rhs, rng, bnds = {}, {}, []
    c0 = 0.0
    section = None
    with opener(path, "rt") as f:
        for line in f:
            line = line.rstrip("\r\n")
            if not line.strip() or line.startswith("*"):
                continue
            if not line[0].isspace():
                section = line.split()[0]
                if section == "ENDATA":
                    break
                continue
            t = mps_fields(line)
            if section == "ROWS":
                kind, name = t[0], t[1]
                if kind == "N":
                    if obj is None:
                        obj = name
                    continue
                rows[name] = len(rtype)
                rtype.append(kind)
            elif section == "COLUMNS":
                if "'MARKER'" in t:
                    continue
                cname = t[0]
                if cname not in cols:
                    cols[cname] = len(cost)
                    cost.append(0.0)
                j = cols[cname]
                for k in range(1, len(t) - 1, 2):
                    r, v = t[k], float(t[k + 1])
                    if r == obj:
                        cost[j] += v
                    elif r in rows:
                        ai.append(rows[r]); aj.append(j); av.append(v)
            elif section in ("RHS", "RANGES"):
                start = 1 if len(t) % 2 == 1 else 0
                for k in range(start, len(t) - 1, 2):
                    r, v = t[k], float(t[k + 1])
                    if section == "RHS":
                        if r == obj:
                            c0 = -v
                        elif r in rows:
                            rhs[rows[r]] = v
                    elif r in rows:
                        rng[rows[r]] = v
            elif section == "BOUNDS":
                kind = t[0]
                if kind in ("FR", "MI", "PL", "BV"):
                    cname, val = t[-1], None  # type [set] column
                else:
                    cname, val = t[-2], float(t[-1])  # type [set] column value
                bnds.append((kind, cols[cname], val))
    m, n = len(rtype), len(cost)
    A = sp.csr_matrix((av, (ai, aj)), shape=(m, n))
    rl, ru = np.full(m, -INF), np.full(m, INF)
    for i, kind in enumerate(rtype):
        b = rhs.get(i, 0.0)
        if kind == "E":
            rl[i] = ru[i] = b
            if i in rng:
                if rng[i] >= 0:
                    ru[i] = b + abs(rng[i])
                else:
                    rl[i] = b - abs(rng[i])
        elif kind == "L":
            ru[i] = b
            if i in rng:
                rl[i] = b - abs(rng[i])
        elif kind == "G":
            rl[i] = b
            if i in rng:
                ru[i] = b + abs(rng[i])
    xl, xu = np.zeros(n), np.full(n, INF)
    for kind, j, v in bnds:
        if kind == "UP":
            xu[j] = v
        elif kind == "LO":
            xl[j] = v
        elif kind == "FX":
            xl[j] = xu[j] = v
        elif kind == "FR":
            xl[j], xu[j] = -INF, INF
        elif kind == "MI":
            xl[j] = -INF
        elif kind == "PL":
            xu[j] = INF
        elif kind == "BV":
            xl[j], xu[j] = 0.0, 1.0
    return np.array(cost), c0, A, rl, ru, xl, xu


def run_highs(path, tlim):
    c, c0, A, rl, ru, xl, xu = read_mps(path)
    eq = rl == ru
    up = (~eq) & np.isfinite(ru)
    lo = (~eq) & np.isfinite(rl)
    A_ub = sp.vstack([A[up], -A[lo]]).tocsr()
    b_ub = np.concatenate([ru[up], -rl[lo]])
    bounds = list(zip(np.where(np.isfinite(xl), xl, None), np.where(np.isfinite(xu), xu, None)))
    opts = {"presolve": False}
    if tlim > 0:
        opts["time_limit"] = tlim
    t0 = time.perf_counter()
    res = linprog(c, A_ub=A_ub if A_ub.shape[0] else None, b_ub=b_ub if A_ub.shape[0] else None,
                  A_eq=A[eq] if eq.any() else None, b_eq=rl[eq] if eq.any() else None,
                  bounds=bounds, method="highs-ds", options=opts)
    secs = time.perf_counter() - t0
    status = {0: "optimal", 1: "limit", 2: "infeas", 3: "unbnd"}.get(res.status, "error")
    obj = res.fun + c0 if res.status == 0 else float("nan")
    return status, obj, int(getattr(res, "nit", 0) or 0), secs


def run_clp(path, tlim):
    cmd = ["clp", path, "-presolve", "off"]
    if tlim > 0:
        cmd += ["-sec", str(tlim)]
    cmd += ["-dualsimplex"]
    t0 = time.perf_counter()
    out = subprocess.run(cmd, capture_output=True, text=True).stdout
    secs = time.perf_counter() - t0
    m = re.search(r"(Optimal|Primal infeasible|Dual infeasible|Stopped).*?objective\s+(\S+)"
                  r"\s+-\s+(\d+) iterations time ([\d.]+)", out)
    if not m:
        return "error", float("nan"), 0, secs
    status = {"Optimal": "optimal", "Primal infeasible": "infeas", "Dual infeasible": "unbnd",
              "Stopped": "limit"}[m.group(1)]
    # CLP's own time excludes the read; it is what its iterations took.
    return status, float(m.group(2)), int(m.group(3)), float(m.group(4))


def run_glpk(path, tlim):
    out, secs = "", 0.0
    # Fixed format first (names with blanks need it); the files that are not in fixed columns
    # (the qap ones) are read in free format.
    for fmt in ("--mps", "--freemps"):
        cmd = ["glpsol", fmt, path, "--nopresol", "--dual", "--min"]
        if tlim > 0:
            cmd += ["--tmlim", str(int(max(1, tlim)))]
        t0 = time.perf_counter()
        out = subprocess.run(cmd, capture_output=True, text=True).stdout
        secs = time.perf_counter() - t0
        if "MPS file processing error" not in out:
            break
    its = re.findall(r"^[ *#]\s*(\d+): obj =\s*(\S+)", out, re.M)
    tm = re.search(r"Time used:\s+([\d.]+) secs", out)
    status = "error"
    if "OPTIMAL LP SOLUTION FOUND" in out:
        status = "optimal"
    elif "NO PRIMAL FEASIBLE SOLUTION" in out or "PROBLEM HAS NO PRIMAL FEASIBLE" in out:
        status = "infeas"
    elif "TIME LIMIT EXCEEDED" in out:
        status = "limit"
    obj = float(its[-1][1]) if its and status == "optimal" else float("nan")
    # glpsol's own timer has a 0.1 s resolution; the wall time below includes the read.
    return status, obj, int(its[-1][0]) if its else 0, float(tm.group(1)) if tm else secs


def geomean(v, shift):
    v = [x for x in v if x is not None]
    if not v:
        return float("nan")
    return math.exp(sum(math.log(x + shift) for x in v) / len(v)) - shift


def read_ours(path):
    """name -> (status, objective, iterations, seconds) from a bench_simplex table."""
    out = {}
    for line in open(path):
        t = line.split()
        if len(t) >= 8 and re.match(r"^-?\d", t[4]) and t[6].isdigit():
            out[t[0]] = (t[3], float(t[4]), int(t[6]), float(t[7]))
    return out


def main(argv):
    tlim, ours_file, use_glpk = 60.0, None, True
    args = []
    i = 0
    while i < len(argv):
        if argv[i] == "--time-limit":
            tlim = float(argv[i + 1]); i += 2
        elif argv[i] == "--ours":
            ours_file = argv[i + 1]; i += 2
        elif argv[i] == "--no-glpk":
            use_glpk = False; i += 1
        else:
            args.append(argv[i]); i += 1
    if not args:
        print(__doc__)
        return 2
    data, names = args[0], args[1:]
    if not names:
        names = sorted(f[:-7] for f in os.listdir(data) if f.endswith(".mps.gz"))
    peers = [("highs", run_highs), ("clp", run_clp)] + ([("glpk", run_glpk)] if use_glpk else [])
    res = {}
    hdr = "%-10s" % "name" + "".join(" | %-7s %16s %7s %8s" % (p, "objective", "iter", "time")
                                     for p, _ in peers)
    print(hdr)
    for name in names:
        path = os.path.join(data, name + ".mps.gz")
        row = {}
        for p, fn in peers:
            try:
                row[p] = fn(path, tlim)
            except Exception as e:  # a peer that cannot read a file is reported, not fatal
                row[p] = ("error", float("nan"), 0, 0.0)
                print("  %s on %s: %s" % (p, name, e), file=sys.stderr)
        res[name] = row
        print("%-10s" % name + "".join(" | %-7s %16.9e %7d %8.3f" % row[p] for p, _ in peers),
              flush=True)
    print("\ngeometric means (time shifted by 1 ms, iterations by 1):")
    for p, _ in peers:
        ts = [res[n][p][3] for n in names]
        its = [res[n][p][2] for n in names]
        nopt = sum(res[n][p][0] == "optimal" for n in names)
        print("  %-6s optimal %3d  time %.4f s  iterations %.1f" % (p, nopt, geomean(ts, 1e-3),
                                                                  geomean(its, 1.0)))
    if ours_file:
        ours = read_ours(ours_file)
        print("\nours vs HiGHS vs CLP (ratio: ours over the faster peer)")
        print("%-10s %-8s %9s %8s | %9s %8s | %9s %8s | %7s %7s" % (
            "name", "status", "time", "iter", "highs t", "iter", "clp t", "iter", "t ratio",
            "it ratio"))
        common, tr, ir = [], [], []
        for n in names:
            if n not in ours:
                continue
            o, h, c = ours[n], res[n]["highs"], res[n]["clp"]
            fast = h if h[3] <= c[3] else c
            t_ratio = (o[3] + 1e-3) / (fast[3] + 1e-3)
            i_ratio = (o[2] + 1.0) / (fast[2] + 1.0)
            tr.append(t_ratio); ir.append(i_ratio); common.append(n)
            print("%-10s %-8s %9.3f %8d | %9.3f %8d | %9.3f %8d | %7.2f %7.2f" % (
                n, o[0], o[3], o[2], h[3], h[2], c[3], c[2], t_ratio, i_ratio))
        if common:
            print("geometric mean over %d problems: ours %.4f s / %.1f it, highs %.4f s / %.1f it,"
                  " clp %.4f s / %.1f it; ratio to the faster peer: time %.2f, iterations %.2f" % (
                      len(common), geomean([ours[n][3] for n in common], 1e-3),
                      geomean([ours[n][2] for n in common], 1.0),
                      geomean([res[n]["highs"][3] for n in common], 1e-3),
                      geomean([res[n]["highs"][2] for n in common], 1.0),
                      geomean([res[n]["clp"][3] for n in common], 1e-3),
                      geomean([res[n]["clp"][2] for n in common], 1.0),
                      math.exp(sum(map(math.log, tr)) / len(tr)),
                      math.exp(sum(map(math.log, ir)) / len(ir))))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
