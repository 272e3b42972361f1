#include "notes_app.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>
#include <xum/core/xexceptions.h>
#include <xum/core/xfile_utils.h>
#include <xum/formats/xstruct_format.h>
#include <xum/framework/tapplication.h>
#include <xum/framework/tdialogs.h>
#include <xum/streams/xfile_stream.h>
#include <xum/streams/xreplace_file_stream.h>
#include <xum/ui/tforms_positions.h>
#include <xum/ui/ttask_progress_form.h>
#include <xum/ui/uiutils.h>

namespace notes {

namespace {

std::string read_file(const xum::xstr& name) {
  xum::xfile_stream in(name, xum::xfile_read);
  std::string bytes(static_cast<std::size_t>(in.get_size()), '\0');
  in.read_buffer(bytes.data(), static_cast<int>(bytes.size()));
  return bytes;
}

// Saved beside the old file and renamed over it, so a failed or cancelled
// save keeps it. Runs on a worker thread under the task progress form: the
// bytes go out in blocks, the bar follows, Cancel stops between blocks.
bool write_file(const xum::xstr& name, const std::string& bytes) {
  return xum::RunTask(u"Saving", [&](xum::xtask_progress& progress) {
    progress.SetText(u"Saving " + xum::ToUnicode(xum::xextract_file_name(name)));
    xum::xreplace_file_stream out(name);
    constexpr std::size_t block = 64 * 1024;
    for (std::size_t done = 0; done < bytes.size(); done += block) {
      progress.CheckCancelled();  // the old file stays: the new one is never renamed over it
      const std::size_t n = std::min(block, bytes.size() - done);
      out.write_buffer(bytes.data() + done, static_cast<int>(n));
      progress.SetProgress(static_cast<int>((done + n) / 1024), static_cast<int>(bytes.size() / 1024) + 1);
    }
    out.close();
  });
}

// Runs a load or save; a failure is shown and reported as no success.
template <class F>
bool attempt(F&& f) {
  try {
    f();
    return true;
  } catch (const xum::XException& e) {
    xum::ErrorBox(e.what(), 0x30);
    return false;
  }
}

template <class A>
A* action(xum::TForm* owner, xum::TMenuItem* menu, xum::TToolBar* bar, const char16_t* name) {
  auto* a = new A(owner);
  a->SetName(name);
  auto* item = new xum::TMenuItem(owner);
  item->SetAction(a);
  menu->Add(item);
  auto* button = new xum::TToolButton(owner);
  button->SetParent(bar);
  button->SetAction(a);
  return a;
}

}  // namespace

NotesApp::NotesApp(const std::string& settings, const std::u16string& registry_key)
    : settings_(settings) {
  xum::Application()->CreateForm(MainForm);
  xum::Application()->SetMainForm(MainForm);
  MainForm->SetName(u"NotesForm");
  MainForm->SetCaption(u"Notes");
  MainForm->SetBounds(100, 100, 640, 480);
  Editor = new xum::TEdit(MainForm);
  Editor->SetName(u"Editor");
  Editor->SetParent(MainForm);
  Editor->SetBounds(0, 30, 640, 420);
  // The bottom row: the status line, then the day of the walk; the panel
  // places them.
  StatusBar = new xum::TLayoutPanel(MainForm);
  StatusBar->SetName(u"StatusBar");
  StatusBar->SetParent(MainForm);
  StatusBar->SetBounds(0, 452, 640, 26);
  StatusBar->SetOrientation(xum::loHorizontal);
  StatusBar->SetSpacing(8);
  StatusLine = new xum::TLabel(MainForm);
  StatusLine->SetName(u"StatusLine");
  StatusLine->SetParent(StatusBar);
  StatusLine->SetWidth(500);
  WalkDate = new xum::TDatePicker(MainForm);
  WalkDate->SetName(u"WalkDate");
  WalkDate->SetParent(StatusBar);
  WalkDate->SetWidth(120);
  xum::xdate today;
  today.get_current();
  WalkDate->SetDate(today);
  ToolBar = new xum::TToolBar(MainForm);
  ToolBar->SetName(u"ToolBar");
  ToolBar->SetParent(MainForm);
  ToolBar->SetBounds(0, 0, 640, 28);

  Project = new xum::TProjectIntegrator(MainForm);
  Project->SetName(u"Project");
  Project->SetRegistryKey(registry_key);
  auto* open = new xum::TOpenDialog(MainForm);
  open->SetName(u"OpenDialog");
  open->SetFilter(u"Notes (*.txt)|*.txt|All files|*");
  auto* save = new xum::TSaveDialog(MainForm);
  save->SetName(u"SaveDialog");
  save->SetFilter(open->Filter());
  save->SetDefaultExt(u"txt");
  Project->SetOpenDialog(open);
  Project->SetSaveDialog(save);

  FileMenu = new xum::TMenuItem(MainForm);
  FileMenu->SetName(u"FileMenu");
  FileMenu->SetCaption(u"&File");
  action<xum::TNewProjectAction>(MainForm, FileMenu, ToolBar, u"NewAction")->SetCaption(u"&New");
  action<xum::TOpenProjectAction>(MainForm, FileMenu, ToolBar, u"OpenAction")
      ->SetCaption(u"&Open...");
  action<xum::TSaveProjectAction>(MainForm, FileMenu, ToolBar, u"SaveAction")->SetCaption(u"&Save");
  action<xum::TSaveProjectAsAction>(MainForm, FileMenu, ToolBar, u"SaveAsAction")
      ->SetCaption(u"Save &as...");
  RecentMenu = new xum::TMenuItem(MainForm);
  RecentMenu->SetName(u"RecentMenu");
  RecentMenu->SetCaption(u"&Recent");
  RecentMenu->SetEnabled(false);
  FileMenu->Add(RecentMenu);
  Project->SetRecentPopup(RecentMenu);
  ExitItem = new xum::TMenuItem(MainForm);
  ExitItem->SetName(u"ExitItem");
  ExitItem->SetCaption(u"E&xit");
  ExitItem->OnClick = [this](xum::TObject*) { MainForm->Close(); };
  FileMenu->Add(ExitItem);

  EditMenu = new xum::TMenuItem(MainForm);
  EditMenu->SetName(u"EditMenu");
  EditMenu->SetCaption(u"&Edit");
  auto* insert_date = new xum::TMenuItem(MainForm);
  insert_date->SetName(u"InsertDateItem");
  insert_date->SetCaption(u"Insert walk &date");
  insert_date->OnClick = [this](xum::TObject*) {
    if (!WalkDate->Checked()) return;
    const xum::UnicodeString text = Editor->Text();
    const bool ends_line = text.empty() || text.back() == u'\n';
    Editor->SetText(text + (ends_line ? u"" : u"\n") + WalkDate->Text() + u"\n");
  };
  EditMenu->Add(insert_date);

  xum::Application()->CreateForm(SelectorForm);
  SelectorForm->SetName(u"SelectorForm");
  SelectorForm->SetCaption(u"Notes");
  SelectorForm->SetBorderStyle(xum::bsDialog);
  Selector = new xum::TPrjSelector(SelectorForm);
  Selector->SetParent(SelectorForm);
  // The dialog is as large as the frame it shows.
  SelectorForm->SetBounds(200, 160, Selector->Width(), Selector->Height());
  Project->SetProjectSelector(Selector);
  Project->OnShowSelector = [this](xum::TObject*) { SelectorForm->ShowModal(); };

  Project->OnNew = [this](xum::TObject*, bool& ok) {
    loading_ = true;
    Editor->SetText(u"");
    loading_ = false;
    ok = true;
  };
  Project->OnLoad = [this](xum::TObject*, const xum::UnicodeString& name, bool& ok) {
    std::string text;
    ok = attempt([&] { text = read_file(xum::FromUnicode(name)); });
    loading_ = true;
    Editor->SetText(xum::ToUnicode(xum::xstr(text)));
    loading_ = false;
  };
  Project->OnSave = [this](xum::TObject*, bool& ok) {
    // A failure is presented by the progress form's run; a cancelled save
    // is no save either.
    ok = write_file(xum::FromUnicode(Project->FileName()), xum::FromUnicode(Editor->Text()).str());
  };
  Project->OnClear = [this](xum::TObject*) {
    loading_ = true;
    Editor->SetText(u"");
    loading_ = false;
  };
  Project->OnNameChange = [this](xum::TObject*) {
    const xum::xstr name = xum::xextract_file_name(xum::FromUnicode(Project->FileName()));
    MainForm->SetCaption(name.length() == 0 ? u"Notes" : u"Notes - " + xum::ToUnicode(name));
    update_status();
  };
  Editor->OnChange = [this](xum::TObject*) {
    if (!loading_) Project->Modify();
    update_status();
  };
  // Quitting asks about unsaved changes; Cancel keeps the application open.
  MainForm->OnCloseQuery = [this](xum::TObject*, bool& can_close) {
    can_close = Project->CloseQuery();
  };

  if (xum::xfile_exists(xum::xstr(settings_), false)) {
    attempt([&] {
      xum::xstruct_format f;
      f.open_file(xum::xstr(settings_), xum::xfile_read);
      xum::TFormsPositions().AllCreatedForms(f);
      f.close();
    });
  }
}

NotesApp::~NotesApp() {
  attempt([&] {
    xum::xstruct_format f;
    f.open_file(xum::xstr(settings_), xum::xfile_create);
    f.identifier("NotesSettings");
    xum::TFormsPositions positions;
    positions.ExcludeForm("QueryStringForm");
    positions.AllCreatedForms(f);
    f.close();
  });
  // The integrator, owned by the main form, writes the recent list back.
  if (xum::Application()->MainForm() == MainForm) xum::Application()->SetMainForm(nullptr);
  delete SelectorForm;
  delete MainForm;
}

void NotesApp::Start() {
  Project->LoadRecentsList();
  Project->Start();
}

std::u16string NotesApp::Status() const { return StatusLine->Caption(); }

void NotesApp::update_status() {
  // Lines that begin with a number count as metres walked.
  double meters = 0;
  int lines = 0;
  const std::string text = xum::FromUnicode(Editor->Text()).str();
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    ++lines;
    if (text[start] >= '0' && text[start] <= '9')
      meters += std::strtod(text.c_str() + start, nullptr);
    start = end + 1;
  }
  const xum::xstr name = xum::xextract_file_name(xum::FromUnicode(Project->FileName()));
  StatusLine->SetCaption(xum::ToUnicode(name + " | " + xum::xstr(std::to_string(lines)) +
                                        " lines | " + xum::DistanceText(meters, true)));
}

}  // namespace notes
