// Sparse containers and basic structures: each checked against a plain reference model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "misc/bitvec.h"
#include "misc/bsto.h"
#include "misc/hashtabl.h"
#include "misc/hyposm.h"
#include "misc/ivector.h"
#include "misc/pqueue.h"
#include "misc/prque.h"
#include "misc/rvector.h"
#include "misc/sort.h"
#include "misc/sossm.h"
#include "misc/spmat.h"
#include "misc/sprmat.h"

using namespace telva;

namespace {

// Every test gets its own sysenv and checks at the end that all its memory came back.
class Containers : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
    // Assertion messages go to stderr, where death tests look for them.
    sysenv_set_fatal(
        sys, [](void*, const char*, int, const char* msg) { std::fprintf(stderr, "%s\n", msg); },
        nullptr);
    memman_usage(sys->mm, &base, &peak);
  }
  void TearDown() override {
    int64 now = 0;
    memman_usage(sys->mm, &now, &peak);
    EXPECT_EQ(now, base) << "container memory was not given back";
    sysenv_delete(&sys);
  }
  sysenv* sys = nullptr;
  int64 base = 0, peak = 0;
};

using Dense = std::map<std::pair<int32, int32>, double>; // (vector, index) -> value

Dense spmat_contents(const spmat* a) {
  Dense d;
  for (int32 k = 0; k < a->nvec; ++k)
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p) {
      EXPECT_EQ(d.count({k, a->sub[p]}), 0u) << "duplicate index in a vector";
      d[{k, a->sub[p]}] = a->val[p];
    }
  return d;
}

Dense transposed(const Dense& d) {
  Dense t;
  for (auto& [key, v] : d)
    t[{key.second, key.first}] = v;
  return t;
}

TEST_F(Containers, SpmatAddReplaceKeepsVectorsAndGrows) {
  spmat* a = nullptr;
  ASSERT_EQ(spmat_create(sys, 1, 5, 2, true, &a), kSpmatOk);
  EXPECT_EQ(a->ffree, 0);
  EXPECT_EQ(spmat_numnz(a), 0);
  Dense ref;
  std::mt19937 rng(7);
  for (int32 k = 0; k < 40; ++k) {
    std::vector<int32> sub(5);
    std::iota(sub.begin(), sub.end(), 0);
    std::shuffle(sub.begin(), sub.end(), rng);
    int32 nz = rng() % 6;
    std::vector<double> val(nz);
    for (int32 t = 0; t < nz; ++t)
      ref[{k, sub[t]}] = val[t] = k + 0.5 * t;
    ASSERT_EQ(spmat_addvec(a, nz, sub.data(), val.data()), kSpmatOk);
  }
  EXPECT_EQ(spmat_contents(a), ref);
  // Replacements, longer and shorter, leave gaps and move vectors; contents must follow.
  for (int round = 0; round < 200; ++round) {
    int32 k = rng() % 40;
    int32 nz = rng() % 6;
    std::vector<int32> sub(5);
    std::iota(sub.begin(), sub.end(), 0);
    std::shuffle(sub.begin(), sub.end(), rng);
    std::vector<double> val(nz);
    for (auto it = ref.begin(); it != ref.end();)
      it = it->first.first == k ? ref.erase(it) : ++it;
    for (int32 t = 0; t < nz; ++t)
      ref[{k, sub[t]}] = val[t] = round + 0.25 * t;
    ASSERT_EQ(spmat_replacevec(a, k, nz, sub.data(), val.data()), kSpmatOk);
    ASSERT_LE(a->ffree, a->maxsze);
  }
  EXPECT_EQ(spmat_contents(a), ref);
  int64 nz = spmat_numnz(a);
  ASSERT_EQ(spmat_packinplace(a), kSpmatOk);
  EXPECT_EQ(a->ffree, nz);
  EXPECT_EQ(spmat_contents(a), ref);
  ASSERT_EQ(spmat_unpackinplace(a, 3), kSpmatOk);
  EXPECT_EQ(spmat_contents(a), ref);
  // Every vector has its 3 free slots before the next vector in storage.
  for (int32 k = 0; k < a->nvec; ++k) {
    for (int32 m = 0; m < a->nvec; ++m) {
      if (m != k && a->ptrb[m] >= a->ptrb[k]) {
        EXPECT_GE(a->ptrb[m] - a->ptre[k], 3);
      }
    }
  }
  spmat_clear(a);
  EXPECT_EQ(a->ffree, 0);
  EXPECT_EQ(spmat_getnvec(a), 0);
  spmat_delete(&a);
  EXPECT_EQ(a, nullptr);
}

