// Evaluation of stored solutions against random problems of every kind the store holds, checked
// against a plain dense model that computes each objective and violation from its definition:
// cone violations as distances to the cone by projection, bar-variable measures from the
// eigenvalues of a Jacobi iteration.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "telva.h"
#include "telva/solution/solution.h"
#include "telva/store/store.h"
#include "telva/task/task.h"

using namespace telva;

namespace {

using Dense = std::vector<double>; // n by n, column-major, symmetric

enum Kind { kLinear = 1, kQuadratic = 2, kCones = 4, kBars = 8, kInteger = 16 };

struct Cone {
  int32 type;
  std::vector<int32> sub;
};

// The problem and a solution, in dense form.
struct Model {
  int32 m = 0, n = 0, sense = 0;
  std::vector<double> A; // m by n, row-major
  std::vector<double> c;
  double cfix = 0;
  std::vector<int32> bkc, bkx, vartype;
  std::vector<double> blc, buc, blx, bux;
  Dense qo;              // n by n, empty when none
  std::vector<Dense> qc; // per constraint, empty when none
  std::vector<Cone> cones;
  std::vector<int32> bardim;
  std::vector<Dense> barc;              // per bar variable
  std::vector<std::vector<Dense>> bara; // [i][j]
  // The solution.
  std::vector<double> xx, xc, y, slc, suc, slx, sux, snx;
  std::vector<Dense> barx, bars;
};

bool has_lo(int32 bk) {
  return bk == TVA_BK_LO || bk == TVA_BK_FX || bk == TVA_BK_RA;
}
bool has_up(int32 bk) {
  return bk == TVA_BK_UP || bk == TVA_BK_FX || bk == TVA_BK_RA;
}

double quad(const Dense& q, const std::vector<double>& x) {
  if (q.empty()) return 0;
  size_t n = x.size();
  double s = 0;
  for (size_t i = 0; i < n; ++i)
    for (size_t j = 0; j < n; ++j)
      s += x[i] * q[j * n + i] * x[j];
  return s;
}

double frob(const Dense& a, const Dense& b) {
  double s = 0;
  for (size_t t = 0; t < a.size(); ++t)
    s += a[t] * b[t];
  return s;
}

// The smallest eigenvalue by cyclic Jacobi rotations.
double min_eig(Dense a, int32 n) {
  for (int sweep = 0; sweep < 100; ++sweep) {
    double off = 0;
    for (int32 p = 0; p < n; ++p)
      for (int32 q = p + 1; q < n; ++q)
        off += a[q * n + p] * a[q * n + p];
    if (off < 1e-30) break;
    for (int32 p = 0; p < n; ++p)
      for (int32 q = p + 1; q < n; ++q) {
        double apq = a[q * n + p];
        if (std::fabs(apq) < 1e-300) continue;
        double theta = (a[q * n + q] - a[p * n + p]) / (2 * apq);
        double t = (theta >= 0 ? 1 : -1) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
        double cs = 1 / std::sqrt(t * t + 1), sn = t * cs;
        for (int32 k = 0; k < n; ++k) { // columns p, q
          double akp = a[p * n + k], akq = a[q * n + k];
          a[p * n + k] = cs * akp - sn * akq;
          a[q * n + k] = sn * akp + cs * akq;
        }
        for (int32 k = 0; k < n; ++k) { // rows p, q
          double apk = a[k * n + p], aqk = a[k * n + q];
          a[k * n + p] = cs * apk - sn * aqk;
          a[k * n + q] = sn * apk + cs * aqk;
        }
      }
  }
  double mn = a[0];
  for (int32 k = 1; k < n; ++k)
    mn = std::min(mn, a[k * n + k]);
  return mn;
}

// Distance of (t, x) to the cone t >= |x|, by projecting onto it.
double soc_distance(const std::vector<double>& v) {
  double t = v[0], nx = 0;
  for (size_t k = 1; k < v.size(); ++k)
    nx += v[k] * v[k];
  nx = std::sqrt(nx);
  std::vector<double> p(v.size(), 0.0);
  if (nx <= t) return 0;
  if (nx > -t) {
    double a = (t + nx) / 2;
    p[0] = a;
    for (size_t k = 1; k < v.size(); ++k)
      p[k] = a * v[k] / nx;
  }
  double d = 0;
  for (size_t k = 0; k < v.size(); ++k)
    d += (v[k] - p[k]) * (v[k] - p[k]);
  return std::sqrt(d);
}

double cone_distance(const Cone& k, const std::vector<double>& x, double scale) {
  std::vector<double> v;
  for (int32 j : k.sub)
    v.push_back(scale * x[j]);
  if (k.type == TVA_CT_RQUAD) { // rotate (a, b) into (t, s)
    double a = v[0], b = v[1];
    v[0] = (a + b) / std::sqrt(2.0);
    v[1] = (a - b) / std::sqrt(2.0);
  }
  return soc_distance(v);
}

double bviol(double v, int32 bk, double l, double u, double w) {
  double r = 0;
  if (has_lo(bk)) r = std::max(r, w * l - v);
  if (has_up(bk)) r = std::max(r, v - w * u);
  return r;
}

double pdual(double s, bool has, double sgn) {
  return has ? -s * sgn : std::fabs(s * sgn);
}

class Rng {
public:
  explicit Rng(unsigned seed) : g(seed) {}
  double u(double a, double b) { return std::uniform_real_distribution<double>(a, b)(g); }
  int32 i(int32 a, int32 b) { return std::uniform_int_distribution<int32>(a, b)(g); }
  bool coin(double p = 0.5) { return u(0, 1) < p; }
  Dense sym(int32 n, double density) {
    Dense a(n * n, 0.0);
    for (int32 j = 0; j < n; ++j)
      for (int32 i2 = j; i2 < n; ++i2)
        if (i2 == j || coin(density)) a[j * n + i2] = a[i2 * n + j] = u(-2, 2);
    return a;
  }
  std::mt19937 g;
};

// Puts a dense symmetric matrix into the task's symmetric matrix store.
int64 add_symmat(TvaTask* task, const Dense& a, int32 n) {
  std::vector<int32> si, sj;
  std::vector<double> sv;
  for (int32 j = 0; j < n; ++j)
    for (int32 i = j; i < n; ++i)
      if (a[j * n + i] != 0) {
        si.push_back(i);
        sj.push_back(j);
        sv.push_back(a[j * n + i]);
      }
  int64 idx = -1;
  EXPECT_EQ(
      TVA_appendsparsesymmat(task, n, int64(sv.size()), si.data(), sj.data(), sv.data(), &idx),
      TVA_RES_OK);
  return idx;
}

std::vector<double> packed(const Dense& a, int32 n) {
  std::vector<double> p;
  for (int32 j = 0; j < n; ++j)
    for (int32 i = j; i < n; ++i)
      p.push_back(a[j * n + i]);
  return p;
}

void make_problem(TvaTask* task, Model& md, Rng& r, int kinds, int32 sense) {
  const int32 m = r.i(2, 6), n = r.i(4, 9);
  md.m = m;
  md.n = n;
  md.sense = sense;
  ASSERT_EQ(TVA_appendcons(task, m), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, n), TVA_RES_OK);
  ASSERT_EQ(TVA_putobjsense(task, sense), TVA_RES_OK);
  md.A.assign(m * n, 0.0);
  for (int32 i = 0; i < m; ++i)
    for (int32 j = 0; j < n; ++j)
      if (r.coin(0.5)) {
        md.A[i * n + j] = r.u(-3, 3);
        ASSERT_EQ(TVA_putaij(task, i, j, md.A[i * n + j]), TVA_RES_OK);
      }
  md.c.resize(n);
  for (int32 j = 0; j < n; ++j) {
    md.c[j] = r.u(-2, 2);
    ASSERT_EQ(store_putcj(task, j, md.c[j]), TVA_RES_OK);
  }
  md.cfix = r.u(-5, 5);
  store_putcfix(task, md.cfix);
  auto bound = [&](int32& bk, double& bl, double& bu) {
    bk = r.i(0, 4);
    bl = r.u(-2, 1);
    bu = bk == TVA_BK_FX ? bl : bl + r.u(0, 3);
  };
  md.bkc.resize(m), md.blc.resize(m), md.buc.resize(m);
  for (int32 i = 0; i < m; ++i) {
    bound(md.bkc[i], md.blc[i], md.buc[i]);
    ASSERT_EQ(store_putbound(task, TVA_ACC_CON, i, md.bkc[i], md.blc[i], md.buc[i]), TVA_RES_OK);
  }
  md.bkx.resize(n), md.blx.resize(n), md.bux.resize(n);
  for (int32 j = 0; j < n; ++j) {
    bound(md.bkx[j], md.blx[j], md.bux[j]);
    ASSERT_EQ(store_putbound(task, TVA_ACC_VAR, j, md.bkx[j], md.blx[j], md.bux[j]), TVA_RES_OK);
  }
  md.qc.assign(m, Dense());
  if (kinds & kQuadratic) {
    auto put_q = [&](int32 k, Dense& q) {
      q = r.sym(n, 0.3);
      std::vector<int32> qi, qj;
      std::vector<double> qv;
      for (int32 j = 0; j < n; ++j)
        for (int32 i = j; i < n; ++i)
          if (q[j * n + i] != 0) qi.push_back(i), qj.push_back(j), qv.push_back(q[j * n + i]);
      int32 nz = int32(qv.size());
      if (k < 0)
        ASSERT_EQ(TVA_putqobj(task, nz, qi.data(), qj.data(), qv.data()), TVA_RES_OK);
      else
        ASSERT_EQ(TVA_putqconk(task, k, nz, qi.data(), qj.data(), qv.data()), TVA_RES_OK);
    };
    put_q(-1, md.qo);
    for (int32 k = 0; k < m; k += 2)
      put_q(k, md.qc[k]);
  }
  if (kinds & kCones) {
    // Disjoint cones over a shuffled set of variables, both types.
    std::vector<int32> perm(n);
    for (int32 j = 0; j < n; ++j)
      perm[j] = j;
    std::shuffle(perm.begin(), perm.end(), r.g);
    int32 at = 0;
    for (int32 type : {TVA_CT_QUAD, TVA_CT_RQUAD}) {
      int32 len = std::min(r.i(2, 4), n - at);
      if (len < 2) break;
      Cone k{type, std::vector<int32>(perm.begin() + at, perm.begin() + at + len)};
      at += len;
      ASSERT_EQ(TVA_appendcone(task, type, 0.0, len, k.sub.data()), TVA_RES_OK);
      md.cones.push_back(k);
    }
  }
  if (kinds & kBars) {
    int32 nb = r.i(1, 3);
    for (int32 j = 0; j < nb; ++j)
      md.bardim.push_back(r.i(1, 4));
    ASSERT_EQ(TVA_appendbarvars(task, nb, md.bardim.data()), TVA_RES_OK);
    md.bara.assign(m, std::vector<Dense>(nb));
    for (int32 j = 0; j < nb; ++j) {
      int32 d = md.bardim[j];
      md.barc.push_back(Dense(d * d, 0.0));
      if (r.coin(0.7)) {
        Dense a = r.sym(d, 0.5);
        double wgt = r.u(0.5, 2);
        int64 idx = add_symmat(task, a, d);
        ASSERT_EQ(TVA_putbarcj(task, j, 1, &idx, &wgt), TVA_RES_OK);
        for (int32 t = 0; t < d * d; ++t)
          md.barc[j][t] = wgt * a[t];
      }
      for (int32 i = 0; i < m; ++i) {
        md.bara[i][j] = Dense(d * d, 0.0);
        if (!r.coin(0.6)) continue;
        // A weighted sum of two matrices in one cell.
        Dense a1 = r.sym(d, 0.5), a2 = r.sym(d, 0.5);
        int64 idx[2] = {add_symmat(task, a1, d), add_symmat(task, a2, d)};
        double wgt[2] = {r.u(-2, 2), r.u(-2, 2)};
        ASSERT_EQ(TVA_putbaraij(task, i, j, 2, idx, wgt), TVA_RES_OK);
        for (int32 t = 0; t < d * d; ++t)
          md.bara[i][j][t] = wgt[0] * a1[t] + wgt[1] * a2[t];
      }
    }
  }
  md.vartype.assign(n, TVA_VAR_TYPE_CONT);
  if (kinds & kInteger)
    for (int32 j = 0; j < n; ++j)
      if (r.coin(0.6)) {
        md.vartype[j] = TVA_VAR_TYPE_INT;
        ASSERT_EQ(store_putvartype(task, j, TVA_VAR_TYPE_INT), TVA_RES_OK);
      }
}

