// Life, size and settings of the lu object.
#include <new>

#include "lu/lu_data.h"

namespace telva {

namespace {

template <class T> T* alloc_array(sysenv* sys, int64 n, bool* ok) {
  T* p = TVA_SYS_ALLOC(sys, T, (size_t)(n > 0 ? n : 1));
  if (!p) *ok = false;
  return p;
}

template <class T> void free_array(sysenv* sys, T** p) {
  if (*p) TVA_SYS_FREE(sys, *p);
  *p = nullptr;
}

} // namespace

int32 lu_alloc(sysenv* sys, int32 maxnrow, int32 maxncol, lu** out) {
  *out = nullptr;
  if (maxnrow < 0 || maxncol < 0) return kLuBadArgument;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(lu));
  if (!raw) return kLuNoMemory;
  lu* f = new (raw) lu;
  f->sys = sys;
  f->maxnrow = maxnrow;
  f->maxncol = maxncol;
  f->nrow = maxnrow;
  f->ncol = maxncol;
  f->mlu = 2 * maxnrow;
  int32 mx = maxnrow > maxncol ? maxnrow : maxncol;
  bool ok = true;
  f->ufirr = alloc_array<int32>(sys, maxnrow, &ok);
  f->uszer = alloc_array<int32>(sys, maxnrow, &ok);
  f->uuser = alloc_array<int32>(sys, maxnrow, &ok);
  f->q = alloc_array<int32>(sys, maxnrow, &ok);
  f->diag = alloc_array<double>(sys, maxnrow, &ok);
  f->ufirc = alloc_array<int32>(sys, maxncol, &ok);
  f->uszec = alloc_array<int32>(sys, maxncol, &ok);
  f->uusec = alloc_array<int32>(sys, maxncol, &ok);
  f->invq = alloc_array<int32>(sys, maxncol, &ok);
  f->pivorder = alloc_array<int32>(sys, maxnrow, &ok);
  f->useq = alloc_array<int32>(sys, (int64)maxnrow + f->mlu + 1, &ok);
  f->useqpos = alloc_array<int32>(sys, maxnrow, &ok);
  f->lcolofrow = alloc_array<int32>(sys, maxnrow, &ok);
  f->lrstart = alloc_array<int32>(sys, (int64)maxnrow + 1, &ok);
  f->etarow = alloc_array<int32>(sys, f->mlu, &ok);
  f->etastart = alloc_array<int32>(sys, (int64)f->mlu + 1, &ok);
  f->markr = alloc_array<int32>(sys, maxnrow, &ok);
  f->markc = alloc_array<int32>(sys, maxncol, &ok);
  f->stack = alloc_array<int32>(sys, 2 * (int64)mx + 2, &ok);
  f->list = alloc_array<int32>(sys, mx, &ok);
  f->starts = alloc_array<int32>(sys, mx, &ok);
  f->spkidx = alloc_array<int32>(sys, mx, &ok);
  f->spkval = alloc_array<double>(sys, mx, &ok);
  f->work = alloc_array<double>(sys, mx, &ok);
  f->work2 = alloc_array<double>(sys, mx, &ok);
  if (!ok) {
    lu_free(&f);
    return kLuNoMemory;
  }
  *out = f;
  return kLuOk;
}

void lu_free(lu** plu) {
  lu* f = *plu;
  if (!f) return;
  *plu = nullptr;
  sysenv* sys = f->sys;
  free_array(sys, &f->in_row);
  free_array(sys, &f->in_col);
  free_array(sys, &f->in_val);
  free_array(sys, &f->ufirr);
  free_array(sys, &f->uszer);
  free_array(sys, &f->uuser);
  free_array(sys, &f->q);
  free_array(sys, &f->diag);
  free_array(sys, &f->ufirc);
  free_array(sys, &f->uszec);
  free_array(sys, &f->uusec);
  free_array(sys, &f->invq);
  free_array(sys, &f->rsub);
  free_array(sys, &f->rval);
  free_array(sys, &f->posc);
  free_array(sys, &f->csub);
  free_array(sys, &f->cval);
  free_array(sys, &f->posr);
  free_array(sys, &f->pivorder);
  free_array(sys, &f->useq);
  free_array(sys, &f->useqpos);
  free_array(sys, &f->lpiv);
  free_array(sys, &f->lstart);
  free_array(sys, &f->lsub);
  free_array(sys, &f->lval);
  free_array(sys, &f->lcolofrow);
  free_array(sys, &f->lrstart);
  free_array(sys, &f->lrsub);
  free_array(sys, &f->lrval);
  free_array(sys, &f->etarow);
  free_array(sys, &f->etastart);
  free_array(sys, &f->etasub);
  free_array(sys, &f->etaval);
  free_array(sys, &f->markr);
  free_array(sys, &f->markc);
  free_array(sys, &f->stack);
  free_array(sys, &f->list);
  free_array(sys, &f->starts);
  free_array(sys, &f->spkidx);
  free_array(sys, &f->spkval);
  free_array(sys, &f->work);
  free_array(sys, &f->work2);
  f->~lu();
  TVA_SYS_FREE(sys, f);
}

