// The package start-up in this process: the catalogue and the package's
// forms through the package dictionary. The start-up at load, and the
// sections it writes: tests/tools/xum_keys_link_test.cpp.
#include "localization/xpackage.h"

#include <filesystem>

#include "app/tcontrol_scheme_editor.h"
#include "core/xcatalogue.h"
#include "localization/xlocalizer.h"
#include "tests/localization/xloc_fixture.h"

namespace xum {
namespace {

using xpackage_test = test::loc_test;

TEST_F(xpackage_test, the_catalogue_then_the_forms_are_collected_and_translated) {
  sys.vars = {{"XUM_LANGUAGE", "ENU"}};
  xpackage_initialize();
  EXPECT_TRUE(std::filesystem::is_empty(dir.path));

  sys.vars = {{"XUM_LANGUAGE", "DEU"}};
  xpackage_initialize();
  xpackage_initialize();  // a second run adds no second exclusion
  std::string text = bytes("XUMComps_DEU.loc");
  EXPECT_EQ(text.find("<LastProjectsBox"), std::string::npos);
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
  sys.vars = {{"LANG", "en_US.UTF-8"}};
  xpackage_initialize();  // the built-in texts again for the tests after this one
}

}  // namespace
}  // namespace xum
