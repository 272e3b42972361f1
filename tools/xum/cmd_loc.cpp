// xum loc: localization dictionaries (the files xlocalizer collects) for
// translators. `status` counts entries per top-level section, `todo` lists
// what needs a translator, `set` stores one translation, `merge` carries
// translations over from an older dictionary (or a .bak), and `export` /
// `import` exchange a dictionary with the gettext tools as a .po file:
//   # previous: Einstellung          a kept previous translation ("p")
//   #, fuzzy                         ... when the entry waits for a new one
//   msgctxt "Main/Title"             the key path
//   msgid "Options"                  the source text ("o")
//   msgstr "Einstellung"             the translation ("t"); "" when none,
//                                    the source text for "!@!"
// Every rewrite replaces the dictionary only with a complete new file.
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "localization/xlocalizer.h"
#include "platform/xlanguages.h"
#include "streams/xreplace_file_stream.h"
#include "tools/xum/commands.h"
#include "tools/xum/xpo_file.h"

namespace xum::tool {

namespace {

constexpr std::string_view none = xlocalizer::not_translated;
constexpr std::string_view same = xlocalizer::same_as_source;

// One entry of a dictionary: its key path and its three texts ("!#!" when
// missing, as the localizer reads them).
struct entry {
  std::vector<std::string> path;
  std::string o = std::string(none), t = std::string(none), p = std::string(none);

  std::string key() const {
    std::string k;
    for (const auto& part : path) k += (k.empty() ? "" : "/") + part;
    return k;
  }
  bool has_previous() const { return p != none; }
  // The disjoint states: a translation, "!@!", nothing, and nothing but a
  // previous translation kept after the source text changed.
  bool same_as_source() const { return t == same || (t == o && t != none); }
  bool changed() const { return t == none && has_previous(); }
  bool untranslated() const { return t == none && !has_previous(); }
  bool translated() const { return !same_as_source() && t != none; }
};

struct dictionary {
  std::string file;
  xstruct_format format;
  std::vector<entry> entries;
};

// Loads `file` (which must be a dictionary) and lists its entries in file
// order: every section holding "o", "t" or "p".
void load(dictionary& d, const std::string& file) {
  d.file = file;
  d.format.open_file(xstr(file), xfile_read);
  d.format.identifier(xstr(xlocalizer::file_identifier));
  const auto code = [&d](std::string_view label) { return d.format.find_code(label).value_or(-1); };
  const int co = code("o"), ct = code("t"), cp = code("p");
  std::vector<std::string> path;
  const auto walk = [&](auto& self, const xstruct_section& s) -> void {
    entry e;
    bool any = false;
    for (int i = s.value_count() - 1; i >= 0; --i) {  // the first of equal keys wins
      const xstruct_value& v = s.value(i);
      std::string* target = v.code() == co   ? &e.o
                            : v.code() == ct ? &e.t
                            : v.code() == cp ? &e.p
                                             : nullptr;
      if (target == nullptr) continue;
      *target = v.text().str();
      any = true;
    }
    if (any) {
      e.path = path;
      d.entries.push_back(std::move(e));
    }
    for (int i = 0; i < s.child_count(); ++i) {
      path.push_back(d.format.label_by_code(s.child(i).code()).str());
      self(self, s.child(i));
      path.pop_back();
    }
  };
  walk(walk, d.format.root());
}

// An edit of one entry: the texts to store ("t" and "p"), or nothing.
struct edit {
  std::vector<std::string> path;
  std::optional<std::string> o, t, p;
};

// Stores the edits in the dictionary and replaces its file (or `target`)
// with the complete result.
void rewrite(dictionary& d, const std::vector<edit>& edits, const std::string& target = "") {
  xreplace_file_stream out(xstr(target.empty() ? d.file : target));
  d.format.save_to_stream(out);
  try {
    d.format.identifier(xstr(xlocalizer::file_identifier));
    for (const edit& e : edits) {
      for (const auto& part : e.path) d.format.begin_section(xstr(part));
      if (e.o) d.format.assign_str("o", xstr(*e.o));
      if (e.t) d.format.assign_str("t", xstr(*e.t));
      if (e.p) d.format.assign_str("p", xstr(*e.p));
      for (std::size_t i = 0; i < e.path.size(); ++i) d.format.end_section();
    }
    d.format.close();
  } catch (...) {
    d.format.discard();
    throw;
  }
  out.close();
}

std::vector<std::string> split_path(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t slash = path.find('/', start);
    parts.push_back(path.substr(start, slash - start));
    if (xstr(parts.back()).trim().empty())
      throw cli::usage_error("empty part in path '" + path + "'");
    if (slash == std::string::npos) return parts;
    start = slash + 1;
  }
}

// --- status and todo ---------------------------------------------------------------

struct counts {
  int entries = 0, translated = 0, same = 0, untranslated = 0, changed = 0;
  void add(const entry& e) {
    ++entries;
    translated += e.translated();
    same += e.same_as_source();
    untranslated += e.untranslated();
    changed += e.changed();
  }
};

cli::command status_command() {
  cli::command c;
  c.name = "status";
  c.summary = "Count translated and untranslated entries of a dictionary";
  c.usage = "FILE.loc";
  c.help =
      "Prints, per top-level section and in total, the entries and how many are\n"
      "translated, the same as their source (\"!@!\"), untranslated (\"!#!\") and\n"
      "changed (untranslated, with the previous translation kept in \"p\").\n"
      "The four states are disjoint; exported with 'xum loc export', msgfmt\n"
      "--statistics counts translated + same as translated, changed as fuzzy\n"
      "and untranslated as untranslated.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    dictionary d;
    load(d, pos[0]);
    std::vector<std::pair<std::string, counts>> sections;
    counts total;
    for (const entry& e : d.entries) {
      const std::string top = e.path.size() > 1 ? e.path[0] : std::string("(top)");
      auto it = std::find_if(sections.begin(), sections.end(),
                             [&](const auto& s) { return s.first == top; });
      if (it == sections.end()) it = sections.insert(sections.end(), {top, counts{}});
      it->second.add(e);
      total.add(e);
    }
    const auto line = [](const std::string& name, const counts& n) {
      std::cout << name << ": " << n.entries << " entries, " << n.translated << " translated, "
                << n.same << " same as source, " << n.untranslated << " untranslated, " << n.changed
                << " changed\n";
    };
    for (const auto& [name, n] : sections) line(name, n);
    line("total", total);
    return cli::exit_ok;
  };
  return c;
}

