// Symbolic counting of a Cholesky factor under a given order: the elimination tree by Liu's
// algorithm with path compression, then the column counts by walking each row's subtree.
// The walk costs the number of nonzeros of the factor, which is what an ordering is judged by.
#include "order/order.h"

namespace telva {

namespace {

// Full adjacency of the pattern in positions of the order (both directions, no diagonal).
struct PermGraph {
  sysenv* sys = nullptr;
  symord* g = nullptr;
  int32* inv = nullptr;
  ~PermGraph() {
    symord_free(&g);
    if (inv) TVA_SYS_FREE(sys, inv);
  }
  int32 build(sysenv* s, int32 n, const int32* perm, const int32* colsize, const int64* colstart,
              const int32* rows) {
    sys = s;
    int64 total = 0;
    for (int32 j = 0; j < n; ++j)
      total += 2 * (int64)colsize[j];
    if (symord_alloc(s, n, total, &g)) return kOrderSpace;
    if (symord_loadlower(g, n, colsize, colstart, rows)) return kOrderSpace;
    inv = TVA_SYS_ALLOC(s, int32, (size_t)n + 1);
    if (!inv) return kOrderSpace;
    for (int32 k = 0; k < n; ++k)
      inv[perm ? perm[k] : k] = k;
    return kOrderOk;
  }
};

void etree_of(const PermGraph& pg, int32 n, const int32* perm, int32* parent, int32* anc) {
  for (int32 k = 0; k < n; ++k) {
    parent[k] = -1;
    anc[k] = -1;
    int32 node = perm ? perm[k] : k;
    const symord* g = pg.g;
    for (int64 t = g->start[node]; t < g->start[node] + g->deg[node]; ++t) {
      int32 i = pg.inv[g->adj[t]];
      while (i != -1 && i < k) {
        int32 next = anc[i];
        anc[i] = k;
        if (next == -1) parent[i] = k;
        i = next;
      }
    }
  }
}

void counts_of(const PermGraph& pg, int32 n, const int32* perm, const int32* parent, int32* mark,
               int64* counts) {
  for (int32 k = 0; k < n; ++k) {
    counts[k] = 1;
    mark[k] = -1;
  }
  const symord* g = pg.g;
  for (int32 k = 0; k < n; ++k) {
    mark[k] = k;
    int32 node = perm ? perm[k] : k;
    for (int64 t = g->start[node]; t < g->start[node] + g->deg[node]; ++t) {
      int32 j = pg.inv[g->adj[t]];
      if (j > k) continue;
      // Row k of the factor reaches from j up the tree until a node already met in row k.
      while (j != -1 && mark[j] != k) {
        counts[j]++;
        mark[j] = k;
        j = parent[j];
      }
    }
  }
}

} // namespace

int32 symord_etree(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                   const int64* colstart, const int32* rows, int32* parent) {
  PermGraph pg;
  if (pg.build(sys, n, perm, colsize, colstart, rows)) return kOrderSpace;
  int32* anc = TVA_SYS_ALLOC(sys, int32, (size_t)n + 1);
  if (!anc) return kOrderSpace;
  etree_of(pg, n, perm, parent, anc);
  TVA_SYS_FREE(sys, anc);
  return kOrderOk;
}

int32 symord_colcounts(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                       const int64* colstart, const int32* rows, const int32* parent,
                       int64* counts) {
  PermGraph pg;
  if (pg.build(sys, n, perm, colsize, colstart, rows)) return kOrderSpace;
  int32* mark = TVA_SYS_ALLOC(sys, int32, (size_t)n + 1);
  if (!mark) return kOrderSpace;
  counts_of(pg, n, perm, parent, mark, counts);
  TVA_SYS_FREE(sys, mark);
  return kOrderOk;
}

int32 symord_count(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                   const int64* colstart, const int32* rows, int64* nz, double* flops) {
  *nz = 0;
  *flops = 0.0;
  if (n == 0) return kOrderOk;
  PermGraph pg;
  if (pg.build(sys, n, perm, colsize, colstart, rows)) return kOrderSpace;
  int32* iw = TVA_SYS_ALLOC(sys, int32, 2 * (size_t)n + 2);
  int64* counts = TVA_SYS_ALLOC(sys, int64, (size_t)n + 1);
  if (!iw || !counts) {
    if (iw) TVA_SYS_FREE(sys, iw);
    if (counts) TVA_SYS_FREE(sys, counts);
    return kOrderSpace;
  }
  etree_of(pg, n, perm, iw, iw + n + 1);
  counts_of(pg, n, perm, iw, iw + n + 1, counts);
  int64 total = 0;
  double fl = 0.0;
  for (int32 k = 0; k < n; ++k) {
    total += counts[k];
    fl += (double)counts[k] * (double)counts[k];
  }
  *nz = total;
  *flops = fl;
  TVA_SYS_FREE(sys, iw);
  TVA_SYS_FREE(sys, counts);
  return kOrderOk;
}

} // namespace telva
