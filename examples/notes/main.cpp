// The notes editor, played through one session by the scripted UI backend:
// start -> the selector's "new" -> type -> save as -> new -> reopen from the
// recent menu -> type more -> quit, answering Yes to the save question.
// Each step prints the status line; a second run in the same folder finds
// the note in the recent list kept in the settings store.
//
//   notes DIR        (DIR holds the note, the form positions and the store)
#include <cstdlib>
#include <iostream>
#include <string>
#include <xum/core/xmessage_box.h>
#include <xum/framework/tapplication.h>
#include <xum/framework/xui_backend.h>

#include "notes_app.h"

namespace {

void show(const char* step, const notes::NotesApp& app) {
  std::cout << step << ": " << xum::FromUnicode(app.Status()).str() << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || std::string(argv[1]) == "--help") {
    std::cerr << "usage: notes DIR\nPlays one editing session of the notes editor in DIR.\n";
    return argc == 2 ? 0 : 2;
  }
  const std::string dir = argv[1];
  setenv("XUM_REGISTRY_ROOT", (dir + "/registry").c_str(), 1);
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