cli::command todo_command() {
  cli::command c;
  c.name = "todo";
  c.summary = "List the entries that wait for a translation";
  c.usage = "FILE.loc";
  c.help =
      "Prints each untranslated or changed entry as its key path, then the\n"
      "source text and, for a changed entry, the previous translation, quoted.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    dictionary d;
    load(d, pos[0]);
    for (const entry& e : d.entries) {
      if (e.t != none) continue;
      std::cout << e.key() << "\n  source:   " << xstr(e.o).enquotate().view() << "\n";
      if (e.has_previous()) std::cout << "  previous: " << xstr(e.p).enquotate().view() << "\n";
    }
    return cli::exit_ok;
  };
  return c;
}

// --- set and merge -------------------------------------------------------------------

// Whether the dictionary's text form holds `v` as it is (see xlocalizer's
// `string`): no line break, no tab or " @" at the end.
bool storable(std::string_view v) {
  return v.find_first_of("\r\n") == std::string_view::npos && !v.ends_with('\t') &&
         !v.ends_with(" @");
}

// What "t" stores for a translation `text` of the source `o`.
std::string stored_translation(const std::string& o, const std::string& text) {
  return text == o ? std::string(same) : text.empty() ? std::string(none) : text;
}

cli::command set_command() {
  cli::command c;
  c.name = "set";
  c.summary = "Store the translation of one entry";
  c.usage = "FILE.loc PATH TEXT";
  c.help =
      "PATH is the entry's key path as 'xum loc todo' prints it (Main/Title).\n"
      "A TEXT equal to the source text is stored as \"!@!\", an empty one as\n"
      "\"!#!\" (untranslated). A path that names no entry is a failure.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(3, 3);
    const auto path = split_path(pos[1]);
    dictionary d;
    load(d, pos[0]);
    const auto it = std::find_if(d.entries.begin(), d.entries.end(),
                                 [&](const entry& e) { return e.path == path; });
    if (it == d.entries.end()) {
      xerror(xstr("No such entry ! Key: ") + xstr(pos[1]) + "\n" + xstr("File: ") + xstr(pos[0]));
      return cli::exit_failure;
    }
    if (!storable(pos[2]))
      throw cli::usage_error(
          "a dictionary cannot hold a TEXT with a line break or ending in a tab or \" @\"");
    rewrite(d, {edit{path, std::nullopt, stored_translation(it->o, pos[2]), std::nullopt}});
    return cli::exit_ok;
  };
  return c;
}

