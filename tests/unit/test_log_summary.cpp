// Summaries, the statistics file and printdata.
#include "optimize_fixture.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <unistd.h>

using namespace opttest;
using telva::int32;

namespace {

using Summary = OptimizeTask;

TEST_F(Summary, OptimizerSummaryRowsAlign) {
  task->dinf[TVA_DINF_OPTIMIZER_TIME] = 1.5;
  task->iinf[TVA_IINF_INTPNT_ITER] = 12;
  task->dinf[TVA_DINF_INTPNT_TIME] = 0.25;
  task->liinf[TVA_LIINF_BI_PRIMAL_ITER] = 3;
  task->iinf[TVA_IINF_SIM_DUAL_ITER] = 40;
  task->iinf[TVA_IINF_MIO_NUM_RELAX] = 2;
  ASSERT_EQ(TVA_optimizersummary(task, TVA_STREAM_MSG), TVA_RES_OK);
  EXPECT_EQ(log, "Optimizer summary\n"
                 "  Optimizer                 -                      time: 1.50\n"
                 "    Interior-point          - iterations : 12      time: 0.25\n"
                 "      Basis identification  -                      time: 0.00\n"
                 "        Primal              - iterations : 3       time: 0.00\n"
                 "        Dual                - iterations : 0       time: 0.00\n"
                 "        Clean primal        - iterations : 0       time: 0.00\n"
                 "        Clean dual          - iterations : 0       time: 0.00\n"
                 "    Simplex                 -                      time: 0.00\n"
                 "      Primal simplex        - iterations : 0       time: 0.00\n"
                 "      Dual simplex          - iterations : 40      time: 0.00\n"
                 "    Mixed integer           - relaxations: 2       time: 0.00\n"
                 "\n");
  EXPECT_EQ(TVA_optimizersummary(task, 9), TVA_RES_ERR_INVALID_STREAM);
}

TEST_F(Summary, SolutionSummaryOfTheSolvedSlots) {
  small_lp(false);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  log.clear();
  ASSERT_EQ(TVA_solutionsummary(task, TVA_STREAM_MSG), TVA_RES_OK);
  const char* itr = "\nInterior-point solution summary\n"
                    "  Problem status  : PRIMAL_AND_DUAL_FEASIBLE\n"
                    "  Solution status : OPTIMAL\n"
                    "  Primal.  obj: 1.5000000000e+00    nrm: 3e+00    Viol.  con: 1e-09  "
                    "  var: 0e+00  \n"
                    "  Dual.    obj: 1.2500000000e+00    nrm: 4e+00    Viol.  con: 0e+00  "
                    "  var: 2e-08  \n";
  const char* bas = "\nBasic solution summary\n"
                    "  Problem status  : PRIMAL_AND_DUAL_FEASIBLE\n"
                    "  Solution status : OPTIMAL\n"
                    "  Primal.  obj: 2.5000000000e+00    nrm: 3e+00    Viol.  con: 1e-09  "
                    "  var: 0e+00  \n"
                    "  Dual.    obj: 1.2500000000e+00    nrm: 4e+00    Viol.  con: 0e+00  "
                    "  var: 2e-08  \n";
  EXPECT_EQ(log, std::string(itr) + bas);
}

TEST_F(Summary, CertificatesDropTheirLine) {
  small_lp(false);
  script().prosta = TVA_PRO_STA_PRIM_INFEAS;
  script().solsta = TVA_SOL_STA_PRIM_INFEAS_CER;
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  log.clear();
  ASSERT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, TVA_SOL_ITR), TVA_RES_OK);
  EXPECT_EQ(log.find("Primal."), std::string::npos);
  EXPECT_NE(log.find("Dual."), std::string::npos);

  script().solsta = TVA_SOL_STA_DUAL_INFEAS_CER;
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  log.clear();
  ASSERT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, TVA_SOL_ITR), TVA_RES_OK);
  EXPECT_NE(log.find("Primal."), std::string::npos);
  EXPECT_EQ(log.find("Dual."), std::string::npos);
}

TEST_F(Summary, SilentWithoutLogOrSlot) {
  ASSERT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, TVA_SOL_ITG), TVA_RES_OK);
  EXPECT_EQ(log, "");
  small_lp(false);
  ASSERT_EQ(TVA_optimize(task), TVA_RES_OK);
  log.clear();
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_LOG, 0), TVA_RES_OK);
  ASSERT_EQ(TVA_solutionsummary(task, TVA_STREAM_MSG), TVA_RES_OK);
  ASSERT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, TVA_SOL_ITR), TVA_RES_OK);
  EXPECT_EQ(log, "");
  EXPECT_EQ(TVA_onesolutionsummary(task, TVA_STREAM_MSG, 3), TVA_RES_ERR_INVALID_WHICHSOL);
}

TEST_F(Summary, ReadSummary) {
  // The summary tells the statistics of the last read, not the task's present counts.
  small_lp(false);
  task->iinf[TVA_IINF_RD_PROTYPE] = TVA_PROBTYPE_LO;
  task->iinf[TVA_IINF_RD_NUMVAR] = 7;
  task->iinf[TVA_IINF_RD_NUMCON] = 3;
  task->dinf[TVA_DINF_RD_TIME] = 0.25;
  ASSERT_EQ(TVA_readsummary(task, TVA_STREAM_MSG), TVA_RES_OK);
  EXPECT_EQ(log, "\nRead summary\n"
                 "  Type             : LO (linear optimization problem)\n"
                 "  Objective sense  : min\n"
                 "  Scalar variables : 7           \n"
                 "  Matrix variables : 0           \n"
                 "  Constraints      : 3           \n"
                 "  Cones            : 0           \n"
                 "  Time             : 0.2     \n"
                 "\n");
}

