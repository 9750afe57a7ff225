// The CBF writer. Variables are written in an order in which every cone's members stand
// together (the task's order where that already holds); bounds that no domain expresses, and
// the second side of ranged rows, become rows of their own after the task's rows; bar
// variables that carry a matrix inequality (see cbffile.h) go out as PSDCON again.
#include <algorithm>
#include <map>
#include <new>
#include <span>
#include <tuple>

#include "telva/files/cbf/cbffile.h"

namespace telva {

namespace {

constexpr const char* kDomainWord[] = {"L+", "L-", "L=", "F", "Q", "QR"};
enum Domain : int32 { kLpos = 0, kLneg = 1, kLzero = 2, kFree = 3, kQuad = 4, kRquad = 5 };

// A row of the written file: its domain, the constant b of "a x + b", and where its linear part
// comes from (a task row, or a single variable with coefficient 1).
struct Row {
  int32 domain;
  double b;
  int32 con; // task row, or -1
  int32 var; // the variable of a bound row, or -1
};

class Writer {
public:
  Writer(TvaTask* task, const TextSink& sink)
      : task_(task), sys_(task->sys), out_(task->sys, sink, 16), order_(SysAllocator<int32>(sys_)),
        place_(SysAllocator<int32>(sys_)), rows_(SysAllocator<Row>(sys_)),
        rowplace_(SysAllocator<int32>(sys_)), psdcon_of_bar_(SysAllocator<int32>(sys_)),
        psdcon_bars_(SysAllocator<int32>(sys_)),
        psdrow_(SysAllocator<std::pair<int32, int32>>(sys_)), sub_(SysAllocator<int32>(sys_)),
        val_(SysAllocator<double>(sys_)) {}

  TVArescode run();

private:
  void order_variables();
  int32 var_domain(int32 j) const;
  void find_psdcons();
  void make_rows();
  void write_blocks(const char* keyword, int32 count, const SysVector<int32>& domains);
  void write_vars();
  void write_ints();
  void write_cons();
  void write_psd();
  TVArescode write_objective();
  TVArescode write_a();
  void write_bcoord();
  void write_sym(const char* keyword, bool isbara);
  TVArescode write_psdcon_coords();

  void num(double v) { out_.num(v); }
  bool is_psd_row(int32 i) const { return psdrow_[i].first >= 0; }

