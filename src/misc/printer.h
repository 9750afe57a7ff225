// The format engine of the library: formats text straight into a stream. Its format language
// is its own, not the C library's:
//
//   %%            a percent sign
//   %{...}X       options for the conversion X; each letter takes one int32 argument, in the
//                 order of the letters, except '+' and '/', which take none:
//                   w width (negative: left-justified, like the C library)
//                   j justification: 0 left, 1 centre (left pad gets the smaller half), 2 right
//                   p precision: digits after the point for e and f, significant digits for
//                     g, minimum digits for integers, maximum characters for strings
//                   f number base: 0 decimal, 1 hexadecimal, 2 octal, 3 binary
//                   g fill character of the left side, G of the right side (16-bit)
//                   + always a sign   / keep trailing zeros of e, f and g
//
// Conversions and the argument type each takes:
//   %i %d        int32              %u %U %I     uint32
//   %l %I64d     int64              %L %I64u     uint64
//   %e %f %g     double (exponent, fixed, general form; without a precision the shortest
//                digits that read back to the same value)
//   %p           pointer            %s           UTF-8 string, null prints "(nil)"
//   %ws          16-bit string, converted to UTF-8
//
// Numbers are right-justified and strings left-justified unless j says otherwise. A format
// gives 0 at success, -1 when the stream failed, -2 for an error in the format string (what
// was output before it stays).
#pragma once

#include <cstdarg>

#include "misc/dtoaenv.h"
#include "misc/stream.h"

namespace telva {

struct printer {
  stream* s = nullptr;
  sysenv* sys = nullptr;
  dtoaenv* dtoa = nullptr; // null: a conversion makes a context of its own on the stack
  int32 line_flush = 0;    // bit 0: flush the stream after each newline
  int32 flags = 0;         // options of the conversion at hand
  uint16_t fill_left = ' ';
  uint16_t fill_right = ' ';
  int32 width = 0;
  int32 justify = -1; // -1: the conversion's default
  int32 precision = -1;
  int32 use_exponent = 0;
  int32 base = 10;
};

enum PrinterFlag : int32 {
  kPrintSign = 1,      // '+'
  kPrintKeepZeros = 2, // '/'
};

void printer_init(printer* pr, stream* s, sysenv* sys, dtoaenv* dtoa, int32 line_flush);

int32 printer_format(printer* pr, const char* fmt, ...);
int32 printer_vformat(printer* pr, const char* fmt, va_list ap);
// Puts text as it stands, with the flush after a newline when line_flush is on.
int32 printer_puts(printer* pr, const char* text);
int32 printer_write(printer* pr, const char* text, size_t n);

} // namespace telva
