#include "streams/xfile_stream.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "core/xexceptions.h"
#include "core/xvirtual_fs.h"

namespace fs = std::filesystem;

namespace xum {
namespace {

// A fresh folder per test and helpers to put and read whole files.
class XFileStream : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::path(::testing::TempDir()) /
           ("xfs_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override {
    fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add);
    fs::remove_all(dir_);
  }
  xstr path(const char* name) const { return xstr((dir_ / name).string().c_str()); }
  void put(const char* name, const std::string& content) const {
    std::ofstream(dir_ / name, std::ios::binary) << content;
  }
  std::string get(const char* name) const {
    std::ifstream in(dir_ / name, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
  }
  // The message of the failure that opening `name` in `mode` reports.
  static std::string open_error(const xstr& name, int mode) {
    try {
      xfile_stream f(name, mode);
    } catch (const XException& e) {
      return e.what();
    }
    return "(opened)";
  }
  // The category of that failure; general when it opened.
  static xerror_category open_category(const xstr& name, int mode) {
    try {
      xfile_stream f(name, mode);
    } catch (const XException& e) {
      return e.category();
    }
    return xerror_category::general;
  }
  static std::string open_known_error(const xstr& name) {
    try {
      xfile_stream f;
      f.open_known_file(name);
    } catch (const XException& e) {
      return e.what();
    }
    return "(opened)";
  }

  fs::path dir_;
};

TEST_F(XFileStream, ModesOpenPositionAndTruncateAsNamed) {
  struct row {
    int mode;
    const char* write;
    std::int64_t start;
    const char* after;
  };
  const row rows[] = {
      {xfile_write, "ab", 0, "ab23456789"},        // from the start, no truncation
      {xfile_read_write, "ab", 0, "ab23456789"},
      {xfile_create, "ab", 0, "ab"},               // truncates
      {xfile_append, "ab", 10, "0123456789ab"},    // positioned at the end
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.mode);
    put("f.txt", "0123456789");
    {
      xfile_stream f(path("f.txt"), r.mode);
      EXPECT_EQ(f.mode(), r.mode & 3);
      EXPECT_EQ(f.get_position(), r.start);
      f.write_buffer(r.write, 2);
    }
    EXPECT_EQ(get("f.txt"), r.after);
  }
  xfile_stream created(path("new.txt"), xfile_create);
  EXPECT_TRUE(fs::exists(dir_ / "new.txt"));
}

TEST_F(XFileStream, SeeksAnswerAsTheSystemWouldWithOrWithoutAskingIt) {
  put("f.txt", "0123456789");
  {
    xfile_stream f(path("f.txt"), xfile_read_write);
    xfile_stream other(path("f.txt"), xfile_read);
    EXPECT_EQ(f.seek(-1, xseek_begin), -1);  // before the start: refused
    EXPECT_EQ(f.get_position(), 0);
    EXPECT_EQ(f.seek(INT64_MAX, xseek_begin), INT64_MAX);
    EXPECT_EQ(f.seek(1, xseek_current), -1);  // beyond 2^63
    EXPECT_EQ(f.seek(-11, xseek_end), -1);
    EXPECT_EQ(f.get_position(), INT64_MAX);
    EXPECT_EQ(f.seek(-2, xseek_end), 8);
    char b[4] = {};
    EXPECT_EQ(f.read(b, 4), 2);
    EXPECT_STREQ(b, "89");
    f.seek(12, xseek_begin);
    f.write_buffer("C", 1);  // past the end: the gap reads as zeros
    EXPECT_EQ(other.read(b, 3), 3);  // each stream has a position of its own
    EXPECT_EQ(std::string(b, 3), "012");
  }
  EXPECT_EQ(get("f.txt"), std::string("0123456789\0\0C", 13));

  // A pipe has no positions: reads go in order and seeks fail.
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ASSERT_EQ(::write(ends[1], "pipe", 4), 4);
  ::close(ends[1]);
  {
    xfile_stream p(xstr(("/dev/fd/" + std::to_string(ends[0])).c_str()), xfile_read);
    char b[8] = {};
    EXPECT_EQ(p.read(b, 2), 2);
    EXPECT_EQ(p.read(b + 2, 6), 2);
    EXPECT_STREQ(b, "pipe");
    EXPECT_EQ(p.seek(1, xseek_begin), -1);
  }
  ::close(ends[0]);
}

TEST_F(XFileStream, AKnownFileReopensWithoutASecondLook) {
  put("k.bin", "known");
  xfile_stream f;
  f.open_known_file(path("k.bin"));
  char b[8] = {};
  EXPECT_EQ(f.read(b, 8), 5);
  EXPECT_STREQ(b, "known");
  EXPECT_EQ(f.mode(), xstream_read);
  // A directory in the file's place is found by the read, not the open.
  fs::create_directory(dir_ / "d");
  f.open_known_file(path("d"));
  EXPECT_EQ(f.read(b, 8), 0);
  EXPECT_EQ(open_known_error(path("gone.bin")).rfind("File not found !", 0), 0u);
}