TEST_F(Containers, SpmatTransposeSortsAndPermutes) {
  spmat *a = nullptr, *at = nullptr, *att = nullptr;
  const int32 nvec = 7, vlen = 4;
  ASSERT_EQ(spmat_create(sys, nvec, vlen, 0, true, &a), kSpmatOk);
  Dense ref;
  std::mt19937 rng(3);
  for (int32 k = 0; k < nvec; ++k) {
    std::vector<int32> sub;
    std::vector<double> val;
    for (int32 i = vlen - 1; i >= 0; --i) // reversed order: transposes must sort
      if (rng() % 2) {
        sub.push_back(i);
        val.push_back(10 * k + i);
        ref[{k, i}] = 10 * k + i;
      }
    ASSERT_EQ(spmat_addvec(a, int32(sub.size()), sub.data(), val.data()), kSpmatOk);
  }
  ASSERT_EQ(spmat_create(sys, vlen, nvec, 0, true, &at), kSpmatOk);
  ASSERT_EQ(spmat_setdims(at, vlen, nvec), kSpmatOk);
  ASSERT_EQ(spmat_transpose(a, at), kSpmatOk);
  EXPECT_EQ(spmat_contents(at), transposed(ref));
  ASSERT_EQ(spmat_create(sys, nvec, vlen, 0, true, &att), kSpmatOk);
  ASSERT_EQ(spmat_setdims(att, nvec, vlen), kSpmatOk);
  ASSERT_EQ(spmat_transpose(at, att), kSpmatOk);
  EXPECT_EQ(spmat_contents(att), ref);
  for (int32 k = 0; k < nvec; ++k)
    EXPECT_TRUE(std::is_sorted(att->sub + att->ptrb[k], att->sub + att->ptre[k]));

  // With a permutation, a's vector perm[t] becomes index t.
  std::vector<int32> perm = {6, 2, 0, 5, 1, 4, 3};
  ASSERT_EQ(spmat_transposeperm(a, perm.data(), at), kSpmatOk);
  Dense expect;
  for (int32 t = 0; t < nvec; ++t)
    for (auto& [key, v] : ref)
      if (key.first == perm[t]) expect[{key.second, t}] = v;
  EXPECT_EQ(spmat_contents(at), expect);

  std::vector<double> dense(nvec * vlen, -1.0);
  spmat_uncompress(a, dense.data(), vlen);
  for (int32 k = 0; k < nvec; ++k)
    for (int32 i = 0; i < vlen; ++i)
      EXPECT_EQ(dense[k * vlen + i], (ref.count({k, i}) ? ref[{k, i}] : 0.0));

  std::FILE* f = std::tmpfile();
  spmat_writetofile(a, f, "A");
  std::rewind(f);
  char line[256];
  ASSERT_TRUE(std::fgets(line, sizeof line, f));
  EXPECT_STREQ(line, "SPMAT - A  numvec=7       veclen=4     \n");
  std::fclose(f);
  spmat_delete(&a);
  spmat_delete(&at);
  spmat_delete(&att);
}

TEST_F(Containers, SpmatNumMatAddOnFixedPattern) {
  spmat *a = nullptr, *b = nullptr, *c = nullptr;
  ASSERT_EQ(spmat_create(sys, 2, 3, 0, true, &a), kSpmatOk);
  ASSERT_EQ(spmat_create(sys, 2, 3, 0, true, &b), kSpmatOk);
  ASSERT_EQ(spmat_create(sys, 2, 3, 0, true, &c), kSpmatOk);
  int32 s0[] = {0, 2}, s1[] = {1};
  double v0[] = {1.0, 2.0}, v1[] = {3.0};
  spmat_addvec(a, 2, s0, v0);
  spmat_addvec(a, 1, s1, v1);
  int32 t0[] = {2}, t1[] = {0, 1};
  double w0[] = {5.0}, w1[] = {7.0, 11.0};
  spmat_addvec(b, 1, t0, w0);
  spmat_addvec(b, 2, t1, w1);
  int32 c0[] = {2, 0}, c1[] = {1, 0, 2};
  double z[] = {9, 9, 9};
  spmat_addvec(c, 2, c0, z);
  spmat_addvec(c, 3, c1, z);
  std::vector<double> work(3, 0.0);
  spmat_nummatadd(2.0, a, -1.0, b, c, work.data());
  Dense expect = {
      {{0, 2}, 4.0 - 5.0}, {{0, 0}, 2.0}, {{1, 1}, 6.0 - 11.0}, {{1, 0}, -7.0}, {{1, 2}, 0.0}};
  EXPECT_EQ(spmat_contents(c), expect);
  EXPECT_EQ(work, std::vector<double>(3, 0.0));
  spmat_delete(&a);
  spmat_delete(&b);
  spmat_delete(&c);
}

