#include "framework/xexception_presenter.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <stdexcept>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "framework/xui_backend.h"

namespace xum {
namespace {

template <class E>
void present(E e) {
  xpresent_exception(std::make_exception_ptr(e));
}

class XPresentException : public ::testing::Test {
 protected:
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};

  const xscripted_backend::box& only_box() {
    EXPECT_EQ(ui_.boxes().size(), 1u);
    return ui_.boxes().back();
  }
};

TEST_F(XPresentException, OrdinaryErrorShowsMessageUnderErrorCaption) {
  present(XException(u"File not found !\nFile: a.txt"));
  const auto& b = only_box();
  EXPECT_EQ(b.text, "File not found !\nFile: a.txt");
  EXPECT_EQ(b.caption, "Error");
  EXPECT_EQ(b.flags, MB_OK | MB_ICONEXCLAMATION);
}

TEST_F(XPresentException, EmptyMessageAndForeignExceptionsShowUnknownError) {
  struct row {
    const char* name;
    std::exception_ptr e;
  };
  const row rows[] = {
      {"empty XException", std::make_exception_ptr(XException(u""))},
      {"std::runtime_error", std::make_exception_ptr(std::runtime_error("x"))},
      {"contract violation", std::make_exception_ptr(xexception(0))},
      {"int", std::make_exception_ptr(42)},
      {"null", nullptr},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    ui_.clear();
    xpresent_exception(r.e);
    const auto& b = only_box();
    EXPECT_EQ(b.text, "Unknown internal error !");
    EXPECT_EQ(b.caption, "Error");
  }
}

TEST_F(XPresentException, ValidationUsesItsCaption) {
  XEValidation v(u"Value is not entered !");
  v.caption = u"Input error";
  present(v);
  EXPECT_EQ(only_box().caption, "Input error");
}

TEST_F(XPresentException, CriticalRetryContinues) {
  ui_.queue_answer(IDRETRY);
  present(XECritical(u"Device lost !"));
  const auto& b = only_box();
  EXPECT_EQ(b.text, "Device lost !");
  EXPECT_EQ(b.caption, "Critical error");
  EXPECT_EQ(b.flags, MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION);
  EXPECT_FALSE(xcritical_errors_ignored());
}

TEST_F(XPresentException, CriticalWinsOverFatalAndOverflowIsCritical) {
  XException both(u"both");
  both.critical = both.fatal = true;
  ui_.queue_answer(IDRETRY);
  present(both);
  EXPECT_EQ(only_box().caption, "Critical error");
  ui_.clear();
  ui_.queue_answer(IDRETRY);
  present(EIntOverflow(u"ignored text"));
  EXPECT_EQ(only_box().text, "Integer overflow !");
  EXPECT_EQ(only_box().caption, "Critical error");
}

// The paths below end the process or change process-wide state for good, so
// they run in a child process.
using XPresentExceptionDeathTest = XPresentException;

TEST_F(XPresentExceptionDeathTest, AbortEndsTheProcessWithCode1) {
  EXPECT_EXIT(
      {
        ui_.queue_answer(IDABORT);
        present(XECritical(u"Device lost !"));
        std::exit(0);
      },
      ::testing::ExitedWithCode(1), "");
}

TEST_F(XPresentExceptionDeathTest, IgnoreHidesLaterCriticalErrors) {
  EXPECT_EXIT(
      {
        ui_.queue_answer(IDIGNORE);
        present(XECritical(u"first"));
        present(XECritical(u"second"));
        present(EIntOverflow(u""));
        present(XException(u"ordinary"));  // still shown
        const bool ok = xcritical_errors_ignored() && ui_.boxes().size() == 2 &&
                        ui_.boxes()[1].text == "ordinary";
        std::exit(ok ? 0 : 3);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(XPresentExceptionDeathTest, FatalShowsThenExitsWithCode1) {
  // Through the headless backend, whose box goes to standard error.
  xset_ui_backend(nullptr);
  struct row {
    const char* name;
    std::exception_ptr e;
    const char* text;
  };
  const row rows[] = {
      {"XEFatal", std::make_exception_ptr(XEFatal(u"Broken setup !")), "Broken setup !"},
      {"bad_alloc", std::make_exception_ptr(std::bad_alloc()), "Out of memory !"},
      {"EOutOfMemory", std::make_exception_ptr(EOutOfMemory(u"")), "Out of memory !"},
      {"EOutOfResources", std::make_exception_ptr(EOutOfResources(u"")), "Out of system resources !"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EXIT(xpresent_exception(r.e), ::testing::ExitedWithCode(1),
                std::string("== Fatal error ==\n") + r.text + "\n\\[OK\\] -> OK");
  }
}

TEST(XHeadlessBackend, AnswersByRuleAndFallsBackToTheDefaultButton) {
  xheadless_backend ui;
  std::ostringstream out;
  ui.set_output(&out);
  EXPECT_EQ(ui.message_box("q", "c", MB_YESNOCANCEL), IDYES);
  EXPECT_EQ(ui.message_box("q", "c", MB_YESNOCANCEL | MB_DEFBUTTON3), IDCANCEL);
  ui.set_rule([](const xstr&, const xstr&, unsigned) { return IDNO; });
  EXPECT_EQ(ui.message_box("q", "c", MB_YESNO), IDNO);
  EXPECT_EQ(ui.message_box("q", "c", MB_OK), IDOK);  // the box has no "No"
  EXPECT_EQ(out.str().substr(0, 28), "== c ==\nq\n[Yes No Cancel] ->");
}

}  // namespace
}  // namespace xum
