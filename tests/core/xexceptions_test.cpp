#include "core/xexceptions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/xcatalogue.h"
#include "core/xmessage_box.h"

namespace xum {
namespace {

struct shown_box {
  std::string text;
  std::string caption;
  unsigned flags;
};

std::vector<shown_box> boxes;

int record_box(const xstr& text, const xstr& caption, unsigned flags) {
  boxes.push_back({std::string(text.view()), std::string(caption.view()), flags});
  return IDOK;
}

// Routes core's message boxes into `boxes` for the duration of a test.
class XExceptionShow : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = xmessage_box_handler;
    xmessage_box_handler = &record_box;
    boxes.clear();
    XException::messageShowed = false;
  }
  void TearDown() override {
    xmessage_box_handler = saved_;
    XException::messageShowed = false;
  }

 private:
  xmessage_box_fn saved_ = nullptr;
};

TEST(XExceptionFamily, FlagsFollowTheClass) {
  const XException plain(u"a");
  const XEAbort abort(u"b");
  const XECritical critical(u"c");
  const XEFatal fatal(u"d");
  const XEValidation validation(u"e");
  EXPECT_FALSE(plain.critical || plain.fatal);
  EXPECT_FALSE(abort.critical || abort.fatal);
  EXPECT_TRUE(critical.critical && !critical.fatal);
  EXPECT_TRUE(fatal.fatal && !fatal.critical);
  EXPECT_FALSE(validation.critical || validation.fatal);
  EXPECT_TRUE(validation.caption.empty());
}

TEST(XExceptionFamily, CopiesKeepMessageFlagsAndCaption) {
  XEValidation original(u"Value is not entered !");
  original.caption = u"Input error";
  original.critical = true;
  try {
    throw original;
  } catch (const XException& e) {
    const auto* v = dynamic_cast<const XEValidation*>(&e);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->caption, u"Input error");
    EXPECT_EQ(e.Message, u"Value is not entered !");
    EXPECT_TRUE(e.critical);
  }
}

TEST(XExceptionFamily, WhatGivesTheMessageAsUtf8) {
  XException e(u"Gr\u00fc\u00dfe \U0001F600");
  EXPECT_STREQ(e.what(), "Gr\xc3\xbc\xc3\x9f" "e \xf0\x9f\x98\x80");
  e.Message = u"changed";
  EXPECT_STREQ(e.what(), "changed");
}

TEST(XExceptionFamily, CaughtAsStdException) {
  try {
    throw XEFatal(u"boom");
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "boom");
  }
}

TEST_F(XExceptionShow, ShowUsesErrorCaptionAndSetsFlag) {
  XException::Show("File not found !", true);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "File not found !");
  EXPECT_EQ(boxes[0].caption, msg::Error.text.view());
  EXPECT_EQ(boxes[0].flags, MB_OK | MB_ICONEXCLAMATION);
  EXPECT_TRUE(XException::messageShowed);
  XException::Show("again", false);
  EXPECT_FALSE(XException::messageShowed);
}

TEST_F(XExceptionShow, MemberShowShowsOwnMessage) {
  XECritical(u"Disk \u00e9tat").Show();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, "Disk \xc3\xa9tat");
  EXPECT_TRUE(XException::messageShowed);
}

TEST_F(XExceptionShow, UnknownExceptionStaysSilentOnceAfterShow) {
  XException::Show("reported", true);
  XException::UnknownException();
  EXPECT_EQ(boxes.size(), 1u);
  EXPECT_FALSE(XException::messageShowed);
  XException::UnknownException();
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_EQ(boxes[1].text, "Unknown internal error !");
  EXPECT_FALSE(XException::messageShowed);
}

TEST_F(XExceptionShow, ShowFollowsATranslatedCaption) {
  const xstr saved = msg::Error.text;
  msg::Error.text = "Fehler";
  XException::Show("x", true);
  msg::Error.text = saved;
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].caption, "Fehler");
}

}  // namespace
}  // namespace xum