cli::command merge_command() {
  cli::command c;
  c.name = "merge";
  c.summary = "Carry translations from an older dictionary into a newer one";
  c.usage = "OLD.loc NEW.loc";
  c.help =
      "Each untranslated or changed entry of NEW takes the translation of the\n"
      "entry of OLD with the same key path when both have exactly the same\n"
      "source text; failing that, the translation of the entries of OLD with\n"
      "exactly that source text when they all agree on one. Nothing else is\n"
      "carried: no similar texts, no guesses. NEW is rewritten when anything\n"
      "was carried; the count goes to standard output.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(2, 2);
    dictionary old_d, new_d;
    load(old_d, pos[0]);
    load(new_d, pos[1]);
    std::map<std::vector<std::string>, const entry*> by_path;
    std::map<std::string, std::string> by_source;  // source -> translation, "" when they disagree
    for (const entry& e : old_d.entries) {
      if (e.t == none) continue;
      by_path.emplace(e.path, &e);
      const std::string tr = e.same_as_source() ? e.o : e.t;
      const auto [it, fresh] = by_source.emplace(e.o, tr);
      if (!fresh && it->second != tr) it->second.clear();
    }
    std::vector<edit> edits;
    for (const entry& e : new_d.entries) {
      if (e.t != none || e.o == none) continue;
      std::string tr;
      if (const auto it = by_path.find(e.path); it != by_path.end() && it->second->o == e.o)
        tr = it->second->same_as_source() ? e.o : it->second->t;
      else if (const auto s = by_source.find(e.o); s != by_source.end())
        tr = s->second;
      if (tr.empty()) continue;
      edits.push_back(edit{e.path, std::nullopt, stored_translation(e.o, tr), std::nullopt});
    }
    if (!edits.empty()) rewrite(new_d, edits);
    std::cout << edits.size() << " translations carried into " << pos[1] << "\n";
    return cli::exit_ok;
  };
  return c;
}

// --- export and import ---------------------------------------------------------------

// The dictionary's last change in UTC, as the header field wants it.
std::string revision_date(const std::string& file) {
  using namespace std::chrono;
  std::error_code ec;
  const auto written = std::filesystem::last_write_time(file, ec);
  if (ec) return "1970-01-01 00:00+0000";
  const auto utc = floor<minutes>(file_clock::to_sys(written));
  const year_month_day day(floor<days>(utc));
  const hh_mm_ss<minutes> time(utc - floor<days>(utc));
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d+0000", static_cast<int>(day.year()),
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()));
  return text;
}

// The locale of the language a dictionary's name ends with (app_DEU.loc ->
// de_DE): the first locale of that language, its own country preferred.
std::string po_language(const std::string& file) {
  const std::string name = xextract_file_name(xstr(file)).str();
  const auto under = name.rfind('_');
  const auto dot = name.rfind('.');
  if (under == std::string::npos || dot == std::string::npos || dot < under) return "";
  const std::string language = name.substr(under + 1, dot - under - 1);
  std::string found;
  for (const auto& row : platform::language_table()) {
    if (row.language != language) continue;
    const std::string locale = row.locale;
    if (found.empty()) found = locale;
    if (locale.size() == 5 && std::toupper(static_cast<unsigned char>(locale[0])) == locale[3] &&
        std::toupper(static_cast<unsigned char>(locale[1])) == locale[4])
      return locale;
  }
  return found;
}

std::string export_po(const dictionary& d) {
  const std::string name = xextract_file_name(xstr(d.file)).str();
  const std::string quoted = po_quote(name);
  std::string po = "# Translations of " + name +
                   ", exported by xum loc.\n"
                   "msgid \"\"\n"
                   "msgstr \"\"\n"
                   "\"Project-Id-Version: " +
                   quoted.substr(1, quoted.size() - 2) +
                   "\\n\"\n"
                   "\"MIME-Version: 1.0\\n\"\n"
                   "\"Content-Type: text/plain; charset=UTF-8\\n\"\n"
                   "\"Content-Transfer-Encoding: 8bit\\n\"\n"
                   "\"PO-Revision-Date: " +
                   revision_date(d.file) +
                   "\\n\"\n"
                   "\"Last-Translator: \\n\"\n"
                   "\"Language-Team: \\n\"\n"
                   "\"Language: " +
                   po_language(d.file) + "\\n\"\n";
  for (const entry& e : d.entries) {
    po += "\n";
    if (e.has_previous()) po += "# previous: " + e.p + "\n";
    if (e.changed()) po += "#, fuzzy\n";
    po += "msgctxt " + po_quote(e.key()) + "\n";
    po += "msgid " + po_quote(e.o) + "\n";
    const std::string& str = e.same_as_source() ? e.o
                             : e.changed()      ? e.p
                             : e.t == none      ? std::string()
                                                : e.t;
    po += "msgstr " + po_quote(str) + "\n";
  }
  return po;
}

std::string read_input(const std::string& name) {
  if (name == "-") return std::string(std::istreambuf_iterator<char>(std::cin), {});
  std::ifstream in(name, std::ios::binary);
  if (!in) {
    xerror(xstr("File not found !\nFile: ") + xstr(name));
    return std::string();
  }
  return std::string(std::istreambuf_iterator<char>(in), {});
}

