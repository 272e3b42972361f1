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

using test::colours;
using test::photograph;

UnicodeString u(const QString& s) { return s.toStdU16String(); }

QStringList column(const QTreeWidget* view, int c) {
  QStringList out;
  for (int i = 0; i < view->topLevelItemCount(); ++i) out << view->topLevelItem(i)->text(c);
  return out;
}

class QtShellControls : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(dir_.isValid());
    root_ = dir_.path() + QStringLiteral("/work");
    const auto file = [this](const char* name, std::size_t size) {
      const std::filesystem::path p = (root_ + u'/' + QString::fromUtf8(name)).toStdString();
      std::filesystem::create_directories(p.parent_path());
      std::ofstream(p, std::ios::binary) << std::string(size, 'x');
    };
    // A folder beside the root, which the tree must not show.
    std::filesystem::create_directories((dir_.path() + QStringLiteral("/elsewhere")).toStdString());
    for (const char* folder : {"projects/alpha", "projects/beta", "music", "photos/2024"})
      std::filesystem::create_directories((root_ + u'/' + QString::fromUtf8(folder)).toStdString());
    file("projects/notes.txt", 700);
    file("projects/report.pdf", 250000);
    file("projects/budget.xlsx", 48000);
    file("projects/todo.md", 700);
    file("projects/logo.png", 3100000);

    form_.SetName(u"ShellForm");
    form_.SetCaption(u"Shell controls");
    form_.SetBounds(100, 100, 720, 360);
    combo_->SetName(u"Where");
    combo_->SetParent(&form_);
    combo_->SetBounds(8, 8, 704, 26);
    tree_->SetName(u"Folders");
    tree_->SetParent(&form_);
    tree_->SetBounds(8, 42, 200, 310);
    list_->SetName(u"Files");
    list_->SetParent(&form_);
    list_->SetBounds(216, 42, 496, 310);
    tree_->SetShellListView(list_);
    tree_->SetShellComboBox(combo_);
    tree_->SetRoot(u(root_));
    list_->SetPath(u(root_ + QStringLiteral("/projects")));
    list_->SortBy(TShellListView::colSize, false);
    list_->SetItemIndex(3);  // report.pdf
  }
  void TearDown() override { form_.Hide(); }

  // Shows the form and waits for Qt's file-system model, which fills the
  // tree on its own thread.
  void show() {
    window = test::show_window(ui_, form_);
    ASSERT_NE(window, nullptr);
    tree = test::child<QTreeView>(window, u"Folders");
    list = test::child<QTreeWidget>(window, u"Files");
    combo = test::child<QComboBox>(window, u"Where");
    ASSERT_TRUE(tree && list && combo);
    model = static_cast<QFileSystemModel*>(tree->model());
    const QModelIndex projects = model->index(root_ + QStringLiteral("/projects"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(projects) == 2; }, 5000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(model->index(root_)) == 3; }, 5000));
    QApplication::processEvents();
  }
  QWidget* window = nullptr;
  QTreeView* tree = nullptr;
  QTreeWidget* list = nullptr;
  QComboBox* combo = nullptr;
  QFileSystemModel* model = nullptr;

  xqt_backend& ui_ = use_qt_backend();
  QTemporaryDir dir_;
  QString root_;
  TForm form_{nullptr};
  TShellComboBox* combo_ = new TShellComboBox(&form_);
  TShellTreeView* tree_ = new TShellTreeView(&form_);
  TShellListView* list_ = new TShellListView(&form_);
};

