// The notes editor, played through one session by the scripted UI backend:
// start -> the selector's "new" -> type -> save as -> new -> reopen from the
// recent menu -> type more -> quit, answering Yes to the save question.
// Each step prints the status line; a second run in the same folder finds
// the note in the recent list kept in the settings store.
//
// Built against XUMComps::Qt (found by find_package), `--gui` (or
// XUM_BACKEND=qt in the environment) runs the editor in real windows
// instead: the selector, then the main window until the user quits.
//
//   notes DIR                        (DIR holds the note, the form positions and the store)
//   notes --gui [--quit-after MS] DIR
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>
#include <xum/core/xmessage_box.h>
#include <xum/framework/tapplication.h>
#include <xum/framework/xui_backend.h>
#ifdef XUM_NOTES_WITH_QT
#include <xum/backends/qt/xqt_backend.h>
#include <xum/framework/xmain_loop.h>
#endif

#include "notes_app.h"

namespace {

const char usage[] =
    "usage: notes DIR\n"
    "       notes --gui [--quit-after MS] DIR\n"
    "Plays one editing session of the notes editor in DIR. With --gui (or\n"
    "XUM_BACKEND=qt) runs the editor in real windows instead; --quit-after MS\n"
    "chooses \"Create new project\" in the selector and quits MS milliseconds\n"
    "later by the File menu's Exit (for unattended runs).\n";

#ifdef XUM_NOTES_WITH_QT
int run_gui(const std::string& dir, int quit_after_ms) {
  try {
    xum::use_qt_backend();
  } catch (const std::exception& e) {
    std::cerr << "notes: " << e.what() << "\n";
    return 1;
  }
  notes::NotesApp app(dir + "/notes.tsf", u"Software\\XUMComps\\Notes");
  int timer = 0;
  if (quit_after_ms > 0) {
    // The unattended user: "new" in the selector, Exit once the main window
    // has been up for the given time.
    timer = xum::xmain_loop::instance().add_timer(quit_after_ms, [&app] {
      if (app.SelectorForm->Visible())
        app.Selector->CreateNewBtn->Click();
      else if (app.MainForm->Visible()) {
        std::cout << "quit from: " << xum::FromUnicode(app.Status()).str() << std::endl;
        app.ExitItem->Click();
      }
    });
  }
  app.Start();
  if (app.Project->LastResult()) xum::Application()->Run();
  if (timer != 0) xum::xmain_loop::instance().remove_timer(timer);
  return 0;
}
#endif

void show(const char* step, const notes::NotesApp& app) {
  std::cout << step << ": " << xum::FromUnicode(app.Status()).str() << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  const char* backend = std::getenv("XUM_BACKEND");
  bool gui = backend != nullptr && std::string(backend) == "qt";
  int quit_after_ms = 0;
  std::string dir;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--help") {
      std::cout << usage;
      return 0;
    }
    if (args[i] == "--gui") {
      gui = true;
    } else if (args[i] == "--quit-after" && i + 1 < args.size()) {
      const std::string& ms = args[++i];
      quit_after_ms =
          ms.find_first_not_of("0123456789") == std::string::npos && !ms.empty() && ms.size() < 9
              ? std::stoi(ms)
              : 0;
      if (quit_after_ms <= 0) {
        std::cerr << "notes: --quit-after: not a positive number of milliseconds: " << ms << "\n";
        return 2;
      }
    } else if (dir.empty() && (args[i].empty() || args[i][0] != '-')) {
      dir = args[i];
    } else {
      std::cerr << usage;
      return 2;
    }
  }
  if (dir.empty() || (quit_after_ms > 0 && !gui)) {
    std::cerr << usage;
    return 2;
  }
  setenv("XUM_REGISTRY_ROOT", (dir + "/registry").c_str(), 1);
  if (gui) {
#ifdef XUM_NOTES_WITH_QT
    return run_gui(dir, quit_after_ms);
#else
    std::cerr << "notes: --gui: this notes was built without the Qt backend "
                 "(XUMComps::Qt was not found)\n";
    return 1;
#endif
  }
  xum::xscripted_backend ui;
  xum::xui_backend_scope use(ui);
  int failures = 0;
  {
    notes::NotesApp app(dir + "/notes.tsf", u"Software\\XUMComps\\Notes");
    ui.queue_press({u"CreateNewBtn"});
    app.Start();
    std::cout << "recent: " << app.Project->RecentList().size() << "\n";
    app.Editor->SetText(u"1200 along the river\n800 back\n");
    show("typed", app);
    ui.queue_files({xum::ToUnicode(xum::xstr(dir + "/trip.txt"))});
    app.FileMenu->Items(3)->Click();  // Save as...
    show("saved", app);
    app.FileMenu->Items(0)->Click();  // New
    app.RecentMenu->Items(0)->Click();
    show("reopened", app);
    app.Editor->SetText(app.Editor->Text() + u"4000 up the hill\n");
    ui.queue_answer(xum::IDYES);
    app.ExitItem->Click();
    failures += ui.boxes().size() != 1 || ui.boxes()[0].flags != 35;
    std::cout << "asked: " << ui.boxes().at(0).text.str() << "\n";
  }
  std::cout << (failures == 0 ? "ok" : "failed") << "\n";
  return failures == 0 ? 0 : 1;
}
