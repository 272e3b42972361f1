// The message catalogue: every message, caption and unit name the library
// shows, as localizable records with a stable key and a built-in English text.
//
// The records are globals of the shared library, built when it is loaded, in
// the order below; each is pushed onto `loc_strings`, so that list runs from
// the last record (`msg::Line`) to the first (`msg::Abort`). Code reads a
// record's `text` when it builds a message, so it sees a translation as soon
// as a localizer has replaced it.
//
//   xum::xerror(xum::msg::eNOFILE.text + "\n" + xum::msg::FileName.text + name);
//
// The records live in core because every layer, from strings upwards, builds
// its messages from them; localization/ translates them at start-up.
//
// Thread safety: the records belong to the user-interface thread; reading
// them from other threads is safe while no translation is being loaded.
#ifndef XUM_CORE_XCATALOGUE_H
#define XUM_CORE_XCATALOGUE_H

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

// Head of the catalogue list, newest record first.
XUM_API extern xloc_str* loc_strings;

// Number of records in the catalogue.
inline constexpr int catalogue_size = 51;

// One record per key; each variable is named after its key.
namespace msg {

XUM_API extern xloc_str Abort;
XUM_API extern xloc_str acres;
XUM_API extern xloc_str BadNumberFormat;
XUM_API extern xloc_str Cancel;
XUM_API extern xloc_str CriticalError;
XUM_API extern xloc_str DirectoryNotSelected;
XUM_API extern xloc_str DayNames;
XUM_API extern xloc_str FatalError;
XUM_API extern xloc_str FieldName;
XUM_API extern xloc_str FileNotSelected;
XUM_API extern xloc_str InputError;
XUM_API extern xloc_str IntegerExpected;
XUM_API extern xloc_str IntegerInterval;
XUM_API extern xloc_str ItemNotSelected;
XUM_API extern xloc_str kilometers;
XUM_API extern xloc_str KPH;
XUM_API extern xloc_str meters;
XUM_API extern xloc_str miles;
XUM_API extern xloc_str MonthNames;
XUM_API extern xloc_str MPH;
XUM_API extern xloc_str NegativeNumber;
XUM_API extern xloc_str NoChecked;
XUM_API extern xloc_str NumberExpected;
XUM_API extern xloc_str OK;
XUM_API extern xloc_str RealInterval;
XUM_API extern xloc_str ValueNotEntered;
XUM_API extern xloc_str Warning;
XUM_API extern xloc_str yards;
XUM_API extern xloc_str eACCES;
XUM_API extern xloc_str eDupKey;
XUM_API extern xloc_str eINVACC;
XUM_API extern xloc_str eIntegerOverflow;
XUM_API extern xloc_str eInvalidFormat;
XUM_API extern xloc_str eKeyWithoutValue;
XUM_API extern xloc_str eMFILE;
XUM_API extern xloc_str eNewerVersion;
XUM_API extern xloc_str eNOFILE;
XUM_API extern xloc_str eNonInteger;
XUM_API extern xloc_str eNonNumber;
XUM_API extern xloc_str eNOPATH;
XUM_API extern xloc_str eNumberExpected;
XUM_API extern xloc_str eOutOfMemory;
XUM_API extern xloc_str eOutOfResources;
XUM_API extern xloc_str eReadError;
XUM_API extern xloc_str Error;
XUM_API extern xloc_str eUnexpectedEOT;
XUM_API extern xloc_str eUnknownError;
XUM_API extern xloc_str eValueWithoutKey;
XUM_API extern xloc_str eWriteError;
XUM_API extern xloc_str FileName;
XUM_API extern xloc_str Line;

}  // namespace msg
}  // namespace xum

#endif  // XUM_CORE_XCATALOGUE_H
