// Log lines of the feasibility repair, each a function of its own: printed on the message
// stream when TVA_IPAR_LOG and TVA_IPAR_LOG_FEAS_REPAIR are at least 1.
#pragma once

#include "telva/task/task.h"

namespace telva {

// Which bound a repair moved.
enum class RepairMove : int32 {
  kConLowerDown, // lower bound of a constraint decreased
  kVarLowerDown,
  kConUpperUp, // upper bound of a constraint increased
  kVarUpperUp,
  kConFixed, // bound of an equality constraint changed
  kVarFixed, // bound of a fixed variable changed
};

void replog_move(TvaTask* task, RepairMove move, double bound, const char* name, int32 index,
                 double amount);
void replog_penalty_objective(TvaTask* task, double value);

} // namespace telva
