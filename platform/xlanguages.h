// xlanguages: the user's language as the three-letter name that dictionaries
// are named with ("DEU", "ENU", "FRA" ...), and the table that maps POSIX
// locale names to those names.
//
//   xum::platform::language_of_locale("de_AT.UTF-8");   // "DEA"
//   xum::platform::user_language();                     // e.g. "DEU"
//
// The user's language comes from the environment, read through os(): the
// variable XUM_LANGUAGE when it is set (a three-letter name, or a locale
// name that the table maps), else the first of LC_ALL, LC_MESSAGES and LANG
// that is set, as the C library chooses the message language. "C", "POSIX",
// nothing at all and a locale the table does not know give the base
// language "ENU", which keeps localization off.
//
// Thread safety: the table is constant; user_language reads the environment
// through os() and may be called from any thread.
#ifndef XUM_PLATFORM_XLANGUAGES_H
#define XUM_PLATFORM_XLANGUAGES_H

#include <span>
#include <string>
#include <string_view>

#include "core/xexport.h"

namespace xum::platform {

// One row of the table: a locale ("de_AT", "sr_RS@latin") and its name.
struct xlanguage_row {
  const char* locale;
  const char* language;
};

// The base language: dictionaries are never used for it.
inline constexpr std::string_view base_language = "ENU";

// Every row, sorted by locale name (bytes compared).
XUM_API std::span<const xlanguage_row> language_table() noexcept;

// The three-letter name of a locale name as the environment holds it:
// language, optional "_" territory, optional "." codeset, optional "@"
// modifier ("sr_RS.UTF-8@latin"). The codeset is ignored; a modifier the
// table does not list falls back to the name without it, a territory it
// does not list to the language alone. A language alone ("de") takes the
// row whose territory repeats it ("de_DE"), "en" takes "en_US", any other
// the first row of that language. "C" and "POSIX" (with any codeset) and
// "" give "ENU"; a name the table does not know gives "".
XUM_API std::string language_of_locale(std::string_view locale);

// The user's language (see above); never empty.
XUM_API std::string user_language();

}  // namespace xum::platform

#endif  // XUM_PLATFORM_XLANGUAGES_H
