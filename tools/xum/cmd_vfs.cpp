// xum vfs: archives of many files in one scrambled file. `create` packs
// files and directory trees (members keep only their file names), `list`
// shows the table, `extract` writes members out, `cat` prints one, `verify`
// checks the table and reads every member to its end.
//
// The commands follow tar's conventions: what cannot be read is reported
// with its path and skipped, the run goes on, and the exit status is 1 when
// anything was skipped or failed. Files are never written in place: the
// archive and every extracted member go to a temporary file beside the
// target that is renamed over it once complete.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "core/xutf.h"
#include "formats/xvirtual_file_sys.h"
#include "framework/xui_backend.h"
#include "platform/xos.h"
#include "streams/xfile_stream.h"
#include "streams/xreplace_file_stream.h"
#include "tools/xum/commands.h"
#include "ui/ttask_progress_form.h"

namespace fs = std::filesystem;

namespace xum::tool {

namespace {

constexpr int kBlock = 1 << 20;
// How many colliding names `create` lists before it only counts them.
constexpr std::size_t kShownCollisions = 20;

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

// The problems of one run, each on a line of standard error that names the
// command, the path and what went wrong. The run goes on; finish() gives
// the exit status.
class reporter {
 public:
  explicit reporter(std::string who) : who_(std::move(who)), terminal_(platform::os().is_terminal(2)) {}
  // A problem: counted, and the exit status becomes 1.
  void problem(const std::string& text) {
    ++count_;
    note(text);
  }
  // Information that changes nothing.
  void note(const std::string& text) const {
    // A progress line may be drawn: start on a clean line.
    std::cerr << (terminal_ ? "\r\033[K" : "") << who_ << ": " << text << '\n';
  }
  int count() const noexcept { return count_; }
  // 0, or 1 after a closing line that says how many problems there were.
  int finish(const std::string& what) const {
    if (count_ == 0) return cli::exit_ok;
    note(std::to_string(count_) + " " + what + " (see above)");
    return cli::exit_failure;
  }

 private:
  std::string who_;
  bool terminal_;
  int count_ = 0;
};

// The cause in a library message for use inside a sentence, without its
// "File: " line (the caller names the path itself) and the catalogue's
// closing " !": "Permission denied", or "Data writing error (No space left
// on device)".
std::string cause_of(const std::exception& e) {
  const std::string file_line(msg::FileName.text.view());
  std::istringstream lines(e.what());
  std::string out, line;
  while (std::getline(lines, line)) {
    if (line.empty() || line.rfind(file_line, 0) == 0) continue;
    while (!line.empty() && line.back() == ' ') line.pop_back();
    if (line.size() > 2 && line.compare(line.size() - 2, 2, " !") == 0) line.resize(line.size() - 2);
    out += out.empty() ? line : " (" + line + ")";
  }
  return out.empty() ? std::string("failed") : out;
}

// Copies a member to `out`, counting the bytes; returns how many came.
std::uint64_t copy_member(xstream& in, xstream& out, progress& p, std::vector<char>& block) {
  std::uint64_t total = 0;
  for (int n; (n = in.read(block.data(), kBlock)) > 0; total += static_cast<std::uint64_t>(n)) {
    out.write_buffer(block.data(), n);
    p.add(static_cast<std::uint64_t>(n));
  }
  return total;
}

// Standard output as the archive writer's target. Its position is the
// number of bytes written, which is all the writer asks of it; a short
// write comes back as a short count, which the writer reports.
class stdout_stream final : public xstream {
 public:
  stdout_stream() { mode_ = xstream_write; }
  xstr description() const override { return msg::FileName.text + "standard output"; }
  int read(void*, int) override { return 0; }
  int write(const void* buffer, int count) override {
    const auto n = static_cast<int>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), stdout));
    written_ += n;
    return n;
  }
  std::int64_t seek(std::int64_t offset, xseek_origin origin) override {
    if (offset != 0 || origin != xseek_current) throw xexception(xexception::not_supported);
    return written_;
  }

 private:
  std::int64_t written_ = 0;
};

