// Reporting a response code on a task: the message is built from the code's template and
// the arguments, delivered to the response handler or the task's streams, and recorded as the
// task's last response. Use it as
//
//   return TVA_REP(task, ERR_INDEX_IS_TOO_LARGE, index, "subj");
//
// The result is the code for errors; for a warning it is 0 unless the task's response handler
// turns the warning into a failure.
//
// Each code has its own typed reporter, made at compile time from its template: a call with
// the wrong number of arguments, or an argument of the wrong type, does not compile. The
// conversions of a template take (see misc/printer.h):
//
//   %i %d                int32: any integer type that converts without loss (not bool, char)
//   %l %I64d             int64: the same, wider
//   %u %U %I             uint32; %L %I64u uint64: unsigned types that fit
//   %e %f %g             double: float or double, never an integer
//   %{wjp}e              three int32 (width, justification, precision), then the double
//   %s                   const char* (a string literal, char array or char pointer)
//   %ws                  const uint16_t* or const char16_t*
//   %p                   any pointer
//
// A code whose template is empty reports its description and takes no arguments. Codes that
// have no reporter are returned plainly: the terminations (10000 and up), the handle codes
// 1060, 1061 and 1064 (there is no valid task to hold them), and the dense-kernel family
// 7000 to 7019.
#pragma once

#include <type_traits>
#include <utility>

#include "telva/log/rescodes.h"
#include "telva/task/task.h"

namespace telva {

// The untyped engine behind the typed reporters; the arguments must have exactly the types
// the code's template takes (TVA_REP sees to that).
TVArescode report_code(TvaTask* task, const char* file, int line, TVArescode code, ...);

// Records the last response: code and text (cut to the buffer at a character boundary);
// code 0 clears the message.
void task_set_last_response(TvaTask* task, TVArescode code, const char* text);

namespace report_detail {

template <class T>
inline constexpr bool is_plain_int =
    std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char> &&
    !std::is_same_v<T, char8_t> && !std::is_same_v<T, char16_t> && !std::is_same_v<T, char32_t> &&
    !std::is_same_v<T, wchar_t>;

// Whether an integer type converts to a Bits-wide integer (signed or not) without loss.
template <class T, int Bytes, bool Signed> constexpr bool fits_int() {
  if constexpr (std::is_enum_v<T>) {
    return fits_int<std::underlying_type_t<T>, Bytes, Signed>();
  } else if constexpr (is_plain_int<T>) {
    if constexpr (Signed)
      return std::is_signed_v<T> ? sizeof(T) <= Bytes : sizeof(T) < Bytes;
    else
      return std::is_unsigned_v<T> && sizeof(T) <= Bytes;
  } else {
    return false;
  }
}

template <class A, ArgKind K> constexpr bool accepts() {
  using T = std::remove_cvref_t<A>;
  if constexpr (K == ArgKind::I32) return fits_int<T, 4, true>();
  if constexpr (K == ArgKind::I64) return fits_int<T, 8, true>();
  if constexpr (K == ArgKind::U32) return fits_int<T, 4, false>();
  if constexpr (K == ArgKind::U64) return fits_int<T, 8, false>();
  if constexpr (K == ArgKind::Dbl) return std::is_same_v<T, double> || std::is_same_v<T, float>;
  if constexpr (K == ArgKind::Str)
    return std::is_convertible_v<A, const char*> && !std::is_same_v<T, bool>;
  if constexpr (K == ArgKind::WStr)
    return std::is_convertible_v<A, const uint16_t*> || std::is_convertible_v<A, const char16_t*>;
  if constexpr (K == ArgKind::Ptr)
    return std::is_pointer_v<std::decay_t<A>> || std::is_null_pointer_v<T>;
  return false;
}

// The argument as the exact type the printer reads for its conversion.
template <ArgKind K, class A> auto pass(A&& a) {
  if constexpr (K == ArgKind::I32)
    return static_cast<int32>(a);
  else if constexpr (K == ArgKind::I64)
    return static_cast<int64>(a);
  else if constexpr (K == ArgKind::U32)
    return static_cast<uint32>(a);
  else if constexpr (K == ArgKind::U64)
    return static_cast<uint64>(a);
  else if constexpr (K == ArgKind::Dbl)
    return static_cast<double>(a);
  else if constexpr (K == ArgKind::Str)
    return static_cast<const char*>(a);
  else if constexpr (K == ArgKind::WStr) {
    if constexpr (std::is_convertible_v<A, const uint16_t*>)
      return static_cast<const uint16_t*>(a);
    else
      return reinterpret_cast<const uint16_t*>(static_cast<const char16_t*>(a));
  } else
    return static_cast<const void*>(a);
}

constexpr bool has_reporter(TVArescode code) {
  return rescode_index(code) >= 0 && code != TVA_RES_OK && code < 10000 &&
         code != TVA_RES_ERR_NULL_ENV && code != TVA_RES_ERR_NULL_TASK &&
         code != TVA_RES_ERR_INVALID_TASK && !(code >= 7000 && code <= 7019);
}

template <TVArescode Code> struct Reporter {
  static constexpr TemplateSig sig = parse_template(rescode_report_text(Code));

  template <class... A, size_t... I> static constexpr bool all_accepted(std::index_sequence<I...>) {
    return (accepts<A, sig.kinds[I]>() && ...);
  }

  template <class... A, size_t... I>
  static TVArescode call(TvaTask* task, const char* file, int line, std::index_sequence<I...>,
                         A&&... a) {
    return report_code(task, file, line, Code, pass<sig.kinds[I]>(std::forward<A>(a))...);
  }

  template <class... A>
  static TVArescode report(TvaTask* task, const char* file, int line, A&&... a) {
    static_assert(has_reporter(Code), "TVA_REP: this response code has no reporter; return it");
    static_assert(sizeof...(A) == static_cast<size_t>(sig.count),
                  "TVA_REP: the number of arguments differs from the code's template");
    if constexpr (sizeof...(A) == static_cast<size_t>(sig.count)) {
      static_assert(all_accepted<A...>(std::index_sequence_for<A...>{}),
                    "TVA_REP: an argument's type does not match its conversion in the template");
      return call(task, file, line, std::index_sequence_for<A...>{}, std::forward<A>(a)...);
    } else {
      return Code;
    }
  }
};

} // namespace report_detail

} // namespace telva

// Width, justification and precision for a %{wjp}e value in a message: no padding,
// right-justified, six digits after the point.
#define TVA_WJP_VALUE 0, 2, 6

#define TVA_REP(task, NAME, ...)                                                                   \
  ::telva::report_detail::Reporter<TVA_RES_##NAME>::report((task), __FILE__,                       \
                                                           __LINE__ __VA_OPT__(, ) __VA_ARGS__)