void make_solution(TvaTask* task, Model& md, Rng& r, int32 whichsol) {
  auto vec = [&](int32 len) {
    std::vector<double> v(len);
    for (double& e : v)
      e = r.coin(0.2) ? std::round(r.u(-3, 3)) : r.u(-3, 3);
    return v;
  };
  md.xx = vec(md.n), md.xc = vec(md.m), md.y = vec(md.m), md.slc = vec(md.m), md.suc = vec(md.m);
  md.slx = vec(md.n), md.sux = vec(md.n), md.snx = vec(md.n);
  // Some nearly feasible pieces, so that not every violation is of the same kind.
  for (int32 i = 0; i < md.m; ++i)
    if (r.coin(0.3)) md.slc[i] = std::fabs(md.slc[i]);
  std::vector<int32> skc(md.m, TVA_SK_BAS), skx(md.n, TVA_SK_LOW);
  ASSERT_EQ(TVA_putsolution(task, whichsol, skc.data(), skx.data(), nullptr, md.xc.data(),
                            md.xx.data(), md.y.data(), md.slc.data(), md.suc.data(), md.slx.data(),
                            md.sux.data(), md.snx.data()),
            TVA_RES_OK);
  if (!sol_has_duals(whichsol)) md.y = md.slc = md.suc = md.slx = md.sux = std::vector<double>();
  if (!sol_has_snx(whichsol)) md.snx.assign(md.n, 0.0);
  md.barx.clear(), md.bars.clear();
  for (size_t j = 0; j < md.bardim.size(); ++j) {
    int32 d = md.bardim[j];
    Dense x = r.sym(d, 0.8), s = r.sym(d, 0.8);
    if (r.coin()) // a positive semidefinite one: x = x + k I with k beyond the spread
      for (int32 k = 0; k < d; ++k)
        x[k * d + k] += 4.0 * d;
    if (whichsol != TVA_SOL_ITR) x.assign(d * d, 0.0), s.assign(d * d, 0.0);
    if (whichsol == TVA_SOL_ITR) {
      ASSERT_EQ(TVA_putbarxj(task, whichsol, int32(j), packed(x, d).data()), TVA_RES_OK);
      ASSERT_EQ(TVA_putbarsj(task, whichsol, int32(j), packed(s, d).data()), TVA_RES_OK);
    }
    md.barx.push_back(x);
    md.bars.push_back(s);
  }
}

