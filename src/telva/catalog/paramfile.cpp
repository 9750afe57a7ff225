// Parameter files ("BEGIN TELVA" ... "END TELVA", one parameter a line as a name and a value)
// and the printed table of all parameters.
#include <cstdio>
#include <cstring>

#include "telva/catalog/params.h"
#include "telva/log/report.h"

namespace telva {

namespace {

constexpr int32 kLineLen = 1024;

bool logging_files(const TvaTask* task) {
  return task->iparam[TVA_IPAR_LOG] != 0 && task->iparam[TVA_IPAR_LOG_FILE] != 0;
}

const char* str_or_empty(const char* s) {
  return s ? s : "";
}

bool is_blank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// The comment character: the first character of TVA_SPAR_PARAM_COMMENT_SIGN with blanks
// stripped; '%' when that is empty.
char comment_char(const TvaTask* task) {
  const char* s = str_or_empty(task->sparam[TVA_SPAR_PARAM_COMMENT_SIGN]);
  while (is_blank(*s))
    ++s;
  return *s ? *s : '%';
}

// Reads one line of at most kLineLen characters into `line` (without its newline); the rest
// of a longer line is dropped. False at the end of the file.
bool read_line(std::FILE* f, char (&line)[kLineLen + 1]) {
  if (!std::fgets(line, sizeof line, f)) return false;
  size_t n = std::strlen(line);
  if (n > 0 && line[n - 1] == '\n') {
    line[--n] = '\0';
  } else {
    int c;
    while ((c = std::fgetc(f)) != EOF && c != '\n') {
    }
  }
  if (n > 0 && line[n - 1] == '\r') line[--n] = '\0';
  return true;
}

// Cuts the next token from `p`: a run of non-blanks, or a double-quoted string (with \" inside)
// kept with its quotes, so that a quoted string value may hold blanks and the comment
// character. The comment character outside quotes ends the line. Null when the line is done.
char* next_token(char** p, char comment) {
  char* s = *p;
  while (is_blank(*s))
    ++s;
  if (!*s || *s == comment) {
    *p = s;
    return nullptr;
  }
  char* start = s;
  if (*s == '"') {
    ++s;
    while (*s && *s != '"')
      s += (s[0] == '\\' && s[1] == '"') ? 2 : 1;
    if (*s == '"') ++s;
  } else {
    while (*s && !is_blank(*s) && *s != comment)
      ++s;
  }
  if (*s == comment) {
    *s = '\0';
    *p = s; // points at the terminator: the line ends here
  } else if (*s) {
    *s = '\0';
    *p = s + 1;
  } else {
    *p = s;
  }
  return start;
}

// Applies one "name value" line. Unknown names give 1205; values go through the text parsing
// of TVA_putparam.
TVArescode apply_line(TvaTask* task, char* line, char comment) {
  char* p = line;
  char* name = next_token(&p, comment);
  if (!name) return TVA_RES_OK;
  char* value = next_token(&p, comment);
  if (!value) value = const_cast<char*>("");
  if (task->iparam[TVA_IPAR_PARAM_READ_CASE_NAME] == 0)
    for (char* c = name; *c; ++c)
      if (*c >= 'a' && *c <= 'z') *c = static_cast<char>(*c - 'a' + 'A');
  int32 index = -1;
  int32 type = param_which(task->env, name, &index);
  if (type == TVA_PAR_INVALID_TYPE) return TVA_REP(task, ERR_PARAM_NAME, name);
  return param_put_text(task, type, index, value);
}

// A string value is written bare unless reading it back needs quotes: blanks, a leading
// quote, or a comment character (the task's own, or the default '%' of a task that may read
// the file).
bool needs_quotes(const char* s, char comment) {
  if (*s == '"') return true;
  for (; *s; ++s)
    if (is_blank(*s) || *s == comment || *s == '%') return true;
  return false;
}

void write_string_value(std::FILE* f, const char* s, char comment) {
  if (!needs_quotes(s, comment)) {
    std::fprintf(f, "%-s", s);
    return;
  }
  std::fputc('"', f);
  for (; *s; ++s) {
    if (*s == '"') std::fputc('\\', f);
    std::fputc(*s, f);
  }
  std::fputc('"', f);
}

} // namespace

} // namespace telva

using namespace telva;

extern "C" {

TVAAPI TVArescode TVA_printparam(TVAtask_t task) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  const ParamCatalogue& cat = task->env->catalogue;
  StreamBlock* sb = &task->streams;
  streamblock_printf(sb, TVA_STREAM_MSG, "Integer parameters\n");
  for (int32 i = 0; i < kNumIpar; ++i) {
    if (!param_int_assigned(task->env, i)) continue;
    const int32 kind = cat.ipar_kind[i];
    streamblock_printf(sb, TVA_STREAM_MSG, "%-3d %-48s: %-18d", i, cat.ipar_names[i],
                       task->iparam[i]);
    if (kind == kLimitMin || kind == kLimitBoth)
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18d", cat.ipar_min[i]);
    else
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18s", "NONE");
    if (kind == kLimitMax || kind == kLimitBoth)
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18d", cat.ipar_max[i]);
    else
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18s", "NONE");
    streamblock_printf(sb, TVA_STREAM_MSG, "\n");
  }
  streamblock_printf(sb, TVA_STREAM_MSG, "\nDouble parameters\n");
  for (int32 i = 0; i < kNumDpar; ++i) {
    const int32 kind = cat.dpar_kind[i];
    streamblock_printf(sb, TVA_STREAM_MSG, "%-3d %-48s: %-18.8e", i, cat.dpar_names[i],
                       task->dparam[i]);
    if (kind == kLimitMin || kind == kLimitBoth)
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18.8e", cat.dpar_min[i]);
    else
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18s", "NONE");
    if (kind == kLimitMax || kind == kLimitBoth)
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18.8e", cat.dpar_max[i]);
    else
      streamblock_printf(sb, TVA_STREAM_MSG, "   %-18s", "NONE");
    streamblock_printf(sb, TVA_STREAM_MSG, "\n");
  }
  streamblock_printf(sb, TVA_STREAM_MSG, "\nString parameters\n");
  for (int32 i = 0; i < kNumSpar; ++i)
    streamblock_printf(sb, TVA_STREAM_MSG, "%-3d %-48s: %-s\n", i, cat.spar_names[i],
                       str_or_empty(task->sparam[i]));
  return TVA_RES_OK;
}

