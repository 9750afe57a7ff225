// Sparse matrix by vectors with start and end pointers.
#include "misc/spmat.h"

#include <algorithm>
#include <cstring>

#include "misc/sysarr.h"

namespace telva {

namespace {

void check_invariant(const spmat* a) {
  if (a->ffree > a->maxsze)
    sysenv_fatal(a->sys, TVA_HERE, "a->ffree>a->maxsze %lld %lld", static_cast<long long>(a->ffree),
                 static_cast<long long>(a->maxsze));
}

// Copies every vector, in vector order, to the front of fresh arrays of size newsze and
// installs them. Used for growth, so that growth also removes the gaps.
int repack_into_new(spmat* a, int64 newsze) {
  int32* nsub = sysarr_alloc<int32>(a->sys, newsze);
  double* nval = a->hasval ? sysarr_alloc<double>(a->sys, newsze) : nullptr;
  if (newsze > 0 && (!nsub || (a->hasval && !nval))) {
    sysarr_free(a->sys, &nsub);
    sysarr_free(a->sys, &nval);
    return kSpmatSpace;
  }
  int64 pos = 0;
  for (int32 k = 0; k < a->nvec; ++k) {
    int64 n = a->ptre[k] - a->ptrb[k];
    if (n > 0) {
      std::memcpy(nsub + pos, a->sub + a->ptrb[k], n * sizeof(int32));
      if (a->hasval) std::memcpy(nval + pos, a->val + a->ptrb[k], n * sizeof(double));
    }
    a->ptrb[k] = pos;
    pos += n;
    a->ptre[k] = pos;
  }
  sysarr_free(a->sys, &a->sub);
  sysarr_free(a->sys, &a->val);
  a->sub = nsub;
  a->val = nval;
  a->maxsze = newsze;
  a->ffree = pos;
  check_invariant(a);
  return kSpmatOk;
}

// Makes room for need more elements behind ffree: by repacking when at least half of the store
// is gaps, else by growing geometrically.
int room_behind(spmat* a, int64 need) {
  if (a->ffree + need <= a->maxsze) return kSpmatOk;
  int64 used = spmat_numnz(a);
  int64 newsze = a->maxsze;
  if (used + need > newsze / 2 || used + need > newsze)
    newsze = std::max(2 * a->maxsze, used + need);
  return repack_into_new(a, newsze);
}

int grow_vectors(spmat* a, int32 maxnvec) {
  if (maxnvec <= a->maxnvec) return kSpmatOk;
  int64* nb = sysarr_alloc<int64>(a->sys, maxnvec);
  int64* ne = sysarr_alloc<int64>(a->sys, maxnvec);
  if (!nb || !ne) {
    sysarr_free(a->sys, &nb);
    sysarr_free(a->sys, &ne);
    return kSpmatSpace;
  }
  if (a->nvec > 0) {
    std::memcpy(nb, a->ptrb, a->nvec * sizeof(int64));
    std::memcpy(ne, a->ptre, a->nvec * sizeof(int64));
  }
  sysarr_free(a->sys, &a->ptrb);
  sysarr_free(a->sys, &a->ptre);
  a->ptrb = nb;
  a->ptre = ne;
  a->maxnvec = maxnvec;
  return kSpmatOk;
}

void write_vec(spmat* a, int64 pos, int32 nz, const int32* sub, const double* val) {
  if (nz > 0) {
    std::memcpy(a->sub + pos, sub, nz * sizeof(int32));
    if (a->hasval) {
      if (val)
        std::memcpy(a->val + pos, val, nz * sizeof(double));
      else
        std::fill(a->val + pos, a->val + pos + nz, 0.0);
    }
  }
}

// Counting transpose of a's vectors in the given order (order null: natural order).
int transpose_core(const spmat* a, const int32* order, spmat* at) {
  if (spmat_getnvec(a) != spmat_getvlen(at))
    sysenv_fatal(a->sys, TVA_HERE, "Assertion 'spmat_getnvec(a)!=spmat_getvlen(at)' failed.");
  if (spmat_getvlen(a) != spmat_getnvec(at))
    sysenv_fatal(a->sys, TVA_HERE, "Assertion 'spmat_getvlen(a)!=spmat_getnvec(at)' failed.");
  int64 nz = spmat_numnz(a);
  if (nz > at->maxsze) {
    int32* nsub = sysarr_alloc<int32>(at->sys, nz);
    double* nval = at->hasval ? sysarr_alloc<double>(at->sys, nz) : nullptr;
    if (!nsub || (at->hasval && !nval)) {
      sysarr_free(at->sys, &nsub);
      sysarr_free(at->sys, &nval);
      return kSpmatSpace;
    }
    sysarr_free(at->sys, &at->sub);
    sysarr_free(at->sys, &at->val);
    at->sub = nsub;
    at->val = nval;
    at->maxsze = nz;
  }
  int32 n = at->nvec;
  for (int32 i = 0; i < n; ++i)
    at->ptre[i] = 0;
  for (int32 k = 0; k < a->nvec; ++k)
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p)
      at->ptre[a->sub[p]]++;
  int64 pos = 0;
  for (int32 i = 0; i < n; ++i) {
    int64 c = at->ptre[i];
    at->ptrb[i] = pos;
    at->ptre[i] = pos;
    pos += c;
  }
  for (int32 t = 0; t < a->nvec; ++t) {
    int32 k = order ? order[t] : t;
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p) {
      int64 q = at->ptre[a->sub[p]]++;
      at->sub[q] = t;
      if (at->hasval) at->val[q] = a->hasval ? a->val[p] : 0.0;
    }
  }
  at->ffree = pos;
  check_invariant(at);
  return kSpmatOk;
}

} // namespace

