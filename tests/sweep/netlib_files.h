// The netlib files of the sweeps: where they are, which problems there are, and the reference
// optima of solutions.csv.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "test_data.h"

namespace netlib {

inline std::string dir() {
  return testdata::path("netlib");
}

// The names (without ext) of the files of dir that end in ext, sorted.
inline std::vector<std::string> files_in(const std::string& dir, const std::string& ext) {
  std::vector<std::string> out;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      std::string n = e->d_name;
      if (n.size() > ext.size() && n.compare(n.size() - ext.size(), ext.size(), ext) == 0)
        out.push_back(n.substr(0, n.size() - ext.size()));
    }
    closedir(d);
  }
  std::sort(out.begin(), out.end());
  return out;
}

// The names of the NAME.mps.gz files of dir, sorted; TELVA_SWEEP_ONLY=name1,name2 restricts
// a run to those problems.
inline std::vector<std::string> names(const std::string& dir) {
  std::vector<std::string> out = files_in(dir, ".mps.gz");
  if (const char* only = std::getenv("TELVA_SWEEP_ONLY")) {
    std::string list = std::string(",") + only + ",";
    std::vector<std::string> keep;
    for (auto& n : out)
      if (list.find("," + n + ",") != std::string::npos) keep.push_back(n);
    out = keep;
  }
  return out;
}

// name -> reference optimum of dir/solutions.csv: alt_objective when given (the table's first
// value is the less accurate one there), else optimal_objective.
inline std::map<std::string, double> optima(const std::string& dir) {
  std::map<std::string, double> out;
  std::ifstream in(dir + "/solutions.csv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::vector<std::string> cells;
    std::stringstream ss(line);
    std::string cell;
    while (std::getline(ss, cell, ','))
      cells.push_back(cell);
    if (cells.size() < 5) continue;
    const std::string& v = cells.size() > 5 && !cells[5].empty() ? cells[5] : cells[4];
    if (!v.empty()) out[cells[0]] = std::strtod(v.c_str(), nullptr);
  }
  return out;
}

} // namespace netlib
