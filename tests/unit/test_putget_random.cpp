// One random problem built through different put forms (single items, lists, slices, rows,
// columns, triplets, 32- and 64-bit pointers) must read back identically through every get
// form, and so must its clone.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "telva.h"

namespace {

using Trip = std::map<std::pair<int, int>, double>;

struct Problem {
  int m = 0, n = 0;
  std::vector<int> bkc, bkx, vartype;
  std::vector<double> blc, buc, blx, bux, c;
  Trip a, qobj;
  std::vector<Trip> qcon;
  std::vector<std::vector<int>> cones; // consecutive members
  std::vector<int> conetype;
  std::vector<std::string> conname, varname, conename;
  std::string objname;
  double cfix = 0.0;
};

Problem random_problem(unsigned seed) {
  std::mt19937 rng(seed);
  auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
  auto real = [&] { return std::uniform_real_distribution<double>(-10.0, 10.0)(rng); };
  Problem p;
  p.m = uni(1, 9);
  p.n = uni(3, 12);
  p.cfix = real();
  auto bound = [&](int& bk, double& bl, double& bu) {
    bk = uni(0, 4);
    bl = real();
    bu = bl + std::abs(real());
    if (bk == TVA_BK_FX) bu = bl;
    if (bk == TVA_BK_LO) bu = 1.0e30;
    if (bk == TVA_BK_UP) bl = -1.0e30;
    if (bk == TVA_BK_FR) bl = -1.0e30, bu = 1.0e30;
  };
  for (int i = 0; i < p.m; ++i) {
    int bk;
    double bl, bu;
    bound(bk, bl, bu);
    p.bkc.push_back(bk), p.blc.push_back(bl), p.buc.push_back(bu);
    p.conname.push_back(uni(0, 3) ? "c" + std::to_string(i) : "");
  }
  for (int j = 0; j < p.n; ++j) {
    int bk;
    double bl, bu;
    bound(bk, bl, bu);
    p.bkx.push_back(bk), p.blx.push_back(bl), p.bux.push_back(bu);
    p.c.push_back(uni(0, 4) ? real() : 0.0);
    p.vartype.push_back(uni(0, 2) == 0 ? TVA_VAR_TYPE_INT : TVA_VAR_TYPE_CONT);
    p.varname.push_back(uni(0, 3) ? "x_" + std::to_string(j * 7) : "");
  }
  for (int i = 0; i < p.m; ++i)
    for (int j = 0; j < p.n; ++j)
      if (uni(0, 2) == 0) p.a[{i, j}] = real();
  for (int t = 0; t < 2 * p.n; ++t) {
    int i = uni(0, p.n - 1), j = uni(0, i);
    p.qobj[{i, j}] = real();
  }
  p.qcon.resize(p.m);
  for (int k = 0; k < p.m; ++k)
    if (uni(0, 1))
      for (int t = 0; t < 3; ++t) {
        int i = uni(0, p.n - 1), j = uni(0, i);
        p.qcon[k][{i, j}] = real();
      }
  for (int j = 0; j + 2 < p.n; j += uni(3, 5)) {
    int len = uni(2, 3);
    if (j + len > p.n) break;
    std::vector<int> mem;
    for (int t = 0; t < len; ++t)
      mem.push_back(j + t);
    p.cones.push_back(mem);
    p.conetype.push_back(uni(0, 1) ? TVA_CT_QUAD : TVA_CT_RQUAD);
    p.conename.push_back("k" + std::to_string(p.cones.size()));
  }
  p.objname = "cost";
  return p;
}

// The ways of putting the problem in.
enum Mode { kSingle, kColumns, kRows, kTriplets, kColumnsWide, kRowsWide };

void put_a(TVAtask_t task, const Problem& p, Mode mode) {
  if (mode == kSingle) {
    for (const auto& [ij, v] : p.a)
      ASSERT_EQ(TVA_putaij(task, ij.first, ij.second, v), TVA_RES_OK);
    return;
  }
  if (mode == kTriplets) {
    std::vector<int> si, sj;
    std::vector<double> sv;
    for (const auto& [ij, v] : p.a)
      si.push_back(ij.first), sj.push_back(ij.second), sv.push_back(v);
    int half = static_cast<int>(si.size() / 2);
    ASSERT_EQ(TVA_putaijlist(task, half, si.data(), sj.data(), sv.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_putaijlist64(task, si.size() - half, si.data() + half, sj.data() + half,
                               sv.data() + half),
              TVA_RES_OK);
    return;
  }
  // By columns or rows: the first half of the items as a slice, the rest as a list in reverse
  // order, one of them with 32-bit and the other with 64-bit pointers.
  bool bycol = mode == kColumns || mode == kColumnsWide;
  bool slice64 = mode == kRows || mode == kColumnsWide;
  int count = bycol ? p.n : p.m;
  std::vector<std::vector<std::pair<int, double>>> vec(count);
  for (const auto& [ij, v] : p.a)
    vec[bycol ? ij.second : ij.first].push_back({bycol ? ij.first : ij.second, v});
  std::vector<int> sub, ptrb, ptre, items;
  std::vector<double> val;
  int half = count / 2;
  for (int k = 0; k < half; ++k) {
    ptrb.push_back(static_cast<int>(sub.size()));
    for (auto [s, v] : vec[k])
      sub.push_back(s), val.push_back(v);
    ptre.push_back(static_cast<int>(sub.size()));
  }
  {
    std::vector<TVAint64t> b(ptrb.begin(), ptrb.end()), e(ptre.begin(), ptre.end());
    auto s32 = bycol ? TVA_putacolslice : TVA_putarowslice;
    auto s64 = bycol ? TVA_putacolslice64 : TVA_putarowslice64;
    if (slice64) {
      ASSERT_EQ(s64(task, 0, half, b.data(), e.data(), sub.data(), val.data()), TVA_RES_OK);
    } else {
      ASSERT_EQ(s32(task, 0, half, ptrb.data(), ptre.data(), sub.data(), val.data()), TVA_RES_OK);
    }
  }
  sub.clear(), val.clear(), ptrb.clear(), ptre.clear();
  for (int k = count - 1; k >= half; --k) {
    items.push_back(k);
    ptrb.push_back(static_cast<int>(sub.size()));
    for (auto [s, v] : vec[k])
      sub.push_back(s), val.push_back(v);
    ptre.push_back(static_cast<int>(sub.size()));
  }
  int num = static_cast<int>(items.size());
  std::vector<TVAint64t> b(ptrb.begin(), ptrb.end()), e(ptre.begin(), ptre.end());
  auto l32 = bycol ? TVA_putacollist : TVA_putarowlist;
  auto l64 = bycol ? TVA_putacollist64 : TVA_putarowlist64;
  if (slice64) {
    ASSERT_EQ(l32(task, num, items.data(), ptrb.data(), ptre.data(), sub.data(), val.data()),
              TVA_RES_OK);
  } else {
    ASSERT_EQ(l64(task, num, items.data(), b.data(), e.data(), sub.data(), val.data()), TVA_RES_OK);
  }
}

void build(TVAtask_t task, const Problem& p, Mode mode) {
  ASSERT_EQ(TVA_appendcons(task, p.m), TVA_RES_OK);
  ASSERT_EQ(TVA_appendvars(task, p.n), TVA_RES_OK);
  ASSERT_EQ(TVA_putcfix(task, p.cfix), TVA_RES_OK);
  ASSERT_EQ(TVA_putobjsense(task, TVA_OBJECTIVE_SENSE_MAXIMIZE), TVA_RES_OK);
  ASSERT_EQ(TVA_putobjname(task, p.objname.c_str()), TVA_RES_OK);
  if (mode == kSingle) {
    for (int i = 0; i < p.m; ++i)
      ASSERT_EQ(TVA_putconbound(task, i, p.bkc[i], p.blc[i], p.buc[i]), TVA_RES_OK);
    for (int j = 0; j < p.n; ++j) {
      ASSERT_EQ(TVA_putbound(task, TVA_ACC_VAR, j, p.bkx[j], p.blx[j], p.bux[j]), TVA_RES_OK);
      ASSERT_EQ(TVA_putcj(task, j, p.c[j]), TVA_RES_OK);
      ASSERT_EQ(TVA_putvartype(task, j, p.vartype[j]), TVA_RES_OK);
    }
    for (const auto& [ij, v] : p.qobj)
      ASSERT_EQ(TVA_putqobjij(task, ij.first, ij.second, v), TVA_RES_OK);
    for (int k = 0; k < p.m; ++k) {
      std::vector<int> qi, qj;
      std::vector<double> qv;
      for (const auto& [ij, v] : p.qcon[k])
        qi.push_back(ij.first), qj.push_back(ij.second), qv.push_back(v);
      ASSERT_EQ(TVA_putqconk(task, k, static_cast<int>(qi.size()), qi.data(), qj.data(), qv.data()),
                TVA_RES_OK);
    }
    for (size_t k = 0; k < p.cones.size(); ++k)
      ASSERT_EQ(TVA_appendcone(task, p.conetype[k], 0.0, static_cast<int>(p.cones[k].size()),
                               p.cones[k].data()),
                TVA_RES_OK);
  } else {
    // Constraint bounds: a slice for the front, a reversed list for the rest; variables by
    // the access-mode forms.
    int h = p.m / 2;
    ASSERT_EQ(TVA_putconboundslice(task, 0, h, p.bkc.data(), p.blc.data(), p.buc.data()),
              TVA_RES_OK);
    std::vector<int> sub, bk;
    std::vector<double> bl, bu;
    for (int i = p.m - 1; i >= h; --i)
      sub.push_back(i), bk.push_back(p.bkc[i]), bl.push_back(p.blc[i]), bu.push_back(p.buc[i]);
    ASSERT_EQ(TVA_putconboundlist(task, static_cast<int>(sub.size()), sub.data(), bk.data(),
                                  bl.data(), bu.data()),
              TVA_RES_OK);
    int hv = p.n / 2;
    if (mode == kTriplets) {
      ASSERT_EQ(TVA_putvarboundslice(task, 0, hv, p.bkx.data(), p.blx.data(), p.bux.data()),
                TVA_RES_OK);
    } else {
      ASSERT_EQ(
          TVA_putboundslice(task, TVA_ACC_VAR, 0, hv, p.bkx.data(), p.blx.data(), p.bux.data()),
          TVA_RES_OK);
    }
    std::vector<int> vsub;
    for (int j = hv; j < p.n; ++j)
      vsub.push_back(j);
    if (mode == kRows) {
      ASSERT_EQ(TVA_putvarboundlist(task, p.n - hv, vsub.data(), p.bkx.data() + hv,
                                    p.blx.data() + hv, p.bux.data() + hv),
                TVA_RES_OK);
    } else {
      ASSERT_EQ(TVA_putboundlist(task, TVA_ACC_VAR, p.n - hv, vsub.data(), p.bkx.data() + hv,
                                 p.blx.data() + hv, p.bux.data() + hv),
                TVA_RES_OK);
    }
    ASSERT_EQ(TVA_putcslice(task, 0, hv, p.c.data()), TVA_RES_OK);
    ASSERT_EQ(TVA_putclist(task, p.n - hv, vsub.data(), p.c.data() + hv), TVA_RES_OK);
    std::vector<int> all;
    for (int j = 0; j < p.n; ++j)
      all.push_back(j);
    ASSERT_EQ(TVA_putvartypelist(task, p.n, all.data(), p.vartype.data()), TVA_RES_OK);
    std::vector<int> qi, qj, qk;
    std::vector<double> qv;
    for (const auto& [ij, v] : p.qobj)
      qi.push_back(ij.first), qj.push_back(ij.second), qv.push_back(v);
    ASSERT_EQ(TVA_putqobj(task, static_cast<int>(qi.size()), qi.data(), qj.data(), qv.data()),
              TVA_RES_OK);
    qi.clear(), qj.clear(), qv.clear();
    for (int k = 0; k < p.m; ++k)
      for (const auto& [ij, v] : p.qcon[k])
        qk.push_back(k), qi.push_back(ij.first), qj.push_back(ij.second), qv.push_back(v);
    ASSERT_EQ(
        TVA_putqcon(task, static_cast<int>(qi.size()), qk.data(), qi.data(), qj.data(), qv.data()),
        TVA_RES_OK);
    for (size_t k = 0; k < p.cones.size(); ++k)
      ASSERT_EQ(TVA_appendconeseq(task, p.conetype[k], 0.0, static_cast<int>(p.cones[k].size()),
                                  p.cones[k][0]),
                TVA_RES_OK);
  }
  put_a(task, p, mode);
  for (int i = 0; i < p.m; ++i)
    ASSERT_EQ(TVA_putconname(task, i, p.conname[i].c_str()), TVA_RES_OK);
  for (int j = 0; j < p.n; ++j)
    ASSERT_EQ(TVA_putvarname(task, j, p.varname[j].c_str()), TVA_RES_OK);
  for (size_t k = 0; k < p.cones.size(); ++k)
    ASSERT_EQ(TVA_putconename(task, static_cast<int>(k), p.conename[k].c_str()), TVA_RES_OK);
  // Semidefinite data the same way in every mode: a bar variable of order 2 with barC and one
  // barA cell.
  int dim = 2;
  ASSERT_EQ(TVA_appendbarvars(task, 1, &dim), TVA_RES_OK);
  ASSERT_EQ(TVA_putbarvarname(task, 0, "X"), TVA_RES_OK);
  int si[] = {0, 1, 1}, sj[] = {0, 0, 1};
  double sv[] = {1.0, 0.5, 2.0};
  TVAint64t idx = -1;
  ASSERT_EQ(TVA_appendsparsesymmat(task, 2, 3, si, sj, sv, &idx), TVA_RES_OK);
  double w = 3.0;
  ASSERT_EQ(TVA_putbarcj(task, 0, 1, &idx, &w), TVA_RES_OK);
  ASSERT_EQ(TVA_putbaraij(task, p.m - 1, 0, 1, &idx, &w), TVA_RES_OK);
}

// Everything a task gives back through the get functions. Where several forms read the same
// data, they are checked against each other on the way.
struct Readback {
  int m = 0, n = 0, numcone = 0, numbarvar = 0, numintvar = 0, sense = -1;
  std::vector<int> bardims;
  double cfix = 0.0;
  std::vector<std::tuple<int, double, double>> con, var;
  std::vector<double> c;
  std::vector<int> vartype;
  Trip a, qobj;
  std::vector<Trip> qcon;
  std::vector<std::tuple<int, double, std::vector<int>>> cones;
  std::vector<std::tuple<int, int, int, int, double>> bara, barc;
  std::vector<std::string> names[4];
  std::string objname;
  int maxnamelen = 0;
  bool operator==(const Readback&) const = default;
};

std::string get_name(TVAtask_t task, int cls, int i) {
  int len = -1;
  using LenF = TVArescode (*)(TVAtask_t, TVAint32t, TVAint32t*);
  using GetF = TVArescode (*)(TVAtask_t, TVAint32t, TVAint32t, char*);
  using IdxF = TVArescode (*)(TVAtask_t, const char*, TVAint32t*, TVAint32t*);
  LenF lens[] = {TVA_getconnamelen, TVA_getvarnamelen, TVA_getconenamelen, TVA_getbarvarnamelen};
  GetF gets[] = {TVA_getconname, TVA_getvarname, TVA_getconename, TVA_getbarvarname};
  IdxF idxs[] = {TVA_getconnameindex, TVA_getvarnameindex, TVA_getconenameindex,
                 TVA_getbarvarnameindex};
  EXPECT_EQ(lens[cls](task, i, &len), TVA_RES_OK);
  std::vector<char> buf(len + 1, 'z');
  EXPECT_EQ(gets[cls](task, i, len + 1, buf.data()), TVA_RES_OK);
  std::string s(buf.data());
  EXPECT_EQ(static_cast<int>(s.size()), len);
  if (!s.empty()) {
    int asgn = 0, index = -1;
    EXPECT_EQ(idxs[cls](task, s.c_str(), &asgn, &index), TVA_RES_OK);
    EXPECT_EQ(asgn, 1);
    EXPECT_EQ(index, i);
  }
  return s;
}

Readback read_all(TVAtask_t task) {
  Readback r;
  EXPECT_EQ(TVA_getnumcon(task, &r.m), TVA_RES_OK);
  EXPECT_EQ(TVA_getnumvar(task, &r.n), TVA_RES_OK);
  EXPECT_EQ(TVA_getnumcone(task, &r.numcone), TVA_RES_OK);
  EXPECT_EQ(TVA_getnumbarvar(task, &r.numbarvar), TVA_RES_OK);
  for (int j = 0; j < r.numbarvar; ++j) {
    int dim = -1;
    TVAint64t len = -1;
    EXPECT_EQ(TVA_getdimbarvarj(task, j, &dim), TVA_RES_OK);
    EXPECT_EQ(TVA_getlenbarvarj(task, j, &len), TVA_RES_OK);
    EXPECT_EQ(len, TVAint64t(dim) * (dim + 1) / 2);
    r.bardims.push_back(dim);
  }
  EXPECT_EQ(TVA_getnumintvar(task, &r.numintvar), TVA_RES_OK);
  EXPECT_EQ(TVA_getobjsense(task, &r.sense), TVA_RES_OK);
  EXPECT_EQ(TVA_getcfix(task, &r.cfix), TVA_RES_OK);
  const int m = r.m, n = r.n;

  // Bounds: one item, the access-mode item, and both slice forms.
  std::vector<int> bk(std::max(m, n));
  std::vector<double> bl(std::max(m, n)), bu(std::max(m, n));
  for (int acc : {TVA_ACC_CON, TVA_ACC_VAR}) {
    int cnt = acc == TVA_ACC_CON ? m : n;
    auto& out = acc == TVA_ACC_CON ? r.con : r.var;
    auto slice = acc == TVA_ACC_CON ? TVA_getconboundslice : TVA_getvarboundslice;
    EXPECT_EQ(slice(task, 0, cnt, bk.data(), bl.data(), bu.data()), TVA_RES_OK);
    std::vector<int> bk2(cnt + 1);
    std::vector<double> bl2(cnt + 1), bu2(cnt + 1);
    EXPECT_EQ(TVA_getboundslice(task, acc, 1, cnt, bk2.data(), bl2.data(), bu2.data()), TVA_RES_OK);
    for (int i = 0; i < cnt; ++i) {
      int k1, k2;
      double l1, u1, l2, u2;
      auto one = acc == TVA_ACC_CON ? TVA_getconbound : TVA_getvarbound;
      EXPECT_EQ(one(task, i, &k1, &l1, &u1), TVA_RES_OK);
      EXPECT_EQ(TVA_getbound(task, acc, i, &k2, &l2, &u2), TVA_RES_OK);
      EXPECT_EQ(std::make_tuple(k1, l1, u1), std::make_tuple(k2, l2, u2));
      EXPECT_EQ(std::make_tuple(k1, l1, u1), std::make_tuple(bk[i], bl[i], bu[i]));
      if (i > 0) {
        EXPECT_EQ(std::make_tuple(k1, l1, u1), std::make_tuple(bk2[i - 1], bl2[i - 1], bu2[i - 1]));
      }
      out.emplace_back(k1, l1, u1);
    }
  }

  // Objective and types.
  r.c.resize(n);
  EXPECT_EQ(TVA_getc(task, r.c.data()), TVA_RES_OK);
  std::vector<double> cs(n);
  EXPECT_EQ(TVA_getcslice(task, 0, n, cs.data()), TVA_RES_OK);
  EXPECT_EQ(cs, r.c);
  std::vector<int> all(n);
  r.vartype.resize(n);
  for (int j = 0; j < n; ++j) {
    double cj;
    EXPECT_EQ(TVA_getcj(task, j, &cj), TVA_RES_OK);
    EXPECT_EQ(cj, r.c[j]);
    all[j] = n - 1 - j;
  }
  std::vector<int> vt(n);
  EXPECT_EQ(TVA_getvartypelist(task, n, all.data(), vt.data()), TVA_RES_OK);
  for (int j = 0; j < n; ++j) {
    EXPECT_EQ(TVA_getvartype(task, j, &r.vartype[j]), TVA_RES_OK);
    EXPECT_EQ(vt[n - 1 - j], r.vartype[j]);
  }

  // A: columns, rows, slices in both orientations and widths, triplets, single elements.
  TVAint64t nz64 = 0;
  int nz32 = 0;
  EXPECT_EQ(TVA_getnumanz64(task, &nz64), TVA_RES_OK);
  EXPECT_EQ(TVA_getnumanz(task, &nz32), TVA_RES_OK);
  EXPECT_EQ(nz64, nz32);
  std::vector<int> sub(std::max(m, n));
  std::vector<double> val(std::max(m, n));
  Trip rows;
  for (int j = 0; j < n; ++j) {
    int nz = -1, nzc = -1;
    EXPECT_EQ(TVA_getacolnumnz(task, j, &nzc), TVA_RES_OK);
    EXPECT_EQ(TVA_getacol(task, j, &nz, sub.data(), val.data()), TVA_RES_OK);
    EXPECT_EQ(nz, nzc);
    for (int t = 0; t < nz; ++t)
      r.a[{sub[t], j}] = val[t];
  }
  for (int i = 0; i < m; ++i) {
    int nz = -1, nzr = -1;
    EXPECT_EQ(TVA_getarownumnz(task, i, &nzr), TVA_RES_OK);
    EXPECT_EQ(TVA_getarow(task, i, &nz, sub.data(), val.data()), TVA_RES_OK);
    EXPECT_EQ(nz, nzr);
    for (int t = 0; t < nz; ++t)
      rows[{i, sub[t]}] = val[t];
  }
  EXPECT_EQ(rows, r.a);
  EXPECT_EQ(static_cast<TVAint64t>(r.a.size()), nz64);
  for (int acc : {TVA_ACC_VAR, TVA_ACC_CON}) {
    int cnt = acc == TVA_ACC_VAR ? n : m;
    TVAint64t snz = -1;
    int snz32 = -1;
    EXPECT_EQ(TVA_getaslicenumnz64(task, acc, 0, cnt, &snz), TVA_RES_OK);
    EXPECT_EQ(TVA_getaslicenumnz(task, acc, 0, cnt, &snz32), TVA_RES_OK);
    EXPECT_EQ(snz, nz64);
    EXPECT_EQ(snz32, nz32);
    // 64-bit slice with room in front: the elements go behind the first 3 positions.
    TVAint64t room = snz + 3, surp = snz;
    std::vector<TVAint64t> pb(cnt), pe(cnt);
    std::vector<int> s(room);
    std::vector<double> v(room);
    EXPECT_EQ(
        TVA_getaslice64(task, acc, 0, cnt, room, &surp, pb.data(), pe.data(), s.data(), v.data()),
        TVA_RES_OK);
    EXPECT_EQ(surp, 0);
    Trip got;
    for (int k = 0; k < cnt; ++k)
      for (TVAint64t p = pb[k]; p < pe[k]; ++p)
        got[acc == TVA_ACC_VAR ? std::make_pair(s[p], k) : std::make_pair(k, s[p])] = v[p];
    EXPECT_EQ(got, r.a);
    int surp32 = snz32;
    std::vector<int> pb32(cnt), pe32(cnt);
    EXPECT_EQ(TVA_getaslice(task, acc, 0, cnt, snz32, &surp32, pb32.data(), pe32.data(), s.data(),
                            v.data()),
              TVA_RES_OK);
    got.clear();
    for (int k = 0; k < cnt; ++k)
      for (int p = pb32[k]; p < pe32[k]; ++p)
        got[acc == TVA_ACC_VAR ? std::make_pair(s[p], k) : std::make_pair(k, s[p])] = v[p];
    EXPECT_EQ(got, r.a);
    std::vector<int> ti(snz32 + 1), tj(snz32 + 1);
    int tsurp = snz32;
    auto trip = acc == TVA_ACC_VAR ? TVA_getacolslicetrip : TVA_getarowslicetrip;
    EXPECT_EQ(trip(task, 0, cnt, snz32, &tsurp, ti.data(), tj.data(), v.data()), TVA_RES_OK);
    got.clear();
    for (int t = 0; t < snz32; ++t)
      got[{ti[t], tj[t]}] = v[t];
    EXPECT_EQ(got, r.a);
  }
  int piece = -1;
  EXPECT_EQ(TVA_getapiecenumnz(task, 0, m, 1, n, &piece), TVA_RES_OK);
  int expect_piece = 0;
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) {
      double aij = -1.0;
      EXPECT_EQ(TVA_getaij(task, i, j, &aij), TVA_RES_OK);
      auto it = r.a.find({i, j});
      EXPECT_EQ(aij, it == r.a.end() ? 0.0 : it->second);
      expect_piece += j >= 1 && it != r.a.end();
    }
  EXPECT_EQ(piece, expect_piece);

  // Q: both widths with room in front, and by element in either order.
  int qn = -1;
  TVAint64t qn64 = -1;
  EXPECT_EQ(TVA_getnumqobjnz(task, &qn), TVA_RES_OK);
  EXPECT_EQ(TVA_getnumqobjnz64(task, &qn64), TVA_RES_OK);
  EXPECT_EQ(qn, qn64);
  {
    std::vector<int> qi(qn + 2), qj(qn + 2);
    std::vector<double> qv(qn + 2);
    int surp = qn, num = -1;
    EXPECT_EQ(TVA_getqobj(task, qn + 2, &surp, &num, qi.data(), qj.data(), qv.data()), TVA_RES_OK);
    EXPECT_EQ(num, qn);
    for (int t = 0; t < qn; ++t) {
      r.qobj[{qi[t + 2], qj[t + 2]}] = qv[t + 2];
      double q1 = 0, q2 = 0;
      EXPECT_EQ(TVA_getqobjij(task, qi[t + 2], qj[t + 2], &q1), TVA_RES_OK);
      EXPECT_EQ(TVA_getqobjij(task, qj[t + 2], qi[t + 2], &q2), TVA_RES_OK);
      EXPECT_EQ(q1, qv[t + 2]);
      EXPECT_EQ(q2, qv[t + 2]);
    }
    TVAint64t surp64 = qn, num64 = -1;
    EXPECT_EQ(TVA_getqobj64(task, qn, &surp64, &num64, qi.data(), qj.data(), qv.data()),
              TVA_RES_OK);
    Trip q64;
    for (int t = 0; t < qn; ++t)
      q64[{qi[t], qj[t]}] = qv[t];
    EXPECT_EQ(q64, r.qobj);
  }
  for (int k = 0; k < m; ++k) {
    int kn = -1;
    TVAint64t kn64 = -1;
    EXPECT_EQ(TVA_getnumqconknz(task, k, &kn), TVA_RES_OK);
    EXPECT_EQ(TVA_getnumqconknz64(task, k, &kn64), TVA_RES_OK);
    EXPECT_EQ(kn, kn64);
    std::vector<int> qi(kn + 1), qj(kn + 1);
    std::vector<double> qv(kn + 1);
    int surp = kn, num = -1;
    EXPECT_EQ(TVA_getqconk(task, k, kn, &surp, &num, qi.data(), qj.data(), qv.data()), TVA_RES_OK);
    Trip t32, t64;
    for (int t = 0; t < kn; ++t)
      t32[{qi[t], qj[t]}] = qv[t];
    TVAint64t surp64 = kn, num64 = -1;
    EXPECT_EQ(TVA_getqconk64(task, k, kn, &surp64, &num64, qi.data(), qj.data(), qv.data()),
              TVA_RES_OK);
    for (int t = 0; t < kn; ++t)
      t64[{qi[t], qj[t]}] = qv[t];
    EXPECT_EQ(t32, t64);
    r.qcon.push_back(t32);
  }

  // Cones.
  for (int k = 0; k < r.numcone; ++k) {
    int ct = -1, nm = -1, ct2 = -1, nm2 = -1, nm3 = -1;
    double par = -1, par2 = -1;
    std::vector<int> mem(n);
    EXPECT_EQ(TVA_getcone(task, k, &ct, &par, &nm, mem.data()), TVA_RES_OK);
    EXPECT_EQ(TVA_getconeinfo(task, k, &ct2, &par2, &nm2), TVA_RES_OK);
    EXPECT_EQ(TVA_getnumconemem(task, k, &nm3), TVA_RES_OK);
    EXPECT_EQ(std::make_tuple(ct, par, nm, nm), std::make_tuple(ct2, par2, nm2, nm3));
    mem.resize(nm);
    r.cones.emplace_back(ct, par, mem);
  }

  // Semidefinite data: by cells and as block triplets.
  for (int isbara = 0; isbara < 2; ++isbara) {
    TVAint64t cells = -1, num = -1, ntrip = -1;
    EXPECT_EQ((isbara ? TVA_getnumbaranz : TVA_getnumbarcnz)(task, &cells), TVA_RES_OK);
    std::vector<TVAint64t> idx(cells);
    EXPECT_EQ((isbara ? TVA_getbarasparsity : TVA_getbarcsparsity)(task, cells, &num, idx.data()),
              TVA_RES_OK);
    EXPECT_EQ(num, cells);
    std::map<std::tuple<int, int, int, int>, double> bycell;
    for (TVAint64t c : idx) {
      TVAint64t cnt = -1, cnt2 = -1;
      int i = 0, j = -1;
      std::vector<TVAint64t> sub(8);
      std::vector<double> wt(8);
      if (isbara) {
        EXPECT_EQ(TVA_getbaraidxinfo(task, c, &cnt), TVA_RES_OK);
        int i2, j2;
        EXPECT_EQ(TVA_getbaraidxij(task, c, &i2, &j2), TVA_RES_OK);
        EXPECT_EQ(TVA_getbaraidx(task, c, 8, &i, &j, &cnt2, sub.data(), wt.data()), TVA_RES_OK);
        EXPECT_EQ(std::make_pair(i, j), std::make_pair(i2, j2));
      } else {
        EXPECT_EQ(TVA_getbarcidxinfo(task, c, &cnt), TVA_RES_OK);
        int j2;
        EXPECT_EQ(TVA_getbarcidxj(task, c, &j2), TVA_RES_OK);
        EXPECT_EQ(TVA_getbarcidx(task, c, 8, &j, &cnt2, sub.data(), wt.data()), TVA_RES_OK);
        EXPECT_EQ(j, j2);
      }
      EXPECT_EQ(cnt, cnt2);
      for (TVAint64t t = 0; t < cnt; ++t) {
        int dim = -1, type = -1;
        TVAint64t mnz = -1;
        EXPECT_EQ(TVA_getsymmatinfo(task, sub[t], &dim, &mnz, &type), TVA_RES_OK);
        EXPECT_EQ(type, TVA_SYMMAT_TYPE_SPARSE);
        std::vector<int> si(mnz), sj(mnz);
        std::vector<double> sv(mnz);
        EXPECT_EQ(TVA_getsparsesymmat(task, sub[t], mnz, si.data(), sj.data(), sv.data()),
                  TVA_RES_OK);
        for (TVAint64t e = 0; e < mnz; ++e)
          bycell[{i, j, si[e], sj[e]}] += wt[t] * sv[e];
      }
    }
    EXPECT_EQ((isbara ? TVA_getnumbarablocktriplets : TVA_getnumbarcblocktriplets)(task, &ntrip),
              TVA_RES_OK);
    std::vector<int> ti(ntrip), tj(ntrip), tk(ntrip), tl(ntrip);
    std::vector<double> tv(ntrip);
    TVAint64t got = -1;
    if (isbara) {
      EXPECT_EQ(TVA_getbarablocktriplet(task, ntrip, &got, ti.data(), tj.data(), tk.data(),
                                        tl.data(), tv.data()),
                TVA_RES_OK);
    } else {
      EXPECT_EQ(
          TVA_getbarcblocktriplet(task, ntrip, &got, tj.data(), tk.data(), tl.data(), tv.data()),
          TVA_RES_OK);
    }
    EXPECT_EQ(got, ntrip);
    std::map<std::tuple<int, int, int, int>, double> bytrip;
    for (TVAint64t t = 0; t < ntrip; ++t)
      bytrip[{isbara ? ti[t] : 0, tj[t], tk[t], tl[t]}] += tv[t];
    EXPECT_EQ(bytrip, bycell);
    for (const auto& [key, v] : bycell) {
      auto [i, j, k, l] = key;
      (isbara ? r.bara : r.barc).emplace_back(i, j, k, l, v);
    }
  }

  // Names.
  int counts[] = {m, n, r.numcone, r.numbarvar};
  for (int cls = 0; cls < 4; ++cls)
    for (int i = 0; i < counts[cls]; ++i)
      r.names[cls].push_back(get_name(task, cls, i));
  int olen = -1;
  EXPECT_EQ(TVA_getobjnamelen(task, &olen), TVA_RES_OK);
  std::vector<char> obuf(olen + 1);
  EXPECT_EQ(TVA_getobjname(task, olen + 1, obuf.data()), TVA_RES_OK);
  r.objname = obuf.data();
  EXPECT_EQ(TVA_getmaxnamelen(task, &r.maxnamelen), TVA_RES_OK);
  return r;
}

class PutGetRandom : public ::testing::TestWithParam<unsigned> {
protected:
  void SetUp() override { ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK); }
  void TearDown() override { EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK); }
  TVAenv_t env = nullptr;
};

