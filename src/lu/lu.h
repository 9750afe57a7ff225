// The sparse LU engine: a square (or, during a rank search, rectangular) sparse matrix B is
// factorized as a permuted product L U with Markowitz pivoting and threshold stability tests.
// The factors are solved with in dense and hyper-sparse form, in both directions, one column at
// a time is replaced by a Forrest-Tomlin update, and the 1-norm of the inverse is estimated.
//
// Index spaces: rows of B are "rows", columns of B are "positions" (a basis head). A forward
// solve B y = x takes x in row space and gives y in position space; a transposed solve
// B' y = x takes x in position space and gives y in row space.
//
// Sparse vectors are a dense value array plus a list of the indices that may be nonzero. Every
// sparse operation keeps its private mark arrays clean, so its cost follows the work, not the
// dimension.
//
// The object is owned by one thread at a time: no locks, no threads of its own.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

// Statuses of the engine, mapped to response codes by its callers.
enum LuStatus : int32 {
  kLuOk = 0,
  kLuSizeAboveCapacity = 2,
  kLuNoMemory = 9,
  kLuIworkSmall = 10,
  kLuDworkSmall = 11,
  kLuStorage = 12,
  kLuUnstableUpdate = 13,
  kLuNoRoomUpdate = 14,
  kLuNotFactorized = 15,
  kLuRowIndex = 16,
  kLuGuardHit = 17,
  kLuCondGuard = 18,
  kLuCancelled = 19,
  kLuWorkLimit = 20,
  kLuInputFit = 21,
  kLuNotFullRank = 22,
  kLuRefactorAdvised = 23,
  kLuNotSquare = 25,
  kLuBadArgument = 26,
};

// States of the object (Factormode).
enum LuMode : int32 { kLuNothing = 0, kLuInputOpen = 1, kLuFactorizing = 2, kLuFactored = 3 };

// Pulls the matrix column by column: sizefn fills colsizes[ncol]; fillfn fills rows and values
// of every column starting at colstart[j].
using LuSizeFunc = int32 (*)(void* context, int32* colsizes);
using LuFillFunc = int32 (*)(void* context, const int32* colstart, int32* rowindex, double* value);
// Progress: code 0 before factorization, 2 with the pivots done every 100,000 work units, 3 at
// the end. A nonzero answer cancels.
using LuProgressFunc = int32 (*)(void* handle, int32 code, int32 count, int32 zero);

struct lu;

// ---- life, size and settings (lu_alloc.cpp) ----
int32 lu_alloc(sysenv* sys, int32 maxnrow, int32 maxncol, lu** out);
void lu_free(lu** plu);
int32 lu_setnrow(lu* f, int32 nrow);
int32 lu_setncol(lu* f, int32 ncol);
int32 lu_nrow(const lu* f);
int32 lu_ncol(const lu* f);
// Tolerances: 0 toldrop, 1 tolapiv, 2 tolrpiv (clamped to [1e-4, 0.9999]), 3 kept only,
// 4 tolupdate, 5 tolrelcancel, 6 tolsolvedrop.
void lu_settol(lu* f, int32 which, double value);
double lu_gettol(const lu* f, int32 which);
void lu_setpivotmode(lu* f, int32 mode);
void lu_setsearchlimit(lu* f, int32 limit);
void lu_setdefaults(lu* f);
// Selector must be 1; a negative limit is stored as 0 (automatic).
void lu_setrefactorlimit(lu* f, int32 which, int32 limit);
int32 lu_getrefactorlimit(const lu* f, int32 which);
void lu_setprogress(lu* f, void* handle, LuProgressFunc fn);
// Pivot mode, tolrpiv and tolapiv of the last finished factorization; 15 unless factorized.
int32 lu_lastpivotsettings(const lu* f, int32* mode, double* tolrpiv, double* tolapiv);
int32 lu_isfactored(const lu* f);
void lu_invalidate(lu* f);
int64 lu_storagesize(const lu* f);
int64 lu_nzl(const lu* f);
int64 lu_nzu(const lu* f);
int32 lu_numupdates(const lu* f);

// ---- input (lu_input.cpp) ----
int32 lu_open(lu* f);
int32 lu_putentry(lu* f, double value, int32 row, int32 col);
// Maps rows through rowmap (identity when null), skips mapped rows at or above limit.
int32 lu_putcolumn(lu* f, int32 col, int32 count, const double* values, const int32* rows,
                   int32 limit, const int32* rowmap);
void lu_setcolumnsource(lu* f, void* context, LuSizeFunc sizefn, LuFillFunc fillfn);
// Convenience: opens and loads a whole column-store matrix (ptr[ncol+1], sub, val).
int32 lu_putmatrix(lu* f, const int32* ptr, const int32* sub, const double* val);

// ---- factorization (lu_factor.cpp, lu_finalize.cpp) ----
int32 lu_factor(lu* f);
int32 lu_rank(const lu* f, int32* rank);
// State 2 with rank short: pairs each unpivoted row, in increasing order, with the next
// unpivoted column; map[col] gets that row (ncol elsewhere), diag(row) gets pivotvalue.
int32 lu_completewithslacks(lu* f, double pivotvalue, int32* map);
// Pivot row of a position and the diagonal of that row (col = ncol when unpaired).
int32 lu_getpivot(const lu* f, int32 row, int32* col, double* diag);
int32 lu_pivotrange(const lu* f, double* mindiag, double* maxdiag, double* maxl, double* maxu);
// The same with the row etas in maxl and each U entry divided by its row's diagonal; 22
// unless the factorization has full rank.
int32 lu_pivotrangescaled(const lu* f, double* mindiag, double* maxdiag, double* maxl,
                          double* maxu);

// ---- solves (lu_solve_dense.cpp, lu_solve_sparse.cpp) ----
// B y = x: x (row space) is destroyed to all zero, y (positions) is the result.
int32 lu_ftran(lu* f, double* x, double* y);
// The same with a guard: a U component with abs(value) >= ratio * abs(diag) becomes 0, 17.
int32 lu_ftranguarded(lu* f, double ratio, double* x, double* y);
// B' y = x: x (positions) is destroyed to all zero, y (rows) is the result.
int32 lu_btran(lu* f, double* x, double* y);
// Sparse forms work in place on (nz, idx, val) with val dense. The forward result ends in
// position space, the transposed one in row space. tol < 0 takes the object's drop tolerances.
int32 lu_ftransparse(lu* f, int32* nz, int32* idx, double* val);
int32 lu_btransparse(lu* f, double tol, int32* nz, int32* idx, double* val);
// L and row etas only: the spike that lu_update takes (row space).
int32 lu_ftranspike(lu* f, int32* nz, int32* idx, double* val);
// U part after lu_ftranspike; tol 0 keeps every nonzero.
int32 lu_ftranfinish(lu* f, double tol, int32* nz, int32* idx, double* val);

// ---- update (lu_update.cpp) ----
// Forrest-Tomlin: the pivot row of position oldcol becomes the pivot row of newcol, whose
// column is the spike (row space, from lu_ftranspike). The spike arrays are left untouched.
int32 lu_update(lu* f, int32 oldcol, int32 newcol, int32 spikenz, const int32* spikeidx,
                const double* spikeval);
// Takes a raw column of B (row space, sparse), forms the spike and updates.
int32 lu_updatefromcolumn(lu* f, int32 oldcol, int32 newcol, int32 nz, const int32* idx,
                          const double* val);

// ---- diagnostics (lu_condest.cpp) ----
// Estimate of the 1-norm of the inverse (not multiplied by the norm of B).
int32 lu_condestimate(lu* f, double* est);

} // namespace telva
