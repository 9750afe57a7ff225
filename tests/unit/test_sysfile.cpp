// Files through the sysenv: plain and gzip round trips, line reading, seeks, statuses.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>
#include <unistd.h>

#include "cpub/sysfile.h"

namespace {

using namespace telva;

class SysFile : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(sysenv_create(&sys_, 0, memman_default_hooks(), nullptr, nullptr), kSysOk);
    std::string tmpl = ::testing::TempDir() + "telva_sysfile_XXXXXX";
    ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
    dir_ = tmpl;
    int64 max = 0;
    memman_usage(sys_->mm, &base_use_, &max); // the sysenv's own record
  }
  void TearDown() override {
    for (const std::string& f : made_)
      std::remove(f.c_str());
    rmdir(dir_.c_str());
    // Every buffer of every file went back to the sysenv.
    int64 cur = -1, max = -1;
    memman_usage(sys_->mm, &cur, &max);
    EXPECT_EQ(cur, base_use_);
    EXPECT_EQ(sysenv_delete(&sys_), kSysOk);
  }
  std::string path(const char* name) {
    made_.push_back(dir_ + "/" + name);
    return made_.back();
  }
  void write_all(const std::string& name, const std::string& data, int compressed,
                 int32 mode = kFileWrite) {
    sysfile* f = nullptr;
    ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), mode, compressed), kSysOk);
    ASSERT_EQ(sysfile_write(f, data.data(), static_cast<int64>(data.size())), kSysOk);
    ASSERT_EQ(sysfile_close(&f), kSysOk);
    EXPECT_EQ(f, nullptr);
  }
  std::string read_all(const std::string& name, int compressed, int64 piece) {
    sysfile* f = nullptr;
    EXPECT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, compressed), kSysOk);
    if (!f) return "";
    std::string out, buf(static_cast<size_t>(piece), '\0');
    for (;;) {
      int64 got = 0;
      int st = sysfile_read(f, buf.data(), piece, &got);
      out.append(buf.data(), static_cast<size_t>(got));
      if (st == kSysEndOfFile) break;
      EXPECT_EQ(st, kSysOk);
      if (st != kSysOk) break;
    }
    EXPECT_EQ(sysfile_close(&f), kSysOk);
    return out;
  }
  std::vector<std::string> lines_of(const std::string& name, int compressed) {
    std::vector<std::string> lines;
    sysfile* f = nullptr;
    EXPECT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, compressed), kSysOk);
    if (!f) return lines;
    const char* line;
    int64 len;
    int st;
    while ((st = sysfile_readline(f, &line, &len)) == kSysOk) {
      EXPECT_EQ(static_cast<int64>(std::strlen(line)), len);
      lines.emplace_back(line, static_cast<size_t>(len));
    }
    EXPECT_EQ(st, kSysEndOfFile);
    EXPECT_EQ(sysfile_close(&f), kSysOk);
    return lines;
  }

  sysenv* sys_ = nullptr;
  int64 base_use_ = 0;
  std::string dir_;
  std::vector<std::string> made_;
};

// Data that crosses several internal buffers and holds every byte value.
std::string pattern(size_t n) {
  std::string s(n, '\0');
  uint32 x = 12345;
  for (size_t i = 0; i < n; ++i) {
    x = x * 1103515245u + 12345u;
    s[i] = static_cast<char>(x >> 24);
  }
  return s;
}

TEST_F(SysFile, PlainRoundTrip) {
  std::string name = path("plain.bin");
  std::string data = pattern(200000);
  write_all(name, data, 0);
  EXPECT_TRUE(sysfile_exists(name.c_str()));
  EXPECT_EQ(read_all(name, 0, 4096), data);
  EXPECT_EQ(read_all(name, 0, 300000), data);

  sysfile* f = nullptr;
  ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, 0), kSysOk);
  int64 size = 0;
  EXPECT_EQ(sysfile_size(f, &size), kSysOk);
  EXPECT_EQ(size, 200000);
  char c = 0;
  EXPECT_EQ(sysfile_write(f, &c, 1), kSysFileWrite); // opened for reading
  EXPECT_EQ(sysfile_close(&f), kSysOk);
}

