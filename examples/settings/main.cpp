// A settings tool: an application's settings described once, loaded from a
// file (defaults when there is none), changed from the command line, saved
// back in text or binary form and printed.
//
//   settings FILE [--binary] [--title T] [--width N] [--zoom X]
//                 [--theme light|dark|system] [--maximized] [--open PATH]...
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>
#include <xum/core/xexceptions.h>
#include <xum/formats/xstruct_format.h>

enum class Theme { light, dark, system };

struct Settings {
  xum::xstr title = "untitled";
  std::int64_t width = 800;
  double zoom = 1.0;
  bool maximized = false;
  Theme theme = Theme::system;
  std::vector<xum::xstr> recent;
};

// One description serves loading and saving.
void describe(xum::xstruct_format& f, Settings& s) {
  f.identifier("ExampleSettings");  // another program's file is refused
  f.str("Title", s.title, "untitled", false);
  if (auto window = f.section("Window")) {
    s.width = f.prop_int64("Width", s.width, 800, false);
    f.real("Zoom", s.zoom, 1.0, false);
    f.boolean("Maximized", s.maximized, false, false);
    s.theme =
        f.prop_enum("Theme", s.theme, Theme::system, false,
                    {{Theme::light, "light"}, {Theme::dark, "dark"}, {Theme::system, "system"}});
  }
  if (auto list = f.section("Recent")) {  // a list: "" is the next anonymous entry, #0, #1, ...
    if (f.reading()) {
      s.recent.clear();
      while (f.get_keys_left()) s.recent.push_back(f.str_prop("", "", "", false));
    } else {
      for (const auto& r : s.recent) f.str_prop("", r, "", false);
    }
  }
}

int main(int argc, char** argv) {
  if (argc < 2 || std::string_view(argv[1]) == "--help") {
    std::cout << "usage: settings FILE [--binary] [--title T] [--width N] [--zoom X]\n"
                 "                [--theme light|dark|system] [--maximized] [--open PATH]...\n";
    return argc < 2 ? 2 : 0;
  }
  const xum::xstr file = argv[1];
  Settings s;
  xum::xstruct_format f;
  try {
    f.open_file(file, xum::xfile_read);
    describe(f, s);
  } catch (const xum::XENotFound&) {
    // No file yet: the defaults stand.
  } catch (const xum::XEBadData& e) {
    std::cerr << "settings: " << e.what()
              << (e.line() > 0 ? "\nLine: " + std::to_string(e.line()) : "") << "\n";
    return 1;
  }

  bool changed = false, binary = false;
  try {
    for (int i = 2; i < argc; ++i) {
      const std::string_view opt = argv[i];
      const bool has_value = i + 1 < argc;
      const std::string value = has_value ? argv[i + 1] : "";
      if (opt == "--binary") {
        binary = changed = true;
        continue;
      }
      if (opt == "--maximized") {
        s.maximized = changed = true;
        continue;
      }
      if (!has_value) {
        std::cerr << "settings: " << opt << " needs a value\n";
        return 2;
      }
      ++i;
      changed = true;
      if (opt == "--title") {
        s.title = value;
      } else if (opt == "--width") {
        s.width = std::stoll(value);
      } else if (opt == "--zoom") {
        s.zoom = std::stod(value);
      } else if (opt == "--theme" && (value == "light" || value == "dark" || value == "system")) {
        s.theme = value == "light" ? Theme::light : value == "dark" ? Theme::dark : Theme::system;
      } else if (opt == "--open") {
        s.recent.insert(s.recent.begin(), xum::xstr(value));
      } else {
        std::cerr << "settings: unknown option or value: " << opt << " " << value << "\n";
        return 2;
      }
    }
  } catch (const std::logic_error&) {  // std::stoll, std::stod
    std::cerr << "settings: not a number\n";
    return 2;
  }

  try {
    if (changed) {
      f.open_file(file, xum::xfile_create);  // written beside FILE, renamed over it at close
      f.set_binary(binary);
      describe(f, s);
      f.close();  // a failure throws here and leaves the old file
    }
  } catch (const std::exception& e) {
    std::cerr << "settings: " << e.what() << "\n";
    return 1;
  }
  static const char* const themes[] = {"light", "dark", "system"};
  std::cout << "Title=" << s.title << "\nWidth=" << s.width << "\nZoom=" << s.zoom
            << "\nMaximized=" << s.maximized << "\nTheme=" << themes[static_cast<int>(s.theme)]
            << "\n";
  for (const auto& r : s.recent) std::cout << "Recent=" << r << "\n";
  return 0;
}
