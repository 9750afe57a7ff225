// CBF files, the conic benchmark format: a reader of versions 1 to 3 (linear, second-order and
// semidefinite parts) and a writer of version 1.
//
// How a file maps onto the task. Scalar variables and their domains become variables with
// bounds (L+ lower 0, L- upper 0, L= fixed at 0, F free) and quadratic cones (Q, QR over the
// block's variables). A constraint block of domain Q or QR gets one new free variable per row,
// the row "a x + b - s = 0", and the cone over the new variables. Each PSDVAR is a bar
// variable. Each PSDCON "sum_j x_j H_j + D >= 0" of order n becomes a bar variable S of that
// order and n(n+1)/2 rows, one per lower-triangle position (k, l), in the order
// (0,0), (1,0), (1,1), (2,0), ...: "sum_j H_j[k,l] x_j - <E_kl, S> = -D[k,l]", where E_kl
// picks S[k,l] (1 on the diagonal, 0.5 at (k,l) and (l,k) off it). These rows come after the
// CON rows and these bar variables after the PSDVAR ones. The writer finds such a bar variable
// with its rows again and writes it back as a PSDCON, so that a round trip gives the same task.
#pragma once

#include "telva/files/text/textio.h"
#include "telva/task/task.h"

namespace telva {

struct CbfReadOptions {
  // Largest count of variables, constraints, or order of a semidefinite block, that a file may
  // ask for; larger ones are refused as too many (the fuzz targets keep their memory small so).
  int64 max_count = INT32_MAX;
};

// Reads a CBF file into the task, which the caller has cleared. Failures are reported on the
// task, with the place echoed on the log stream.
TVArescode cbf_read(TvaTask* task, const TextSource& src, const CbfReadOptions& opt);

// Writes the task as a version 1 CBF file. Quadratic terms have no CBF form; with
// drop_incompatible they are left out, else the caller has refused the task before.
// TVA_RES_ERR_SPACE or a sink failure as TVA_RES_ERR_FILE_WRITE (not reported).
TVArescode cbf_write(TvaTask* task, const TextSink& sink);

} // namespace telva
