// A plain copy of everything a task's problem store holds, for comparing a store with itself
// before and after an operation, or with a model.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "telva/store/store.h"
#include "telva/task/task.h"

namespace storetest {

using telva::int32;
using telva::int64;

struct Bound {
  int32 bk;
  double bl, bu;
  bool operator==(const Bound&) const = default;
};

struct Cone {
  int32 type;
  double par;
  std::vector<int32> members;
  bool operator==(const Cone&) const = default;
};

using Triplets = std::map<std::pair<int32, int32>, double>;
// A cell of barA or barC: list of (matrix as sorted triplets with its order, weight).
using SymMat = std::tuple<int32, std::vector<std::tuple<int32, int32, double>>>;
using Cell = std::vector<std::pair<SymMat, double>>;

struct Snapshot {
  int32 numcon = 0, numvar = 0, numcone = 0, numbarvar = 0, numintvar = 0;
  int64 numsymmat = 0;
  std::vector<Bound> con, var;
  std::vector<double> c;
  double cfix = 0.0;
  int32 objsense = 0;
  Triplets a;              // (row, column)
  std::vector<Triplets> q; // [0] the objective, [1 + k] constraint k
  std::vector<Cone> cones;
  std::vector<int32> varcone, vartype, bardim;
  std::map<std::tuple<int32, int32, int32>, Cell> bar; // (0 barc / 1 bara, i, j)
  std::vector<std::string> names[telva::kNumNameClasses];
  bool operator==(const Snapshot&) const = default;
};

inline Triplets q_of(TvaTask* task, int32 k) {
  int64 f, l;
  telva::store_qinterval(task, k, &f, &l);
  Triplets t;
  const telva::ProblemStore& s = task->store;
  for (int64 p = f; p < l; ++p) {
    auto key = std::make_pair(s.qsubi[p], s.qsubj[p]);
    EXPECT_EQ(t.count(key), 0u) << "Q not normalised";
    EXPECT_GE(s.qsubi[p], s.qsubj[p]) << "Q element above the diagonal";
    t[key] = s.qval[p];
  }
  return t;
}

inline SymMat symmat_of(TvaTask* task, int64 idx) {
  const telva::sossm_mat* m = telva::sossm_get(&task->store.symmats, idx);
  std::vector<std::tuple<int32, int32, double>> e;
  for (int64 t = 0; t < m->nz; ++t)
    e.emplace_back(m->subi[t], m->subj[t], m->val[t]);
  std::sort(e.begin(), e.end());
  return {telva::sossm_dim(&task->store.symmats, idx), e};
}

inline Snapshot snapshot(TvaTask* task) {
  Snapshot s;
  const telva::ProblemStore& ps = task->store;
  s.numcon = task->numcon;
  s.numvar = task->numvar;
  s.numcone = task->numcone;
  s.numbarvar = task->numbarvar;
  s.numintvar = ps.numintvar;
  s.numsymmat = ps.symmats.num;
  s.cfix = ps.cfix;
  s.objsense = ps.objsense;
  for (int32 i = 0; i < task->numcon; ++i) {
    Bound b;
    telva::store_getbound(task, TVA_ACC_CON, i, &b.bk, &b.bl, &b.bu);
    s.con.push_back(b);
  }
  for (int32 j = 0; j < task->numvar; ++j) {
    Bound b;
    telva::store_getbound(task, TVA_ACC_VAR, j, &b.bk, &b.bl, &b.bu);
    s.var.push_back(b);
    s.c.push_back(ps.c[j]);
    s.varcone.push_back(ps.varcone[j]);
    s.vartype.push_back(ps.vartype[j]);
  }
  std::vector<int32> sub(std::max(task->numcon, 1));
  std::vector<double> val(std::max(task->numcon, 1));
  for (int32 j = 0; j < task->numvar; ++j) {
    int32 nz = 0;
    EXPECT_EQ(telva::store_getavec(task, true, j, &nz, sub.data(), val.data()), TVA_RES_OK);
    for (int32 t = 0; t < nz; ++t) {
      EXPECT_EQ(s.a.count({sub[t], j}), 0u) << "duplicate element in A";
      EXPECT_NE(val[t], 0.0);
      s.a[{sub[t], j}] = val[t];
    }
  }
  s.q.push_back(q_of(task, -1));
  for (int32 k = 0; k < task->numcon; ++k)
    s.q.push_back(q_of(task, k));
  for (int32 k = 0; k < task->numcone; ++k) {
    Cone c{ps.conetype[k], ps.conepar[k], {}};
    for (int32 p = ps.coneptrb[k]; p < ps.coneptre[k]; ++p)
      c.members.push_back(ps.conesub[p]);
    s.cones.push_back(c);
  }
  for (int32 j = 0; j < task->numbarvar; ++j)
    s.bardim.push_back(ps.bardim[j]);
  for (int g = 0; g < 2; ++g) {
    const telva::hyposm* h = g == 0 ? ps.barc : ps.bara;
    if (!h) continue;
    for (const auto& [key, cell] : h->cells) {
      Cell out;
      for (int64 t = 0; t < cell.num; ++t)
        out.emplace_back(symmat_of(task, cell.sub[t]), cell.weight[t]);
      s.bar[{g, key.first, key.second}] = out;
    }
  }
  int32 counts[] = {task->numcon, task->numvar, task->numcone, task->numbarvar};
  for (int32 cls = 0; cls < telva::kNumNameClasses; ++cls)
    for (int32 i = 0; i < counts[cls]; ++i)
      s.names[cls].push_back(telva::store_getname(task, cls, i));
  return s;
}

// The store's own invariants.
inline void check_invariants(TvaTask* task) {
  const telva::ProblemStore& s = task->store;
  ASSERT_LE(task->numcon, task->maxnumcon);
  ASSERT_LE(task->numvar, task->maxnumvar);
  ASSERT_LE(task->numcone, task->maxnumcone);
  ASSERT_LE(task->numbarvar, task->maxnumbarvar);
  int64 members = 0;
  std::vector<int32> owner(task->numvar, 0);
  for (int32 k = 0; k < task->numcone; ++k) {
    members += s.coneptre[k] - s.coneptrb[k];
    for (int32 p = s.coneptrb[k]; p < s.coneptre[k]; ++p)
      owner[s.conesub[p]] = k + 1;
    ASSERT_LE(s.coneptre[k], task->maxnumvar - s.conesurplus);
  }
  ASSERT_LE(members + s.conesurplus, task->maxnumvar);
  int32 nint = 0;
  for (int32 j = 0; j < task->numvar; ++j) {
    ASSERT_EQ(s.varcone[j], owner[j]) << "varcone disagrees with the member lists at " << j;
    nint += s.vartype[j] == TVA_VAR_TYPE_INT;
  }
  ASSERT_EQ(nint, s.numintvar);
  for (int32 i = 0; i < task->numcon; ++i)
    if (s.bkc[i] == TVA_BK_FX) {
      ASSERT_EQ(s.blc[i], s.buc[i]);
    }
  // Q intervals are disjoint and lie before the free tail.
  std::vector<std::pair<int64, int64>> iv;
  int64 f, l;
  for (int32 k = -1; k < task->numcon; ++k) {
    telva::store_qinterval(task, k, &f, &l);
    if (f != l) iv.push_back({f, l});
  }
  std::sort(iv.begin(), iv.end());
  for (size_t t = 0; t < iv.size(); ++t) {
    if (t > 0) {
      ASSERT_LE(iv[t - 1].second, iv[t].first);
    }
    ASSERT_LE(iv[t].second, task->maxnumqnz - s.qsurplus);
  }
}

} // namespace storetest
