#include "cpub/sysfile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace telva {

namespace {

// Every open file carries a 1 MiB buffer: problem files are read and written in few large
// system calls, and a gzip stream gets large blocks to compress.
constexpr int64 kBufferSize = 0x100000;
constexpr int64 kFirstLineSize = 256;

} // namespace

struct sysfile {
  sysenv* sys = nullptr;
  int fd = -1;
  gzFile gz = nullptr;
  int32 mode = kFileRead;
  // Reading: bytes [pos, len) of buf are not yet consumed. Writing: bytes [0, len) wait.
  char* buf = nullptr;
  int64 pos = 0;
  int64 len = 0;
  bool at_end = false;
  char* line = nullptr;
  int64 line_cap = 0;
};

namespace {

// Reads up to n bytes from the file's source; the count, 0 at the end, -1 on an error.
int64 raw_read(sysfile* f, char* dst, int64 n) {
  if (n > (1 << 30)) n = 1 << 30; // zlib counts in unsigned int
  if (f->gz) {
    int got = gzread(f->gz, dst, static_cast<unsigned>(n));
    if (got < 0) return -1;
    if (got < n) {
      // A short read is the end of the data, or a stream cut off before its end, which zlib
      // tells only through its error state.
      int err = Z_OK;
      gzerror(f->gz, &err);
      if (err != Z_OK && err != Z_STREAM_END) return -1;
    }
    return got;
  }
  for (;;) {
    ssize_t got = ::read(f->fd, dst, static_cast<size_t>(n));
    if (got < 0 && errno == EINTR) continue;
    return got;
  }
}

// Writes all n bytes; false on any failure.
bool raw_write(sysfile* f, const char* src, int64 n) {
  while (n > 0) {
    int64 piece = n < (1 << 30) ? n : (1 << 30);
    int64 done;
    if (f->gz) {
      done = gzwrite(f->gz, src, static_cast<unsigned>(piece));
      if (done <= 0) return false;
    } else {
      ssize_t w = ::write(f->fd, src, static_cast<size_t>(piece));
      if (w < 0 && errno == EINTR) continue;
      if (w <= 0) return false;
      done = w;
    }
    src += done;
    n -= done;
  }
  return true;
}

int flush_writes(sysfile* f) {
  if (f->mode == kFileRead || f->len == 0) return kSysOk;
  bool ok = raw_write(f, f->buf, f->len);
  f->len = 0;
  return ok ? kSysOk : kSysFileWrite;
}

// Refills the read buffer after the unconsumed bytes. Gives the bytes added, 0 at the end of
// the file, -1 on a read error.
int64 sysenv_fillbuffer(sysfile* f) {
  TVA_ASSERT(f->sys, f->mode == kFileRead && "sysenv_fillbuffer on a file being written");
  if (f->at_end) return 0;
  if (f->pos > 0) {
    std::memmove(f->buf, f->buf + f->pos, static_cast<size_t>(f->len - f->pos));
    f->len -= f->pos;
    f->pos = 0;
  }
  int64 got = raw_read(f, f->buf + f->len, kBufferSize - f->len);
  if (got == 0) f->at_end = true;
  if (got > 0) f->len += got;
  return got;
}

// Makes room for need bytes (and a terminator) in the line buffer.
bool grow_line(sysfile* f, int64 need) {
  if (need + 1 <= f->line_cap) return true;
  int64 cap = f->line_cap > 0 ? f->line_cap : kFirstLineSize;
  while (cap < need + 1)
    cap *= 2;
  void* p = sysenv_realloc(f->sys, TVA_HERE, f->line, static_cast<size_t>(cap), 1);
  if (!p) return false;
  f->line = static_cast<char*>(p);
  f->line_cap = cap;
  return true;
}

void free_file(sysfile* f) {
  sysenv* sys = f->sys;
  TVA_SYS_FREE(sys, f->buf);
  TVA_SYS_FREE(sys, f->line);
  f->~sysfile();
  TVA_SYS_FREE(sys, f);
}

} // namespace

int sysfile_open(sysenv* sys, sysfile** out, const char* name, int32 mode, int compressed) {
  *out = nullptr;
  if (!name || !*name) return kSysInvalidFileName;
  if (mode != kFileRead && mode != kFileWrite && mode != kFileAppend) return kSysInternal6;
  void* raw = sysenv_calloc(sys, TVA_HERE, 1, sizeof(sysfile));
  if (!raw) return kSysSpace;
  sysfile* f = new (raw) sysfile;
  f->sys = sys;
  f->mode = mode;
  f->buf = static_cast<char*>(sysenv_malloc(sys, TVA_HERE, kBufferSize, 1));
  if (!f->buf) {
    free_file(f);
    return kSysSpace;
  }
  int flags = O_CLOEXEC;
  if (mode == kFileRead) flags |= O_RDONLY;
  if (mode == kFileWrite) flags |= O_WRONLY | O_CREAT | O_TRUNC;
  if (mode == kFileAppend) flags |= O_WRONLY | O_CREAT | O_APPEND;
  f->fd = ::open(name, flags, 0666);
  if (f->fd < 0) {
    free_file(f);
    return kSysFileOpen;
  }
  if (compressed) {
    const char* gzmode = mode == kFileRead    ? "rb"
                         : mode == kFileWrite ? kGzipWriteMode
                                              : kGzipAppendMode;
    f->gz = gzdopen(f->fd, gzmode);
    if (!f->gz) {
      ::close(f->fd);
      free_file(f);
      return kSysFileOpen;
    }
  }
  *out = f;
  return kSysOk;
}

