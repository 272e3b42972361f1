// xum vfs: archives of many files in one scrambled file. `create` packs
// files and directory trees (members keep only their file names), `list`
// shows the table, `extract` writes members out, `cat` prints one, `verify`
// reads every member to its end.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "formats/xvirtual_file_sys.h"
#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "tools/xum/commands.h"

namespace fs = std::filesystem;

namespace xum::tool {

namespace {

constexpr int kBlock = 1 << 20;

// Bytes done against the total with the rate, redrawn on one line of a
// terminal at most ten times a second; silent when standard error is not a
// terminal.
class progress {
 public:
  progress(const char* what, std::uint64_t total)
      : what_(what), total_(total), on_(platform::os().is_terminal(2)), start_(clock::now()), last_(start_) {}
  ~progress() {
    if (on_ && drawn_) std::fprintf(stderr, "\r\033[K");
  }
  void add(std::uint64_t n) {
    done_ += n;
    if (!on_) return;
    const auto now = clock::now();
    if (now - last_ < std::chrono::milliseconds(100) && done_ < total_) return;
    last_ = now;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    const double mib = 1024.0 * 1024.0;
    std::fprintf(stderr, "\r%s %.1f / %.1f MiB (%.0f MiB/s)\033[K", what_, done_ / mib, total_ / mib,
                 seconds > 0 ? done_ / mib / seconds : 0.0);
    drawn_ = true;
  }

 private:
  using clock = std::chrono::steady_clock;
  const char* what_;
  std::uint64_t total_, done_ = 0;
  bool on_, drawn_ = false;
  clock::time_point start_, last_;
};

xstr X(const std::string& s) { return xstr(s.c_str()); }

// Copies a member to `out`, counting the bytes; returns how many came.
std::uint64_t copy_member(xstream& in, xstream& out, progress& p, std::vector<char>& block) {
  std::uint64_t total = 0;
  for (int n; (n = in.read(block.data(), kBlock)) > 0; total += static_cast<std::uint64_t>(n)) {
    out.write_buffer(block.data(), n);
    p.add(static_cast<std::uint64_t>(n));
  }
  return total;
}

// A stream that writes to standard output.
class stdout_stream final : public xstream {
 public:
  stdout_stream() { mode_ = xstream_write; }
  xstr description() const override { return "standard output"; }
  int read(void*, int) override { return 0; }
  int write(const void* buffer, int count) override {
    return static_cast<int>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), stdout));
  }
  std::int64_t seek(std::int64_t, xseek_origin) override { return 0; }
};

// Every regular file below the arguments, directories walked in name order.
std::vector<std::string> collect(const std::vector<std::string>& args) {
  std::vector<std::string> files;
  for (const std::string& a : args) {
    std::error_code ec;
    if (fs::is_directory(a, ec)) {
      std::vector<std::string> found;
      for (const auto& e : fs::recursive_directory_iterator(a, ec))
        if (e.is_regular_file(ec)) found.push_back(e.path().string());
      if (ec) xerror(X("Cannot read the directory !\nFile: " + a));
      std::sort(found.begin(), found.end());
      files.insert(files.end(), found.begin(), found.end());
    } else {
      files.push_back(a);  // a missing file is reported when it is added
    }
  }
  return files;
}

bool safe_member_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos;
}

cli::command create_command() {
  cli::command c;
  c.name = "create";
  c.summary = "Pack files and directory trees into a new archive";
  c.usage = "[--header N] ARCHIVE [FILE|DIR...]";
  c.help =
      "Directories are walked; every member keeps only its file name, as the\n"
      "archive stores it. A name that is already in the archive is stored again\n"
      "with a warning (lookups find the first). --header sets the archive's\n"
      "application-defined header value (default 0).";
  c.run = [](cli::arguments& a) {
    const auto header = a.option("--header");
    const auto p = a.positionals(1, -1);
    const std::vector<std::string> files = collect({p.begin() + 1, p.end()});
    std::uint64_t total = 0;
    for (const std::string& f : files) {
      std::error_code ec;
      total += fs::file_size(f, ec);
    }
    xvirtual_file_sys archive;
    if (header) {
      try {
        archive.set_header_value(std::stoi(*header));
      } catch (...) {
        throw cli::usage_error("--header needs a 32-bit number");
      }
    }
    archive.create(X(p[0]));
    std::set<std::string> names;
    progress bar("packing", total);
    for (const std::string& f : files) {
      const std::string name(xextract_file_name(X(f)).lower_case().view());
      if (!names.insert(name).second)
        std::cerr << "warning: " << f << ": the name " << xextract_file_name(X(f)).view()
                  << " is already in the archive (stored; lookups find the first)\n";
      archive.add_file(X(f));
      std::error_code ec;
      bar.add(fs::file_size(f, ec));
    }
    archive.close();
    return cli::exit_ok;
  };
  return c;
}