TEST_F(QtShellControls, LinkedTreeListAndComboShowTheFolderSortedBySize) {
  ASSERT_NO_FATAL_FAILURE(show());
  const QImage shot = photograph(window, "shell_controls");
  EXPECT_GT(colours(shot), 20);
  QStringList headers;
  for (int c = 0; c < list->columnCount(); ++c) headers << list->headerItem()->text(c);
  EXPECT_EQ(headers, QStringList({"Name", "Size", "Type", "Modified"}));
  EXPECT_EQ(column(list, 0), QStringList({"alpha", "beta", "logo.png", "report.pdf", "budget.xlsx",
                                          "notes.txt", "todo.md"}));
  EXPECT_EQ(column(list, 1)[2], QStringLiteral("3.0 MB"));
  EXPECT_EQ(list->header()->sortIndicatorSection(), 1);
  EXPECT_EQ(list->header()->sortIndicatorOrder(), Qt::DescendingOrder);
  EXPECT_EQ(list->currentItem()->text(0), QStringLiteral("report.pdf"));  // row 3
  // The selected row is drawn highlighted: its pixels differ from the
  // unselected row below it.
  const QRect selected = list->visualItemRect(list->topLevelItem(3));
  const QRect plain = list->visualItemRect(list->topLevelItem(4));
  const QPoint origin = list->viewport()->mapTo(window, QPoint(0, 0));
  EXPECT_NE(shot.pixel(origin + selected.center() + QPoint(40, 0)),
            shot.pixel(origin + plain.center() + QPoint(40, 0)));

  // Disabled, the list's text is drawn greyed: the name column's pixels change.
  list_->SetEnabled(false);
  ui_.sync();
  const QImage disabled = photograph(window, "shell_controls_disabled");
  const QRect names = list->visualItemRect(list->topLevelItem(2)).adjusted(0, 0, -300, 0);
  EXPECT_NE(shot.copy(names.translated(origin)), disabled.copy(names.translated(origin)));
  list_->SetEnabled(true);
  ui_.sync();

  EXPECT_EQ(model->filePath(tree->currentIndex()), root_ + QStringLiteral("/projects"));
  // The root is the tree's one top node, the current folder open below it.
  EXPECT_FALSE(tree->isRowHidden(model->index(root_).row(), tree->rootIndex()));
  const QModelIndex beside = model->index(dir_.path() + QStringLiteral("/elsewhere"));
  EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(tree->rootIndex()) == 2; }, 5000));
  EXPECT_TRUE(tree->isRowHidden(beside.row(), tree->rootIndex()));
  EXPECT_TRUE(tree->isExpanded(model->index(root_ + QStringLiteral("/projects"))));

  EXPECT_EQ(combo->currentText(), root_ + QStringLiteral("/projects"));
  test::expect_laid_out(ui_, {tree_, list_, combo_});
}

TEST_F(QtShellControls, ClicksAndKeysReachTheModelAndTheOtherControlsFollow) {
  ASSERT_NO_FATAL_FAILURE(show());

  // A click on the Name header sorts by name.
  QHeaderView* header = list->header();
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                    QPoint(header->sectionViewportPosition(0) + 20, header->height() / 2));
  ui_.sync();
  EXPECT_EQ(column(list, 0).mid(2),
            QStringList({"budget.xlsx", "logo.png", "notes.txt", "report.pdf", "todo.md"}));

  // A double click on a folder enters it; the tree and the combo follow.
  QTreeWidgetItem* alpha = list->topLevelItem(0);
  ASSERT_EQ(alpha->text(0), QStringLiteral("alpha"));
  const QPoint at = list->visualItemRect(alpha).center();
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
  QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
  ui_.sync();
  const QString alpha_path = root_ + QStringLiteral("/projects/alpha");
  EXPECT_EQ(model->filePath(tree->currentIndex()), alpha_path);
  EXPECT_EQ(combo->currentText(), alpha_path);

  // A click on a folder of the tree moves the list there.
  const QModelIndex music = model->index(root_ + QStringLiteral("/music"));
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(music).center());
  ui_.sync();
  EXPECT_EQ(combo->currentText(), root_ + QStringLiteral("/music"));

  // Backspace in the list goes up to the root.
  list->setFocus();
  QTest::keyClick(list, Qt::Key_Backspace);
  ui_.sync();
  EXPECT_EQ(column(list, 0), QStringList({"music", "photos", "projects"}));
  photograph(window, "shell_controls_after_clicks");
}

TEST_F(QtShellControls, AVanishedFolderLeadsToItsParentAndAVanishedRootShowsWhy) {
  ASSERT_NO_FATAL_FAILURE(show());
  std::filesystem::remove_all((root_ + QStringLiteral("/projects")).toStdString());
  list_->Refresh();
  ui_.sync();
  EXPECT_EQ(column(list, 0), QStringList({"music", "photos"}));
  // Qt's model sees the folder go on its own.
  EXPECT_TRUE(QTest::qWaitFor([&] { return model->rowCount(model->index(root_)) == 2; }, 5000));
  EXPECT_EQ(model->filePath(tree->currentIndex()), root_);

  std::filesystem::remove_all(root_.toStdString());
  list_->Refresh();  // the root itself: shown empty, with why
  ui_.sync();
  EXPECT_EQ(list->topLevelItemCount(), 0);
  auto* reason = list->viewport()->findChild<QLabel*>(QStringLiteral("reason"));
  ASSERT_NE(reason, nullptr);
  EXPECT_TRUE(reason->isVisible());
  EXPECT_EQ(reason->text(), QStringLiteral("Folder not found: ") + root_);
  photograph(window, "shell_controls_vanished");
}

}  // namespace
}  // namespace xum
