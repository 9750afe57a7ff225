// Long random sequences of appends, puts, removals and capacity changes applied to a task and,
// side by side, to a plain dense model of the same problem; after each step both must agree.
// About one call in five is made invalid on purpose: it must fail and change nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "store_snapshot.h"
#include "telva.h"

using namespace telva;
using storetest::Bound;
using storetest::Cone;
using storetest::Triplets;

namespace {

struct Model {
  int32 numcon = 0, numvar = 0;
  std::vector<Bound> con, var;
  std::vector<double> c;
  Triplets a;
  std::vector<Triplets> q{Triplets{}}; // [0] objective, [1 + k] constraint k
  std::vector<Cone> cones;
  std::vector<std::string> names[3]; // constraints, variables, cones

  int32 cone_of(int32 j) const {
    for (size_t k = 0; k < cones.size(); ++k)
      for (int32 m : cones[k].members)
        if (m == j) return int32(k);
    return -1;
  }
  // Removes items by a sorted unique subset; gives old -> new.
  static std::vector<int32> renumber(int32 count, const std::vector<int32>& subset) {
    std::vector<int32> map(count, 0);
    for (int32 s : subset)
      map[s] = -1;
    int32 n = 0;
    for (auto& m : map)
      if (m == 0) m = n++;
    return map;
  }
};

Triplets normal_q(const std::vector<int32>& i, const std::vector<int32>& j,
                  const std::vector<double>& v) {
  Triplets t;
  for (size_t p = 0; p < i.size(); ++p)
    if (std::fabs(v[p]) > 1e-16) t[{i[p], j[p]}] += v[p];
  return t;
}

void compare(TvaTask* task, const Model& m, int step) {
  storetest::Snapshot s = storetest::snapshot(task);
  ASSERT_EQ(s.numcon, m.numcon) << "step " << step;
  ASSERT_EQ(s.numvar, m.numvar) << "step " << step;
  ASSERT_EQ(s.numcone, int32(m.cones.size())) << "step " << step;
  ASSERT_EQ(s.con, m.con) << "step " << step;
  ASSERT_EQ(s.var, m.var) << "step " << step;
  ASSERT_EQ(s.c, m.c) << "step " << step;
  ASSERT_EQ(s.a, m.a) << "step " << step;
  ASSERT_EQ(s.q, m.q) << "step " << step;
  ASSERT_EQ(s.cones, m.cones) << "step " << step;
  for (int cls = 0; cls < 3; ++cls)
    ASSERT_EQ(s.names[cls], m.names[cls]) << "step " << step;
  storetest::check_invariants(task);
}

class StoreRandom : public ::testing::TestWithParam<int> {};

TEST_P(StoreRandom, AgreesWithDenseModel) {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
  ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  std::mt19937 rng(GetParam());
  auto rnd = [&](int32 n) { return n <= 0 ? 0 : int32(rng() % uint32(n)); };
  auto coin = [&](int pct) { return rnd(100) < pct; };
  auto value = [&]() -> double {
    int k = rnd(10);
    if (k == 0) return 0.0;
    if (k == 1) return 1e-13; // stored as zero
    return double(rnd(19) - 9) + 0.5;
  };
  Model m;
  int done[17][2] = {};

  for (int step = 0; step < 1500; ++step) {
    int op = rnd(17);
    bool bad = coin(20);
    TVArescode r = TVA_RES_OK;
    bool expect_ok = true;
    if (op == 0 && m.numcon < 25) {
      int32 n = bad ? -1 : rnd(3);
      r = TVA_appendcons(task, n);
      expect_ok = !bad;
      if (expect_ok)
        for (int32 t = 0; t < n; ++t) {
          m.con.push_back({TVA_BK_FR, -1e30, 1e30});
          m.q.push_back({});
          m.names[0].push_back("");
          m.numcon++;
        }
    } else if (op == 1 && m.numvar < 25) {
      int32 n = bad ? -1 : rnd(3);
      r = TVA_appendvars(task, n);
      expect_ok = !bad;
      if (expect_ok)
        for (int32 t = 0; t < n; ++t) {
          m.var.push_back({TVA_BK_FX, 0.0, 0.0});
          m.c.push_back(0.0);
          m.names[1].push_back("");
          m.numvar++;
        }
    } else if (op == 2 && m.numcon > 0 && m.numvar > 0) {
      int32 i = rnd(m.numcon), j = bad ? m.numvar : rnd(m.numvar);
      double v = value();
      r = TVA_putaij(task, i, j, v);
      expect_ok = !bad;
      if (expect_ok) {
        if (std::fabs(v) < 1e-12)
          m.a.erase({i, j});
        else
          m.a[{i, j}] = v;
      }
    } else if (op == 3 && m.numcon > 0 && m.numvar > 0) {
      int32 n = 1 + rnd(6);
      std::vector<int32> si(n), sj(n);
      std::vector<double> sv(n);
      for (int32 t = 0; t < n; ++t) {
        si[t] = rnd(m.numcon);
        sj[t] = rnd(m.numvar);
        sv[t] = value();
      }
      if (bad) sv[n - 1] = 1e30;
      r = store_putaijlist(task, n, si.data(), sj.data(), sv.data());
      expect_ok = !bad;
      for (int32 t = 0; t < n && expect_ok; ++t) {
        if (std::fabs(sv[t]) < 1e-12)
          m.a.erase({si[t], sj[t]});
        else
          m.a[{si[t], sj[t]}] = sv[t];
      }
    } else if (op == 4 && m.numcon > 0 && m.numvar > 0) {
      bool bycol = coin(50);
      int32 count = bycol ? m.numvar : m.numcon, vlen = bycol ? m.numcon : m.numvar;
      int32 num = 1 + rnd(std::min(count, 3));
      bool slice = coin(50);
      int32 first = slice ? rnd(count - num + 1) : 0;
      std::vector<int32> items(num);
      if (slice) {
        for (int32 t = 0; t < num; ++t)
          items[t] = first + t;
      } else {
        std::vector<int32> all(count);
        for (int32 t = 0; t < count; ++t)
          all[t] = t;
        std::shuffle(all.begin(), all.end(), rng);
        std::copy(all.begin(), all.begin() + num, items.begin());
      }
      std::vector<int64> pb, pe;
      std::vector<int32> asub;
      std::vector<double> aval;
      for (int32 t = 0; t < num; ++t) {
        std::vector<int32> idx(vlen);
        for (int32 s = 0; s < vlen; ++s)
          idx[s] = s;
        std::shuffle(idx.begin(), idx.end(), rng);
        int32 nz = rnd(vlen + 1);
        pb.push_back(int64(asub.size()));
        for (int32 s = 0; s < nz; ++s) {
          asub.push_back(idx[s]);
          aval.push_back(value());
        }
        pe.push_back(int64(asub.size()));
      }
      if (bad) {
        // A repeated index in the last item.
        asub.push_back(asub.empty() ? 0 : asub.back());
        if (asub.size() == 1) asub.push_back(0);
        while (aval.size() < asub.size())
          aval.push_back(1.0);
        pe.back() = int64(asub.size());
        if (pe.back() - pb.back() < 2) {
          asub.push_back(asub.back());
          aval.push_back(1.0);
          pe.back() = int64(asub.size());
        }
      }
      r = store_putavecs(task, bycol, num, slice ? nullptr : items.data(), first, pb.data(),
                         pe.data(), asub.data(), aval.data());
      expect_ok = !bad;
      for (int32 t = 0; t < num && expect_ok; ++t) {
        int32 k = items[t];
        for (auto it = m.a.begin(); it != m.a.end();)
          it = (bycol ? it->first.second : it->first.first) == k ? m.a.erase(it) : ++it;
        for (int64 p = pb[t]; p < pe[t]; ++p)
          if (std::fabs(aval[p]) >= 1e-12)
            m.a[bycol ? std::make_pair(asub[p], k) : std::make_pair(k, asub[p])] = aval[p];
      }
    } else if (op == 5 && (m.numcon > 0 || m.numvar > 0)) {
      bool con = m.numvar == 0 || (m.numcon > 0 && coin(50));
      int32 i = rnd(con ? m.numcon : m.numvar);
      int32 bk = rnd(5);
      double bl = double(rnd(5)), bu = bl + double(rnd(3));
      if (bk == TVA_BK_FX) bu = bad ? bl + 1.0 : bl;
      if (bk != TVA_BK_FX && bad) bk = 9;
      r = store_putbound(task, con ? TVA_ACC_CON : TVA_ACC_VAR, i, bk, bl, bu);
      expect_ok = !bad;
      if (expect_ok) {
        Bound b{bk, bl, bu};
        if (bk == TVA_BK_LO) b.bu = 1e30;
        if (bk == TVA_BK_UP) b.bl = -1e30;
        if (bk == TVA_BK_FR) b = {bk, -1e30, 1e30};
        (con ? m.con : m.var)[i] = b;
      }
    } else if (op == 6 && m.numvar > 0) {
      int32 j = rnd(m.numvar);
      double v = bad ? std::nan("") : value();
      r = store_putcj(task, j, v);
      expect_ok = !bad;
      if (expect_ok) m.c[j] = v;
    } else if ((op == 7 || op == 9) && m.numvar > 0 && (op == 7 || m.numcon > 0)) {
      int32 k = op == 7 ? -1 : rnd(m.numcon);
      int32 n = rnd(5);
      std::vector<int32> qi(n), qj(n);
      std::vector<double> qv(n);
      for (int32 t = 0; t < n; ++t) {
        qi[t] = rnd(m.numvar);
        qj[t] = rnd(qi[t] + 1);
        qv[t] = rnd(4) == 0 ? 1e-17 : double(rnd(7) - 3);
      }
      if (bad) {
        qi.push_back(0);
        qj.push_back(m.numvar);
        qv.push_back(1.0);
        ++n;
      }
      r = k < 0 ? TVA_putqobj(task, n, qi.data(), qj.data(), qv.data())
                : TVA_putqconk(task, k, n, qi.data(), qj.data(), qv.data());
      expect_ok = !bad;
      if (expect_ok) m.q[k + 1] = normal_q(qi, qj, qv);
    } else if (op == 8 && m.numvar > 0) {
      int32 i = rnd(m.numvar), j = rnd(i + 1);
      if (bad) std::swap(i, j), i = std::min(i, m.numvar - 1), j = i + 1;
      double v = rnd(3) == 0 ? 0.0 : double(rnd(5) + 1);
      r = TVA_putqobjij(task, i, j, v);
      expect_ok = !bad;
      if (expect_ok) {
        if (v == 0.0)
          m.q[0].erase({i, j});
        else
          m.q[0][{i, j}] = v;
      }
    } else if (op == 10 && m.numvar > 0) {
      int32 ct = rnd(2);
      int32 n = 1 + rnd(3);
      std::vector<int32> mem(n);
      for (auto& v : mem)
        v = rnd(m.numvar);
      bool valid = !(ct == TVA_CT_RQUAD && n < 2);
      std::set<int32> seen;
      for (int32 v : mem) {
        if (!seen.insert(v).second || m.cone_of(v) >= 0) valid = false;
      }
      r = TVA_appendcone(task, ct, 0.25, n, mem.data());
      expect_ok = valid;
      if (valid) {
        m.cones.push_back({ct, 0.25, mem});
        m.names[2].push_back("");
      }
    } else if (op == 11 && m.numcon > 0) {
      std::vector<int32> subset;
      for (int32 i = 0; i < m.numcon; ++i)
        if (coin(10)) subset.push_back(i);
      std::shuffle(subset.begin(), subset.end(), rng);
      if (bad) subset.push_back(m.numcon);
      r = TVA_removecons(task, int32(subset.size()), subset.data());
      expect_ok = !bad;
      if (expect_ok) {
        std::vector<int32> map = Model::renumber(m.numcon, subset);
        Triplets na;
        for (auto& [key, v] : m.a)
          if (map[key.first] >= 0) na[{map[key.first], key.second}] = v;
        m.a = na;
        for (int32 i = m.numcon - 1; i >= 0; --i)
          if (map[i] < 0) {
            m.con.erase(m.con.begin() + i);
            m.q.erase(m.q.begin() + 1 + i);
            m.names[0].erase(m.names[0].begin() + i);
          }
        m.numcon -= int32(subset.size());
      }
    } else if (op == 12 && m.numvar > 0) {
      std::vector<int32> subset;
      for (int32 j = 0; j < m.numvar; ++j)
        if (coin(10)) subset.push_back(j);
      bool valid = true;
      for (int32 j : subset) {
        int32 k = m.cone_of(j);
        if (k < 0) continue;
        int32 lead = m.cones[k].type == TVA_CT_QUAD ? 1 : 2;
        for (int32 p = 0; p < lead && p < int32(m.cones[k].members.size()); ++p)
          if (m.cones[k].members[p] == j) valid = false;
      }
      if (bad && !subset.empty()) {
        subset.push_back(subset[0]);
        valid = false;
      }
      r = TVA_removevars(task, int32(subset.size()), subset.data());
      expect_ok = valid;
      if (valid) {
        std::vector<int32> map = Model::renumber(m.numvar, subset);
        Triplets na;
        for (auto& [key, v] : m.a)
          if (map[key.second] >= 0) na[{key.first, map[key.second]}] = v;
        m.a = na;
        for (auto& q : m.q) {
          Triplets nq;
          for (auto& [key, v] : q)
            if (map[key.first] >= 0 && map[key.second] >= 0)
              nq[{map[key.first], map[key.second]}] = v;
          q = nq;
        }
        for (auto& cone : m.cones) {
          std::vector<int32> nm;
          for (int32 v : cone.members)
            if (map[v] >= 0) nm.push_back(map[v]);
          cone.members = nm;
        }
        for (int32 j = m.numvar - 1; j >= 0; --j)
          if (map[j] < 0) {
            m.var.erase(m.var.begin() + j);
            m.c.erase(m.c.begin() + j);
            m.names[1].erase(m.names[1].begin() + j);
          }
        m.numvar -= int32(subset.size());
      }
    } else if (op == 13 && !m.cones.empty()) {
      int32 k = rnd(int32(m.cones.size()));
      int32 sub[] = {bad ? int32(m.cones.size()) : k};
      r = TVA_removecones(task, 1, sub);
      expect_ok = !bad;
      if (expect_ok) {
        m.cones.erase(m.cones.begin() + k);
        m.names[2].erase(m.names[2].begin() + k);
      }
    } else if (op == 14) {
      int which = rnd(4);
      int32 counts[] = {m.numcon, m.numvar, int32(m.cones.size())};
      if (which == 3) {
        int64 used = 0;
        for (auto& q : m.q)
          used += int64(q.size());
        int64 n = bad ? used - 1 : used + rnd(20);
        r = TVA_putmaxnumqnz(task, n);
        expect_ok = n >= used;
      } else {
        int32 n = bad ? counts[which] - 1 : counts[which] + rnd(10);
        r = which == 0   ? TVA_putmaxnumcon(task, n)
            : which == 1 ? TVA_putmaxnumvar(task, n)
                         : TVA_putmaxnumcone(task, n);
        expect_ok = n >= counts[which];
      }
    } else if (op == 15) {
      int32 cls = rnd(3);
      int32 counts[] = {m.numcon, m.numvar, int32(m.cones.size())};
      if (counts[cls] == 0) continue;
      int32 i = rnd(counts[cls]);
      std::string name = rnd(4) == 0 ? "" : "n" + std::to_string(step) + std::string(rnd(12), 'x');
      r = store_putname(task, cls, i, name.c_str());
      m.names[cls][i] = name;
    } else if (op == 16 && !m.cones.empty() && m.numvar > 0) {
      int32 k = rnd(int32(m.cones.size()));
      int32 n = 1 + rnd(4);
      std::vector<int32> mem(n);
      for (auto& v : mem)
        v = rnd(m.numvar);
      bool valid = true;
      std::set<int32> seen;
      for (int32 v : mem) {
        int32 owner = m.cone_of(v);
        if (!seen.insert(v).second || (owner >= 0 && owner != k)) valid = false;
      }
      r = TVA_putcone(task, k, TVA_CT_QUAD, 0.5, n, mem.data());
      expect_ok = valid;
      if (valid) {
        m.cones[k] = {TVA_CT_QUAD, 0.5, mem};
      }
    } else {
      continue;
    }
    done[op][expect_ok]++;
    ASSERT_EQ(r == TVA_RES_OK, expect_ok) << "step " << step << " op " << op << " code " << r;
    compare(task, m, step);
    if (HasFatalFailure()) break;
  }
  // Every kind of step ran, both as a valid and as a refused call.
  for (int o : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 16}) {
    EXPECT_GT(done[o][1], 0) << "op " << o;
    EXPECT_GT(done[o][0], 0) << "op " << o;
  }
  EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
  EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
}

INSTANTIATE_TEST_SUITE_P(Seeds, StoreRandom, ::testing::Values(1, 2, 3, 4));

} // namespace
