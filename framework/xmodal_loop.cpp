#include "framework/xmodal_loop.h"

#include <chrono>

#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/xmain_loop.h"

namespace xum {

xmodal_loop::xmodal_loop(TCustomForm& form)
    : form_(form), terminations_(Application()->FTerminations) {}

bool xmodal_loop::ended() {
  if (ended_) return true;
  // A form open when the application is told to end is cancelled; one
  // shown after the end (a last question on the way out) is still asked.
  if (Application()->FTerminations != terminations_) {
    form_.SetModalResult(mrCancel);
    return ended_ = true;
  }
  if (form_.ModalResult() == mrNone) return false;
  try {
    TCloseAction action = caNone;
    if (form_.CloseQuery()) {
      action = caHide;
      if (form_.OnClose) form_.OnClose(&form_, action);
    }
    if (action == caNone) {
      form_.SetModalResult(mrNone);
      return false;
    }
    release_ = action == caFree;
    return ended_ = true;
  } catch (...) {
    form_.SetModalResult(mrNone);
    Application()->HandleException(&form_);
    return false;
  }
}

bool xmodal_loop::close_with(int result) {
  if (ended_) return true;
  form_.SetModalResult(result);
  return ended();
}

bool xmodal_loop::act(const std::function<void()>& what) {
  if (ended_) return true;
  try {
    what();
  } catch (...) {
    Application()->HandleException(&form_);
  }
  return ended();
}

bool xmodal_loop::turn(int timeout_ms) {
  if (ended()) return true;
  xmain_loop& loop = xmain_loop::instance();
  if (!loop.in_main_thread()) return false;
  try {
    loop.run_once(timeout_ms);
  } catch (...) {
    Application()->HandleException(Application());
  }
  return ended();
}

bool xmodal_loop::run(int timeout_ms) {
  using clock = std::chrono::steady_clock;
  if (!xmain_loop::instance().in_main_thread()) return ended();
  const clock::time_point end = clock::now() + std::chrono::milliseconds(timeout_ms < 0 ? 0 : timeout_ms);
  for (int wait = timeout_ms;;) {
    if (turn(wait)) return true;
    if (timeout_ms < 0) continue;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - clock::now()).count();
    if (left <= 0) return false;
    wait = static_cast<int>(left);
  }
}

}  // namespace xum
