#include "ui/tshell_controls.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "core/xexception.h"
#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "platform/xos.h"

namespace xum {

namespace {

// `text` as an absolute path without "." / ".." parts, doubled or trailing
// separators; a relative text is taken from `root`. ".." never climbs above
// "/".
std::string normal_path(std::string_view root, std::string_view text) {
  std::string joined = !text.empty() && text[0] == '/' ? std::string(text)
                                                       : std::string(root) + "/" + std::string(text);
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (at <= joined.size()) {
    std::size_t end = joined.find('/', at);
    if (end == std::string::npos) end = joined.size();
    const std::string_view part(joined.data() + at, end - at);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.emplace_back(part);
    }
    at = end + 1;
  }
  std::string out;
  for (const std::string& p : parts) out += "/" + p;
  return out.empty() ? "/" : out;
}

bool under(std::string_view root, std::string_view path) {
  if (root == "/") return !path.empty() && path[0] == '/';
  return path == root || (path.size() > root.size() && path.substr(0, root.size()) == root &&
                          path[root.size()] == '/');
}

std::string parent_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string_view::npos ? "/" : std::string(path.substr(0, slash));
}

std::string child_of(std::string_view folder, std::string_view name) {
  return folder == "/" ? "/" + std::string(name) : std::string(folder) + "/" + std::string(name);
}

std::string last_part(std::string_view path) {
  if (path == "/") return "/";
  return std::string(path.substr(path.rfind('/') + 1));
}

bool is_folder(const std::string& path) { return platform::os().is_directory(path.c_str()); }

// `path`, or its nearest existing parent, not above `root`.
std::string existing_or_parent(const std::string& root, std::string path) {
  while (path != root && path != "/" && !is_folder(path)) path = parent_of(path);
  return path;
}

// The size of a regular file; -1 for anything else (a pipe is never
// opened for reading, so listing a folder cannot block on it).
std::int64_t regular_size(const std::string& path) {
  platform::xos& os = platform::os();
  platform::os_error error;
  bool regular = false;
  platform::file_handle f = os.open_file(path.c_str(), 0, error, &regular);
  if (f == platform::invalid_handle) return -1;
  os.close(f);
  if (!regular) return -1;
  f = os.open_file(path.c_str(), 1, error);
  if (f == platform::invalid_handle) return -1;
  const std::int64_t size = os.seek(f, 0, 2);
  os.close(f);
  return size;
}

std::int64_t stamp_of(const std::string& path) {
  platform::local_time t;
  if (!platform::os().entry_modification_time(path.c_str(), t)) return -1;
  return ((((t.year * 100LL + t.month) * 100 + t.day) * 100 + t.hour) * 100 + t.minute) * 100 +
         t.second;
}

UnicodeString ascii(const std::string& s) { return UnicodeString(s.begin(), s.end()); }

// Name order of the controls: without regard to case, then by bytes.
bool name_less(const xstr& a, const xstr& b) {
  const xstr la = a.lower_case(), lb = b.lower_case();
  if (la != lb) return la < lb;
  return a < b;
}

}  // namespace

// ---------------------------------------------------------------------------
// Entries

UnicodeString TShellEntry::SizeText() const {
  if (Size < 0) return {};
  char text[32];
  if (Size == 1) return u"1 byte";
  if (Size < 1024) {
    std::snprintf(text, sizeof text, "%lld bytes", static_cast<long long>(Size));
  } else {
    static const char* const units[] = {"KB", "MB", "GB", "TB", "PB"};
    double value = static_cast<double>(Size) / 1024;
    int unit = 0;
    while (value >= 1024 && unit < 4) {
      value /= 1024;
      ++unit;
    }
    std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
  }
  return ascii(text);
}

UnicodeString TShellEntry::TypeText() const {
  if (Folder) return u"Folder";
  if (Link && Size < 0 && Stamp < 0) return u"Link";
  const std::string_view name = Name.view();
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return u"File";
  return ToUnicode(xstr(name.substr(dot + 1)).upper_case()) + u" File";
}

UnicodeString TShellEntry::ModifiedText() const {
  if (Stamp < 0) return {};
  char text[32];
  const long long s = Stamp;
  std::snprintf(text, sizeof text, "%04lld-%02lld-%02lld %02lld:%02lld", s / 10000000000LL,
                s / 100000000 % 100, s / 1000000 % 100, s / 10000 % 100, s / 100 % 100);
  return ascii(text);
}

