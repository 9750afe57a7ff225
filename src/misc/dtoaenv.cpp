// Conversion between doubles and decimal text by exact big-number arithmetic: a double is
// m * 2^e with an integer m, so its decimal expansion is finite and can be computed exactly;
// rounding then works on the exact digits. Text is read by taking a close first guess and
// correcting it with exact comparisons against the midpoints between neighbouring doubles.
#include "misc/dtoaenv.h"

#include <cmath>
#include <cstring>
#include <new>

namespace telva {

// A non-negative big integer in base 2^32, least significant limb first.
struct DtoaBig {
  DtoaBig* next;
  int32 k;      // size class: capacity is 1 << k limbs
  int32 maxwds; // capacity in limbs
  int32 wds;    // limbs in use; 0 is the number zero
  uint32 x[1];
};

namespace {

size_t big_bytes(int32 k) {
  return sizeof(DtoaBig) + (static_cast<size_t>(1) << k) * 4 - 4;
}

bool in_pool(const dtoaenv* env, const DtoaBig* b) {
  const char* p = reinterpret_cast<const char*>(b);
  const char* lo = reinterpret_cast<const char*>(env->pool);
  return p >= lo && p < lo + sizeof env->pool;
}

DtoaBig* big_alloc(dtoaenv* env, int32 k) {
  DtoaBig* b = env->freelist[k];
  if (b) {
    env->freelist[k] = b->next;
  } else {
    size_t need = (big_bytes(k) + sizeof(double) - 1) / sizeof(double);
    if (env->pool_used + need <= sizeof env->pool / sizeof(double)) {
      b = reinterpret_cast<DtoaBig*>(env->pool + env->pool_used);
      env->pool_used += need;
    } else {
      b = static_cast<DtoaBig*>(sysenv_malloc(env->sys, TVA_HERE, 1, big_bytes(k)));
      if (!b) sysenv_fatal(env->sys, TVA_HERE, "Out of space in the number conversion.");
    }
  }
  b->next = nullptr;
  b->k = k;
  b->maxwds = 1 << k;
  b->wds = 0;
  return b;
}

void big_free(dtoaenv* env, DtoaBig* b) {
  if (!b) return;
  b->next = env->freelist[b->k];
  env->freelist[b->k] = b;
}

// Owns one big number for a scope.
class Big {
public:
  Big(dtoaenv* env, int32 k) : env_(env), b_(big_alloc(env, k)) {}
  ~Big() { big_free(env_, b_); }
  Big(const Big&) = delete;
  Big& operator=(const Big&) = delete;
  DtoaBig* operator->() const { return b_; }
  DtoaBig* get() const { return b_; }

private:
  dtoaenv* env_;
  DtoaBig* b_;
};

// Size classes: 128 limbs hold every exact double expansion (below 2^2560); 256 limbs hold
// the operands of the midpoint comparisons in reading.
constexpr int32 kDigitsClass = 7;
constexpr int32 kCompareClass = 8;

void big_check(const DtoaBig* b, int32 wds) {
  if (wds > b->maxwds) sysenv_fatal(nullptr, TVA_HERE, "Big number overflow in conversion.");
}

void big_set(DtoaBig* b, uint64 v) {
  b->wds = 0;
  while (v) {
    b->x[b->wds++] = static_cast<uint32>(v);
    v >>= 32;
  }
}

void big_copy(DtoaBig* to, const DtoaBig* from) {
  big_check(to, from->wds);
  std::memcpy(to->x, from->x, static_cast<size_t>(from->wds) * 4);
  to->wds = from->wds;
}

// b = b * mul + add
void big_muladd(DtoaBig* b, uint32 mul, uint32 add) {
  uint64 carry = add;
  for (int32 i = 0; i < b->wds; ++i) {
    uint64 t = static_cast<uint64>(b->x[i]) * mul + carry;
    b->x[i] = static_cast<uint32>(t);
    carry = t >> 32;
  }
  if (carry) {
    big_check(b, b->wds + 1);
    b->x[b->wds++] = static_cast<uint32>(carry);
  }
}

void big_mulpow5(DtoaBig* b, int32 n) {
  static const uint32 p5[] = {1,     5,      25,      125,     625,      3125,      15625,
                              78125, 390625, 1953125, 9765625, 48828125, 244140625, 1220703125};
  while (n >= 13) {
    big_muladd(b, p5[13], 0);
    n -= 13;
  }
  if (n > 0) big_muladd(b, p5[n], 0);
}

void big_shl(DtoaBig* b, int32 bits) {
  if (b->wds == 0 || bits <= 0) return;
  int32 words = bits / 32, rest = bits % 32;
  int32 nw = b->wds + words + 1;
  big_check(b, nw);
  b->x[nw - 1] = 0;
  for (int32 i = b->wds - 1; i >= 0; --i) {
    uint64 v = static_cast<uint64>(b->x[i]) << rest;
    b->x[i + words + 1] |= static_cast<uint32>(v >> 32);
    b->x[i + words] = static_cast<uint32>(v);
  }
  for (int32 i = 0; i < words; ++i)
    b->x[i] = 0;
  b->wds = nw;
  while (b->wds > 0 && b->x[b->wds - 1] == 0)
    --b->wds;
}

int big_cmp(const DtoaBig* a, const DtoaBig* b) {
  if (a->wds != b->wds) return a->wds < b->wds ? -1 : 1;
  for (int32 i = a->wds - 1; i >= 0; --i)
    if (a->x[i] != b->x[i]) return a->x[i] < b->x[i] ? -1 : 1;
  return 0;
}

// b = b / d; gives the remainder.
uint32 big_divmod(DtoaBig* b, uint32 d) {
  uint64 rem = 0;
  for (int32 i = b->wds - 1; i >= 0; --i) {
    uint64 cur = (rem << 32) | b->x[i];
    b->x[i] = static_cast<uint32>(cur / d);
    rem = cur % d;
  }
  while (b->wds > 0 && b->x[b->wds - 1] == 0)
    --b->wds;
  return static_cast<uint32>(rem);
}

void big_from_digits(DtoaBig* b, const char* digits, int32 n) {
  b->wds = 0;
  int32 i = 0;
  while (i < n) {
    uint32 chunk = 0, mul = 1;
    for (int32 j = 0; j < 9 && i < n; ++j, ++i) {
      chunk = chunk * 10 + static_cast<uint32>(digits[i] - '0');
      mul *= 10;
    }
    big_muladd(b, mul, chunk);
  }
}

// Splits finite, non-zero |v| into m * 2^e with an integer m.
void split(double v, uint64* m, int32* e) {
  uint64 bits;
  std::memcpy(&bits, &v, sizeof bits);
  int32 be = static_cast<int32>((bits >> 52) & 0x7ff);
  uint64 frac = bits & ((static_cast<uint64>(1) << 52) - 1);
  if (be == 0) {
    *m = frac;
    *e = -1074;
  } else {
    *m = frac | (static_cast<uint64>(1) << 52);
    *e = be - 1075;
  }
}

// Compares D * 10^E (D from digits) with a * 2^b exactly.
int cmp_dec_bin(dtoaenv* env, const DtoaBig* d, int32 E, uint64 a, int32 b) {
  Big left(env, kCompareClass), right(env, kCompareClass);
  big_copy(left.get(), d);
  big_set(right.get(), a);
  int32 pl = 0, pr = b;
  if (E >= 0) {
    big_mulpow5(left.get(), E);
    pl = E;
  } else {
    big_mulpow5(right.get(), -E);
    pr = b - E;
  }
  if (pl > pr)
    big_shl(left.get(), pl - pr);
  else
    big_shl(right.get(), pr - pl);
  return big_cmp(left.get(), right.get());
}

// The half-way points to the neighbours of x = m * 2^e: the value lies within
// [lo_a * 2^lo_b, hi_a * 2^hi_b].
struct Midpoints {
  uint64 lo_a, hi_a;
  int32 lo_b, hi_b;
  bool has_lo;
};

Midpoints midpoints(uint64 m, int32 e) {
  Midpoints mp;
  mp.hi_a = 2 * m + 1;
  mp.hi_b = e - 1;
  mp.has_lo = m > 0;
  if (m == (static_cast<uint64>(1) << 52) && e > -1074) {
    // The lower neighbour is closer at a power of two.
    mp.lo_a = 4 * m - 1;
    mp.lo_b = e - 2;
  } else {
    mp.lo_a = 2 * m - 1;
    mp.lo_b = e - 1;
  }
  return mp;
}

// Does digits * 10^(decpt - n) read back as m * 2^e?
bool reads_back(dtoaenv* env, const char* digits, int32 n, int32 decpt, uint64 m, int32 e) {
  Big d(env, kCompareClass);
  big_from_digits(d.get(), digits, n);
  Midpoints mp = midpoints(m, e);
  bool even = (m & 1) == 0;
  int c = cmp_dec_bin(env, d.get(), decpt - n, mp.hi_a, mp.hi_b);
  if (c > 0 || (c == 0 && !even)) return false;
  c = cmp_dec_bin(env, d.get(), decpt - n, mp.lo_a, mp.lo_b);
  return c > 0 || (c == 0 && even);
}

// Does rounding the exact digits to p (< n) digits, half to even, go up?
bool rounds_up(const char* digits, int32 n, int32 p) {
  if (digits[p] != '5') return digits[p] > '5';
  for (int32 i = p + 1; i < n; ++i)
    if (digits[i] != '0') return true;
  return p > 0 && ((digits[p - 1] - '0') & 1);
}

} // namespace

dtoaenv* dtoaenv_make(sysenv* sys) {
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(dtoaenv));
  if (!raw) return nullptr;
  dtoaenv* env = new (raw) dtoaenv;
  env->sys = sys;
  return env;
}

