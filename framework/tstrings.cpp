#include "framework/tstrings.h"

#include "core/xexception.h"

namespace xum {

TStrings::~TStrings() = default;

const UnicodeString& TStrings::Strings(int Index) const {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  return FLines[static_cast<std::size_t>(Index)];
}

void TStrings::SetStrings(int Index, const UnicodeString& S) {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  FLines[static_cast<std::size_t>(Index)] = S;
  changed();
}

int TStrings::Add(const UnicodeString& S) {
  FLines.push_back(S);
  changed();
  return Count() - 1;
}

void TStrings::Insert(int Index, const UnicodeString& S) {
  if (Index < 0 || Index > Count()) throw xexception(xexception::out_of_range);
  FLines.insert(FLines.begin() + Index, S);
  changed();
}

void TStrings::Delete(int Index) {
  if (Index < 0 || Index >= Count()) throw xexception(xexception::out_of_range);
  FLines.erase(FLines.begin() + Index);
  changed();
}

void TStrings::Clear() {
  if (FLines.empty()) return;
  FLines.clear();
  changed();
}

void TStrings::Assign(const TStrings& Source) {
  if (&Source == this) return;
  FLines = Source.FLines;
  changed();
}

int TStrings::IndexOf(const UnicodeString& S) const {
  for (int i = 0; i < Count(); ++i)
    if (SameText(FLines[static_cast<std::size_t>(i)], S)) return i;
  return -1;
}

UnicodeString TStrings::Text() const {
  UnicodeString out;
  for (const UnicodeString& line : FLines) {
    out += line;
    out += u'\n';
  }
  return out;
}

void TStrings::SetText(const UnicodeString& Value) {
  FLines.clear();
  std::size_t start = 0;
  for (std::size_t i = 0; i < Value.size(); ++i) {
    if (Value[i] != u'\n' && Value[i] != u'\r') continue;
    FLines.push_back(Value.substr(start, i - start));
    if (Value[i] == u'\r' && i + 1 < Value.size() && Value[i + 1] == u'\n') ++i;
    start = i + 1;
  }
  if (start < Value.size()) FLines.push_back(Value.substr(start));
  changed();
}

UnicodeString TStrings::Names(int Index) const {
  const UnicodeString& line = Strings(Index);
  const std::size_t eq = line.find(u'=');
  return eq == UnicodeString::npos ? UnicodeString() : line.substr(0, eq);
}

UnicodeString TStrings::ValueFromIndex(int Index) const {
  const UnicodeString& line = Strings(Index);
  const std::size_t eq = line.find(u'=');
  return eq == UnicodeString::npos ? UnicodeString() : line.substr(eq + 1);
}

int TStrings::IndexOfName(const UnicodeString& Name) const {
  for (int i = 0; i < Count(); ++i) {
    const UnicodeString& line = FLines[static_cast<std::size_t>(i)];
    const std::size_t eq = line.find(u'=');
    if (eq != UnicodeString::npos && SameText(line.substr(0, eq), Name)) return i;
  }
  return -1;
}

UnicodeString TStrings::Values(const UnicodeString& Name) const {
  const int i = IndexOfName(Name);
  return i < 0 ? UnicodeString() : ValueFromIndex(i);
}

void TStrings::SetValues(const UnicodeString& Name, const UnicodeString& Value) {
  const int i = IndexOfName(Name);
  if (Value.empty()) {
    if (i >= 0) Delete(i);
  } else if (i < 0) {
    Add(Name + u"=" + Value);
  } else {
    SetStrings(i, Name + u"=" + Value);
  }
}

void TStrings::changed() {
  if (OnChange) OnChange(this);
}

}  // namespace xum
