// `xum demo --gui`: the demo's report and the component gallery in a real
// window. The window is a form of the framework's model (a tool bar, a page
// control with the report's sections and lines, the gallery's pages, a
// Close button), drawn by the Qt backend; the model does not know which
// backend draws it.
#include <sstream>
#include <vector>

#include "backends/qt/xqt_backend.h"
#ifdef XUM_WITH_WEB
#include "backends/web/xweb_view.h"
#endif
#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/tcomctrls.h"
#include "framework/tpage_control.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xmain_loop.h"
#include "imaging/xglyph.h"
#include "tools/xum/demo_sections.h"
#include "ui/twebbrowser.h"

namespace xum::tool {

namespace {
constexpr int demo_glyph_id = 100;  // the glyph resource (tools/CMakeLists.txt)

UnicodeString text(const std::string& s) { return xutf8_to_utf16(s); }
}  // namespace

void show_demo_window(const std::string& report, const demo_window_options& options) {
  use_qt_backend();
  // The gallery's browser is drawn by the web engine when it can run here.
  std::string no_web = "this xum was built without the web engine";
#ifdef XUM_WITH_WEB
  try {
    use_web_view();
    no_web.clear();
  } catch (const std::exception& e) {
    no_web = e.what();
  }
#endif
  TForm* form = nullptr;
  Application()->CreateForm(form);
  form->SetName(u"DemoWindow");
  form->SetCaption(u"XUMComps demo");
  form->SetBounds(80, 80, 760, 580);
  form->SetKeyPreview(false);
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

  auto* pages = new TPageControl(form);
  pages->SetName(u"DemoPages");
  pages->SetParent(form);
  pages->SetBounds(8, 60, 744, 470);
  auto* report_sheet = new TTabSheet(form);
  report_sheet->SetName(u"ReportSheet");
  report_sheet->SetCaption(u"Report");
  report_sheet->SetHelpKeyword(u"report");
  report_sheet->SetParent(pages);
  const int page_height = pages->Height() - pages->TabHeight();

  // Sections: the lines that start at the margin; their lines follow.
  auto* sections = new TListView(form);
  sections->SetName(u"Sections");
  sections->SetParent(report_sheet);
  sections->SetBounds(4, 4, 260, page_height - 8);
  sections->Columns().Add()->SetCaption(u"Section");
  sections->Columns().Items(0)->SetWidth(190);
  sections->Columns().Add()->SetCaption(u"Lines");
  auto* lines = new TListBox(form);
  lines->SetName(u"Report");
  lines->SetParent(report_sheet);
  lines->SetBounds(272, 4, 464, page_height - 8);
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

  TWebBrowser* browser = nullptr;
  build_gallery(form, pages, options.samples, no_web, &browser);
  if (!options.page.empty()) {
    bool found = false;
    for (int i = 0; i < pages->PageCount() && !found; ++i)
      if (FromUnicode(pages->Pages(i)->Caption()).str() == options.page) {
        pages->SetActivePageIndex(i);
        found = true;
      }
    if (!found) throw Exception(u"--page: no page named " + text(options.page));
  }

  auto* close = new TBitBtn(form);
  close->SetName(u"CloseButton");
  close->SetCaption(u"Close");
  close->SetParent(form);
  close->SetBounds(652, 538, 100, 32);
  close->SetDefault(true);
  glyph.GenerateButtonGlyph(close, 0, 1, 1);
  close->OnClick = [form](TObject*) { form->Close(); };

  int timer = 0;
  std::exception_ptr failed;
  if (options.close_after_ms > 0)
    timer = xmain_loop::instance().add_timer(options.close_after_ms, [&, form] {
      if (!options.screenshot.empty()) try {
          use_qt_backend().save_picture(*form, text(options.screenshot));
        } catch (...) {
          failed = std::current_exception();
        }
      form->Close();
    });
  Application()->Run();
  if (timer != 0) xmain_loop::instance().remove_timer(timer);
  // The window goes now, while Qt and the web engine still run, and then the
  // backend with its Qt application: the web engine's threads end before
  // the process's exit, not during it.
  (void)browser;
  delete form;
  Application()->ProcessMessages();
  end_qt_backend();
  if (failed) std::rethrow_exception(failed);
}

}  // namespace xum::tool