void dtoaenv_release(dtoaenv* env) {
  for (DtoaBig*& head : env->freelist) {
    while (head) {
      DtoaBig* next = head->next;
      if (!in_pool(env, head)) sysenv_free(env->sys, TVA_HERE, head);
      head = next;
    }
  }
  env->pool_used = 0;
}

void dtoaenv_delete(dtoaenv** penv) {
  if (!penv || !*penv) return;
  dtoaenv* env = *penv;
  dtoaenv_release(env);
  sysenv* sys = env->sys;
  env->~dtoaenv();
  sysenv_free(sys, TVA_HERE, env);
  *penv = nullptr;
}

int32 dtoa_exact(dtoaenv* env, double value, char* digits, int32* decpt) {
  uint64 m;
  int32 e;
  split(value, &m, &e);
  Big n(env, kDigitsClass);
  big_set(n.get(), m);
  if (e >= 0)
    big_shl(n.get(), e);
  else
    big_mulpow5(n.get(), -e);
  // Nine decimal digits at a time from the low end, then reversed.
  char rev[kDtoaMaxDigits + 16];
  int32 len = 0;
  while (n->wds > 0) {
    uint32 chunk = big_divmod(n.get(), 1000000000u);
    for (int32 j = 0; j < 9; ++j) {
      rev[len++] = static_cast<char>('0' + chunk % 10);
      chunk /= 10;
    }
  }
  while (len > 0 && rev[len - 1] == '0')
    --len;
  int32 exp10 = e < 0 ? e : 0; // the integer's digits times 10^exp10
  int32 lead = 0;
  while (lead < len && rev[lead] == '0')
    ++lead; // trailing zeros of the number
  int32 count = len - lead;
  for (int32 i = 0; i < count; ++i)
    digits[i] = rev[len - 1 - i];
  *decpt = len + exp10;
  return count;
}