TEST_F(Containers, SpmatTransposeOfWrongSizeIsFatal) {
  spmat *a = nullptr, *at = nullptr;
  ASSERT_EQ(spmat_create(sys, 3, 2, 0, true, &a), kSpmatOk);
  ASSERT_EQ(spmat_setdims(a, 3, 2), kSpmatOk);
  ASSERT_EQ(spmat_create(sys, 3, 3, 0, true, &at), kSpmatOk);
  ASSERT_EQ(spmat_setdims(at, 3, 3), kSpmatOk);
  EXPECT_DEATH(spmat_transpose(a, at), "spmat_getvlen\\(a\\)!=spmat_getnvec\\(at\\)");
  ASSERT_EQ(spmat_setdims(at, 2, 2), kSpmatOk);
  EXPECT_DEATH(spmat_transpose(a, at), "spmat_getnvec\\(a\\)!=spmat_getvlen\\(at\\)");
  spmat_delete(&a);
  spmat_delete(&at);
}

// The pending list, flips, replacement and renumbering against a map of (row, col) -> value.
TEST_F(Containers, SprmatRandomAgainstMap) {
  sprmat* a = nullptr;
  int32 m = 9, n = 11;
  ASSERT_EQ(sprmat_create(sys, m, n, 4, &a), kSprmatOk);
  Dense ref; // (row, col)
  std::mt19937 rng(11);
  auto check = [&]() {
    int64 nz = -1;
    ASSERT_EQ(sprmat_numnz(a, &nz), kSprmatOk);
    EXPECT_EQ(nz, int64(ref.size()));
    bool bycol = rng() % 2;
    Dense got;
    for (int32 k = 0; k < (bycol ? n : m); ++k) {
      int32 cnt = -1;
      const int32* sub;
      const double* val;
      ASSERT_EQ(sprmat_getvecnz(a, bycol, k, &cnt), kSprmatOk);
      int32 cnt2 = -1;
      ASSERT_EQ(sprmat_getvec(a, bycol, k, &cnt2, &sub, &val), kSprmatOk);
      EXPECT_EQ(cnt, cnt2);
      for (int32 t = 0; t < cnt2; ++t)
        got[bycol ? std::make_pair(sub[t], k) : std::make_pair(k, sub[t])] = val[t];
    }
    EXPECT_EQ(got, ref);
    int32 i = rng() % m, j = rng() % n;
    double v = -1;
    ASSERT_EQ(sprmat_getaij(a, i, j, &v), kSprmatOk);
    EXPECT_EQ(v, (ref.count({i, j}) ? ref[{i, j}] : 0.0));
  };
  for (int step = 0; step < 400; ++step) {
    int op = rng() % 10;
    if (op < 6) {
      int32 i = rng() % m, j = rng() % n;
      double v = (rng() % 4 == 0) ? 0.0 : double(rng() % 100 + 1);
      ASSERT_EQ(sprmat_putelem(a, i, j, v), kSprmatOk);
      if (v == 0.0)
        ref.erase({i, j});
      else
        ref[{i, j}] = v;
    } else if (op == 6) {
      bool bycol = rng() % 2;
      int32 k = rng() % (bycol ? n : m);
      int32 len = bycol ? m : n;
      std::vector<int32> sub(len);
      std::iota(sub.begin(), sub.end(), 0);
      std::shuffle(sub.begin(), sub.end(), rng);
      int32 nz = rng() % (len + 1);
      std::vector<double> val(nz);
      for (auto it = ref.begin(); it != ref.end();)
        it = (bycol ? it->first.second : it->first.first) == k ? ref.erase(it) : ++it;
      for (int32 t = 0; t < nz; ++t) {
        val[t] = 1000 + step + t;
        ref[bycol ? std::make_pair(sub[t], k) : std::make_pair(k, sub[t])] = val[t];
      }
      ASSERT_EQ(sprmat_replacevec(a, bycol, k, nz, sub.data(), val.data()), kSprmatOk);
    } else if (op == 7) {
      int32 nr = rng() % 3, nc = rng() % 3;
      ASSERT_EQ(sprmat_appendrows(a, nr), kSprmatOk);
      ASSERT_EQ(sprmat_appendcols(a, nc), kSprmatOk);
      m += nr;
      n += nc;
    } else if (op == 8 && m > 3 && n > 3) {
      bool rows = rng() % 2;
      int32 cnt = rows ? m : n;
      int32 gone = rng() % cnt;
      std::vector<int32> newidx(cnt);
      for (int32 t = 0; t < cnt; ++t)
        newidx[t] = t < gone ? t : (t == gone ? -1 : t - 1);
      ASSERT_EQ(sprmat_renumber(a, rows, newidx.data(), cnt - 1), kSprmatOk);
      Dense moved;
      for (auto& [key, v] : ref) {
        int32 i = key.first, j = key.second;
        int32& w = rows ? i : j;
        if (w == gone) continue;
        w = newidx[w];
        moved[{i, j}] = v;
      }
      ref = moved;
      (rows ? m : n)--;
    } else {
      check();
    }
  }
  check();
  ASSERT_EQ(sprmat_sort(a), kSprmatOk);
  for (int32 k = 0; k < a->dim->nvec; ++k)
    EXPECT_TRUE(std::is_sorted(a->dim->sub + a->dim->ptrb[k], a->dim->sub + a->dim->ptre[k]));
  check();
  EXPECT_EQ(sprmat_appendrows(a, -1), kSprmatAppendRows);
  EXPECT_EQ(sprmat_setmaxsize(a, int64(ref.size()) - 1), ref.empty() ? kSprmatOk : kSprmatMaxsize);
  sprmat_delete(&a);
}

