// `xum demo --gui`: the demo's report shown in a real window. The window is
// a form of the framework's model (a tool bar, a list view of the report's
// sections, the full report, a Close button), drawn by the Qt backend; the
// model does not know which backend draws it.
#include <sstream>
#include <vector>

#include "backends/qt/xqt_backend.h"
#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xmain_loop.h"
#include "imaging/xglyph.h"
#include "tools/xum/demo_sections.h"

namespace xum::tool {

namespace {
constexpr int demo_glyph_id = 100;  // the glyph resource (tools/CMakeLists.txt)

UnicodeString text(const std::string& s) { return xutf8_to_utf16(s); }
}  // namespace

void show_demo_window(const std::string& report, int close_after_ms) {
  use_qt_backend();
  TForm* form = nullptr;
  Application()->CreateForm(form);
  form->SetName(u"DemoWindow");
  form->SetCaption(u"XUMComps demo");
  form->SetBounds(80, 80, 760, 540);
  const xglyph glyph(demo_glyph_id);

  auto* bar = new TToolBar(form);
  bar->SetName(u"DemoTools");
  bar->SetParent(form);
  bar->SetBounds(0, 0, 760, 56);
  glyph.GenerateToolbarImageLists(bar, 1, 1);
  auto* close_tool = new TToolButton(form);
  close_tool->SetName(u"CloseTool");
  close_tool->SetCaption(u"Close");
  close_tool->SetImageIndex(0);
  close_tool->SetParent(bar);
  close_tool->OnClick = [form](TObject*) { form->Close(); };

  // Sections: the lines that start at the margin; their lines follow.
  auto* sections = new TListView(form);
  sections->SetName(u"Sections");
  sections->SetParent(form);
  sections->SetBounds(8, 64, 260, 420);
  sections->Columns().Add()->SetCaption(u"Section");
  sections->Columns().Items(0)->SetWidth(190);
  sections->Columns().Add()->SetCaption(u"Lines");
  auto* lines = new TListBox(form);
  lines->SetName(u"Report");
  lines->SetParent(form);
  lines->SetBounds(276, 64, 476, 420);
  std::istringstream in(report);
  TListItem* current = nullptr;
  int count = 0;
  for (std::string line; std::getline(in, line);) {
    lines->Items().Add(text(line));
    if (!line.empty() && line[0] != ' ') {
      if (current != nullptr) current->SubItems().Add(text(std::to_string(count)));
      current = sections->Items().Add();
      current->SetCaption(text(line));
      count = 0;
    } else if (!line.empty()) {
      ++count;
    }
  }
  if (current != nullptr) current->SubItems().Add(text(std::to_string(count)));

  auto* close = new TBitBtn(form);
  close->SetName(u"CloseButton");
  close->SetCaption(u"Close");
  close->SetParent(form);
  close->SetBounds(652, 496, 100, 32);
  close->SetDefault(true);
  glyph.GenerateButtonGlyph(close, 0, 1, 1);
  close->OnClick = [form](TObject*) { form->Close(); };

  int timer = 0;
  if (close_after_ms > 0)
    timer = xmain_loop::instance().add_timer(close_after_ms, [form] { form->Close(); });
  Application()->Run();
  if (timer != 0) xmain_loop::instance().remove_timer(timer);
}

}  // namespace xum::tool
