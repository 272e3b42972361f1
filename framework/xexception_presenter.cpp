#include "framework/xexception_presenter.h"

#include <new>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xmessage_box.h"
#include "platform/xos.h"

namespace xum {

namespace {

bool ignore_critical = false;

struct presentation {
  xstr text;
  xstr caption;
  bool critical = false;
  bool fatal = false;
};

// Steps 1 to 4: text, caption and severity of the failure. Integer overflow
// and resource exhaustion are tested one after the other, each able to
// override what was decided before.
presentation classify(std::exception_ptr e) {
  presentation p{msg::eUnknownError.text, msg::Error.text};
  if (!e) return p;
  try {
    std::rethrow_exception(e);
  } catch (const XException& x) {
    if (const auto* v = dynamic_cast<const XEValidation*>(&x)) p.caption = xstr(v->caption.c_str());
    if (!x.Message.empty()) p.text = xstr(x.Message.c_str());
    p.critical = x.critical;
    p.fatal = x.fatal;
  } catch (const EIntOverflow&) {
    p.text = msg::eIntegerOverflow.text;
    p.critical = true;
  } catch (const EOutOfMemory&) {
    p.text = msg::eOutOfMemory.text;
    p.fatal = true;
  } catch (const std::bad_alloc&) {
    p.text = msg::eOutOfMemory.text;
    p.fatal = true;
  } catch (const EOutOfResources&) {
    p.text = msg::eOutOfResources.text;
    p.fatal = true;
  } catch (...) {
  }
  return p;
}

}  // namespace

bool xcritical_errors_ignored() noexcept { return ignore_critical; }

void xpresent_exception(std::exception_ptr e) {
  const presentation p = classify(e);
  // Critical is tested before fatal: an exception with both flags is critical.
  if (p.critical) {
    if (ignore_critical) return;
    const int answer = xmessage_box(p.text, msg::CriticalError.text,
                                    MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION);
    if (answer == IDABORT) platform::os().terminate_process(1);
    if (answer == IDIGNORE) ignore_critical = true;
    return;
  }
  if (p.fatal) {
    xmessage_box(p.text, msg::FatalError.text, MB_OK | MB_ICONEXCLAMATION);
    platform::os().terminate_process(1);
  }
  xmessage_box(p.text, p.caption, MB_OK | MB_ICONEXCLAMATION);
}

}  // namespace xum