  TvaTask* task_;
  sysenv* sys_;
  TextOut out_;
  SysVector<int32> order_; // written position -> variable
  SysVector<int32> place_; // variable -> written position
  SysVector<Row> rows_;
  SysVector<int32> rowplace_; // task row -> written row (of its first side), -1 for PSDCON rows
  SysVector<int32> psdcon_of_bar_; // bar variable -> PSDCON number, or -1
  SysVector<int32> psdcon_bars_;   // PSDCON number -> bar variable
  // Task row -> (PSDCON number, packed position k(k+1)/2 + l), or (-1, 0).
  SysVector<std::pair<int32, int32>> psdrow_;
  SysVector<int32> sub_;
  SysVector<double> val_;
};

// Cones are blocks of their own: a cone's members are written together, in cone order, where
// the first of them stands in the task's order.
void Writer::order_variables() {
  const ProblemStore& s = task_->store;
  int32 n = task_->numvar;
  place_.assign(static_cast<size_t>(n), -1);
  for (int32 j = 0; j < n; ++j) {
    if (place_[j] >= 0) continue;
    int32 k = s.varcone ? s.varcone[j] - 1 : -1;
    if (k < 0) {
      place_[j] = static_cast<int32>(order_.size());
      order_.push_back(j);
      continue;
    }
    for (int32 p = s.coneptrb[k]; p < s.coneptre[k]; ++p) {
      place_[s.conesub[p]] = static_cast<int32>(order_.size());
      order_.push_back(s.conesub[p]);
    }
  }
}

// The domain that holds a variable's bounds by itself, or F when rows must.
int32 Writer::var_domain(int32 j) const {
  const ProblemStore& s = task_->store;
  if (s.varcone && s.varcone[j] > 0)
    return s.conetype[s.varcone[j] - 1] == TVA_CT_RQUAD ? kRquad : kQuad;
  int32 bk = 0;
  double bl = 0.0, bu = 0.0;
  store_getbound(task_, TVA_ACC_VAR, j, &bk, &bl, &bu);
  if (bk == TVA_BK_FX && bl == 0.0) return kLzero;
  if ((bk == TVA_BK_LO || bk == TVA_BK_RA) && bl == 0.0) return kLpos;
  if ((bk == TVA_BK_UP || bk == TVA_BK_RA) && bu == 0.0) return kLneg;
  return kFree;
}

// A bar variable S of order n is a matrix inequality when it has no objective term and appears
// in exactly n(n+1)/2 fixed rows without quadratic terms, one per position (k, l), each with
// the single term -<E_kl, S> and no other bar variable.
void Writer::find_psdcons() {
  const ProblemStore& s = task_->store;
  psdcon_of_bar_.assign(static_cast<size_t>(task_->numbarvar), -1);
  psdrow_.assign(static_cast<size_t>(task_->numcon), {-1, 0});
  if (task_->numbarvar == 0 || !s.bara) return;
  SysVector<int32> cells_in_row(static_cast<size_t>(task_->numcon), 0, SysAllocator<int32>(sys_));
  // (bar variable, row, cell), sorted by bar variable.
  using Use = std::tuple<int32, int32, const hyposm_cell*>;
  SysVector<Use> uses{SysAllocator<Use>(sys_)};
  for (const auto& [key, cell] : s.bara->cells) {
    ++cells_in_row[key.first];
    uses.emplace_back(key.second, key.first, &cell);
  }
  std::stable_sort(uses.begin(), uses.end(),
                   [](const Use& x, const Use& y) { return std::get<0>(x) < std::get<0>(y); });
  SysVector<char> seen{SysAllocator<char>(sys_)};
  for (size_t u = 0; u < uses.size();) {
    int32 j = std::get<0>(uses[u]);
    size_t e = u;
    while (e < uses.size() && std::get<0>(uses[e]) == j)
      ++e;
    std::span<const Use> list(uses.data() + u, e - u);
    u = e;
    if (s.barc && hyposm_getcell(s.barc, 0, j)) continue;
    int32 dim = s.bardim[j];
    int64 npos = static_cast<int64>(dim) * (dim + 1) / 2;
    if (static_cast<int64>(list.size()) != npos) continue;
    seen.assign(static_cast<size_t>(npos), 0);
    bool ok = true;
    for (const auto& [jj, i, cell] : list) {
      int64 qf = 0, ql = 0;
      store_qinterval(task_, i, &qf, &ql);
      if (cells_in_row[i] != 1 || cell->num != 1 || s.bkc[i] != TVA_BK_FX || ql > qf ||
          psdrow_[i].first >= 0) {
        ok = false;
        break;
      }
      const sossm_mat* m = sossm_get(&s.symmats, cell->sub[0]);
      if (m->nz != 1) {
        ok = false;
        break;
      }
      int32 k = m->subi[0], l = m->subj[0];
      double want = k == l ? -1.0 : -0.5;
      int64 p = static_cast<int64>(k) * (k + 1) / 2 + l;
      if (m->val[0] * cell->weight[0] != want || seen[p]) {
        ok = false;
        break;
      }
      seen[p] = 1;
    }
    if (!ok) continue;
    int32 c = static_cast<int32>(psdcon_bars_.size());
    psdcon_bars_.push_back(j);
    psdcon_of_bar_[j] = c;
    for (const auto& [jj, i, cell] : list) {
      const sossm_mat* m = sossm_get(&s.symmats, cell->sub[0]);
      psdrow_[i] = {c, m->subi[0] * (m->subi[0] + 1) / 2 + m->subj[0]};
    }
  }
}

// The written rows: the task's rows in order (a ranged one by its lower side), then the upper
// sides of ranged rows, then the bound rows of the variables.
void Writer::make_rows() {
  rowplace_.assign(static_cast<size_t>(task_->numcon), -1);
  for (int32 i = 0; i < task_->numcon; ++i) {
    if (is_psd_row(i)) continue;
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_CON, i, &bk, &bl, &bu);
    rowplace_[i] = static_cast<int32>(rows_.size());
    switch (bk) {
    case TVA_BK_LO:
    case TVA_BK_RA:
      rows_.push_back({kLpos, -bl, i, -1});
      break;
    case TVA_BK_UP:
      rows_.push_back({kLneg, -bu, i, -1});
      break;
    case TVA_BK_FX:
      rows_.push_back({kLzero, -bl, i, -1});
      break;
    default:
      rows_.push_back({kFree, 0.0, i, -1});
      break;
    }
  }
  for (int32 i = 0; i < task_->numcon; ++i) {
    if (is_psd_row(i) || task_->store.bkc[i] != TVA_BK_RA) continue;
    rows_.push_back({kLneg, -task_->store.buc[i], i, -1});
  }
  for (int32 j : order_) {
    int32 domain = var_domain(j);
    int32 bk = 0;
    double bl = 0.0, bu = 0.0;
    store_getbound(task_, TVA_ACC_VAR, j, &bk, &bl, &bu);
    bool lo = bk == TVA_BK_LO || bk == TVA_BK_RA, up = bk == TVA_BK_UP || bk == TVA_BK_RA;
    if (bk == TVA_BK_FX) {
      if (domain != kLzero) rows_.push_back({kLzero, -bl, -1, j});
      continue;
    }
    if (lo && domain != kLpos) rows_.push_back({kLpos, -bl, -1, j});
    if (up && domain != kLneg) rows_.push_back({kLneg, -bu, -1, j});
  }
}

// "KEYWORD\ncount blocks\n" and one "domain size" line per run of equal domains; a cone is a
// run of its own.
void Writer::write_blocks(const char* keyword, int32 count, const SysVector<int32>& domains) {
  const ProblemStore& s = task_->store;
  SysVector<std::pair<int32, int32>> blocks{SysAllocator<std::pair<int32, int32>>(sys_)};
  for (int32 t = 0; t < count;) {
    int32 d = domains[t], len = 1;
    if (d == kQuad || d == kRquad) {
      int32 k = s.varcone[order_[t]] - 1;
      len = s.coneptre[k] - s.coneptrb[k];
    } else {
      while (t + len < count && domains[t + len] == d)
        ++len;
    }
    blocks.emplace_back(d, len);
    t += len;
  }
  out_.printf("%s\n%d %d\n", keyword, count, static_cast<int>(blocks.size()));
  for (const auto& [d, len] : blocks)
    out_.printf("%s %d\n", kDomainWord[d], len);
  out_.put("\n");
}

void Writer::write_vars() {
  SysVector<int32> domains{SysAllocator<int32>(sys_)};
  for (int32 j : order_)
    domains.push_back(var_domain(j));
  write_blocks("VAR", task_->numvar, domains);
}

void Writer::write_ints() {
  if (task_->store.numintvar == 0) return;
  out_.printf("INT\n%d\n", static_cast<int>(task_->store.numintvar));
  for (int32 t = 0; t < task_->numvar; ++t)
    if (task_->store.vartype[order_[t]] == TVA_VAR_TYPE_INT)
      out_.printf("%d\n", static_cast<int>(t));
  out_.put("\n");
}

void Writer::write_cons() {
  if (rows_.empty()) return;
  SysVector<int32> domains{SysAllocator<int32>(sys_)};
  for (const Row& r : rows_)
    domains.push_back(r.domain);
  write_blocks("CON", static_cast<int32>(rows_.size()), domains);
}

void Writer::write_psd() {
  int32 numpsdvar = task_->numbarvar - static_cast<int32>(psdcon_bars_.size());
  if (numpsdvar > 0) {
    out_.printf("PSDVAR\n%d\n", static_cast<int>(numpsdvar));
    for (int32 j = 0; j < task_->numbarvar; ++j)
      if (psdcon_of_bar_[j] < 0) out_.printf("%d\n", static_cast<int>(task_->store.bardim[j]));
    out_.put("\n");
  }
  if (!psdcon_bars_.empty()) {
    out_.printf("PSDCON\n%d\n", static_cast<int>(psdcon_bars_.size()));
    for (int32 j : psdcon_bars_)
      out_.printf("%d\n", static_cast<int>(task_->store.bardim[j]));
    out_.put("\n");
  }
}

// The written number of a bar variable that is a PSDVAR.
using SymTriplets =
    std::map<std::tuple<int32, int32, int32, int32>, double,
             std::less<std::tuple<int32, int32, int32, int32>>,
             SysAllocator<std::pair<const std::tuple<int32, int32, int32, int32>, double>>>;

// OBJFCOORD (isbara false) or FCOORD: the weighted sums of matrices of each cell, added up per
// position, for the bar variables that are PSDVARs and the rows that are written.
void Writer::write_sym(const char* keyword, bool isbara) {
  const ProblemStore& s = task_->store;
  const hyposm* h = isbara ? s.bara : s.barc;
  if (!h) return;
  SysVector<int32> psdvar_place(static_cast<size_t>(task_->numbarvar), -1,
                                SysAllocator<int32>(sys_));
  int32 next = 0;
  for (int32 j = 0; j < task_->numbarvar; ++j)
    if (psdcon_of_bar_[j] < 0) psdvar_place[j] = next++;
  SymTriplets sum{
      SysAllocator<std::pair<const std::tuple<int32, int32, int32, int32>, double>>(sys_)};
  for (const auto& [key, cell] : h->cells) {
    int32 i = key.first, j = key.second;
    if (psdvar_place[j] < 0 || (isbara && rowplace_[i] < 0)) continue;
    int32 row = isbara ? rowplace_[i] : 0;
    for (int64 t = 0; t < cell.num; ++t) {
      const sossm_mat* m = sossm_get(&s.symmats, cell.sub[t]);
      for (int64 e = 0; e < m->nz; ++e)
        sum[{row, psdvar_place[j], m->subi[e], m->subj[e]}] += cell.weight[t] * m->val[e];
    }
  }
  int64 nz = 0;
  for (const auto& [pos, v] : sum)
    nz += v != 0.0;
  if (nz == 0) return;
  out_.printf("%s\n%lld\n", keyword, static_cast<long long>(nz));
  for (const auto& [pos, v] : sum) {
    if (v == 0.0) continue;
    auto [i, j, k, l] = pos;
    if (isbara) out_.printf("%d ", static_cast<int>(i));
    out_.printf("%d %d %d ", static_cast<int>(j), static_cast<int>(k), static_cast<int>(l));
    num(v);
    out_.put('\n');
  }
  out_.put("\n");
}

TVArescode Writer::write_objective() {
  const ProblemStore& s = task_->store;
  int32 nz = 0;
  for (int32 j = 0; j < task_->numvar; ++j)
    nz += s.c[j] != 0.0;
  write_sym("OBJFCOORD", false);
  if (nz > 0) {
    out_.printf("OBJACOORD\n%d\n", static_cast<int>(nz));
    for (int32 t = 0; t < task_->numvar; ++t) {
      double c = s.c[order_[t]];
      if (c == 0.0) continue;
      out_.printf("%d ", static_cast<int>(t));
      num(c);
      out_.put('\n');
    }
    out_.put("\n");
  }
  if (s.cfix != 0.0) {
    out_.put("OBJBCOORD\n");
    num(s.cfix);
    out_.put("\n\n");
  }
  return TVA_RES_OK;
}

TVArescode Writer::write_a() {
  // Entries by written row: the task's rows (twice for a ranged one), then the bound rows.
  SysVector<std::tuple<int32, int32, double>> a{
      SysAllocator<std::tuple<int32, int32, double>>(sys_)};
  SysVector<int32> upper_row(static_cast<size_t>(task_->numcon), -1, SysAllocator<int32>(sys_));
  for (int32 r = 0; r < static_cast<int32>(rows_.size()); ++r) {
    const Row& row = rows_[r];
    if (row.var >= 0)
      a.emplace_back(r, place_[row.var], 1.0);
    else if (row.con >= 0 && rowplace_[row.con] != r)
      upper_row[row.con] = r;
  }
  sub_.resize(static_cast<size_t>(task_->numcon) + 1);
  val_.resize(static_cast<size_t>(task_->numcon) + 1);
  for (int32 j = 0; j < task_->numvar; ++j) {
    int32 nz = 0;
    TVArescode r = store_getavec(task_, true, j, &nz, sub_.data(), val_.data());
    if (r != TVA_RES_OK) return r;
    for (int32 t = 0; t < nz; ++t) {
      int32 i = sub_[t];
      if (rowplace_[i] < 0) continue;
      a.emplace_back(rowplace_[i], place_[j], val_[t]);
      if (upper_row[i] >= 0) a.emplace_back(upper_row[i], place_[j], val_[t]);
    }
  }
  std::sort(a.begin(), a.end(), [](const auto& x, const auto& y) {
    return std::get<0>(x) != std::get<0>(y) ? std::get<0>(x) < std::get<0>(y)
                                            : std::get<1>(x) < std::get<1>(y);
  });
  if (a.empty()) return TVA_RES_OK;
  out_.printf("ACOORD\n%lld\n", static_cast<long long>(a.size()));
  for (const auto& [i, j, v] : a) {
    out_.printf("%d %d ", static_cast<int>(i), static_cast<int>(j));
    num(v);
    out_.put('\n');
  }
  out_.put("\n");
  return TVA_RES_OK;
}

void Writer::write_bcoord() {
  int64 nz = 0;
  for (const Row& r : rows_)
    nz += r.b != 0.0;
  if (nz == 0) return;
  out_.printf("BCOORD\n%lld\n", static_cast<long long>(nz));
  for (size_t t = 0; t < rows_.size(); ++t) {
    if (rows_[t].b == 0.0) continue;
    out_.printf("%d ", static_cast<int>(t));
    num(rows_[t].b);
    out_.put('\n');
  }
  out_.put("\n");
}

// HCOORD from the scalar terms of a PSDCON's rows, DCOORD from their right sides.
TVArescode Writer::write_psdcon_coords() {
  if (psdcon_bars_.empty()) return TVA_RES_OK;
  auto position = [](int32 p, int32* k, int32* l) {
    int32 kk = 0;
    while ((kk + 1) * (kk + 2) / 2 <= p)
      ++kk;
    *k = kk;
    *l = p - kk * (kk + 1) / 2;
  };
  using HEntry = std::tuple<int32, int32, int32, double>; // (psdcon, var, position, value)
  SysVector<HEntry> h{SysAllocator<HEntry>(sys_)};
  sub_.resize(static_cast<size_t>(task_->numcon) + 1);
  val_.resize(static_cast<size_t>(task_->numcon) + 1);
  for (int32 j = 0; j < task_->numvar; ++j) {
    int32 nz = 0;
    TVArescode r = store_getavec(task_, true, j, &nz, sub_.data(), val_.data());
    if (r != TVA_RES_OK) return r;
    for (int32 t = 0; t < nz; ++t)
      if (is_psd_row(sub_[t]))
        h.emplace_back(psdrow_[sub_[t]].first, place_[j], psdrow_[sub_[t]].second, val_[t]);
  }
  std::sort(h.begin(), h.end());
  if (!h.empty()) {
    out_.printf("HCOORD\n%lld\n", static_cast<long long>(h.size()));
    for (const auto& [c, j, p, v] : h) {
      int32 k = 0, l = 0;
      position(p, &k, &l);
      out_.printf("%d %d %d %d ", static_cast<int>(c), static_cast<int>(j), static_cast<int>(k),
                  static_cast<int>(l));
      num(v);
      out_.put('\n');
    }
    out_.put("\n");
  }
  SysVector<std::tuple<int32, int32, double>> d{
      SysAllocator<std::tuple<int32, int32, double>>(sys_)};
  for (int32 i = 0; i < task_->numcon; ++i)
    if (is_psd_row(i) && task_->store.blc[i] != 0.0)
      d.emplace_back(psdrow_[i].first, psdrow_[i].second, -task_->store.blc[i]);
  std::sort(d.begin(), d.end());
  if (!d.empty()) {
    out_.printf("DCOORD\n%lld\n", static_cast<long long>(d.size()));
    for (const auto& [c, p, v] : d) {
      int32 k = 0, l = 0;
      position(p, &k, &l);
      out_.printf("%d %d %d ", static_cast<int>(c), static_cast<int>(k), static_cast<int>(l));
      num(v);
      out_.put('\n');
    }
    out_.put("\n");
  }
  return TVA_RES_OK;
}

TVArescode Writer::run() {
  order_variables();
  find_psdcons();
  make_rows();
  out_.put("VER\n1\n\n");
  out_.put(task_->store.objsense == TVA_OBJECTIVE_SENSE_MAXIMIZE ? "OBJSENSE\nMAX\n\n"
                                                                 : "OBJSENSE\nMIN\n\n");
  write_psd();
  write_vars();
  write_ints();
  write_cons();
  TVArescode r = write_objective();
  if (r == TVA_RES_OK) write_sym("FCOORD", true);
  if (r == TVA_RES_OK) r = write_a();
  if (r == TVA_RES_OK) write_bcoord();
  if (r == TVA_RES_OK) r = write_psdcon_coords();
  out_.flush();
  if (r == TVA_RES_OK && out_.failed()) r = TVA_RES_ERR_FILE_WRITE;
  return r;
}

} // namespace

TVArescode cbf_write(TvaTask* task, const TextSink& sink) {
  try {
    Writer w(task, sink);
    return w.run();
  } catch (const std::bad_alloc&) {
    return TVA_RES_ERR_SPACE;
  }
}

} // namespace telva