cli::command list_command() {
  cli::command c;
  c.name = "list";
  c.summary = "List the members: name, size and offset, tab-separated";
  c.usage = "ARCHIVE";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(1, 1);
    xvirtual_file_sys archive;
    archive.open(X(p[0]));
    for (const auto& f : archive.files())
      std::cout << f->name.view() << '\t' << f->size << '\t' << f->offset << '\n';
    return cli::exit_ok;
  };
  return c;
}

cli::command extract_command() {
  cli::command c;
  c.name = "extract";
  c.summary = "Write members out as files";
  c.usage = "[-C|--directory DIR] ARCHIVE [NAME...]";
  c.help =
      "Writes the named members (all when none is named) into DIR (default: the\n"
      "current directory). Names are matched without regard to case or directory.\n"
      "Members whose stored name holds a directory separator are skipped.";
  c.run = [](cli::arguments& a) {
    const std::string dir = a.option("--directory", "-C").value_or(".");
    const auto p = a.positionals(1, -1);
    xvirtual_file_sys archive;
    archive.open(X(p[0]));
    std::vector<int> chosen;
    if (p.size() == 1) {
      for (std::size_t i = 0; i < archive.files().size(); ++i) chosen.push_back(static_cast<int>(i));
    } else {
      for (std::size_t i = 1; i < p.size(); ++i) {
        const int k = archive.find(X(p[i]));
        if (k < 0) xerror(X("File not found in the archive !\nFile: " + p[i]));
        chosen.push_back(k);
      }
    }
    std::uint64_t total = 0;
    for (int k : chosen) total += archive.files()[static_cast<std::size_t>(k)]->size;
    std::error_code ec;
    fs::create_directories(dir, ec);
    std::vector<char> block(kBlock);
    progress bar("extracting", total);
    for (int k : chosen) {
      const auto& info = *archive.files()[static_cast<std::size_t>(k)];
      const std::string name(info.name.view());
      if (!safe_member_name(name)) {
        std::cerr << "warning: member '" << name << "' skipped: its name is not a plain file name\n";
        continue;
      }
      // By index, so that each of several equal names gives its own bytes.
      std::unique_ptr<xstream> in(archive.get_member_stream(k));
      xfile_stream out(X((fs::path(dir) / name).string()), xfile_create);
      const std::uint64_t n = copy_member(*in, out, bar, block);
      if (n != info.size) xerror(X("The archive ends inside a member !\nFile: " + name));
    }
    return cli::exit_ok;
  };
  return c;
}

cli::command cat_command() {
  cli::command c;
  c.name = "cat";
  c.summary = "Print one member to standard output";
  c.usage = "ARCHIVE NAME";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(2, 2);
    xvirtual_file_sys archive;
    archive.open(X(p[0]));
    std::unique_ptr<xstream> in(archive.get_file_stream(X(p[1])));
    if (!in) xerror(X("File not found in the archive !\nFile: " + p[1]));
    std::vector<char> block(kBlock);
    stdout_stream out;
    progress quiet("", 0);
    copy_member(*in, out, quiet, block);
    std::fflush(stdout);
    return cli::exit_ok;
  };
  return c;
}

cli::command verify_command() {
  cli::command c;
  c.name = "verify";
  c.summary = "Read every member to its end";
  c.usage = "ARCHIVE";
  c.help = "Reports members that end early; exit status 1 when there is one.";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(1, 1);
    xvirtual_file_sys archive;
    archive.open(X(p[0]));
    std::uint64_t total = 0;
    for (const auto& f : archive.files()) total += f->size;
    std::vector<char> block(kBlock);
    progress bar("verifying", total);
    int broken = 0;
    for (std::size_t i = 0; i < archive.files().size(); ++i) {
      const auto& info = *archive.files()[i];
      std::unique_ptr<xstream> in(archive.get_member_stream(static_cast<int>(i)));
      std::uint64_t n = 0;
      for (int k; (k = in->read(block.data(), kBlock)) > 0; n += static_cast<std::uint64_t>(k))
        bar.add(static_cast<std::uint64_t>(k));
      if (n != info.size) {
        ++broken;
        std::cerr << info.name.view() << ": " << n << " of " << info.size << " bytes\n";
      }
    }
    std::cout << archive.files().size() << " members, " << total << " bytes: "
              << (broken ? "BROKEN" : "ok") << "\n";
    return broken ? cli::exit_failure : cli::exit_ok;
  };
  return c;
}

}  // namespace

cli::command vfs_command() {
  cli::command c;
  c.name = "vfs";
  c.summary = "Create, list, extract and check archives of files";
  c.children.push_back(create_command());
  c.children.push_back(list_command());
  c.children.push_back(extract_command());
  c.children.push_back(cat_command());
  c.children.push_back(verify_command());
  return c;
}

}  // namespace xum::tool
