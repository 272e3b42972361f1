// xum demo: runs what the library can do on the bundled sample data and
// prints a short report. Each subsystem adds its section here.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xstr.h"
#include "core/xutf.h"
#include "formats/xstruct_format.h"
#include "framework/xexception_presenter.h"
#include "framework/xui_backend.h"
#include "platform/xos.h"
#include "streams/xmemory_stream.h"
#include "tools/xum/commands.h"
#include "tools/xum/demo_sections.h"

namespace fs = std::filesystem;

namespace xum::tool {

std::string samples_dir() {
  if (const char* env = std::getenv("XUM_SAMPLES"); env && *env) return env;
  // An installed xum finds the samples installed beside it, wherever it is
  // run from; /proc/self/exe names the real file, so a symbolic link to the
  // program does not matter.
  const fs::path exe = platform::os().executable_path();
  const fs::path installed =
      exe.empty() ? fs::path() : (exe.parent_path() / ".." / "share" / "xum" / "samples").lexically_normal();
  if (!installed.empty() && fs::is_directory(installed)) return installed.string();
#ifdef XUM_SOURCE_SAMPLES
  // A program in the build tree has no share/ folder beside it.
  if (fs::is_directory(XUM_SOURCE_SAMPLES)) return XUM_SOURCE_SAMPLES;
#endif
  return installed.string();
}

namespace {

xstr read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) xerror(xstr("Cannot read the sample file !\nFile: ") + path.string().c_str());
  std::ostringstream s;
  s << in.rdbuf();
  return xstr(std::string_view(s.str()));
}

// Strings: tokenise the sample text, classify every token with the strict
// number check and show case mapping and UTF-16 conversion.
void strings_section(const fs::path& dir) {
  const fs::path file = dir / "text" / "words.txt";
  const xstr text = read_file(file);
  std::cout << "Strings (" << file.lexically_relative(dir).string() << ", " << text.length()
            << " bytes)\n";

  int tokens = 0, integers = 0, reals = 0, negatives = 0;
  long double sum = 0;
  xstr rejected;
  xstr longest;
  const xstr whole = text;  // shares the block: no characters copied
  int start = -1;
  for (int i = 0; i <= whole.length(); ++i) {
    const char c = whole[i];
    const bool separator = c == 0 || c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == ';';
    if (!separator && start < 0) start = i;
    if (!separator || start < 0) continue;
    const xstr token = whole.sub_str(start, i - start);
    start = -1;
    ++tokens;
    bool negative = false, integer = false;
    if (token.is_number(&negative, &integer)) {
      (integer ? integers : reals)++;
      if (negative) ++negatives;
      xstr dotted = token;
      if (const int comma = dotted.char_first_pos(','); comma >= 0) dotted.put_char(comma, '.');
      sum += dotted.as_number();
    } else if (token.at(0) >= '0' && token.at(0) <= '9') {
      rejected += rejected.empty() ? token : " " + token;
    }
    if (token.length() > longest.length()) longest = token;
  }
  xstr total;
  total.from_real(static_cast<double>(sum));
  std::cout << "  tokens: " << tokens << ", numbers: " << integers + reals << " (" << integers
            << " integer, " << reals << " real, " << negatives << " negative), sum " << total.view()
            << "\n";
  std::cout << "  look like numbers but are not: " << rejected.view() << "\n";
  std::cout << "  shared blocks: the text has " << text.use_count() << " holders while scanned\n";

  const int line_end = text.char_first_pos('\n');
  const int from = text.str_first_pos("Straße");
  const xstr scripts_line = text.sub_str(from, text.str_first_pos("\nΩ") - from);
  std::cout << "  upper case: " << scripts_line.upper_case().view() << "\n";
  std::cout << "  lower case: " << scripts_line.lower_case().view() << "\n";
  const xstr first_line = text.sub_str(0, line_end);
  std::cout << "  first line: " << first_line.enquotate().view() << "\n";
  std::size_t units = 0;
  for (const char16_t* w = text.w_str(); *w; ++w) ++units;
  std::cout << "  UTF-16: " << units << " code units for " << text.length() << " bytes; longest token "
            << longest.enquotate().view() << "\n\n";
}

