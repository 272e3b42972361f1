// A fixture for the application-framework tests: a scripted UI backend, a
// settings store and a folder of project files of their own, and a main
// form that records (and refuses) every attempt to close it.
#ifndef XUM_TESTS_APP_APP_FIXTURE_H
#define XUM_TESTS_APP_APP_FIXTURE_H

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/xui_backend.h"
#include "tests/support/xtest_helpers.h"

namespace xum::test {

class AppTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("XUM_REGISTRY_ROOT", (dir_.path / "registry").c_str(), 1);
    saved_main_ = Application()->MainForm();
    main_ = new TForm(nullptr);
    main_->OnCloseQuery = [this](TObject*, bool& can_close) {
      ++close_requests_;
      can_close = false;
    };
    Application()->SetMainForm(main_);
  }
  void TearDown() override {
    Application()->SetMainForm(saved_main_);
    delete main_;
    unsetenv("XUM_REGISTRY_ROOT");
  }
  // A project file in the test's folder, written when `contents` is given.
  std::string file(const std::string& name, const char* contents = "x") {
    const std::string path = (dir_.path / name).string();
    if (contents != nullptr) put_file(path, contents);
    return path;
  }

  temp_dir dir_;
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
  TCustomForm* saved_main_ = nullptr;
  TForm* main_ = nullptr;
  int close_requests_ = 0;
};

}  // namespace xum::test

#endif  // XUM_TESTS_APP_APP_FIXTURE_H