// The archive a command reads. "-" is standard input: the table sits at the
// archive's end, so the bytes are first copied to a temporary file, which
// goes with this object; messages about that file name standard input.
class archive_input {
 public:
  explicit archive_input(const std::string& name) : path_(X(name)) {
    if (name != "-") return;
    temp_ = std::make_unique<xtemp_file>();
    path_ = temp_->get_file_name();
    if (path_.empty()) xerror("Cannot create a temporary file !");
    xfile_stream copy(path_, xfile_create);
    std::vector<char> block(kBlock);
    for (std::size_t n; (n = std::fread(block.data(), 1, block.size(), stdin)) > 0;)
      copy.write_buffer(block.data(), static_cast<int>(n));
    if (std::ferror(stdin)) xerror(msg::eReadError.text + "\n" + msg::FileName.text + "standard input");
  }
  const xstr& path() const noexcept { return path_; }

  // Runs `body`; a library failure that names the temporary copy names
  // standard input instead.
  template <class F>
  int run(F body) const {
    try {
      return body(path_);
    } catch (Exception& e) {
      if (temp_) {
        std::string text = e.what();
        const std::string temp(path_.view());
        for (std::size_t at; (at = text.find(temp)) != std::string::npos;) text.replace(at, temp.size(), "standard input");
        e.Message = xutf8_to_utf16(text);
      }
      throw;
    }
  }

 private:
  std::unique_ptr<xtemp_file> temp_;
  xstr path_;
};

// ---- create ---------------------------------------------------------------

struct input {
  std::string path;
  std::uint64_t size;
};

std::string kind_of(fs::file_type t) {
  switch (t) {
    case fs::file_type::fifo: return "a FIFO";
    case fs::file_type::character: return "a character device";
    case fs::file_type::block: return "a block device";
    case fs::file_type::socket: return "a socket";
    default: return "not a regular file";
  }
}

// Turns the inputs of `create` into the list of files to pack: regular
// files are taken, folders walked in name order, and everything else is
// reported and skipped. Symbolic links to files are packed as the file;
// links to folders are not followed. The archive being written is left out.
class collector {
 public:
  collector(reporter& r, std::vector<fs::path> outputs) : report_(r), outputs_(std::move(outputs)) {}

  void argument(const std::string& a) {
    std::error_code ec;
    const fs::file_status st = fs::status(a, ec);
    if (ec) {
      report_.problem(a + ": cannot be read: " + ec.message() + "; skipped");
    } else if (fs::is_directory(st)) {
      folder(a);
    } else {
      file(a, st);
    }
  }

  std::vector<input> files;

