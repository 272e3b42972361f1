#include "framework/xterminal_backend.h"

#include <cctype>

#include "framework/tdialogs.h"
#include "framework/tforms.h"
#include "framework/tstdctrls.h"
#include "platform/xterminal.h"

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

// Every control of the form, in the order of the component tree.
void collect(TComponent& root, std::vector<TControl*>& out) {
  for (int i = 0; i < root.ComponentCount(); ++i) {
    TComponent* c = root.Components(i);
    if (auto* control = dynamic_cast<TControl*>(c); control && control->Visible() && control->Enabled())
      out.push_back(control);
    collect(*c, out);
  }
}

}  // namespace

xterminal_backend::xterminal_backend(const char* device) : fd_(platform::open_terminal(device)) {}

xterminal_backend::~xterminal_backend() { platform::close_terminal(fd_); }

void xterminal_backend::say(const std::string& text) {
  if (fd_ >= 0) platform::write_terminal(fd_, text);
}

bool xterminal_backend::ask(const std::string& prompt, std::string& answer) {
  say(prompt);
  return fd_ >= 0 && platform::read_terminal_line(fd_, answer);
}

int xterminal_backend::choose(const std::vector<choice>& choices, std::size_t default_index) {
  std::string menu;
  for (std::size_t i = 0; i < choices.size(); ++i)
    menu += (i ? "  [" : "[") + std::to_string(i + 1) + "] " + choices[i].label;
  menu += " (default " + std::to_string(default_index + 1) + "): ";
  for (std::string answer;;) {
    if (!ask(menu, answer)) return choices[default_index].value;
    while (!answer.empty() && std::isspace(static_cast<unsigned char>(answer.back()))) answer.pop_back();
    while (!answer.empty() && std::isspace(static_cast<unsigned char>(answer.front()))) answer.erase(0, 1);
    if (answer.empty()) return choices[default_index].value;
    // A number, or the start of a label ("y" for Yes).
    for (std::size_t i = 0; i < choices.size(); ++i)
      if (answer == std::to_string(i + 1)) return choices[i].value;
    for (const choice& c : choices)
      if (lower(c.label).rfind(lower(answer), 0) == 0) return c.value;
    say("Please answer with a number from 1 to " + std::to_string(choices.size()) + ".\n");
  }
}

int xterminal_backend::message_box(const xstr& text, const xstr& caption, unsigned flags) {
  int ids[3];
  const int count = xmessage_box_buttons(flags, ids);
  if (fd_ < 0) return xmessage_box_default(flags);
  say("== " + std::string(caption.view()) + " ==\n" + std::string(text.view()) + "\n");
  std::vector<choice> choices;
  std::size_t default_index = 0;
  for (int i = 0; i < count; ++i) {
    choices.push_back({xmessage_box_button_name(ids[i]), ids[i]});
    if (ids[i] == xmessage_box_default(flags)) default_index = static_cast<std::size_t>(i);
  }
  return choose(choices, default_index);
}

int xterminal_backend::show_modal(TCustomForm& form, xmodal_loop&) {
  if (fd_ < 0) return mrCancel;
  say("== " + utf8(form.Caption()) + " ==\n");
  std::vector<TControl*> controls;
  collect(form, controls);
  // The edit boxes first, one line each; an empty answer keeps the text.
  for (TControl* c : controls) {
    auto* edit = dynamic_cast<TCustomEdit*>(c);
    if (edit == nullptr || edit->ReadOnly()) continue;
    const std::string name = edit->Hint().empty() ? utf8(edit->Name()) : utf8(edit->Hint());
    std::string answer;
    if (!ask(name + " [" + utf8(edit->Text()) + "]: ", answer)) break;
    if (!answer.empty()) edit->SetText(ToUnicode(xstr(std::string_view(answer))));
  }
  // Then the buttons that close the form, the default one preselected.
  std::vector<choice> choices;
  std::vector<TButton*> buttons;
  std::size_t default_index = 0;
  for (TControl* c : controls) {
    auto* button = dynamic_cast<TButton*>(c);
    if (button == nullptr || button->ModalResult() == mrNone) continue;
    if (button->Default()) default_index = buttons.size();
    choices.push_back({plain_caption(button->Caption()), static_cast<int>(buttons.size())});
    buttons.push_back(button);
  }
  if (buttons.empty()) {
    std::string ignored;
    ask("Press Enter to close: ", ignored);
    return mrCancel;
  }
  buttons[static_cast<std::size_t>(choose(choices, default_index))]->Click();
  return form.ModalResult() != mrNone ? form.ModalResult() : mrCancel;
}

bool xterminal_backend::file_dialog(TOpenDialog& dialog) {
  if (fd_ < 0) return false;
  std::string prompt = dialog.Title().empty() ? (dialog.IsSaveDialog() ? "Save as" : "Open") : utf8(dialog.Title());
  if (!dialog.InitialDir().empty()) prompt += " in " + utf8(dialog.InitialDir());
  if (!dialog.Filter().empty()) prompt += " (" + utf8(dialog.Filter()) + ")";
  std::string answer;
  if (!ask(prompt + "\nFile name (empty cancels): ", answer) || answer.empty()) return false;
  const UnicodeString name = ToUnicode(xstr(std::string_view(answer)));
  dialog.Files().Clear();
  dialog.Files().Add(name);
  dialog.SetFileName(name);
  return true;
}

}  // namespace xum