class StatFile : public OptimizeTask {
protected:
  void TearDown() override {
    std::remove(path.c_str());
    OptimizeTask::TearDown();
  }
  std::vector<std::string> lines() {
    std::ifstream in(path);
    std::vector<std::string> out;
    for (std::string l; std::getline(in, l);)
      out.push_back(l);
    return out;
  }
  std::string path = "telva_statfile_" + std::to_string(getpid()) + ".csv";
};

TEST_F(StatFile, OneLinePerItemAppendedAfterAStart) {
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_FILE_NAME, path.c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_putintparam(task, TVA_IPAR_COMPRESS_STATFILE, TVA_OFF), TVA_RES_OK);
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_NAME, "run"), TVA_RES_OK);
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_KEY, "k1"), TVA_RES_OK);
  task->dinf[TVA_DINF_BI_CLEAN_DUAL_TIME] = 0.5;
  task->iinf[TVA_IINF_INTPNT_ITER] = 17;
  task->liinf[TVA_LIINF_RD_NUMQNZ] = 5000000000LL;
  ASSERT_EQ(TVA_startstat(task), TVA_RES_OK);
  ASSERT_EQ(TVA_appendstat(task), TVA_RES_OK);
  ASSERT_EQ(TVA_appendstat(task), TVA_RES_OK);
  std::vector<std::string> got = lines();
  const size_t per_append = 94 + 84 + 16 + 83 + 96 + 7;
  ASSERT_EQ(got.size(), 2 * per_append);
  EXPECT_EQ(got[0], "run,k1,TVA_DINF_BI_CLEAN_DUAL_TIME,5.0000000000000000e-01  ");
  EXPECT_EQ(got[94 + 16], "run,k1,TVA_IINF_INTPNT_ITER,17");
  EXPECT_EQ(got[94 + 84 + 15], "run,k1,TVA_LIINF_RD_NUMQNZ,5000000000");
  EXPECT_EQ(got[94 + 84 + 16], "run,k1,TVA_DINF_PRIVATE_0,0.0000000000000000e+00  ");
  EXPECT_EQ(got[per_append - 1], "run,k1,TVA_LIINF_PRIVATE_6,0");
  // A new start empties the file; a stop changes nothing.
  ASSERT_EQ(TVA_startstat(task), TVA_RES_OK);
  EXPECT_TRUE(lines().empty());
  EXPECT_EQ(TVA_stopstat(task), TVA_RES_OK);
}

TEST_F(StatFile, CompressedByDefault) {
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_FILE_NAME, path.c_str()), TVA_RES_OK);
  ASSERT_EQ(TVA_startstat(task), TVA_RES_OK);
  ASSERT_EQ(TVA_appendstat(task), TVA_RES_OK);
  std::ifstream in(path, std::ios::binary);
  unsigned char magic[2] = {0, 0};
  in.read(reinterpret_cast<char*>(magic), 2);
  EXPECT_EQ(magic[0], 0x1f);
  EXPECT_EQ(magic[1], 0x8b);
}

TEST_F(StatFile, UnopenableFileIsNoFailureOfTheStart) {
  ASSERT_EQ(TVA_putstrparam(task, TVA_SPAR_STAT_FILE_NAME, "/nonexistent-dir/x.csv"), TVA_RES_OK);
  EXPECT_EQ(TVA_startstat(task), TVA_RES_OK);
  EXPECT_EQ(TVA_appendstat(task), TVA_RES_ERR_FILE_OPEN);
}

TEST_F(Summary, PrintDataSections) {
  small_lp(true);
  int32 mem[] = {1};
  ASSERT_EQ(TVA_appendcone(task, TVA_CT_QUAD, 0.0, 1, mem), TVA_RES_OK);
  ASSERT_EQ(TVA_printdata(task, TVA_STREAM_MSG, 0, 1, 0, 2, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1),
            TVA_RES_OK);
  EXPECT_EQ(log.rfind("\nName:   numcon: 1  numvar: 2  numcone: 1\nObjective name: \n"
                      "Constraints\n",
                      0),
            0u)
      << log;
  for (const char* part :
       {"\nVariables\n", "vartype: CONT", "\nA(columnwise) firsti: 0 lasti: 1\n",
        "col 0: (0, 1.000000e+00)", "\nQ - Objective\n", "  (0, 0) 5.000000e-01\n", "\nCones\n",
        "Cone: '' (0) Type: TVA_CT_QUAD Parameter: 0.000000e+00 Dimension: 1\n"})
    EXPECT_NE(log.find(part), std::string::npos) << part;
  EXPECT_EQ(TVA_printdata(task, TVA_STREAM_MSG, 0, 2, 0, 2, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1),
            TVA_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVA_printdata(task, TVA_STREAM_MSG, 0, 1, -1, 2, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1),
            TVA_RES_ERR_INDEX_IS_TOO_SMALL);
}

} // namespace
