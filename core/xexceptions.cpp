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
XException::XException(const UnicodeString& message, xerror_category category, xerror_where where)
    : Exception(message), category_(category), where_(where) {}
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

XENotFound::XENotFound(const UnicodeString& message, xerror_where where)
    : XException(message, xerror_category::not_found, where) {}
XENotFound::~XENotFound() = default;

XEPermission::XEPermission(const UnicodeString& message, xerror_where where)
    : XException(message, xerror_category::permission, where) {}
XEPermission::~XEPermission() = default;

XEBadData::XEBadData(const UnicodeString& message, xerror_where where)
    : XException(message, xerror_category::bad_data, where) {}
XEBadData::~XEBadData() = default;

XENewerVersion::XENewerVersion(const UnicodeString& message, xerror_where where)
    : XException(message, xerror_category::newer_version, where) {}
XENewerVersion::~XENewerVersion() = default;

XEIOError::XEIOError(const UnicodeString& message, xerror_where where)
    : XException(message, xerror_category::io, where) {}
XEIOError::~XEIOError() = default;

namespace {

// What a categorised xerror is raising while it runs the hook, for a hook
// that throws (xthrow_error) or asks. Per thread: each thread raises its own.
struct raising {
  xerror_category category;
  xerror_where where;
};
thread_local const raising* current = nullptr;

// Puts `r` in place for the duration of a hook call, nesting safely.
class raising_scope {
 public:
  explicit raising_scope(const raising* r) noexcept : saved_(current) { current = r; }
  ~raising_scope() { current = saved_; }
  raising_scope(const raising_scope&) = delete;
  raising_scope& operator=(const raising_scope&) = delete;

 private:
  const raising* saved_;
};

// Throws the class of a category other than general; returns for general,
// whose XException only the friends of XException can give a place.
void throw_typed(xerror_category category, const UnicodeString& text, xerror_where where) {
  switch (category) {
    case xerror_category::not_found: throw XENotFound(text, where);
    case xerror_category::permission: throw XEPermission(text, where);
    case xerror_category::bad_data: throw XEBadData(text, where);
    case xerror_category::newer_version: throw XENewerVersion(text, where);
    case xerror_category::io: throw XEIOError(text, where);
    case xerror_category::general: break;
  }
}

}  // namespace

void xerror(xerror_category category, const xstr& message, xerror_where where) {
  if (xerror_handler != nullptr) {
    const raising r{category, where};
    const raising_scope scope(&r);
    xerror_handler(message);
    return;
  }
  const UnicodeString text = message.w_str();
  throw_typed(category, text, where);
  throw XException(text, xerror_category::general, where);
}

void xthrow_error(const xstr& message) {
  const raising r = current ? *current : raising{xerror_category::general, {}};
  const UnicodeString text = message.w_str();
  throw_typed(r.category, text, r.where);
  throw XException(text, xerror_category::general, r.where);
}

xerror_category xerror_current_category() noexcept {
  return current ? current->category : xerror_category::general;
}

xerror_where xerror_current_where() noexcept { return current ? current->where : xerror_where{}; }

}  // namespace xum
