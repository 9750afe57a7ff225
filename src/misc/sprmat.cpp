// The growing store of A: orientation flips, pending single elements, double transposition.
#include "misc/sprmat.h"

#include <algorithm>
#include <cstring>

#include "misc/sysarr.h"

namespace telva {

namespace {

// Room for need more elements in a's store, remembering an enlargement for the owner's log.
int makeroom_noted(sprmat* a, int64 need) {
  int64 before = a->dim->maxsze;
  if (spmat_makeroom(a->dim, need) != kSpmatOk) return kSprmatSpace;
  if (a->dim->maxsze > before) {
    if (!a->grew) a->grew_from = before;
    a->grew = true;
    a->grew_to = a->dim->maxsze;
  }
  return kSprmatOk;
}

int32 nmajor(const sprmat* a) {
  return a->bycol ? a->ncol : a->nrow;
}
int32 nminor(const sprmat* a) {
  return a->bycol ? a->nrow : a->ncol;
}

void assert_unlocked(const sprmat* a) {
  if (a->locked) sysenv_fatal(a->sys, TVA_HERE, "Is locked already %d", a->locked);
}

// Transposes dim into tdim (made or resized as needed) and swaps them.
int flip(sprmat* a) {
  int32 nvec = nminor(a), vlen = nmajor(a);
  if (!a->tdim) {
    if (spmat_create(a->sys, nvec, vlen, 0, true, &a->tdim) != kSpmatOk) return kSprmatSpace;
  }
  if (spmat_reserve(a->tdim, nvec, 0) != kSpmatOk) return kSprmatSpace;
  spmat_clear(a->tdim);
  if (spmat_setdims(a->tdim, nvec, vlen) != kSpmatOk) return kSprmatSpace;
  if (spmat_transpose(a->dim, a->tdim) != kSpmatOk) return kSprmatSpace;
  std::swap(a->dim, a->tdim);
  a->bycol = !a->bycol;
  return kSprmatOk;
}

} // namespace

int sprmat_create(sysenv* sys, int32 nrow, int32 ncol, int64 maxsize, sprmat** out) {
  *out = nullptr;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(sprmat));
  if (!raw) return kSprmatSpace;
  sprmat* a = new (raw) sprmat;
  a->sys = sys;
  a->nrow = nrow;
  a->ncol = ncol;
  a->maxsize = std::max<int64>(maxsize, 0);
  if (spmat_create(sys, ncol, nrow, a->maxsize, true, &a->dim) != kSpmatOk ||
      spmat_setdims(a->dim, ncol, nrow) != kSpmatOk) {
    sprmat_delete(&a);
    return kSprmatSpace;
  }
  *out = a;
  return kSprmatOk;
}

int sprmat_createfrom(sysenv* sys, int32 nrow, int32 ncol, bool bycol, const int64* ptrb,
                      const int64* ptre, const int32* sub, const double* val, sprmat** out) {
  int32 nvec = bycol ? ncol : nrow;
  int64 nz = 0;
  for (int32 k = 0; k < nvec; ++k)
    nz += ptre[k] - ptrb[k];
  int r = sprmat_create(sys, nrow, ncol, nz, out);
  if (r != kSprmatOk) return r;
  sprmat* a = *out;
  a->bycol = bycol;
  spmat_clear(a->dim);
  a->dim->vlen = bycol ? nrow : ncol;
  if (spmat_reserve(a->dim, nvec, nz) != kSpmatOk) {
    sprmat_delete(out);
    return kSprmatSpace;
  }
  for (int32 k = 0; k < nvec; ++k)
    spmat_addvec(a->dim, static_cast<int32>(ptre[k] - ptrb[k]), sub + ptrb[k], val + ptrb[k]);
  return kSprmatOk;
}

void sprmat_delete(sprmat** pa) {
  sprmat* a = *pa;
  if (!a) return;
  sysenv* sys = a->sys;
  spmat_delete(&a->dim);
  spmat_delete(&a->tdim);
  sysarr_free(sys, &a->pendi);
  sysarr_free(sys, &a->pendj);
  sysarr_free(sys, &a->pendv);
  a->~sprmat();
  TVA_SYS_FREE(sys, a);
  *pa = nullptr;
}

int sprmat_setmaxsize(sprmat* a, int64 maxsize) {
  int r = sprmat_flush(a);
  if (r != kSprmatOk) return r;
  if (maxsize < spmat_numnz(a->dim)) return kSprmatMaxsize;
  if (maxsize > a->dim->maxsze && spmat_reserve(a->dim, 0, maxsize) != kSpmatOk)
    return kSprmatSpace;
  a->maxsize = maxsize;
  return kSprmatOk;
}

int sprmat_appendrows(sprmat* a, int32 num) {
  if (num < 0) return kSprmatAppendRows;
  assert_unlocked(a);
  if (a->bycol) {
    a->dim->vlen = a->nrow + num;
  } else if (spmat_setdims(a->dim, a->nrow + num, a->ncol) != kSpmatOk) {
    return kSprmatSpace;
  }
  a->nrow += num;
  return kSprmatOk;
}