 private:
  void folder(const fs::path& dir) {
    std::error_code ec;
    fs::directory_iterator it(dir, ec);
    if (ec) {
      report_.problem(dir.string() + ": the folder cannot be read: " + ec.message() + "; skipped");
      return;
    }
    std::vector<fs::directory_entry> entries;
    for (const fs::directory_iterator end; it != end;) {
      entries.push_back(*it);
      it.increment(ec);
      if (ec) {
        report_.problem(dir.string() + ": the folder cannot be read to its end: " + ec.message() +
                        "; the rest of it is skipped");
        break;
      }
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
    for (const auto& e : entries) {
      const fs::path& p = e.path();
      const fs::file_status own = e.symlink_status(ec);
      if (ec) {
        report_.problem(p.string() + ": cannot be read: " + ec.message() + "; skipped");
      } else if (fs::is_symlink(own)) {
        const fs::file_status target = fs::status(p, ec);
        if (ec)
          report_.problem(p.string() + ": a symbolic link whose target cannot be read: " + ec.message() + "; skipped");
        else if (fs::is_directory(target))
          report_.problem(p.string() + ": a symbolic link to a folder, not followed; skipped");
        else
          file(p, target);
      } else if (fs::is_directory(own)) {
        folder(p);
      } else {
        file(p, own);
      }
    }
  }

  void file(const fs::path& p, const fs::file_status& st) {
    if (!fs::is_regular_file(st)) {
      report_.problem(p.string() + ": " + kind_of(st.type()) + "; skipped");
      return;
    }
    for (const fs::path& out : outputs_) {
      std::error_code ec;
      if (fs::equivalent(p, out, ec)) {
        report_.note(p.string() + ": is the archive being written; not packed");
        return;
      }
    }
    std::error_code ec;
    const std::uintmax_t size = fs::file_size(p, ec);
    files.push_back({p.string(), ec ? 0 : static_cast<std::uint64_t>(size)});
  }

  reporter& report_;
  std::vector<fs::path> outputs_;
};

// The files whose member names collide (the name without folders, ignoring
// case, as lookups compare them), grouped by name in the order found.
std::vector<std::vector<std::size_t>> collisions(const std::vector<input>& files) {
  std::unordered_map<std::string, std::size_t> group_of;
  std::vector<std::vector<std::size_t>> groups;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const std::string key(xextract_file_name(X(files[i].path)).lower_case().view());
    const auto [it, added] = group_of.emplace(key, groups.size());
    if (added) groups.emplace_back();
    groups[it->second].push_back(i);
  }
  std::erase_if(groups, [](const auto& g) { return g.size() < 2; });
  return groups;
}

// Lists colliding names on standard error.
void show_collisions(const reporter& r, const std::vector<input>& files,
                     const std::vector<std::vector<std::size_t>>& groups) {
  r.note(std::to_string(groups.size()) + (groups.size() == 1 ? " name is" : " names are") +
         " used by more than one file; members keep only file names and lookups ignore "
         "case, so only the first file of each name could be read back:");
  for (std::size_t g = 0; g < groups.size() && g < kShownCollisions; ++g) {
    const auto& group = groups[g];
    std::string line = "  " + std::string(xextract_file_name(X(files[group[0]].path)).view()) + ":";
    for (std::size_t i = 0; i < group.size() && i < 3; ++i) line += (i ? ", " : " ") + files[group[i]].path;
    if (group.size() > 3) line += ", and " + std::to_string(group.size() - 3) + " more";
    std::cerr << line << '\n';
  }
  if (groups.size() > kShownCollisions)
    std::cerr << "  and " << groups.size() - kShownCollisions << " more names\n";
}

int parse_header(const std::string& text) {
  try {
    std::size_t used = 0;
    const long long v = std::stoll(text, &used, 0);
    if (used == text.size() && v >= INT32_MIN && v <= INT32_MAX) return static_cast<int>(v);
  } catch (const std::exception&) {
  }
  throw cli::usage_error("--header needs a 32-bit number, not '" + text + "'");
}

