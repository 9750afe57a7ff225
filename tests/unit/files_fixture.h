// Problem files in tests: tasks made through the public interface, texts read and written
// through TVA_readdata and TVA_writedata via temporary files, and the comparison of two tasks'
// problems within a relative tolerance.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

#include "store_snapshot.h"
#include "telva.h"

namespace filetest {

using storetest::Snapshot;

struct Task {
  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  Task() {
    EXPECT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    EXPECT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
  }
  ~Task() {
    TVA_deletetask(&task);
    TVA_deleteenv(&env);
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  operator TVAtask_t() const { return task; }
  TvaTask* operator->() const { return task; }
  std::string last_message() const {
    char msg[TVA_MAX_STR_LEN] = "";
    TVArescode code = 0;
    TVA_getlasterror(task, &code, sizeof msg, nullptr, msg);
    return msg;
  }
};

// A file name in a directory of this process, removed at exit.
inline std::string temp_path(const std::string& name) {
  static std::string dir = [] {
    char tmpl[] = "/tmp/telva_files_XXXXXX";
    const char* d = mkdtemp(tmpl);
    return std::string(d ? d : "/tmp");
  }();
  return dir + "/" + name;
}

inline void put_text(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline std::string get_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// Reads text as a file with extension ext (".lp", ".opf", ".cbf", ".mps").
inline TVArescode read_text(TVAtask_t task, const std::string& text, const std::string& ext) {
  std::string path = temp_path("in" + ext);
  put_text(path, text);
  TVArescode r = TVA_readdata(task, path.c_str());
  std::remove(path.c_str());
  return r;
}

// Writes the task in the format of ext; *r takes the code.
inline std::string write_text(TVAtask_t task, const std::string& ext, TVArescode* r) {
  std::string path = temp_path("out" + ext);
  *r = TVA_writedata(task, path.c_str());
  std::string text = get_text(path);
  std::remove(path.c_str());
  return text;
}

inline bool close(double a, double b, double rtol) {
  return a == b || std::fabs(a - b) <= rtol * std::max({1.0, std::fabs(a), std::fabs(b)});
}

inline ::testing::AssertionResult same_triplets(const storetest::Triplets& a,
                                                const storetest::Triplets& b, double rtol,
                                                const std::string& what) {
  if (a.size() != b.size())
    return ::testing::AssertionFailure()
           << what << ": " << a.size() << " vs " << b.size() << " elements";
  for (auto ia = a.begin(), ib = b.begin(); ia != a.end(); ++ia, ++ib)
    if (ia->first != ib->first || !close(ia->second, ib->second, rtol))
      return ::testing::AssertionFailure()
             << what << ": element (" << ia->first.first << "," << ia->first.second << ") "
             << ia->second << " vs (" << ib->first.first << "," << ib->first.second << ") "
             << ib->second;
  return ::testing::AssertionSuccess();
}

// The semidefinite data of a cell as one triplet list per (matrix order, weight) sum.
inline std::map<std::pair<int32_t, int32_t>, double> cell_sum(const storetest::Cell& cell) {
  std::map<std::pair<int32_t, int32_t>, double> out;
  for (const auto& [mat, w] : cell)
    for (const auto& [i, j, v] : std::get<1>(mat))
      out[{i, j}] += w * v;
  return out;
}

struct Compare {
  bool names = false;   // constraint, variable and cone names
  bool objname = false; // the objective's name
  double rtol = 1e-14;  // numbers are written with 16 significant digits
};

// Whether two tasks hold the same problem.
inline ::testing::AssertionResult same_problem(TVAtask_t ta, TVAtask_t tb, Compare cmp = {}) {
  Snapshot a = storetest::snapshot(ta), b = storetest::snapshot(tb);
  auto fail = [] { return ::testing::AssertionFailure(); };
  if (a.numcon != b.numcon || a.numvar != b.numvar || a.numcone != b.numcone ||
      a.numbarvar != b.numbarvar || a.numintvar != b.numintvar)
    return fail() << "sizes: con " << a.numcon << "/" << b.numcon << " var " << a.numvar << "/"
                  << b.numvar << " cone " << a.numcone << "/" << b.numcone << " barvar "
                  << a.numbarvar << "/" << b.numbarvar << " int " << a.numintvar << "/"
                  << b.numintvar;
  if (a.objsense != b.objsense) return fail() << "objective sense";
  if (!close(a.cfix, b.cfix, cmp.rtol)) return fail() << "cfix " << a.cfix << " vs " << b.cfix;
  auto bounds = [&](const std::vector<storetest::Bound>& x, const std::vector<storetest::Bound>& y,
                    const char* what) -> ::testing::AssertionResult {
    for (size_t i = 0; i < x.size(); ++i)
      if (x[i].bk != y[i].bk || !close(x[i].bl, y[i].bl, cmp.rtol) ||
          !close(x[i].bu, y[i].bu, cmp.rtol))
        return fail() << what << " " << i << ": key " << x[i].bk << " [" << x[i].bl << ", "
                      << x[i].bu << "] vs key " << y[i].bk << " [" << y[i].bl << ", " << y[i].bu
                      << "]";
    return ::testing::AssertionSuccess();
  };
  if (auto r = bounds(a.con, b.con, "constraint"); !r) return r;
  if (auto r = bounds(a.var, b.var, "variable"); !r) return r;
  for (size_t j = 0; j < a.c.size(); ++j)
    if (!close(a.c[j], b.c[j], cmp.rtol))
      return fail() << "c[" << j << "] " << a.c[j] << " vs " << b.c[j];
  if (a.vartype != b.vartype) return fail() << "variable types";
  if (auto r = same_triplets(a.a, b.a, cmp.rtol, "A"); !r) return r;
  for (size_t k = 0; k < a.q.size(); ++k)
    if (auto r = same_triplets(a.q[k], b.q[k], cmp.rtol, "Q of " + std::to_string(int(k) - 1)); !r)
      return r;
  for (size_t k = 0; k < a.cones.size(); ++k)
    if (a.cones[k].type != b.cones[k].type || a.cones[k].members != b.cones[k].members)
      return fail() << "cone " << k;
  if (a.bardim != b.bardim) return fail() << "bar variable orders";
  if (a.bar.size() != b.bar.size())
    return fail() << "semidefinite cells " << a.bar.size() << " vs " << b.bar.size();
  for (auto ia = a.bar.begin(), ib = b.bar.begin(); ia != a.bar.end(); ++ia, ++ib) {
    auto sa = cell_sum(ia->second), sb = cell_sum(ib->second);
    if (ia->first != ib->first || sa.size() != sb.size()) return fail() << "semidefinite cell";
    for (auto xa = sa.begin(), xb = sb.begin(); xa != sa.end(); ++xa, ++xb)
      if (xa->first != xb->first || !close(xa->second, xb->second, cmp.rtol))
        return fail() << "semidefinite cell entry";
  }
  if (cmp.names)
    for (int cls = 0; cls < 3; ++cls)
      if (a.names[cls] != b.names[cls]) return fail() << "names of class " << cls;
  if (cmp.objname) {
    const char* na = telva::store_getobjname(ta);
    const char* nb = telva::store_getobjname(tb);
    if (std::string(na ? na : "") != std::string(nb ? nb : "")) return fail() << "objective name";
  }
  return ::testing::AssertionSuccess();
}

// Writes a in the format of ext, reads it into b and compares; the text is kept in *text.
inline ::testing::AssertionResult round_trip(TVAtask_t a, TVAtask_t b, const std::string& ext,
                                             Compare cmp = {}, std::string* text = nullptr) {
  TVArescode r = TVA_RES_OK;
  std::string t = write_text(a, ext, &r);
  if (r != TVA_RES_OK) return ::testing::AssertionFailure() << "write " << ext << ": " << r;
  if ((r = read_text(b, t, ext)) != TVA_RES_OK)
    return ::testing::AssertionFailure() << "read back " << ext << ": " << r;
  if (text) *text = t;
  return same_problem(a, b, cmp);
}

// Whether cbf, read from a CBF file written from orig, is the image of orig that the format
// asks for: the same variables in the same order (orig's cones stand consecutively), bounds
// other than 0 and the upper sides of ranged rows as rows of their own after orig's rows, in
// the order: ranged rows' upper sides, then per variable its lower, upper or fixed bound.
inline ::testing::AssertionResult cbf_image(TVAtask_t orig, TVAtask_t cbf, double rtol = 1e-14) {
  Snapshot a = storetest::snapshot(orig), b = storetest::snapshot(cbf);
  auto fail = [] { return ::testing::AssertionFailure(); };
  if (a.numvar != b.numvar || a.numcone != b.numcone || a.numintvar != b.numintvar)
    return fail() << "sizes";
  if (a.objsense != b.objsense || !close(a.cfix, b.cfix, rtol) || a.vartype != b.vartype)
    return fail() << "objective sense, constant or integer marks";
  for (size_t j = 0; j < a.c.size(); ++j)
    if (!close(a.c[j], b.c[j], rtol)) return fail() << "c[" << j << "]";
  for (size_t k = 0; k < a.cones.size(); ++k)
    if (a.cones[k].type != b.cones[k].type || a.cones[k].members != b.cones[k].members)
      return fail() << "cone " << k;
  // The expected rows: (key, lower, upper, row of orig whose terms it has, or -1 - variable).
  struct Want {
    int32_t bk;
    double bl, bu;
    int32_t from;
  };
  std::vector<Want> rows;
  const double inf = 1e30;
  for (int32_t i = 0; i < a.numcon; ++i) {
    const storetest::Bound& x = a.con[i];
    if (x.bk == TVA_BK_RA)
      rows.push_back({TVA_BK_LO, x.bl, inf, i});
    else
      rows.push_back({x.bk, x.bl, x.bu, i});
  }
  for (int32_t i = 0; i < a.numcon; ++i)
    if (a.con[i].bk == TVA_BK_RA) rows.push_back({TVA_BK_UP, -inf, a.con[i].bu, i});
  for (int32_t j = 0; j < a.numvar; ++j) {
    const storetest::Bound& x = a.var[j];
    bool in_cone = a.varcone[j] != 0;
    bool lo = x.bk == TVA_BK_LO || x.bk == TVA_BK_RA, up = x.bk == TVA_BK_UP || x.bk == TVA_BK_RA;
    storetest::Bound dom{TVA_BK_FR, -inf, inf};
    if (!in_cone && x.bk == TVA_BK_FX && x.bl == 0.0)
      dom = {TVA_BK_FX, 0.0, 0.0};
    else if (!in_cone && lo && x.bl == 0.0)
      dom = {TVA_BK_LO, 0.0, inf};
    else if (!in_cone && up && x.bu == 0.0)
      dom = {TVA_BK_UP, -inf, 0.0};
    if (!(b.var[j] == dom)) return fail() << "domain of variable " << j;
    if (x.bk == TVA_BK_FX) {
      if (dom.bk != TVA_BK_FX) rows.push_back({TVA_BK_FX, x.bl, x.bl, -1 - j});
      continue;
    }
    if (lo && dom.bk != TVA_BK_LO) rows.push_back({TVA_BK_LO, x.bl, inf, -1 - j});
    if (up && dom.bk != TVA_BK_UP) rows.push_back({TVA_BK_UP, -inf, x.bu, -1 - j});
  }
  if (static_cast<int32_t>(rows.size()) != b.numcon)
    return fail() << "rows: " << b.numcon << ", expected " << rows.size();
  std::vector<storetest::Triplets> arow(a.numcon), brow(b.numcon);
  for (const auto& [ij, v] : a.a)
    arow[ij.first][{0, ij.second}] = v;
  for (const auto& [ij, v] : b.a)
    brow[ij.first][{0, ij.second}] = v;
  for (int32_t r = 0; r < b.numcon; ++r) {
    const Want& w = rows[r];
    const storetest::Bound& y = b.con[r];
    if (y.bk != w.bk || !close(y.bl, w.bl, rtol) || !close(y.bu, w.bu, rtol))
      return fail() << "bounds of row " << r;
    storetest::Triplets want;
    if (w.from >= 0)
      want = arow[w.from];
    else
      want[{0, -1 - w.from}] = 1.0;
    if (auto res = same_triplets(want, brow[r], rtol, "row " + std::to_string(r)); !res) return res;
  }
  return ::testing::AssertionSuccess();
}

} // namespace filetest
