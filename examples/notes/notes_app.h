// The notes editor: a small document application on XUMComps. One text
// area, File menu and tool bar driven by the project actions, the recent
// projects menu, the start-up selector, form positions kept in a settings
// file, and a status line that adds up the distances noted in the text
// (every line that begins with a number of metres). The status line and a
// date picker for the day of the walk sit in a layout panel along the
// bottom (Edit > Insert walk date adds that day to the text); a save runs on
// a worker thread under the task progress form, so a long note can be
// cancelled mid-way and the old file stays.
//
// Its two forms are owned by the framework's application object and
// everything else by the main form; the destructor saves the form positions
// and destroys both forms, whose integrator then writes the recent list.
#ifndef XUM_EXAMPLES_NOTES_NOTES_APP_H
#define XUM_EXAMPLES_NOTES_NOTES_APP_H

#include <string>
#include <xum/app/tprj_selector.h>
#include <xum/app/tproject_action.h>
#include <xum/app/tproject_integrator.h>
#include <xum/framework/tcomctrls.h>
#include <xum/framework/tforms.h>
#include <xum/framework/tmenus.h>
#include <xum/framework/tstdctrls.h>
#include <xum/ui/tdate_picker.h>
#include <xum/ui/tlayout_panel.h>

namespace notes {

class NotesApp {
 public:
  // `settings` is the structured file holding the form positions;
  // `registry_key` the settings-store key of the recent list.
  NotesApp(const std::string& settings, const std::u16string& registry_key);
  // Saves the form positions and destroys the forms.
  ~NotesApp();
  NotesApp(const NotesApp&) = delete;
  NotesApp& operator=(const NotesApp&) = delete;

  // Loads the recent list and runs the start-up selector.
  void Start();
  // The text the status line shows.
  std::u16string Status() const;

  xum::TForm* MainForm;
  xum::TEdit* Editor;
  xum::TLabel* StatusLine;
  xum::TLayoutPanel* StatusBar;
  xum::TDatePicker* WalkDate;
  xum::TMenuItem* EditMenu;
  xum::TMenuItem* FileMenu;
  xum::TMenuItem* RecentMenu;
  xum::TMenuItem* ExitItem;
  xum::TToolBar* ToolBar;
  xum::TProjectIntegrator* Project;
  xum::TForm* SelectorForm;
  xum::TPrjSelector* Selector;

 private:
  void update_status();
  std::string settings_;
  bool loading_ = false;  // the editor's text is being set by the program
};

}  // namespace notes

#endif  // XUM_EXAMPLES_NOTES_NOTES_APP_H
