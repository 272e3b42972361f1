#include "platform/xlanguages.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "platform/testing/xos_wrapper.h"

namespace xum::platform {
namespace {

// An environment of the test's choosing; everything else is the system's.
class env_os final : public xos_wrapper {
 public:
  env_os() : xos_wrapper(system_os()) {}
  std::string environment(const char* name) override {
    const auto it = vars.find(name);
    return it == vars.end() ? std::string() : it->second;
  }
  std::map<std::string, std::string> vars;
};

TEST(xlanguages, every_row_of_the_language_list_maps) {
  std::ifstream in(XUM_LANGS_TSV);
  if (!in) GTEST_SKIP() << "language list not found: " << XUM_LANGS_TSV;
  std::string line;
  std::getline(in, line);  // the header
  int rows = 0;
  while (std::getline(in, line)) {
    if (line.empty()) continue;
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    const std::string locale = line.substr(0, tab);
    const std::string name = line.substr(tab + 1);
    SCOPED_TRACE(locale);
    EXPECT_EQ(language_of_locale(locale), name);
    ++rows;
  }
  EXPECT_EQ(static_cast<int>(language_table().size()), rows);
}

TEST(xlanguages, locale_names_as_environments_write_them) {
  const std::pair<const char*, const char*> rows[] = {
      {"de_AT.ISO-8859-1", "DEA"}, {"sr_RS@latin", "SRM"}, {"ca_ES.UTF-8@valencia", "VAL"},
      {"de_DE@euro", "DEU"},       {"de_XX", "DEU"},  // an unknown country: the language's first
      {"en", "ENU"},               {"C.UTF-8", "ENU"},  {"", "ENU"}, {"xx_YY", ""}};
  for (const auto& [locale, name] : rows) EXPECT_EQ(language_of_locale(locale), name) << locale;
}

TEST(xlanguages, the_environment_decides_in_the_c_librarys_order) {
  const struct {
    const char *xum, *all, *messages, *lang, *name;
  } rows[] = {
      {"", "", "", "", "ENU"},
      {"", "", "es_ES", "fr_FR", "ESN"},
      {"", "de_CH", "es_ES", "fr_FR", "DES"},
      {"ITA", "de_CH", "es_ES", "fr_FR", "ITA"},
      {"de_AT", "", "", "fr_FR", "DEA"},
      {"", "C", "", "fr_FR", "ENU"},
      {"", "xx_YY", "", "fr_FR", "ENU"},
  };
  env_os env;
  scoped_os use(env);
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(r.xum) + "|" + r.all + "|" + r.messages + "|" + r.lang);
    env.vars = {
        {"XUM_LANGUAGE", r.xum}, {"LC_ALL", r.all}, {"LC_MESSAGES", r.messages}, {"LANG", r.lang}};
    EXPECT_EQ(user_language(), r.name);
  }
}

}  // namespace
}  // namespace xum::platform