cli::command create_command() {
  cli::command c;
  c.name = "create";
  c.summary = "Pack files and directory trees into a new archive";
  c.usage = "[--header N] [--allow-duplicates] ARCHIVE FILE|DIR...";
  c.help =
      "Folders are walked in name order; every member keeps only its file name,\n"
      "as the archive stores it (no folders, permissions, times or links).\n"
      "Symbolic links to files are packed as the file; links to folders are\n"
      "not followed.\n"
      "\n"
      "What cannot be read (a missing or unreadable file or folder, a FIFO, a\n"
      "device, a link to a folder) is reported with its path and skipped; the\n"
      "archive is made from the rest and the exit status is 1. The archive\n"
      "itself is never packed into itself.\n"
      "\n"
      "Names that repeat (ignoring case, as lookups do) are refused, since only\n"
      "the first member of a name can be read back; --allow-duplicates stores\n"
      "them anyway.\n"
      "\n"
      "The archive is written to a temporary file beside ARCHIVE and renamed\n"
      "over it when complete: after a failure (a full disk, say) an existing\n"
      "ARCHIVE is unchanged. ARCHIVE '-' writes the archive to standard output.\n"
      "\n"
      "With a window backend (XUM_BACKEND=qt) the packing shows a progress\n"
      "window; its Cancel stops it, leaves ARCHIVE unchanged and exits 1.\n"
      "\n"
      "Options:\n"
      "  --header N          the archive's application-defined header value\n"
      "                      (a 32-bit number, default 0)\n"
      "  --allow-duplicates  store files whose names repeat";
  c.run = [](cli::arguments& a) {
    const auto header = a.option("--header");
    const bool allow_duplicates = a.flag("--allow-duplicates");
    const auto p = a.positionals(2, -1);
    const int header_value = header ? parse_header(*header) : 0;
    const std::string& target = p[0];
    const bool to_stdout = target == "-";
    for (std::size_t i = 1; i < p.size(); ++i)
      if (p[i] == "-") throw cli::usage_error("'-' cannot be packed: name files or folders (./- for a file named -)");
    if (to_stdout && platform::os().is_terminal(1))
      throw cli::usage_error("standard output is a terminal: redirect it, or name an ARCHIVE file");

    reporter report("xum vfs create");
    // The archive's own file, to be left out of the walk. Its temporary
    // twin does not exist yet; it is made after the walk.
    std::vector<fs::path> outputs;
    std::error_code ec;
    if (!to_stdout && fs::exists(target, ec)) outputs.emplace_back(target);
    if (to_stdout && fs::is_regular_file("/dev/stdout", ec)) outputs.emplace_back("/dev/stdout");
    collector walk(report, outputs);
    for (std::size_t i = 1; i < p.size(); ++i) walk.argument(p[i]);
    const std::vector<input>& files = walk.files;

    const auto repeated = collisions(files);
    if (!repeated.empty() && !allow_duplicates) {
      show_collisions(report, files, repeated);
      report.note("nothing written; rename the files, or pass --allow-duplicates to store them anyway");
      return cli::exit_failure;
    }
    if (!repeated.empty())
      report.note(std::to_string(repeated.size()) + (repeated.size() == 1 ? " name repeats" : " names repeat") +
                  " (stored; lookups find the first of each)");
    if (files.empty() && report.count() > 0) {
      report.note("nothing left to pack; " + (to_stdout ? std::string("no archive") : target) + " not written");
      return cli::exit_failure;
    }

    std::uint64_t total = 0;
    for (const input& f : files) total += f.size;
    xvirtual_file_sys archive;
    archive.set_header_value(header_value);
    stdout_stream out;
    if (to_stdout)
      archive.create(out);
    else
      archive.create(X(target));
    // Packs the files; behind the task progress form (`task`), on its
    // worker thread, until the user cancels.
    auto pack = [&](xtask_progress* task) {
      progress bar("packing", total);
      std::uint64_t done = 0;
      for (const input& f : files) {
        if (task != nullptr) {
          if (task->Cancelled()) return;
          task->SetText(u"Packing " + xutf8_to_utf16(fs::path(f.path).filename().string()));
          task->SetProgress(static_cast<long long>(done), static_cast<long long>(total));
        }
        try {
          archive.add_file(X(f.path));
        } catch (const Exception& e) {
          // A failed write to the archive ends it (the library has discarded
          // it); a file that could not be read is skipped.
          if (!archive.writing()) throw;
          report.problem(f.path + ": " + cause_of(e) + "; skipped");
        }
        bar.add(f.size);
        done += f.size;
      }
    };
    if (!to_stdout && &xui() != static_cast<xui_backend*>(&xheadless_ui())) {
      // A window backend is active (XUM_BACKEND=qt): show the progress.
      TTaskProgressForm form(nullptr);
      form.SetName(u"TaskProgressForm");
      form.SetCaption(u"xum vfs create " + xutf8_to_utf16(target));
      const TTaskOutcome outcome = form.Run([&](xtask_progress& task) { pack(&task); });
      if (outcome == toFailed) std::rethrow_exception(form.Failure());
      if (outcome == toCancelled) {
        archive.discard();
        report.problem("cancelled; " + target + " not written");
        return cli::exit_failure;
      }
    } else {
      pack(nullptr);
    }
    archive.close();
    return report.finish(report.count() == 1 ? "input skipped" : "inputs skipped");
  };
  return c;
}

