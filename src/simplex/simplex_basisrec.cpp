// The task's basis record: made once, refactorized from status keys on demand.
#include "simplex/simplex_basisrec.h"

#include <new>

#include "telva.h"

namespace telva {

int32 simplex_makebasis(sysenv* sys, int32 numcon, double lutolrel, SimplexBasis** out) {
  *out = nullptr;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(SimplexBasis));
  if (!raw) return kSimSpace;
  SimplexBasis* b = new (raw) SimplexBasis(sys);
  try {
    b->bas.assign(numcon, 0);
    b->weights.assign(numcon, 1.0);
    b->work.assign(2 * static_cast<size_t>(numcon), 0.0);
  } catch (const std::bad_alloc&) {
    simplex_deletebasis(&b);
    return kSimSpace;
  }
  if (lu_alloc(sys, numcon, numcon, &b->f) != kLuOk) {
    simplex_deletebasis(&b);
    return kSimSpace;
  }
  lu_settol(b->f, 2, lutolrel);
  b->numcon = numcon;
  *out = b;
  return kSimOk;
}

void simplex_deletebasis(SimplexBasis** basis) {
  if (!basis || !*basis) return;
  SimplexBasis* b = *basis;
  sysenv* sys = b->sys;
  b->~SimplexBasis();
  TVA_SYS_FREE(sys, b);
  *basis = nullptr;
}

int32 simplex_verifybasis(SimplexBasis* b, int32 numcon, int32 numvar, const int32* aptr,
                          const int32* asub, const double* aval, const int32* skc, const int32* skx,
                          int32* rank) {
  *rank = 0;
  if (numcon > b->numcon) return kSimInternal;
  b->weightsok = false;
  b->luisok = b->solvable = false;
  if (lu_setnrow(b->f, numcon) != kLuOk || lu_setncol(b->f, numcon) != kLuOk) return kSimInternal;
  b->bnumcon = numcon;
  // The head in index order; a count other than numcon can't be a nonsingular square basis.
  int32 nb = 0;
  for (int32 k = 0; k < numcon + numvar; ++k) {
    int32 key = k < numcon ? skc[k] : skx[k - numcon];
    if (key != TVA_SK_BAS) continue;
    if (nb < numcon) b->bas[nb] = k;
    nb++;
  }
  if (nb != numcon) {
    lu_invalidate(b->f);
    return kSimBasisSingular;
  }
  if (numcon == 0) {
    // Nothing to factorize; the empty factors are still usable.
    if (lu_open(b->f) != kLuOk || lu_factor(b->f) != kLuOk) return kSimInternal;
    b->solvable = true;
    return kSimOk;
  }
  int32 st = lu_open(b->f);
  const double minus1 = -1.0;
  for (int32 p = 0; p < numcon && st == kLuOk; ++p) {
    int32 k = b->bas[p];
    if (k < numcon) {
      st = lu_putcolumn(b->f, p, 1, &minus1, &k, numcon, nullptr);
    } else {
      int32 j = k - numcon, first = aptr[j];
      st = lu_putcolumn(b->f, p, aptr[j + 1] - first, aval + first, asub + first, numcon, nullptr);
    }
  }
  if (st == kLuOk) st = lu_factor(b->f);
  if (st == kLuNoMemory || st == kLuStorage) return kSimSpace;
  if (st != kLuOk) return kSimInternal;
  lu_rank(b->f, rank);
  if (*rank < numcon || !lu_isfactored(b->f)) {
    lu_invalidate(b->f);
    return kSimBasisSingular;
  }
  b->solvable = true;
  return kSimOk;
}

} // namespace telva