struct Expected {
  double pobj = 0, dobj = 0, pitg = 0;
  std::vector<double> pcon, pvar, pcone, pbar, dcon, dvar, dcone, dbar;
};

Expected evaluate(const Model& md, int32 whichsol, double w) {
  Expected e;
  const int32 m = md.m, n = md.n;
  const double sgn = md.sense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? -1.0 : 1.0;
  const bool duals = sol_has_duals(whichsol);
  e.pobj = w * md.cfix + 0.5 * quad(md.qo, md.xx);
  for (int32 j = 0; j < n; ++j)
    e.pobj += md.c[j] * md.xx[j];
  for (size_t j = 0; j < md.bardim.size(); ++j)
    e.pobj += frob(md.barc[j], md.barx[j]);
  if (duals) {
    e.dobj = w * md.cfix - w * 0.5 * quad(md.qo, md.xx);
    for (int32 i = 0; i < m; ++i) {
      e.dobj += w * 0.5 * md.y[i] * quad(md.qc[i], md.xx);
      if (has_lo(md.bkc[i])) e.dobj += w * md.blc[i] * md.slc[i];
      if (has_up(md.bkc[i])) e.dobj -= w * md.buc[i] * md.suc[i];
    }
    for (int32 j = 0; j < n; ++j) {
      if (has_lo(md.bkx[j])) e.dobj += w * md.blx[j] * md.slx[j];
      if (has_up(md.bkx[j])) e.dobj -= w * md.bux[j] * md.sux[j];
    }
  }
  for (int32 i = 0; i < m; ++i) {
    double act = 0.5 * quad(md.qc[i], md.xx);
    for (int32 j = 0; j < n; ++j)
      act += md.A[i * n + j] * md.xx[j];
    for (size_t j = 0; j < md.bardim.size(); ++j)
      act += frob(md.bara[i][j], md.barx[j]);
    e.pcon.push_back(
        std::max(bviol(md.xc[i], md.bkc[i], md.blc[i], md.buc[i], w), std::fabs(act - md.xc[i])));
    if (duals)
      e.dcon.push_back(std::max({std::fabs(md.y[i] - md.slc[i] + md.suc[i]),
                                 pdual(md.slc[i], has_lo(md.bkc[i]), sgn),
                                 pdual(md.suc[i], has_up(md.bkc[i]), sgn)}));
  }
  for (int32 j = 0; j < n; ++j) {
    e.pvar.push_back(bviol(md.xx[j], md.bkx[j], md.blx[j], md.bux[j], w));
    if (md.vartype[j] == TVA_VAR_TYPE_INT && whichsol == TVA_SOL_ITG)
      e.pitg = std::max(e.pitg, std::fabs(md.xx[j] - std::round(md.xx[j])));
    if (!duals) continue;
    double g = md.c[j], aty = 0, qcy = 0;
    for (int32 k = 0; k < n; ++k)
      if (!md.qo.empty()) g += md.qo[k * n + j] * md.xx[k];
    for (int32 i = 0; i < m; ++i) {
      aty += md.A[i * n + j] * md.y[i];
      if (!md.qc[i].empty())
        for (int32 k = 0; k < n; ++k)
          qcy += md.y[i] * md.qc[i][k * n + j] * md.xx[k];
    }
    double res = w * g - aty - w * qcy - md.slx[j] + md.sux[j] - md.snx[j];
    e.dvar.push_back(std::max({std::fabs(res), pdual(md.slx[j], has_lo(md.bkx[j]), sgn),
                               pdual(md.sux[j], has_up(md.bkx[j]), sgn)}));
  }
  for (const Cone& k : md.cones) {
    e.pcone.push_back(cone_distance(k, md.xx, 1.0));
    if (duals) e.dcone.push_back(cone_distance(k, md.snx, sgn));
  }
  for (size_t j = 0; j < md.bardim.size(); ++j) {
    int32 d = md.bardim[j];
    if (whichsol != TVA_SOL_ITR) { // only the interior slot holds bar values: nothing to measure
      e.pbar.push_back(0.0);
      if (duals) e.dbar.push_back(0.0);
      continue;
    }
    e.pbar.push_back(std::max(0.0, -min_eig(md.barx[j], d)));
    double res = 0;
    for (int32 b = 0; b < d; ++b)
      for (int32 a = b; a < d; ++a) {
        double v = w * md.barc[j][b * d + a] - md.bars[j][b * d + a];
        for (int32 i = 0; i < m; ++i)
          v -= md.y[i] * md.bara[i][j][b * d + a];
        res = std::max(res, std::fabs(v));
      }
    Dense s = md.bars[j];
    for (double& v : s)
      v *= sgn;
    e.dbar.push_back(std::max(res, -min_eig(s, d)));
  }
  return e;
}

