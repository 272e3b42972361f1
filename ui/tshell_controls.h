// The shell controls: a folder tree, a folder's entries as a list with
// columns and a combo box holding the path to the current folder, all over
// the file system and kept in step with each other once linked.
//
//   auto* tree = new xum::TShellTreeView(form);
//   auto* list = new xum::TShellListView(form);
//   auto* path = new xum::TShellComboBox(form);
//   tree->SetShellListView(list);      // links run both ways and chain:
//   list->SetShellComboBox(path);      // the three now move together
//   tree->SetRoot(u"/home/u/projects");  // XENotFound when it is no folder
//   list->SetPath(u"/home/u/projects/a"); // the tree and the combo follow
//   list->SortBy(xum::TShellListView::colSize, false);  // largest first
//   list->OnChange = [](xum::TObject*) { ... list->SelectedPath() ... };
//
// Properties shared by the three:
//   Root        the top folder; the controls never go above it. Linked
//               controls share it: setting it on one sets it on all.
//   Path        the current folder (the tree's selected node, the folder the
//               list shows, the combo's last item). Setting it on one moves
//               every linked control. A relative path is taken from Root;
//               "." and ".." parts are folded; trailing '/' dropped.
//   OnChange    runs after the control's Path (or, for the list, its
//               selected entry) changed, once per control whose state
//               changed, after every linked control has moved.
//   Refresh()   lists the folders again: entries added or removed show up;
//               a Path whose folder is gone falls back to its nearest
//               existing parent (Root at most) and OnChange runs.
// TShellTreeView: the folder tree under Root (its one top node), loaded
//   lazily: a node's children are listed when it is expanded (Expand, or on
//   the way to a Path, whose folder shows its subfolders), so a link that
//   loops back costs nothing until it is opened. ObjectTypes: otHidden adds
//   hidden folders (a Path inside one the tree does not show selects its
//   nearest shown parent; switching otHidden off moves out of it); the tree
//   shows folders only. SetSelected(node) moves to the node's folder; Left
//   goes to the parent folder, Right into the first subfolder. Its Items
//   belong to it: they are not to be changed from outside.
// TShellListView: the entries of Path with the columns Name, Size, Type and
//   Modified (list-view columns: the component localizer translates their
//   captions under "@Columns"; they are made once, so translated captions
//   stay). Folders always come first; SortBy(column, ascending) orders the
//   rest, ties broken by name (ascending, without regard to case); ColumnClick
//   does what a header click does (same column: reverse; another: ascending).
//   ObjectTypes: otFolders, otNonFolders, otHidden. SelectedPath is the
//   selected entry's full path ("" for none); Open(index) enters a folder
//   (Enter does it for the selected one, Backspace goes up, Up/Down/Home/
//   End move the selection). A folder that cannot be read is shown empty and
//   Reason() says why ("" otherwise); nothing is thrown.
// TShellComboBox: a drop-down list whose items are the chain of folders from
//   Root down to Path (full paths); choosing an item moves to that folder.
//   Its items are paths, not texts to translate: it is no TComboBox, so the
//   component localizer leaves it alone.
//
// Errors: SetRoot with a path that is no folder raises XENotFound naming the
// path ("Root folder not found: /x") and keeps the old Root; SetPath with a
// folder that does not exist or lies outside Root raises XENotFound too and
// keeps the old Path. What the user does (selecting, opening, choosing,
// keys, Navigate) never throws: a folder that vanished in the meantime falls
// back to its nearest existing parent as Refresh does.
//
// Hidden entries are those whose name starts with '.'. Symbolic links are
// followed: a link to a folder is a folder (the tree and the list enter it
// under the link's own name, and Path keeps the link's name); a link that
// leads nowhere is a non-folder of unknown size, typed "Link". Folders have
// no size; the Modified column shows every entry's time (a link's, that of
// what it leads to). Names that are not UTF-8 are shown with
// U+FFFD in place of each bad sequence; the controls keep the original
// bytes, so such folders can still be entered and listed, but the Path
// property (text) then holds the replacement characters, and setting that
// text back names a different folder. PathName() gives the bytes.
//
// Drawn by Qt: the tree as a view over Qt's own file-system model (which
// lists and watches the folders, told Root, Path and the kinds by this
// model), the list from this model's rows; see backends/qt/xqt_shell_kinds.
//
// Thread safety: controls belong to the main thread.
#ifndef XUM_UI_TSHELL_CONTROLS_H
#define XUM_UI_TSHELL_CONTROLS_H

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "core/xexport.h"
#include "core/xstr.h"
#include "framework/tcomctrls.h"
#include "framework/tstdctrls.h"

