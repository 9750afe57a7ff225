#include "telva/log/streamblock.h"

#include <cstring>
#include <ctime>
#include <zlib.h>

namespace telva {

namespace {

bool valid_stream(int32 which) {
  return which >= 0 && which < 4;
}

bool has_gz_extension(const char* name) {
  size_t n = std::strlen(name);
  if (n < 3) return false;
  const char* ext = name + n - 3;
  return ext[0] == '.' && (ext[1] == 'g' || ext[1] == 'G') && (ext[2] == 'z' || ext[2] == 'Z');
}

size_t file_write(StreamFile& f, const char* text, size_t length) {
  if (f.plain) {
    size_t put = std::fwrite(text, 1, length, f.plain);
    if (std::fflush(f.plain) != 0 || put != length) return 0;
    return length;
  }
  gzFile gz = static_cast<gzFile>(f.gz);
  if (length > 0 && gzwrite(gz, text, static_cast<unsigned>(length)) <= 0) return 0;
  if (gzflush(gz, Z_SYNC_FLUSH) != Z_OK) return 0;
  return length;
}

void file_close(StreamFile& f) {
  if (f.plain) std::fclose(f.plain);
  if (f.gz) gzclose(static_cast<gzFile>(f.gz));
  f.plain = nullptr;
  f.gz = nullptr;
}

bool file_open(StreamFile& f, const char* name, bool append) {
  if (has_gz_extension(name)) {
    f.gz = gzopen(name, append ? "ab9" : "wb9");
    return f.gz != nullptr;
  }
  f.plain = std::fopen(name, append ? "a" : "w");
  return f.plain != nullptr;
}

void file_puts(StreamFile& f, const char* text) {
  file_write(f, text, std::strlen(text));
}

// The local time in the C library's asctime form, without its newline.
void time_text(char* out, size_t cap) {
  std::time_t now = std::time(nullptr);
  std::tm local;
  localtime_r(&now, &local);
  char buf[64];
  asctime_r(&local, buf);
  size_t n = std::strlen(buf);
  if (n > 0 && buf[n - 1] == '\n') buf[n - 1] = '\0';
  std::snprintf(out, cap, "%s", buf);
}

// The sink of a record: the file first, then the function in pieces that never split a
// UTF-8 sequence. A failed file write takes nothing, which marks the stream failed.
size_t record_sink(void* handle, const char* text, size_t length) {
  StreamRecord* r = static_cast<StreamRecord*>(handle);
  if (r->file.open() && file_write(r->file, text, length) != length) return 0;
  if (r->func) {
    char chunk[kStreamFuncChunk + 1];
    size_t done = 0;
    while (done < length) {
      size_t take = length - done;
      if (take > kStreamFuncChunk) {
        take = kStreamFuncChunk;
        // Back off to the start of a sequence cut by the limit.
        size_t cut = take;
        while (cut > 0 && (static_cast<unsigned char>(text[done + cut]) & 0xc0) == 0x80)
          --cut;
        if (cut > 0) take = cut;
      }
      std::memcpy(chunk, text + done, take);
      chunk[take] = '\0';
      r->func(r->handle, chunk);
      done += take;
    }
  }
  return length;
}

bool record_has_output(const StreamRecord& r) {
  return r.file.open() || r.func;
}

// Runs work on one record under its lock when the block uses locks.
template <class Work> TVArescode locked(StreamBlock* sb, StreamRecord& r, Work work) {
  bool lock = sb->use_locks && r.lock_made;
  if (lock && sysmutex_lock(&r.lock) != 0) return TVA_RES_ERR_THREAD_MUTEX_LOCK;
  work();
  if (lock && sysmutex_unlock(&r.lock) != 0) return TVA_RES_ERR_THREAD_MUTEX_UNLOCK;
  return TVA_RES_OK;
}

// Puts the text on the stream and, for streams 1 to 3, on the log stream.
template <class Put> TVArescode put_on_streams(StreamBlock* sb, int32 which, Put put) {
  if (!sb->sys || !valid_stream(which)) return TVA_RES_OK;
  TVArescode r = TVA_RES_OK;
  StreamRecord& rec = sb->rec[which];
  if (record_has_output(rec)) r = locked(sb, rec, [&] { put(&rec.pr); });
  if (r == TVA_RES_OK && which != TVA_STREAM_LOG) {
    StreamRecord& log = sb->rec[TVA_STREAM_LOG];
    if (record_has_output(log)) r = locked(sb, log, [&] { put(&log.pr); });
  }
  return r;
}

} // namespace

TVArescode streamblock_init(StreamBlock* sb, sysenv* sys, const char* banner) {
  sb->sys = sys;
  std::snprintf(sb->banner, sizeof sb->banner, "%s", banner ? banner : "");
  TVArescode r = TVA_RES_OK;
  for (StreamRecord& rec : sb->rec) {
    if (sysmutex_init(&rec.lock) != 0) {
      r = TVA_RES_ERR_THREAD_MUTEX_INIT;
      break;
    }
    rec.lock_made = true;
    rec.s = stream_make(sys, kStreamRecordBuffer, &rec, nullptr, record_sink);
    if (!rec.s) {
      r = TVA_RES_ERR_SPACE;
      break;
    }
    // Doubles printed on streams convert in a context of their own, since two threads may
    // print on the streams of one task.
    printer_init(&rec.pr, rec.s, sys, nullptr, 1);
  }
  if (r != TVA_RES_OK) {
    streamblock_teardown(sb);
    return r;
  }
  sb->use_locks = true;
  return TVA_RES_OK;
}

void streamblock_teardown(StreamBlock* sb) {
  if (!sb->sys) return;
  sb->use_locks = false;
  streamblock_flush_all(sb);
  streamblock_unlink_files(sb);
  for (StreamRecord& rec : sb->rec) {
    stream_delete(&rec.s);
    if (rec.lock_made) sysmutex_destroy(&rec.lock);
    rec.lock_made = false;
    rec.func = nullptr;
    rec.handle = nullptr;
  }
  sb->sys = nullptr;
}

bool streamblock_has_output(const StreamBlock* sb, int32 which) {
  if (!sb->sys || !valid_stream(which)) return false;
  return record_has_output(sb->rec[which]) || record_has_output(sb->rec[TVA_STREAM_LOG]);
}

TVArescode streamblock_write(StreamBlock* sb, int32 which, const char* text) {
  if (!text) return TVA_RES_OK;
  return put_on_streams(sb, which, [&](printer* pr) { printer_puts(pr, text); });
}

TVArescode streamblock_vprintf(StreamBlock* sb, int32 which, const char* fmt, va_list ap) {
  if (!streamblock_has_output(sb, which)) return TVA_RES_OK;
  char local[4096];
  va_list copy;
  va_copy(copy, ap);
  int n = std::vsnprintf(local, sizeof local, fmt, copy);
  va_end(copy);
  if (n < 0) return TVA_RES_OK;
  if (static_cast<size_t>(n) < sizeof local) return streamblock_write(sb, which, local);
  char* big = TVA_SYS_ALLOC(sb->sys, char, static_cast<size_t>(n) + 1);
  if (!big) return streamblock_write(sb, which, local); // the part that fitted
  va_copy(copy, ap);
  std::vsnprintf(big, static_cast<size_t>(n) + 1, fmt, copy);
  va_end(copy);
  TVArescode r = streamblock_write(sb, which, big);
  TVA_SYS_FREE(sb->sys, big);
  return r;
}

TVArescode streamblock_printf(StreamBlock* sb, int32 which, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  TVArescode r = streamblock_vprintf(sb, which, fmt, ap);
  va_end(ap);
  return r;
}

TVArescode streamblock_vformat(StreamBlock* sb, int32 which, const char* fmt, va_list ap) {
  return put_on_streams(sb, which, [&](printer* pr) {
    va_list copy;
    va_copy(copy, ap);
    printer_vformat(pr, fmt, copy);
    va_end(copy);
  });
}

TVArescode streamblock_format(StreamBlock* sb, int32 which, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  TVArescode r = streamblock_vformat(sb, which, fmt, ap);
  va_end(ap);
  return r;
}

void streamblock_flush(StreamBlock* sb, int32 which) {
  if (!sb->sys || !valid_stream(which)) return;
  StreamRecord& rec = sb->rec[which];
  if (rec.s) locked(sb, rec, [&] { stream_flush(rec.s); });
}

void streamblock_flush_all(StreamBlock* sb) {
  for (int32 i = 0; i < 4; ++i)
    streamblock_flush(sb, i);
}

void streamblock_unlink_files(StreamBlock* sb) {
  for (StreamRecord& rec : sb->rec) {
    if (rec.s) stream_flush(rec.s);
    file_close(rec.file);
  }
}

TVArescode streamblock_link_file(StreamBlock* sb, int32 which, const char* filename, int32 append) {
  if (!valid_stream(which)) return TVA_RES_ERR_INVALID_STREAM;
  StreamFile opened;
  if (filename && !file_open(opened, filename, append != 0)) return TVA_RES_ERR_FILE_OPEN;
  StreamRecord& rec = sb->rec[which];
  char now[64];
  time_text(now, sizeof now);
  return locked(sb, rec, [&] {
    if (rec.file.open()) {
      stream_flush(rec.s); // what was written before belongs to the old file
      if (!append) {
        char line[128];
        std::snprintf(line, sizeof line, "\nFile closed: %s\n", now);
        file_puts(rec.file, line);
      }
      file_close(rec.file);
    }
    if (opened.open()) {
      rec.file = opened;
      rec.s->failed = 0; // a new file gives the stream a fresh start
      char line[1200];
      int n = std::snprintf(line, sizeof line,
                            append ? "\nFile reopened at %s" : "\nFile opened at %s", now);
      if (sb->banner[0] && n > 0)
        n += std::snprintf(line + n, sizeof line - static_cast<size_t>(n), " by %s", sb->banner);
      if (n > 0 && static_cast<size_t>(n) < sizeof line - 2) std::strcat(line, ".\n");
      file_puts(rec.file, line);
    }
  });
}

TVArescode streamblock_link_func(StreamBlock* sb, int32 which, void* handle, StreamFunc func) {
  if (!valid_stream(which)) return TVA_RES_ERR_INVALID_STREAM;
  StreamRecord& rec = sb->rec[which];
  return locked(sb, rec, [&] {
    if (rec.func) stream_flush(rec.s);
    rec.func = func;
    rec.handle = handle;
    if (func) rec.s->failed = 0;
  });
}

} // namespace telva
