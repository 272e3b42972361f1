#include <string>

#include <gtest/gtest.h>

#include "core/xmessage_box.h"
#include "notes_app.h"
#include "tests/app/app_fixture.h"

namespace xum {
namespace {

using NotesExampleTest = test::AppTest;

std::string text(const UnicodeString& s) { return FromUnicode(s).str(); }

TEST_F(NotesExampleTest, ASessionFromTheSelectorToTheSaveQuestionKeepsEveryNote) {
  const std::string settings = file("notes.tsf", nullptr), trip = file("trip.txt", nullptr);
  {
    notes::NotesApp app(settings, u"Software\\Test\\Notes");
    app.MainForm->SetBounds(-9000, 20, 500, 400);
    ui_.queue_press({u"CreateNewBtn"});
    app.Start();
    ASSERT_EQ(ui_.forms().size(), 1u);  // the selector
    EXPECT_EQ(text(app.Project->FileName()), "Untitled");
    EXPECT_FALSE(app.Selector->OpenLastBtn->Enabled());  // nothing recent yet

    app.Editor->SetText(u"1200 along the river\n800 back\n");
    EXPECT_TRUE(app.Project->Modified());
    EXPECT_EQ(text(app.Status()), "Untitled | 2 lines | 2.0 km");

    app.FileMenu->Items(3)->Click();  // save as, cancelled
    EXPECT_EQ(text(app.Project->FileName()), "Untitled");
    ui_.queue_files({ToUnicode(xstr(trip))});
    app.FileMenu->Items(3)->Click();
    EXPECT_EQ(test::file_bytes(trip), "1200 along the river\n800 back\n");
    EXPECT_EQ(text(app.MainForm->Caption()), "Notes - trip.txt");
    ASSERT_EQ(app.RecentMenu->Count(), 1);
    EXPECT_EQ(text(app.RecentMenu->Items(0)->Caption()), "&0: trip");
    auto* save = dynamic_cast<TCustomAction*>(app.MainForm->FindComponent(u"SaveAction"));
    save->Update();
    EXPECT_FALSE(save->Enabled());

    app.FileMenu->Items(0)->Click();  // new: nothing to ask
    EXPECT_EQ(text(app.Editor->Text()), "");
    app.RecentMenu->Items(0)->Click();
    EXPECT_EQ(text(app.Editor->Text()), "1200 along the river\n800 back\n");
    EXPECT_FALSE(app.Project->Modified());

    app.Editor->SetText(app.Editor->Text() + u"4000 up the hill\n");
    save->Update();
    EXPECT_TRUE(save->Enabled());
    ui_.queue_answer(IDCANCEL);
    app.ExitItem->Click();  // Cancel keeps the application and the note
    EXPECT_TRUE(app.Project->Modified());
    ui_.queue_answer(IDYES);
    app.ExitItem->Click();
    ASSERT_EQ(ui_.boxes().size(), 2u);
    EXPECT_EQ(ui_.boxes()[1].flags, 35u);
    EXPECT_EQ(test::file_bytes(trip), "1200 along the river\n800 back\n4000 up the hill\n");
    EXPECT_FALSE(app.MainForm->Visible());
  }
  // The next start offers the note as the last project, at a place on the
  // screen.
  notes::NotesApp again(settings, u"Software\\Test\\Notes");
  EXPECT_EQ(again.MainForm->Left(), 50 - 500);
  ui_.queue_press({u"OpenLastBtn"});
  again.Start();
  EXPECT_EQ(text(again.Project->FileName()), trip);
  EXPECT_EQ(text(again.Status()), "trip.txt | 3 lines | 6 km");
}

}  // namespace
}  // namespace xum