void lu_clear_factors(lu* f) {
  f->factormode = kLuNothing;
  f->stpf = 0;
  f->nzl = f->nzu = 0;
  f->nlcol = 0;
  f->lupds = 0;
  f->numupdates = 0;
  f->uendr = f->uendc = 0;
}

int32 lu_setnrow(lu* f, int32 nrow) {
  if (nrow < 0 || nrow > f->maxnrow) return kLuSizeAboveCapacity;
  if (nrow != f->nrow) {
    f->nrow = nrow;
    f->orderisvalid = false;
    lu_clear_factors(f);
  }
  return kLuOk;
}

int32 lu_setncol(lu* f, int32 ncol) {
  if (ncol < 0 || ncol > f->maxncol) return kLuSizeAboveCapacity;
  if (ncol != f->ncol) {
    f->ncol = ncol;
    lu_clear_factors(f);
  }
  return kLuOk;
}

int32 lu_nrow(const lu* f) {
  return f->nrow;
}
int32 lu_ncol(const lu* f) {
  return f->ncol;
}

void lu_settol(lu* f, int32 which, double value) {
  switch (which) {
  case 0:
    f->toldrop = value;
    break;
  case 1:
    f->tolapiv = value;
    break;
  case 2:
    f->tolrpiv = value < 1e-4 ? 1e-4 : (value > 0.9999 ? 0.9999 : value);
    break;
  case 3:
    f->tol3 = value;
    break;
  case 4:
    f->tolupdate = value;
    break;
  case 5:
    f->tolrelcancel = value;
    break;
  case 6:
    f->tolsolvedrop = value;
    break;
  default:
    sysenv_fatal(f->sys, TVA_HERE, "ltol: %d", which);
  }
}

double lu_gettol(const lu* f, int32 which) {
  switch (which) {
  case 0:
    return f->toldrop;
  case 1:
    return f->tolapiv;
  case 2:
    return f->tolrpiv;
  case 3:
    return f->tol3;
  case 4:
    return f->tolupdate;
  case 5:
    return f->tolrelcancel;
  case 6:
    return f->tolsolvedrop;
  default:
    sysenv_fatal(f->sys, TVA_HERE, "ltol: %d", which);
  }
}

void lu_setpivotmode(lu* f, int32 mode) {
  f->pivotmode = mode;
}
void lu_setsearchlimit(lu* f, int32 limit) {
  f->searchlimit = limit < 1 ? 1 : limit;
}

void lu_setdefaults(lu* f) {
  f->pivotmode = 1;
  f->toldrop = 1e-13;
  f->tolapiv = 1e-8;
  f->tolrpiv = 0.01;
  f->tol3 = 1e-6;
  f->tolupdate = 1e-14;
  f->searchlimit = 5;
  f->refactorlimit = 0;
}

void lu_setrefactorlimit(lu* f, int32 which, int32 limit) {
  if (which != 1) sysenv_fatal(f->sys, TVA_HERE, "Unknown treshold");
  f->refactorlimit = limit < 0 ? 0 : limit;
}

int32 lu_getrefactorlimit(const lu* f, int32 which) {
  if (which != 1) sysenv_fatal(f->sys, TVA_HERE, "Unknown treshold");
  return f->refactorlimit;
}

void lu_setprogress(lu* f, void* handle, LuProgressFunc fn) {
  f->progress_handle = handle;
  f->progress = fn;
}

int32 lu_lastpivotsettings(const lu* f, int32* mode, double* tolrpiv, double* tolapiv) {
  if (f->factormode != kLuFactored) return kLuNotFactorized;
  if (mode) *mode = f->last_pivotmode;
  if (tolrpiv) *tolrpiv = f->last_tolrpiv;
  if (tolapiv) *tolapiv = f->last_tolapiv;
  return kLuOk;
}

int32 lu_isfactored(const lu* f) {
  return f->factormode == kLuFactored ? 1 : 0;
}
void lu_invalidate(lu* f) {
  f->factormode = kLuNothing;
}
int64 lu_storagesize(const lu* f) {
  return (int64)f->rcap + f->ccap + f->lcap + f->etacap;
}
int64 lu_nzl(const lu* f) {
  return f->nzl;
}
int64 lu_nzu(const lu* f) {
  return f->nzu;
}
int32 lu_numupdates(const lu* f) {
  return f->numupdates;
}

int32 lu_rank(const lu* f, int32* rank) {
  *rank = f->stpf;
  return kLuOk;
}

int32 lu_getpivot(const lu* f, int32 row, int32* col, double* diag) {
  if (row < 0 || row >= f->nrow) return kLuRowIndex;
  if (f->factormode < kLuFactorizing) return kLuNotFactorized;
  if (col) *col = f->q[row];
  if (diag) *diag = f->q[row] < f->ncol ? f->diag[row] : 0.0;
  return kLuOk;
}

} // namespace telva
