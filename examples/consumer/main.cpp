// Uses the installed library: strings, the catalogue, the error hook and,
// when built with CMake, a string resource.
#include <iostream>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xstr.h"

int main() {
  xum::xstr name = "settings.tsf";
  xum::xstr copy = name;  // shares the block
  copy.insert("my_", 0);  // copy on write

  bool negative = false, integer = false;
  const bool number = xum::xstr("-12").is_number(&negative, &integer);

  try {
    xum::xerror(xum::msg::eNOFILE.text + "\n" + xum::msg::FileName.text + copy);
  } catch (const xum::XException& e) {
    std::cout << e.what() << "\n";
  }
  std::cout << name.view() << " / " << copy.view() << "; -12 is a number: " << number
            << ", negative: " << negative << ", integer: " << integer << "\n";
#ifdef CONSUMER_HAS_STRINGS
  const xum::xstr greeting = xum::xstr::load(1);
  std::cout << greeting.view() << "\n";
  if (greeting != "Hello from a string resource") return 1;
#endif
  return name == "settings.tsf" && copy == "my_settings.tsf" && number && negative && integer ? 0 : 1;
}
