#include "framework/xexception_presenter.h"

#include <new>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/xui_backend.h"

namespace xum {
namespace {

template <class E>
std::exception_ptr ep(E e) {
  return std::make_exception_ptr(e);
}

class XPresentException : public ::testing::Test {
 protected:
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
};

TEST_F(XPresentException, EachKindShowsItsTextCaptionAndButtons) {
  XEValidation validation(u"Value is not entered !");
  validation.caption = u"Input error";
  XException both(u"both");
  both.critical = both.fatal = true;  // critical wins
  const unsigned ok = MB_OK | MB_ICONEXCLAMATION, retry = MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION;
  const char* const unknown = "Unknown internal error !";
  const std::tuple<std::exception_ptr, const char*, const char*, unsigned> rows[] = {
      {ep(XException(u"Disk full !\nFile: a")), "Disk full !\nFile: a", "Error", ok},
      {ep(validation), "Value is not entered !", "Input error", ok},
      {ep(XECritical(u"Device lost !")), "Device lost !", "Critical error", retry},
      {ep(both), "both", "Critical error", retry},
      {ep(EIntOverflow(u"ignored text")), "Integer overflow !", "Critical error", retry},
      // Whatever carries no message of its own.
      {ep(XException(u"")), unknown, "Error", ok},
      {ep(std::runtime_error("x")), unknown, "Error", ok},
      {nullptr, unknown, "Error", ok}};
  for (const auto& [e, text, caption, flags] : rows) {
    SCOPED_TRACE(text);
    ui_.clear();
    ui_.queue_answer(IDRETRY);  // a critical error goes on
    xpresent_exception(e);
    ASSERT_EQ(ui_.boxes().size(), 1u);
    EXPECT_EQ(ui_.boxes()[0].text, text);
    EXPECT_EQ(ui_.boxes()[0].caption, caption);
    EXPECT_EQ(ui_.boxes()[0].flags, flags);
  }
  EXPECT_FALSE(xcritical_errors_ignored());
}

// The paths below end the process or change process-wide state for good, so
// they run in a child process.
using XPresentExceptionDeathTest = XPresentException;

TEST_F(XPresentExceptionDeathTest, AbortEndsTheProcessWithCode1AndIgnoreHidesLaterOnes) {
  EXPECT_EXIT(
      {
        ui_.queue_answer(IDABORT);
        xpresent_exception(ep(XECritical(u"Device lost !")));
        std::exit(0);
      },
      ::testing::ExitedWithCode(1), "");
  // Ignore hides later critical errors.
  EXPECT_EXIT(
      {
        ui_.queue_answer(IDIGNORE);
        xpresent_exception(ep(XECritical(u"first")));
        xpresent_exception(ep(XECritical(u"second")));
        xpresent_exception(ep(EIntOverflow(u"")));
        xpresent_exception(ep(XException(u"ordinary")));  // still shown
        const bool ok = xcritical_errors_ignored() && ui_.boxes().size() == 2 &&
                        ui_.boxes()[1].text == "ordinary";
        std::exit(ok ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(XPresentExceptionDeathTest, FatalShowsThenExitsWithCode1) {
  // Through the headless backend, whose box goes to standard error.
  xset_ui_backend(nullptr);
  const std::tuple<std::exception_ptr, const char*> rows[] = {
      {ep(XEFatal(u"Broken setup !")), "Broken setup !"},
      {ep(std::bad_alloc()), "Out of memory !"},
      {ep(EOutOfResources(u"")), "Out of system resources !"},
  };
  for (const auto& [e, text] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EXIT(xpresent_exception(e), ::testing::ExitedWithCode(1),
                std::string("== Fatal error ==\n") + text + "\n\\[OK\\] -> OK");
  }
}

}  // namespace
}  // namespace xum
