// The basis record a task keeps between calls: the head of a basis, its LU factors, and what a
// later solve with that basis needs. The exported basis functions (initialize, solve, condition
// number) share it, and it outlives each of them.
#pragma once

#include "cpub/sysalloc.h"
#include "lu/lu.h"
#include "simplex/simplex.h"

namespace telva {

struct SimplexBasis {
  explicit SimplexBasis(sysenv* s)
      : sys(s), bas(SysAllocator<int32>(s)), weights(SysAllocator<double>(s)),
        work(SysAllocator<double>(s)) {}
  ~SimplexBasis() {
    if (f) lu_free(&f);
  }

  sysenv* sys;
  int32 numcon = 0;     // capacity: the largest dimension the record and its LU can take
  int32 bnumcon = 0;    // dimension of the basis held now
  SysVector<int32> bas; // the head: basis position -> index (logicals first, then variables)
  lu* f = nullptr;      // factors of the basis in the head's position order
  int32 solsta = 0;     // solution status of the solution the basis came from
  // Whose factors the LU holds: an optimizer's (of its scaled working form, for the next hot
  // start) or the exported basis functions' (of the caller's A, to solve with).
  bool luisok = false;
  bool solvable = false;
  bool weightsok = false;
  SysVector<double> weights; // pricing weights per row, kept for a later start
  SysVector<double> work;    // two dense vectors of numcon entries for the solves
};

// A record of capacity numcon with an LU of that size, the relative pivot tolerance set to
// lutolrel. Returns kSimOk or kSimSpace.
int32 simplex_makebasis(sysenv* sys, int32 numcon, double lutolrel, SimplexBasis** out);
void simplex_deletebasis(SimplexBasis** basis);

// Takes the basis of the status keys (the indices whose key is TVA_SK_BAS, logicals first) and
// factorizes it on the columns of A (aptr[numvar+1], asub, aval), the logical of row i being
// the column -e_i. No column is replaced: a basis without exactly numcon basic keys, or one the
// factorization finds singular, answers kSimBasisSingular. *rank is the rank the factorization
// found (0 when it did not run). Other answers: kSimOk, kSimSpace, kSimInternal (numcon above
// the record's capacity).
int32 simplex_verifybasis(SimplexBasis* b, int32 numcon, int32 numvar, const int32* aptr,
                          const int32* asub, const double* aval, const int32* skc, const int32* skx,
                          int32* rank);

} // namespace telva
