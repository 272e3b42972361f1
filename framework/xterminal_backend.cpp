#include "framework/xterminal_backend.h"

#include <cctype>

#include "framework/tapplication.h"
#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "framework/xmain_loop.h"
#include "framework/xmodal_loop.h"
#include "platform/xos.h"

namespace xum {

namespace {

std::string utf8(const UnicodeString& s) { return std::string(FromUnicode(s).view()); }

// A caption without its accelerator marks ("&Save" -> "Save", "&&" -> "&").
std::string plain_caption(const UnicodeString& caption) {
  std::string out;
  const std::string s = utf8(caption);
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '&' && i + 1 < s.size()) ++i;
    out.push_back(s[i]);
  }
  return out;
}

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

std::string trim(std::string s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.pop_back();
  std::size_t start = 0;
  while (start < s.size() && std::isspace(static_cast<unsigned char>(s[start]))) ++start;
  return s.substr(start);
}

// The label an answer names: its number (from 1), or the first label it
// begins, ignoring case. npos when it names none.
std::size_t match(const std::vector<std::string>& labels, const std::string& answer) {
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (answer == std::to_string(i + 1)) return i;
  const std::string wanted = lower(answer);
  for (std::size_t i = 0; i < labels.size(); ++i)
    if (lower(labels[i]).rfind(wanted, 0) == 0) return i;
  return std::string::npos;
}

std::string menu(const std::vector<std::string>& labels) {
  std::string out;
  for (std::size_t i = 0; i < labels.size(); ++i) out += (i ? "  [" : "[") + std::to_string(i + 1) + "] " + labels[i];
  return out;
}

// The button a box answers with when its user has gone: the one that
// stops what the box asks about.
int cancel_button(unsigned flags) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  for (const int wanted : {IDCANCEL, IDNO, IDABORT})
    for (int i = 0; i < count; ++i)
      if (ids[i] == wanted) return wanted;
  return ids[0];
}

// Every control of the form, in the order of the component tree.
void collect(TComponent& root, std::vector<TControl*>& out) {
  for (int i = 0; i < root.ComponentCount(); ++i) {
    TComponent* c = root.Components(i);
    if (auto* control = dynamic_cast<TControl*>(c); control && control->Visible() && control->Enabled())
      out.push_back(control);
    collect(*c, out);
  }
}

// Removes a watch of the main loop when the scope ends.
class watch_guard {
 public:
  explicit watch_guard(int& id) : id_(id) {}
  ~watch_guard() {
    if (id_ != 0) xmain_loop::instance().unwatch(id_);
  }
  watch_guard(const watch_guard&) = delete;
  watch_guard& operator=(const watch_guard&) = delete;

 private:
  int& id_;
};

}  // namespace

xterminal_backend::xterminal_backend(const char* device) : fd_(platform::os().open_terminal(device)) {}

xterminal_backend::~xterminal_backend() { platform::os().close_terminal(fd_); }

void xterminal_backend::say(const std::string& text) {
  if (fd_ >= 0) platform::os().write_terminal(fd_, text);
}

bool xterminal_backend::wait_for_input(xmodal_loop* modal) {
  xmain_loop& loop = xmain_loop::instance();
  // Only the main thread may run the loop's work; elsewhere read blocks.
  if (!loop.in_main_thread()) return true;
  for (;;) {
    // Ready now? A nested question may have taken the line that woke an
    // outer one, so this is asked again after every turn.
    platform::poll_entry entry{fd_, platform::poll_in, 0};
    if (platform::os().poll(&entry, 1, 0) > 0) return true;
    // The watch only ends the wait and goes: left in place, it would fire
    // in every turn of whatever runs the loop before the line is read.
    int id = 0;
    const watch_guard unwatch(id);
    id = loop.watch(fd_, xmain_loop::watch_in, [&loop, &id](unsigned) {
      loop.unwatch(id);
      id = 0;
    });
    if (modal != nullptr) {
      if (modal->turn(-1)) return false;
    } else {
      Application()->HandleMessage();
    }
  }
}

xterminal_backend::reply xterminal_backend::ask(const std::string& prompt, std::string& answer, xmodal_loop* modal) {
  say(prompt);
  if (fd_ < 0) return reply::end;
  if (!wait_for_input(modal)) {
    say("\n");
    return reply::closed;
  }
  return platform::os().read_terminal_line(fd_, answer) ? reply::line : reply::end;
}

xterminal_backend::reply xterminal_backend::choose(const std::vector<std::string>& labels, std::size_t default_index,
                                                   std::size_t& chosen, xmodal_loop* modal) {
  const std::string prompt = menu(labels) + " (default " + std::to_string(default_index + 1) + "): ";
  for (std::string answer;;) {
    if (const reply r = ask(prompt, answer, modal); r != reply::line) return r;
    answer = trim(answer);
    chosen = answer.empty() ? default_index : match(labels, answer);
    if (chosen != std::string::npos) return reply::line;
    say("Please answer with a number from 1 to " + std::to_string(labels.size()) + ".\n");
  }
}