bool xshell_list_folder(const xstr& folder, bool hidden, std::vector<TShellEntry>& out) {
  out.clear();
  const std::string dir(folder.view());
  // The enumerator cannot tell an empty folder from one it could not open.
  if (!is_folder(dir) || platform::os().open_directory(dir.c_str()) == nullptr) return false;
  xfiles_enumerator e(xstr(dir == "/" ? "/*" : dir + "/*"));
  while (e.search()) {
    const xstr& name = e.get_file_name();
    if (name == "." || name == "..") continue;
    if (!hidden && name[0] == '.') continue;
    TShellEntry entry;
    entry.Name = name;
    const std::string path = child_of(dir, name.view());
    entry.Folder = is_folder(path);
    entry.Link = platform::os().is_symbolic_link(path.c_str());
    if (!entry.Folder) entry.Size = regular_size(path);
    entry.Stamp = stamp_of(path);
    out.push_back(std::move(entry));
  }
  return true;
}

// ---------------------------------------------------------------------------
// Links

xshell_control::~xshell_control() {
  // Partners forget this control before any of it goes.
  for (xshell_control*& other : links_)
    if (other != nullptr) {
      if (other->links_[kind_] == this) other->links_[kind_] = nullptr;
      other = nullptr;
    }
}

TShellTreeView* xshell_control::ShellTreeView() const noexcept {
  return static_cast<TShellTreeView*>(links_[kind_tree]);
}
TShellListView* xshell_control::ShellListView() const noexcept {
  return static_cast<TShellListView*>(links_[kind_list]);
}
TShellComboBox* xshell_control::ShellComboBox() const noexcept {
  return static_cast<TShellComboBox*>(links_[kind_combo]);
}
void xshell_control::SetShellTreeView(TShellTreeView* Value) { set_link(kind_tree, Value); }
void xshell_control::SetShellListView(TShellListView* Value) { set_link(kind_list, Value); }
void xshell_control::SetShellComboBox(TShellComboBox* Value) { set_link(kind_combo, Value); }

void xshell_control::set_link(int kind, xshell_control* other) {
  if (kind == kind_ || links_[kind] == other) return;
  if (xshell_control* old = links_[kind]; old != nullptr && old->links_[kind_] == this)
    old->links_[kind_] = nullptr;
  links_[kind] = other;
  if (other == nullptr) return;
  if (xshell_control* old = other->links_[kind_]; old != nullptr && old->links_[kind] == other)
    old->links_[kind] = nullptr;
  other->links_[kind_] = this;
  move_group(root_, path_, false);
}

std::vector<xshell_control*> xshell_control::group() {
  std::vector<xshell_control*> members{this};
  for (std::size_t i = 0; i < members.size(); ++i)
    for (xshell_control* other : members[i]->links_)
      if (other != nullptr && std::find(members.begin(), members.end(), other) == members.end())
        members.push_back(other);
  return members;
}

void xshell_control::move_group(const xstr& root, const xstr& path, bool relist) {
  std::vector<xshell_control*> changed;
  for (xshell_control* c : group()) {
    const bool new_root = c->root_ != root;
    c->root_ = root;
    c->path_ = path;
    if (c->shell_show(relist || new_root)) changed.push_back(c);
  }
  // Handlers run once every control has moved. A handler may destroy
  // another control: only those still linked are told.
  for (xshell_control* c : changed) {
    const std::vector<xshell_control*> now = group();
    if (std::find(now.begin(), now.end(), c) != now.end()) c->shell_changed();
  }
}

void xshell_control::go(const xstr& path) {
  const std::string root(root_.view());
  std::string target = normal_path(root, path.view());
  if (!under(root, target)) target = root;
  const std::string found = existing_or_parent(root, target);
  // A folder gone in the meantime: every view lists afresh.
  move_group(root_, xstr(found), found != target);
}

void xshell_control::SetRoot(const UnicodeString& Value) {
  const std::string root = normal_path("/", FromUnicode(Value).view());
  if (!is_folder(root)) {
    xerror(xerror_category::not_found, xstr("Root folder not found: ") + xstr(root));
    return;
  }
  move_group(xstr(root), xstr(root), true);
}