int spmat_create(sysenv* sys, int32 maxnvec, int32 vlen, int64 maxsze, bool withval, spmat** out) {
  *out = nullptr;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(spmat));
  if (!raw) return kSpmatSpace;
  spmat* a = new (raw) spmat;
  a->sys = sys;
  a->vlen = vlen;
  a->hasval = withval;
  if (grow_vectors(a, std::max<int32>(maxnvec, 0)) != kSpmatOk ||
      (maxsze > 0 && repack_into_new(a, maxsze) != kSpmatOk)) {
    spmat_delete(&a);
    return kSpmatSpace;
  }
  *out = a;
  return kSpmatOk;
}

void spmat_delete(spmat** pa) {
  spmat* a = *pa;
  if (!a) return;
  sysenv* sys = a->sys;
  sysarr_free(sys, &a->ptrb);
  sysarr_free(sys, &a->ptre);
  sysarr_free(sys, &a->sub);
  sysarr_free(sys, &a->val);
  a->~spmat();
  TVA_SYS_FREE(sys, a);
  *pa = nullptr;
}

void spmat_clear(spmat* a) {
  a->nvec = 0;
  a->ffree = 0;
}

int spmat_reserve(spmat* a, int32 maxnvec, int64 maxsze) {
  if (grow_vectors(a, maxnvec) != kSpmatOk) return kSpmatSpace;
  if (maxsze > a->maxsze) return repack_into_new(a, maxsze);
  return kSpmatOk;
}

int spmat_setdims(spmat* a, int32 nvec, int32 vlen) {
  if (nvec > a->maxnvec && grow_vectors(a, std::max(nvec, 2 * a->maxnvec)) != kSpmatOk)
    return kSpmatSpace;
  for (int32 k = a->nvec; k < nvec; ++k)
    a->ptrb[k] = a->ptre[k] = a->ffree;
  a->nvec = nvec;
  a->vlen = vlen;
  return kSpmatOk;
}

int64 spmat_numnz(const spmat* a) {
  int64 n = 0;
  for (int32 k = 0; k < a->nvec; ++k)
    n += a->ptre[k] - a->ptrb[k];
  return n;
}

int spmat_addvec(spmat* a, int32 nz, const int32* sub, const double* val) {
  if (a->nvec == a->maxnvec && grow_vectors(a, std::max(2 * a->maxnvec, 4)) != kSpmatOk)
    return kSpmatSpace;
  if (room_behind(a, nz) != kSpmatOk) return kSpmatSpace;
  int32 k = a->nvec++;
  a->ptrb[k] = a->ffree;
  write_vec(a, a->ffree, nz, sub, val);
  a->ffree += nz;
  a->ptre[k] = a->ffree;
  check_invariant(a);
  return kSpmatOk;
}

int spmat_replacevec(spmat* a, int32 k, int32 nz, const int32* sub, const double* val) {
  TVA_ASSERT(a->sys, k >= 0 && k < a->nvec);
  if (nz <= a->ptre[k] - a->ptrb[k]) {
    write_vec(a, a->ptrb[k], nz, sub, val);
    a->ptre[k] = a->ptrb[k] + nz;
    return kSpmatOk;
  }
  // The old elements are given up before room is made, so that a repack doesn't copy them.
  int64 ob = a->ptrb[k], oe = a->ptre[k];
  a->ptre[k] = a->ptrb[k];
  if (room_behind(a, nz) != kSpmatOk) {
    a->ptrb[k] = ob;
    a->ptre[k] = oe;
    return kSpmatSpace;
  }
  a->ptrb[k] = a->ffree;
  write_vec(a, a->ffree, nz, sub, val);
  a->ffree += nz;
  a->ptre[k] = a->ffree;
  check_invariant(a);
  return kSpmatOk;
}

int spmat_makeroom(spmat* a, int64 need) {
  return room_behind(a, need);
}

void spmat_renumbervecs(spmat* a, const int32* newidx, int32 newcount) {
  for (int32 k = 0; k < a->nvec; ++k) {
    int32 t = newidx[k];
    if (t < 0) continue;
    TVA_ASSERT(a->sys, t <= k);
    a->ptrb[t] = a->ptrb[k];
    a->ptre[t] = a->ptre[k];
  }
  a->nvec = newcount;
}

