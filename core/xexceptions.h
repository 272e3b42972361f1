// The exception family for failures a user may see.
//
// `Exception` stands in for the host framework's base exception: it carries
// the message as UTF-16 text (`Message`) and offers it as UTF-8 through
// `what()`. `XException` adds two severity flags that decide how a failure is
// presented: an ordinary error is shown and the application goes on, a
// critical one lets the user abort, retry or ignore further critical errors,
// a fatal one is shown and ends the process.
//
//   try { load(); }
//   catch (xum::XException& e) { e.Show(); }
//   catch (...) { xum::XException::UnknownException(); }
//
// Every exception the library throws is a std::exception, so
// `catch (const std::exception& e)` around any call gives a message in
// `e.what()`. Failures a program branches on are told apart by class (or by
// `category()`), never by their text, which the localizer may translate:
//
//   try { f.open_file(name, xum::xfile_read); }
//   catch (const xum::XENotFound&) { use_defaults(); }          // file or folder missing
//   catch (const xum::XEBadData& e) { report(e.what(), e.line()); }
//   catch (const std::exception& e) { report(e.what()); }
//
// Thread safety: exception objects are values; `messageShowed` is a plain
// process-wide flag that belongs to the user-interface thread.
#ifndef XUM_CORE_XEXCEPTIONS_H
#define XUM_CORE_XEXCEPTIONS_H

#include <cstdint>
#include <exception>
#include <string>

#include "core/xexport.h"
#include "core/xstr.h"

namespace xum {

// The framework's wide string types.
using UnicodeString = std::u16string;
using String = UnicodeString;

// Base of the framework's exceptions: a message and nothing else.
class XUM_API Exception : public std::exception {
 public:
  explicit Exception(const UnicodeString& message);
  ~Exception() override;

  // The message as UTF-8; valid until `Message` changes or the object dies.
  const char* what() const noexcept override;

  UnicodeString Message;

 private:
  mutable std::string what_;
};

// The framework's integer-overflow and out-of-resources exceptions; an
// allocation failure is std::bad_alloc or EOutOfMemory.
class XUM_API EIntOverflow : public Exception {
 public:
  using Exception::Exception;
  ~EIntOverflow() override;
};

class XUM_API EOutOfMemory : public Exception {
 public:
  using Exception::Exception;
  ~EOutOfMemory() override;
};

class XUM_API EOutOfResources : public Exception {
 public:
  using Exception::Exception;
  ~EOutOfResources() override;
};

// What kind of failure an XException reports, for programs that branch on
// it. Raising sites choose it; the message stays the text for people.
enum class xerror_category : int {
  general = 0,    // anything not listed below
  not_found,      // a file or folder that does not exist
  permission,     // the system refused access to a file or folder
  bad_data,       // input that is not in the form its reader expects
  newer_version,  // data written by a newer version of its format
  io,             // the system failed to open, read or write (no descriptors
                  // left, a device error, a full disk), or a read or write
                  // moved fewer bytes than it had to
};

// Where bad data was found: a line of a text (from 1), a byte offset in a
// stream (from 0), or both; -1 where unknown.
struct xerror_where {
  std::int64_t line = -1;
  std::int64_t offset = -1;
};

// Raises `message` as xerror(message) does, with its category: without a
// hook the exception thrown is the category's class (XENotFound ... below;
// XException itself for general), with `where` kept. A hook receives the text alone,
// and xerror returns when it returns; while it runs, the category and the
// place are known to xerror_current_category() and xerror_current_where(),
// and xthrow_error throws the category's class (the hook the package
// installs at load does just that). Library code that knows the kind of a
// failure raises it with this overload:
//
//   xum::xerror(xum::xerror_category::bad_data,
//               xum::msg::eInvalidFormat.text + "\n" + description, {.offset = pos});
XUM_API void xerror(xerror_category category, const xstr& message, xerror_where where = {});

// Throws the exception for `message` that xerror would throw without a
// hook: inside a hook called by a categorised xerror, the category's class
// with its place; anywhere else a plain XException. Meant as, or for, an
// error hook that throws.
[[noreturn]] XUM_API void xthrow_error(const xstr& message);

// The category and place of the failure being raised, for an error hook;
// general and unknown outside one (and for the plain xerror(message)).
XUM_API xerror_category xerror_current_category() noexcept;
XUM_API xerror_where xerror_current_where() noexcept;

class XUM_API XException : public Exception {
 public:
  explicit XException(const UnicodeString& message);
  ~XException() override;

