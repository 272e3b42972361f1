// xum struct: structured property files on disk, in either form. `dump`
// prints the tree, `get` one value, `set` changes or adds one value and
// `pack` removes empty sections; the last two rewrite the file in the text
// form. `convert` writes a file in the text or the binary form.
#include <iostream>
#include <string>
#include <vector>

#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "streams/xfile_stream.h"
#include "streams/xmemory_stream.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// "Panel/#0/Left" -> {"Panel", "#0", "Left"}; empty parts are refused.
std::vector<std::string> split_path(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t slash = path.find('/', start);
    parts.push_back(path.substr(start, slash - start));
    if (parts.back().empty()) throw cli::usage_error("empty part in path '" + path + "'");
    if (slash == std::string::npos) return parts;
    start = slash + 1;
  }
}

void load(xstruct_format& f, const std::string& file) { f.open_file(xstr(file.c_str()), xfile_read); }

// Writes the contents of `f` (loaded for reading) back to `file`, after
// `edit` has run in the writing direction. The text is built in memory
// first, so a failure leaves the file as it was.
template <class Edit>
void rewrite(xstruct_format& f, const std::string& file, Edit edit) {
  xmemory_stream text;
  f.save_to_stream(text);
  edit();
  f.close();
  xfile_stream out(xstr(file.c_str()), xfile_create);
  out.write_buffer(text.data(), text.size());
  out.close();
}

int count_sections(const xstruct_section& s) {
  int n = 0;
  std::vector<const xstruct_section*> todo{&s};
  while (!todo.empty()) {
    const xstruct_section* t = todo.back();
    todo.pop_back();
    n += t->child_count();
    for (int i = 0; i < t->child_count(); ++i) todo.push_back(&t->child(i));
  }
  return n;
}

void dump(xstruct_format& f) {
  if (!f.stored_identifier().empty()) std::cout << "identifier " << f.stored_identifier().view() << "\n";
  struct frame {
    const xstruct_section* section;
    int next;
  };
  std::string indent;
  const auto values = [&](const xstruct_section& s) {
    for (int i = 0; i < s.value_count(); ++i)
      std::cout << indent << f.label_by_code(s.value(i).code()).view() << " = "
                << s.value(i).text().enquotate().view() << "\n";
  };
  values(f.root());
  std::vector<frame> frames{{&f.root(), 0}};
  while (!frames.empty()) {
    frame& top = frames.back();
    if (top.next == top.section->child_count()) {
      frames.pop_back();
      if (!frames.empty()) indent.resize(indent.size() - 2);
      continue;
    }
    const xstruct_section& child = top.section->child(top.next++);
    std::cout << indent << f.label_by_code(child.code()).view() << "/\n";
    indent += "  ";
    values(child);
    frames.push_back({&child, 0});
  }
}

cli::command dump_command() {
  cli::command c;
  c.name = "dump";
  c.summary = "Print the tree of a structured property file";
  c.usage = "FILE";
  c.help =
      "Prints the identifier, then each section's values as KEY = \"TEXT\" and its\n"
      "sections as NAME/, indented two spaces per level, in file order.\n"
      "Anonymous entries show as #0, #1, ... Reads the text and the binary form.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    xstruct_format f;
    load(f, pos[0]);
    dump(f);
    return cli::exit_ok;
  };
  return c;
}

cli::command get_command() {
  cli::command c;
  c.name = "get";
  c.summary = "Print one value of a structured property file";
  c.usage = "FILE PATH";
  c.help =
      "PATH names the sections and the key, separated by '/': Panel/Left, or\n"
      "List/#0 for the first anonymous value. A missing value is a failure.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(2, 2);
    const auto parts = split_path(pos[1]);
    xstruct_format f;
    load(f, pos[0]);
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) f.begin_section(xstr(parts[i].c_str()));
    const xstruct_value* v = f.value_by_key(xstr(parts.back().c_str()));
    if (!v) xerror(xstr("No value at this path !\nKey: ") + pos[1].c_str());
    std::cout << v->text().view() << "\n";
    return cli::exit_ok;
  };
  return c;
}

cli::command set_command() {
  cli::command c;
  c.name = "set";
  c.summary = "Change or add one value and rewrite the file";
  c.usage = "FILE PATH VALUE";
  c.help =
      "Stores VALUE under PATH (see 'get'), creating missing sections, and\n"
      "writes the file back in the text form with CR LF line breaks.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(3, 3);
    const auto parts = split_path(pos[1]);
    xstruct_format f;
    load(f, pos[0]);
    rewrite(f, pos[0], [&] {
      for (std::size_t i = 0; i + 1 < parts.size(); ++i) f.begin_section(xstr(parts[i].c_str()));
      f.assign_str(xstr(parts.back().c_str()), xstr(pos[2].c_str()));
    });
    return cli::exit_ok;
  };
  return c;
}

cli::command pack_command() {
  cli::command c;
  c.name = "pack";
  c.summary = "Remove sections that hold nothing and rewrite the file";
  c.usage = "FILE";
  c.help = "Prints how many sections were removed.";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    xstruct_format f;
    load(f, pos[0]);
    const int before = count_sections(f.root());
    int after = 0;
    rewrite(f, pos[0], [&] {
      f.pack();
      after = count_sections(f.root());
    });
    std::cout << "removed " << before - after << " empty sections\n";
    return cli::exit_ok;
  };
  return c;
}

cli::command convert_command() {
  cli::command c;
  c.name = "convert";
  c.summary = "Write a structured property file in the text or the binary form";
  c.usage = "FILE --to text|binary [-o|--output OUT]";
  c.help =
      "Loads FILE (either form) and writes it to OUT, or back to FILE, in the\n"
      "form asked for. The binary form keeps at most 32,767 values and sections\n"
      "per section and labels of at most 255 bytes; texts of 256 bytes or more\n"
      "do not read back from it.";
  c.run = [](cli::arguments& a) {
    const auto to = a.option("--to");
    const auto out = a.option("--output", "-o");
    const auto pos = a.positionals(1, 1);
    if (!to || (*to != "text" && *to != "binary")) throw cli::usage_error("--to must be 'text' or 'binary'");
    xstruct_format f;
    load(f, pos[0]);
    rewrite(f, out ? *out : pos[0], [&] { f.set_binary(*to == "binary"); });
    return cli::exit_ok;
  };
  return c;
}

}  // namespace

cli::command struct_command() {
  cli::command c;
  c.name = "struct";
  c.summary = "Read and edit structured property files (settings, layouts)";
  c.children.push_back(dump_command());
  c.children.push_back(get_command());
  c.children.push_back(set_command());
  c.children.push_back(pack_command());
  c.children.push_back(convert_command());
  return c;
}

}  // namespace xum::tool