TEST_F(Containers, SprmatCreateFromRowsTransposeCopyAndLock) {
  int64 ptrb[] = {0, 2}, ptre[] = {2, 3};
  int32 sub[] = {2, 0, 1};
  double val[] = {1.0, 2.0, 3.0};
  sprmat* a = nullptr;
  ASSERT_EQ(sprmat_createfrom(sys, 2, 3, false, ptrb, ptre, sub, val, &a), kSprmatOk);
  double v;
  sprmat_getaij(a, 0, 2, &v);
  EXPECT_EQ(v, 1.0);
  sprmat_getaij(a, 1, 1, &v);
  EXPECT_EQ(v, 3.0);
  spmat* at = nullptr;
  ASSERT_EQ(spmat_create(sys, 3, 2, 0, true, &at), kSpmatOk);
  spmat_setdims(at, 3, 2);
  ASSERT_EQ(sprmat_transposecopy(a, at), kSprmatOk);
  Dense expect = {{{2, 0}, 1.0}, {{0, 0}, 2.0}, {{1, 1}, 3.0}};
  EXPECT_EQ(spmat_contents(at), expect);
  EXPECT_FALSE(a->bycol); // a copy leaves the orientation alone
  spmat_delete(&at);
  sprmat_lock(a);
  EXPECT_DEATH(sprmat_lock(a), "Is locked already 1");
  sprmat_unlock(a);
  sprmat_delete(&a);
}