// The settings of a report window, described once for both directions.
struct window_layout {
  xstr title, width, height, left, caption;
  std::vector<xstr> columns, recent;
};

void describe_list(xstruct_format& f, std::vector<xstr>& items) {
  if (f.reading()) {
    items.clear();
    while (f.get_keys_left()) items.push_back(f.str_prop("", "", "", false));
  } else {
    for (const xstr& item : items) f.str_prop("", item, "", true);
  }
}

void describe(xstruct_format& f, window_layout& l) {
  f.identifier("MainLayout");
  f.str("Title", l.title, "untitled", false);
  f.str("Width", l.width, "800", false);
  f.str("Height", l.height, "600", false);
  if (f.begin_section("Panel")) {
    f.str("Left", l.left, "0", false);
    f.str("Caption", l.caption, "", false);
    if (f.begin_section("Columns")) describe_list(f, l.columns);
    f.end_section();
  }
  f.end_section();
  if (f.begin_section("RecentFiles")) describe_list(f, l.recent);
  f.end_section();
}

std::string joined(const std::vector<xstr>& items) {
  std::string s;
  for (const xstr& i : items) s += (s.empty() ? "" : ", ") + std::string(i.view());
  return s;
}

// Settings: load a structured property file, read it with the describe-once
// calls, change it, save it to memory in the text form and read it back.
void settings_section(const fs::path& dir) {
  const fs::path file = dir / "settings" / "layout.txt";
  std::cout << "Settings file (" << file.lexically_relative(dir).string() << ")\n";
  xstruct_format f;
  f.open_file(xstr(file.string().c_str()), xfile_read);
  window_layout l;
  describe(f, l);
  std::cout << "  identifier " << f.stored_identifier().view() << ", " << f.label_count()
            << " labels; title " << l.title.enquotate().view() << ", " << l.width.view() << "x"
            << l.height.view() << ", panel caption " << l.caption.enquotate().view() << "\n";
  std::cout << "  columns: " << joined(l.columns) << "\n  recent files: " << joined(l.recent) << "\n";

  l.width = "1280";
  l.recent.insert(l.recent.begin(), "/home/ann/q3.xls");
  xmemory_stream saved;
  f.open_stream(saved, xstream_write, false);  // closing the read discards its tree
  describe(f, l);
  f.close();
  std::cout << "  saved " << saved.size() << " bytes with width 1280 and a new recent file\n";
  saved.seek(0, xseek_begin);
  f.open_stream(saved, xstream_read, false);
  window_layout back;
  describe(f, back);
  std::cout << "  read back: width " << back.width.view() << ", " << back.recent.size()
            << " recent files, caption keeps its blanks: " << back.caption.enquotate().view() << "\n";
  try {
    xbuffer_stream bad("Width=1\r\nHeight 2\r\n", 19);
    f.open_stream(bad, xstream_read, false);
  } catch (const Exception& e) {
    std::string m = e.what();
    std::cout << "  a line without \"=\" is reported: " << m.substr(0, m.find('\n')) << "\n";
  }
  std::cout << "\n";
}

void catalogue_section() {
  int count = 0;
  const xloc_str* last = nullptr;
  for (const xloc_str* r = loc_strings; r; r = r->next, ++count) last = r;
  std::cout << "Message catalogue\n  " << count << " records, the list runs from \""
            << (loc_strings ? loc_strings->key.view() : "") << "\" to \""
            << (last ? last->key.view() : "") << "\"\n\n";
}

// Exceptions: a failure raised through xerror, presented by the application
// handler through the headless UI backend, written into the report.
void exceptions_section(const fs::path& dir) {
  std::cout << "Exception presentation (headless UI backend)\n";
  xheadless_backend ui;
  std::ostringstream boxes;
  ui.set_output(&boxes);
  xui_backend_scope use(ui);
  try {
    read_file(dir / "text" / "missing.txt");
  } catch (...) {
    xpresent_exception(std::current_exception());
  }
  try {
    xstr("abc").sub_str(2, 5);
  } catch (...) {
    xpresent_exception(std::current_exception());
  }
  std::istringstream lines(boxes.str());
  for (std::string line; std::getline(lines, line);) std::cout << "  " << line << "\n";
}