double maxof(const std::vector<double>& v) {
  double r = 0;
  for (double x : v)
    r = std::max(r, x);
  return r;
}

struct Case {
  int kinds;
  int32 whichsol;
  int32 sense;
  int32 solsta;
};

class SolutionEval : public ::testing::TestWithParam<Case> {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
};

void expect_near_all(const std::vector<double>& got, const std::vector<double>& want,
                     const char* what) {
  ASSERT_EQ(got.size(), want.size()) << what;
  for (size_t k = 0; k < got.size(); ++k)
    EXPECT_NEAR(got[k], want[k], 1e-9 * (1 + std::fabs(want[k]))) << what << "[" << k << "]";
}

// Gathers a violation array through its export, with the indices in reverse order.
template <class F> std::vector<double> gather(F f, TVAtask_t task, int32 whichsol, int32 count) {
  std::vector<int32> sub(count);
  for (int32 k = 0; k < count; ++k)
    sub[k] = count - 1 - k;
  std::vector<double> v(count, -1.0);
  EXPECT_EQ(f(task, whichsol, count, sub.data(), v.data()), TVA_RES_OK);
  std::reverse(v.begin(), v.end());
  return v;
}

TEST_P(SolutionEval, MatchesDenseModel) {
  const Case cs = GetParam();
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    ASSERT_EQ(TVA_resizetask(task, 0, 0, 0, 0, 0), TVA_RES_OK);
    Rng r(seed * 7919 + cs.kinds * 31 + cs.whichsol);
    Model md;
    make_problem(task, md, r, cs.kinds, cs.sense);
    make_solution(task, md, r, cs.whichsol);
    sol_setstatus(task, cs.whichsol, TVA_PRO_STA_UNKNOWN, cs.solsta);
    const double w = sol_weight(cs.solsta);
    Expected e = evaluate(md, cs.whichsol, w);
    const bool duals = sol_has_duals(cs.whichsol);

    double pobj = 0, dobj = 0;
    ASSERT_EQ(TVA_getprimalobj(task, cs.whichsol, &pobj), TVA_RES_OK);
    EXPECT_NEAR(pobj, e.pobj, 1e-9 * (1 + std::fabs(e.pobj)));
    if (duals) {
      ASSERT_EQ(TVA_getdualobj(task, cs.whichsol, &dobj), TVA_RES_OK);
      EXPECT_NEAR(dobj, e.dobj, 1e-9 * (1 + std::fabs(e.dobj)));
    } else {
      EXPECT_EQ(TVA_getdualobj(task, cs.whichsol, &dobj), TVA_RES_ERR_NO_DUAL_FOR_ITG_SOL);
      EXPECT_EQ(dobj, 1e30);
    }

    expect_near_all(gather(TVA_getpviolcon, task, cs.whichsol, md.m), e.pcon, "pviolcon");
    expect_near_all(gather(TVA_getpviolvar, task, cs.whichsol, md.n), e.pvar, "pviolvar");
    expect_near_all(gather(TVA_getpviolcones, task, cs.whichsol, int32(md.cones.size())), e.pcone,
                    "pviolcones");
    expect_near_all(gather(TVA_getpviolbarvar, task, cs.whichsol, int32(md.bardim.size())), e.pbar,
                    "pviolbarvar");
    if (duals) {
      expect_near_all(gather(TVA_getdviolcon, task, cs.whichsol, md.m), e.dcon, "dviolcon");
      expect_near_all(gather(TVA_getdviolvar, task, cs.whichsol, md.n), e.dvar, "dviolvar");
      expect_near_all(gather(TVA_getdviolcones, task, cs.whichsol, int32(md.cones.size())), e.dcone,
                      "dviolcones");
      expect_near_all(gather(TVA_getdviolbarvar, task, cs.whichsol, int32(md.bardim.size())),
                      e.dbar, "dviolbarvar");
    }

    double info[11];
    ASSERT_EQ(TVA_getsolutioninfo(task, cs.whichsol, &info[0], &info[1], &info[2], &info[3],
                                  &info[4], &info[5], &info[6], &info[7], &info[8], &info[9],
                                  &info[10]),
              TVA_RES_OK);
    const double want[11] = {e.pobj,         maxof(e.pcon), maxof(e.pvar), maxof(e.pbar),
                             maxof(e.pcone), e.pitg,        e.dobj,        maxof(e.dcon),
                             maxof(e.dvar),  maxof(e.dbar), maxof(e.dcone)};
    for (int k = 0; k < 11; ++k)
      EXPECT_NEAR(info[k], want[k], 1e-9 * (1 + std::fabs(want[k]))) << "info item " << k;
  }
}