int sprmat_appendcols(sprmat* a, int32 num) {
  if (num < 0) return kSprmatAppendRows;
  assert_unlocked(a);
  if (!a->bycol) {
    a->dim->vlen = a->ncol + num;
  } else if (spmat_setdims(a->dim, a->ncol + num, a->nrow) != kSpmatOk) {
    return kSprmatSpace;
  }
  a->ncol += num;
  return kSprmatOk;
}

int sprmat_renumber(sprmat* a, bool rows, const int32* newidx, int32 newcount) {
  assert_unlocked(a);
  int r = sprmat_flush(a);
  if (r != kSprmatOk) return r;
  bool major = rows != a->bycol; // rows are the vectors of a row-wise store
  if (major) {
    spmat_renumbervecs(a->dim, newidx, newcount);
  } else {
    spmat_renumbersubs(a->dim, newidx, newcount);
  }
  if (rows)
    a->nrow = newcount;
  else
    a->ncol = newcount;
  return kSprmatOk;
}

int sprmat_reservepend(sprmat* a, int64 extra) {
  if (a->npend + extra <= a->maxpend) return kSprmatOk;
  int64 m = std::max<int64>(std::max<int64>(2 * a->maxpend, 1024), a->npend + extra);
  int32* ni = sysarr_alloc<int32>(a->sys, m);
  int32* nj = sysarr_alloc<int32>(a->sys, m);
  double* nv = sysarr_alloc<double>(a->sys, m);
  if (!ni || !nj || !nv) {
    sysarr_free(a->sys, &ni);
    sysarr_free(a->sys, &nj);
    sysarr_free(a->sys, &nv);
    return kSprmatSpace;
  }
  if (a->npend > 0) {
    std::memcpy(ni, a->pendi, a->npend * sizeof(int32));
    std::memcpy(nj, a->pendj, a->npend * sizeof(int32));
    std::memcpy(nv, a->pendv, a->npend * sizeof(double));
  }
  sysarr_free(a->sys, &a->pendi);
  sysarr_free(a->sys, &a->pendj);
  sysarr_free(a->sys, &a->pendv);
  a->pendi = ni;
  a->pendj = nj;
  a->pendv = nv;
  a->maxpend = m;
  return kSprmatOk;
}

int sprmat_putelem(sprmat* a, int32 i, int32 j, double v) {
  assert_unlocked(a);
  if (a->npend == a->maxpend && sprmat_reservepend(a, 1) != kSprmatOk) return kSprmatSpace;
  a->pendi[a->npend] = i;
  a->pendj[a->npend] = j;
  a->pendv[a->npend] = v;
  a->npend++;
  return kSprmatOk;
}

int sprmat_preparereplace(sprmat* a, bool bycol, int64 total) {
  int r = sprmat_orient(a, bycol);
  if (r != kSprmatOk) return r;
  return makeroom_noted(a, total);
}

int sprmat_flush(sprmat* a) {
  if (a->npend == 0) return kSprmatOk;
  assert_unlocked(a);
  spmat* d = a->dim;
  const int32 nvec = nmajor(a), vlen = nminor(a);
  const int32* pmaj = a->bycol ? a->pendj : a->pendi;
  const int32* pmin = a->bycol ? a->pendi : a->pendj;
  const int64 np = a->npend;

  // Scratch: the pending elements grouped by vector in their order (a stable counting sort),
  // a position mark per index, and a buffer for one merged vector.
  int64* start = sysarr_alloc<int64>(a->sys, int64(nvec) + 1);
  int32* gsub = sysarr_alloc<int32>(a->sys, np);
  double* gval = sysarr_alloc<double>(a->sys, np);
  int32* mark = sysarr_alloc<int32>(a->sys, std::max(vlen, 1));
  int64 maxlen = 0, bound = 0;
  int r = kSprmatOk;
  if (!start || !gsub || !gval || !mark) r = kSprmatSpace;
  if (r == kSprmatOk) {
    for (int64 t = 0; t < np; ++t)
      start[pmaj[t] + 1]++;
    for (int32 k = 0; k < nvec; ++k) {
      int64 c = start[k + 1];
      if (c > 0) {
        int64 len = spmat_getvecnz(d, k) + c;
        maxlen = std::max(maxlen, len);
        bound += len;
      }
      start[k + 1] += start[k];
    }
    for (int64 t = 0; t < np; ++t) {
      int64 q = start[pmaj[t]]++;
      gsub[q] = pmin[t];
      gval[q] = a->pendv[t];
    }
    // start[k] now is the end of vector k's group; its begin is start[k - 1] (0 for k = 0).
  }
  int32* bsub = r == kSprmatOk ? sysarr_alloc<int32>(a->sys, std::max<int64>(maxlen, 1)) : nullptr;
  double* bval =
      r == kSprmatOk ? sysarr_alloc<double>(a->sys, std::max<int64>(maxlen, 1)) : nullptr;
  if (r == kSprmatOk && (!bsub || !bval)) r = kSprmatSpace;
  // Room for every grown vector is made first, so that the merge itself can't fail.
  if (r == kSprmatOk) r = makeroom_noted(a, bound);
  if (r == kSprmatOk) {
    for (int32 i = 0; i < vlen; ++i)
      mark[i] = -1;
    int64 gb = 0;
    for (int32 k = 0; k < nvec; ++k) {
      int64 ge = start[k];
      if (ge == gb) continue;
      int32 n = 0;
      for (int64 p = d->ptrb[k]; p < d->ptre[k]; ++p) {
        bsub[n] = d->sub[p];
        bval[n] = d->val[p];
        mark[d->sub[p]] = n++;
      }
      for (int64 g = gb; g < ge; ++g) {
        int32 s = gsub[g];
        if (mark[s] >= 0) {
          bval[mark[s]] = gval[g];
        } else {
          bsub[n] = s;
          bval[n] = gval[g];
          mark[s] = n++;
        }
      }
      int32 kept = 0;
      for (int32 t = 0; t < n; ++t) {
        mark[bsub[t]] = -1;
        if (bval[t] != 0.0) {
          bsub[kept] = bsub[t];
          bval[kept++] = bval[t];
        }
      }
      spmat_replacevec(d, k, kept, bsub, bval);
      gb = ge;
    }
    a->npend = 0;
  }
  sysarr_free(a->sys, &start);
  sysarr_free(a->sys, &gsub);
  sysarr_free(a->sys, &gval);
  sysarr_free(a->sys, &mark);
  sysarr_free(a->sys, &bsub);
  sysarr_free(a->sys, &bval);
  return r;
}