// Writes what the report prints to standard output and to a copy.
class report_tee final : public std::streambuf {
 public:
  report_tee(std::streambuf* out, std::streambuf* copy) : out_(out), copy_(copy) {}

 protected:
  int overflow(int c) override {
    if (c == traits_type::eof()) return traits_type::not_eof(c);
    copy_->sputc(static_cast<char>(c));
    return out_->sputc(static_cast<char>(c));
  }
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    copy_->sputn(s, n);
    return out_->sputn(s, n);
  }
  int sync() override { return out_->pubsync(); }

 private:
  std::streambuf* out_;
  std::streambuf* copy_;
};

}  // namespace

cli::command demo_command() {
  cli::command c;
  c.name = "demo";
  c.summary = "Run the library on the bundled sample data and print a report";
  c.usage = "[--gui [--page NAME] [--close-after MS [--screenshot FILE]]] [SAMPLES_DIR]";
  c.help =
      "Runs every subsystem built so far on the sample data and prints what it\n"
      "found. SAMPLES_DIR defaults to the bundled samples folder ($XUM_SAMPLES\n"
      "overrides it).\n"
      "\n"
      "  --gui              also show the report in a real window, drawn by the\n"
      "                     Qt backend (needs a display; xum built with Qt 6),\n"
      "                     beside a gallery of the library's visual components\n"
      "                     (pages Components, Files and Web; F1 opens the help)\n"
      "  --page NAME        the page shown first: Report (the default),\n"
      "                     Components, Files or Web\n"
      "  --close-after MS   close that window by itself after MS milliseconds\n"
      "  --screenshot FILE  with --close-after: save the window as a PNG picture\n"
      "                     just before it closes";
  c.run = [](cli::arguments& a) {
    const bool gui = a.flag("--gui");
    const auto close_after = a.option("--close-after");
    const auto page = a.option("--page");
    const auto screenshot = a.option("--screenshot");
    if (page && !gui) throw Exception(u"--page needs --gui");
    if (page && *page != "Report" && *page != "Components" && *page != "Files" && *page != "Web")
      throw Exception(u"--page: no page named " + xutf8_to_utf16(*page) +
                      u" (Report, Components, Files or Web)");
    if (screenshot && !close_after) throw Exception(u"--screenshot needs --close-after");
    const auto pos = a.positionals(0, 1);
    int close_after_ms = 0;
    if (close_after) {
      if (!gui) throw Exception(u"--close-after needs --gui");
      try {
        close_after_ms = std::stoi(*close_after);
      } catch (const std::exception&) {
        close_after_ms = -1;
      }
      if (close_after_ms <= 0) throw Exception(u"--close-after: not a positive number of milliseconds: " + xutf8_to_utf16(*close_after));
    }
#ifndef XUM_WITH_QT
    if (gui) throw Exception(u"--gui: this xum was built without the Qt backend (Qt 6 Widgets was not found)");
#endif
    const fs::path dir = pos.empty() ? fs::path(samples_dir()) : fs::path(pos[0]);
    if (!fs::is_directory(dir)) xerror(xstr("Sample folder not found !\nFile: ") + dir.string().c_str());
    // With --gui the report is also kept for the window.
    std::ostringstream report;
    report_tee tee(std::cout.rdbuf(), report.rdbuf());
    struct restore {
      std::streambuf* buffer;
      ~restore() { std::cout.rdbuf(buffer); }
    } keep{gui ? std::cout.rdbuf(&tee) : std::cout.rdbuf()};
    std::cout << "XUMComps demo on " << dir.string() << "\n\n";
    strings_section(dir);
    settings_section(dir);
    catalogue_section();
    exceptions_section(dir);
    localization_section();
    streams_section(dir);
    archive_section(dir);
    images_section();
#ifdef XUM_WITH_QT
    if (gui) {
      std::cout.flush();
      demo_window_options options;
      options.samples = fs::absolute(dir).lexically_normal().string();
      options.page = page ? *page : std::string();
      options.screenshot = screenshot ? *screenshot : std::string();
      options.close_after_ms = close_after_ms;
      show_demo_window(report.str(), options);
    }
#endif
    return cli::exit_ok;
  };
  return c;
}

}  // namespace xum::tool