// ---- list, extract, cat, verify ---------------------------------------------

// Where the archive's members may lie, for messages about those that do not.
std::string data_area(const xvirtual_file_sys& a) {
  if (a.data_end() <= a.data_begin()) return "the archive holds no member data";
  return "the data is bytes " + std::to_string(a.data_begin()) + " to " + std::to_string(a.data_end() - 1);
}

cli::command list_command() {
  cli::command c;
  c.name = "list";
  c.summary = "List the members: name, size and offset, tab-separated";
  c.usage = "ARCHIVE";
  c.help =
      "A member that the table places outside the archive's data (a damaged\n"
      "table) gets a fourth column, 'damaged', and the exit status is 1.\n"
      "ARCHIVE '-' reads the archive from standard input.";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(1, 1);
    const archive_input source(p[0]);
    return source.run([](const xstr& path) {
      xvirtual_file_sys archive;
      archive.open(path);
      int damaged = 0;
      for (std::size_t i = 0; i < archive.files().size(); ++i) {
        const auto& f = *archive.files()[i];
        std::cout << f.name.view() << '\t' << f.size << '\t' << f.offset;
        if (!archive.member_in_bounds(static_cast<int>(i))) {
          std::cout << "\tdamaged";
          ++damaged;
        }
        std::cout << '\n';
      }
      if (damaged == 0) return cli::exit_ok;
      reporter("xum vfs list")
          .note(std::to_string(damaged) + (damaged == 1 ? " member lies" : " members lie") +
                " outside the archive's data (" + data_area(archive) + "): the table is damaged");
      return cli::exit_failure;
    });
  };
  return c;
}

bool safe_member_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find_first_of("/\\") == std::string::npos &&
         name.find('\0') == std::string::npos;
}

