// Symmetric matrix store.
#include "misc/sossm.h"

#include <algorithm>
#include <cstring>

#include "misc/sysarr.h"

namespace telva {

void sossm_create(sysenv* sys, sossm* s) {
  s->sys = sys;
  s->num = s->maxnum = 0;
  s->dim = nullptr;
  s->type = nullptr;
  s->mat = nullptr;
  bsto_create(sys, kBstoBlockSize, &s->blocks);
}

void sossm_delete(sossm* s) {
  if (!s->sys) return;
  sysarr_free(s->sys, &s->dim);
  sysarr_free(s->sys, &s->type);
  sysarr_free(s->sys, &s->mat);
  bsto_delete(&s->blocks);
  s->num = s->maxnum = 0;
}

bool sossm_add(sossm* s, int32 dim, int64 nz, const int32* subi, const int32* subj,
               const double* val, int64* idx) {
  if (s->num == s->maxnum) {
    int64 m = std::max<int64>(2 * s->maxnum, 16);
    int32* nd = sysarr_alloc<int32>(s->sys, m);
    unsigned char* nt = sysarr_alloc<unsigned char>(s->sys, m);
    sossm_mat** nm = sysarr_alloc<sossm_mat*>(s->sys, m);
    if (!nd || !nt || !nm) {
      sysarr_free(s->sys, &nd);
      sysarr_free(s->sys, &nt);
      sysarr_free(s->sys, &nm);
      return false;
    }
    if (s->num > 0) {
      std::memcpy(nd, s->dim, s->num * sizeof(int32));
      std::memcpy(nt, s->type, s->num);
      std::memcpy(nm, s->mat, s->num * sizeof(sossm_mat*));
    }
    sysarr_free(s->sys, &s->dim);
    sysarr_free(s->sys, &s->type);
    sysarr_free(s->sys, &s->mat);
    s->dim = nd;
    s->type = nt;
    s->mat = nm;
    s->maxnum = m;
  }
  // One piece holds the record and its three arrays.
  int64 bytes = int64(sizeof(sossm_mat)) + nz * int64(sizeof(double) + 2 * sizeof(int32)) + 16;
  unsigned char* p = static_cast<unsigned char*>(bsto_get(&s->blocks, bytes));
  if (!p) return false;
  sossm_mat* m = reinterpret_cast<sossm_mat*>(p);
  m->nz = nz;
  m->val = reinterpret_cast<double*>(p + ((sizeof(sossm_mat) + 7) / 8) * 8);
  m->subi = reinterpret_cast<int32*>(m->val + nz);
  m->subj = m->subi + nz;
  if (nz > 0) {
    std::memcpy(m->val, val, nz * sizeof(double));
    std::memcpy(m->subi, subi, nz * sizeof(int32));
    std::memcpy(m->subj, subj, nz * sizeof(int32));
  }
  s->dim[s->num] = dim;
  s->type[s->num] = 0;
  s->mat[s->num] = m;
  *idx = s->num++;
  return true;
}

int64 sossm_bytes(const sossm* s) {
  return s->blocks.totalbytes;
}

} // namespace telva
