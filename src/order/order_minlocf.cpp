// Minimum degree and minimum local fill ordering on a quotient graph. Eliminated nodes become
// elements whose variable lists stand for the cliques they create; a variable's list holds
// its adjacent elements first and then its remaining adjacent variables. Degrees are the
// approximate external degrees of the minimum degree literature, indistinguishable variables
// are merged by hashing their lists, and dense nodes are taken out first and ordered last.
#include <cmath>
#include <initializer_list>

#include "order/order.h"

namespace telva {

namespace {

enum Kind : int8_t { kVar = 0, kElem = 1, kAbsorbed = 2, kMerged = 3, kDense = 4 };

struct QuotientGraph {
  sysenv* sys = nullptr;
  int32 n = 0;
  int64 cap = 0, pfree = 0;
  int32* pool = nullptr;
  int64* pe = nullptr;
  int64* w = nullptr;
  int32 *len = nullptr, *elen = nullptr, *nv = nullptr, *deg = nullptr, *esize = nullptr;
  int32 *head = nullptr, *next = nullptr, *prev = nullptr, *score = nullptr;
  int32 *parent = nullptr, *mark = nullptr, *hkey = nullptr, *hhead = nullptr, *hnext = nullptr;
  int8_t* kind = nullptr;
  int32* ibuf = nullptr;

  ~QuotientGraph() {
    if (pool) TVA_SYS_FREE(sys, pool);
    if (pe) TVA_SYS_FREE(sys, pe);
    if (w) TVA_SYS_FREE(sys, w);
    if (ibuf) TVA_SYS_FREE(sys, ibuf);
    if (kind) TVA_SYS_FREE(sys, kind);
  }
  bool alloc(sysenv* s, int32 nn, int64 c) {
    sys = s;
    n = nn;
    cap = c;
    pool = TVA_SYS_ALLOC(s, int32, (size_t)c + 1);
    pe = TVA_SYS_ALLOC(s, int64, (size_t)n + 1);
    w = TVA_SYS_ALLOC(s, int64, (size_t)n + 1);
    ibuf = TVA_SYS_ALLOC(s, int32, 15 * (size_t)(n + 1));
    kind = TVA_SYS_ALLOC(s, int8_t, (size_t)n + 1);
    if (!pool || !pe || !w || !ibuf || !kind) return false;
    int32* p = ibuf;
    for (int32** a : {&len, &elen, &nv, &deg, &esize, &head, &next, &prev, &score, &parent, &mark,
                      &hkey, &hhead, &hnext})
      *a = p, p += n + 1;
    return true;
  }

  void bucket_insert(int32 i, int32 s) {
    score[i] = s;
    prev[i] = -1;
    next[i] = head[s];
    if (head[s] >= 0) prev[head[s]] = i;
    head[s] = i;
  }
  void bucket_remove(int32 i) {
    if (prev[i] >= 0)
      next[prev[i]] = next[i];
    else
      head[score[i]] = next[i];
    if (next[i] >= 0) prev[next[i]] = prev[i];
  }

