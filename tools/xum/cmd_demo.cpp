// xum demo: runs what the library can do on the bundled sample data and
// prints a short report. Each subsystem adds its section here.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xstr.h"
#include "framework/xexception_presenter.h"
#include "framework/xui_backend.h"
#include "platform/xplatform.h"
#include "tools/xum/commands.h"
#include "tools/xum/demo_sections.h"

namespace fs = std::filesystem;

namespace xum::tool {

std::string samples_dir() {
  if (const char* env = std::getenv("XUM_SAMPLES"); env && *env) return env;
#ifdef XUM_SOURCE_SAMPLES
  if (fs::is_directory(XUM_SOURCE_SAMPLES)) return XUM_SOURCE_SAMPLES;
#endif
  const fs::path exe = platform::executable_path();
  return (exe.parent_path().parent_path() / "share" / "xum" / "samples").string();
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

}  // namespace

cli::command demo_command() {
  cli::command c;
  c.name = "demo";
  c.summary = "Run the library on the bundled sample data and print a report";
  c.usage = "[SAMPLES_DIR]";
  c.help =
      "Runs every subsystem built so far on the sample data and prints what it\n"
      "found. SAMPLES_DIR defaults to the bundled samples folder ($XUM_SAMPLES\n"
      "overrides it).";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(0, 1);
    const fs::path dir = pos.empty() ? fs::path(samples_dir()) : fs::path(pos[0]);
    if (!fs::is_directory(dir)) xerror(xstr("Sample folder not found !\nFile: ") + dir.string().c_str());
    std::cout << "XUMComps demo on " << dir.string() << "\n\n";
    strings_section(dir);
    catalogue_section();
    exceptions_section(dir);
    streams_section(dir);
    return cli::exit_ok;
  };
  return c;
}

}  // namespace xum::tool
