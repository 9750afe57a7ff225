// The problem a task holds: counts and capacities (in TvaTask), bounds, the objective, the
// matrix A, the quadratic terms, the cones, the semidefinite variables with barA and barC, the
// symmetric matrix store, integer marks and item names. All arrays come from the task's sysenv.
//
// Every operation that takes a list checks the whole list before it changes anything, and
// takes all memory it needs before the first change, so that a failing call leaves the store
// as it was. Failures are reported on the task and returned as response codes.
#pragma once

#include "cpub/sysenv.h"
#include "misc/hashtabl.h"
#include "misc/hyposm.h"
#include "misc/sossm.h"
#include "misc/sprmat.h"

struct TvaTask;

namespace telva {

constexpr double kInfinity = 1.0e30;
constexpr int32 kNumNameClasses = 4; // constraints, variables, cones, bar variables
enum NameClass : int32 { kNameCon = 0, kNameVar = 1, kNameCone = 2, kNameBarvar = 3 };

struct ProblemStore {
  int32 objsense = 0;
  void* nlhandle = nullptr;
  void* nlgetsp = nullptr;
  void* nlgetva = nullptr;

  double* rowcost = nullptr; // per constraint; no export sets it; the simplex code reads it
  double* c = nullptr;       // per variable
  hyposm* barc = nullptr;    // 1 by numbarvar
  double cfix = 0.0;

  // The Q arena: triplets of lower triangles, one contiguous interval [first, last) for the
  // objective and for each constraint. qsurplus counts the free slots behind the last interval
  // in use; the arena has task->maxnumqnz slots.
  int64 qobj_first = 0, qobj_last = 0;
  int64* qcon_first = nullptr; // per constraint; null until a constraint's Q is first put
  int64* qcon_last = nullptr;
  int64 qsurplus = 0;
  int32* qsubi = nullptr;
  int32* qsubj = nullptr;
  double* qval = nullptr;

  sprmat* a = nullptr;    // null until a first row or column exists
  hyposm* bara = nullptr; // numcon by numbarvar

  int32* bkc = nullptr;
  double* blc = nullptr;
  double* buc = nullptr;
  int32* bkx = nullptr;
  double* blx = nullptr;
  double* bux = nullptr;

  // Cones: members of cone k are conesub[coneptrb[k] .. coneptre[k]); conesub has maxnumvar
  // slots, of which conesurplus lie free behind the last cone's members.
  int32 conesurplus = 0;
  int32* coneptrb = nullptr;
  int32* coneptre = nullptr;
  int32* conetype = nullptr;
  double* conepar = nullptr;
  int32* conesub = nullptr;
  int32* varcone = nullptr; // per variable: 0, or the cone's index plus 1

  int32* bardim = nullptr;

  int32 numintvar = 0;
  int32* vartype = nullptr;
  int32* varaux[2] = {nullptr, nullptr}; // made by the mixed-integer code, kept by resizes

  // Names: zero-terminated strings in one arena; offset 0 holds the empty name.
  int64 objname = 0;
  int64* name_offset[kNumNameClasses] = {nullptr, nullptr, nullptr, nullptr};
  char* name_arena = nullptr;
  int64 name_arena_size = 0;
  int64 name_surplus = 0;
  // Per class, a map from name to item, made on demand by the first lookup; while it stands,
  // names of the class are unique.
  hashtabl name_map[kNumNameClasses];
  bool name_map_made[kNumNameClasses] = {false, false, false, false};

  int64 change_count = 0; // raised by store_changed

  int32 a_change_count = 0;