TEST_P(PutGetRandom, EveryPutFormReadsBackIdenticallyAndSoDoesTheClone) {
  Problem p = random_problem(GetParam());
  std::vector<Readback> seen;
  for (Mode mode : {kSingle, kColumns, kRows, kTriplets, kColumnsWide, kRowsWide}) {
    TVAtask_t task = nullptr;
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    build(task, p, mode);
    Readback r = read_all(task);
    EXPECT_EQ(r.m, p.m);
    EXPECT_EQ(r.a, p.a) << "mode " << mode;
    EXPECT_EQ(r.qobj, p.qobj);
    EXPECT_EQ(r.c, p.c);
    EXPECT_EQ(r.names[0], p.conname);
    EXPECT_EQ(r.objname, p.objname);
    seen.push_back(r);
    EXPECT_EQ(seen.front(), r) << "mode " << mode << " reads back differently";

    TVAtask_t clone = nullptr;
    ASSERT_EQ(TVA_clonetask(task, &clone), TVA_RES_OK);
    EXPECT_EQ(read_all(clone), r) << "the clone of mode " << mode << " differs";
    EXPECT_EQ(TVA_deletetask(&clone), TVA_RES_OK);
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PutGetRandom, ::testing::Values(1u, 2u, 3u, 17u, 99u, 2024u));

} // namespace
