#include "framework/xterminal_backend.h"

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "framework/tdialogs.h"
#include "framework/tstdctrls.h"
#include "framework/tthread.h"
#include "framework/xmain_loop.h"

namespace xum {
namespace {

// A pseudo-terminal: the backend opens its slave side by name, the test
// types into the master side and reads what the backend printed.
class XTerminalBackend : public ::testing::Test {
 protected:
  void SetUp() override {
    master_ = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master_, 0);
    ASSERT_EQ(grantpt(master_), 0);
    ASSERT_EQ(unlockpt(master_), 0);
    slave_name_ = ptsname(master_);
    // No echo, so the output holds only what the backend wrote.
    const int slave = open(slave_name_.c_str(), O_RDWR | O_NOCTTY);
    termios t{};
    tcgetattr(slave, &t);
    t.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    t.c_oflag &= ~static_cast<tcflag_t>(ONLCR);
    tcsetattr(slave, TCSANOW, &t);
    close(slave);
    ui_.emplace(slave_name_.c_str());
    use_.emplace(*ui_);
  }
  void TearDown() override {
    use_.reset();
    ui_.reset();
    close(master_);
  }

  void type(const std::string& text) {
    ASSERT_EQ(write(master_, text.data(), text.size()), ssize_t(text.size()));
  }
  std::string printed() {
    std::string out;
    fcntl(master_, F_SETFL, O_NONBLOCK);
    char buffer[4096];
    for (ssize_t n; (n = read(master_, buffer, sizeof buffer)) > 0;)
      out.append(buffer, std::size_t(n));
    return out;
  }

  // A child of the form, with a hint (edits) or a caption (buttons) when given.
  TEdit* edit(const char16_t* hint = nullptr) {
    auto* e = new TEdit(&form_);
    e->SetParent(&form_);
    if (hint) e->SetHint(hint);
    return e;
  }
  TButton* button(const char16_t* caption, TModalResult result, bool is_default = false) {
    auto* b = new TButton(&form_);
    b->SetParent(&form_);
    if (caption) b->SetCaption(caption);
    b->SetModalResult(result);
    b->SetDefault(is_default);
    return b;
  }

