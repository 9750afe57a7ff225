// What the optimize driver and the summaries need of the solution slots, behind one small
// table so that the driver does not depend on how the slots are kept.
#pragma once

#include "telva/task/task.h"

namespace telva {

// The arrays of a defined slot, owned by the slot. Absent arrays are null.
struct SlotArrays {
  int32 numcon = 0, numvar = 0, numcone = 0;
  double *xc = nullptr, *xx = nullptr, *y = nullptr, *slc = nullptr, *suc = nullptr;
  double *slx = nullptr, *sux = nullptr, *snx = nullptr;
  int32* skn = nullptr; // per cone, numcone entries
};

// The slot's norms and violations the summaries print, from the solution information.
struct SlotQuality {
  double pobj = 0.0, dobj = 0.0;
  double pnorm = 0.0, dnorm = 0.0;
  double pviol_con = 0.0, pviol_var = 0.0, pviol_barvar = 0.0, pviol_cones = 0.0, pviol_itg = 0.0;
  double dviol_con = 0.0, dviol_var = 0.0, dviol_barvar = 0.0, dviol_cones = 0.0;
};

struct DriverSolutionOps {
  // Sizes the slot to the problem and marks it defined, ready for a chain to write.
  TVArescode (*make_ready)(TvaTask* task, int32 whichsol);
  bool (*is_defined)(const TvaTask* task, int32 whichsol);
  // False when the slot is not defined.
  bool (*arrays)(TvaTask* task, int32 whichsol, SlotArrays* out);
  // Public problem and solution status of the slot.
  void (*put_status)(TvaTask* task, int32 whichsol, int32 prosta, int32 solsta);
  void (*get_status)(const TvaTask* task, int32 whichsol, int32* prosta, int32* solsta);
  // Refreshes the slot's information items (TVA_updatesolutioninfo).
  TVArescode (*update_info)(TvaTask* task, int32 whichsol);
  // Evaluates the slot's quality for the summaries.
  TVArescode (*quality)(TvaTask* task, int32 whichsol, SlotQuality* out);
  // Negates every dual of a defined slot: the duals of a minimize run become those of the
  // maximize problem.
  void (*flip_duals)(TvaTask* task, int32 whichsol);
};

// The table in use: the task's solution slots unless a test put its own.
const DriverSolutionOps& drvsol_ops();
// Replaces the table (tests with slots of their own); null puts the built-in one back.
void drvsol_override(const DriverSolutionOps* ops);

} // namespace telva