  // The kind of failure: general, unless thrown as one of the typed classes
  // below (XENotFound, XEPermission, XEBadData, XENewerVersion, XEIOError).
  xerror_category category() const noexcept { return category_; }
  // Where the failure was found, as far as the raising site knew: -1 when
  // unknown.
  std::int64_t line() const noexcept { return where_.line; }
  std::int64_t offset() const noexcept { return where_.offset; }

  bool critical = false;
  bool fatal = false;

  // Set by Show(text, true) so that an outer catch-all does not report the
  // same failure again as unknown; reset by UnknownException.
  static bool messageShowed;

  // Shows this exception's message: Show(message, true).
  void Show() const;

  // Shows `text` in a message box (OK button, exclamation icon, caption: the
  // current "Error" catalogue text), then sets messageShowed to `showed`.
  // Never throws.
  static void Show(const xstr& text, bool showed);

  // For a catch-all handler: shows the "eUnknownError" text unless a box was
  // already shown for this failure; always leaves messageShowed false.
  static void UnknownException();

 protected:
  XException(const UnicodeString& message, xerror_category category, xerror_where where);

 private:
  // They throw a general XException with a place.
  friend XUM_API void xerror(xerror_category category, const xstr& message, xerror_where where);
  friend XUM_API void xthrow_error(const xstr& message);

  xerror_category category_ = xerror_category::general;
  xerror_where where_;
};

// The user aborted an operation.
class XUM_API XEAbort : public XException {
 public:
  explicit XEAbort(const UnicodeString& message);
  ~XEAbort() override;
};

class XUM_API XECritical : public XException {
 public:
  explicit XECritical(const UnicodeString& message);
  ~XECritical() override;
};

class XUM_API XEFatal : public XException {
 public:
  explicit XEFatal(const UnicodeString& message);
  ~XEFatal() override;
};

// A failed input check; `caption` titles the box that reports it.
class XUM_API XEValidation : public XException {
 public:
  explicit XEValidation(const UnicodeString& message);
  ~XEValidation() override;

  UnicodeString caption;
};

// The typed failures, one class per category. Each is an XException with an
// ordinary severity, carrying the same message a plain XException would.

// A file or folder that does not exist ("File not found !", "Path not found !").
class XUM_API XENotFound : public XException {
 public:
  explicit XENotFound(const UnicodeString& message, xerror_where where = {});
  ~XENotFound() override;
};

// The system refused access ("Permission denied !").
class XUM_API XEPermission : public XException {
 public:
  explicit XEPermission(const UnicodeString& message, xerror_where where = {});
  ~XEPermission() override;
};

// Input that is not in the form its reader expects; line() and offset() say
// where, when the reader knew.
class XUM_API XEBadData : public XException {
 public:
  explicit XEBadData(const UnicodeString& message, xerror_where where = {});
  ~XEBadData() override;
};

// Data written by a newer version of its format than this reader knows.
class XUM_API XENewerVersion : public XException {
 public:
  explicit XENewerVersion(const UnicodeString& message, xerror_where where = {});
  ~XENewerVersion() override;
};

// The system failed to open, read or write, or a read or write moved fewer
// bytes than it had to ("Data reading error !", "Data writing error !").
class XUM_API XEIOError : public XException {
 public:
  explicit XEIOError(const UnicodeString& message, xerror_where where = {});
  ~XEIOError() override;
};

}  // namespace xum

#endif  // XUM_CORE_XEXCEPTIONS_H
