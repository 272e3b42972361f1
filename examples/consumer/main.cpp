// Uses the installed library: strings, the catalogue, typed errors across
// the library's boundary and, when built with CMake, a string resource.
// Headers are reached either way: <xum/core/xstr.h> cannot meet a core/
// folder of the application's own, "core/xcatalogue.h" is the short form.
#include <iostream>
#include <string>

#include <xum/core/xstr.h>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "streams/xfile_stream.h"

int main() {
  xum::xstr name = "settings.tsf";
  xum::xstr copy = name;  // shares the block
  copy.insert("my_", 0);  // copy on write

  bool negative = false, integer = false;
  const bool number = xum::xstr("-12").is_number(&negative, &integer);

  // A missing file is told apart by its type; the text names it.
  const std::string missing = "/nonexistent-xum-consumer/" + copy.str();
  bool not_found = false;
  try {
    xum::xfile_stream f(missing, xum::xfile_read);
  } catch (const xum::XENotFound& e) {
    not_found = true;
    std::cout << e.what() << "\n";
  } catch (const std::exception& e) {
    std::cout << "unexpected: " << e.what() << "\n";
  }
  std::cout << name << " / " << copy << "; -12 is a number: " << number << ", negative: " << negative
            << ", integer: " << integer << "\n";
#ifdef CONSUMER_HAS_STRINGS
  const xum::xstr greeting = xum::xstr::load(1);
  std::cout << greeting << "\n";
  if (greeting != "Hello from a string resource") return 1;
#endif
  return name == "settings.tsf" && copy == std::string("my_settings.tsf") && number && negative && integer &&
                 not_found
             ? 0
             : 1;
}