TEST_F(Containers, MergeSortsAreStableAndCarryCompanions) {
  std::mt19937 rng(5);
  for (int32 n : {0, 1, 2, 3, 17, 1000}) {
    std::vector<int32> key(n), comp(n), wk(n + 4), wc(n + 4);
    for (int32 t = 0; t < n; ++t) {
      key[t] = rng() % 10;
      comp[t] = t;
    }
    std::vector<std::pair<int32, int32>> ref;
    for (int32 t = 0; t < n; ++t)
      ref.push_back({key[t], comp[t]});
    std::stable_sort(ref.begin(), ref.end(), [](auto x, auto y) { return x.first < y.first; });
    sort_i32_i32(sys, n, key.data(), comp.data(), wk.data(), wc.data(), n + 4, 4);
    for (int32 t = 0; t < n; ++t) {
      EXPECT_EQ(key[t], ref[t].first);
      EXPECT_EQ(comp[t], ref[t].second);
    }
    std::vector<double> dk(n), wdk(n);
    std::vector<int32> dc(n), wdc(n);
    for (int32 t = 0; t < n; ++t) {
      dk[t] = double(rng() % 1000) / 7.0;
      dc[t] = t;
    }
    std::vector<double> sorted = dk;
    std::stable_sort(sorted.begin(), sorted.end());
    sort_r64_i32_long(sys, n, dk.data(), dc.data(), wdk.data(), wdc.data(), n, 0);
    EXPECT_EQ(dk, sorted);
    for (int32 t = 1; t < n; ++t)
      EXPECT_LE(dk[t - 1], dk[t]);
  }
  // Fewer than 2 elements: nothing moves, even with garbage in the work arrays.
  int32 one = 42, comp = 7, w1 = -1, w2 = -1;
  sort_i32_i32(sys, 1, &one, &comp, &w1, &w2, 1, 0);
  EXPECT_EQ(one, 42);
  EXPECT_EQ(comp, 7);
  int32 k2[] = {3, 1}, c2[] = {0, 1}, w[2];
  EXPECT_DEATH(sort_i32_i32(sys, 2, k2, c2, w, w, 2, 1), "n\\+offset<=worklen");
}

TEST_F(Containers, CountingSortIsStable) {
  std::vector<int32> key = {3, 0, 2, 0, 3, 1, 2};
  std::vector<int32> perm(key.size());
  std::vector<int64> work(5 + 2);
  sort_counting(sys, int32(key.size()), key.data(), 4, perm.data(), work.data(), 7, 2);
  EXPECT_EQ(perm, (std::vector<int32>{1, 3, 5, 2, 6, 0, 4}));
}

TEST_F(Containers, HashTableFindsNamesAndReportsDuplicates) {
  std::vector<std::string> names = {"x", "y", "z", "x", "long_name_1", "long_name_2"};
  auto match = [](const void* ctx, const void* key, int32 item) {
    auto* v = static_cast<const std::vector<std::string>*>(ctx);
    return (*v)[item] == static_cast<const char*>(key);
  };
  hashtabl ht;
  ASSERT_TRUE(hashtabl_create(sys, int32(names.size()), 1, &ht));
  EXPECT_EQ(ht.size, 32); // smallest power of two not below 4 * 1 * 6
  EXPECT_EQ(ht.mask, 31);
  for (int32 i = 0; i < int32(names.size()); ++i) {
    int32 dup = -1;
    int r = hashtabl_add(&ht, hashtabl_strhash(names[i].c_str()), i, names[i].c_str(), match,
                         &names, &dup);
    if (i == 3) {
      EXPECT_EQ(r, 0);
      EXPECT_EQ(dup, 0);
    } else {
      EXPECT_EQ(r, 1);
    }
  }
  EXPECT_EQ(hashtabl_find(&ht, hashtabl_strhash("long_name_2"), "long_name_2", match, &names), 5);
  EXPECT_EQ(hashtabl_find(&ht, hashtabl_strhash("w"), "w", match, &names), -1);
  EXPECT_TRUE(hashtabl_remove(&ht, hashtabl_strhash("y"), 1));
  EXPECT_FALSE(hashtabl_remove(&ht, hashtabl_strhash("y"), 1));
  EXPECT_EQ(hashtabl_find(&ht, hashtabl_strhash("y"), "y", match, &names), -1);
  EXPECT_EQ(hashtabl_find(&ht, hashtabl_strhash("z"), "z", match, &names), 2);
  hashtabl_delete(&ht);
  EXPECT_EQ(hashtabl_strhash(""), 0u);
}

