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
// Thread safety: exception objects are values; `messageShowed` is a plain
// process-wide flag that belongs to the user-interface thread.
#ifndef XUM_CORE_XEXCEPTIONS_H
#define XUM_CORE_XEXCEPTIONS_H

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

class XUM_API XException : public Exception {
 public:
  explicit XException(const UnicodeString& message);
  ~XException() override;

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

}  // namespace xum

#endif  // XUM_CORE_XEXCEPTIONS_H
