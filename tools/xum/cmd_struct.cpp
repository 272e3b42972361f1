// xum struct: structured property files on disk, in either form. `dump`
// prints the tree, `get` one value, `set` changes or adds one value and
// `pack` removes empty sections; the last two rewrite the file in its own
// form. `convert` writes a file in the text or the binary form. Every
// rewrite checks first that the whole tree reads back from the form it is
// written in, and replaces a file only with a complete new one.
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "streams/xreplace_file_stream.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// "Panel/#0/Left" -> {"Panel", "#0", "Left"}; parts that are empty or
// blank are refused (the format would take them for the next anonymous
// entry).
std::vector<std::string> split_path(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (;;) {
    const std::size_t slash = path.find('/', start);
    parts.push_back(path.substr(start, slash - start));
    if (xstr(parts.back().c_str()).trim().empty()) throw cli::usage_error("empty part in path '" + path + "'");
    if (slash == std::string::npos) return parts;
    start = slash + 1;
  }
}

void load(xstruct_format& f, const std::string& file) { f.open_file(xstr(file.c_str()), xfile_read); }

const char* form_name(xstruct_form form) { return form == xstruct_form::binary ? "binary" : "text"; }

// Writes the contents of `f` (loaded for reading) to `target` in `form`,
// after `edit` has run in the writing direction. Nothing is written when
// the edited tree does not read back from `form`: the failure names the
// first entry that does not fit, and `source`, the file it came from. The
// new file replaces `target` only once it is complete, so any failure
// leaves `target` as it was.
template <class Edit>
void rewrite(xstruct_format& f, const std::string& source, const std::string& target, xstruct_form form, Edit edit) {
  xreplace_file_stream out(xstr(target.c_str()));
  f.save_to_stream(out);
  try {
    edit();
    if (const auto m = f.first_misfit(form)) {
      xerror(xstr("Cannot be written in the ") + form_name(form) + " form !\n" + m->message() + "\n" +
             msg::FileName.text + source.c_str());
    }
    f.set_binary(form == xstruct_form::binary);
    f.close();
  } catch (...) {
    f.discard();  // `out` goes first, and with it the new file
    throw;
  }
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
  c.usage = "[--no-create] FILE PATH VALUE";
  c.help =
      "Stores VALUE under PATH (see 'get'), creating missing sections, and\n"
      "writes the file back in its form: the text form with CR LF line breaks,\n"
      "or the binary form. A missing FILE is created in the text form, unless\n"
      "--no-create is given.\n"
      "What the file's form cannot read back is refused and the file left as\n"
      "it was: in the text form a key that starts with '<' or '>' or holds\n"
      "'=', a name with a line break, a value with a line break, a value that\n"
      "ends in a tab or in a blank and '@'; in the binary form a name or value\n"
      "of more than 255 bytes, or more than 32,767 entries in a section.\n"
      "The new file is written beside the old one and replaces it when complete.";
  c.run = [](cli::arguments& a) {
    const bool no_create = a.flag("--no-create");
    const auto pos = a.positionals(3, 3);
    const auto parts = split_path(pos[1]);
    xstruct_format f;
    // A missing file starts empty, in the text form; --no-create lets the
    // load report it.
    if (no_create || xfile_exists(xstr(pos[0].c_str()), false)) load(f, pos[0]);
    rewrite(f, pos[0], pos[0], f.loaded_form(), [&] {
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
  c.help =
      "Prints how many sections were removed. The file keeps its form; it is\n"
      "written beside the old one and replaces it when complete, and left as it\n"
      "was when its form cannot read the tree back (see 'set').";
  c.run = [](cli::arguments& a) {
    const auto pos = a.positionals(1, 1);
    xstruct_format f;
    load(f, pos[0]);
    const int before = count_sections(f.root());
    int after = 0;
    rewrite(f, pos[0], pos[0], f.loaded_form(), [&] {
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
      "form asked for. The binary form keeps names, the identifier and texts of\n"
      "at most 255 bytes, at most 32,767 values and 32,767 sections in a\n"
      "section, and names among the first 32,767 of the file; the text form\n"
      "cannot keep line breaks in names and values, and the keys and values\n"
      "listed under 'set'. The whole tree is checked first: when something does\n"
      "not fit, the first such key is named and no file is written. OUT is\n"
      "written beside its old version and replaces it when complete.";
  c.run = [](cli::arguments& a) {
    const auto to = a.option("--to");
    const auto out = a.option("--output", "-o");
    const auto pos = a.positionals(1, 1);
    if (!to || (*to != "text" && *to != "binary")) throw cli::usage_error("--to must be 'text' or 'binary'");
    xstruct_format f;
    load(f, pos[0]);
    rewrite(f, pos[0], out ? *out : pos[0], *to == "binary" ? xstruct_form::binary : xstruct_form::text, [] {});
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
