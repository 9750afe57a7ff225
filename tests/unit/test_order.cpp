// Fill-reducing ordering, symbolic counting, maximum transversal and block triangular form.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <set>
#include <vector>

#include "order/order.h"

using namespace telva;

namespace {

struct Sys {
  sysenv* sys = nullptr;
  Sys() { sysenv_create(&sys, 0, memman_default_hooks(), nullptr, "order"); }
  ~Sys() {
    int64 cur = 0, mx = 0;
    memman_usage(sys->mm, &cur, &mx);
    EXPECT_LE(cur, (int64)sizeof(sysenv) + 64);
    sysenv_delete(&sys);
  }
};

// A symmetric pattern by its lower triangle, in columns.
struct Pattern {
  int32 n = 0;
  std::vector<std::vector<int32>> lower; // lower[j]: rows i > j
  std::vector<int32> size, rows;
  std::vector<int64> start;
  void add(int32 i, int32 j) {
    if (i == j) return;
    if (i < j) std::swap(i, j);
    lower[j].push_back(i);
  }
  void finish() {
    size.assign(n, 0);
    start.assign(n + 1, 0);
    rows.clear();
    for (int32 j = 0; j < n; ++j) {
      std::sort(lower[j].begin(), lower[j].end());
      lower[j].erase(std::unique(lower[j].begin(), lower[j].end()), lower[j].end());
      start[j] = (int64)rows.size();
      size[j] = (int32)lower[j].size();
      rows.insert(rows.end(), lower[j].begin(), lower[j].end());
    }
    start[n] = (int64)rows.size();
  }
};

Pattern grid(int32 nx, int32 ny, int32 nz) {
  Pattern p;
  p.n = nx * ny * nz;
  p.lower.resize(p.n);
  auto id = [&](int32 x, int32 y, int32 z) { return (z * ny + y) * nx + x; };
  for (int32 z = 0; z < nz; ++z)
    for (int32 y = 0; y < ny; ++y)
      for (int32 x = 0; x < nx; ++x) {
        if (x + 1 < nx) p.add(id(x, y, z), id(x + 1, y, z));
        if (y + 1 < ny) p.add(id(x, y, z), id(x, y + 1, z));
        if (z + 1 < nz) p.add(id(x, y, z), id(x, y, z + 1));
      }
  p.finish();
  return p;
}

Pattern random_pattern(std::mt19937& rng, int32 n, int32 edges) {
  Pattern p;
  p.n = n;
  p.lower.resize(n);
  for (int32 e = 0; e < edges; ++e)
    p.add((int32)(rng() % n), (int32)(rng() % n));
  p.finish();
  return p;
}

std::vector<int32> order(sysenv* sys, const Pattern& p, int32 type, int32* npre = nullptr) {
  symord* g = nullptr;
  EXPECT_EQ(symord_alloc(sys, p.n, 2 * (int64)p.rows.size(), &g), 0);
  EXPECT_EQ(symord_loadlower(g, p.n, p.size.data(), p.start.data(), p.rows.data()), 0);
  g->ordertype = type;
  std::vector<int32> perm(p.n, -1);
  EXPECT_EQ(minlocf_order(g, perm.data()), 0);
  if (npre) *npre = symord_preordered(g);
  symord_free(&g);
  std::vector<int32> sorted(perm);
  std::sort(sorted.begin(), sorted.end());
  for (int32 i = 0; i < p.n; ++i)
    EXPECT_EQ(sorted[i], i) << "not a permutation";
  return perm;
}

int64 factor_nz(sysenv* sys, const Pattern& p, const std::vector<int32>* perm) {
  int64 nz = 0;
  double flops = 0.0;
  EXPECT_EQ(symord_count(sys, p.n, perm ? perm->data() : nullptr, p.size.data(), p.start.data(),
                         p.rows.data(), &nz, &flops),
            0);
  return nz;
}

// Column counts by plain symbolic elimination on a dense boolean matrix.
std::vector<int64> brute_counts(const Pattern& p, const std::vector<int32>& perm) {
  int32 n = p.n;
  std::vector<int32> inv(n);
  for (int32 k = 0; k < n; ++k)
    inv[perm[k]] = k;
  std::vector<std::vector<char>> a(n, std::vector<char>(n, 0));
  for (int32 j = 0; j < n; ++j)
    for (int32 i : p.lower[j])
      a[inv[i]][inv[j]] = a[inv[j]][inv[i]] = 1;
  std::vector<int64> counts(n, 1);
  for (int32 k = 0; k < n; ++k) {
    std::vector<int32> nb;
    for (int32 i = k + 1; i < n; ++i)
      if (a[i][k]) nb.push_back(i);
    counts[k] += (int64)nb.size();
    for (int32 x : nb)
      for (int32 y : nb)
        a[x][y] = 1;
  }
  return counts;
}

TEST(OrderMinlocf, TrivialSizes) {
  Sys s;
  Pattern p;
  p.n = 0;
  p.finish();
  EXPECT_TRUE(order(s.sys, p, kOrderLocalFill).empty());
  p.n = 1;
  p.lower.resize(1);
  p.finish();
  EXPECT_EQ(order(s.sys, p, kOrderLocalFill), std::vector<int32>{0});
}

TEST(OrderMinlocf, StarHubIsPreorderedLast) {
  Sys s;
  Pattern p;
  p.n = 10000;
  p.lower.resize(p.n);
  for (int32 i = 0; i < p.n; ++i)
    if (i != 4321) p.add(i, 4321);
  p.finish();
  int32 npre = -1;
  auto perm = order(s.sys, p, kOrderLocalFill, &npre);
  EXPECT_EQ(npre, 1);
  EXPECT_EQ(perm.back(), 4321);
  EXPECT_EQ(factor_nz(s.sys, p, &perm), 2 * (int64)p.n - 1); // no fill at all
  // A ring has no dense node.
  Pattern r;
  r.n = 500;
  r.lower.resize(r.n);
  for (int32 i = 0; i < r.n; ++i)
    r.add(i, (i + 1) % r.n);
  r.finish();
  order(s.sys, r, kOrderLocalFill, &npre);
  EXPECT_EQ(npre, 0);
}

TEST(OrderMinlocf, TreesAndDisconnectedCliquesGetNoFill) {
  Sys s;
  std::mt19937 rng(11);
  Pattern t;
  t.n = 3000;
  t.lower.resize(t.n);
  for (int32 i = 1; i < t.n; ++i)
    t.add(i, (int32)(rng() % i));
  t.finish();
  for (int32 type : {kOrderMinDegree, kOrderLocalFill}) {
    auto perm = order(s.sys, t, type);
    EXPECT_EQ(factor_nz(s.sys, t, &perm), 2 * (int64)t.n - 1);
  }
  Pattern c;
  c.n = 60;
  c.lower.resize(c.n);
  for (int32 i = 0; i < 30; ++i)
    for (int32 j = 0; j < i; ++j)
      c.add(i, j), c.add(30 + i, 30 + j);
  c.finish();
  auto perm = order(s.sys, c, kOrderLocalFill);
  EXPECT_EQ(factor_nz(s.sys, c, &perm), 2 * (30 * 31 / 2));
}

TEST(OrderMinlocf, GridsBeatTheNaturalOrder) {
  Sys s;
  for (auto dims : {std::vector<int32>{40, 40, 1}, std::vector<int32>{12, 12, 12}}) {
    Pattern p = grid(dims[0], dims[1], dims[2]);
    int64 natural = factor_nz(s.sys, p, nullptr);
    auto md = order(s.sys, p, kOrderMinDegree);
    auto lf = order(s.sys, p, kOrderLocalFill);
    int64 nzmd = factor_nz(s.sys, p, &md), nzlf = factor_nz(s.sys, p, &lf);
    EXPECT_LT(nzmd, natural);
    EXPECT_LT(nzlf, natural);
    // Local fill is at least close to minimum degree on grids.
    EXPECT_LT(nzlf, nzmd + nzmd / 10);
  }
}

TEST(OrderSymbolic, CountsMatchPlainElimination) {
  Sys s;
  std::mt19937 rng(5);
  for (int32 trial = 0; trial < 20; ++trial) {
    int32 n = 5 + trial * 3;
    Pattern p = random_pattern(rng, n, n + trial * 4);
    std::vector<int32> perm(n);
    for (int32 i = 0; i < n; ++i)
      perm[i] = i;
    if (trial % 2)
      std::shuffle(perm.begin(), perm.end(), rng);
    else
      perm = order(s.sys, p, trial % 4 ? kOrderLocalFill : kOrderMinDegree);
    auto want = brute_counts(p, perm);
    std::vector<int32> parent(n);
    std::vector<int64> counts(n);
    ASSERT_EQ(symord_etree(s.sys, n, perm.data(), p.size.data(), p.start.data(), p.rows.data(),
                           parent.data()),
              0);
    ASSERT_EQ(symord_colcounts(s.sys, n, perm.data(), p.size.data(), p.start.data(), p.rows.data(),
                               parent.data(), counts.data()),
              0);
    EXPECT_EQ(counts, want) << "trial " << trial;
    for (int32 k = 0; k < n; ++k)
      EXPECT_TRUE(parent[k] == -1 || parent[k] > k);
    int64 nz;
    double flops;
    ASSERT_EQ(symord_count(s.sys, n, perm.data(), p.size.data(), p.start.data(), p.rows.data(), &nz,
                           &flops),
              0);
    int64 sum = 0;
    double fl = 0;
    for (int64 c : want)
      sum += c, fl += (double)c * c;
    EXPECT_EQ(nz, sum);
    EXPECT_EQ(flops, fl);
  }
}

// Square or rectangular patterns by columns, for the transversal.
struct Unsym {
  int32 nrow, ncol;
  std::vector<int32> ptr{0}, ind;
  Unsym(int32 r, int32 c) : nrow(r), ncol(c) {}
};

Unsym random_unsym(std::mt19937& rng, int32 nrow, int32 ncol, int32 perc) {
  Unsym u{nrow, ncol};
  for (int32 j = 0; j < ncol; ++j) {
    for (int32 i = 0; i < nrow; ++i)
      if ((int32)(rng() % 100) < perc) u.ind.push_back(i);
    u.ptr.push_back((int32)u.ind.size());
  }
  return u;
}

int32 kuhn(const Unsym& u) {
  std::vector<int32> match(u.nrow, -1);
  int32 size = 0;
  for (int32 j = 0; j < u.ncol; ++j) {
    std::vector<char> seen(u.nrow, 0);
    std::function<bool(int32)> aug = [&](int32 c) {
      for (int32 k = u.ptr[c]; k < u.ptr[c + 1]; ++k) {
        int32 i = u.ind[k];
        if (seen[i]) continue;
        seen[i] = 1;
        if (match[i] < 0 || aug(match[i])) {
          match[i] = c;
          return true;
        }
      }
      return false;
    };
    size += aug(j);
  }
  return size;
}

TEST(OrderBlkord, TransversalIsMaximum) {
  Sys s;
  std::mt19937 rng(17);
  for (int32 trial = 0; trial < 60; ++trial) {
    int32 nrow = 3 + (int32)(rng() % 30), ncol = 3 + (int32)(rng() % 30);
    Unsym u = random_unsym(rng, nrow, ncol, 3 + trial % 12);
    std::vector<int32> rowofcol(ncol);
    int32 size = -1;
    ASSERT_EQ(
        blkord_appmaxtran(s.sys, nrow, ncol, u.ptr.data(), u.ind.data(), rowofcol.data(), &size),
        0);
    EXPECT_EQ(size, kuhn(u)) << "trial " << trial;
    std::set<int32> used;
    int32 count = 0;
    for (int32 j = 0; j < ncol; ++j) {
      if (rowofcol[j] < 0) continue;
      count++;
      EXPECT_TRUE(used.insert(rowofcol[j]).second);
      EXPECT_TRUE(
          std::binary_search(u.ind.begin() + u.ptr[j], u.ind.begin() + u.ptr[j + 1], rowofcol[j]));
    }
    EXPECT_EQ(count, size);
  }
}

TEST(OrderBlkord, BlockTriangularForm) {
  Sys s;
  std::mt19937 rng(23);
  for (int32 trial = 0; trial < 40; ++trial) {
    int32 n = 4 + (int32)(rng() % 40);
    // A permuted diagonal plus a sparse random part: full transversal by construction.
    Unsym u = random_unsym(rng, n, n, trial % 5);
    std::vector<int32> rp(n);
    for (int32 i = 0; i < n; ++i)
      rp[i] = i;
    std::shuffle(rp.begin(), rp.end(), rng);
    Unsym d{n, n};
    for (int32 j = 0; j < n; ++j) {
      std::vector<int32> col(u.ind.begin() + u.ptr[j], u.ind.begin() + u.ptr[j + 1]);
      col.push_back(rp[j]);
      std::sort(col.begin(), col.end());
      col.erase(std::unique(col.begin(), col.end()), col.end());
      d.ind.insert(d.ind.end(), col.begin(), col.end());
      d.ptr.push_back((int32)d.ind.size());
    }
    std::vector<int32> rowofcol(n), colperm(n), blk(n + 1);
    int32 size, nblk;
    ASSERT_EQ(blkord_appmaxtran(s.sys, n, n, d.ptr.data(), d.ind.data(), rowofcol.data(), &size),
              0);
    ASSERT_EQ(size, n);
    ASSERT_EQ(blkord_idepblks(s.sys, n, d.ptr.data(), d.ind.data(), rowofcol.data(), colperm.data(),
                              blk.data(), &nblk),
              0);
    ASSERT_GE(nblk, 1);
    EXPECT_EQ(blk[nblk], n);
    std::vector<int32> blockofcol(n), blockofrow(n);
    for (int32 b = 0; b < nblk; ++b)
      for (int32 k = blk[b]; k < blk[b + 1]; ++k) {
        blockofcol[colperm[k]] = b;
        blockofrow[rowofcol[colperm[k]]] = b;
      }
    for (int32 j = 0; j < n; ++j)
      for (int32 k = d.ptr[j]; k < d.ptr[j + 1]; ++k)
        EXPECT_LE(blockofrow[d.ind[k]], blockofcol[j]) << "entry below the block diagonal";
    if (trial % 5 == 0) {
      EXPECT_EQ(nblk, n); // only the diagonal: every block a single column
    }
  }
  // A cycle is one irreducible block.
  int32 n = 6;
  Unsym c{n, n};
  for (int32 j = 0; j < n; ++j) {
    std::vector<int32> col{j, (j + 1) % n};
    std::sort(col.begin(), col.end());
    c.ind.insert(c.ind.end(), col.begin(), col.end());
    c.ptr.push_back((int32)c.ind.size());
  }
  std::vector<int32> rowofcol(n), colperm(n), blk(n + 1);
  int32 size, nblk;
  ASSERT_EQ(blkord_appmaxtran(s.sys, n, n, c.ptr.data(), c.ind.data(), rowofcol.data(), &size), 0);
  ASSERT_EQ(blkord_idepblks(s.sys, n, c.ptr.data(), c.ind.data(), rowofcol.data(), colperm.data(),
                            blk.data(), &nblk),
            0);
  EXPECT_EQ(nblk, 1);
}

} // namespace