TEST_F(SysFile, SmallWritesAreBufferedAndCounted) {
  std::string name = path("small.txt");
  sysfile* f = nullptr;
  ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileWrite, 0), kSysOk);
  std::string expect;
  for (int i = 0; i < 30000; ++i) {
    std::string piece = std::to_string(i) + ",";
    ASSERT_EQ(sysfile_write(f, piece.data(), static_cast<int64>(piece.size())), kSysOk);
    expect += piece;
  }
  int64 size = 0;
  EXPECT_EQ(sysfile_size(f, &size), kSysOk);
  EXPECT_EQ(size, static_cast<int64>(expect.size()));
  int64 got = 0;
  EXPECT_EQ(sysfile_read(f, &size, 1, &got), kSysFileRead); // opened for writing
  ASSERT_EQ(sysfile_close(&f), kSysOk);
  EXPECT_EQ(read_all(name, 0, 1000), expect);
}

TEST_F(SysFile, GzipRoundTrip) {
  std::string name = path("data.gz");
  std::string data = pattern(150000) + std::string(100000, 'a');
  write_all(name, data, 1);
  // On disk it is gzip (magic bytes 1f 8b) and smaller than the data, for the long run of 'a'.
  std::string raw = read_all(name, 0, 65536);
  ASSERT_GE(raw.size(), 2u);
  EXPECT_EQ(static_cast<unsigned char>(raw[0]), 0x1f);
  EXPECT_EQ(static_cast<unsigned char>(raw[1]), 0x8b);
  EXPECT_LT(raw.size(), data.size());
  EXPECT_EQ(read_all(name, 1, 5000), data);

  // A plain file read through the gzip road comes out unchanged.
  std::string plain = path("plain.txt");
  write_all(plain, "not compressed\n", 0);
  EXPECT_EQ(read_all(plain, 1, 100), "not compressed\n");
}

TEST_F(SysFile, TruncatedGzipIsAReadError) {
  std::string name = path("cut.gz");
  write_all(name, pattern(100000), 1);
  int64 size = 0;
  sysfile* f = nullptr;
  ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, 0), kSysOk);
  ASSERT_EQ(sysfile_size(f, &size), kSysOk);
  ASSERT_EQ(sysfile_close(&f), kSysOk);
  ASSERT_EQ(truncate(name.c_str(), size / 2), 0);

  ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, 1), kSysOk);
  std::string buf(200000, '\0');
  int64 got = 0;
  EXPECT_EQ(sysfile_read(f, buf.data(), 200000, &got), kSysFileRead);
  EXPECT_LT(got, 100000);
  sysfile_close(&f);
}

TEST_F(SysFile, GzipLinesAndAppend) {
  std::string name = path("lines.gz");
  write_all(name, "first\r\nsecond\n", 1);
  write_all(name, "third", 1, kFileAppend); // a second gzip member
  EXPECT_EQ(lines_of(name, 1), (std::vector<std::string>{"first", "second", "third"}));

  std::string plain = path("lines.txt");
  write_all(plain, "a\n", 0);
  write_all(plain, "b\n", 0, kFileAppend);
  EXPECT_EQ(lines_of(plain, 0), (std::vector<std::string>{"a", "b"}));
}

TEST_F(SysFile, LinesWithCrlfEmptyAndLong) {
  std::string name = path("lines.txt");
  std::string longline = std::string(70000, 'x') + "y" + std::string(200000, 'z');
  // The long line crosses buffer ends; "\r\n" ends count as one end; a lone '\r' inside a line
  // stays; the last line has no end at all.
  write_all(name, "a\r\nbb\n\r\n\n" + longline + "\r\nmid\rdle\nlast", 0);
  std::vector<std::string> lines = lines_of(name, 0);
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_EQ(lines[0], "a");
  EXPECT_EQ(lines[1], "bb");
  EXPECT_EQ(lines[2], "");
  EXPECT_EQ(lines[3], "");
  EXPECT_EQ(lines[4], longline);
  EXPECT_EQ(lines[5], "mid\rdle");
  EXPECT_EQ(lines[6], "last");

  std::string empty = path("empty.txt");
  write_all(empty, "", 0);
  EXPECT_TRUE(lines_of(empty, 0).empty());
}