int sprmat_orient(sprmat* a, bool bycol) {
  int r = sprmat_flush(a);
  if (r != kSprmatOk || a->bycol == bycol) return r;
  assert_unlocked(a);
  return flip(a);
}

int sprmat_replacevec(sprmat* a, bool bycol, int32 k, int32 nz, const int32* sub,
                      const double* val) {
  int r = sprmat_orient(a, bycol);
  if (r != kSprmatOk) return r;
  return spmat_replacevec(a->dim, k, nz, sub, val) == kSpmatOk ? kSprmatOk : kSprmatSpace;
}

int sprmat_getvec(sprmat* a, bool bycol, int32 k, int32* nz, const int32** sub,
                  const double** val) {
  int r = sprmat_orient(a, bycol);
  if (r != kSprmatOk) return r;
  *nz = static_cast<int32>(spmat_getvecnz(a->dim, k));
  *sub = a->dim->sub + a->dim->ptrb[k];
  *val = a->dim->val + a->dim->ptrb[k];
  return kSprmatOk;
}

int sprmat_getvecnz(sprmat* a, bool bycol, int32 k, int32* nz) {
  // A flip costs one pass over the elements; counting across vectors would cost that much for
  // every single count, and callers ask for the counts of many vectors in a row.
  int r = sprmat_orient(a, bycol);
  if (r == kSprmatOk) *nz = static_cast<int32>(spmat_getvecnz(a->dim, k));
  return r;
}

int sprmat_getaij(sprmat* a, int32 i, int32 j, double* v) {
  int r = sprmat_flush(a);
  if (r != kSprmatOk) return r;
  int32 k = a->bycol ? j : i, s = a->bycol ? i : j;
  *v = 0.0;
  for (int64 p = a->dim->ptrb[k]; p < a->dim->ptre[k]; ++p)
    if (a->dim->sub[p] == s) *v = a->dim->val[p];
  return kSprmatOk;
}

int sprmat_numnz(sprmat* a, int64* nz) {
  int r = sprmat_flush(a);
  if (r == kSprmatOk) *nz = spmat_numnz(a->dim);
  return r;
}

int sprmat_sort(sprmat* a) {
  int r = sprmat_flush(a);
  if (r != kSprmatOk) return r;
  assert_unlocked(a);
  // Each transposition leaves sorted vectors; two bring back the orientation.
  r = flip(a);
  if (r == kSprmatOk) r = flip(a);
  return r;
}

int sprmat_transposecopy(sprmat* a, spmat* at) {
  int r = sprmat_flush(a);
  if (r != kSprmatOk) return r;
  return spmat_transpose(a->dim, at) == kSpmatOk ? kSprmatOk : kSprmatSpace;
}

void sprmat_lock(sprmat* a) {
  if (a->locked) sysenv_fatal(a->sys, TVA_HERE, "Is locked already %d", a->locked);
  a->locked = 1;
}

void sprmat_unlock(sprmat* a) {
  a->locked = 0;
}

void sprmat_debugline(const sprmat* a, std::FILE* f) {
  std::fprintf(f, "maxsize: %lld ause: %lld cuse: %lld\n", static_cast<long long>(a->maxsize),
               static_cast<long long>(spmat_numnz(a->dim)), static_cast<long long>(a->npend));
}

} // namespace telva
