#include "core/xcatalogue.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace xum {
namespace {

struct entry {
  std::string_view key;
  std::string_view text;
};

// Registration order with the exact built-in texts (trailing blanks and the
// spelling "Febrary" are part of the texts applications and dictionaries see).
const std::vector<entry> expected = {
    {"Abort", "Abort"}, {"acres", "acres"}, {"BadNumberFormat", "Bad number format !"},
    {"Cancel", "Cancel"}, {"CriticalError", "Critical error"},
    {"DirectoryNotSelected", "Directory name is not selected !"},
    {"DayNames", "Monday Tuesday Wednesday Thursday Friday Saturday Sunday"},
    {"FatalError", "Fatal error"}, {"FieldName", "Input field: "},
    {"FileNotSelected", "File name is not selected !"}, {"InputError", "Input error"},
    {"IntegerExpected", "Integer number expected !"},
    {"IntegerInterval", "Number in interval from %Ld to %Ld expected !"},
    {"ItemNotSelected", "Item is not selected !"}, {"kilometers", "km"}, {"KPH", "km/h"},
    {"meters", "m"}, {"miles", "miles"},
    {"MonthNames", "January Febrary March April May June July August September October November December"},
    {"MPH", "miles/h"}, {"NegativeNumber", "Nonnegative number expected !"},
    {"NoChecked", "No items are checked !"}, {"NumberExpected", "Number expected !"}, {"OK", "OK"},
    {"RealInterval", "Number in interval from %lg to %lg expected !"},
    {"ValueNotEntered", "Value is not entered !"}, {"Warning", "Warning"}, {"yards", "yards"},
    {"eACCES", "Permission denied !"}, {"eDupKey", "Key duplication ! Key: "},
    {"eINVACC", "Invalid access code !"}, {"eIntegerOverflow", "Integer overflow !"},
    {"eInvalidFormat", "Invalid data format !"}, {"eKeyWithoutValue", "Key without value ! Key: "},
    {"eMFILE", "Too many open files !"},
    {"eNewerVersion", "Unsupported format version ! Program update needed !"},
    {"eNOFILE", "File not found !"}, {"eNonInteger", "Integer number expected ! Key: "},
    {"eNonNumber", "Number expected ! Key: "}, {"eNOPATH", "Path not found !"},
    {"eNumberExpected", "Number expected !"}, {"eOutOfMemory", "Out of memory !"},
    {"eOutOfResources", "Out of system resources !"}, {"eReadError", "Data reading error ! "},
    {"Error", "Error"}, {"eUnexpectedEOT", "Unexpected end of text !"},
    {"eUnknownError", "Unknown internal error !"},
    {"eValueWithoutKey", "Value without key ! Value: "}, {"eWriteError", "Data writing error !"},
    {"FileName", "File: "}, {"Line", "Line: "},
};

TEST(XCatalogue, ListRunsNewestFirstWithExactKeysAndTexts) {
  std::vector<const xloc_str*> records;
  for (const xloc_str* r = loc_strings; r != nullptr; r = r->next) records.push_back(r);
  ASSERT_EQ(records.size(), expected.size());
  ASSERT_EQ(static_cast<int>(records.size()), catalogue_size);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const entry& e = expected[expected.size() - 1 - i];
    SCOPED_TRACE(std::string(e.key));
    EXPECT_EQ(records[i]->key.view(), e.key);
    EXPECT_EQ(records[i]->text.view(), e.text);
  }
  EXPECT_EQ(records.front(), &msg::Line);
  EXPECT_EQ(records.back(), &msg::Abort);
}

}  // namespace
}  // namespace xum
