// Speed and accuracy of the sparse LU and of the fill-reducing orderings.
//   1. Factorization and solves on basis-like matrices, beside dense LAPACK dgetrf/dgetrs.
//   2. Hyper-sparse solves with one-nonzero right-hand sides at growing dimension.
//   3. Cholesky fill of grid Laplacians under minimum degree and minimum local fill.
// Given the netlib directory as argument, also:
//   4. The optimal bases of netlib problems (found by the primal simplex) factored like table 1.
//   5. Cholesky fill of A A' of netlib matrices under both orderings.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "cpub/sysenv.h"
#include "lu/lu.h"
#include "order/order.h"
#include "telva.h"

extern "C" {
void dgetrf_(int* m, int* n, double* a, int* lda, int* ipiv, int* info);
void dgetrs_(const char* t, int* n, int* nrhs, double* a, int* lda, int* ipiv, double* b, int* ldb,
             int* info, size_t len);
}

using namespace telva;

namespace {

struct Csc {
  int32 n = 0;
  std::vector<int32> ptr{0}, sub;
  std::vector<double> val;
};

// A basis-like matrix: a fraction of slack columns, the others a strong entry on a permuted
// diagonal and k-1 random entries in [-1, 1]; rows and columns shuffled.
Csc basis_like(std::mt19937& rng, int32 n, int32 k, double slackfrac) {
  std::vector<int32> rp(n), cp(n);
  for (int32 i = 0; i < n; ++i)
    rp[i] = cp[i] = i;
  std::shuffle(rp.begin(), rp.end(), rng);
  std::shuffle(cp.begin(), cp.end(), rng);
  std::uniform_real_distribution<double> u(0.0, 1.0), v(-1.0, 1.0);
  std::uniform_int_distribution<int32> row(0, n - 1);
  std::vector<std::vector<std::pair<int32, double>>> cols(n);
  for (int32 j = 0; j < n; ++j) {
    auto& c = cols[cp[j]];
    c.push_back({rp[j], u(rng) < 0.5 ? -1.0 : 1.0});
    if (u(rng) < slackfrac) continue;
    c[0].second *= 2.0 + u(rng);
    while ((int32)c.size() < k) {
      int32 i = row(rng);
      bool dup = false;
      for (auto& e : c)
        dup |= e.first == i;
      if (!dup) c.push_back({i, v(rng)});
    }
  }
  Csc b;
  b.n = n;
  for (auto& c : cols) {
    for (auto& e : c)
      b.sub.push_back(e.first), b.val.push_back(e.second);
    b.ptr.push_back((int32)b.sub.size());
  }
  return b;
}

double residual(const Csc& b, const std::vector<double>& x, const std::vector<double>& rhs) {
  std::vector<double> r(rhs), rowsum(b.n, 0.0);
  for (int32 j = 0; j < b.n; ++j)
    for (int32 k = b.ptr[j]; k < b.ptr[j + 1]; ++k) {
      r[b.sub[k]] -= b.val[k] * x[j];
      rowsum[b.sub[k]] += std::fabs(b.val[k]);
    }
  double rn = 0, bn = 0, xn = 0;
  for (int32 i = 0; i < b.n; ++i) {
    rn = std::max(rn, std::fabs(r[i]));
    bn = std::max(bn, rowsum[i]);
    xn = std::max(xn, std::fabs(x[i]));
  }
  return rn / (bn * xn);
}

struct GeoMean {
  double logsum = 0;
  int count = 0;
  void add(double v) {
    if (v > 0) logsum += std::log(v), count++;
  }
  double get() const { return count ? std::exp(logsum / count) : 0.0; }
};

struct LuMeans {
  GeoMean fill, fac, sol, res, dfac, dsol, ratio;
  void print() const {
    std::printf("%-18s %8s %9s %10s %6.2f %9.3f %9.4f %9.1e | %9.3f %9.4f\n", "geometric mean", "",
                "", "", fill.get(), 1e3 * fac.get(), 1e3 * sol.get(), res.get(), 1e3 * dfac.get(),
                1e3 * dsol.get());
    std::printf("dense dgetrf time / sparse factor time, geometric mean where both ran: %.0f\n",
                ratio.get());
  }
};

void lu_header() {
  std::printf("%-18s %8s %9s %10s %6s %9s %9s %9s | %9s %9s %9s\n", "matrix", "n", "nnz(B)",
              "nnz(L+U)", "fill", "factor", "solve", "residual", "dgetrf", "dgetrs", "residual");
}

// Factors b (best of up to three runs), times one dense ftran and btran, checks the residual,
// and does the same with dense LAPACK where n allows; prints one row of the table.
void measure_lu(sysenv* sys, const char* name, const Csc& b, double tolrpiv, std::mt19937& rng,
                LuMeans* g) {
  lu* f = nullptr;
  lu_alloc(sys, b.n, b.n, &f);
  lu_settol(f, 2, tolrpiv);
  // The machine is shared: the best of up to three runs is reported.
  double tfac = 1e30, t0 = 0.0;
  int32 st = 0;
  for (int run = 0; run < 3 && (run == 0 || tfac < 1.0); ++run) {
    t0 = sysenv_seconds(sys);
    lu_putmatrix(f, b.ptr.data(), b.sub.data(), b.val.data());
    st = lu_factor(f);
    tfac = std::min(tfac, sysenv_seconds(sys) - t0);
  }
  if (st || !lu_isfactored(f)) {
    std::printf("%-18s %8d  factorization failed (%d)\n", name, b.n, st);
    lu_free(&f);
    return;
  }
  std::vector<double> rhs(b.n), x(b.n), y(b.n), tmp(b.n);
  std::uniform_real_distribution<double> u(-1, 1);
  for (auto& v : rhs)
    v = u(rng);
  int reps = std::max(1, 200000 / b.n);
  t0 = sysenv_seconds(sys);
  for (int r = 0; r < reps; ++r) {
    tmp = rhs;
    lu_ftran(f, tmp.data(), x.data());
    tmp = rhs;
    lu_btran(f, tmp.data(), y.data());
  }
  double tsol = (sysenv_seconds(sys) - t0) / reps;
  double res = residual(b, x, rhs);
  int64 nnz = (int64)b.sub.size(), nlu = lu_nzl(f) + lu_nzu(f) + b.n;
  double fill = (double)nlu / (double)nnz;
  std::printf("%-18s %8d %9ld %10ld %6.2f %9.3f %9.4f %9.1e |", name, b.n, (long)nnz, (long)nlu,
              fill, 1e3 * tfac, 1e3 * tsol, res);
  g->fill.add(fill);
  g->fac.add(tfac);
  g->sol.add(tsol);
  g->res.add(res);
  if (b.n <= 3000) {
    int n = b.n, lda = b.n, info = 0, one = 1;
    std::vector<double> a((size_t)n * n, 0.0);
    std::vector<int> ipiv(n);
    double tdf = 1e30;
    for (int run = 0; run < 3; ++run) {
      std::fill(a.begin(), a.end(), 0.0);
      for (int32 j = 0; j < n; ++j)
        for (int32 k = b.ptr[j]; k < b.ptr[j + 1]; ++k)
          a[(size_t)j * n + b.sub[k]] = b.val[k];
      t0 = sysenv_seconds(sys);
      dgetrf_(&n, &n, a.data(), &lda, ipiv.data(), &info);
      tdf = std::min(tdf, sysenv_seconds(sys) - t0);
    }
    std::vector<double> xd(rhs);
    t0 = sysenv_seconds(sys);
    dgetrs_("N", &n, &one, a.data(), &lda, ipiv.data(), xd.data(), &lda, &info, 1);
    std::vector<double> xt(rhs);
    dgetrs_("T", &n, &one, a.data(), &lda, ipiv.data(), xt.data(), &lda, &info, 1);
    double tds = sysenv_seconds(sys) - t0;
    std::printf(" %9.3f %9.4f %9.1e\n", 1e3 * tdf, 1e3 * tds, residual(b, xd, rhs));
    g->dfac.add(tdf);
    g->dsol.add(tds);
    g->ratio.add(tdf / tfac);
  } else {
    std::printf(" %9s %9s %9s\n", "-", "-", "-");
  }
  lu_free(&f);
}

void lu_table(sysenv* sys) {
  std::printf("\n1. Sparse LU on basis-like matrices (times in ms; solve = one dense ftran + one "
              "btran;\n   u = relative pivot tolerance, default 0.01; k = entries per structural "
              "column)\n\n");
  lu_header();
  struct Case {
    const char* name;
    int32 n, k;
    double slack;
    double tolrpiv = 0.01;
  };
  std::vector<Case> cases = {
      {"slack-heavy k=3", 1000, 3, 0.7},
      {"slack-heavy k=3", 3000, 3, 0.7},
      {"slack-heavy k=3", 10000, 3, 0.7},
      {"slack-heavy k=3", 100000, 3, 0.7},
      {"random k=2", 1000, 2, 0.1},
      {"random k=2", 3000, 2, 0.1},
      {"random k=2", 10000, 2, 0.1},
      {"random k=2", 100000, 2, 0.1},
      {"random k=3", 1000, 3, 0.1},
      {"random k=3", 3000, 3, 0.1},
      {"random k=3", 10000, 3, 0.1},
      {"random k=3 30%sl", 100000, 3, 0.3},
      {"random k=3 u=0.1", 1000, 3, 0.1, 0.1},
      {"random k=3 u=0.1", 3000, 3, 0.1, 0.1},
      {"random k=3 u=0.1", 10000, 3, 0.1, 0.1},
  };
  LuMeans means;
  std::mt19937 rng(2026);
  for (auto& c : cases) {
    Csc b = basis_like(rng, c.n, c.k, c.slack);
    measure_lu(sys, c.name, b, c.tolrpiv, rng, &means);
  }
  means.print();
}

void hypersparse_table(sysenv* sys) {
  std::printf("\n2. Hyper-sparse solves: right-hand side e_i, averages over 2000 random i "
              "(times in microseconds)\n\n");
  std::printf("%8s %9s %9s %11s %11s %11s %11s %11s\n", "n", "nnz(B)", "nnz(L+U)", "ftran nz",
              "sparse ft", "sparse bt", "dense ft", "factor ms");
  std::mt19937 rng(7);
  for (int32 n : {10000, 100000, 1000000}) {
    Csc b = basis_like(rng, n, 3, 0.9);
    lu* f = nullptr;
    lu_alloc(sys, n, n, &f);
    double t0 = sysenv_seconds(sys);
    lu_putmatrix(f, b.ptr.data(), b.sub.data(), b.val.data());
    lu_factor(f);
    double tfac = sysenv_seconds(sys) - t0;
    std::vector<double> val(n, 0.0), x(n, 0.0), y(n, 0.0);
    std::vector<int32> idx(n);
    const int reps = 2000;
    std::vector<int32> rows(reps);
    for (auto& r : rows)
      r = (int32)(rng() % n);
    double nzsum = 0, tft = 1e30, tbt = 1e30;
    // Best of five batches: the machine is shared.
    for (int batch = 0; batch < 5; ++batch) {
      nzsum = 0;
      double t0 = sysenv_seconds(sys);
      for (int32 r : rows) {
        val[r] = 1.0;
        idx[0] = r;
        int32 nz = 1;
        lu_ftransparse(f, &nz, idx.data(), val.data());
        nzsum += nz;
        for (int32 t = 0; t < nz; ++t)
          val[idx[t]] = 0.0;
      }
      tft = std::min(tft, (sysenv_seconds(sys) - t0) / reps);
      t0 = sysenv_seconds(sys);
      for (int32 r : rows) {
        val[r] = 1.0;
        idx[0] = r;
        int32 nz = 1;
        lu_btransparse(f, -1.0, &nz, idx.data(), val.data());
        for (int32 t = 0; t < nz; ++t)
          val[idx[t]] = 0.0;
      }
      tbt = std::min(tbt, (sysenv_seconds(sys) - t0) / reps);
    }
    int dreps = std::max(5, 2000000 / n);
    t0 = sysenv_seconds(sys);
    for (int d = 0; d < dreps; ++d) {
      x[rows[d % reps]] = 1.0;
      lu_ftran(f, x.data(), y.data());
    }
    double tdense = (sysenv_seconds(sys) - t0) / dreps;
    std::printf("%8d %9ld %9ld %11.1f %11.2f %11.2f %11.1f %11.1f\n", n, (long)b.sub.size(),
                (long)(lu_nzl(f) + lu_nzu(f) + n), nzsum / reps, 1e6 * tft, 1e6 * tbt, 1e6 * tdense,
                1e3 * tfac);
    lu_free(&f);
  }
}

void ordering_table(sysenv* sys) {
  std::printf("\n3. Cholesky factor of grid Laplacians: nnz(L) and flops by ordering\n\n");
  std::printf("%-14s %9s %12s %12s %12s %10s %12s %10s %8s\n", "grid", "n", "natural nz",
              "mindeg nz", "mindeg flop", "md ms", "minlocf nz", "lf flop", "lf ms");
  struct G {
    int32 x, y, z;
  };
  for (G g : {G{100, 100, 1}, G{300, 300, 1}, G{700, 700, 1}, G{20, 20, 20}, G{30, 30, 30},
              G{45, 45, 45}}) {
    int32 n = g.x * g.y * g.z;
    std::vector<int32> size(n, 0), rows;
    std::vector<int64> start(n + 1, 0);
    auto id = [&](int32 a, int32 b, int32 c) { return (c * g.y + b) * g.x + a; };
    for (int32 c = 0; c < g.z; ++c)
      for (int32 b = 0; b < g.y; ++b)
        for (int32 a = 0; a < g.x; ++a) {
          int32 j = id(a, b, c);
          start[j] = (int64)rows.size();
          if (a + 1 < g.x) rows.push_back(id(a + 1, b, c));
          if (b + 1 < g.y) rows.push_back(id(a, b + 1, c));
          if (c + 1 < g.z) rows.push_back(id(a, b, c + 1));
          size[j] = (int32)(rows.size() - start[j]);
        }
    start[n] = (int64)rows.size();
    int64 nznat = 0, nz[2] = {0, 0};
    double fl = 0, flops[2] = {0, 0}, ms[2] = {0, 0};
    if (n <= 100000)
      symord_count(sys, n, nullptr, size.data(), start.data(), rows.data(), &nznat, &fl);
    std::vector<int32> perm(n);
    for (int32 type : {kOrderMinDegree, kOrderLocalFill}) {
      symord* gr = nullptr;
      symord_alloc(sys, n, 2 * (int64)rows.size(), &gr);
      symord_loadlower(gr, n, size.data(), start.data(), rows.data());
      gr->ordertype = type;
      double t0 = sysenv_seconds(sys);
      minlocf_order(gr, perm.data());
      ms[type] = 1e3 * (sysenv_seconds(sys) - t0);
      symord_free(&gr);
      symord_count(sys, n, perm.data(), size.data(), start.data(), rows.data(), &nz[type],
                   &flops[type]);
    }
    char name[32];
    std::snprintf(name, sizeof name, "%dx%dx%d", g.x, g.y, g.z);
    char nat[32] = "-";
    if (nznat > 0) std::snprintf(nat, sizeof nat, "%ld", (long)nznat);
    std::printf("%-14s %9d %12s %12ld %12.3e %10.1f %12ld %10.3e %8.1f\n", name, n, nat,
                (long)nz[0], flops[0], ms[0], (long)nz[1], flops[1], ms[1]);
  }
}

// A netlib problem read through the public interface: its matrix by columns, and, when
// solve is set and the primal simplex reaches an optimum, the basis of that optimum.
struct NetlibMatrix {
  int32 m = 0, n = 0;
  Csc a;     // m x n, a.n holds n
  Csc basis; // m x m, empty unless solved
  bool solved = false;
};

bool load_netlib(TVAenv_t env, const std::string& path, bool solve, NetlibMatrix* out) {
  TVAtask_t task = nullptr;
  if (TVA_maketask(env, 0, 0, &task) != TVA_RES_OK) return false;
  TVA_putintparam(task, TVA_IPAR_LOG, 0);
  TVA_putintparam(task, TVA_IPAR_READ_MPS_FORMAT, TVA_MPS_FORMAT_STRICT);
  bool ok = TVA_readdata(task, path.c_str()) == TVA_RES_OK;
  if (ok) {
    TVA_getnumcon(task, &out->m);
    TVA_getnumvar(task, &out->n);
    out->a.n = out->n;
    for (int32 j = 0; j < out->n; ++j) {
      int32 nz = 0;
      TVA_getacolnumnz(task, j, &nz);
      size_t at = out->a.sub.size();
      out->a.sub.resize(at + nz), out->a.val.resize(at + nz);
      TVA_getacol(task, j, &nz, out->a.sub.data() + at, out->a.val.data() + at);
      out->a.ptr.push_back((int32)out->a.sub.size());
    }
  }
  if (ok && solve) {
    TVA_putintparam(task, TVA_IPAR_OPTIMIZER, TVA_OPTIMIZER_PRIMAL_SIMPLEX);
    TVA_putdouparam(task, TVA_DPAR_OPTIMIZER_MAX_TIME, 120.0);
    int32 solsta = 0;
    if (TVA_optimize(task) == TVA_RES_OK && TVA_getsolsta(task, TVA_SOL_BAS, &solsta) == 0 &&
        solsta == TVA_SOL_STA_OPTIMAL) {
      std::vector<int32> skc(out->m), skx(out->n);
      TVA_getskc(task, TVA_SOL_BAS, skc.data());
      TVA_getskx(task, TVA_SOL_BAS, skx.data());
      Csc& b = out->basis;
      b.n = out->m;
      for (int32 i = 0; i < out->m; ++i)
        if (skc[i] == TVA_SK_BAS) {
          b.sub.push_back(i), b.val.push_back(-1.0);
          b.ptr.push_back((int32)b.sub.size());
        }
      for (int32 j = 0; j < out->n; ++j)
        if (skx[j] == TVA_SK_BAS) {
          for (int32 k = out->a.ptr[j]; k < out->a.ptr[j + 1]; ++k)
            b.sub.push_back(out->a.sub[k]), b.val.push_back(out->a.val[k]);
          b.ptr.push_back((int32)b.sub.size());
        }
      out->solved = (int32)b.ptr.size() == out->m + 1;
    }
  }
  TVA_deletetask(&task);
  return ok;
}

const char* const kNetlibBases[] = {"25fv47",   "bnl2",     "cycle", "d2q06c",
                                    "degen3",   "greenbea", "pilot", "pilot87",
                                    "maros-r7", "stocfor3", "truss", "80bau3b"};

void netlib_basis_table(sysenv* sys, TVAenv_t env, const std::string& dir) {
  std::printf("\n4. Optimal bases of netlib problems (primal simplex), factored as in table 1\n\n");
  lu_header();
  LuMeans means;
  std::mt19937 rng(7);
  for (const char* name : kNetlibBases) {
    NetlibMatrix nm;
    if (!load_netlib(env, dir + "/" + name + ".mps.gz", true, &nm)) {
      std::printf("%-18s  not read\n", name);
      continue;
    }
    if (!nm.solved) {
      std::printf("%-18s %8d  no optimal basis within the time limit\n", name, nm.m);
      continue;
    }
    measure_lu(sys, name, nm.basis, 0.01, rng, &means);
  }
  means.print();
}

// The pattern of A A' below the diagonal, in the column form that the orderings load.
bool aat_pattern(const NetlibMatrix& nm, std::vector<int32>* size, std::vector<int64>* start,
                 std::vector<int32>* rows) {
  std::vector<std::set<int32>> lower(nm.m);
  int64 total = 0;
  for (int32 j = 0; j < nm.n; ++j)
    for (int32 p = nm.a.ptr[j]; p < nm.a.ptr[j + 1]; ++p)
      for (int32 q = nm.a.ptr[j]; q < nm.a.ptr[j + 1]; ++q) {
        int32 r = nm.a.sub[p], c = nm.a.sub[q];
        if (r > c) total += lower[c].insert(r).second;
        if (total > 30000000) return false;
      }
  size->assign(nm.m, 0);
  start->assign(nm.m + 1, 0);
  rows->clear();
  for (int32 c = 0; c < nm.m; ++c) {
    (*start)[c] = (int64)rows->size();
    rows->insert(rows->end(), lower[c].begin(), lower[c].end());
    (*size)[c] = (int32)lower[c].size();
  }
  (*start)[nm.m] = (int64)rows->size();
  return true;
}

const char* const kNetlibAat[] = {"25fv47",   "80bau3b", "bnl2",   "cycle",    "d2q06c",
                                  "degen3",   "dfl001",  "fit2p",  "greenbea", "pilot87",
                                  "stocfor3", "truss",   "ken-11", "osa-14",   "pds-06"};

void netlib_aat_table(sysenv* sys, TVAenv_t env, const std::string& dir) {
  std::printf("\n5. Cholesky factor of A A' of netlib matrices: nnz(L) and flops by ordering\n\n");
  std::printf("%-14s %9s %12s %12s %12s %10s %12s %12s %10s %8s\n", "problem", "m", "nnz(AA')",
              "mindeg nz", "mindeg flop", "md ms", "minlocf nz", "lf flop", "lf ms", "lf/md");
  GeoMean ratio;
  for (const char* name : kNetlibAat) {
    NetlibMatrix nm;
    std::string path = dir + "/" + name + ".mps.gz";
    if (!load_netlib(env, path, false, &nm) &&
        !load_netlib(env, dir + "/kennington/" + name + ".mps.gz", false, &nm)) {
      std::printf("%-14s  not read\n", name);
      continue;
    }
    std::vector<int32> size, rows;
    std::vector<int64> start;
    if (!aat_pattern(nm, &size, &start, &rows)) {
      std::printf("%-14s %9d  A A' too dense for this table\n", name, nm.m);
      continue;
    }
    int64 nz[2] = {0, 0};
    double flops[2] = {0, 0}, ms[2] = {0, 0};
    std::vector<int32> perm(nm.m);
    for (int32 type : {kOrderMinDegree, kOrderLocalFill}) {
      symord* gr = nullptr;
      symord_alloc(sys, nm.m, 2 * (int64)rows.size() + nm.m, &gr);
      symord_loadlower(gr, nm.m, size.data(), start.data(), rows.data());
      gr->ordertype = type;
      double t0 = sysenv_seconds(sys);
      minlocf_order(gr, perm.data());
      ms[type] = 1e3 * (sysenv_seconds(sys) - t0);
      symord_free(&gr);
      symord_count(sys, nm.m, perm.data(), size.data(), start.data(), rows.data(), &nz[type],
                   &flops[type]);
    }
    double r = (double)nz[kOrderLocalFill] / (double)nz[kOrderMinDegree];
    ratio.add(r);
    std::printf("%-14s %9d %12ld %12ld %12.3e %10.1f %12ld %12.3e %10.1f %8.3f\n", name, nm.m,
                (long)rows.size(), (long)nz[0], flops[0], ms[0], (long)nz[1], flops[1], ms[1], r);
  }
  std::printf("geometric mean of nnz(L) minlocf / mindeg: %.3f\n", ratio.get());
}

} // namespace

int main(int argc, char** argv) {
  sysenv* sys = nullptr;
  sysenv_create(&sys, 0, memman_default_hooks(), nullptr, "bench");
  lu_table(sys);
  hypersparse_table(sys);
  ordering_table(sys);
  if (argc > 1) {
    TVAenv_t env = nullptr;
    TVA_makeenv(&env, nullptr);
    netlib_basis_table(sys, env, argv[1]);
    netlib_aat_table(sys, env, argv[1]);
    TVA_deleteenv(&env);
  }
  sysenv_delete(&sys);
  return 0;
}
