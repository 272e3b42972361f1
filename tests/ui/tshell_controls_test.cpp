#include "ui/tshell_controls.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "localization/xlocalizer.h"
#include "platform/testing/xos_wrapper.h"
#include "tests/localization/xloc_fixture.h"
#include "tests/support/xtest_helpers.h"

namespace xum {
namespace {

namespace fs = std::filesystem;

std::string utf8(const UnicodeString& s) { return FromUnicode(s).str(); }

// The list's rows as "name|size|type", in the shown order.
std::vector<std::string> rows(const TShellListView& list, bool with_columns = false) {
  std::vector<std::string> out;
  for (int i = 0; i < list.Items().Count(); ++i) {
    TListItem* item = list.Items().Item(i);
    std::string row = utf8(item->Caption());
    if (with_columns)
      row += "|" + utf8(item->SubItems()[0]) + "|" + utf8(item->SubItems()[1]);
    out.push_back(row);
  }
  return out;
}

std::vector<std::string> names(const TTreeNode* node) {
  std::vector<std::string> out;
  for (int i = 0; i < node->Count(); ++i) out.push_back(utf8(node->Item(i)->Text()));
  return out;
}

using strings = std::vector<std::string>;

class ShellControlsTest : public ::testing::Test {
 protected:
  test::temp_dir dir_;
  fs::path root_ = dir_.path;
  TForm* form_ = new TForm(nullptr);
  ~ShellControlsTest() override { delete form_; }