cli::command extract_command() {
  cli::command c;
  c.name = "extract";
  c.summary = "Write members out as files";
  c.usage = "[-C|--directory DIR] ARCHIVE [NAME...]";
  c.help =
      "Writes the named members (all when none is named) into DIR (default: the\n"
      "current directory). Names are matched without regard to case or folder.\n"
      "\n"
      "Each member goes to a temporary file beside its target and is renamed\n"
      "over it when complete: an existing file of that name is replaced, a\n"
      "symbolic link there is replaced by the file (never written through), and\n"
      "a member that cannot be read whole leaves nothing behind.\n"
      "\n"
      "Skipped and reported, with exit status 1: names not in the archive (the\n"
      "others are extracted), members whose stored name is no plain file name\n"
      "(it holds a folder separator, or is empty, '.' or '..'), members that a\n"
      "damaged table places outside the archive, and members whose name repeats\n"
      "an earlier member's (ignoring case): the first member of a name, the one\n"
      "lookups return, is the one written.\n"
      "\n"
      "ARCHIVE '-' reads the archive from standard input.";
  c.run = [](cli::arguments& a) {
    const std::string dir = a.option("--directory", "-C").value_or(".");
    const auto p = a.positionals(1, -1);
    const archive_input source(p[0]);
    return source.run([&](const xstr& path) {
      xvirtual_file_sys archive;
      archive.open(path);
      reporter report("xum vfs extract");
      std::vector<int> chosen;
      if (p.size() == 1) {
        for (std::size_t i = 0; i < archive.files().size(); ++i) chosen.push_back(static_cast<int>(i));
      } else {
        for (std::size_t i = 1; i < p.size(); ++i) {
          const int k = archive.find(X(p[i]));
          if (k < 0)
            report.problem(p[i] + ": not in the archive");
          else if (std::find(chosen.begin(), chosen.end(), k) == chosen.end())
            chosen.push_back(k);
        }
      }
      std::uint64_t total = 0;
      for (int k : chosen)
        if (archive.member_in_bounds(k)) total += archive.files()[static_cast<std::size_t>(k)]->size;
      std::error_code ec;
      fs::create_directories(dir, ec);
      if (ec) xerror(X("Cannot create the folder !\n" + std::string(msg::FileName.text.view()) + dir + "\n" + ec.message()));

      // The first member of each name, as lookups see it.
      std::unordered_map<std::string, int> first_of;
      for (std::size_t i = 0; i < archive.files().size(); ++i)
        first_of.emplace(std::string(archive.files()[i]->lower_name.view()), static_cast<int>(i));

      std::vector<char> block(kBlock);
      progress bar("extracting", total);
      for (int k : chosen) {
        const auto& info = *archive.files()[static_cast<std::size_t>(k)];
        const std::string name(info.name.view());
        const std::string member = "member " + std::to_string(k + 1) + " '" + name + "'";
        if (!safe_member_name(name)) {
          report.problem(member + ": not a plain file name; not extracted");
          continue;
        }
        if (const int first = first_of.at(std::string(info.lower_name.view())); first != k) {
          report.problem(member + ": member " + std::to_string(first + 1) +
                         " has the same name (ignoring case) and is the one extracted; not extracted");
          continue;
        }
        if (!archive.member_in_bounds(k)) {
          report.problem(member + ": the table places it outside the archive's data (" + data_area(archive) +
                         "); not extracted");
          continue;
        }
        const std::string target = (fs::path(dir) / name).string();
        try {
          // A link at the target is replaced, never written through.
          xreplace_file_stream out(X(target), xlink_policy::replace, xsync_policy::when_replacing);
          std::unique_ptr<xstream> in(archive.get_member_stream(k));
          const std::uint64_t n = copy_member(*in, out, bar, block);
          if (n != info.size) {
            // The temporary file goes with `out`.
            report.problem(target + ": the archive gave " + std::to_string(n) + " of the member's " +
                           std::to_string(info.size) + " bytes; not extracted");
            continue;
          }
          out.close();
        } catch (const Exception& e) {
          report.problem(target + ": " + cause_of(e) + "; not extracted");
        }
      }
      return report.finish(report.count() == 1 ? "problem" : "problems");
    });
  };
  return c;
}

cli::command cat_command() {
  cli::command c;
  c.name = "cat";
  c.summary = "Print one member to standard output";
  c.usage = "ARCHIVE NAME";
  c.help =
      "NAME is matched without regard to case or folder; the first member of\n"
      "that name is printed. A member the archive cannot give whole, or a\n"
      "write to standard output that fails, ends with exit status 1.\n"
      "ARCHIVE '-' reads the archive from standard input.";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(2, 2);
    const archive_input source(p[0]);
    return source.run([&](const xstr& path) {
      xvirtual_file_sys archive;
      archive.open(path);
      const int k = archive.find(X(p[1]));
      if (k < 0) xerror(X("File not found in the archive !\n" + std::string(msg::FileName.text.view()) + p[1]));
      const auto& info = *archive.files()[static_cast<std::size_t>(k)];
      const std::string name(info.name.view());
      if (!archive.member_in_bounds(k))
        xerror(X("The table places the member outside the archive's data !\n" +
                 std::string(msg::FileName.text.view()) + name));
      std::unique_ptr<xstream> in(archive.get_member_stream(k));
      std::vector<char> block(kBlock);
      std::uint64_t n = 0;
      for (int got; (got = in->read(block.data(), kBlock)) > 0; n += static_cast<std::uint64_t>(got)) {
        std::cout.write(block.data(), got);
        cli::check_output(std::cout);  // stop at the first failed write
      }
      if (n != info.size) xerror(X("The archive ends inside a member !\n" + std::string(msg::FileName.text.view()) + name));
      return cli::exit_ok;
    });
  };
  return c;
}

