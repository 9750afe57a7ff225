// The solves and products of one dual simplex iteration.
#pragma once

#include "simplex/dsimplex.h"

namespace telva {

// rho = B^-T e_r into D.rho.
void dsimplex_btranrow(DualState& D, int32 r);
// The pivot row rho' M_k over the nonbasic indices into D.row.
void dsimplex_rowproduct(DualState& D);
// v = B^-1 v in place, from row space to positions.
void dsimplex_ftran(DualState& D, DSparse& v);
// Column k of M = [-I A] into v (row space).
void dsimplex_loadcol(const SimWork& W, int32 k, DSparse& v);

} // namespace telva
