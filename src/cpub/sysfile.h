// Files through the sysenv: plain or gzip-compressed, buffered, with line reading. All
// failures come back as sysenv statuses (SysStatus), which the caller maps to response codes.
#pragma once

#include <cstdio>

#include "cpub/sysenv.h"

namespace telva {

enum SysFileMode : int32 { kFileRead = 0, kFileWrite = 1, kFileAppend = 2 };

// Compressed files are written at the strongest level.
constexpr const char* kGzipWriteMode = "wb9";
constexpr const char* kGzipAppendMode = "ab9";

struct sysfile;

// Opens name for reading, writing (truncating) or appending. With compressed set the data go
// through zlib: written as gzip, read as gzip (a plain file is read through unchanged).
// kSysInvalidFileName for a null or empty name, kSysFileOpen when the system refuses,
// kSysSpace when the buffers can't be had.
int sysfile_open(sysenv* sys, sysfile** out, const char* name, int32 mode, int compressed);

// Writes what is buffered and closes; *file becomes null (null is allowed). kSysFileWrite when
// buffered data couldn't be written or the compressed stream couldn't be finished.
int sysfile_close(sysfile** file);

// Reads up to n bytes; *got tells how many came (fewer only at the end of the file).
// kSysEndOfFile when n > 0 and nothing was left, kSysFileRead on a read error.
int sysfile_read(sysfile* file, void* dst, int64 n, int64* got);

// Writes n bytes (buffered). kSysFileWrite on failure or on a file opened for reading.
int sysfile_write(sysfile* file, const void* src, int64 n);

// Moves the position (whence: SEEK_SET, SEEK_CUR, SEEK_END). A compressed file can't seek from
// its end, and one being written only forward. kSysFileRead or kSysFileWrite on failure,
// after the mode of the file.
int sysfile_seek(sysfile* file, int64 offset, int whence);

// Size of the file on disk in bytes (for a compressed file the compressed size), with
// buffered writes counted on a plain file.
int sysfile_size(sysfile* file, int64* size);

// Reads the next line, without its end ("\n" or "\r\n"). *line stays valid until the next
// call on the file; *len is its length. A last line without an end is still a line.
// kSysEndOfFile when no line is left, kSysFileRead on a read error, kSysSpace when a long line
// can't be held.
int sysfile_readline(sysfile* file, const char** line, int64* len);

// Whether a file of that name exists.
bool sysfile_exists(const char* name);

// Removes the file. kSysInvalidFileName for a null or empty name, kSysFileOpen when the system
// refuses (no such file, no permission).
int sysfile_remove(const char* name);

} // namespace telva