int32 dtoa_round_digits(char* digits, int32 n, int32* decpt, int32 keep) {
  if (keep >= n) return n;
  if (keep < 0) return 0;
  bool up;
  char first = digits[keep];
  if (first > '5') {
    up = true;
  } else if (first < '5') {
    up = false;
  } else {
    bool rest = false;
    for (int32 i = keep + 1; i < n; ++i)
      if (digits[i] != '0') rest = true;
    // An exact tie rounds to even: keep 0 digits counts the digit before as 0.
    up = rest || (keep > 0 && ((digits[keep - 1] - '0') & 1));
  }
  n = keep;
  if (up) {
    int32 i = n - 1;
    while (i >= 0 && digits[i] == '9')
      --i;
    if (i < 0) {
      digits[0] = '1';
      n = 1;
      ++*decpt;
    } else {
      ++digits[i];
      n = i + 1;
    }
  }
  while (n > 0 && digits[n - 1] == '0')
    --n;
  return n;
}

int32 dtoa_shortest(dtoaenv* env, double value, char* digits, int32* decpt) {
  char exact[kDtoaMaxDigits + 16];
  int32 edec;
  int32 n = dtoa_exact(env, value, exact, &edec);
  uint64 m;
  int32 e;
  split(value, &m, &e);
  // Candidates with p digits: the exact digits cut to p, and that plus one unit in the last
  // place. Whether some p-digit number reads back grows with p, so search for the least p.
  char cand[2][24];
  int32 cn[2], cdec[2];
  auto best_for = [&](int32 p) -> int32 { // index of a candidate that reads back, or -1
    if (p >= n) {
      std::memcpy(cand[0], exact, static_cast<size_t>(n));
      cn[0] = n;
      cdec[0] = edec;
      return 0;
    }
    std::memcpy(cand[0], exact, static_cast<size_t>(p));
    cn[0] = p;
    cdec[0] = edec;
    std::memcpy(cand[1], exact, static_cast<size_t>(p));
    cdec[1] = edec;
    int32 i = p - 1;
    while (i >= 0 && cand[1][i] == '9')
      cand[1][i--] = '0';
    if (i < 0) {
      cand[1][0] = '1';
      cn[1] = 1;
      ++cdec[1];
    } else {
      ++cand[1][i];
      cn[1] = p;
    }
    // Try the nearer one first.
    int32 first = rounds_up(exact, n, p) ? 1 : 0;
    for (int32 t = 0; t < 2; ++t) {
      int32 c = t == 0 ? first : 1 - first;
      if (reads_back(env, cand[c], cn[c], cdec[c], m, e)) return c;
    }
    return -1;
  };
  int32 lo = 1, hi = n < 17 ? n : 17;
  while (lo < hi) {
    int32 mid = (lo + hi) / 2;
    if (best_for(mid) >= 0)
      hi = mid;
    else
      lo = mid + 1;
  }
  int32 c = best_for(lo);
  if (c < 0) c = 0; // cannot happen: 17 digits always read back
  int32 count = cn[c];
  while (count > 1 && cand[c][count - 1] == '0')
    --count;
  std::memcpy(digits, cand[c], static_cast<size_t>(count));
  *decpt = cdec[c];
  return count;
}