TVAAPI TVArescode TVA_readparamfile(TVAtask_t task, const char* filename) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!filename || !*filename) filename = str_or_empty(task->sparam[TVA_SPAR_PARAM_READ_FILE_NAME]);
  if (!*filename) return TVA_REP(task, WRN_OPEN_PARAM_FILE, "");
  // The name may be one of the task's own strings, which a line of the file can replace:
  // it is not used after the file is open.
  const char* path = filename;

  const char comment = comment_char(task);
  const bool log = logging_files(task);
  const double start = sysenv_seconds(task->sys);
  StreamBlock* sb = &task->streams;
  if (log) streamblock_printf(sb, TVA_STREAM_MSG, "Reading %s file - %s\n", "parameter", path);

  std::FILE* f = std::fopen(path, "r");
  if (!f) return TVA_REP(task, WRN_OPEN_PARAM_FILE, path);

  char line[kLineLen + 1];
  bool begun = false;
  while (!begun && read_line(f, line))
    begun = std::strncmp(line, "BEGIN TELVA", 11) == 0;
  if (!begun) {
    if (log) streamblock_printf(sb, TVA_STREAM_MSG, "No parameters found\n");
  } else {
    char copy[kLineLen + 1];
    while (read_line(f, line)) {
      if (std::strncmp(line, "END TELVA", 9) == 0) break;
      std::memcpy(copy, line, sizeof copy);
      TVArescode lr = apply_line(task, line, comment);
      if (lr == TVA_RES_OK) continue;
      streamblock_printf(sb, TVA_STREAM_ERR, "The error occurred in line:\n");
      streamblock_printf(sb, TVA_STREAM_ERR, "%s\n", copy);
      // The parameter refreshed by the line may have switched error tolerance off or on.
      if (task->iparam[TVA_IPAR_PARAM_READ_IGN_ERROR] == 0) {
        r = lr;
        break;
      }
    }
  }
  std::fclose(f);
  if (log)
    streamblock_printf(sb, TVA_STREAM_MSG, "done reading. Time: %.2f\n\n",
                       sysenv_seconds(task->sys) - start);
  return r;
}

TVAAPI TVArescode TVA_writeparamfile(TVAtask_t task, const char* filename) {
  TVArescode r = task_check(task);
  if (r != TVA_RES_OK) return r;
  if (!filename || !*filename)
    filename = str_or_empty(task->sparam[TVA_SPAR_PARAM_WRITE_FILE_NAME]);
  if (!*filename) return TVA_REP(task, ERR_INVALID_FILE_NAME, "");

  const bool log = logging_files(task);
  const double start = sysenv_seconds(task->sys);
  StreamBlock* sb = &task->streams;
  if (log) streamblock_printf(sb, TVA_STREAM_MSG, "Writing %s file:  %s\n", "parameter", filename);

  std::FILE* f = std::fopen(filename, "w");
  if (!f) return TVA_REP(task, ERR_FILE_OPEN, filename);
  const ParamCatalogue& cat = task->env->catalogue;
  const char comment = comment_char(task);
  std::fprintf(f, "BEGIN TELVA\n\n");
  for (int32 i = 0; i < kNumIpar; ++i)
    if (param_int_assigned(task->env, i))
      std::fprintf(f, "%-48s %-18d\n", cat.ipar_names[i], task->iparam[i]);
  std::fprintf(f, "\n");
  // 17 significant digits: every double reads back to the very same value.
  for (int32 i = 0; i < kNumDpar; ++i)
    std::fprintf(f, "%-48s %-24.16e\n", cat.dpar_names[i], task->dparam[i]);
  std::fprintf(f, "\n");
  for (int32 i = 0; i < kNumSpar; ++i) {
    std::fprintf(f, "%-48s ", cat.spar_names[i]);
    write_string_value(f, str_or_empty(task->sparam[i]), comment);
    std::fprintf(f, "\n");
  }
  std::fprintf(f, "\nEND TELVA\n");
  const bool failed = std::ferror(f) != 0;
  if (std::fclose(f) != 0 || failed) return TVA_REP(task, ERR_FILE_WRITE, filename);
  if (log)
    streamblock_printf(sb, TVA_STREAM_MSG, "done writing. Time: %.2f\n\n",
                       sysenv_seconds(task->sys) - start);
  return TVA_RES_OK;
}

} // extern "C"