cli::command export_command() {
  cli::command c;
  c.name = "export";
  c.summary = "Write a dictionary as a gettext .po file for translators";
  c.usage = "[-o FILE.po] FILE.loc";
  c.help =
      "Each entry becomes one message: msgctxt is the key path, msgid the\n"
      "source text, msgstr the translation (empty when untranslated, the source\n"
      "text for \"!@!\"). A previous translation is kept in a '# previous: '\n"
      "comment; an entry that waits for a new translation is marked fuzzy with\n"
      "the previous translation as its msgstr. 'xum loc import' reads it back.\n"
      "\n"
      "Options:\n"
      "  -o, --output FILE   write to FILE (replaced once complete); '-' or no\n"
      "                      option: standard output\n";
  c.run = [](cli::arguments& a) {
    const std::string output = a.option("--output", "-o").value_or("-");
    const auto pos = a.positionals(1, 1);
    dictionary d;
    load(d, pos[0]);
    const std::string po = export_po(d);
    if (output == "-") {
      std::cout << po;
      cli::check_output(std::cout);
    } else {
      xreplace_file_stream out{xstr(output)};
      out.write_buffer(po.data(), static_cast<int>(po.size()));
      out.close();
    }
    return cli::exit_ok;
  };
  return c;
}

cli::command import_command() {
  cli::command c;
  c.name = "import";
  c.summary = "Store the translations of a gettext .po file in a dictionary";
  c.usage = "FILE.po FILE.loc";
  c.help =
      "Reads messages as 'xum loc export' writes them ('-': standard input)\n"
      "and stores each one's translation in the entry its msgctxt names: an\n"
      "empty or fuzzy msgstr as \"!#!\", one equal to msgid as \"!@!\", and the\n"
      "'# previous: ' comment as the previous translation. An entry missing\n"
      "from FILE.loc is added; one whose source text differs from msgid is left\n"
      "alone and reported, and the command then exits with 1. A FILE.loc that\n"
      "does not exist is made from the .po file alone. Exporting and importing\n"
      "again gives back the same file, byte for byte.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(2, 2);
    const auto messages = parse_po(read_input(pos[0]), pos[0]);
    dictionary d;
    if (xfile_exists(xstr(pos[1]), false))
      load(d, pos[1]);
    else
      d.file = pos[1];
    std::map<std::vector<std::string>, const entry*> by_path;
    for (const entry& e : d.entries) by_path.emplace(e.path, &e);
    std::vector<edit> edits;
    int refused = 0;
    for (const po_entry& m : messages) {
      if (!m.has_context && m.id.empty()) continue;  // the header
      if (!m.has_context) {
        std::cerr << pos[0] << ":" << m.line << ": message without msgctxt (key path) skipped\n";
        ++refused;
        continue;
      }
      const auto path = split_path(m.context);
      const std::string t = m.fuzzy || m.str.empty() ? std::string(none)
                            : m.str == m.id          ? std::string(same)
                                                     : m.str;
      const std::string p = m.previous.value_or(std::string(none));
      if (!storable(m.id) || !storable(t) || !storable(p)) {
        std::cerr << pos[0] << ":" << m.line << ": " << m.context
                  << ": a text with a line break (or ending in a tab or \" @\") cannot be stored; "
                     "skipped\n";
        ++refused;
        continue;
      }
      const auto it = by_path.find(path);
      if (it == by_path.end()) {
        edits.push_back(
            edit{path, m.id, t, p == none ? std::nullopt : std::optional<std::string>(p)});
        continue;
      }
      const entry& e = *it->second;
      if (e.o != m.id) {
        std::cerr << pos[0] << ":" << m.line << ": " << m.context
                  << ": the source text differs from " << pos[1] << "; left alone\n";
        ++refused;
        continue;
      }
      edit ed{path, std::nullopt, std::nullopt, std::nullopt};
      // Unchanged meanings are not stored again, so the file stays as it was.
      const bool same_t = e.t == t || (t == same && e.same_as_source());
      if (!same_t) ed.t = t;
      if (e.p != p) ed.p = p;
      if (ed.t || ed.p) edits.push_back(ed);
    }
    if (!edits.empty() || d.entries.empty()) rewrite(d, edits);
    return refused == 0 ? cli::exit_ok : cli::exit_failure;
  };
  return c;
}

}  // namespace

cli::command loc_command() {
  cli::command c;
  c.name = "loc";
  c.summary = "Inspect, translate and exchange localization dictionaries (.loc)";
  c.usage = "COMMAND [ARGS...]";
  c.children = {status_command(), todo_command(),   set_command(),
                merge_command(),  export_command(), import_command()};
  return c;
}

}  // namespace xum::tool
