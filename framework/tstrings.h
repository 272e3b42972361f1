// A list of framework texts, as list boxes, combo boxes, memo-like editors
// and value lists hold them. Lines may carry "Name=Value" pairs.
//
//   xum::TStringList l;
//   l.Add(u"Left=10");
//   l.Values(u"left");        // u"10": names compare without case
//
// Thread safety: belongs to one thread at a time.
#ifndef XUM_FRAMEWORK_TSTRINGS_H
#define XUM_FRAMEWORK_TSTRINGS_H

#include <vector>

#include "core/xexceptions.h"
#include "core/xexport.h"
#include "framework/tcomponent.h"

namespace xum {

class XUM_API TStrings : public TObject {
 public:
  TStrings() = default;
  ~TStrings() override;

  int Count() const noexcept { return static_cast<int>(FLines.size()); }
  // Line i; i outside [0, Count) throws xexception 0.
  const UnicodeString& Strings(int Index) const;
  const UnicodeString& operator[](int Index) const { return Strings(Index); }
  void SetStrings(int Index, const UnicodeString& S);

  // Appends and returns the new line's index.
  int Add(const UnicodeString& S);
  void Insert(int Index, const UnicodeString& S);
  void Delete(int Index);
  void Clear();
  void Assign(const TStrings& Source);
  // The index of the first line equal to S ignoring case, or -1.
  int IndexOf(const UnicodeString& S) const;

  // Lines joined, each followed by a line feed; setting splits at LF, CR LF
  // or CR.
  UnicodeString Text() const;
  void SetText(const UnicodeString& Value);

  // "Name=Value" lines: the part before the first '=' and the part after.
  UnicodeString Names(int Index) const;
  UnicodeString ValueFromIndex(int Index) const;
  int IndexOfName(const UnicodeString& Name) const;
  // The value of the first line named Name (without case), empty if none.
  UnicodeString Values(const UnicodeString& Name) const;
  // Replaces the value of the line named Name, appends a line when there is
  // none, and deletes the line when Value is empty.
  void SetValues(const UnicodeString& Name, const UnicodeString& Value);

  // Called after every change (controls redraw from it).
  TNotifyEvent OnChange;

 private:
  void changed();
  std::vector<UnicodeString> FLines;
};

class XUM_API TStringList final : public TStrings {};

}  // namespace xum

#endif  // XUM_FRAMEWORK_TSTRINGS_H
