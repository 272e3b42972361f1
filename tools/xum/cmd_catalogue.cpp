#include <iostream>

#include "core/xcatalogue.h"
#include "tools/xum/commands.h"

namespace xum::tool {

cli::command catalogue_command() {
  cli::command c;
  c.name = "catalogue";
  c.summary = "Print the message catalogue (key and text, in list order)";
  c.usage = "[--tsv]";
  c.help =
      "Prints every record of the library's message catalogue in the order of\n"
      "its list, newest first: the key, then the current text in double quotes\n"
      "(inner quotes doubled), so trailing blanks are visible.\n"
      "\n"
      "Options:\n"
      "  --tsv   print key TAB text per line, the text unquoted\n";
  c.run = [](cli::arguments& a) {
    const bool tsv = a.flag("--tsv");
    a.positionals(0, 0);
    int width = 0;
    for (const xloc_str* r = loc_strings; r; r = r->next) width = std::max(width, r->key.length());
    for (const xloc_str* r = loc_strings; r; r = r->next) {
      if (tsv) {
        std::cout << r->key.view() << '\t' << r->text.view() << '\n';
      } else {
        std::cout << r->key.view() << std::string(static_cast<std::size_t>(width - r->key.length() + 2), ' ')
                  << r->text.enquotate().view() << '\n';
      }
    }
    return cli::exit_ok;
  };
  return c;
}

}  // namespace xum::tool
