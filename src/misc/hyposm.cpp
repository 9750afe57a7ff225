// Sparse grid of weighted symmetric matrix sums.
#include "misc/hyposm.h"

#include <cstring>
#include <new>

namespace telva {

namespace {

bool make_cell(hyposm* h, int64 num, const int64* sub, const double* weight, hyposm_cell* c) {
  unsigned char* p = static_cast<unsigned char*>(
      bsto_get(&h->blocks, num * int64(sizeof(int64) + sizeof(double))));
  if (!p) return false;
  c->num = num;
  c->sub = reinterpret_cast<int64*>(p);
  c->weight = reinterpret_cast<double*>(p + num * sizeof(int64));
  std::memcpy(c->sub, sub, num * sizeof(int64));
  std::memcpy(c->weight, weight, num * sizeof(double));
  return true;
}

} // namespace

bool hyposm_create(sysenv* sys, int32 nrow, int32 ncol, hyposm** out) {
  *out = nullptr;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(hyposm));
  if (!raw) return false;
  hyposm* h = new (raw) hyposm(sys);
  h->nrow = nrow;
  h->ncol = ncol;
  bsto_create(sys, kBstoBlockSize, &h->blocks);
  *out = h;
  return true;
}

void hyposm_delete(hyposm** ph) {
  hyposm* h = *ph;
  if (!h) return;
  sysenv* sys = h->sys;
  bsto_delete(&h->blocks);
  h->~hyposm();
  TVA_SYS_FREE(sys, h);
  *ph = nullptr;
}

void hyposm_setdims(hyposm* h, int32 nrow, int32 ncol) {
  h->nrow = nrow;
  h->ncol = ncol;
}

bool hyposm_putcell(hyposm* h, int32 i, int32 j, int64 num, const int64* sub,
                    const double* weight) {
  TVA_ASSERT(h->sys, i >= 0 && i < h->nrow && j >= 0 && j < h->ncol);
  auto it = h->cells.find({i, j});
  if (num == 0) {
    if (it != h->cells.end()) {
      h->numentries -= it->second.num;
      h->cells.erase(it);
    }
    return true;
  }
  hyposm_cell c;
  if (!make_cell(h, num, sub, weight, &c)) return false;
  try {
    if (it == h->cells.end()) {
      h->cells.emplace(hyposm::Key{i, j}, c);
    } else {
      h->numentries -= it->second.num;
      it->second = c;
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  h->numentries += num;
  return true;
}

bool hyposm_addentry(hyposm* h, int32 i, int32 j, int64 sub, double weight) {
  const hyposm_cell* old = hyposm_getcell(h, i, j);
  int64 n = old ? old->num : 0;
  hyposm_cell c;
  unsigned char* p = static_cast<unsigned char*>(
      bsto_get(&h->blocks, (n + 1) * int64(sizeof(int64) + sizeof(double))));
  if (!p) return false;
  c.num = n + 1;
  c.sub = reinterpret_cast<int64*>(p);
  c.weight = reinterpret_cast<double*>(p + (n + 1) * sizeof(int64));
  if (n > 0) {
    std::memcpy(c.sub, old->sub, n * sizeof(int64));
    std::memcpy(c.weight, old->weight, n * sizeof(double));
  }
  c.sub[n] = sub;
  c.weight[n] = weight;
  return hyposm_putcell(h, i, j, c.num, c.sub, c.weight);
}

const hyposm_cell* hyposm_getcell(const hyposm* h, int32 i, int32 j) {
  auto it = h->cells.find({i, j});
  return it == h->cells.end() ? nullptr : &it->second;
}

bool hyposm_stage_renumber(hyposm* h, bool rows, const int32* newidx) {
  h->staged.clear();
  h->staged_entries = 0;
  try {
    for (const auto& [key, cell] : h->cells) {
      int32 i = key.first, j = key.second;
      int32& which = rows ? i : j;
      which = newidx[which];
      if (which < 0) continue;
      h->staged.emplace_hint(h->staged.end(), hyposm::Key{i, j}, cell);
      h->staged_entries += cell.num;
    }
  } catch (const std::bad_alloc&) {
    h->staged.clear();
    return false;
  }
  return true;
}

void hyposm_commit_renumber(hyposm* h, bool rows, int32 newcount) {
  h->cells.swap(h->staged);
  h->staged.clear();
  h->numentries = h->staged_entries;
  if (rows)
    h->nrow = newcount;
  else
    h->ncol = newcount;
}

bool hyposm_renumber(hyposm* h, bool rows, const int32* newidx, int32 newcount) {
  if (!hyposm_stage_renumber(h, rows, newidx)) return false;
  hyposm_commit_renumber(h, rows, newcount);
  return true;
}

} // namespace telva