void xshell_control::SetPath(const UnicodeString& Value) {
  const std::string root(root_.view());
  const std::string path = normal_path(root, FromUnicode(Value).view());
  if (!under(root, path)) {
    xerror(xerror_category::not_found,
           xstr("Folder outside the root ") + root_ + ": " + xstr(path));
    return;
  }
  if (!is_folder(path)) {
    xerror(xerror_category::not_found, xstr("Folder not found: ") + xstr(path));
    return;
  }
  move_group(root_, xstr(path), false);
}

void xshell_control::Refresh() {
  const std::string root(root_.view());
  move_group(root_, xstr(existing_or_parent(root, std::string(path_.view()))), true);
}

// ---------------------------------------------------------------------------
// TShellTreeView

struct TShellTreeView::node_info {
  xstr path;
  bool expanded = false;
};

TShellTreeView::TShellTreeView(TComponent* AOwner)
    : TCustomTreeView(AOwner), xshell_control(kind_tree) {
  shell_show(true);
}

TShellTreeView::~TShellTreeView() = default;

void TShellTreeView::SetObjectTypes(TShellObjectTypes Value) {
  if (Value == types_) return;
  types_ = Value;
  std::string target(path_.view());
  if ((types_ & otHidden) == 0) {
    // Out of a hidden folder the tree no longer shows, to its nearest
    // shown parent.
    const std::string root(root_.view());
    for (std::string p = target; p != root && p != "/"; p = parent_of(p))
      if (last_part(p)[0] == '.') target = parent_of(p);
  }
  move_group(root_, xstr(target), true);
}

TShellTreeView::node_info* TShellTreeView::info(const TTreeNode* node) const {
  if (node == nullptr) return nullptr;
  const auto it = infos_.find(node->Data());
  return it == infos_.end() ? nullptr : it->second.get();
}

UnicodeString TShellTreeView::NodePath(const TTreeNode* Node) const {
  const node_info* i = info(Node);
  return i == nullptr ? UnicodeString() : ToUnicode(i->path);
}

bool TShellTreeView::Expanded(const TTreeNode* Node) const {
  const node_info* i = info(Node);
  return i != nullptr && i->expanded;
}

TTreeNode* TShellTreeView::add_node(TTreeNode* parent, const xstr& path, const xstr& name) {
  TTreeNode* node = Items().AddChild(parent, ToUnicode(name));
  auto i = std::make_unique<node_info>(node_info{path, false});
  node->SetData(i.get());
  infos_.emplace(i.get(), std::move(i));
  nodes_[path] = node;
  return node;
}

void TShellTreeView::Expand(TTreeNode* Node) {
  node_info* i = info(Node);
  if (i == nullptr || i->expanded) return;
  i->expanded = true;
  std::vector<TShellEntry> entries;
  xshell_list_folder(i->path, (types_ & otHidden) != 0, entries);
  std::erase_if(entries, [](const TShellEntry& e) { return !e.Folder; });
  std::sort(entries.begin(), entries.end(),
            [](const TShellEntry& a, const TShellEntry& b) { return name_less(a.Name, b.Name); });
  const xstr folder = i->path;  // `i` may move as nodes are added
  for (const TShellEntry& e : entries)
    add_node(Node, xstr(child_of(folder.view(), e.Name.view())), e.Name);
}

TTreeNode* TShellTreeView::FindNode(const UnicodeString& Path) const {
  const auto it = nodes_.find(FromUnicode(Path));
  return it == nodes_.end() ? nullptr : it->second;
}

void TShellTreeView::rebuild() {
  // The folders that were open stay open, where they still exist.
  std::vector<xstr> open;
  for (const auto& [data, i] : infos_)
    if (i->expanded) open.push_back(i->path);
  Items().Clear();
  infos_.clear();
  nodes_.clear();
  const std::string root(root_.view());
  TTreeNode* top = add_node(nullptr, root_, xstr(last_part(root)));
  Expand(top);
  if (shown_root_ == root_) {
    std::sort(open.begin(), open.end(), [](const xstr& a, const xstr& b) {
      return a.length() < b.length();  // parents first
    });
    for (const xstr& p : open)
      if (const auto it = nodes_.find(p); it != nodes_.end()) Expand(it->second);
  }
  shown_root_ = root_;
}

