// Fill-reducing orderings of symmetric sparse patterns, the symbolic counting that compares
// them, and the maximum transversal and block triangular forms of unsymmetric patterns.
#pragma once

#include "cpub/sysenv.h"

namespace telva {

// Statuses of the orderings.
enum OrderStatus : int32 { kOrderOk = 0, kOrderSpace = 1 };

// Ordering types of minlocf_order.
enum OrderType : int32 { kOrderMinDegree = 0, kOrderLocalFill = 1 };

// The graph of a symmetric pattern: per node its degree and its start in one adjacency store
// that holds both directions of every off-diagonal edge.
struct symord {
  sysenv* sys = nullptr;
  int32 n = 0;
  int64 capacity = 0;
  int32* deg = nullptr;
  int64* start = nullptr;
  int32* adj = nullptr;
  int32 loglevel = 0;
  int32 ordertype = kOrderLocalFill;
  int32 npreordered = 0; // set by the last ordering
};

int32 symord_alloc(sysenv* sys, int32 n, int64 capacity, symord** out);
void symord_free(symord** graph);
// Loads the lower (or upper, or full) triangle given by columns: column j holds rows
// rows[colstart[j] .. colstart[j] + colsize[j]). Diagonal entries and repeats are ignored.
int32 symord_loadlower(symord* graph, int32 n, const int32* colsize, const int64* colstart,
                       const int32* rows);
// Orders the graph: perm[k] is the node eliminated k-th. Dense nodes are preordered and put
// last. The graph's store is consumed; load it again to order once more.
int32 minlocf_order(symord* graph, int32* perm);
int32 symord_preordered(const symord* graph);

// Elimination tree of the pattern under the order perm (null: identity); parent[k] of the
// k-th eliminated node is the position of its parent, or -1 for a root.
int32 symord_etree(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                   const int64* colstart, const int32* rows, int32* parent);
// Column counts of the Cholesky factor (diagonal included), by position in the order.
int32 symord_colcounts(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                       const int64* colstart, const int32* rows, const int32* parent,
                       int64* counts);
// Nonzeros of the factor (diagonal included) and flops (sum of squared column counts).
int32 symord_count(sysenv* sys, int32 n, const int32* perm, const int32* colsize,
                   const int64* colstart, const int32* rows, int64* nz, double* flops);

// Maximum transversal of an nrow x ncol pattern given by columns: a cheap assignment first,
// then augmenting paths. rowofcol[j] is the matched row of column j or -1. Returns the size.
int32 blkord_appmaxtran(sysenv* sys, int32 nrow, int32 ncol, const int32* colptr,
                        const int32* rowind, int32* rowofcol, int32* size);
// Block triangular form of a square pattern with a full transversal: colperm lists the
// columns block by block, blkstart[0..*nblk] the block bounds; the rows follow through the
// transversal (row rowofcol[colperm[k]] at place k). Every entry lies in its own block or in
// a block before its column's block (block upper triangular).
int32 blkord_idepblks(sysenv* sys, int32 n, const int32* colptr, const int32* rowind,
                      const int32* rowofcol, int32* colperm, int32* blkstart, int32* nblk);

} // namespace telva
