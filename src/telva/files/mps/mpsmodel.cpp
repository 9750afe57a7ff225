// The staging model of an MPS file: name pools with a hashed index, constraint removal,
// quadratic normalisation and the comparison used to check a write and read back.
#include "telva/files/mps/mpsmodel.h"

#include <algorithm>
#include <cstring>

namespace telva {

namespace {

uint64 hash_name(const char* s) {
  uint64 h = 1469598103934665603ull; // FNV-1a
  for (; *s; ++s)
    h = (h ^ static_cast<unsigned char>(*s)) * 1099511628211ull;
  return h;
}

} // namespace

MpsNames::MpsNames(sysenv* sys)
    : pool_(SysAllocator<char>(sys)), start_(SysAllocator<int64>(sys)),
      slots_(SysAllocator<int32>(sys)) {}

void MpsNames::insert_index(int32 i) {
  size_t mask = slots_.size() - 1;
  size_t h = static_cast<size_t>(hash_name(get(i))) & mask;
  while (slots_[h] >= 0) {
    if (std::strcmp(get(slots_[h]), get(i)) == 0) return; // first index of a name wins
    h = (h + 1) & mask;
  }
  slots_[h] = i;
}

void MpsNames::rehash(size_t want) {
  // A power of two, so that the probe can mask.
  size_t slots = 64;
  while (slots < want)
    slots *= 2;
  slots_.assign(slots, -1);
  for (int32 i = 0; i < size(); ++i)
    insert_index(i);
}

int32 MpsNames::add(const char* name) {
  int32 i = size();
  start_.push_back(static_cast<int64>(pool_.size()));
  pool_.insert(pool_.end(), name, name + std::strlen(name) + 1);
  if (2 * static_cast<size_t>(size()) > slots_.size())
    rehash(std::max<size_t>(64, 4 * static_cast<size_t>(size())));
  else
    insert_index(i);
  return i;
}

int32 MpsNames::find(const char* name) const {
  if (slots_.empty()) return -1;
  size_t mask = slots_.size() - 1;
  size_t h = static_cast<size_t>(hash_name(name)) & mask;
  while (slots_[h] >= 0) {
    if (std::strcmp(get(slots_[h]), name) == 0) return slots_[h];
    h = (h + 1) & mask;
  }
  return -1;
}

void MpsNames::compact(const SysVector<char>& keep) {
  SysVector<char> pool(pool_.get_allocator());
  SysVector<int64> start(start_.get_allocator());
  for (int32 i = 0; i < size(); ++i) {
    if (!keep[i]) continue;
    start.push_back(static_cast<int64>(pool.size()));
    const char* s = get(i);
    pool.insert(pool.end(), s, s + std::strlen(s) + 1);
  }
  pool_.swap(pool);
  start_.swap(start);
  rehash(std::max<size_t>(64, 4 * static_cast<size_t>(size())));
}

void MpsNames::clear() {
  pool_.clear();
  start_.clear();
  slots_.clear();
}

void MpsQuad::normalize() {
  size_t n = val.size();
  SysVector<size_t> order(n, SysAllocator<size_t>(val.get_allocator().sys()));
  for (size_t t = 0; t < n; ++t)
    order[t] = t;
  std::sort(order.begin(), order.end(), [this](size_t a, size_t b) {
    return subj[a] != subj[b] ? subj[a] < subj[b] : subi[a] < subi[b];
  });
  SysVector<int32> ni(subi.get_allocator()), nj(subj.get_allocator());
  SysVector<double> nv(val.get_allocator());
  ni.reserve(n);
  nj.reserve(n);
  nv.reserve(n);
  for (size_t t : order) {
    if (!nv.empty() && ni.back() == subi[t] && nj.back() == subj[t]) {
      nv.back() += val[t];
      continue;
    }
    ni.push_back(subi[t]);
    nj.push_back(subj[t]);
    nv.push_back(val[t]);
  }
  subi.swap(ni);
  subj.swap(nj);
  val.swap(nv);
}

MpsModel::MpsModel(sysenv* s)
    : sys(s), task_name(SysAllocator<char>(s)), obj_name(SysAllocator<char>(s)),
      objname_section(SysAllocator<char>(s)), con_names(s), con_bk(SysAllocator<int32>(s)),
      con_bl(SysAllocator<double>(s)), con_bu(SysAllocator<double>(s)), var_names(s),
      var_bk(SysAllocator<int32>(s)), var_bl(SysAllocator<double>(s)),
      var_bu(SysAllocator<double>(s)), var_int(SysAllocator<char>(s)), c(SysAllocator<double>(s)),
      a_ptr(1, 0, SysAllocator<int64>(s)), a_sub(SysAllocator<int32>(s)),
      a_val(SysAllocator<double>(s)), qobj(s), qcon_index(SysAllocator<int32>(s)),
      qcon(SysAllocator<MpsQuad>(s)), cone_names(s), cone_type(SysAllocator<int32>(s)),
      cone_par(SysAllocator<double>(s)), cone_ptr(1, 0, SysAllocator<int64>(s)),
      cone_sub(SysAllocator<int32>(s)) {}

int32 MpsModel::numintvar() const {
  int32 n = 0;
  for (char f : var_int)
    n += f != 0;
  return n;
}

const MpsQuad* MpsModel::qcon_of(int32 k) const {
  auto it = std::lower_bound(qcon_index.begin(), qcon_index.end(), k);
  if (it == qcon_index.end() || *it != k) return nullptr;
  return &qcon[static_cast<size_t>(it - qcon_index.begin())];
}

MpsQuad* MpsModel::qcon_of(int32 k) {
  return const_cast<MpsQuad*>(static_cast<const MpsModel*>(this)->qcon_of(k));
}

MpsQuad& MpsModel::qcon_make(int32 k) {
  auto it = std::lower_bound(qcon_index.begin(), qcon_index.end(), k);
  size_t at = static_cast<size_t>(it - qcon_index.begin());
  if (it != qcon_index.end() && *it == k) return qcon[at];
  qcon_index.insert(it, k);
  qcon.insert(qcon.begin() + static_cast<std::ptrdiff_t>(at), MpsQuad(sys));
  return qcon[at];
}

void MpsModel::clear() {
  task_name.clear();
  obj_name.clear();
  objname_section.clear();
  sense = 0;
  cfix = 0.0;
  con_names.clear();
  con_bk.clear();
  con_bl.clear();
  con_bu.clear();
  var_names.clear();
  var_bk.clear();
  var_bl.clear();
  var_bu.clear();
  var_int.clear();
  c.clear();
  a_ptr.assign(1, 0);
  a_sub.clear();
  a_val.clear();
  qobj.subi.clear();
  qobj.subj.clear();
  qobj.val.clear();
  qcon_index.clear();
  qcon.clear();
  cone_names.clear();
  cone_type.clear();
  cone_par.clear();
  cone_ptr.assign(1, 0);
  cone_sub.clear();
}

int32 MpsModel::add_con(const char* name, int32 bk, double bl, double bu) {
  con_bk.push_back(bk);
  con_bl.push_back(bl);
  con_bu.push_back(bu);
  return con_names.add(name);
}

int32 MpsModel::add_var(const char* name, int32 bk, double bl, double bu, bool integer) {
  var_bk.push_back(bk);
  var_bl.push_back(bl);
  var_bu.push_back(bu);
  var_int.push_back(integer ? 1 : 0);
  c.push_back(0.0);
  a_ptr.push_back(a_ptr.back());
  return var_names.add(name);
}

void MpsModel::remove_cons(const SysVector<char>& remove) {
  int32 m = numcon();
  SysVector<int32> newidx(static_cast<size_t>(m), -1, SysAllocator<int32>(sys));
  SysVector<char> keep(static_cast<size_t>(m), 0, SysAllocator<char>(sys));
  int32 next = 0;
  for (int32 i = 0; i < m; ++i)
    if (!remove[i]) {
      keep[i] = 1;
      newidx[i] = next;
      con_bk[next] = con_bk[i];
      con_bl[next] = con_bl[i];
      con_bu[next] = con_bu[i];
      ++next;
    }
  con_bk.resize(next);
  con_bl.resize(next);
  con_bu.resize(next);
  con_names.compact(keep);
  int64 w = 0;
  for (int32 j = 0; j < numvar(); ++j) {
    int64 b = a_ptr[j], e = a_ptr[j + 1];
    a_ptr[j] = w;
    for (int64 t = b; t < e; ++t)
      if (newidx[a_sub[t]] >= 0) {
        a_sub[w] = newidx[a_sub[t]];
        a_val[w] = a_val[t];
        ++w;
      }
  }
  a_ptr[numvar()] = w;
  a_sub.resize(w);
  a_val.resize(w);
  size_t q = 0;
  for (size_t t = 0; t < qcon_index.size(); ++t) {
    int32 k = newidx[qcon_index[t]];
    if (k < 0) continue;
    qcon_index[q] = k;
    if (q != t) qcon[q] = std::move(qcon[t]);
    ++q;
  }
  qcon_index.resize(q);
  while (qcon.size() > q)
    qcon.pop_back();
}

namespace {

bool same_names(const MpsNames& a, const MpsNames& b) {
  if (a.size() != b.size()) return false;
  for (int32 i = 0; i < a.size(); ++i)
    if (std::strcmp(a.get(i), b.get(i)) != 0) return false;
  return true;
}

bool same_quad(const MpsQuad& a, const MpsQuad& b) {
  return a.subi == b.subi && a.subj == b.subj && a.val == b.val;
}

} // namespace

bool mpsmodel_equal(const MpsModel& a, const MpsModel& b, bool names, const char** what) {
  const char* diff = nullptr;
  if (a.sense != b.sense)
    diff = "sense";
  else if (a.cfix != b.cfix)
    diff = "cfix";
  else if (a.numcon() != b.numcon())
    diff = "numcon";
  else if (a.numvar() != b.numvar())
    diff = "numvar";
  else if (a.numcone() != b.numcone())
    diff = "numcone";
  else if (a.con_bk != b.con_bk || a.con_bl != b.con_bl || a.con_bu != b.con_bu)
    diff = "constraint bounds";
  else if (a.var_bk != b.var_bk || a.var_bl != b.var_bl || a.var_bu != b.var_bu)
    diff = "variable bounds";
  else if (a.var_int != b.var_int)
    diff = "integer marks";
  else if (a.c != b.c)
    diff = "objective";
  else if (a.a_ptr != b.a_ptr || a.a_sub != b.a_sub || a.a_val != b.a_val)
    diff = "A";
  else if (!same_quad(a.qobj, b.qobj))
    diff = "objective Q";
  else if (a.qcon_index != b.qcon_index)
    diff = "constraints with Q";
  else if (a.cone_type != b.cone_type || a.cone_par != b.cone_par || a.cone_ptr != b.cone_ptr ||
           a.cone_sub != b.cone_sub)
    diff = "cones";
  else {
    for (size_t t = 0; t < a.qcon.size() && !diff; ++t)
      if (!same_quad(a.qcon[t], b.qcon[t])) diff = "constraint Q";
  }
  if (!diff && names) {
    if (a.task_name != b.task_name)
      diff = "task name";
    else if (a.obj_name != b.obj_name)
      diff = "objective name";
    else if (!same_names(a.con_names, b.con_names))
      diff = "constraint names";
    else if (!same_names(a.var_names, b.var_names))
      diff = "variable names";
    else if (!same_names(a.cone_names, b.cone_names))
      diff = "cone names";
  }
  if (what) *what = diff ? diff : "";
  return diff == nullptr;
}

} // namespace telva