TEST_F(Containers, PqueueAgainstOrderedSet) {
  const int32 n = 300;
  pqueue q;
  ASSERT_TRUE(pqueue_create(sys, n, &q));
  std::set<std::pair<double, int32>> ref;
  std::vector<double> key(n);
  std::mt19937 rng(9);
  for (int step = 0; step < 5000; ++step) {
    int32 item = rng() % n;
    double k = double(rng() % 50);
    int op = rng() % 4;
    if (!pqueue_contains(&q, item)) {
      pqueue_insert(&q, item, k);
      ref.insert({k, item});
      key[item] = k;
    } else if (op == 0) {
      pqueue_remove(&q, item);
      ref.erase({key[item], item});
    } else if (op == 1) {
      pqueue_changekey(&q, item, k);
      ref.erase({key[item], item});
      ref.insert({k, item});
      key[item] = k;
    } else if (!ref.empty()) {
      int32 top = pqueue_top(&q);
      EXPECT_EQ(key[top], ref.begin()->first);
      pqueue_removetop(&q);
      ref.erase({key[top], top});
    }
    ASSERT_EQ(q.count, int32(ref.size()));
  }
  pqueue_delete(&q);
}

TEST_F(Containers, PrqueInCallersArrayAgainstOrderedSet) {
  const int32 n = 50;
  std::vector<int32> mem(5 + 3 * n + 1, 12345);
  prque q;
  prque_create(sys, n, mem.data(), int64(mem.size()), 5, &q);
  EXPECT_EQ(mem[0], 12345); // the part before first is not touched
  std::set<std::pair<int32, int32>> ref;
  std::vector<int32> key(n);
  std::mt19937 rng(13);
  for (int step = 0; step < 3000; ++step) {
    int32 item = rng() % n, k = rng() % (n + 1);
    int op = rng() % 4;
    if (!prque_contains(&q, item)) {
      prque_insert(&q, item, k);
      ref.insert({k, item});
      key[item] = k;
    } else if (op == 0) {
      prque_remove(&q, item);
      ref.erase({key[item], item});
    } else if (op == 1) {
      EXPECT_EQ(prque_key(&q, item), key[item]);
      prque_changekey(&q, item, k);
      ref.erase({key[item], item});
      ref.insert({k, item});
      key[item] = k;
    } else if (!ref.empty()) {
      int32 tk = -1;
      int32 top = prque_top(&q, &tk);
      EXPECT_EQ(tk, ref.begin()->first);
      EXPECT_EQ(key[top], tk);
      prque_removetop(&q);
      ref.erase({tk, top});
    }
    ASSERT_EQ(q.size, int32(ref.size()));
  }
  prque q2;
  EXPECT_DEATH(prque_create(sys, n, mem.data(), int64(mem.size()), 6, &q2),
               "first\\+3\\*count\\+1");
}

TEST_F(Containers, BitvecCountAndIterate) {
  bitvec bv;
  ASSERT_TRUE(bitvec_create(sys, 200, &bv));
  EXPECT_EQ(bitvec_count(&bv), 0);
  std::vector<int64> set = {0, 5, 63, 64, 127, 199};
  for (int64 i : set)
    bitvec_set(&bv, i);
  bitvec_set(&bv, 100);
  bitvec_reset(&bv, 100);
  EXPECT_EQ(bitvec_count(&bv), int64(set.size()));
  std::vector<int64> seen;
  for (int64 i = bitvec_next(&bv, 0); i < bv.nbits; i = bitvec_next(&bv, i + 1))
    seen.push_back(i);
  EXPECT_EQ(seen, set);
  EXPECT_TRUE(bitvec_get(&bv, 63));
  EXPECT_FALSE(bitvec_get(&bv, 62));
  bitvec_clearall(&bv);
  EXPECT_EQ(bitvec_next(&bv, 0), 200);
  bitvec_delete(&bv);
}

TEST_F(Containers, BlockStorePiecesStayAndAllGoAtOnce) {
  bsto b;
  bsto_create(sys, kBstoBlockSize, &b);
  std::vector<int64*> pieces;
  for (int t = 0; t < 5000; ++t) {
    int64* p = static_cast<int64*>(bsto_get(&b, 8 * (1 + t % 9)));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
    p[0] = t;
    pieces.push_back(p);
  }
  void* big = bsto_get(&b, 3 * kBstoBlockSize);
  ASSERT_NE(big, nullptr);
  std::memset(big, 0xff, 3 * kBstoBlockSize);
  for (int t = 0; t < 5000; ++t)
    EXPECT_EQ(pieces[t][0], t);
  EXPECT_GE(b.numblocks, 3);
  bsto_delete(&b);
  EXPECT_EQ(b.numblocks, 0);
}