  sossm symmats; // the matrices of TVA_appendsparsesymmat
};

// What a put changed, for the one place that tells the rest of the task (the solutions) that
// the problem is no longer the one they were computed for.
enum StoreChange : int32 {
  kChangeObjective,
  kChangeSense,
  kChangeConBounds,
  kChangeVarBounds,
  kChangeA,
  kChangeQ,
  kChangeCones,
  kChangeBar,
  kChangeVarTypes,
  kChangeNames,
  kChangeStructure,
};
void store_changed(TvaTask* task, StoreChange what);

// Lifecycle: set up an empty store; free everything (the task's counts become 0).
void store_init(TvaTask* task);
void store_clear(TvaTask* task);
// Copies everything src's store holds into dst, whose store is empty (a clone).
TVArescode store_copy(TvaTask* dst, TvaTask* src);

// Capacities. A request below the current count is refused; equal to the capacity does nothing.
TVArescode store_putmaxnumcon(TvaTask* task, int32 maxnumcon);
TVArescode store_putmaxnumvar(TvaTask* task, int32 maxnumvar);
TVArescode store_putmaxnumcone(TvaTask* task, int32 maxnumcone);
TVArescode store_putmaxnumbarvar(TvaTask* task, int32 maxnumbarvar);
TVArescode store_putmaxnumanz(TvaTask* task, int64 maxnumanz);
TVArescode store_putmaxnumqnz(TvaTask* task, int64 maxnumqnz);

// Growth.
TVArescode store_appendcons(TvaTask* task, int32 num);
TVArescode store_appendvars(TvaTask* task, int32 num);
TVArescode store_appendbarvars(TvaTask* task, int32 num, const int32* dim);
TVArescode store_appendcone(TvaTask* task, int32 ct, double conepar, int32 nummem,
                            const int32* submem);
TVArescode store_appendconeseq(TvaTask* task, int32 ct, double conepar, int32 nummem, int32 j);
TVArescode store_appendconesseq(TvaTask* task, int32 num, const int32* ct, const double* conepar,
                                const int32* nummem, int32 j);
TVArescode store_putcone(TvaTask* task, int32 k, int32 ct, double conepar, int32 nummem,
                         const int32* submem);
TVArescode store_appendsparsesymmat(TvaTask* task, int32 dim, int64 nz, const int32* subi,
                                    const int32* subj, const double* val, int64* idx);

// Removal: the items that stay keep their order and all their data.
TVArescode store_removecons(TvaTask* task, int32 num, const int32* subset);
TVArescode store_removevars(TvaTask* task, int32 num, const int32* subset);
TVArescode store_removecones(TvaTask* task, int32 num, const int32* subset);
TVArescode store_removebarvars(TvaTask* task, int32 num, const int32* subset);

// Bounds, by TVA_ACC_CON or TVA_ACC_VAR. The list form takes sub, or items first, first+1, ...
// when sub is null. Values are normalised by the infinity tolerance.
TVArescode store_putboundlist(TvaTask* task, int32 accmode, int32 num, const int32* sub,
                              int32 first, const int32* bk, const double* bl, const double* bu);
TVArescode store_putbound(TvaTask* task, int32 accmode, int32 i, int32 bk, double bl, double bu);
// Reads a bound with the infinite side as -1e30 or +1e30; no checks.
void store_getbound(const TvaTask* task, int32 accmode, int32 i, int32* bk, double* bl, double* bu);

// Objective.
TVArescode store_putclist(TvaTask* task, int32 num, const int32* sub, int32 first,
                          const double* val);
TVArescode store_putcj(TvaTask* task, int32 j, double cj);
void store_putcfix(TvaTask* task, double cfix);
TVArescode store_putobjsense(TvaTask* task, int32 sense);
TVArescode store_putvartype(TvaTask* task, int32 j, int32 type);

// A. Single elements go to a pending list; the vector forms replace whole columns (bycol) or
// rows, given by sub or by first, first+1, ... when sub is null, with elements
// asub[ptrb[t] .. ptre[t]).
TVArescode store_putaij(TvaTask* task, int32 i, int32 j, double aij);
TVArescode store_putaijlist(TvaTask* task, int64 num, const int32* subi, const int32* subj,
                            const double* val);
TVArescode store_putavecs(TvaTask* task, bool bycol, int32 num, const int32* sub, int32 first,
                          const int64* ptrb, const int64* ptre, const int32* asub,
                          const double* aval);
// Column or row k copied out: *nz elements into sub and val (either may be null).
TVArescode store_getavec(TvaTask* task, bool bycol, int32 k, int32* nz, int32* sub, double* val);
TVArescode store_getavecnz(TvaTask* task, bool bycol, int32 k, int32* nz);
TVArescode store_getaij(TvaTask* task, int32 i, int32 j, double* aij);
TVArescode store_getnumanz(TvaTask* task, int64* nz);
TVArescode store_commit(TvaTask* task);
// Sorts the indices inside every column (and row) of A by two transpositions, for optimizers
// that want sorted input.
TVArescode store_sort_a(TvaTask* task);
// Maps a sprmat status to a response code.
TVArescode store_sprmat_result(TvaTask* task, int status);

// Q. k == -1 is the objective.
TVArescode store_putqobj(TvaTask* task, int32 n, const int32* subi, const int32* subj,
                         const double* val);
TVArescode store_putqobjij(TvaTask* task, int32 i, int32 j, double v);
TVArescode store_putqconk(TvaTask* task, int32 k, int32 n, const int32* subi, const int32* subj,
                          const double* val);
TVArescode store_putqcon(TvaTask* task, int32 n, const int32* subk, const int32* subi,
                         const int32* subj, const double* val);
double store_getqij(const TvaTask* task, int32 k, int32 i, int32 j);
// The interval of the objective's (k == -1) or constraint k's Q in the arena.
void store_qinterval(const TvaTask* task, int32 k, int64* first, int64* last);

// Semidefinite data.
TVArescode store_putbarcj(TvaTask* task, int32 j, int64 num, const int64* sub,
                          const double* weights);
TVArescode store_putbaraij(TvaTask* task, int32 i, int32 j, int64 num, const int64* sub,
                           const double* weights);
TVArescode store_putbarblocktriplet(TvaTask* task, bool isbara, int64 num, const int32* subi,
                                    const int32* subj, const int32* subk, const int32* subl,
                                    const double* val);

// Names: a null or empty name clears it. The result of store_getname is never null. While the
// class's map stands, a name held by another item is refused with TVA_RES_ERR_DUP_NAME.
TVArescode store_putname(TvaTask* task, int32 cls, int32 i, const char* name);
const char* store_getname(const TvaTask* task, int32 cls, int32 i);
int32 store_name_count(const TvaTask* task, int32 cls);
TVArescode store_putobjname(TvaTask* task, const char* name);
const char* store_getobjname(const TvaTask* task);
// Item of a name, or -1; makes the class's map when it doesn't stand (which fails on duplicate
// names with the class's duplicate code).
TVArescode store_findname(TvaTask* task, int32 cls, const char* name, int32* item);
// Drops the class's map (after items were renumbered); the next lookup makes it anew.
void store_dropnamemap(TvaTask* task, int32 cls);
// The name the file writers show: the item's own, or one generated from the class's prefix
// ("C", "X", "K", "BARX") and the index plus 1; the objective's is "OBJ" when unset. buf holds
// at least 16 bytes; the result points to the stored name or to buf.
const char* store_name_or_generated(const TvaTask* task, int32 cls, int32 i, char* buf);
const char* store_objname_or_generated(const TvaTask* task);
// The duplicate check of the file writers: a warning for the first class with duplicates.
TVArescode store_warn_duplicate_names(TvaTask* task);

// Problem kind.
bool store_has_qobj(const TvaTask* task);
bool store_has_qcon(const TvaTask* task);
bool store_is_nl(const TvaTask* task);
bool store_is_conic(const TvaTask* task);
int32 store_probtype(const TvaTask* task);
// TVA_RES_ERR_MIXED_CONIC_AND_NL when quadratic or nonlinear terms meet cones or bar variables.
TVArescode store_check_mixing(TvaTask* task);

} // namespace telva
