// The texts of the mixed-integer optimizer's log and of its summary, kept beside the rest of
// the solver log so that all wordings live in one place. Printed under TVA_IPAR_LOG_MIO, the
// progress table at the frequency TVA_IPAR_LOG_MIO_FREQ.
#pragma once

namespace telva::miolog {

constexpr const char* kStarted = "Mixed integer optimizer started.\n";
constexpr const char* kThreads = "Threads used: %d\n";
constexpr const char* kPresolveStarted = "Presolve started.\n";
constexpr const char* kPresolveTerminated = "Presolve terminated. Time = %.2f\n";
constexpr const char* kPresolvedSize =
    "Presolved problem: %d variables, %d constraints, %lld non-zeros\n";
constexpr const char* kPresolvedKinds =
    "Presolved problem: %d general integer, %d binary, %d continuous\n";
constexpr const char* kCliqueTable = "Clique table size: %d\n";
constexpr const char* kCutsStarted = "Cut generation started.\n";
constexpr const char* kCutsTerminated = "Cut generation terminated. Time = %.2f\n";

// The progress table.
constexpr const char* kTableHeading = "%-8s %-8s %-8s %-8s %-20s %-20s %-11s %-6s\n";
constexpr const char* kTableWords[8] = {"BRANCHES",     "RELAXS",         "ACT_NDS",    "DEPTH",
                                        "BEST_INT_OBJ", "BEST_RELAX_OBJ", "REL_GAP(%)", "TIME"};
constexpr const char* kRowCounts = "%-8d %-8d %-8d %-8s %-20s %-20s";
constexpr const char* kRowObjective = "%-20.10e";
constexpr const char* kRowMissing = "%-20s";
constexpr const char* kRowGapFixed = " %-11.2f";
constexpr const char* kRowGapExp = " %-11.2e";
constexpr const char* kRowGapMissing = " %-11s";
constexpr const char* kRowTime = " %-6.1f";

// How a run ended.
constexpr const char* kRelGapMet =
    "An optimal solution satisfying the relative gap tolerance of %.2e(%%) has been located.\n";
constexpr const char* kRelGapIs = "The relative gap is %.2e(%%).\n";
constexpr const char* kAbsGapMet =
    "An optimal solution satisfying the absolute gap tolerance of %.2e has been located.\n";
constexpr const char* kAbsGapIs = "The absolute gap is %.2e.\n";
constexpr const char* kNearRelGapMet = "A near optimal solution satisfying the relative gap "
                                       "tolerance of %.2e(%%) has been located.\n";
constexpr const char* kNearAbsGapMet = "A near optimal solution satisfying the absolute gap "
                                       "tolerance of %.2e has been located.\n";
constexpr const char* kMaxTimeOptimizer =
    "Maximum amount of time %.2f (=dpar_optimizer_max_time) is reached.\n";
constexpr const char* kMaxTimeMio =
    "Maximum amount of time %.2f (=dpar_mio_max_time) is reached.\n";
constexpr const char* kMaxRelaxs = "Maximum number of relaxations %d is reached.\n";
constexpr const char* kMaxBranches = "Maximum number of branches %d is reached.\n";

// The summary of a run, in its order.
constexpr const char* kBestInteger = "Objective of best integer solution : ";
constexpr const char* kBestBound = "Best objective bound               : ";
constexpr const char* kValue = "%-24.12e\n";
constexpr const char* kNotAvailable = "Not available.\n";
constexpr const char* kConstructObj = "Construct solution objective       : %-s\n";
constexpr const char* kNotEmployed = "Not employed";
constexpr const char* kUnsuccessful = "Unsuccessful";
constexpr const char* kConstructValue = "%-24.12e";
constexpr const char* kConstructRoundings = "Construct solution # roundings     : %-s\n";
constexpr const char* kUserObjCut = "User objective cut value           : %-s\n";
constexpr const char* kNumCuts = "Number of cuts generated           : %-d\n";
constexpr const char* kGomoryCuts = "  Number of Gomory cuts            : %-d\n";
constexpr const char* kCmirCuts = "  Number of CMIR cuts              : %-d\n";
constexpr const char* kCliqueCuts = "  Number of clique cuts            : %-d\n";
constexpr const char* kImpliedBoundCuts = "  Number of implied bound cuts     : %-d\n";
constexpr const char* kKnapsackCuts = "  Number of knapsack_cover cuts    : %-d\n";
constexpr const char* kNumBranches = "Number of branches                 : %-d\n";
constexpr const char* kNumRelaxs = "Number of relaxations solved       : %-d\n";
constexpr const char* kIntpntIters = "Number of interior point iterations: %-lld\n";
constexpr const char* kSimplexIters = "Number of simplex iterations       : %-lld\n";
constexpr const char* kTimePresolve = "Time spend presolving the root     : %-.2f\n";
constexpr const char* kTimeHeuristic = "Time spend in the heuristic        : %-.2f\n";
constexpr const char* kTimeSubOptimizers = "Time spend in the sub optimizers   : %-.2f\n";
constexpr const char* kTimeRoot = "  Time spend optimizing the root   : %-.2f\n";
constexpr const char* kTerminated = "Mixed integer optimizer terminated. Time: %-.2f\n\n";

} // namespace telva::miolog
