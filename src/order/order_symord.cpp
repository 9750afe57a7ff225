// The graph record of a symmetric pattern: both directions of every off-diagonal edge in one
// adjacency store.
#include <new>

#include "order/order.h"

namespace telva {

int32 symord_alloc(sysenv* sys, int32 n, int64 capacity, symord** out) {
  *out = nullptr;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(symord));
  if (!raw) return kOrderSpace;
  symord* g = new (raw) symord;
  g->sys = sys;
  g->n = n;
  g->capacity = capacity;
  g->deg = TVA_SYS_ALLOC(sys, int32, (size_t)n + 1);
  g->start = TVA_SYS_ALLOC(sys, int64, (size_t)n + 1);
  g->adj = TVA_SYS_ALLOC(sys, int32, (size_t)(capacity > 0 ? capacity : 1));
  if (!g->deg || !g->start || !g->adj) {
    symord_free(&g);
    return kOrderSpace;
  }
  *out = g;
  return kOrderOk;
}

void symord_free(symord** pg) {
  symord* g = *pg;
  if (!g) return;
  *pg = nullptr;
  sysenv* sys = g->sys;
  if (g->deg) TVA_SYS_FREE(sys, g->deg);
  if (g->start) TVA_SYS_FREE(sys, g->start);
  if (g->adj) TVA_SYS_FREE(sys, g->adj);
  g->~symord();
  TVA_SYS_FREE(sys, g);
}

int32 symord_loadlower(symord* g, int32 n, const int32* colsize, const int64* colstart,
                       const int32* rows) {
  if (n != g->n) return kOrderSpace;
  for (int32 i = 0; i < n; ++i)
    g->deg[i] = 0;
  int64 total = 0;
  for (int32 j = 0; j < n; ++j)
    for (int64 k = colstart[j]; k < colstart[j] + colsize[j]; ++k)
      if (rows[k] != j) g->deg[rows[k]]++, g->deg[j]++, total += 2;
  if (total > g->capacity) {
    int32* na = TVA_SYS_ALLOC(g->sys, int32, (size_t)total);
    if (!na) return kOrderSpace;
    TVA_SYS_FREE(g->sys, g->adj);
    g->adj = na;
    g->capacity = total;
  }
  int64 s = 0;
  for (int32 i = 0; i < n; ++i) {
    g->start[i] = s;
    s += g->deg[i];
    g->deg[i] = 0;
  }
  g->start[n] = s;
  for (int32 j = 0; j < n; ++j)
    for (int64 k = colstart[j]; k < colstart[j] + colsize[j]; ++k) {
      int32 i = rows[k];
      if (i == j) continue;
      g->adj[g->start[i] + g->deg[i]++] = j;
      g->adj[g->start[j] + g->deg[j]++] = i;
    }
  // Repeated edges are removed, so that degrees are true degrees.
  int32* seen = TVA_SYS_ALLOC(g->sys, int32, (size_t)n + 1);
  if (!seen) return kOrderSpace;
  for (int32 i = 0; i < n; ++i) {
    int64 b = g->start[i], out = b;
    for (int64 k = b; k < b + g->deg[i]; ++k) {
      int32 v = g->adj[k];
      if (seen[v] == i + 1) continue;
      seen[v] = i + 1;
      g->adj[out++] = v;
    }
    g->deg[i] = (int32)(out - b);
  }
  TVA_SYS_FREE(g->sys, seen);
  return kOrderOk;
}

int32 symord_preordered(const symord* g) {
  return g->npreordered;
}

} // namespace telva
