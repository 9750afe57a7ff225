// Where the public benchmark sets are: TELVA_DATA_DIR in the environment, else the directory the
// build was configured with (../shared/data beside the checkout). Data tests never skip: a file
// that is not there is a failure that names the path it looked at.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <unistd.h>

#ifndef TELVA_DATA_DIR
#error "the build passes TELVA_DATA_DIR, the configured location of the benchmark sets"
#endif

namespace testdata {

inline std::string dir() {
  const char* env = std::getenv("TELVA_DATA_DIR");
  return env && *env ? env : TELVA_DATA_DIR;
}

// The full path of a file given relative to the data directory ("netlib/afiro.mps.gz").
inline std::string path(const std::string& rel) {
  return dir() + "/" + rel;
}

// Success when the file can be read; otherwise a failure that says where the data were sought.
inline ::testing::AssertionResult readable(const std::string& full) {
  if (access(full.c_str(), R_OK) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << full << " cannot be read: the benchmark sets are sought in " << dir()
         << " (set TELVA_DATA_DIR to override)";
}

} // namespace testdata