// The node of `path`, its parents expanded on the way; the nearest one
// found when a part is missing.
TTreeNode* TShellTreeView::reveal(const xstr& path) {
  TTreeNode* node = Items().Count() > 0 ? Items().Item(0) : nullptr;
  if (node == nullptr) return nullptr;
  const std::string target(path.view());
  while (info(node)->path != path) {
    Expand(node);
    TTreeNode* next = nullptr;
    for (int c = 0; c < node->Count() && next == nullptr; ++c) {
      const std::string p(info(node->Item(c))->path.view());
      if (target == p || (target.size() > p.size() && target.compare(0, p.size(), p) == 0 &&
                          target[p.size()] == '/'))
        next = node->Item(c);
    }
    if (next == nullptr) break;
    node = next;
  }
  Expand(node);  // the current folder shows its subfolders
  return node;
}

bool TShellTreeView::shell_show(bool relist) {
  if (relist || shown_root_ != root_) rebuild();
  // A folder the tree does not show (a hidden one): its nearest shown
  // parent is selected.
  TTreeNode* node = reveal(path_);
  if (node != Selected()) Select(node);
  const bool changed = reported_ != path_;
  reported_ = path_;
  return changed;
}

void TShellTreeView::shell_changed() {
  if (OnChange) OnChange(this);
}

void TShellTreeView::SetSelected(TTreeNode* Node) {
  const node_info* i = info(Node);
  if (i == nullptr) return;
  go(i->path);
}

void TShellTreeView::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TCustomTreeView::KeyDown(Key, Shift);
  if (Key == VK_LEFT && path_ != root_) {
    go(xstr(parent_of(path_.view())));
    Key = 0;
  } else if (Key == VK_RIGHT && Selected() != nullptr) {
    TTreeNode* node = Selected();
    Expand(node);
    if (node->Count() > 0) go(info(node->Item(0))->path);
    Key = 0;
  }
}

// ---------------------------------------------------------------------------
// TShellListView

TShellListView::TShellListView(TComponent* AOwner)
    : TListView(AOwner), xshell_control(kind_list) {
  static const struct {
    const char16_t* caption;
    int width;
  } columns[] = {{u"Name", 200}, {u"Size", 80}, {u"Type", 90}, {u"Modified", 120}};
  for (const auto& c : columns) {
    TListColumn* column = Columns().Add();
    column->SetCaption(c.caption);
    column->SetWidth(c.width);
  }
  shell_show(true);
}

TShellListView::~TShellListView() = default;

void TShellListView::SetObjectTypes(TShellObjectTypes Value) {
  if (Value == types_) return;
  types_ = Value;
  if (shell_show(true)) shell_changed();
}

const TShellEntry& TShellListView::Entries(int Index) const {
  if (Index < 0 || Index >= static_cast<int>(entries_.size()))
    throw xexception(xexception::out_of_range);
  return entries_[static_cast<std::size_t>(Index)];
}

xstr TShellListView::selected_name() const {
  const int i = ItemIndex();
  return i < 0 ? xstr() : entries_[static_cast<std::size_t>(i)].Name;
}

UnicodeString TShellListView::SelectedPath() const {
  const int i = ItemIndex();
  if (i < 0) return {};
  return ToUnicode(xstr(child_of(path_.view(), entries_[static_cast<std::size_t>(i)].Name.view())));
}

void TShellListView::fill(const xstr& keep_selected) {
  const int column = sort_column_;
  const bool ascending = ascending_;
  std::stable_sort(entries_.begin(), entries_.end(),
                   [column, ascending](const TShellEntry& a, const TShellEntry& b) {
                     if (a.Folder != b.Folder) return a.Folder;
                     int order = 0;
                     if (column == colSize && a.Size != b.Size) order = a.Size < b.Size ? -1 : 1;
                     if (column == colModified && a.Stamp != b.Stamp)
                       order = a.Stamp < b.Stamp ? -1 : 1;
                     if (column == colType && a.TypeText() != b.TypeText())
                       order = a.TypeText() < b.TypeText() ? -1 : 1;
                     if (column == colName) {
                       if (name_less(a.Name, b.Name)) order = -1;
                       else if (name_less(b.Name, a.Name)) order = 1;
                       if (!ascending) order = -order;
                       return order < 0;
                     }
                     if (order != 0) return ascending ? order < 0 : order > 0;
                     return name_less(a.Name, b.Name);
                   });
  Items().Clear();
  int selected = -1;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const TShellEntry& e = entries_[i];
    TListItem* item = Items().Add();
    item->SetCaption(ToUnicode(e.Name));
    item->SubItems().Add(e.SizeText());
    item->SubItems().Add(e.TypeText());
    item->SubItems().Add(e.ModifiedText());
    item->SetData(const_cast<TShellEntry*>(&e));
    if (!keep_selected.empty() && e.Name == keep_selected) selected = static_cast<int>(i);
  }
  TCustomListView::SetItemIndex(selected);
}

