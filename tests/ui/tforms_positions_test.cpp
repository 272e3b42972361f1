#include "ui/tforms_positions.h"

#include <memory>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "formats/xstruct_format.h"
#include "framework/tapplication.h"
#include "framework/tforms.h"
#include "framework/xui_backend.h"
#include "streams/xmemory_stream.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

class FormsPositionsTest : public ::testing::Test {
 protected:
  xscripted_backend ui_;
  xui_backend_scope scope_{ui_};
  TFormsPositions positions_;

  // Restores `form` from the text of a positions file.
  void restore(TCustomForm* form, const std::string& text) {
    xbuffer_stream in;
    in.open(text.data(), static_cast<int>(text.size()));
    xstruct_format f;
    f.open_stream(in, xstream_read, false);
    positions_.Form(f, form);
    f.close();
  }
  static std::string bounds(const TCustomForm* f) {
    return std::to_string(f->Left()) + "," + std::to_string(f->Top()) + "," +
           std::to_string(f->Width()) + "," + std::to_string(f->Height());
  }
};

TEST_F(FormsPositionsTest, WritesEveryValueEvenAtDefaultsButSizesOnlyForSizeableForms) {
  const auto form = [](const char16_t* name, TFormBorderStyle style) {
    auto* f = new TForm(Application());
    f->SetName(name);
    f->SetBorderStyle(style);
    f->SetBounds(0, 0, 0, 0);
    return f;
  };
  const std::unique_ptr<TForm> main(form(u"MainForm", bsSizeable)),
      dialog(form(u"AboutForm", bsDialog)), skipped(form(u"Splash", bsSizeable));
  xmemory_stream m;
  xstruct_format f;
  f.open_stream(m, xstream_write, false);
  positions_.ExcludeForm("Splash");
  positions_.AllCreatedForms(f);
  f.close();
  const std::string text = test::bytes_of(m);
  EXPECT_NE(
      text.find("<MainForm\r\n  State=0\r\n  Left=0\r\n  Top=0\r\n  Width=0\r\n  Height=0\r\n"),
      std::string::npos);
  EXPECT_NE(text.find("<AboutForm\r\n  State=0\r\n  Left=0\r\n  Top=0\r\n>"), std::string::npos);
  EXPECT_EQ(text.find("Splash"), std::string::npos);
}

TEST_F(FormsPositionsTest, RestoredFormsStayOnTheScreenAndAMissingSectionKeepsTheForm) {
  ui_.set_screen_size({1000, 800});
  const std::tuple<const char*, TFormBorderStyle, const char*, TWindowState> rows[] = {
      {"<F\r\nLeft=-5000\r\nTop=10\r\nWidth=300\r\nHeight=200", bsSizeable, "-250,10,300,200",
       wsNormal},
      {"<F\r\nLeft=-2147483648\r\nTop=2147483648\r\nWidth=-2147483648\r\nHeight=x", bsSizeable,
       "-50,750,100,100", wsNormal},
      {"<F\r\nLeft=abc\r\nTop=99999999999\r\nWidth=500\r\nHeight=500", bsDialog, "1,750,100,100",
       wsNormal},
      {"<F\r\nState=2\r\nLeft=300", bsSizeable, "1,2,100,100", wsMaximized},
      {"<Other\r\nLeft=500", bsSizeable, "1,2,100,100", wsNormal},
  };
  for (const auto& [section, style, placed, state] : rows) {
    SCOPED_TRACE(section);
    TForm form(nullptr);
    form.SetName(u"F");
    form.SetBorderStyle(style);
    form.SetBounds(1, 2, 100, 100);
    restore(&form, std::string("TSFx\r\n") + section + "\r\n>\r\n");
    EXPECT_EQ(bounds(&form), placed);
    EXPECT_EQ(form.WindowState(), state);
  }
}

}  // namespace
}  // namespace xum