namespace {

bool match_word(const char* s, const char* word, const char** end) {
  size_t i = 0;
  for (; word[i]; ++i) {
    char c = s[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != word[i]) return false;
  }
  *end = s + i;
  return true;
}

} // namespace

double dtoa_strtod(dtoaenv* env, const char* text, const char** end) {
  const char* s = text;
  *end = text;
  bool neg = false;
  if (*s == '+' || *s == '-') neg = *s++ == '-';
  const char* after;
  if (match_word(s, "infinity", &after) || match_word(s, "inf", &after)) {
    *end = after;
    return neg ? -HUGE_VAL : HUGE_VAL;
  }
  if (match_word(s, "nan", &after)) {
    *end = after;
    double nan = std::nan("");
    return neg ? -nan : nan;
  }
  // Significant digits, with leading zeros dropped and the decimal exponent adjusted.
  char digits[kDtoaMaxDigits + 2];
  int32 nd = 0;
  int64 exp10 = 0;
  bool any = false, sticky = false, point = false;
  for (;; ++s) {
    char c = *s;
    if (c == '.' && !point) {
      point = true;
      continue;
    }
    if (c < '0' || c > '9') break;
    any = true;
    if (nd == 0 && c == '0') {
      if (point) --exp10;
      continue;
    }
    if (nd < kDtoaMaxDigits) {
      digits[nd++] = c;
      if (point) --exp10;
    } else {
      if (c != '0') sticky = true;
      if (!point) ++exp10;
    }
  }
  if (!any) return 0.0;
  if ((*s == 'e' || *s == 'E')) {
    const char* t = s + 1;
    bool eneg = false;
    if (*t == '+' || *t == '-') eneg = *t++ == '-';
    if (*t >= '0' && *t <= '9') {
      int64 ev = 0;
      while (*t >= '0' && *t <= '9') {
        if (ev < 100000000) ev = ev * 10 + (*t - '0');
        ++t;
      }
      exp10 += eneg ? -ev : ev;
      s = t;
    }
  }
  *end = s;
  if (nd == 0) return neg ? -0.0 : 0.0;
  if (sticky) {
    // A digit past what any midpoint can have keeps the value strictly inside its gap.
    digits[nd++] = '1';
    --exp10;
  }
  int64 mag = nd + exp10; // value lies in [10^(mag-1), 10^mag)
  if (mag > 310) return neg ? -HUGE_VAL : HUGE_VAL;
  if (mag < -330) return neg ? -0.0 : 0.0;
  int32 E = static_cast<int32>(exp10);

  // First guess from the leading digits in extended precision.
  uint64 lead = 0;
  int32 nl = nd < 19 ? nd : 19;
  for (int32 i = 0; i < nl; ++i)
    lead = lead * 10 + static_cast<uint64>(digits[i] - '0');
  long double guess = static_cast<long double>(lead) * powl(10.0L, E + (nd - nl));
  double x = static_cast<double>(guess);
  if (std::isinf(x)) x = 1.7976931348623157e308;

  Big d(env, kCompareClass);
  big_from_digits(d.get(), digits, nd);
  for (int iter = 0; iter < 64; ++iter) {
    uint64 m = 0;
    int32 e = -1074;
    if (x != 0.0) split(x, &m, &e);
    Midpoints mp = midpoints(m, e);
    bool even = (m & 1) == 0;
    int c = cmp_dec_bin(env, d.get(), E, mp.hi_a, mp.hi_b);
    if (c > 0 || (c == 0 && !even)) {
      if (m == (static_cast<uint64>(1) << 53) - 1 && e == 971) {
        x = HUGE_VAL; // beyond the half-way point to the next power of two
        break;
      }
      x = std::nextafter(x, HUGE_VAL);
      continue;
    }
    if (mp.has_lo) {
      c = cmp_dec_bin(env, d.get(), E, mp.lo_a, mp.lo_b);
      if (c < 0 || (c == 0 && !even)) {
        x = std::nextafter(x, 0.0);
        continue;
      }
    }
    break;
  }
  return neg ? -x : x;
}

} // namespace telva
