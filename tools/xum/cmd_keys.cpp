// xum keys: control schemes. `list` prints each action of a scheme
// description with its keys by name, after the user's saved changes when
// they are given.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/tcontrol_scheme.h"
#include "formats/xstruct_format.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

// A key as the editor would label it; "-" for none, "#code" for a code
// without a name.
std::string key_text(int code) {
  if (code < 0) return "-";
  const xstr& name = xkey_name(code);
  return name.empty() ? "#" + std::to_string(code) : std::string(name.view());
}

int list(cli::arguments& a) {
  const auto saved = a.option("--keys");
  const auto files = a.positionals(1, 1);
  TControlScheme scheme;
  std::vector<std::unique_ptr<TKeyboardAction>> actions;
  {
    xstruct_format f;
    f.open_file(xstr(files[0]), xfile_read);
    if (f.begin_section("Actions")) {
      for (int i = 0;; ++i) {
        const bool found = f.begin_section(xstr(("#" + std::to_string(i)).c_str()));
        if (found) {
          xstr name, caption;
          f.str("Name", name, xstr(("Action" + std::to_string(i)).c_str()), false);
          f.str("Caption", caption, name, false);
          const int k1 = static_cast<int>(f.prop_int64("Key1", -1, -1, false));
          const int k2 = static_cast<int>(f.prop_int64("Key2", -1, -1, false));
          actions.push_back(std::make_unique<TKeyboardAction>(&scheme, name, caption, k1, k2));
        }
        f.end_section();
        if (!found) break;
      }
    }
    f.end_section();
    f.close();
  }
  if (saved) scheme.SaveLoad(xstr(*saved), xfile_read);
  for (const auto& act : actions)
    std::cout << act->name.view() << '\t' << key_text(act->key1) << '\t' << key_text(act->key2)
              << '\t' << act->caption.view() << '\n';
  cli::check_output(std::cout);
  return cli::exit_ok;
}

}  // namespace

cli::command keys_command() {
  cli::command list_c;
  list_c.name = "list";
  list_c.summary = "Print each action of a control scheme with its keys by name";
  list_c.usage = "[--keys SAVED] FILE";
  list_c.help =
      "FILE describes the scheme's actions, as a program declares them, in a\n"
      "structured property file: a section \"Actions\" with one anonymous\n"
      "section per action holding Name, Caption and the default keys Key1 and\n"
      "Key2 (virtual-key codes 0-255; -1 or missing for none):\n"
      "  <Actions\n"
      "    <#0\n"
      "      Name=Left\n"
      "      Caption=Move left\n"
      "      Key1=37\n"
      "      Key2=65\n"
      "    > (#0)\n"
      "  > (Actions)\n"
      "Prints one line per action: name, first key, second key and caption,\n"
      "separated by tabs; \"-\" stands for no key and #CODE for a code that has\n"
      "no name (it can be stored but not captured by the editor).\n"
      "\n"
      "Options:\n"
      "  --keys SAVED  apply a scheme file saved by the program (it lists only\n"
      "                the keys the user changed, as NAME1= and NAME2=)\n";
  list_c.run = list;

  cli::command c;
  c.name = "keys";
  c.summary = "Show control schemes: keyboard actions and their keys";
  c.children.push_back(list_c);
  return c;
}

}  // namespace xum::tool