  // Lays the live lists out again; element lists lose their dead entries. Grows the store if
  // `need` more slots still do not fit.
  bool compact(int64 need) {
    int64 used = 0;
    for (int32 i = 0; i < n; ++i)
      if (kind[i] == kVar || kind[i] == kElem) used += len[i];
    int64 ncap = cap;
    if (used + need > cap) ncap = (used + need) + (used + need) / 2 + n;
    int32* np = TVA_SYS_ALLOC(sys, int32, (size_t)ncap + 1);
    if (!np) return false;
    int64 at = 0;
    for (int32 i = 0; i < n; ++i) {
      if (kind[i] != kVar && kind[i] != kElem) continue;
      int64 b = pe[i];
      pe[i] = at;
      if (kind[i] == kElem) {
        for (int32 k = 0; k < len[i]; ++k) {
          int32 v = pool[b + k];
          if (kind[v] == kVar && nv[v] > 0) np[at++] = v;
        }
        len[i] = (int32)(at - pe[i]);
      } else {
        for (int32 k = 0; k < len[i]; ++k)
          np[at++] = pool[b + k];
      }
    }
    TVA_SYS_FREE(sys, pool);
    pool = np;
    cap = ncap;
    pfree = at;
    return true;
  }
};

int32 fill_score(int32 type, int32 d, int32 e) {
  if (type == kOrderMinDegree) return d;
  if (e > d) e = d;
  if (e < 0) e = 0;
  double f = (double)(d - 1) * d - (double)(e - 1) * e;
  return f > 0.0 ? (int32)std::lround(std::sqrt(f)) : 0;
}

// Takes dense nodes out: walking from the highest degree down, a node whose degree is at
// least 40 log2(r) above the mean and at least 8 times the mean of the r nodes left goes.
int32 preorder_dense(symord* g, int8_t* kind, int32* dense) {
  int32 n = g->n;
  int32* cur = TVA_SYS_ALLOC(g->sys, int32, (size_t)n + 1);
  int32* bhead = TVA_SYS_ALLOC(g->sys, int32, (size_t)n + 1);
  int32* bnext = TVA_SYS_ALLOC(g->sys, int32, (size_t)n + 1);
  if (!cur || !bhead || !bnext) {
    if (cur) TVA_SYS_FREE(g->sys, cur);
    if (bhead) TVA_SYS_FREE(g->sys, bhead);
    if (bnext) TVA_SYS_FREE(g->sys, bnext);
    return -1;
  }
  double S = 0.0;
  for (int32 d = 0; d <= n; ++d)
    bhead[d] = -1;
  for (int32 i = 0; i < n; ++i) {
    cur[i] = g->deg[i];
    S += g->deg[i];
    bnext[i] = bhead[cur[i]];
    bhead[cur[i]] = i;
  }
  int32 ndense = 0, r = n;
  for (int32 d = n; d >= 0 && r > 1; --d) {
    while (bhead[d] >= 0) {
      int32 i = bhead[d];
      bhead[d] = bnext[i];
      if (kind[i] == kDense) continue;
      if (cur[i] != d) { // degree fell since it was listed: back in its current bucket
        bnext[i] = bhead[cur[i]];
        bhead[cur[i]] = i;
        continue;
      }
      double L = std::ceil(std::log2((double)r));
      double rd = (double)r * d;
      if (!(rd >= 40.0 * L * r + S && rd >= 8.0 * S)) {
        d = -1; // the highest degree left fails, and so would every lower one
        break;
      }
      kind[i] = kDense;
      dense[ndense++] = i;
      r--;
      S -= 2.0 * d;
      for (int64 k = g->start[i]; k < g->start[i] + g->deg[i]; ++k) {
        int32 v = g->adj[k];
        if (kind[v] != kDense) cur[v]--;
      }
    }
  }
  TVA_SYS_FREE(g->sys, cur);
  TVA_SYS_FREE(g->sys, bhead);
  TVA_SYS_FREE(g->sys, bnext);
  return ndense;
}

} // namespace

int32 minlocf_order(symord* g, int32* perm) {
  int32 n = g->n;
  g->npreordered = 0;
  if (g->ordertype != kOrderMinDegree && g->ordertype != kOrderLocalFill)
    sysenv_fatal(g->sys, TVA_HERE, "Invalid ordering type: %d", g->ordertype);
  if (n <= 1) {
    if (n == 1) perm[0] = 0;
    return kOrderOk;
  }
  int64 total = 0;
  for (int32 i = 0; i < n; ++i)
    total += g->deg[i];
  QuotientGraph qg;
  if (!qg.alloc(g->sys, n, total + total / 5 + 2 * (int64)n + 16)) return kOrderSpace;
  int8_t* kind = qg.kind;
  for (int32 i = 0; i < n; ++i)
    kind[i] = kVar;
  int32* dense = qg.hnext; // borrowed until the main loop starts
  int32 ndense = preorder_dense(g, kind, dense);
  if (ndense < 0) return kOrderSpace;
  for (int32 k = 0; k < ndense; ++k)
    perm[n - ndense + k] = dense[k];
  g->npreordered = ndense;

  // Initial lists: the adjacency without dense nodes.
  int64 at = 0;
  for (int32 i = 0; i < n; ++i) {
    qg.pe[i] = at;
    qg.elen[i] = 0;
    qg.nv[i] = kind[i] == kVar ? 1 : 0;
    qg.w[i] = 0;
    qg.mark[i] = 0;
    qg.hhead[i] = -1;
    qg.head[i] = -1;
    if (kind[i] != kVar) {
      qg.len[i] = 0;
      continue;
    }
    for (int64 k = g->start[i]; k < g->start[i] + g->deg[i]; ++k)
      if (kind[g->adj[k]] == kVar) qg.pool[at++] = g->adj[k];
    qg.len[i] = (int32)(at - qg.pe[i]);
  }
  qg.head[n] = -1;
  qg.pfree = at;
  int32 nleft = n - ndense;
  int32 mins = n;
  for (int32 i = 0; i < n; ++i) {
    if (kind[i] != kVar) continue;
    qg.deg[i] = qg.len[i];
    int32 s = fill_score(g->ordertype, qg.deg[i], 0);
    qg.bucket_insert(i, s);
    if (s < mins) mins = s;
  }
  int32* pivots = qg.hnext; // reused: pivot sequence, kept apart from hash chains below
  int32 npiv = 0;
  int32* chain = TVA_SYS_ALLOC(g->sys, int32, (size_t)n + 1);
  if (!chain) return kOrderSpace;
  int32 stamp = 0;
  int64 wflg = 1;
  while (nleft > 0) {
    while (mins <= n && qg.head[mins] < 0)
      mins++;
    if (mins > n) sysenv_fatal(g->sys, TVA_HERE, "No nodes available");
    int32 p = qg.head[mins];
    qg.bucket_remove(p);
    pivots[npiv++] = p;
    int32 nvp = qg.nv[p];
    nleft -= nvp;

    // Room for the new element's list.
    int64 need = qg.len[p] - qg.elen[p];
    for (int32 k = 0; k < qg.elen[p]; ++k)
      need += qg.len[qg.pool[qg.pe[p] + k]];
    if (qg.pfree + need > qg.cap && !qg.compact(need)) {
      TVA_SYS_FREE(g->sys, chain);
      return kOrderSpace;
    }
    ++stamp;
    int64 pstart = qg.pfree;
    int32 esz = 0;
    qg.mark[p] = stamp;
    int64 pb = qg.pe[p];
    int32 plen = qg.len[p], pel = qg.elen[p];
    for (int32 k = 0; k < plen; ++k) {
      int32 x = qg.pool[pb + k];
      if (k < pel) {
        if (kind[x] != kElem) continue;
        for (int32 t = 0; t < qg.len[x]; ++t) {
          int32 v = qg.pool[qg.pe[x] + t];
          if (kind[v] != kVar || qg.nv[v] <= 0 || qg.mark[v] == stamp) continue;
          qg.mark[v] = stamp;
          qg.pool[qg.pfree++] = v;
          esz += qg.nv[v];
        }
        kind[x] = kAbsorbed;
      } else {
        if (kind[x] != kVar || qg.nv[x] <= 0 || qg.mark[x] == stamp) continue;
        qg.mark[x] = stamp;
        qg.pool[qg.pfree++] = x;
        esz += qg.nv[x];
      }
    }
    kind[p] = kElem;
    qg.pe[p] = pstart;
    qg.len[p] = (int32)(qg.pfree - pstart);
    qg.elen[p] = 0;
    qg.esize[p] = esz;
    int32 nlp = qg.len[p];

    // |Le \ Lp| for the other elements next to Lp, by the w counters.
    for (int32 t = 0; t < nlp; ++t) {
      int32 i = qg.pool[pstart + t];
      qg.bucket_remove(i);
      for (int32 k = 0; k < qg.elen[i]; ++k) {
        int32 e = qg.pool[qg.pe[i] + k];
        if (kind[e] != kElem || e == p) continue;
        if (qg.w[e] < wflg) qg.w[e] = qg.esize[e] + wflg;
        qg.w[e] -= qg.nv[i];
      }
    }
    // New lists and degrees of the variables of Lp.
    for (int32 t = 0; t < nlp; ++t) {
      int32 i = qg.pool[pstart + t];
      int64 b = qg.pe[i];
      int64 out = b;
      int32 de = 0, dv = 0, emax = esz;
      uint32 h = (uint32)p;
      for (int32 k = 0; k < qg.elen[i]; ++k) {
        int32 e = qg.pool[b + k];
        if (kind[e] != kElem || e == p) continue;
        int32 ext = (int32)(qg.w[e] - wflg);
        if (ext <= 0) { // e lies inside Lp: absorbed into p
          kind[e] = kAbsorbed;
          continue;
        }
        qg.pool[out++] = e;
        de += ext;
        if (qg.esize[e] > emax) emax = qg.esize[e];
        h += (uint32)e;
      }
      int32 nke = (int32)(out - b);
      for (int32 k = qg.elen[i]; k < qg.len[i]; ++k) {
        int32 v = qg.pool[b + k];
        if (kind[v] != kVar || qg.nv[v] <= 0 || qg.mark[v] == stamp) continue;
        qg.pool[out++] = v;
        dv += qg.nv[v];
        h += (uint32)v;
      }
      // p goes after the kept elements; the variable there moves to the end.
      int64 slot = b + nke;
      if (slot < out) qg.pool[out] = qg.pool[slot];
      qg.pool[slot] = p;
      out++;
      qg.len[i] = (int32)(out - b);
      qg.elen[i] = nke + 1;
      int32 d = de + dv + esz - qg.nv[i];
      int32 bound = qg.deg[i] + esz - qg.nv[i];
      if (d > bound) d = bound;
      if (d > nleft - qg.nv[i]) d = nleft - qg.nv[i];
      if (d < 0) d = 0;
      qg.deg[i] = d;
      qg.hkey[i] = (int32)(h % (uint32)n);
      qg.score[i] = emax - qg.nv[i]; // kept for the score below
    }
    // Indistinguishable variables of Lp are merged into one.
    for (int32 t = 0; t < nlp; ++t) {
      int32 i = qg.pool[pstart + t];
      chain[i] = qg.hhead[qg.hkey[i]];
      qg.hhead[qg.hkey[i]] = i;
    }
    for (int32 t = 0; t < nlp; ++t) {
      int32 i = qg.pool[pstart + t];
      int32 hk = qg.hkey[i];
      if (qg.hhead[hk] < 0) continue;
      for (int32 a = qg.hhead[hk]; a >= 0; a = chain[a]) {
        if (qg.nv[a] <= 0) continue;
        ++stamp;
        for (int32 k = 0; k < qg.len[a]; ++k)
          qg.mark[qg.pool[qg.pe[a] + k]] = stamp;
        for (int32 bb = chain[a]; bb >= 0; bb = chain[bb]) {
          if (qg.nv[bb] <= 0 || qg.len[bb] != qg.len[a] || qg.elen[bb] != qg.elen[a]) continue;
          bool same = true;
          for (int32 k = 0; k < qg.len[bb] && same; ++k)
            same = qg.mark[qg.pool[qg.pe[bb] + k]] == stamp;
          if (!same) continue;
          qg.nv[a] += qg.nv[bb];
          qg.deg[a] -= qg.nv[bb];
          if (qg.deg[a] < 0) qg.deg[a] = 0;
          qg.nv[bb] = 0;
          kind[bb] = kMerged;
          qg.parent[bb] = a;
        }
      }
      qg.hhead[hk] = -1;
    }
    ++stamp; // marks of Lp are stale from here on
    for (int32 t = 0; t < nlp; ++t) {
      int32 i = qg.pool[pstart + t];
      if (kind[i] != kVar || qg.nv[i] <= 0) continue;
      int32 s = fill_score(g->ordertype, qg.deg[i], qg.score[i]);
      qg.bucket_insert(i, s);
      if (s < mins) mins = s;
    }
    wflg += (int64)n + 1;
  }
  TVA_SYS_FREE(g->sys, chain);

  // Each merged variable follows the pivot that its chain of merges ends in.
  int32* rank = qg.deg; // free now
  for (int32 i = 0; i < n; ++i)
    rank[i] = -1;
  for (int32 k = 0; k < npiv; ++k)
    rank[pivots[k]] = k;
  int32* cnt = qg.head; // npiv + 1 counters
  for (int32 k = 0; k <= npiv; ++k)
    cnt[k] = 0;
  for (int32 i = 0; i < n; ++i) {
    if (kind[i] == kDense) continue;
    int32 r = i;
    while (rank[r] < 0)
      r = qg.parent[r];
    // Path compression keeps the walks short.
    for (int32 x = i; rank[x] < 0;) {
      int32 nx = qg.parent[x];
      qg.parent[x] = r;
      x = nx;
    }
    qg.mark[i] = rank[r];
    cnt[rank[r] + 1]++;
  }
  for (int32 k = 0; k < npiv; ++k)
    cnt[k + 1] += cnt[k];
  for (int32 k = 0; k < npiv; ++k)
    perm[cnt[k]++] = pivots[k];
  for (int32 i = 0; i < n; ++i)
    if (kind[i] == kMerged) perm[cnt[qg.mark[i]]++] = i;
  // The permutation check.
  int32* seen = qg.len;
  for (int32 i = 0; i < n; ++i)
    seen[i] = 0;
  for (int32 k = 0; k < n; ++k) {
    if (perm[k] < 0 || perm[k] >= n || seen[perm[k]]) sysenv_fatal(g->sys, TVA_HERE, "p error");
    seen[perm[k]] = 1;
  }
  return kOrderOk;
}

} // namespace telva
