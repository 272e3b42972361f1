// The package start-up: the catalogue and the package's forms through the
// package dictionary, in this process and at the load of a fresh one.
#include "localization/xpackage.h"

#include <cstdlib>
#include <filesystem>
#include <new>

#include "app/tcontrol_scheme_editor.h"
#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

class xpackage_test : public test::loc_test {
 protected:
  ~xpackage_test() override {
    sys.vars = {{"LANG", "en_US.UTF-8"}};
    xpackage_initialize();  // back to the built-in texts for the next tests
  }
};

TEST_F(xpackage_test, base_language_creates_no_dictionary_and_keeps_the_texts) {
  sys.vars = {{"XUM_LANGUAGE", "ENU"}};
  const xstr abort = msg::Abort.text;
  xpackage_initialize();
  EXPECT_TRUE(fs::is_empty(dir.path));
  EXPECT_EQ(msg::Abort.text, abort);
  EXPECT_FALSE(package_localizer().active());
}

TEST_F(xpackage_test, another_language_collects_the_catalogue_and_the_forms_in_order) {
  sys.vars = {{"XUM_LANGUAGE", "DEU"}};
  xpackage_initialize();
  xpackage_initialize();  // a second run adds no second exclusion
  std::string text = bytes("XUMComps_DEU.loc");
  const auto strings_end = text.find("> (Strings)");
  EXPECT_EQ(text.find("  <", text.find("<Strings")), text.find("  <Line"));
  EXPECT_EQ(text.rfind("  <", strings_end), text.find("  <Abort"));
  const auto key = text.find("\n<KeyCaptureForm"), editor = text.find("\n<ControlSchemeEditorForm");
  EXPECT_LT(strings_end, key);
  EXPECT_LT(key, editor);
  EXPECT_NE(text.find("o=Control scheme", editor), std::string::npos);
  EXPECT_NE(text.find("<OKBtn", editor), std::string::npos);
  EXPECT_EQ(package_localizer().excluded_components(), std::vector<xstr>{"LastProjectsBox"});

  // A translation in the dictionary reaches forms made later, without a
  // new write.
  const auto at = text.find("t=!#!", text.find("o=Press a key"));
  text.replace(at, 5, "t=Taste drücken");
  write(text, "XUMComps_DEU.loc");
  xpackage_initialize();
  TKeyCaptureForm form(nullptr);
  EXPECT_EQ(form.Caption(), u"Taste drücken");
  EXPECT_EQ(bytes("XUMComps_DEU.loc"), text);
}

TEST_F(xpackage_test, out_of_memory_throws_the_current_catalogue_text) {
  const xstr saved = msg::eOutOfMemory.text;
  msg::eOutOfMemory.text = "Kein Speicher !";
  std::new_handler handler = std::get_new_handler();
  ASSERT_NE(handler, nullptr);
  try {
    handler();
    ADD_FAILURE() << "the handler returned";
  } catch (const XException& e) {
    EXPECT_STREQ(e.what(), "Kein Speicher !");
  }
  msg::eOutOfMemory.text = saved;
}

// A program's load: run from a copy in the test's folder, where its
// dictionary goes.
TEST_F(xpackage_test, loading_the_library_starts_the_package_and_never_fails_the_program) {
  const fs::path exe = dir.path / "peer";
  fs::copy_file(XUM_LINK_PEER, exe);
  const std::string out = (dir.path / "out.txt").string();
  const std::string run = "XUM_LANGUAGE=DEU '" + exe.string() + "' package >'" + out + "'";
  ASSERT_EQ(std::system(run.c_str()), 0);
  EXPECT_EQ(test::file_bytes(out), "load error: \n");
  const std::string dict = bytes("XUMComps_DEU.loc");
  EXPECT_NE(dict.find("\n<KeyCaptureForm"), std::string::npos);
  EXPECT_NE(dict.find("\n<ControlSchemeEditorForm"), std::string::npos);

  // A dictionary that cannot be read or written (here a folder in its
  // place) leaves the texts in English and the program running.
  fs::remove(file("XUMComps_DEU.loc"));
  fs::create_directory(file("XUMComps_DEU.loc"));
  ASSERT_EQ(std::system(run.c_str()), 0);
  const std::string said = test::file_bytes(out);
  EXPECT_NE(said.find("XUMComps_DEU.loc"), std::string::npos) << said;
  EXPECT_TRUE(fs::is_directory(file("XUMComps_DEU.loc")));
}

}  // namespace
}  // namespace xum