void spmat_renumbersubs(spmat* a, const int32* newidx, int32 newvlen) {
  for (int32 k = 0; k < a->nvec; ++k) {
    int64 o = a->ptrb[k];
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p) {
      int32 t = newidx[a->sub[p]];
      if (t < 0) continue;
      a->sub[o] = t;
      if (a->hasval) a->val[o] = a->val[p];
      ++o;
    }
    a->ptre[k] = o;
  }
  a->vlen = newvlen;
}

int spmat_transpose(const spmat* a, spmat* at) {
  return transpose_core(a, nullptr, at);
}

int spmat_transposeperm(const spmat* a, const int32* perm, spmat* at) {
  return transpose_core(a, perm, at);
}

void spmat_nummatadd(double alpha, const spmat* a, double beta, const spmat* b, spmat* c,
                     double* work) {
  TVA_ASSERT(c->sys, a->nvec == c->nvec && b->nvec == c->nvec);
  for (int32 k = 0; k < c->nvec; ++k) {
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p)
      work[a->sub[p]] += alpha * a->val[p];
    for (int64 p = b->ptrb[k]; p < b->ptre[k]; ++p)
      work[b->sub[p]] += beta * b->val[p];
    for (int64 p = c->ptrb[k]; p < c->ptre[k]; ++p) {
      c->val[p] = work[c->sub[p]];
      work[c->sub[p]] = 0.0;
    }
    // Anything left in work lay outside c's pattern: a caller's error.
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p)
      TVA_ASSERT(c->sys, work[a->sub[p]] == 0.0);
    for (int64 p = b->ptrb[k]; p < b->ptre[k]; ++p)
      TVA_ASSERT(c->sys, work[b->sub[p]] == 0.0);
  }
}

namespace {

// Vector numbers in the order of their start in the element store; null when out of memory.
int32* order_by_start(const spmat* a) {
  int32* order = sysarr_alloc<int32>(a->sys, a->nvec);
  if (!order) return nullptr;
  for (int32 k = 0; k < a->nvec; ++k)
    order[k] = k;
  std::sort(order, order + a->nvec, [a](int32 x, int32 y) { return a->ptrb[x] < a->ptrb[y]; });
  return order;
}

} // namespace

int spmat_packinplace(spmat* a) {
  if (a->nvec == 0) {
    a->ffree = 0;
    return kSpmatOk;
  }
  // Moving in the order of the starts never overwrites a vector that has not moved yet.
  int32* order = order_by_start(a);
  if (!order) return kSpmatSpace;
  int64 pos = 0;
  for (int32 t = 0; t < a->nvec; ++t) {
    int32 k = order[t];
    int64 n = a->ptre[k] - a->ptrb[k];
    if (n > 0 && a->ptrb[k] != pos) {
      std::memmove(a->sub + pos, a->sub + a->ptrb[k], n * sizeof(int32));
      if (a->hasval) std::memmove(a->val + pos, a->val + a->ptrb[k], n * sizeof(double));
    }
    a->ptrb[k] = pos;
    pos += n;
    a->ptre[k] = pos;
  }
  sysarr_free(a->sys, &order);
  a->ffree = pos;
  return kSpmatOk;
}

int spmat_unpackinplace(spmat* a, int32 extra) {
  int64 need = spmat_numnz(a) + int64(a->nvec) * extra;
  if (need > a->maxsze && repack_into_new(a, need) != kSpmatOk) return kSpmatSpace;
  if (spmat_packinplace(a) != kSpmatOk) return kSpmatSpace;
  int32* order = order_by_start(a);
  if (a->nvec > 0 && !order) return kSpmatSpace;
  // Packed vectors move from the back, so that nothing unmoved is overwritten.
  int64 end = need;
  for (int32 t = a->nvec - 1; t >= 0; --t) {
    int32 k = order[t];
    int64 n = a->ptre[k] - a->ptrb[k];
    int64 nb = end - extra - n;
    if (n > 0) {
      std::memmove(a->sub + nb, a->sub + a->ptrb[k], n * sizeof(int32));
      if (a->hasval) std::memmove(a->val + nb, a->val + a->ptrb[k], n * sizeof(double));
    }
    a->ptrb[k] = nb;
    a->ptre[k] = nb + n;
    end = nb;
  }
  sysarr_free(a->sys, &order);
  a->ffree = need;
  return kSpmatOk;
}

void spmat_uncompress(const spmat* a, double* d, int64 ld) {
  for (int32 k = 0; k < a->nvec; ++k) {
    std::fill(d + k * ld, d + k * ld + a->vlen, 0.0);
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p)
      d[k * ld + a->sub[p]] = a->hasval ? a->val[p] : 1.0;
  }
}

void spmat_writetofile(const spmat* a, std::FILE* f, const char* name) {
  std::fprintf(f, "SPMAT - %s  numvec=%-6d  veclen=%-6d\n", name, a->nvec, a->vlen);
  for (int32 k = 0; k < a->nvec; ++k) {
    for (int64 p = a->ptrb[k]; p < a->ptre[k]; ++p)
      std::fprintf(f, " %e[%d]", a->hasval ? a->val[p] : 1.0, a->sub[p]);
    std::fprintf(f, "\n");
  }
}

} // namespace telva
