#include "core/xthread.h"

#include "core/xcatalogue.h"
#include "core/xstr.h"
#include "platform/xos.h"

namespace xum {

namespace {

// How often wait_for looks whether the body has returned.
constexpr int wait_poll_ms = 100;

// The platform's thread behind the opaque member.
platform::os_thread* os_thread(void* t) noexcept { return static_cast<platform::os_thread*>(t); }

}  // namespace

xthread::~xthread() {
  stop();
  platform::os().release_thread(os_thread(thread_));
}

void xthread::stop() {
  terminate_.store(true);
  // Takes every suspension away, so that the body can see the flag and
  // return. resume_thread gives the count before and leaves a count of 0
  // alone, so a running thread is never stopped to find out (a suspension
  // signal may not reach a thread that has only just started).
  if (running_.load())
    while (platform::os().resume_thread(os_thread(thread_)) > 1) {
    }
  wait_for();
}

void xthread::run(void* self) {
  auto* t = static_cast<xthread*>(self);
  try {
    t->execute();
  } catch (...) {
    t->failed_.store(true);
  }
  // The last access to the object: the owner may destroy it from here on.
  t->running_.store(false);
}

xthread::exceptions::~exceptions() = default;

const char* xthread::exceptions::what() const noexcept {
  return code_ == not_started ? "The thread has not been started (xthread 1)" : "Thread operation failed (xthread)";
}

void xthread::resume() {
  if (running_.load()) return;  // started: a suspension stays as it is
  platform::os().release_thread(os_thread(thread_));
  thread_ = nullptr;
  terminate_.store(false);
  failed_.store(false);
  running_.store(true);  // before the start: the body may end at once
  thread_ = platform::os().start_thread(&xthread::run, this, priority_);
  if (thread_ == nullptr) {
    running_.store(false);
    xerror(msg::eOutOfResources.text);
  }
}

void xthread::suspend() {
  if (!running_.load()) throw exceptions(not_started);
  platform::os().suspend_thread(os_thread(thread_));
}

void xthread::resume_suspended() {
  if (!running_.load()) throw exceptions(not_started);
  platform::os().resume_thread(os_thread(thread_));
}

bool xthread::is_suspended() {
  if (!running_.load()) return true;
  platform::os().suspend_thread(os_thread(thread_));
  return platform::os().resume_thread(os_thread(thread_)) > 1;
}

void xthread::wait_for() {
  while (running_.load()) platform::os().sleep_ms(wait_poll_ms);
}

void xthread::_set_debug_name(const char* name) noexcept {
  if (name != nullptr) platform::os().set_current_thread_name(name);
}

}  // namespace xum
