// The component gallery of `xum demo --gui`: every visual component of the
// library, live, on the pages of the demo window. Built from the model
// alone: the backend that draws it is chosen elsewhere.
#include <chrono>
#include <thread>
#include <string>

#include "core/xdate.h"
#include "core/xutf.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/tgraphics.h"
#include "framework/tpage_control.h"
#include "framework/tstdctrls.h"
#include "imaging/xbmp.h"
#include "imaging/xglyph.h"
#include "tools/xum/demo_sections.h"
#include "ui/tcolor_scale.h"
#include "ui/tcolor_selector.h"
#include "ui/tdate_picker.h"
#include "ui/thtml_help.h"
#include "ui/tlayout_panel.h"
#include "ui/tminimizable_group_box.h"
#include "ui/tshell_controls.h"
#include "ui/ttask_progress_form.h"
#include "ui/tvalue_scroller.h"
#include "ui/twebbrowser.h"
#include "ui/txum_speed_button.h"

namespace xum::tool {

namespace {

constexpr int demo_glyph_id = 100;  // the glyph resource (tools/CMakeLists.txt)

UnicodeString text(const std::string& s) { return xutf8_to_utf16(s); }

template <class T>
T* make(TComponent* owner, TWinControl* parent, const char16_t* name, int width, int height) {
  auto* c = new T(owner);
  c->SetName(name);
  c->SetParent(parent);
  c->SetBounds(c->Left(), c->Top(), width, height);
  return c;
}

TTabSheet* add_sheet(TForm* form, TPageControl* pages, const char16_t* name,
                     const char16_t* caption) {
  auto* sheet = new TTabSheet(form);
  sheet->SetName(name);
  sheet->SetCaption(caption);
  sheet->SetParent(pages);
  return sheet;
}

TSeparator* rule(TForm* form, TWinControl* parent, const char16_t* name, const char16_t* caption) {
  auto* r = make<TSeparator>(form, parent, name, 300, 18);
  r->SetCaption(caption);
  return r;
}

// The values and colours column.
void values_column(TForm* form, TLayoutPanel* column, TLabel* status) {
  rule(form, column, u"ValuesRule", u"Values");
  auto* zoom = make<TValueScroller>(form, column, u"ZoomScroller", 160, 24);
  zoom->SetRange(10, 400);
  zoom->SetIncrement(10);
  zoom->SetPageIncrement(50);
  zoom->SetUnitText(u"%");
  zoom->SetValue(100);
  zoom->SetHelpKeyword(u"gallery");
  zoom->OnChange = [zoom, status](TObject*) {
    status->SetCaption(u"Zoom: " + zoom->DisplayText());
  };
  auto* way = make<TValueScroller>(form, column, u"DistanceScroller", 160, 24);
  way->SetUnits(vuDistance);
  way->SetDecimals(1);
  way->SetRange(0, 50000);
  way->SetIncrement(250);
  way->SetPageIncrement(5000);
  way->SetValue(1200);

  rule(form, column, u"ColoursRule", u"Colours");
  auto* ink = make<TColorSelector>(form, column, u"InkSelector", 200, 24);
  ink->SetCaption(u"Ink:");
  ink->SetColor(0x800000);
  ink->OnChange = [ink, status](TObject*) { status->SetCaption(u"Ink: " + ink->ColorText()); };
  auto* legend = make<TColorScale>(form, column, u"TemperatureScale", 300, 44);
  legend->SetRange(-10, 30);
  legend->AddStop(0.0, 0xFF0000);
  legend->AddStop(0.25, clWhite);
  legend->AddStop(1.0, clRed);
  legend->SetTickStep(10);

  rule(form, column, u"DatesRule", u"Dates");
  auto* due = make<TDatePicker>(form, column, u"DuePicker", 160, 24);
  xdate today;
  today.get_current();
  due->SetDate(today);
  due->OnChange = [due, status](TObject*) {
    status->SetCaption(due->Checked() ? u"Due: " + due->Text() : UnicodeString(u"No due date"));
  };
}

// Speed buttons made from the compiled-in glyph: a toggle and a group of
// two that is never all up.
void tools_box(TForm* form, TMinimizableGroupBox* box, TLabel* status) {
  const xglyph glyph(demo_glyph_id);
  TBitmap pictures[2];
  for (int frame = 0; frame < 2; ++frame) {
    const xbmp picture = glyph.state_image(frame % glyph.frame_count(), glyph_normal, 0xF0F0F0, 16, 1, 1);
    picture.assign_to(&pictures[frame]);
    // Drawn on the face colour: as a 24-bit picture its corner colour is
    // the transparent one.
    pictures[frame].SetPixelFormat(pf24bit);
  }
  const char16_t* names[] = {u"PinButton", u"LeftButton", u"RightButton"};
  for (int i = 0; i < 3; ++i) {
    auto* b = make<TxumSpeedButton>(form, box, names[i], 28, 28);
    b->SetBounds(12 + i * 32, 26, 28, 28);
    b->SetGlyph(pictures[i == 0 ? 0 : 1]);
    b->SetGroupIndex(i == 0 ? 1 : 2);
    if (i == 0) b->SetAllowAllUp(true);
    if (i == 1) b->SetDown(true);
    b->SetHint(i == 0 ? u"Pin (a toggle)" : u"One of two");
    b->OnClick = [b, status](TObject*) {
      status->SetCaption(b->Name() + (b->Down() ? u" down" : u" up"));
    };
  }
  auto* off = make<TxumSpeedButton>(form, box, u"OffButton", 28, 28);
  off->SetBounds(12 + 3 * 32 + 12, 26, 28, 28);
  off->SetGlyph(pictures[0]);
  off->SetEnabled(false);
}

// A long task on a worker thread, and the help opened at a topic.
void tasks_box(TForm* form, TMinimizableGroupBox* box, TLabel* status) {
  auto* run = make<TButton>(form, box, u"RunTaskButton", 150, 26);
  run->SetBounds(12, 26, 150, 26);
  run->SetCaption(u"Run a long task...");
  run->OnClick = [status](TObject*) {
    const bool done = RunTask(u"Counting", [](xtask_progress& p) {
      constexpr int steps = 60;
      for (int i = 0; i <= steps && !p.Cancelled(); ++i) {
        p.SetText(u"Step " + text(std::to_string(i)) + u" of " + text(std::to_string(steps)));
        p.SetProgress(i, steps);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    });
    status->SetCaption(done ? u"The task ran to its end" : u"The task was cancelled");
  };
  auto* help = make<TButton>(form, box, u"HelpButton", 150, 26);
  help->SetBounds(170, 26, 150, 26);
  help->SetCaption(u"Help (F1)");
  help->OnClick = [](TObject*) { Application()->HelpKeyword(u"gallery"); };
}

}  // namespace

void build_gallery(TForm* form, TPageControl* pages, const std::string& samples,
                   const std::string& no_web, TWebBrowser** browser) {
  TTabSheet* components = add_sheet(form, pages, u"ComponentsSheet", u"Components");
  components->SetHelpKeyword(u"gallery");
  auto* status = make<TLabel>(form, components, u"GalleryStatus", 700, 20);
  status->SetBounds(8, pages->Height() - pages->TabHeight() - 26, 700, 20);
  status->SetCaption(u"Scroll, pick, collapse, click: what changed shows here.");

  auto* left = make<TLayoutPanel>(form, components, u"ValuesColumn", 330, 300);
  left->SetBounds(8, 8, 330, pages->Height() - pages->TabHeight() - 40);
  left->SetOrientation(loVertical);
  left->SetSpacing(8);
  left->SetCrossAlign(lcStart);
  values_column(form, left, status);

  auto* right = make<TLayoutPanel>(form, components, u"BoxesColumn", 360, 300);
  right->SetBounds(350, 8, 360, pages->Height() - pages->TabHeight() - 40);
  right->SetOrientation(loVertical);
  right->SetSpacing(8);
  auto* tools = make<TMinimizableGroupBox>(form, right, u"ToolsBox", 360, 70);
  tools->SetCaption(u"Speed buttons");
  tools_box(form, tools, status);
  auto* tasks = make<TMinimizableGroupBox>(form, right, u"TasksBox", 360, 70);
  tasks->SetCaption(u"Tasks and help");
  tasks_box(form, tasks, status);
  auto* note = make<TMinimizableGroupBox>(form, right, u"NoteBox", 360, 90);
  note->SetCaption(u"About this page");
  auto* about = make<TLabel>(form, note, u"AboutLabel", 330, 40);
  about->SetBounds(12, 26, 330, 40);
  about->SetCaption(u"Collapse a box with the button in its caption:\nthe boxes below move up.");

  // The file system: a folder tree, its entries and the path, linked.
  TTabSheet* files = add_sheet(form, pages, u"FilesSheet", u"Files");
  files->SetHelpKeyword(u"files");
  const int height = pages->Height() - pages->TabHeight();
  auto* path = make<TShellComboBox>(form, files, u"PathBox", pages->Width() - 16, 24);
  path->SetBounds(8, 8, pages->Width() - 16, 24);
  auto* tree = make<TShellTreeView>(form, files, u"FolderTree", 220, height - 48);
  tree->SetBounds(8, 40, 220, height - 48);
  auto* list = make<TShellListView>(form, files, u"EntryList", pages->Width() - 244, height - 48);
  list->SetBounds(236, 40, pages->Width() - 244, height - 48);
  tree->SetShellListView(list);
  list->SetShellComboBox(path);
  tree->SetRoot(text(samples));

  // The web browser: the demo's help pages, opened here by F1 and Help.
  TTabSheet* web_sheet = add_sheet(form, pages, u"WebSheet", u"Web");
  Application()->SetHelpFile(text(samples + "/help"));
  if (!no_web.empty()) {
    std::string reason = no_web;  // a line each for the reason and the way out
    if (const auto colon = reason.find(": "); colon != std::string::npos)
      reason.replace(colon, 2, ":\n");
    auto* why = make<TLabel>(form, web_sheet, u"NoWebLabel", pages->Width() - 16, 80);
    why->SetBounds(8, 8, pages->Width() - 16, 80);
    why->SetCaption(u"No web page here. " + text(reason) +
                    u".\nF1 and Help open the help in the desktop's browser.");
    *browser = nullptr;
    return;
  }
  auto* web = make<TWebBrowser>(form, web_sheet, u"HelpBrowser", pages->Width(), height);
  web->SetBounds(0, 0, pages->Width(), height);
  *browser = web;
  HtmlHelp().SetOpener([web, pages, web_sheet](const xstr& url) {
    pages->SetActivePage(web_sheet);
    web->Navigate(ToUnicode(url));
    return true;
  });
  web->SetHomePage(ToUnicode(HtmlHelp().PageURL(text(samples + "/help"), u"")));
  web->GoHome();
}

}  // namespace xum::tool
