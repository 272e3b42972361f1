#include "core/xcatalogue.h"

namespace xum {

// Constant-initialised, so it is null before any record below is built.
xloc_str* loc_strings = nullptr;

namespace msg {

// Built in this order when the library is loaded (namespace-scope objects of
// one translation unit are constructed in order of definition). The texts are
// exact, trailing blanks and the spelling "Febrary" included.
xloc_str Abort("Abort", "Abort", &loc_strings);
xloc_str acres("acres", "acres", &loc_strings);
xloc_str BadNumberFormat("Bad number format !", "BadNumberFormat", &loc_strings);
xloc_str Cancel("Cancel", "Cancel", &loc_strings);
xloc_str CriticalError("Critical error", "CriticalError", &loc_strings);
xloc_str DirectoryNotSelected("Directory name is not selected !", "DirectoryNotSelected", &loc_strings);
xloc_str DayNames("Monday Tuesday Wednesday Thursday Friday Saturday Sunday", "DayNames", &loc_strings);
xloc_str FatalError("Fatal error", "FatalError", &loc_strings);
xloc_str FieldName("Input field: ", "FieldName", &loc_strings);
xloc_str FileNotSelected("File name is not selected !", "FileNotSelected", &loc_strings);
xloc_str InputError("Input error", "InputError", &loc_strings);
xloc_str IntegerExpected("Integer number expected !", "IntegerExpected", &loc_strings);
xloc_str IntegerInterval("Number in interval from %Ld to %Ld expected !", "IntegerInterval", &loc_strings);
xloc_str ItemNotSelected("Item is not selected !", "ItemNotSelected", &loc_strings);
xloc_str kilometers("km", "kilometers", &loc_strings);
xloc_str KPH("km/h", "KPH", &loc_strings);
xloc_str meters("m", "meters", &loc_strings);
xloc_str miles("miles", "miles", &loc_strings);
xloc_str MonthNames("January Febrary March April May June July August September October November December", "MonthNames", &loc_strings);
xloc_str MPH("miles/h", "MPH", &loc_strings);
xloc_str NegativeNumber("Nonnegative number expected !", "NegativeNumber", &loc_strings);
xloc_str NoChecked("No items are checked !", "NoChecked", &loc_strings);
xloc_str NumberExpected("Number expected !", "NumberExpected", &loc_strings);
xloc_str OK("OK", "OK", &loc_strings);
xloc_str RealInterval("Number in interval from %lg to %lg expected !", "RealInterval", &loc_strings);
xloc_str ValueNotEntered("Value is not entered !", "ValueNotEntered", &loc_strings);
xloc_str Warning("Warning", "Warning", &loc_strings);
xloc_str yards("yards", "yards", &loc_strings);
xloc_str eACCES("Permission denied !", "eACCES", &loc_strings);
xloc_str eDupKey("Key duplication ! Key: ", "eDupKey", &loc_strings);
xloc_str eINVACC("Invalid access code !", "eINVACC", &loc_strings);
xloc_str eIntegerOverflow("Integer overflow !", "eIntegerOverflow", &loc_strings);
xloc_str eInvalidFormat("Invalid data format !", "eInvalidFormat", &loc_strings);
xloc_str eKeyWithoutValue("Key without value ! Key: ", "eKeyWithoutValue", &loc_strings);
xloc_str eMFILE("Too many open files !", "eMFILE", &loc_strings);
xloc_str eNewerVersion("Unsupported format version ! Program update needed !", "eNewerVersion", &loc_strings);
xloc_str eNOFILE("File not found !", "eNOFILE", &loc_strings);
xloc_str eNonInteger("Integer number expected ! Key: ", "eNonInteger", &loc_strings);
xloc_str eNonNumber("Number expected ! Key: ", "eNonNumber", &loc_strings);
xloc_str eNOPATH("Path not found !", "eNOPATH", &loc_strings);
xloc_str eNumberExpected("Number expected !", "eNumberExpected", &loc_strings);
xloc_str eOutOfMemory("Out of memory !", "eOutOfMemory", &loc_strings);
xloc_str eOutOfResources("Out of system resources !", "eOutOfResources", &loc_strings);
xloc_str eReadError("Data reading error ! ", "eReadError", &loc_strings);
xloc_str Error("Error", "Error", &loc_strings);
xloc_str eUnexpectedEOT("Unexpected end of text !", "eUnexpectedEOT", &loc_strings);
xloc_str eUnknownError("Unknown internal error !", "eUnknownError", &loc_strings);
xloc_str eValueWithoutKey("Value without key ! Value: ", "eValueWithoutKey", &loc_strings);
xloc_str eWriteError("Data writing error !", "eWriteError", &loc_strings);
xloc_str FileName("File: ", "FileName", &loc_strings);
xloc_str Line("Line: ", "Line", &loc_strings);

}  // namespace msg
}  // namespace xum