namespace xum {

class TShellTreeView;
class TShellListView;
class TShellComboBox;

// Which entries a shell control shows (a set).
using TShellObjectTypes = unsigned;
inline constexpr TShellObjectTypes otFolders = 1, otNonFolders = 2, otHidden = 4;

// One entry of a folder as the shell controls list it.
struct XUM_API TShellEntry {
  xstr Name;                 // as the file system has it (bytes)
  bool Folder = false;       // a folder, or a link to one
  bool Link = false;         // a symbolic link
  std::int64_t Size = -1;    // bytes; -1 for folders and unknown sizes
  std::int64_t Stamp = -1;   // modification time as YYYYMMDDhhmmss; -1 unknown
  UnicodeString SizeText() const;      // "512 bytes", "1.5 KB", "" unknown
  UnicodeString TypeText() const;      // "Folder", "TXT File", "File", "Link"
  UnicodeString ModifiedText() const;  // "2024-05-01 13:45", "" unknown
};

// Lists `folder`'s entries (not "." and ".."), hidden ones only when asked;
// false (and `out` empty) when the folder cannot be read.
XUM_API bool xshell_list_folder(const xstr& folder, bool hidden, std::vector<TShellEntry>& out);

// What the three controls share: Root, Path and the links between them.
class XUM_API xshell_control {
 public:
  virtual ~xshell_control();
  xshell_control(const xshell_control&) = delete;
  xshell_control& operator=(const xshell_control&) = delete;

  UnicodeString Root() const { return ToUnicode(root_); }
  void SetRoot(const UnicodeString& Value);
  UnicodeString Path() const { return ToUnicode(path_); }
  void SetPath(const UnicodeString& Value);
  // Path as the file system's bytes.
  const xstr& PathName() const noexcept { return path_; }
  // Moves to a folder as the user does: a folder that is gone (or lies
  // outside Root) leads to its nearest existing parent; never throws. What
  // a windowing backend calls when the user picks a folder.
  void Navigate(const UnicodeString& Value) { go(FromUnicode(Value)); }
  // Lists the folders again for this control and every linked one.
  void Refresh();

  TShellTreeView* ShellTreeView() const noexcept;
  TShellListView* ShellListView() const noexcept;
  TShellComboBox* ShellComboBox() const noexcept;
  // Linking runs both ways (a control's earlier partner of that kind is
  // unlinked); the newly linked control, and what it is linked to, take
  // this control's Root and Path. Null unlinks. A link to the control's own
  // kind is ignored. A destroyed control leaves its partners unlinked.
  void SetShellTreeView(TShellTreeView* Value);
  void SetShellListView(TShellListView* Value);
  void SetShellComboBox(TShellComboBox* Value);

 protected:
  enum { kind_tree, kind_list, kind_combo };
  explicit xshell_control(int kind) : kind_(kind) {}
  // Moves every control of the group to `root` / `path` (both normalised
  // and existing; `relist` reads every folder again), then runs the
  // OnChange of those that changed.
  void move_group(const xstr& root, const xstr& path, bool relist);
  // Moves to `path`, or to its nearest existing parent when it is gone;
  // never throws.
  void go(const xstr& path);
  // Shows root_ / path_: `relist` says whether folders must be read again
  // even where root_ and path_ stayed. Returns whether what the control's
  // OnChange reports changed.
  virtual bool shell_show(bool relist) = 0;
  virtual void shell_changed() = 0;

  xstr root_ = xstr("/");
  xstr path_ = xstr("/");

