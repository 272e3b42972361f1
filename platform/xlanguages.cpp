#include "platform/xlanguages.h"

#include <algorithm>

#include "platform/xos.h"

namespace xum::platform {

namespace {

#include "platform/xlanguage_table.inc"

// The row of exactly `locale`, or null.
const xlanguage_row* find_row(std::string_view locale) {
  const auto* const end = std::end(language_rows);
  const auto* it =
      std::lower_bound(std::begin(language_rows), end, locale,
                       [](const xlanguage_row& r, std::string_view l) { return r.locale < l; });
  return it != end && it->locale == locale ? it : nullptr;
}

// The first row whose locale begins with `prefix`, or null.
const xlanguage_row* first_with_prefix(std::string_view prefix) {
  const auto* const end = std::end(language_rows);
  const auto* it =
      std::lower_bound(std::begin(language_rows), end, prefix,
                       [](const xlanguage_row& r, std::string_view l) { return r.locale < l; });
  return it != end && std::string_view(it->locale).starts_with(prefix) ? it : nullptr;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

std::span<const xlanguage_row> language_table() noexcept { return language_rows; }

std::string language_of_locale(std::string_view locale) {
  // Split "language_TERRITORY.codeset@modifier" and drop the codeset.
  std::string_view modifier;
  if (const auto at = locale.find('@'); at != std::string_view::npos) {
    modifier = locale.substr(at);
    locale = locale.substr(0, at);
  }
  if (const auto dot = locale.find('.'); dot != std::string_view::npos)
    locale = locale.substr(0, dot);
  if (locale.empty() || locale == "C" || locale == "POSIX") return std::string(base_language);

  const std::string name(locale);
  if (!modifier.empty()) {
    if (const auto* row = find_row(name + std::string(modifier))) return row->language;
  }
  if (const auto* row = find_row(name)) return row->language;

  const std::string_view lang = locale.substr(0, locale.find('_'));
  if (lang.empty()) return std::string();
  std::string own(lang);
  own += '_';
  for (const char c : lang) own += upper(c);
  if (const auto* row = find_row(own)) return row->language;
  if (lang == "en") return std::string(base_language);  // en_US
  if (const auto* row = first_with_prefix(std::string(lang) + '_')) return row->language;
  return std::string();
}

std::string user_language() {
  xos& sys = os();
  if (std::string chosen = sys.environment("XUM_LANGUAGE"); !chosen.empty()) {
    const std::string mapped = language_of_locale(chosen);
    return mapped.empty() ? chosen : mapped;
  }
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const std::string value = sys.environment(variable);
    if (value.empty()) continue;
    const std::string mapped = language_of_locale(value);
    return mapped.empty() ? std::string(base_language) : mapped;
  }
  return std::string(base_language);
}

}  // namespace xum::platform
