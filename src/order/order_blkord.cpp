// Maximum transversal and block triangular form of unsymmetric patterns, for the basis code:
// a transversal puts nonzeros on the diagonal, and the strong components of the graph it
// induces are the diagonal blocks of a block triangular permutation.
#include <initializer_list>

#include "order/order.h"

namespace telva {

int32 blkord_appmaxtran(sysenv* sys, int32 nrow, int32 ncol, const int32* colptr,
                        const int32* rowind, int32* rowofcol, int32* size) {
  *size = 0;
  int32* colofrow = TVA_SYS_ALLOC(sys, int32, (size_t)nrow + 1);
  int32* visited = TVA_SYS_ALLOC(sys, int32, (size_t)nrow + 1);
  int32* cheap = TVA_SYS_ALLOC(sys, int32, (size_t)ncol + 1);
  int32* pos = TVA_SYS_ALLOC(sys, int32, (size_t)ncol + 1);
  int32* stk = TVA_SYS_ALLOC(sys, int32, (size_t)ncol + 1);
  int32* via = TVA_SYS_ALLOC(sys, int32, (size_t)ncol + 1);
  int32 st = kOrderOk;
  if (!colofrow || !visited || !cheap || !pos || !stk || !via) st = kOrderSpace;
  if (st == kOrderOk) {
    int32 matched = 0;
    for (int32 i = 0; i < nrow; ++i)
      colofrow[i] = -1, visited[i] = -1;
    // Cheap assignment: each column takes its first free row.
    for (int32 j = 0; j < ncol; ++j) {
      rowofcol[j] = -1;
      cheap[j] = colptr[j];
      for (int32 k = colptr[j]; k < colptr[j + 1]; ++k)
        if (colofrow[rowind[k]] < 0) {
          rowofcol[j] = rowind[k];
          colofrow[rowind[k]] = j;
          cheap[j] = k + 1;
          matched++;
          break;
        }
    }
    // Augmenting paths by depth-first search with a look-ahead for free rows.
    for (int32 j0 = 0; j0 < ncol; ++j0) {
      if (rowofcol[j0] >= 0) continue;
      int32 sp = 0;
      stk[sp] = j0;
      pos[j0] = colptr[j0];
      via[sp] = -1;
      sp = 1;
      while (sp > 0) {
        int32 j = stk[sp - 1];
        int32 freerow = -1;
        for (; cheap[j] < colptr[j + 1]; ++cheap[j]) {
          int32 i = rowind[cheap[j]];
          if (colofrow[i] < 0) {
            freerow = i;
            break;
          }
        }
        if (freerow >= 0) {
          int32 i = freerow;
          for (int32 t = sp - 1; t >= 0; --t) {
            int32 jt = stk[t];
            int32 prev = rowofcol[jt];
            rowofcol[jt] = i;
            colofrow[i] = jt;
            i = prev;
          }
          matched++;
          break;
        }
        bool pushed = false;
        for (; pos[j] < colptr[j + 1]; ++pos[j]) {
          int32 i = rowind[pos[j]];
          if (visited[i] == j0) continue;
          visited[i] = j0;
          int32 jn = colofrow[i];
          ++pos[j];
          stk[sp] = jn;
          via[sp] = i;
          pos[jn] = colptr[jn];
          sp++;
          pushed = true;
          break;
        }
        if (!pushed) sp--;
      }
    }
    *size = matched;
  }
  for (int32* p : {colofrow, visited, cheap, pos, stk, via})
    if (p) TVA_SYS_FREE(sys, p);
  return st;
}

int32 blkord_idepblks(sysenv* sys, int32 n, const int32* colptr, const int32* rowind,
                      const int32* rowofcol, int32* colperm, int32* blkstart, int32* nblk) {
  *nblk = 0;
  blkstart[0] = 0;
  if (n == 0) return kOrderOk;
  int32* colofrow = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* index = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* low = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* pos = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* cstk = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* tstk = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32* onstk = TVA_SYS_ALLOC(sys, int32, (size_t)n);
  int32 st = kOrderOk;
  if (!colofrow || !index || !low || !pos || !cstk || !tstk || !onstk) st = kOrderSpace;
  if (st == kOrderOk) {
    for (int32 j = 0; j < n; ++j) {
      index[j] = -1;
      onstk[j] = 0;
    }
    for (int32 j = 0; j < n; ++j) {
      if (rowofcol[j] < 0 || rowofcol[j] >= n) sysenv_fatal(sys, TVA_HERE, "invcset error");
      colofrow[rowofcol[j]] = j;
    }
    // Tarjan's strong components over columns: j -> k when column j has an entry in the
    // row matched to k. Components come out sinks first, which makes the form upper.
    int32 counter = 0, tsp = 0, placed = 0, nb = 0;
    for (int32 r = 0; r < n; ++r) {
      if (index[r] >= 0) continue;
      int32 csp = 0;
      cstk[csp++] = r;
      index[r] = low[r] = counter++;
      pos[r] = colptr[r];
      tstk[tsp++] = r;
      onstk[r] = 1;
      while (csp > 0) {
        int32 j = cstk[csp - 1];
        bool pushed = false;
        while (pos[j] < colptr[j + 1]) {
          int32 k = colofrow[rowind[pos[j]++]];
          if (k == j) continue;
          if (index[k] < 0) {
            index[k] = low[k] = counter++;
            pos[k] = colptr[k];
            tstk[tsp++] = k;
            onstk[k] = 1;
            cstk[csp++] = k;
            pushed = true;
            break;
          }
          if (onstk[k] && index[k] < low[j]) low[j] = index[k];
        }
        if (pushed) continue;
        csp--;
        if (csp > 0) {
          int32 parent = cstk[csp - 1];
          if (low[j] < low[parent]) low[parent] = low[j];
        }
        if (low[j] == index[j]) {
          int32 k;
          do {
            k = tstk[--tsp];
            onstk[k] = 0;
            colperm[placed++] = k;
          } while (k != j);
          blkstart[++nb] = placed;
        }
      }
    }
    if (placed != n) sysenv_fatal(sys, TVA_HERE, "t>=k");
    *nblk = nb;
  }
  for (int32* p : {colofrow, index, low, pos, cstk, tstk, onstk})
    if (p) TVA_SYS_FREE(sys, p);
  return st;
}

} // namespace telva