  int master_ = -1;
  std::string slave_name_;
  std::optional<xterminal_backend> ui_;
  std::optional<xui_backend_scope> use_;
  TForm form_{nullptr};
};

TEST_F(XTerminalBackend, MessageBoxesOfferTheirButtonsAsChoices) {
  ASSERT_TRUE(ui_->is_open());
  type("maybe\nn\n");  // not a choice, then a prefix
  type("\n");          // the default button
  EXPECT_EQ(ui_->message_box("Save changes?", "Editor", MB_YESNOCANCEL), IDNO);
  EXPECT_EQ(ui_->message_box("Retry?", "Disk", MB_ABORTRETRYIGNORE | MB_DEFBUTTON2), IDRETRY);
  const std::string out = printed();
  EXPECT_NE(out.find("== Editor ==\nSave changes?\n[1] Yes  [2] No  [3] Cancel (default 1): "),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("Please answer with a number from 1 to 3."), std::string::npos);
  EXPECT_NE(out.find("[1] Abort  [2] Retry  [3] Ignore (default 2): "), std::string::npos);
}

TEST_F(XTerminalBackend, FormsAskForEditsThenForTheClosingButtonAgainWhenRefused) {
  form_.SetCaption(u"Query");
  TEdit* name = edit(u"Name");
  name->SetText(u"old");
  button(u"&OK", mrOk, true);
  button(u"Cancel", mrCancel);
  type("new text\n\n");  // the edit, then the default button
  EXPECT_EQ(form_.ShowModal(), mrOk);
  EXPECT_EQ(name->Text(), u"new text");
  type("\nc\n");  // keep the text, choose Cancel
  EXPECT_EQ(form_.ShowModal(), mrCancel);
  EXPECT_EQ(name->Text(), u"new text");
  // A refused close asks again.
  name->SetText(u"");
  form_.OnCloseQuery = [&](TObject*, bool& can_close) { can_close = !name->Text().empty(); };
  type("\n1\nnew\n1\n");  // no name: refused; then a name
  EXPECT_EQ(form_.ShowModal(), mrOk);
  EXPECT_EQ(name->Text(), u"new");
  const std::string out = printed();
  EXPECT_NE(out.find("== Query ==\nName [old]: [1] OK  [2] Cancel (default 1): "),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("The form stays open.\nName []: "), std::string::npos);

  TSaveDialog save(nullptr);
  type("\n");
  EXPECT_FALSE(save.Execute());  // an empty name cancels
}

TEST_F(XTerminalBackend, ComboBoxesOfferTheirItems) {
  auto* colour = new TComboBox(&form_);
  colour->SetParent(&form_);
  colour->SetHint(u"Colour");
  colour->Items().SetText(u"red\r\ngreen\nblue");  // either line break
  colour->SetItemIndex(1);
  auto* size = new TComboBox(&form_);
  size->SetParent(&form_);
  size->SetName(u"Size");
  size->SetStyle(csDropDownList);
  for (const char16_t* item : {u"small", u"large"}) size->Items().Add(item);
  button(u"OK", mrOk, true);
  int changes = 0;
  colour->OnChange = [&](TObject*) { ++changes; };
  const std::tuple<const char*, const char16_t*, int, int> rows[] = {
      {"3\nl\n\n", u"blue", 2, 1},          // by number, by the start of a label
      {"GR\nhuge\n1\n\n", u"green", 1, 0},  // a list box asks again for no item
      {"teal\n\n\n", u"teal", -1, 0},       // an editable combo box takes any text
  };
  for (const auto& [typed, text, colour_index, size_index] : rows) {
    SCOPED_TRACE(typed);
    type(typed);
    EXPECT_EQ(form_.ShowModal(), mrOk);
    EXPECT_EQ(colour->Text(), text);
    EXPECT_EQ(colour->ItemIndex(), colour_index);
    EXPECT_EQ(size->ItemIndex(), size_index);
  }
  EXPECT_EQ(changes, 3);  // blue, green, teal
  const std::string out = printed();
  EXPECT_NE(
      out.find("Colour [green]: [1] red  [2] green  [3] blue: Size []: [1] small  [2] large: "),
      std::string::npos)
      << out;
  EXPECT_NE(out.find("Please answer with a number from 1 to 2."), std::string::npos);
  // The selection follows the items.
  EXPECT_THROW(size->SetItemIndex(2), xexception);
  size->SetItemIndex(1);
  size->Items().Delete(1);  // the current item disappears
  EXPECT_EQ(size->ItemIndex(), -1);
}

TEST_F(XTerminalBackend, EndOfInputCancels) {
  edit();
  TButton* ok = button(nullptr, mrOk, true);
  button(nullptr, mrCancel);
  bool ok_clicked = false;
  ok->OnClick = [&](TObject*) { ok_clicked = true; };
  close(master_);  // the user has gone
  master_ = open("/dev/null", O_RDONLY);
  const std::tuple<unsigned, int> boxes[] = {{MB_YESNOCANCEL, IDCANCEL},
                                             {MB_YESNO, IDNO},
                                             {MB_ABORTRETRYIGNORE | MB_DEFBUTTON2, IDABORT},
                                             {MB_OK, IDOK}};
  xterminal_backend none("/nonexistent/tty");  // no terminal at all answers the same
  for (const auto& [flags, answer] : boxes) {
    SCOPED_TRACE(flags);
    EXPECT_EQ(ui_->message_box("x", "y", flags), answer);
    EXPECT_EQ(none.message_box("x", "y", flags), answer);
  }
  EXPECT_EQ(form_.ShowModal(), mrCancel);
  EXPECT_FALSE(ok_clicked);
}

// While the backend waits for a line, the main loop keeps running: a
// worker's Synchronize completes and may answer the question or close the
// form. Should it not run, a rescuer types Enter after a while, so the
// test fails instead of hanging.
TEST_F(XTerminalBackend, WaitingForALineKeepsTheMainLoopRunning) {
  xmain_loop::instance().bind_to_current_thread();
  xmain_loop::instance().open();
  std::atomic<bool> done{false};
  std::thread rescuer([&] {
    for (int ms = 1; !done; ++ms) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      if (ms % 5000 == 0) type("\n");
    }
  });
  // The synchronized call types the answer: No.
  std::thread worker([&] { TThread::Synchronize(nullptr, [&] { type("2\n"); }); });
  EXPECT_EQ(ui_->message_box("Save?", "Editor", MB_YESNO), IDNO);
  xmain_loop::instance().run_posted();  // releases the worker if the box did not
  worker.join();

  // The synchronized call closes the form while its edit is asked for.
  edit();
  button(nullptr, mrOk, true);
  worker =
      std::thread([&] { TThread::Synchronize(nullptr, [&] { form_.SetModalResult(mrRetry); }); });
  EXPECT_EQ(form_.ShowModal(), mrRetry);
  xmain_loop::instance().run_posted();
  worker.join();
  done = true;
  rescuer.join();
}

}  // namespace
}  // namespace xum
