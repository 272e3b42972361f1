// The localization part of `xum demo`: a first run in German collects a
// form's texts into a new dictionary, a translator translates two of them,
// and the second run shows the form translated without rewriting the file.
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>

#include "core/xfile_utils.h"
#include "core/xstr.h"
#include "formats/xstruct_format.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "localization/xcomponent_localizer.h"
#include "localization/xlocalizer.h"
#include "streams/xreplace_file_stream.h"
#include "tools/xum/demo_sections.h"

namespace fs = std::filesystem;

namespace xum::tool {

namespace {

// The report window of the demo, as an application would build it.
std::unique_ptr<TForm> report_form() {
  auto form = std::make_unique<TForm>(nullptr);
  form->SetName(u"ReportForm");
  form->SetCaption(u"Monthly report");
  auto* ok = new TButton(form.get());
  ok->SetName(u"OkBtn");
  ok->SetCaption(u"OK");
  auto* rows = new TLabel(form.get());
  rows->SetName(u"RowsLabel");
  rows->SetCaption(u"Rows per page");
  auto* count = new TLabel(form.get());
  count->SetName(u"CountLabel");
  count->SetCaption(u"25");
  return form;
}

struct run_result {
  std::string caption, label;
  bool modified;
};

run_result run(const xstr& file) {
  xlocalizer loc;
  loc.open_file(file, "DEU");
  const auto form = report_form();
  loc.component(form.get(), nullptr);
  loc.end_writing();
  const auto* rows = static_cast<TLabel*>(form->FindComponent(u"RowsLabel"));
  return {FromUnicode(form->Caption()).str(), FromUnicode(rows->Caption()).str(), loc.modified()};
}

// What a translator does in an editor (or with `xum loc set`): stores the
// translation of the entry at `path` (sections, then the key).
void translate(const xstr& file, std::initializer_list<const char*> path, const char* text) {
  xstruct_format f;
  f.open_file(file, xfile_read);
  xreplace_file_stream out(file);
  f.save_to_stream(out);
  for (const char* part : path) f.begin_section(part);
  f.assign_str("t", text);
  for (std::size_t i = 0; i < path.size(); ++i) f.end_section();
  f.close();
  out.close();
}

int entries(const xstr& file) {
  xstruct_format f;
  f.open_file(file, xfile_read);
  int n = 0;
  const auto walk = [&n](auto& self, const xstruct_section& s) -> void {
    for (int i = 0; i < s.child_count(); ++i) {
      n += s.child(i).value_count() > 0;
      self(self, s.child(i));
    }
  };
  walk(walk, f.root());
  return n;
}

}  // namespace

void localization_section() {
  std::cout << "Localization (a form in \"DEU\")\n";
  // A fresh name beside a temporary file of our own: the dictionary and the
  // file both go when the section ends.
  xtemp_file temp;
  if (temp.get_file_name().empty()) xerror("Cannot create a temporary file !");
  const xstr file = xchange_file_ext(temp.get_file_name(), "_DEU.loc");
  struct remove_later {
    std::string name;
    ~remove_later() {
      std::error_code ignored;
      fs::remove(name, ignored);
    }
  } dictionary{file.str()};
  const run_result first = run(file);
  std::cout << "  first run: \"" << first.caption << "\", \"" << first.label
            << "\"; the new dictionary " << xextract_file_name(file).view() << " holds "
            << entries(file) << " entries, none translated\n";
  translate(file, {"ReportForm", "@Caption"}, "Monatsbericht");
  translate(file, {"ReportForm", "RowsLabel", "@Caption"}, "Zeilen pro Seite");
  std::cout << "  a translator sets ReportForm/@Caption and ReportForm/RowsLabel/@Caption\n";
  const run_result second = run(file);
  std::cout << "  second run: \"" << second.caption << "\", \"" << second.label << "\"; dictionary "
            << (second.modified ? "rewritten" : "not rewritten (nothing new)") << "\n\n";
}

}  // namespace xum::tool