TEST_F(Containers, SossmAndHyposmHoldMatricesAndCells) {
  sossm s;
  sossm_create(sys, &s);
  int32 si[] = {0, 1, 1}, sj[] = {0, 0, 1};
  double sv[] = {1.0, 2.0, 3.0};
  int64 idx = -1;
  for (int t = 0; t < 40; ++t) {
    ASSERT_TRUE(sossm_add(&s, 2 + t, 3, si, sj, sv, &idx));
    EXPECT_EQ(idx, t);
  }
  EXPECT_EQ(sossm_dim(&s, 7), 9);
  EXPECT_EQ(sossm_get(&s, 39)->nz, 3);
  EXPECT_EQ(sossm_get(&s, 39)->val[2], 3.0);
  EXPECT_EQ(sossm_get(&s, 0)->subi[1], 1);

  hyposm* h = nullptr;
  ASSERT_TRUE(hyposm_create(sys, 3, 2, &h));
  int64 sub[] = {4, 5};
  double w[] = {0.5, -1.0};
  ASSERT_TRUE(hyposm_putcell(h, 2, 1, 2, sub, w));
  ASSERT_TRUE(hyposm_putcell(h, 0, 1, 1, sub, w));
  ASSERT_TRUE(hyposm_addentry(h, 0, 1, 9, 2.0));
  EXPECT_EQ(hyposm_numcells(h), 2);
  EXPECT_EQ(hyposm_numentries(h), 4);
  const hyposm_cell* c = hyposm_getcell(h, 0, 1);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->num, 2);
  EXPECT_EQ(c->sub[1], 9);
  EXPECT_EQ(c->weight[1], 2.0);
  EXPECT_EQ(hyposm_getcell(h, 1, 1), nullptr);
  int32 newrow[] = {-1, 0, 1};
  ASSERT_TRUE(hyposm_renumber(h, true, newrow, 2));
  EXPECT_EQ(h->nrow, 2);
  EXPECT_EQ(hyposm_numcells(h), 1);
  EXPECT_EQ(hyposm_numentries(h), 2);
  ASSERT_NE(hyposm_getcell(h, 1, 1), nullptr);
  ASSERT_TRUE(hyposm_putcell(h, 1, 1, 0, nullptr, nullptr));
  EXPECT_EQ(hyposm_numentries(h), 0);
  hyposm_delete(&h);
  sossm_delete(&s);
}

TEST(Vectors, IntegerAndRealKernels) {
  std::vector<int32> perm = {2, 0, 3, 1}, inv(4), x = {10, 20, 30, 40}, y(4), work(4, 0);
  ivector_invperm(4, perm.data(), inv.data());
  EXPECT_EQ(inv, (std::vector<int32>{1, 3, 0, 2}));
  ivector_permute(4, perm.data(), x.data(), y.data());
  EXPECT_EQ(y, (std::vector<int32>{30, 10, 40, 20}));
  EXPECT_TRUE(ivector_isperm(4, perm.data(), work.data()));
  std::vector<int32> notperm = {0, 2, 2, 1};
  EXPECT_FALSE(ivector_isperm(4, notperm.data(), work.data()));
  EXPECT_EQ(work, std::vector<int32>(4, 0));
  EXPECT_EQ(ivector_sum(4, x.data()), 100);
  EXPECT_EQ(ivector_max(4, perm.data()), 3);
  ivector_scatter(4, x.data(), perm.data(), y.data());
  EXPECT_EQ(y, (std::vector<int32>{20, 40, 10, 30}));
  ivector_gather(4, x.data(), perm.data(), y.data());
  EXPECT_EQ(y, (std::vector<int32>{30, 10, 40, 20}));

  std::vector<double> a = {1, -4, 2}, b = {3, 1, 0.5};
  EXPECT_EQ(rvector_dot(3, a.data(), b.data()), 0.0);
  EXPECT_EQ(rvector_norminf(3, a.data()), 4.0);
  EXPECT_EQ(rvector_norminf(0, a.data()), 0.0);
  rvector_axpy(3, 2.0, b.data(), a.data());
  EXPECT_EQ(a, (std::vector<double>{7, -2, 3}));
  rvector_scale(3, 0.5, a.data());
  EXPECT_EQ(a, (std::vector<double>{3.5, -1, 1.5}));
  int32 sub[] = {2, 0};
  std::vector<double> g(2);
  rvector_gather(2, a.data(), sub, g.data());
  EXPECT_EQ(g, (std::vector<double>{1.5, 3.5}));
}

} // namespace