void TShellListView::SortBy(int Column, bool Ascending) {
  if (Column < colName || Column > colModified) throw xexception(xexception::out_of_range);
  sort_column_ = Column;
  ascending_ = Ascending;
  fill(selected_name());
}

void TShellListView::ColumnClick(int Column) {
  SortBy(Column, Column == sort_column_ ? !ascending_ : true);
}

bool TShellListView::shell_show(bool relist) {
  const xstr before = shown_path_ + "/" + selected_name();
  if (!relist && shown_path_ == path_) return false;
  const xstr keep = shown_path_ == path_ ? selected_name() : xstr();
  const std::string folder(path_.view());
  if (!xshell_list_folder(path_, (types_ & otHidden) != 0, entries_)) {
    entries_.clear();
    reason_ = ToUnicode(xstr(is_folder(folder) ? "Cannot read the folder " : "Folder not found: ") +
                        path_);
  } else {
    reason_.clear();
  }
  if ((types_ & otFolders) == 0)
    std::erase_if(entries_, [](const TShellEntry& e) { return e.Folder; });
  if ((types_ & otNonFolders) == 0)
    std::erase_if(entries_, [](const TShellEntry& e) { return !e.Folder; });
  shown_path_ = path_;
  fill(keep);
  return shown_path_ + "/" + selected_name() != before;
}

void TShellListView::shell_changed() {
  if (OnChange) OnChange(this);
}

void TShellListView::SetItemIndex(int Value) {
  const xstr before = selected_name();
  TCustomListView::SetItemIndex(Value);
  if (selected_name() != before && OnChange) OnChange(this);
}

bool TShellListView::Open(int Index) {
  if (Index < 0 || Index >= static_cast<int>(entries_.size())) return false;
  const TShellEntry& e = entries_[static_cast<std::size_t>(Index)];
  if (!e.Folder) return false;
  go(xstr(child_of(path_.view(), e.Name.view())));
  return true;
}

void TShellListView::KeyDown(std::uint16_t& Key, TShiftState Shift) {
  TListView::KeyDown(Key, Shift);
  const int count = static_cast<int>(entries_.size());
  const int at = ItemIndex();
  switch (Key) {
    case VK_RETURN:
      if (!Open(at)) return;
      break;
    case VK_BACK:
      if (path_ == root_) return;
      go(xstr(parent_of(path_.view())));
      break;
    case VK_UP:
    case VK_DOWN:
    case VK_HOME:
    case VK_END: {
      if (count == 0) return;
      int to = Key == VK_HOME ? 0 : Key == VK_END ? count - 1 : Key == VK_UP ? at - 1 : at + 1;
      if (at < 0 && Key == VK_UP) to = 0;
      SetItemIndex(std::clamp(to, 0, count - 1));
      break;
    }
    default:
      return;
  }
  Key = 0;
}

// ---------------------------------------------------------------------------
// TShellComboBox

TShellComboBox::TShellComboBox(TComponent* AOwner)
    : TCustomComboBox(AOwner), xshell_control(kind_combo) {
  SetStyle(csDropDownList);
  shell_show(true);
}

TShellComboBox::~TShellComboBox() = default;

bool TShellComboBox::shell_show(bool) {
  const xstr before = chain_.empty() ? xstr() : chain_.back();
  chain_.clear();
  const std::string root(root_.view());
  for (std::string p(path_.view());; p = parent_of(p)) {
    chain_.insert(chain_.begin(), xstr(p));
    if (p == root || p == "/") break;
  }
  Items().Clear();
  for (const xstr& p : chain_) Items().Add(ToUnicode(p));
  const int last = static_cast<int>(chain_.size()) - 1;
  TCustomListControl::SetItemIndex(last);
  SetText(Items()[last]);
  return chain_.back() != before;
}

void TShellComboBox::shell_changed() {
  if (OnChange) OnChange(this);
}

void TShellComboBox::SetItemIndex(int Value) {
  if (Value < -1 || Value >= ItemCount()) throw xexception(xexception::out_of_range);
  if (Value < 0) return;
  go(chain_[static_cast<std::size_t>(Value)]);
}

}  // namespace xum
