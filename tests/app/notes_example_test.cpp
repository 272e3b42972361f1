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
    EXPECT_EQ(text(app.Project->FileName()), "Untitled");

    app.Editor->SetText(u"1200 along the river\n800 back\n");
    EXPECT_EQ(text(app.Status()), "Untitled | 2 lines | 2.0 km");
    ui_.queue_files({ToUnicode(xstr(trip))});
    app.FileMenu->Items(3)->Click();
    EXPECT_EQ(test::file_bytes(trip), "1200 along the river\n800 back\n");
    EXPECT_EQ(text(app.MainForm->Caption()), "Notes - trip.txt");

    app.Editor->SetText(app.Editor->Text() + u"4000 up the hill\n");
    ui_.queue_answer(IDCANCEL);
    app.ExitItem->Click();  // Cancel keeps the application and the note
    EXPECT_TRUE(app.Project->Modified());
    ui_.queue_answer(IDYES);
    app.ExitItem->Click();
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
