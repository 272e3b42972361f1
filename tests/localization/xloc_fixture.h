// A folder that plays the executable's folder, and a user environment of the
// test's choosing, for the localizer tests.
#ifndef XUM_TESTS_LOCALIZATION_XLOC_FIXTURE_H
#define XUM_TESTS_LOCALIZATION_XLOC_FIXTURE_H

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "formats/xstruct_format.h"
#include "platform/testing/xos_wrapper.h"
#include "tests/support/xtest_helpers.h"

namespace xum::test {

// The executable is `exe` and the environment is `vars`; everything else
// is the system's.
class loc_os final : public platform::xos_wrapper {
 public:
  loc_os() : xos_wrapper(platform::system_os()) {}
  std::string environment(const char* name) override {
    const auto it = vars.find(name);
    return it == vars.end() ? std::string() : it->second;
  }
  std::string executable_path() override { return exe; }
  std::map<std::string, std::string> vars;
  std::string exe;
};

class loc_test : public ::testing::Test {
 protected:
  loc_test() { sys.exe = (dir.path / "app").string(); }

  std::filesystem::path file(const std::string& name = "app_DEU.loc") const {
    return dir.path / name;
  }
  std::string bytes(const std::string& name = "app_DEU.loc") const {
    return file_bytes(file(name));
  }
  void write(const std::string& text, const std::string& name = "app_DEU.loc") const {
    std::ofstream(file(name), std::ios::binary) << text;
  }
  // `text` with the first untranslated entry after `after` translated.
  static void translate(std::string& text, const std::string& after, const std::string& translation) {
    const auto at = text.find(after);
    ASSERT_NE(at, std::string::npos) << after;
    text.replace(text.find("t=!#!", at), 5, "t=" + translation);
  }
  // A stored text of the dictionary ("Main/Title/t"); "(none)" when absent.
  std::string stored(const std::string& path, const std::string& name = "app_DEU.loc") const {
    xstruct_format f;
    f.open_file(xstr(file(name).string()), xfile_read);
    const xstruct_value* v = f.find_value(path);
    return v == nullptr ? "(none)" : v->text().str();
  }

  temp_dir dir;
  loc_os sys;
  platform::scoped_os use{sys};
};

}  // namespace xum::test

#endif  // XUM_TESTS_LOCALIZATION_XLOC_FIXTURE_H
