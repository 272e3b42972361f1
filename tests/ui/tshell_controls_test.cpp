#include "ui/tshell_controls.h"

#include <filesystem>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "framework/tforms.h"
#include "platform/testing/xos_wrapper.h"
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
    if (with_columns) row += "|" + utf8(item->SubItems()[0]) + "|" + utf8(item->SubItems()[1]);
    out.push_back(row);
  }
  return out;
}

using strings = std::vector<std::string>;

class ShellControlsTest : public ::testing::Test {
 protected:
  test::temp_dir dir_;
  fs::path root_ = dir_.path;
  TForm form_{nullptr};

  void file(const fs::path& name, std::size_t size) {
    test::put_file(root_ / name, std::string(size, 'x'));
  }
  void folder(const fs::path& name) { fs::create_directories(root_ / name); }
  UnicodeString at(const fs::path& name = {}) const {
    return ToUnicode(xstr((name.empty() ? root_ : root_ / name).string()));
  }
  // A tree over the root with a list and a combo linked to it.
  TShellTreeView* tree_ = nullptr;
  TShellListView* list_ = nullptr;
  TShellComboBox* combo_ = nullptr;
  void link_all() {
    tree_ = new TShellTreeView(&form_);
    tree_->SetRoot(at());
    list_ = new TShellListView(&form_);
    combo_ = new TShellComboBox(&form_);
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
  fs::create_symlink(root_ / "missing", root_ / "dangling");
  link_all();
  EXPECT_EQ(rows(*list_, true),
            (strings{"A_dir||Folder", "b_dir||Folder", "dangling||Link", "m.TXT|1.5 KB|TXT File",
                     "README|1 byte|File", "z.txt|5 bytes|TXT File"}));
  EXPECT_EQ(list_->Columns().Items(3)->Caption(), u"Modified");
  list_->SetObjectTypes(otNonFolders | otHidden);
  EXPECT_EQ(rows(*list_), (strings{".profile", "dangling", "m.TXT", "README", "z.txt"}));
}

TEST_F(ShellControlsTest, LinkedControlsMoveTogetherAndEachReportsItsChangeOnce) {
  folder("a/b/c");
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
  EXPECT_EQ(tree_->Path(), at("a/b"));
  EXPECT_EQ(seen_by_tree_handler, at("a/b"));
  ASSERT_EQ(combo_->Items().Count(), 3);  // the chain from the root
  combo_->SetItemIndex(0);                // the user picks the root from the chain
  EXPECT_EQ(list_->Path(), at());
  list_->SetPath(at());  // no move: nobody reports
  for (int c : changes) EXPECT_EQ(c, 2);
  delete list_;  // the others are no longer linked through it
  tree_->SetPath(at("a"));
  EXPECT_EQ(combo_->Path(), at());
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

TEST_F(ShellControlsTest, RefreshShowsNewEntriesAndGoneOrUnreadableFoldersAreHandled) {
  folder("a/inner");
  folder("locked/inside");
  file("a/old.txt", 1);
  link_all();
  list_->SetPath(at("a"));
  folder("a/new_dir");
  fs::remove(root_ / "a/old.txt");
  EXPECT_EQ(rows(*list_), (strings{"inner", "old.txt"}));  // until asked
  tree_->Refresh();
  EXPECT_EQ(rows(*list_), (strings{"inner", "new_dir"}));
  fs::remove_all(root_ / "a/inner");  // listed, then gone: through the list ...
  EXPECT_TRUE(list_->Open(0));
  EXPECT_EQ(list_->Path(), at("a"));
  EXPECT_EQ(rows(*list_), (strings{"new_dir"}));
  TTreeNode* node = tree_->FindNode(at("a/new_dir"));
  fs::remove(root_ / "a/new_dir");  // ... and through the tree
  tree_->SetSelected(node);
  EXPECT_EQ(tree_->Path(), at("a"));
  unreadable_os os;  // shown empty, with its reason
  os.refused = (root_ / "locked").string();
  platform::scoped_os use(os);
  list_->SetPath(at("locked"));
  EXPECT_TRUE(rows(*list_).empty());
  EXPECT_EQ(utf8(list_->Reason()), "Cannot read the folder " + os.refused);
}

TEST_F(ShellControlsTest, BadRootsAndPathsRaiseClearErrorsAndChangeNothing) {
  folder("a");
  auto* list = new TShellListView(&form_);  // linked to nothing
  list->SetRoot(at());
  list->SetPath(at("a"));
  const std::string missing = (root_ / "nope").string();
  const std::tuple<const char*, std::function<void()>, std::string> cases[] = {
      {"root", [&] { list->SetRoot(ToUnicode(xstr(missing))); },
       "Root folder not found: " + missing},
      {"path", [&] { list->SetPath(u"nope"); }, "Folder not found: " + missing},
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

}  // namespace
}  // namespace xum
