// The shell controls under the Qt backend: a folder tree over Qt's
// file-system model, the folder list and the path combo, linked, on a
// folder tree made for the test; photographed, checked for what a person
// would see, and driven with synthesized mouse and key events.
#include <QComboBox>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLabel>
#include <QTemporaryDir>
#include <QTreeView>
#include <QTreeWidget>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/qt/xqt_screenshots.h"
#include "ui/tshell_controls.h"

namespace xum {
namespace {

using test::photograph;
namespace fs = std::filesystem;

class QtShellControls : public ::testing::Test {
 protected:
  // A folder beside the root, which the tree must not show; below the root
  // three folders, one with two folders and five files of various sizes.
  void SetUp() override {
    ASSERT_TRUE(dir_.isValid());
    root_ = dir_.path() + QStringLiteral("/work");
    for (const char* folder :
         {"../elsewhere", "projects/alpha", "projects/beta", "music", "photos"})
      fs::create_directories(path(folder));
    const char* files[] = {"notes.txt", "report.pdf", "budget.xlsx", "todo.md", "logo.png"};
    const int sizes[] = {700, 250000, 48000, 700, 3100000};
    for (int i = 0; i < 5; ++i)
      std::ofstream(path("projects/") + files[i]) << std::string(sizes[i], 'x');
    form_.SetBounds(100, 100, 720, 360);
    test::place(combo_, &form_, u"Where", 8, 8, 704, 26);
    test::place(tree_, &form_, u"Folders", 8, 42, 200, 310);
    test::place(list_, &form_, u"Files", 216, 42, 496, 310);
    tree_->SetShellListView(list_);
    tree_->SetShellComboBox(combo_);
    tree_->SetRoot(root_.toStdU16String());
    list_->SetPath((root_ + QStringLiteral("/projects")).toStdU16String());
    list_->SortBy(TShellListView::colSize, false);
    list_->SetItemIndex(3);  // report.pdf
    // Shows the form and waits for Qt's file-system model, which fills the
    // tree on its own thread.
    window = test::show_window(ui_, form_);
    ASSERT_NE(window, nullptr);
    tree = test::child<QTreeView>(window, u"Folders");
    list = test::child<QTreeWidget>(window, u"Files");
    combo = test::child<QComboBox>(window, u"Where");
    ASSERT_TRUE(tree && list && combo);
    model = static_cast<QFileSystemModel*>(tree->model());
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(model->index(root_)) == 3; }, 5000));
    const QModelIndex projects = model->index(root_ + QStringLiteral("/projects"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(projects) == 2; }, 5000));
    QApplication::processEvents();
  }
  void TearDown() override { form_.Hide(); }
  std::string path(const char* name) {
    return (root_ + u'/' + QString::fromUtf8(name)).toStdString();
  }
  QString current() { return model->filePath(tree->currentIndex()); }
  QStringList names() {
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i) out << list->topLevelItem(i)->text(0);
    return out;
  }

  xqt_backend& ui_ = use_qt_backend();
  QTemporaryDir dir_;
  QString root_;
  TForm form_{nullptr};
  TShellComboBox* combo_ = new TShellComboBox(&form_);
  TShellTreeView* tree_ = new TShellTreeView(&form_);
  TShellListView* list_ = new TShellListView(&form_);
  QWidget* window = nullptr;
  QTreeView* tree = nullptr;
  QTreeWidget* list = nullptr;
  QComboBox* combo = nullptr;
  QFileSystemModel* model = nullptr;
};

TEST_F(QtShellControls, LinkedControlsShowTheFolderAndClicksKeysAndAVanishedRootMoveAllThree) {
  photograph(window, "shell_controls", 20);
  test::expect_laid_out(ui_, {tree_, list_, combo_});
  EXPECT_EQ(names(), QStringList({"alpha", "beta", "logo.png", "report.pdf", "budget.xlsx",
                                  "notes.txt", "todo.md"}));
  EXPECT_EQ(list->topLevelItem(2)->text(1), QStringLiteral("3.0 MB"));
  EXPECT_TRUE(list->topLevelItem(3)->isSelected());

  // The root is the tree's one top node, the current folder open below it.
  EXPECT_EQ(current(), root_ + QStringLiteral("/projects"));
  EXPECT_TRUE(tree->isExpanded(tree->currentIndex()));
  EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(tree->rootIndex()) == 2; }, 5000));
  const QModelIndex beside = model->index(dir_.path() + QStringLiteral("/elsewhere"));
  EXPECT_TRUE(tree->isRowHidden(beside.row(), tree->rootIndex()));
  EXPECT_FALSE(tree->isRowHidden(model->index(root_).row(), tree->rootIndex()));

  // A click on the Name header sorts by name.
  QHeaderView* header = list->header();
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                    QPoint(header->sectionViewportPosition(0) + 20, header->height() / 2));
  ui_.sync();
  EXPECT_EQ(names().mid(2),
            QStringList({"budget.xlsx", "logo.png", "notes.txt", "report.pdf", "todo.md"}));
  // A double click on a folder enters it; the tree and the combo follow.
  const QPoint at = list->visualItemRect(list->topLevelItem(0)).center();  // alpha
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
  QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
  ui_.sync();
  EXPECT_EQ(current(), root_ + QStringLiteral("/projects/alpha"));
  EXPECT_EQ(combo->currentText(), current());
  // Backspace in the list goes up; the combo follows.
  list->setFocus();
  QTest::keyClick(list, Qt::Key_Backspace);
  ui_.sync();
  EXPECT_EQ(combo->currentText(), root_ + QStringLiteral("/projects"));

  // A vanished root shows why, where the names were.
  fs::remove_all(root_.toStdString());
  list_->Refresh();
  ui_.sync();
  EXPECT_EQ(list->topLevelItemCount(), 0);
  auto* reason = list->viewport()->findChild<QLabel*>(QStringLiteral("reason"));
  ASSERT_NE(reason, nullptr);
  EXPECT_TRUE(reason->isVisible());
  EXPECT_EQ(reason->text().toStdU16String(), list_->Reason());
  photograph(window, "shell_controls_vanished");
}

}  // namespace
}  // namespace xum
