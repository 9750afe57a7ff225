// Feasibility repair log lines.
#include "telva/log/replog.h"

#include "telva/log/taskprint.h"

namespace telva {

namespace {

constexpr int32 kDigits = 6; // digits after the point of the bounds and amounts

bool repair_log_on(const TvaTask* task) {
  return task->iparam[TVA_IPAR_LOG] >= 1 && task->iparam[TVA_IPAR_LOG_FEAS_REPAIR] >= 1;
}

const char* move_format(RepairMove move) {
  switch (move) {
  case RepairMove::kConLowerDown:
    return "Decreasing the lower bound %{p}e on constraint '%s' (%i) with %{p}e.\n";
  case RepairMove::kVarLowerDown:
    return "Decreasing the lower bound %{p}e on variable '%s' (%i) with %{p}e.\n";
  case RepairMove::kConUpperUp:
    return "Increasing the upper bound %{p}e on constraint '%s' (%i) with %{p}e.\n";
  case RepairMove::kVarUpperUp:
    return "Increasing the upper bound %{p}e on variable '%s' (%i) with %{p}e.\n";
  case RepairMove::kConFixed:
    return "Changing the bound %{p}e on equality constraint '%s' (%i) with %{p}e.\n";
  case RepairMove::kVarFixed:
  default:
    return "Changing the bound %{p}e on the fixed variable '%s' (%i) with %{p}e.\n";
  }
}

} // namespace

void replog_move(TvaTask* task, RepairMove move, double bound, const char* name, int32 index,
                 double amount) {
  if (!repair_log_on(task)) return;
  task_format(task, TVA_STREAM_MSG, move_format(move), kDigits, bound, name ? name : "", index,
              kDigits, amount);
}

void replog_penalty_objective(TvaTask* task, double value) {
  if (!repair_log_on(task)) return;
  task_format(task, TVA_STREAM_MSG, "Optimal objective value of the penalty problem: %{p}e\n",
              kDigits, value);
}

} // namespace telva
