#include "ui/tshell_controls.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "framework/tstrings.h"
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

std::vector<UnicodeString> item_texts(const TStrings& items) {
  std::vector<UnicodeString> out;
  for (int i = 0; i < items.Count(); ++i) out.push_back(items[i]);
  return out;
}

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
  // A tree over the root with a list and a combo linked to it.
  TShellTreeView* tree_ = nullptr;
  TShellListView* list_ = nullptr;
  TShellComboBox* combo_ = nullptr;
  void link_all() {
    tree_ = new TShellTreeView(form_);
    tree_->SetRoot(at());
    list_ = new TShellListView(form_);
    combo_ = new TShellComboBox(form_);
    tree_->SetShellListView(list_);
    list_->SetShellComboBox(combo_);  // reaches the tree through the list
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
  EXPECT_FALSE(list->Items().Item(2)->SubItems()[2].empty());  // a file's time is shown ...
  EXPECT_FALSE(list->Items().Item(0)->SubItems()[2].empty());  // ... and a folder's
  const std::tuple<TShellObjectTypes, strings> cases[] = {
      {otFolders, {"A_dir", "b_dir"}},
      {otNonFolders, {"m.TXT", "README", "z.txt"}},
      {otFolders | otHidden, {".cache", "A_dir", "b_dir"}},
      {otFolders | otNonFolders | otHidden,
       {".cache", "A_dir", "b_dir", ".profile", "m.TXT", "README", "z.txt"}},
  };
  for (const auto& [types, shown] : cases) {
    SCOPED_TRACE(types);
    list->SetObjectTypes(types);
    EXPECT_EQ(rows(*list), shown);
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
  const std::tuple<int, bool, strings> cases[] = {
      {TShellListView::colSize, true, {"dir", "c", "a", "b", "D"}},
      {TShellListView::colSize, false, {"dir", "D", "a", "b", "c"}},
      {TShellListView::colModified, true, {"dir", "b", "a", "c", "D"}},
      {TShellListView::colModified, false, {"dir", "D", "a", "c", "b"}},
      {TShellListView::colName, false, {"dir", "D", "c", "b", "a"}},
      {TShellListView::colType, true, {"dir", "a", "b", "c", "D"}},
  };
  for (const auto& [column, ascending, order] : cases) {
    SCOPED_TRACE(std::to_string(column) + (ascending ? " up" : " down"));
    list->SortBy(column, ascending);
    EXPECT_EQ(rows(*list), order);
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
  link_all();
  int changes[3] = {0, 0, 0};
  UnicodeString seen_by_tree_handler;
  tree_->OnChange = [&](TObject*) {
    ++changes[0];
    seen_by_tree_handler = combo_->Path();  // every control has moved already
  };
  list_->OnChange = [&](TObject*) { ++changes[1]; };
  combo_->OnChange = [&](TObject*) { ++changes[2]; };

  list_->SetPath(at("a/b"));
  EXPECT_EQ(tree_->NodePath(tree_->Selected()), at("a/b"));
  EXPECT_EQ(seen_by_tree_handler, at("a/b"));
  EXPECT_EQ(rows(*list_), (strings{"c"}));
  EXPECT_EQ(item_texts(combo_->Items()), (std::vector<UnicodeString>{at(), at("a"), at("a/b")}));
  EXPECT_EQ(combo_->Text(), at("a/b"));
  combo_->SetItemIndex(0);  // the user picks the root from the chain
  EXPECT_EQ(list_->Path(), at());
  EXPECT_EQ(tree_->Selected(), tree_->Items().Item(0));
  tree_->SetSelected(tree_->FindNode(at("x")));
  EXPECT_EQ(combo_->Path(), at("x"));
  list_->SetPath(at("x"));  // no move: nobody reports
  for (int c : changes) EXPECT_EQ(c, 3);

  delete list_;  // the others are no longer linked through it
  tree_->SetPath(at("a"));
  EXPECT_EQ(combo_->Path(), at("x"));
}

TEST_F(ShellControlsTest, RefreshShowsEntriesAddedAndRemovedAndKeepsOpenFolders) {
  folder("a/inner");
  file("a/old.txt", 1);
  link_all();
  list_->SetPath(at("a"));
  folder("a/new_dir");
  file("a/new.txt", 2);
  fs::remove(root_ / "a/old.txt");
  EXPECT_EQ(rows(*list_), (strings{"inner", "old.txt"}));  // until asked
  tree_->Refresh();
  EXPECT_EQ(rows(*list_), (strings{"inner", "new_dir", "new.txt"}));
  list_->SetPath(at());  // "a" stays open in the tree, no longer selected
  folder("a/newer_dir");
  list_->Refresh();
  TTreeNode* a = tree_->FindNode(at("a"));
  ASSERT_NE(a, nullptr);
  EXPECT_TRUE(tree_->Expanded(a));
  EXPECT_EQ(names(a), (strings{"inner", "new_dir", "newer_dir"}));
}

TEST_F(ShellControlsTest, AVanishedFolderFallsBackToItsNearestParentWithoutThrowing) {
  folder("a/b/c");
  link_all();
  tree_->SetPath(at("a/b/c"));
  int changes = 0;
  tree_->OnChange = list_->OnChange = combo_->OnChange = [&](TObject*) { ++changes; };
  fs::remove_all(root_ / "a/b");
  list_->Refresh();
  EXPECT_EQ(tree_->NodePath(tree_->Selected()), at("a"));
  EXPECT_EQ(combo_->Text(), at("a"));
  EXPECT_TRUE(rows(*list_).empty());
  EXPECT_EQ(changes, 3);

  // Listed, then gone before the user opens it: through the list ...
  folder("a/gone");
  list_->Refresh();
  fs::remove(root_ / "a/gone");
  EXPECT_TRUE(list_->Open(0));
  EXPECT_EQ(list_->Path(), at("a"));
  EXPECT_TRUE(rows(*list_).empty());
  // ... and through the tree.
  folder("a/gone");
  tree_->Refresh();
  TTreeNode* node = tree_->FindNode(at("a/gone"));
  fs::remove(root_ / "a/gone");
  tree_->SetSelected(node);
  EXPECT_EQ(tree_->Path(), at("a"));
  EXPECT_EQ(tree_->FindNode(at("a/gone")), nullptr);

  fs::remove_all(root_);  // the root itself: shown empty, with the reason
  tree_->Refresh();
  EXPECT_EQ(list_->Path(), at());
  EXPECT_EQ(utf8(list_->Reason()), "Folder not found: " + root_.string());
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
  link_all();
  list_->SetPath(at("locked"));
  EXPECT_TRUE(rows(*list_).empty());
  EXPECT_EQ(utf8(list_->Reason()), "Cannot read the folder " + os.refused);
  EXPECT_EQ(tree_->Selected()->Count(), 0);
  list_->SetPath(at());
  EXPECT_EQ(list_->Reason(), u"");
  EXPECT_EQ(rows(*list_), (strings{"locked"}));
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
  const std::tuple<const char*, std::function<void()>, std::string> cases[] = {
      {"root", [&] { list->SetRoot(ToUnicode(xstr(missing))); }, "Root folder not found: " + missing},
      {"path", [&] { list->SetPath(u"nope"); }, "Folder not found: " + missing},
      {"file", [&] { list->SetPath(at("f.txt")); }, "Folder not found: " + (root_ / "f.txt").string()},
      {"outside", [&] { list->SetPath(u"/"); },
       "Folder outside the root " + root_.string() + ": /"},
  };
  for (const auto& [what, call, message] : cases) {
    SCOPED_TRACE(what);
    EXPECT_EQ(test::raised_by(call), (test::raised{xerror_category::not_found, -1, -1, message}));
    EXPECT_EQ(list->Root(), at());
    EXPECT_EQ(list->Path(), at("a"));
  }
  list->SetPath(u"a/../a/./");  // relative to the root, folded
  EXPECT_EQ(list->Path(), at("a"));
}

TEST_F(ShellControlsTest, LinksAndNamesThatAreNotUtf8AreShownAndEnteredUnderTheirOwnNames) {
  const std::string bad = "caf\xe9";  // Latin-1, not UTF-8
  file(fs::path(bad) / "inside.txt", 1);
  folder("real/sub");
  fs::create_directory_symlink(root_ / "real", root_ / "via");
  fs::create_symlink(root_ / "missing", root_ / "dangling");
  TShellListView* list = list_at();
  EXPECT_EQ(rows(*list, true),
            (strings{"caf\xef\xbf\xbd||Folder", "real||Folder", "via||Folder", "dangling||Link"}));
  EXPECT_TRUE(list->Entries(2).Link);
  EXPECT_TRUE(list->Open(2));
  EXPECT_EQ(list->Path(), at("via"));
  EXPECT_EQ(rows(*list), (strings{"sub"}));
  list->SetPath(at());
  EXPECT_TRUE(list->Open(0));
  EXPECT_EQ(list->PathName().str(), (root_ / bad).string());
  EXPECT_EQ(rows(*list), (strings{"inside.txt"}));
}

TEST_F(ShellControlsTest, KeysMoveTheSelectionAndWalkTheFolders) {
  folder("a/b");
  file("a/f", 1);
  link_all();
  // The control, the key, whether it is used, then Path and SelectedPath.
  const std::tuple<TWinControl*, std::uint16_t, bool, const char*, const char*> steps[] = {
      {list_, VK_DOWN, true, "", "a"},     {list_, VK_RETURN, true, "a", ""},
      {list_, VK_END, true, "a", "a/f"},   {list_, VK_RETURN, false, "a", "a/f"},  // a file
      {tree_, VK_RIGHT, true, "a/b", ""},  {tree_, VK_LEFT, true, "a", ""},
      {list_, VK_BACK, true, "", ""},      {list_, VK_BACK, false, "", ""},  // not above the root
  };
  for (const auto& [to, pressed, consumed, path, selected] : steps) {
    SCOPED_TRACE(std::to_string(pressed) + " to " + path);
    std::uint16_t key = pressed;
    to->KeyDown(key, 0);
    EXPECT_EQ(key == 0, consumed);
    EXPECT_EQ(tree_->Path(), at(path));
    EXPECT_EQ(list_->SelectedPath(), *selected ? at(selected) : u"");
  }
}

class ShellListLocalizerTest : public test::loc_test {};

TEST_F(ShellListLocalizerTest, TheWalkRecordsTheColumnsButNoPathsAndTranslationsStay) {
  test::temp_dir shown;
  // A browse form (a list and its combo) made and walked by the localizer.
  const auto walked = [&] {
    auto form = std::make_unique<TForm>(nullptr);
    form->SetName(u"Browse");
    auto* list = new TShellListView(form.get());
    list->SetName(u"Files");
    auto* combo = new TShellComboBox(form.get());
    combo->SetName(u"Where");
    list->SetShellComboBox(combo);
    list->SetRoot(ToUnicode(xstr(shown.path.string())));
    xlocalizer loc;
    loc.open("app", "DEU");
    loc.component(form.get(), nullptr);
    loc.end_writing();
    return form;
  };
  walked();
  for (const auto& [key, text] : {std::pair{"Browse/Files/@Columns/0/o", "Name"},
                                  {"Browse/Files/@Columns/3/o", "Modified"},
                                  {"Browse/Where/@Text/o", "(none)"},
                                  {"Browse/Where/@Items/0/o", "(none)"}}) {
    SCOPED_TRACE(key);
    EXPECT_EQ(stored(key), text);
  }
  std::string text = bytes();
  const auto at = text.find("o=Size\r\n");
  ASSERT_NE(at, std::string::npos);
  text.replace(text.find("t=!#!", at), 5, "t=Größe");
  write(text);
  const auto form = walked();
  auto* list = static_cast<TShellListView*>(form->FindComponent(u"Files"));
  list->Refresh();
  EXPECT_EQ(list->Columns().Items(1)->Caption(), u"Größe");
}

}  // namespace
}  // namespace xum
