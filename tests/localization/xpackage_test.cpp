// The package start-up in this process: the catalogue and the package's
// forms through the package dictionary, and the out-of-memory handler. The
// start-up at load: tests/tools/xum_keys_link_test.cpp.
#include "localization/xpackage.h"

#include <filesystem>
#include <new>

#include "app/tcontrol_scheme_editor.h"
#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

class xpackage_test : public test::loc_test {
 protected:
  ~xpackage_test() override {
    sys.vars = {{"LANG", "en_US.UTF-8"}};
    xpackage_initialize();  // the built-in texts again for the next tests
  }
};

TEST_F(xpackage_test, base_language_creates_no_dictionary) {
  sys.vars = {{"XUM_LANGUAGE", "ENU"}};
  xpackage_initialize();
  EXPECT_TRUE(std::filesystem::is_empty(dir.path));
  EXPECT_FALSE(package_localizer().active());
}

TEST_F(xpackage_test, another_language_collects_the_catalogue_then_the_forms_in_order) {
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
  EXPECT_LT(editor, text.find("\n<\"PrjSelectorFrm\""));
  EXPECT_NE(text.find("<OpenLastBtn"), std::string::npos);
  EXPECT_EQ(text.find("<LastProjectsBox"), std::string::npos);
  EXPECT_NE(text.find("<OKBtn", editor), std::string::npos);
  EXPECT_EQ(package_localizer().excluded_components(), std::vector<xstr>{"LastProjectsBox"});

  // A translation reaches the catalogue and forms made later, without a
  // new write.
  translate(text, "o=Press a key", "Taste drücken");
  translate(text, "<MonthNames", "Januar Februar");
  write(text, "XUMComps_DEU.loc");
  xpackage_initialize();
  EXPECT_EQ(TKeyCaptureForm(nullptr).Caption(), u"Taste drücken");
  EXPECT_EQ(msg::MonthNames.text, "Januar Februar");
  EXPECT_EQ(bytes("XUMComps_DEU.loc"), text);
}

TEST_F(xpackage_test, out_of_memory_throws_the_current_catalogue_text) {
  const xstr saved = msg::eOutOfMemory.text;
  msg::eOutOfMemory.text = "Kein Speicher !";
  EXPECT_EQ(test::error_of([] { std::get_new_handler()(); }), "Kein Speicher !");
  msg::eOutOfMemory.text = saved;
}

}  // namespace
}  // namespace xum