 private:
  void set_link(int kind, xshell_control* other);
  std::vector<xshell_control*> group();

  const int kind_;
  xshell_control* links_[3] = {nullptr, nullptr, nullptr};
};

class XUM_API TShellTreeView : public TCustomTreeView, public xshell_control {
 public:
  explicit TShellTreeView(TComponent* AOwner);
  ~TShellTreeView() override;

  TShellObjectTypes ObjectTypes() const noexcept { return types_; }
  void SetObjectTypes(TShellObjectTypes Value);

  // The folder a node stands for ("" for null or a node of another tree).
  UnicodeString NodePath(const TTreeNode* Node) const;
  // The node of `path`'s folder when it is loaded; null otherwise.
  TTreeNode* FindNode(const UnicodeString& Path) const;
  // Lists a node's subfolders when that has not happened yet.
  void Expand(TTreeNode* Node);
  // Whether the node's subfolders have been listed.
  bool Expanded(const TTreeNode* Node) const;
  // Moves to the node's folder, as a click on it does (null: nothing).
  void SetSelected(TTreeNode* Node);

  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;
  TNotifyEvent OnChange;

 protected:
  bool shell_show(bool relist) override;
  void shell_changed() override;

 private:
  struct node_info;
  node_info* info(const TTreeNode* node) const;
  TTreeNode* add_node(TTreeNode* parent, const xstr& path, const xstr& name);
  void rebuild();
  TTreeNode* reveal(const xstr& path);

  // Every node's folder, by node data and by path (the nodes belong to the
  // control: Items are not to be changed from outside).
  std::unordered_map<const void*, std::unique_ptr<node_info>> infos_;
  std::map<xstr, TTreeNode*> nodes_;
  xstr shown_root_;
  xstr reported_;  // the Path OnChange last reported
  TShellObjectTypes types_ = otFolders;
};

class XUM_API TShellListView : public TListView, public xshell_control {
 public:
  enum { colName = 0, colSize = 1, colType = 2, colModified = 3 };

  explicit TShellListView(TComponent* AOwner);
  ~TShellListView() override;

  TShellObjectTypes ObjectTypes() const noexcept { return types_; }
  void SetObjectTypes(TShellObjectTypes Value);

  int SortColumn() const noexcept { return sort_column_; }
  bool SortAscending() const noexcept { return ascending_; }
  // Orders the entries by `Column` (colName ...; out of range throws
  // xexception 0); the selection stays on its entry.
  void SortBy(int Column, bool Ascending);
  void ColumnClick(int Column);

  // Entry i of the shown order (as Items().Item(i)); out of range throws.
  const TShellEntry& Entries(int Index) const;
  UnicodeString SelectedPath() const;
  // Why the folder is shown empty when it could not be read; "" otherwise.
  const UnicodeString& Reason() const noexcept { return reason_; }
  // Enters entry Index when it is a folder; false (nothing done) otherwise.
  bool Open(int Index);

  void SetItemIndex(int Value) override;
  void KeyDown(std::uint16_t& Key, TShiftState Shift) override;
  TNotifyEvent OnChange;

 protected:
  bool shell_show(bool relist) override;
  void shell_changed() override;

 private:
  void fill(const xstr& keep_selected);
  xstr selected_name() const;

  std::vector<TShellEntry> entries_;   // in shown order
  xstr shown_path_;
  UnicodeString reason_;
  TShellObjectTypes types_ = otFolders | otNonFolders;
  int sort_column_ = colName;
  bool ascending_ = true;
};

class XUM_API TShellComboBox : public TCustomComboBox, public xshell_control {
 public:
  explicit TShellComboBox(TComponent* AOwner);
  ~TShellComboBox() override;

  // Moves to item Value's folder (-1 is ignored: a shell combo always has
  // its current folder).
  void SetItemIndex(int Value) override;

 protected:
  bool shell_show(bool relist) override;
  void shell_changed() override;

 private:
  std::vector<xstr> chain_;
};

}  // namespace xum

#endif  // XUM_UI_TSHELL_CONTROLS_H