TEST_F(XFileStream, OperationsOutsideTheModeThrowCode4) {
  put("f.txt", "abc");
  char b[4];
  xfile_stream reader(path("f.txt"), xfile_read);
  EXPECT_THROW(reader.write("x", 1), xexception);
  xfile_stream writer(path("f.txt"), xfile_write);
  try {
    writer.read(b, 1);
    FAIL() << "read on a write-only stream";
  } catch (const xexception& e) {
    EXPECT_EQ(e, 4);
  }
  // No access rights at all: the file opens but neither reads nor writes.
  xfile_stream none(path("f.txt"), 4);
  EXPECT_EQ(none.mode(), 0);
  EXPECT_THROW(none.read(b, 1), xexception);
}

TEST_F(XFileStream, OpenFailuresReportTheirCauseAndTheName) {
  put("file", "x");
  fs::create_directory(dir_ / "sub");
  struct row {
    const char* name;
    int mode;
    const char* cause;
    xerror_category category;  // what a program branches on
  };
  constexpr auto not_found = xerror_category::not_found, permission = xerror_category::permission;
  const row rows[] = {
      {"missing.txt", xfile_read, "File not found !", not_found},
      {"missing.txt", xfile_write, "File not found !", not_found},
      {"nodir/a.txt", xfile_read, "Path not found !", not_found},
      {"nodir/a.txt", xfile_create, "Path not found !", not_found},
      {"file/a.txt", xfile_read, "Path not found !", not_found},  // a file used as a directory
      {"sub", xfile_read, "Permission denied !", permission},     // a directory is not a file
      {"sub", xfile_create, "Permission denied !", permission},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    const xstr name = path(r.name);
    EXPECT_EQ(open_error(name, r.mode), std::string(r.cause) + "\nFile: " + name.get_text());
    EXPECT_EQ(open_category(name, r.mode), r.category);
  }
  EXPECT_THROW(xfile_stream(path("missing.txt"), xfile_read), XENotFound);
  EXPECT_THROW(xfile_stream(path("sub"), xfile_read), XEPermission);
  EXPECT_EQ(open_error("", xfile_read), "Path not found !\nFile: ");
}

TEST_F(XFileStream, ReadOnlyFileOpenedForWritingIsDenied) {
  put("ro.txt", "x");
  fs::permissions(dir_ / "ro.txt", fs::perms::owner_read);
  if (::access((dir_ / "ro.txt").c_str(), W_OK) == 0) GTEST_SKIP() << "running with override rights";
  EXPECT_EQ(open_error(path("ro.txt"), xfile_write),
            "Permission denied !\nFile: " + (dir_ / "ro.txt").string());
}