int sysfile_close(sysfile** pfile) {
  if (!pfile || !*pfile) return kSysOk;
  sysfile* f = *pfile;
  *pfile = nullptr;
  int st = flush_writes(f);
  if (f->gz) {
    int rc = gzclose(f->gz); // closes the descriptor too
    if (rc != Z_OK && st == kSysOk) st = f->mode == kFileRead ? kSysFileRead : kSysFileWrite;
  } else if (::close(f->fd) != 0 && st == kSysOk && f->mode != kFileRead) {
    st = kSysFileWrite;
  }
  free_file(f);
  return st;
}

int sysfile_read(sysfile* f, void* dst, int64 n, int64* got) {
  *got = 0;
  if (f->mode != kFileRead) return kSysFileRead;
  if (n <= 0) return kSysOk;
  char* out = static_cast<char*>(dst);
  int64 done = 0;
  // What the line reader buffered comes first.
  int64 have = f->len - f->pos;
  if (have > 0) {
    int64 take = have < n ? have : n;
    std::memcpy(out, f->buf + f->pos, static_cast<size_t>(take));
    f->pos += take;
    done = take;
  }
  while (done < n && !f->at_end) {
    int64 r = raw_read(f, out + done, n - done);
    if (r < 0) {
      *got = done;
      return kSysFileRead;
    }
    if (r == 0) f->at_end = true;
    done += r;
  }
  *got = done;
  return done == 0 ? kSysEndOfFile : kSysOk;
}

int sysfile_write(sysfile* f, const void* src, int64 n) {
  if (f->mode == kFileRead) return kSysFileWrite;
  if (n <= 0) return kSysOk;
  const char* in = static_cast<const char*>(src);
  if (f->len + n > kBufferSize) {
    if (flush_writes(f) != kSysOk) return kSysFileWrite;
    if (n >= kBufferSize) return raw_write(f, in, n) ? kSysOk : kSysFileWrite;
  }
  std::memcpy(f->buf + f->len, in, static_cast<size_t>(n));
  f->len += n;
  return kSysOk;
}

int sysfile_seek(sysfile* f, int64 offset, int whence) {
  int fail = f->mode == kFileRead ? kSysFileRead : kSysFileWrite;
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return fail;
  if (f->mode == kFileRead) {
    // The source is ahead of the reader by the unconsumed bytes.
    if (whence == SEEK_CUR) offset -= f->len - f->pos;
    f->pos = f->len = 0;
    f->at_end = false;
  } else if (flush_writes(f) != kSysOk) {
    return kSysFileWrite;
  }
  if (f->gz) {
    if (whence == SEEK_END) return fail;
    return gzseek(f->gz, static_cast<z_off_t>(offset), whence) < 0 ? fail : kSysOk;
  }
  return ::lseek(f->fd, static_cast<off_t>(offset), whence) < 0 ? fail : kSysOk;
}

int sysfile_size(sysfile* f, int64* size) {
  *size = 0;
  if (!f->gz && flush_writes(f) != kSysOk) return kSysFileWrite;
  struct stat st;
  if (::fstat(f->fd, &st) != 0) return f->mode == kFileRead ? kSysFileRead : kSysFileWrite;
  *size = static_cast<int64>(st.st_size);
  return kSysOk;
}

int sysfile_readline(sysfile* f, const char** line, int64* len) {
  *line = nullptr;
  *len = 0;
  if (f->mode != kFileRead) return kSysFileRead;
  int64 n = 0;
  bool any = false;
  for (;;) {
    char* start = f->buf + f->pos;
    int64 avail = f->len - f->pos;
    char* nl = avail > 0 ? static_cast<char*>(std::memchr(start, '\n', static_cast<size_t>(avail)))
                         : nullptr;
    int64 take = nl ? (nl - start) : avail;
    if (take > 0 || nl) {
      any = true;
      if (!grow_line(f, n + take)) return kSysSpace;
      std::memcpy(f->line + n, start, static_cast<size_t>(take));
      n += take;
      f->pos += take;
    }
    if (nl) {
      ++f->pos; // the '\n'
      break;
    }
    int64 got = sysenv_fillbuffer(f);
    if (got < 0) return kSysFileRead;
    if (got == 0) {
      if (!any) return kSysEndOfFile;
      break;
    }
  }
  if (!grow_line(f, n)) return kSysSpace;
  if (n > 0 && f->line[n - 1] == '\r') --n;
  f->line[n] = '\0';
  *line = f->line;
  *len = n;
  return kSysOk;
}

bool sysfile_exists(const char* name) {
  struct stat st;
  return name && *name && ::stat(name, &st) == 0;
}

int sysfile_remove(const char* name) {
  if (!name || !*name) return kSysInvalidFileName;
  return ::unlink(name) == 0 ? kSysOk : kSysFileOpen;
}

} // namespace telva
