// The built-in solution table of the driver. Until the task keeps solution slots, no slot is
// ever defined: a chain's statuses and arrays have nowhere to go, and the driver's steps on
// the slots do nothing.
#include "telva/drvsol.h"

namespace telva {

namespace {

TVArescode ready_none(TvaTask*, int32) {
  return TVA_RES_OK;
}
bool defined_none(const TvaTask*, int32) {
  return false;
}
bool arrays_none(TvaTask*, int32, SlotArrays*) {
  return false;
}
void put_status_none(TvaTask*, int32, int32, int32) {}
void get_status_none(const TvaTask*, int32, int32* prosta, int32* solsta) {
  if (prosta) *prosta = TVA_PRO_STA_UNKNOWN;
  if (solsta) *solsta = TVA_SOL_STA_UNKNOWN;
}
TVArescode update_none(TvaTask*, int32) {
  return TVA_RES_OK;
}
TVArescode quality_none(TvaTask*, int32, SlotQuality* out) {
  *out = SlotQuality{};
  return TVA_RES_OK;
}

constexpr DriverSolutionOps kBuiltIn = {ready_none,      defined_none, arrays_none, put_status_none,
                                        get_status_none, update_none,  quality_none};

const DriverSolutionOps* g_ops = &kBuiltIn;

} // namespace

const DriverSolutionOps& drvsol_ops() {
  return *g_ops;
}

void drvsol_override(const DriverSolutionOps* ops) {
  g_ops = ops ? ops : &kBuiltIn;
}

} // namespace telva