cli::command verify_command() {
  cli::command c;
  c.name = "verify";
  c.summary = "Check the table and read every member to its end";
  c.usage = "ARCHIVE";
  c.help =
      "Detects: a wrong signature or version; a trailer or table that does not\n"
      "fit in the file; members that the table places outside the archive's\n"
      "data or over each other; members that cannot be read whole (a cut\n"
      "file, a read error).\n"
      "\n"
      "Cannot detect: the format keeps no checksums, so bytes changed inside a\n"
      "member, a changed name or header value, or members swapped in a way that\n"
      "still fits go unnoticed.\n"
      "\n"
      "Prints a summary line; each problem goes to standard error, and the exit\n"
      "status is 1 when there is one. ARCHIVE '-' reads standard input.";
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(1, 1);
    const archive_input source(p[0]);
    return source.run([](const xstr& path) {
      xvirtual_file_sys archive;
      archive.open(path);
      reporter report("xum vfs verify");
      const auto& files = archive.files();
      std::uint64_t total = 0;
      std::vector<int> inside;
      for (std::size_t i = 0; i < files.size(); ++i) {
        const auto& info = *files[i];
        if (archive.member_in_bounds(static_cast<int>(i))) {
          inside.push_back(static_cast<int>(i));
          total += info.size;
        } else {
          report.problem("member " + std::to_string(i + 1) + " '" + std::string(info.name.view()) + "': " +
                         std::to_string(info.size) + " bytes at offset " + std::to_string(info.offset) +
                         " lie outside the archive's data (" + data_area(archive) + ")");
        }
      }
      // Members never share bytes in an archive as written.
      std::vector<int> by_offset(inside);
      std::stable_sort(by_offset.begin(), by_offset.end(),
                       [&](int x, int y) { return files[std::size_t(x)]->offset < files[std::size_t(y)]->offset; });
      std::uint64_t end = 0;
      int last = -1;
      for (int k : by_offset) {
        const auto& info = *files[static_cast<std::size_t>(k)];
        if (info.size == 0) continue;
        if (last >= 0 && info.offset < end)
          report.problem("member " + std::to_string(k + 1) + " '" + std::string(info.name.view()) + "' overlaps member " +
                         std::to_string(last + 1) + " '" + std::string(files[std::size_t(last)]->name.view()) + "'");
        if (info.offset + info.size > end) {
          end = info.offset + info.size;
          last = k;
        }
      }
      std::vector<char> block(kBlock);
      progress bar("verifying", total);
      for (int k : inside) {
        const auto& info = *files[static_cast<std::size_t>(k)];
        std::unique_ptr<xstream> in(archive.get_member_stream(k));
        std::uint64_t n = 0;
        for (int got; (got = in->read(block.data(), kBlock)) > 0; n += static_cast<std::uint64_t>(got))
          bar.add(static_cast<std::uint64_t>(got));
        if (n != info.size)
          report.problem("member " + std::to_string(k + 1) + " '" + std::string(info.name.view()) + "': only " +
                         std::to_string(n) + " of " + std::to_string(info.size) + " bytes could be read");
      }
      std::cout << files.size() << " members, " << total << " bytes: " << (report.count() ? "BROKEN" : "ok") << "\n";
      return report.count() ? cli::exit_failure : cli::exit_ok;
    });
  };
  return c;
}

}  // namespace

cli::command vfs_command() {
  cli::command c;
  c.name = "vfs";
  c.summary = "Create, list, extract and check archives of files";
  c.help =
      "An archive keeps files by name only: no folders, permissions, times or\n"
      "links, and no checksums. '-' as ARCHIVE means standard output for\n"
      "create and standard input for the other commands.";
  c.children.push_back(create_command());
  c.children.push_back(list_command());
  c.children.push_back(extract_command());
  c.children.push_back(cat_command());
  c.children.push_back(verify_command());
  return c;
}

}  // namespace xum::tool
