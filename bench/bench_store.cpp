// Problem store benchmarks, run in a release build:
//   - 1,000,000 single-element TVA_putaij calls in random order on a 100,000 by 100,000
//     matrix, then every column read back with TVA_getacol; the task's memory is reported;
//   - appending variables one at a time, 10^4, 10^5 and 10^6 of them: the time per append
//     must stay flat, since the capacities grow by doubling.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "telva.h"

namespace {

constexpr int32_t kDim = 100000;
constexpr int64_t kPuts = 1000000;

struct Triplets {
  std::vector<int32_t> i, j;
  std::vector<double> v;
  Triplets() {
    std::mt19937_64 rng(42);
    i.resize(kPuts);
    j.resize(kPuts);
    v.resize(kPuts);
    for (int64_t t = 0; t < kPuts; ++t) {
      i[t] = int32_t(rng() % kDim);
      j[t] = int32_t(rng() % kDim);
      v[t] = 1.0 + double(rng() % 1000);
    }
  }
};

const Triplets& triplets() {
  static Triplets t;
  return t;
}

void BM_PutaijRandomThenReadColumns(benchmark::State& state) {
  const Triplets& trip = triplets();
  TVAenv_t env = nullptr;
  TVA_makeenv(&env, nullptr);
  std::vector<int32_t> sub(kDim);
  std::vector<double> val(kDim);
  int64_t inuse = 0, peak = 0, readnz = 0;
  for (auto _ : state) {
    TVAtask_t task = nullptr;
    TVA_maketask(env, 0, 0, &task);
    TVA_appendcons(task, kDim);
    TVA_appendvars(task, kDim);
    for (int64_t t = 0; t < kPuts; ++t)
      TVA_putaij(task, trip.i[t], trip.j[t], trip.v[t]);
    readnz = 0;
    for (int32_t j = 0; j < kDim; ++j) {
      int32_t nz = 0;
      TVA_getacol(task, j, &nz, sub.data(), val.data());
      readnz += nz;
    }
    state.PauseTiming();
    TVA_getmemusagetask(task, &inuse, &peak);
    TVA_deletetask(&task);
    state.ResumeTiming();
  }
  state.counters["nonzeros"] = double(readnz);
  state.counters["mem_MB"] = double(inuse) / 1048576.0;
  state.counters["peak_MB"] = double(peak) / 1048576.0;
  TVA_deleteenv(&env);
}
BENCHMARK(BM_PutaijRandomThenReadColumns)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_AppendVarsOneByOne(benchmark::State& state) {
  const int64_t n = state.range(0);
  TVAenv_t env = nullptr;
  TVA_makeenv(&env, nullptr);
  for (auto _ : state) {
    state.PauseTiming();
    TVAtask_t task = nullptr;
    TVA_maketask(env, 0, 0, &task);
    state.ResumeTiming();
    for (int64_t t = 0; t < n; ++t)
      TVA_appendvars(task, 1);
    state.PauseTiming();
    TVA_deletetask(&task);
    state.ResumeTiming();
  }
  // Seconds per append (shown with an SI prefix, "n" for nanoseconds): flat across sizes
  // when the growth is geometric.
  state.counters["s_per_append"] =
      benchmark::Counter(double(n) * double(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  TVA_deleteenv(&env);
}
BENCHMARK(BM_AppendVarsOneByOne)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