std::vector<Case> all_cases() {
  std::vector<Case> cases;
  const int kinds[] = {kLinear, kQuadratic, kCones,
                       kBars,   kInteger,   kQuadratic | kCones | kBars | kInteger};
  const int32 solstas[] = {TVA_SOL_STA_OPTIMAL, TVA_SOL_STA_PRIM_INFEAS_CER,
                           TVA_SOL_STA_DUAL_INFEAS_CER, TVA_SOL_STA_PRIM_AND_DUAL_FEAS};
  for (int k : kinds)
    for (int32 ws = 0; ws < kNumSolSlots; ++ws)
      for (int32 sense : {TVA_OBJECTIVE_SENSE_MINIMIZE, TVA_OBJECTIVE_SENSE_MAXIMIZE})
        for (int32 st : solstas)
          cases.push_back({k, ws, sense, st});
  return cases;
}

INSTANTIATE_TEST_SUITE_P(AllKinds, SolutionEval, ::testing::ValuesIn(all_cases()));

TEST(SolutionWeight, CertificatesDropTheRightHandSides) {
  for (int32 st :
       {TVA_SOL_STA_UNKNOWN, TVA_SOL_STA_OPTIMAL, TVA_SOL_STA_PRIM_FEAS, TVA_SOL_STA_DUAL_FEAS,
        TVA_SOL_STA_NEAR_OPTIMAL, TVA_SOL_STA_NEAR_PRIM_FEAS, TVA_SOL_STA_NEAR_DUAL_FEAS,
        TVA_SOL_STA_INTEGER_OPTIMAL, TVA_SOL_STA_NEAR_INTEGER_OPTIMAL})
    EXPECT_EQ(sol_weight(st), 1.0) << st;
  for (int32 st : {TVA_SOL_STA_PRIM_AND_DUAL_FEAS, TVA_SOL_STA_PRIM_INFEAS_CER,
                   TVA_SOL_STA_DUAL_INFEAS_CER, TVA_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS,
                   TVA_SOL_STA_NEAR_PRIM_INFEAS_CER, TVA_SOL_STA_NEAR_DUAL_INFEAS_CER,
                   TVA_SOL_STA_PRIM_ILLPOSED_CER, TVA_SOL_STA_DUAL_ILLPOSED_CER})
    EXPECT_EQ(sol_weight(st), 0.0) << st;
}

} // namespace
