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

// The severity flags only matter to the presenter, which is tested with them.
TEST(XExceptionFamily, WhatGivesTheMessageAsUtf8ThroughStdException) {
  try {
    throw XEValidation(u"Gr\u00fc\u00dfe \U0001F600");
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "Gr\xc3\xbc\xc3\x9f" "e \xf0\x9f\x98\x80");
  }
  XException e(u"before");
  EXPECT_STREQ(e.what(), "before");
  e.Message = u"changed";
  EXPECT_STREQ(e.what(), "changed");
}

TEST_F(XExceptionShow, ShowUsesTheErrorCaptionAndSetsTheFlag) {
  XException::Show("File not found !", true);
  EXPECT_TRUE(XException::messageShowed);
  XException::Show("again", false);
  EXPECT_FALSE(XException::messageShowed);
  XECritical(u"Disk \u00e9tat").Show();  // its own message, as UTF-8
  EXPECT_TRUE(XException::messageShowed);
  const xstr saved = msg::Error.text;
  msg::Error.text = "Fehler";  // a translated caption is followed
  XException::Show("x", true);
  msg::Error.text = saved;
  ASSERT_EQ(boxes.size(), 4u);
  EXPECT_EQ(boxes[0].text, "File not found !");
  EXPECT_EQ(boxes[0].caption, "Error");
  EXPECT_EQ(boxes[0].flags, MB_OK | MB_ICONEXCLAMATION);
  EXPECT_EQ(boxes[2].text, "Disk \xc3\xa9tat");
  EXPECT_EQ(boxes[3].caption, "Fehler");
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

}  // namespace
}  // namespace xum
