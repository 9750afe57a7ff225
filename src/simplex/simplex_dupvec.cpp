// Duplicate columns: variables whose scaled columns and costs are equal act as one variable
// whose range is the sum of theirs. The frame finds them; the primal lets the entering step
// pass over the bounds of an entering variable's duplicates instead of stopping at the first.
#include <algorithm>
#include <cstring>

#include "simplex/simplex_work.h"
#include "telva.h"

namespace telva {

namespace {

uint64 mix(uint64 h, uint64 v) {
  h ^= v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
  return h;
}

uint64 bits(double v) {
  if (v == 0.0) v = 0.0; // -0 and +0 are the same value
  uint64 b;
  std::memcpy(&b, &v, sizeof b);
  return b;
}

uint64 column_hash(const SimWork& W, int32 j) {
  uint64 h = mix(0, static_cast<uint64>(W.aptr[j + 1] - W.aptr[j]));
  h = mix(h, bits(W.cost[W.m + j]));
  for (int32 p = W.aptr[j]; p < W.aptr[j + 1]; ++p)
    h = mix(mix(h, static_cast<uint64>(W.asub[p])), bits(W.aval[p]));
  return h;
}

bool same_column(const SimWork& W, int32 i, int32 j) {
  int32 len = W.aptr[i + 1] - W.aptr[i];
  if (len != W.aptr[j + 1] - W.aptr[j] || W.cost[W.m + i] != W.cost[W.m + j]) return false;
  for (int32 t = 0; t < len; ++t)
    if (W.asub[W.aptr[i] + t] != W.asub[W.aptr[j] + t] ||
        W.aval[W.aptr[i] + t] != W.aval[W.aptr[j] + t])
      return false;
  return true;
}

// The range of index k in direction dir from where it stands; infinite without a bound there.
double own_range(const SimWork& W, int32 k, int32 dir) {
  if (dir > 0) return sim_isinf(W.ub[k]) ? kSimInf : W.ub[k] - W.x[k];
  return sim_isinf(W.lb[k]) ? kSimInf : W.x[k] - W.lb[k];
}

// A duplicate that can move along with the entering variable: nonbasic at the bound it
// leaves in direction dir.
bool movable(const SimWork& W, int32 k, int32 dir) {
  if (W.pos[k] >= 0 || W.lb[k] == W.ub[k]) return false;
  return dir > 0 ? W.sk[k] == TVA_SK_LOW : W.sk[k] == TVA_SK_UPR;
}

} // namespace

int32 simplex_finddupvec(SimWork& W) {
  const int32 nv = W.nv, m = W.m;
  W.dupnext.clear();
  SysVector<uint64> hash(nv, 0, SysAllocator<uint64>(W.sys));
  SysVector<int32> order(nv, 0, SysAllocator<int32>(W.sys));
  for (int32 j = 0; j < nv; ++j)
    hash[j] = column_hash(W, j), order[j] = j;
  std::sort(order.begin(), order.end(),
            [&](int32 a, int32 b) { return hash[a] != hash[b] ? hash[a] < hash[b] : a < b; });
  SysVector<int32> next(W.n, -1, SysAllocator<int32>(W.sys));
  SysVector<int32> last(nv, -1, SysAllocator<int32>(W.sys)); // last member of a leader's ring
  int32 members = 0;
  for (int32 s = 0; s < nv;) {
    int32 e = s + 1;
    while (e < nv && hash[order[e]] == hash[order[s]])
      ++e;
    // Within a run of equal hashes, each column joins the first earlier column equal to it.
    for (int32 t = s + 1; t < e; ++t) {
      int32 j = order[t];
      for (int32 u = s; u < t; ++u) {
        int32 lead = order[u];
        if (last[lead] < 0 && next[m + lead] >= 0) continue; // a member, not a leader
        if (!same_column(W, lead, j)) continue;
        if (last[lead] < 0) {
          last[lead] = lead;
          members++;
        }
        // Insert j after the last member; the ring closes on the leader.
        next[m + last[lead]] = m + j;
        next[m + j] = m + lead;
        last[lead] = j;
        members++;
        break;
      }
    }
    s = e;
  }
  if (members > 0) W.dupnext.swap(next);
  return members;
}

double psimplex_stepsize_dupcol(const SimWork& W, int32 q, int32 dir) {
  double range = own_range(W, q, dir);
  if (W.dupnext.empty() || W.dupnext[q] < 0 || range >= kSimInf) return range;
  // A duplicate without a bound in the direction is left out: it enters on its own later, and
  // an unbounded ray then moves it alone.
  for (int32 k = W.dupnext[q]; k != q; k = W.dupnext[k]) {
    double r = own_range(W, k, dir);
    if (movable(W, k, dir) && r < kSimInf) range += r;
  }
  return range;
}

int32 psimplex_dupcol_pass(SimWork& W, int32 q, int32 dir, double theta, double* own) {
  *own = theta;
  if (W.dupnext.empty() || W.dupnext[q] < 0) return q;
  double r = own_range(W, q, dir);
  if (r >= kSimInf || theta <= r) return q;
  // The entering variable and then its movable duplicates go to their far bounds while the
  // step passes them; the member the step ends in carries the rest and enters.
  double done = 0.0;
  int32 cur = q;
  for (int32 k = W.dupnext[q]; k != q; k = W.dupnext[k]) {
    double rk = own_range(W, k, dir);
    if (!movable(W, k, dir) || rk >= kSimInf) continue;
    if (done + r >= theta) break;
    done += r;
    simplex_setnonbasic(W, cur, dir > 0 ? W.ub[cur] : W.lb[cur]);
    W.stat->boundflips[W.opt]++;
    cur = k, r = rk;
  }
  *own = theta - done;
  return cur;
}

void psimplex_dupvecfeasible(SimWork& W) {
  if (W.dupnext.empty()) return;
  for (int32 k = W.m; k < W.n; ++k) {
    if (W.dupnext[k] < 0 || W.pos[k] >= 0 || W.sk[k] != TVA_SK_SUPBAS) continue;
    if (sim_isinf(W.lb[k]) && sim_isinf(W.ub[k])) continue;
    bool twinbasic = false;
    for (int32 t = W.dupnext[k]; t != k && !twinbasic; t = W.dupnext[t])
      twinbasic = W.pos[t] >= 0;
    // With a basic duplicate the move changes only that duplicate's value, which the next
    // computation of the basic values takes up.
    if (twinbasic) simplex_setnonbasic(W, k, W.x[k]);
  }
}

} // namespace telva