TEST_F(XFileStream, TooManyOpenFilesIsReported) {
#ifdef __SANITIZE_ADDRESS__
  // The sanitizer runtime opens descriptors of its own while checking, so it
  // cannot run with none left.
  GTEST_SKIP() << "needs every descriptor, which the sanitizer runtime competes for";
#endif
  put("f.txt", "x");
  const xstr name = path("f.txt");
  EXPECT_EXIT(
      {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 8;
        setrlimit(RLIMIT_NOFILE, &limit);
        for (int i = 0; i < 8; ++i) ::dup(0);  // use up the descriptors
        const std::string message = open_error(name, xfile_read);
        if (open_category(name, xfile_read) != xerror_category::io) std::exit(4);
        std::exit(message == std::string("Too many open files !\nFile: ") + name.get_text() ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(XFileStream, WithAReturningHandlerTheStreamStaysClosed) {
  static int reports = 0;
  const xerror_handler_fn saved = xerror_handler;
  xerror_handler = [](const xstr&) { ++reports; };
  xfile_stream f(path("missing.txt"), xfile_read);
  xerror_handler = saved;
  char b[4];
  EXPECT_EQ(reports, 1);
  EXPECT_FALSE(f.is_open());
  EXPECT_EQ(f.read(b, 4), 0);
}

TEST_F(XFileStream, ShortReadBufferReportsAfterConsumingTheRest) {
  put("f.txt", "0123456789");
  xfile_stream f(path("f.txt"), xfile_read);
  EXPECT_EQ(f.get_size(), 10);
  f.seek(6, xseek_begin);
  EXPECT_EQ(f.get_size(), 10);
  EXPECT_EQ(f.get_position(), 6);  // get_size keeps the position
  char b[10];
  try {
    f.read_buffer(b, 10);
    FAIL() << "short read not reported";
  } catch (const XEIOError& e) {
    EXPECT_EQ(std::string(e.what()), "Data reading error ! \nFile: " + (dir_ / "f.txt").string());
  }
  EXPECT_EQ(std::string(b, 4), "6789");
  EXPECT_EQ(f.get_position(), 10);
}

TEST_F(XFileStream, SetSizeCutsOrExtendsAndCopyToMovesBytes) {
  std::string big(20000, '\0');
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7);
  put("src.bin", big);
  xfile_stream src(path("src.bin"), xfile_read);
  {
    xfile_stream all(path("all.bin"), xfile_create);
    src.copy_to(all);
    src.seek(100, xseek_begin);
    xfile_stream part(path("part.bin"), xfile_create);
    src.copy_to(part, 9000);
    src.copy_to(part, 0);
    EXPECT_EQ(part.get_position(), 9000);
    part.set_size(5);
    EXPECT_EQ(part.get_position(), 5);
  }
  EXPECT_EQ(get("all.bin"), big);
  EXPECT_EQ(get("part.bin"), big.substr(100, 5));
  src.seek(19990, xseek_begin);
  xfile_stream sink(path("sink.bin"), xfile_create);
  EXPECT_THROW(src.copy_to(sink, 11), XException);
}

TEST_F(XFileStream, StatisticsCountBytesReadWhileEnabled) {
  put("f.txt", "0123456789");
  xfile_stream::enable_statistics(true);
  char b[16];
  xfile_stream(path("f.txt"), xfile_read).read(b, 16);
  EXPECT_EQ(xfile_stream::get_statistics(), 10u);
  xfile_stream::enable_statistics(false);
  xfile_stream(path("f.txt"), xfile_read).read(b, 16);
  EXPECT_EQ(xfile_stream::get_statistics(), 10u);
  xfile_stream::enable_statistics(true);
  EXPECT_EQ(xfile_stream::get_statistics(), 0u);
  xfile_stream::enable_statistics(false);
}

// A read-only stream over a fixed text that counts its destruction.
class text_stream final : public xstream {
 public:
  explicit text_stream(std::string text, int* destroyed) : text_(std::move(text)), destroyed_(destroyed) {
    mode_ = xstream_read;
  }
  ~text_stream() override { ++*destroyed_; }
  xstr description() const override { return "text"; }
  int read(void* buffer, int count) override {
    const int n = std::min<int>(count, static_cast<int>(text_.size() - pos_));
    std::memcpy(buffer, text_.data() + pos_, static_cast<std::size_t>(n));
    pos_ += static_cast<std::size_t>(n);
    return n;
  }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override {
    const std::int64_t base = origin == xseek_begin ? 0 : origin == xseek_current ? pos_ : text_.size();
    pos_ = static_cast<std::size_t>(std::clamp<std::int64_t>(base + offset, 0, text_.size()));
    return pos_;
  }

 private:
  std::string text_;
  std::size_t pos_ = 0;
  int* destroyed_;
};

class fake_archive final : public xvirtual_fs_interface {
 public:
  xstream* get_file_stream(const xstr& name) override {
    ++asked;
    return name.str_last_pos("inside.txt") >= 0 ? new text_stream("archived", &destroyed) : nullptr;
  }
  bool is_file_exists(const xstr& name) override { return name.str_last_pos("inside.txt") >= 0; }
  int asked = 0;
  int destroyed = 0;
};

TEST_F(XFileStream, MissingFileForReadingComesFromTheArchive) {
  fake_archive archive;
  xvirtual_fs_interface::set(&archive);
  put("disk.txt", "on disk");
  char b[16] = {};
  {
    xfile_stream f(path("inside.txt"), xfile_read);
    EXPECT_EQ(f.get_size(), 8);
    EXPECT_EQ(f.read(b, 16), 8);
    EXPECT_STREQ(b, "archived");
    xfile_stream disk(path("disk.txt"), xfile_read);  // present on disk: not asked
    EXPECT_EQ(archive.asked, 1);
    f.close();
    EXPECT_EQ(archive.destroyed, 1);
  }
  EXPECT_EQ(open_error(path("other.txt"), xfile_read).rfind("File not found !", 0), 0u);
  EXPECT_EQ(open_error(path("inside.txt"), xfile_write).rfind("File not found !", 0), 0u);
  xvirtual_fs_interface::set(nullptr);
}

TEST_F(XFileStream, StdStreamReadsWritesAndSeeksThrough) {
  {
    xfile_stream f(path("io.txt"), xfile_create);
    auto io = f.std_stream();
    *io << "value " << 42 << '\n' << std::string(10000, 'z');
    io->flush();
    EXPECT_EQ(f.get_position(), 10009);
  }
  xfile_stream f(path("io.txt"), xfile_read_write);
  auto io = f.std_stream();
  std::string word;
  int n = 0;
  *io >> word >> n;
  EXPECT_EQ(word, "value");
  EXPECT_EQ(n, 42);
  EXPECT_EQ(io->tellg(), 8);
  io->seekp(0);
  *io << "VALUE";
  io->flush();
  io->seekg(-3, std::ios::end);
  std::string tail;
  *io >> tail;
  EXPECT_EQ(tail, "zzz");
  EXPECT_EQ(get("io.txt").substr(0, 9), "VALUE 42\n");

  // Errors of the wrapped stream reach the caller unchanged, at the write.
  xfile_stream ro(path("io.txt"), xfile_read);
  auto out = ro.std_stream();
  EXPECT_THROW(*out << "x", xexception);
}

}  // namespace
}  // namespace xum