int xterminal_backend::message_box(const xstr& text, const xstr& caption, unsigned flags) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  if (fd_ < 0) return cancel_button(flags);
  say("== " + std::string(caption.view()) + " ==\n" + std::string(text.view()) + "\n");
  std::vector<std::string> labels;
  std::size_t default_index = 0;
  for (int i = 0; i < count; ++i) {
    labels.emplace_back(xmessage_box_button_name(ids[i]));
    if (ids[i] == xmessage_box_default(flags)) default_index = static_cast<std::size_t>(i);
  }
  std::size_t chosen = 0;
  if (choose(labels, default_index, chosen, nullptr) != reply::line) return cancel_button(flags);
  return ids[chosen];
}

xterminal_backend::reply xterminal_backend::ask_form(TCustomForm& form, xmodal_loop& loop) {
  std::vector<TControl*> controls;
  collect(form, controls);
  // The edit and combo boxes first, one line each; an empty answer keeps
  // the text. Typing is an act on the form: OnChange may raise, or close it.
  for (TControl* c : controls) {
    auto* edit = dynamic_cast<TCustomEdit*>(c);
    auto* combo = dynamic_cast<TCustomComboBox*>(c);
    if ((edit == nullptr || edit->ReadOnly()) && combo == nullptr) continue;
    const std::string name = c->Hint().empty() ? utf8(c->Name()) : utf8(c->Hint());
    std::vector<std::string> items;
    if (combo != nullptr)
      for (int i = 0; i < combo->Items().Count(); ++i) items.push_back(utf8(combo->Items()[i]));
    const std::string prompt =
        name + " [" + utf8(c->Text()) + "]: " + (items.empty() ? std::string() : menu(items) + ": ");
    for (std::string answer;;) {
      if (const reply r = ask(prompt, answer, &loop); r != reply::line) return r;
      if (combo == nullptr) {
        if (!answer.empty() && loop.act([&] { edit->SetText(ToUnicode(xstr(std::string_view(answer)))); }))
          return reply::closed;
        break;
      }
      answer = trim(answer);
      if (answer.empty()) break;
      if (const std::size_t i = match(items, answer); i != std::string::npos) {
        if (loop.act([&] { combo->SetItemIndex(static_cast<int>(i)); })) return reply::closed;
        break;
      }
      if (combo->Style() != csDropDownList) {
        // Text of its own in the edit part: no item is current.
        const bool closed = loop.act([&] {
          combo->TCustomListControl::SetItemIndex(-1);
          combo->SetText(ToUnicode(xstr(std::string_view(answer))));
          if (combo->OnChange) combo->OnChange(combo);
        });
        if (closed) return reply::closed;
        break;
      }
      say("Please answer with a number from 1 to " + std::to_string(items.size()) + ".\n");
    }
  }
  // Then the buttons that close the form, the default one preselected.
  std::vector<std::string> labels;
  std::vector<TButton*> buttons;
  std::size_t default_index = 0;
  for (TControl* c : controls) {
    auto* button = dynamic_cast<TButton*>(c);
    if (button == nullptr || button->ModalResult() == mrNone) continue;
    if (button->Default()) default_index = buttons.size();
    labels.push_back(plain_caption(button->Caption()));
    buttons.push_back(button);
  }
  if (buttons.empty()) {
    std::string ignored;
    if (const reply r = ask("Press Enter to close: ", ignored, &loop); r != reply::line) return r;
    return loop.close_with(mrCancel) ? reply::closed : reply::line;
  }
  std::size_t chosen = 0;
  if (const reply r = choose(labels, default_index, chosen, &loop); r != reply::line) return r;
  TButton* pressed = buttons[chosen];
  return loop.act([pressed] { pressed->Click(); }) ? reply::closed : reply::line;
}

int xterminal_backend::show_modal(TCustomForm& form, xmodal_loop& loop) {
  if (fd_ < 0) return mrCancel;
  say("== " + utf8(form.Caption()) + " ==\n");
  for (;;) {
    if (loop.turn(0)) return form.ModalResult();  // the work already waiting
    switch (ask_form(form, loop)) {
      case reply::closed:
        return form.ModalResult();
      case reply::end:
        return mrCancel;
      case reply::line:
        // A refused close, or a press that set no result: ask again.
        if (loop.ended()) return form.ModalResult();
        say("The form stays open.\n");
        break;
    }
  }
}

bool xterminal_backend::file_dialog(TOpenDialog& dialog) {
  if (fd_ < 0) return false;
  std::string prompt = dialog.Title().empty() ? (dialog.IsSaveDialog() ? "Save as" : "Open") : utf8(dialog.Title());
  if (!dialog.InitialDir().empty()) prompt += " in " + utf8(dialog.InitialDir());
  if (!dialog.Filter().empty()) prompt += " (" + utf8(dialog.Filter()) + ")";
  std::string answer;
  if (ask(prompt + "\nFile name (empty cancels): ", answer, nullptr) != reply::line || answer.empty()) return false;
  const UnicodeString name = ToUnicode(xstr(std::string_view(answer)));
  dialog.Files().Clear();
  dialog.Files().Add(name);
  dialog.SetFileName(name);
  return true;
}

}  // namespace xum