  void file(const fs::path& name, std::size_t size) {
    fs::create_directories((root_ / name).parent_path());
    std::ofstream(root_ / name, std::ios::binary) << std::string(size, 'x');
  }
  void folder(const fs::path& name) { fs::create_directories(root_ / name); }
  UnicodeString at(const fs::path& name = {}) const {
    return ToUnicode(xstr((name.empty() ? root_ : root_ / name).string()));
  }
  // A list over the root, linked to nothing.
  TShellListView* list_at(const fs::path& name = {}) {
    auto* list = new TShellListView(form_);
    list->SetRoot(at());
    if (!name.empty()) list->SetPath(at(name));
    return list;
  }
};

TEST_F(ShellControlsTest, TheListShowsFoldersFirstWithSizeTypeAndOnlyTheKindsAsked) {
  folder("b_dir");
  folder("A_dir");
  folder(".cache");
  file("z.txt", 5);
  file("m.TXT", 1536);
  file("README", 1);
  file(".profile", 3);
  TShellListView* list = list_at();
  EXPECT_EQ(rows(*list, true), (strings{"A_dir||Folder", "b_dir||Folder", "m.TXT|1.5 KB|TXT File",
                                        "README|1 byte|File", "z.txt|5 bytes|TXT File"}));
  EXPECT_EQ(list->Columns().Count(), 4);
  EXPECT_FALSE(list->Items().Item(2)->SubItems()[2].empty());  // a file's time is shown
  const struct {
    TShellObjectTypes types;
    strings shown;
  } cases[] = {
      {otFolders, {"A_dir", "b_dir"}},
      {otNonFolders, {"m.TXT", "README", "z.txt"}},
      {otFolders | otHidden, {".cache", "A_dir", "b_dir"}},
      {otFolders | otNonFolders | otHidden,
       {".cache", "A_dir", "b_dir", ".profile", "m.TXT", "README", "z.txt"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.types);
    list->SetObjectTypes(c.types);
    EXPECT_EQ(rows(*list), c.shown);
  }
}

TEST_F(ShellControlsTest, SortingKeepsFoldersFirstAndBreaksTiesByName) {
  folder("dir");
  file("b", 10);
  file("a", 10);
  file("c", 5);
  file("D", 20);
  // Times: a and c equal, b oldest, D newest.
  const auto base = fs::last_write_time(root_ / "a");
  fs::last_write_time(root_ / "b", base - std::chrono::hours(2));
  fs::last_write_time(root_ / "c", base);
  fs::last_write_time(root_ / "D", base + std::chrono::hours(2));
  TShellListView* list = list_at();
  list->SetItemIndex(2);  // "b"
  const struct {
    int column;
    bool ascending;
    strings order;
  } cases[] = {
      {TShellListView::colSize, true, {"dir", "c", "a", "b", "D"}},
      {TShellListView::colSize, false, {"dir", "D", "a", "b", "c"}},
      {TShellListView::colModified, true, {"dir", "b", "a", "c", "D"}},
      {TShellListView::colModified, false, {"dir", "D", "a", "c", "b"}},
      {TShellListView::colName, false, {"dir", "D", "c", "b", "a"}},
      {TShellListView::colType, true, {"dir", "a", "b", "c", "D"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.column) + (c.ascending ? " up" : " down"));
    list->SortBy(c.column, c.ascending);
    EXPECT_EQ(rows(*list), c.order);
    EXPECT_EQ(utf8(list->SelectedPath()), (root_ / "b").string());  // selection follows
  }
  list->ColumnClick(TShellListView::colSize);  // another column: ascending
  EXPECT_EQ(rows(*list), (strings{"dir", "c", "a", "b", "D"}));
  list->ColumnClick(TShellListView::colSize);  // the same again: reversed
  EXPECT_FALSE(list->SortAscending());
  EXPECT_EQ(test::code_of([&] { list->SortBy(4, true); }), xexception::out_of_range);
}

TEST_F(ShellControlsTest, LinkedControlsMoveTogetherAndEachReportsItsChangeOnce) {
  folder("a/b/c");
  folder("x");
  auto* tree = new TShellTreeView(form_);
  auto* list = new TShellListView(form_);
  auto* combo = new TShellComboBox(form_);
  tree->SetRoot(at());
  tree->SetShellListView(list);
  list->SetShellComboBox(combo);  // reaches the tree through the list
  EXPECT_EQ(list->ShellTreeView(), tree);
  EXPECT_EQ(combo->ShellListView(), list);
  EXPECT_EQ(combo->Root(), at());
  int tree_changes = 0, list_changes = 0, combo_changes = 0;
  UnicodeString seen_by_tree_handler;
  tree->OnChange = [&](TObject*) {
    ++tree_changes;
    seen_by_tree_handler = combo->Path();  // every control has moved already
  };
  list->OnChange = [&](TObject*) { ++list_changes; };
  combo->OnChange = [&](TObject*) { ++combo_changes; };

  list->SetPath(at("a/b"));
  EXPECT_EQ(tree->NodePath(tree->Selected()), at("a/b"));
  EXPECT_EQ(seen_by_tree_handler, at("a/b"));
  EXPECT_EQ(rows(*list), (strings{"c"}));
  ASSERT_EQ(combo->Items().Count(), 3);
  EXPECT_EQ(combo->Items()[0], at());
  EXPECT_EQ(combo->Text(), at("a/b"));
  EXPECT_EQ(tree_changes + list_changes + combo_changes, 3);

  combo->SetItemIndex(0);  // the user picks the root from the chain
  EXPECT_EQ(list->Path(), at());
  EXPECT_EQ(tree->Selected(), tree->Items().Item(0));
  tree->SetSelected(tree->FindNode(at("x")));
  EXPECT_EQ(combo->Path(), at("x"));
  list->SetPath(at("x"));  // no move: nobody reports
  EXPECT_EQ(tree_changes, 3);
  EXPECT_EQ(list_changes, 3);
  EXPECT_EQ(combo_changes, 3);

  delete list;  // the others stay linked to nothing through it
  EXPECT_EQ(tree->ShellListView(), nullptr);
  EXPECT_EQ(combo->ShellListView(), nullptr);
  tree->SetPath(at("a"));
  EXPECT_EQ(combo->Path(), at("x"));
}

TEST_F(ShellControlsTest, RefreshShowsEntriesAddedAndRemovedAndKeepsOpenFolders) {
  folder("a/inner");
  file("a/old.txt", 1);
  auto* tree = new TShellTreeView(form_);
  tree->SetRoot(at());
  auto* list = new TShellListView(form_);
  tree->SetShellListView(list);
  list->SetPath(at("a"));
  EXPECT_EQ(rows(*list), (strings{"inner", "old.txt"}));
  folder("a/new_dir");
  file("a/new.txt", 2);
  fs::remove(root_ / "a/old.txt");
  EXPECT_EQ(rows(*list), (strings{"inner", "old.txt"}));  // until asked
  tree->Refresh();
  EXPECT_EQ(rows(*list), (strings{"inner", "new_dir", "new.txt"}));
  list->SetPath(at());  // "a" stays open in the tree, no longer selected
  folder("a/newer_dir");
  list->Refresh();
  TTreeNode* a = tree->FindNode(at("a"));
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(tree->Expanded(a));
  EXPECT_EQ(names(a), (strings{"inner", "new_dir", "newer_dir"}));
}

TEST_F(ShellControlsTest, AVanishedFolderFallsBackToItsNearestParentWithoutThrowing) {
  folder("a/b/c");
  auto* tree = new TShellTreeView(form_);
  tree->SetRoot(at());
  auto* list = new TShellListView(form_);
  auto* combo = new TShellComboBox(form_);
  tree->SetShellListView(list);
  tree->SetShellComboBox(combo);
  tree->SetPath(at("a/b/c"));
  int changes = 0;
  tree->OnChange = list->OnChange = combo->OnChange = [&](TObject*) { ++changes; };

  fs::remove_all(root_ / "a/b");
  list->Refresh();
  EXPECT_EQ(tree->Path(), at("a"));
  EXPECT_EQ(combo->Text(), at("a"));
  EXPECT_EQ(tree->NodePath(tree->Selected()), at("a"));
  EXPECT_TRUE(rows(*list).empty());
  EXPECT_EQ(changes, 3);

  // Listed, then gone before the user opens it.
  folder("a/soon_gone");
  list->Refresh();
  fs::remove(root_ / "a/soon_gone");
  EXPECT_TRUE(list->Open(0));
  EXPECT_EQ(list->Path(), at("a"));
  EXPECT_TRUE(rows(*list).empty());
  // The same through the tree's node.
  folder("a/node_gone");
  tree->Refresh();
  TTreeNode* node = tree->FindNode(at("a/node_gone"));
  fs::remove(root_ / "a/node_gone");
  tree->SetSelected(node);
  EXPECT_EQ(tree->Path(), at("a"));
  EXPECT_EQ(tree->FindNode(at("a/node_gone")), nullptr);

  // The root itself: the views show it empty, with the reason.
  fs::remove_all(root_);
  tree->Refresh();
  EXPECT_EQ(list->Path(), at());
  EXPECT_EQ(utf8(list->Reason()), "Folder not found: " + root_.string());
}

// Refuses to list one folder, as for a user without the right to read it
// (the tests may run as root, which reads everything).
class unreadable_os final : public platform::xos_wrapper {
 public:
  unreadable_os() : xos_wrapper(platform::system_os()) {}
  std::unique_ptr<platform::os_directory> open_directory(const char* path) override {
    if (path == refused || path == refused + "/") return nullptr;
    return xos_wrapper::open_directory(path);
  }
  std::string refused;
};

TEST_F(ShellControlsTest, AnUnreadableFolderIsShownEmptyWithItsReason) {
  folder("locked/inside");
  file("locked/f", 1);
  unreadable_os os;
  os.refused = (root_ / "locked").string();
  platform::scoped_os use(os);
  auto* tree = new TShellTreeView(form_);
  tree->SetRoot(at());
  auto* list = new TShellListView(form_);
  tree->SetShellListView(list);
  list->SetPath(at("locked"));
  EXPECT_TRUE(rows(*list).empty());
  EXPECT_EQ(utf8(list->Reason()), "Cannot read the folder " + os.refused);
  EXPECT_EQ(tree->Selected()->Count(), 0);
  list->SetPath(at());
  EXPECT_EQ(list->Reason(), u"");
  EXPECT_EQ(rows(*list), (strings{"locked"}));
}

TEST_F(ShellControlsTest, HiddenFoldersAppearInTheTreeOnlyWhenAsked) {
  folder(".hidden/deep");
  folder("shown");
  auto* tree = new TShellTreeView(form_);
  tree->SetRoot(at());
  EXPECT_EQ(names(tree->Items().Item(0)), (strings{"shown"}));
  tree->SetObjectTypes(otFolders | otHidden);
  EXPECT_EQ(names(tree->Items().Item(0)), (strings{".hidden", "shown"}));
  tree->SetPath(at(".hidden/deep"));
  int changes = 0;
  tree->OnChange = [&](TObject*) { ++changes; };
  tree->SetObjectTypes(otFolders);  // out of the folder no longer shown
  EXPECT_EQ(tree->Path(), at());
  EXPECT_EQ(changes, 1);
}

TEST_F(ShellControlsTest, BadRootsAndPathsRaiseClearErrorsAndChangeNothing) {
  folder("a");
  file("f.txt", 1);
  auto* list = list_at("a");
  const std::string missing = (root_ / "nope").string();
  const struct {
    const char* what;
    std::function<void()> call;
    std::string message;
  } cases[] = {
      {"root", [&] { list->SetRoot(ToUnicode(xstr(missing))); }, "Root folder not found: " + missing},
      {"path", [&] { list->SetPath(u"nope"); }, "Folder not found: " + missing},
      {"file", [&] { list->SetPath(at("f.txt")); }, "Folder not found: " + (root_ / "f.txt").string()},
      {"outside", [&] { list->SetPath(u"/"); },
       "Folder outside the root " + root_.string() + ": /"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const test::raised r = test::raised_by(c.call);
    EXPECT_EQ(r.category, xerror_category::not_found);
    EXPECT_EQ(r.text, c.message);
    EXPECT_EQ(list->Root(), at());
    EXPECT_EQ(list->Path(), at("a"));
  }
  list->SetPath(u"a/../a/./");  // relative to the root, folded
  EXPECT_EQ(list->Path(), at("a"));
}

TEST_F(ShellControlsTest, LinksAreFollowedUnderTheirOwnNamesAndDanglingOnesAreShown) {
  folder("real/sub");
  fs::create_directory_symlink(root_ / "real", root_ / "via");
  fs::create_symlink(root_ / "missing", root_ / "dangling");
  TShellListView* list = list_at();
  EXPECT_EQ(rows(*list, true), (strings{"real||Folder", "via||Folder", "dangling||Link"}));
  EXPECT_TRUE(list->Entries(1).Link);
  EXPECT_TRUE(list->Open(1));
  EXPECT_EQ(list->Path(), at("via"));
  EXPECT_EQ(rows(*list), (strings{"sub"}));
  EXPECT_FALSE(list->Open(-1));
}

TEST_F(ShellControlsTest, NamesThatAreNotUtf8AreShownReplacedAndStillEntered) {
  const std::string bad = "caf\xe9";  // Latin-1, not UTF-8
  folder(bad);
  file(fs::path(bad) / "inside.txt", 1);
  TShellListView* list = list_at();
  ASSERT_EQ(list->Items().Count(), 1);
  EXPECT_EQ(list->Items().Item(0)->Caption(), u"caf\uFFFD");
  list->SetItemIndex(0);
  EXPECT_TRUE(list->Open(0));
  EXPECT_EQ(list->PathName().str(), (root_ / bad).string());
  EXPECT_EQ(rows(*list), (strings{"inside.txt"}));
}

TEST_F(ShellControlsTest, KeysMoveTheSelectionAndWalkTheFolders) {
  folder("a/b");
  file("a/f", 1);
  auto* tree = new TShellTreeView(form_);
  tree->SetRoot(at());
  auto* list = new TShellListView(form_);
  tree->SetShellListView(list);
  const auto press = [](TWinControl* c, std::uint16_t key) {
    c->KeyDown(key, 0);
    return key;
  };
  EXPECT_EQ(press(list, VK_DOWN), 0);
  EXPECT_EQ(utf8(list->SelectedPath()), (root_ / "a").string());
  EXPECT_EQ(press(list, VK_RETURN), 0);
  EXPECT_EQ(tree->Path(), at("a"));
  press(list, VK_END);
  EXPECT_EQ(utf8(list->SelectedPath()), (root_ / "a/f").string());
  EXPECT_NE(press(list, VK_RETURN), 0);  // a file is not entered
  EXPECT_EQ(press(tree, VK_RIGHT), 0);
  EXPECT_EQ(list->Path(), at("a/b"));
  press(tree, VK_LEFT);
  press(list, VK_BACK);
  EXPECT_EQ(tree->Path(), at());
  EXPECT_NE(press(list, VK_BACK), 0);  // never above the root
}

class ShellListLocalizerTest : public test::loc_test {};

TEST_F(ShellListLocalizerTest, TheWalkRecordsTheColumnsButNoPathsAndTranslationsStay) {
  test::temp_dir shown;
  const auto walk = [](TForm* form) {
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.component(form, nullptr);
    loc.end_writing();
  };
  const auto make = [&] {
    auto* form = new TForm(nullptr);
    form->SetName(u"Browse");
    auto* list = new TShellListView(form);
    list->SetName(u"Files");
    auto* combo = new TShellComboBox(form);
    combo->SetName(u"Where");
    list->SetShellComboBox(combo);
    list->SetRoot(ToUnicode(xstr(shown.path.string())));
    return form;
  };
  TForm* form = make();
  walk(form);
  delete form;
  const char* const recorded[][2] = {{"Browse/Files/@Columns/0/o", "Name"},
                                     {"Browse/Files/@Columns/3/o", "Modified"},
                                     {"Browse/Where/@Text/o", "(none)"},
                                     {"Browse/Where/@Items/0/o", "(none)"}};
  for (const auto& r : recorded) {
    SCOPED_TRACE(r[0]);
    EXPECT_EQ(stored(r[0]), r[1]);
  }
  std::string text = bytes();
  const auto at = text.find("o=Size\r\n");
  ASSERT_NE(at, std::string::npos);
  text.replace(text.find("t=!#!", at), 5, "t=Größe");
  write(text);
  form = make();
  walk(form);
  auto* list = static_cast<TShellListView*>(form->FindComponent(u"Files"));
  list->Refresh();
  EXPECT_EQ(list->Columns().Items(1)->Caption(), u"Größe");
  delete form;
}

}  // namespace
}  // namespace xum
