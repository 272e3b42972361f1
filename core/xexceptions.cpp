#include "core/xexceptions.h"

#include "core/xcatalogue.h"
#include "core/xmessage_box.h"
#include "core/xutf.h"

namespace xum {

Exception::Exception(const UnicodeString& message) : Message(message) {}
Exception::~Exception() = default;

const char* Exception::what() const noexcept {
  try {
    xutf16_to_utf8(Message, what_);
  } catch (...) {
    return "out of memory while converting an exception message";
  }
  return what_.c_str();
}

EIntOverflow::~EIntOverflow() = default;
EOutOfMemory::~EOutOfMemory() = default;
EOutOfResources::~EOutOfResources() = default;

bool XException::messageShowed = false;

XException::XException(const UnicodeString& message) : Exception(message) {}
XException::~XException() = default;

void XException::Show() const {
  xstr text;
  try {
    text = xstr(Message.c_str());
  } catch (...) {
    // Out of memory: show what can be shown.
  }
  Show(text, true);
}

void XException::Show(const xstr& text, bool showed) {
  try {
    xmessage_box(text, msg::Error.text, MB_OK | MB_ICONEXCLAMATION);
  } catch (...) {
    // A box that cannot be shown must not turn into a second failure.
  }
  messageShowed = showed;
}

void XException::UnknownException() {
  if (!messageShowed) Show(msg::eUnknownError.text, true);
  messageShowed = false;
}

XEAbort::XEAbort(const UnicodeString& message) : XException(message) {}
XEAbort::~XEAbort() = default;

XECritical::XECritical(const UnicodeString& message) : XException(message) {
  critical = true;
}
XECritical::~XECritical() = default;

XEFatal::XEFatal(const UnicodeString& message) : XException(message) { fatal = true; }
XEFatal::~XEFatal() = default;

XEValidation::XEValidation(const UnicodeString& message) : XException(message) {}
XEValidation::~XEValidation() = default;

}  // namespace xum