TEST_F(SysFile, LinesThenBytesAndSeeks) {
  std::string name = path("mixed.txt");
  write_all(name, "header\n0123456789", 0);
  sysfile* f = nullptr;
  ASSERT_EQ(sysfile_open(sys_, &f, name.c_str(), kFileRead, 0), kSysOk);
  const char* line;
  int64 len;
  ASSERT_EQ(sysfile_readline(f, &line, &len), kSysOk);
  EXPECT_STREQ(line, "header");
  char buf[8] = {0};
  int64 got = 0;
  // What the line reader buffered is read first.
  ASSERT_EQ(sysfile_read(f, buf, 3, &got), kSysOk);
  EXPECT_EQ(std::string(buf, 3), "012");
  // A relative seek counts from what the caller has consumed, not from what was buffered.
  ASSERT_EQ(sysfile_seek(f, 2, SEEK_CUR), kSysOk);
  ASSERT_EQ(sysfile_read(f, buf, 2, &got), kSysOk);
  EXPECT_EQ(std::string(buf, 2), "56");
  ASSERT_EQ(sysfile_seek(f, -2, SEEK_END), kSysOk);
  ASSERT_EQ(sysfile_readline(f, &line, &len), kSysOk);
  EXPECT_STREQ(line, "89");
  EXPECT_EQ(sysfile_readline(f, &line, &len), kSysEndOfFile);
  EXPECT_EQ(sysfile_read(f, buf, 1, &got), kSysEndOfFile);
  EXPECT_EQ(got, 0);
  ASSERT_EQ(sysfile_seek(f, 7, SEEK_SET), kSysOk);
  ASSERT_EQ(sysfile_read(f, buf, 8, &got), kSysOk);
  EXPECT_EQ(std::string(buf, 8), "01234567");
  EXPECT_EQ(sysfile_seek(f, 0, 99), kSysFileRead);
  EXPECT_EQ(sysfile_close(&f), kSysOk);

  // Compressed: seeks from the start work, from the end do not.
  std::string gz = path("mixed.gz");
  write_all(gz, "header\n0123456789", 1);
  ASSERT_EQ(sysfile_open(sys_, &f, gz.c_str(), kFileRead, 1), kSysOk);
  ASSERT_EQ(sysfile_seek(f, 10, SEEK_SET), kSysOk);
  ASSERT_EQ(sysfile_read(f, buf, 4, &got), kSysOk);
  EXPECT_EQ(std::string(buf, 4), "3456");
  EXPECT_EQ(sysfile_seek(f, -1, SEEK_END), kSysFileRead);
  EXPECT_EQ(sysfile_close(&f), kSysOk);
}

TEST_F(SysFile, OpenFailuresAndRemove) {
  sysfile* f = reinterpret_cast<sysfile*>(&f); // must be cleared on failure
  std::string missing = dir_ + "/missing.txt";
  EXPECT_FALSE(sysfile_exists(missing.c_str()));
  EXPECT_EQ(sysfile_open(sys_, &f, missing.c_str(), kFileRead, 0), kSysFileOpen);
  EXPECT_EQ(f, nullptr);
  EXPECT_EQ(sysfile_open(sys_, &f, missing.c_str(), kFileRead, 1), kSysFileOpen);
  EXPECT_EQ(sysfile_open(sys_, &f, "", kFileRead, 0), kSysInvalidFileName);
  EXPECT_EQ(sysfile_open(sys_, &f, nullptr, kFileWrite, 0), kSysInvalidFileName);
  std::string in_missing_dir = dir_ + "/no/such/dir.txt";
  EXPECT_EQ(sysfile_open(sys_, &f, in_missing_dir.c_str(), kFileWrite, 0), kSysFileOpen);
  EXPECT_EQ(sysfile_close(&f), kSysOk); // null is allowed

  std::string name = path("gone.txt");
  write_all(name, "x", 0);
  EXPECT_TRUE(sysfile_exists(name.c_str()));
  EXPECT_EQ(sysfile_remove(name.c_str()), kSysOk);
  EXPECT_FALSE(sysfile_exists(name.c_str()));
  EXPECT_EQ(sysfile_remove(name.c_str()), kSysFileOpen);
  EXPECT_EQ(sysfile_remove(""), kSysInvalidFileName);
}

} // namespace
