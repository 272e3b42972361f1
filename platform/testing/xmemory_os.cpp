#include "platform/testing/xmemory_os.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace xum::platform {

struct xmemory_os::node {
  enum class kind { file, folder, link };
  explicit node(kind k) noexcept : type(k) {}

  const kind type;
  std::string data;                          // a file's bytes, a link's target
  std::map<std::string, node_ptr> children;  // a folder's entries
  bool writable = true;
  local_time modified;
};

// Where a path leads: the folder that holds (or would hold) its last part,
// and what is there.
struct xmemory_os::found {
  os_errc error = os_errc::none;  // a folder on the way is missing or no folder
  node_ptr parent;                // null when error is set
  std::string parent_path;        // "/a/b" ("" for the root)
  std::string name;               // the last part
  node_ptr target;                // null when nothing is there
};

struct xmemory_os::open_file_state {
  node_ptr file;
  std::int64_t position = 0;
  bool read = false;
  bool write = false;
};

namespace {

// The system refuses a handle it does not know, or one opened without the
// access that a call needs.
os_error bad_handle() { return make_os_error(os_errc::other); }

std::vector<std::string_view> parts_of(std::string_view path) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    const std::string_view part = path.substr(start, end - start);
    if (!part.empty() && part != ".") parts.push_back(part);
    start = end + 1;
  }
  return parts;
}

// The textual folder of `path` with its '/', as the system splits it.
std::string folder_text(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

class memory_directory final : public os_directory {
 public:
  explicit memory_directory(std::vector<std::string> names) noexcept : names_(std::move(names)) {}
  const char* next() noexcept override {
    return next_ < names_.size() ? names_[next_++].c_str() : nullptr;
  }

 private:
  const std::vector<std::string> names_;
  std::size_t next_ = 0;
};

}  // namespace

xmemory_os::xmemory_os(xos& rest)
    : xos_wrapper(rest), root_(std::make_shared<node>(node::kind::folder)) {
  make_folders("/tmp");
}

xmemory_os::~xmemory_os() = default;

// --- Paths ------------------------------------------------------------------------

xmemory_os::found xmemory_os::find(std::string_view path, bool follow_last) const {
  return find(path, follow_last, 0);
}

xmemory_os::found xmemory_os::find(std::string_view path, bool follow_last, int depth) const {
  found result;
  if (path.empty() || depth > 40) {
    result.error = path.empty() ? os_errc::not_found : os_errc::other;  // ELOOP
    return result;
  }
  const std::vector<std::string_view> parts = parts_of(path);
  std::vector<node_ptr> trail{root_};
  std::vector<std::string_view> names;
  const auto here = [&] {
    std::string text;
    for (const std::string_view n : names) (text += '/') += n;
    return text;
  };
  if (parts.empty()) {  // the root itself
    result.parent = root_;
    result.target = root_;
    return result;
  }
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool last = i + 1 == parts.size();
    if (parts[i] == "..") {
      if (trail.size() > 1) {
        trail.pop_back();
        names.pop_back();
      }
      if (last) {
        result.parent = trail.size() > 1 ? trail[trail.size() - 2] : root_;
        result.target = trail.back();
        result.name = "..";
        result.parent_path = here();
      }
      continue;
    }
    const node& folder = *trail.back();
    const auto it = folder.children.find(std::string(parts[i]));
    const node_ptr child = it == folder.children.end() ? nullptr : it->second;
    if (child && child->type == node::kind::link && (!last || follow_last)) {
      // Go on from where the link points, with the rest of the path.
      std::string next = child->data.starts_with('/') ? child->data : here() + "/" + child->data;
      for (std::size_t k = i + 1; k < parts.size(); ++k) (next += '/') += parts[k];
      return find(next, follow_last, depth + 1);
    }
    if (last) {
      result.parent = trail.back();
      result.parent_path = here();
      result.name = std::string(parts[i]);
      result.target = child;
      return result;
    }
    if (!child) {
      result.error = os_errc::not_found;
      return result;
    }
    if (child->type != node::kind::folder) {
      result.error = os_errc::path_not_found;  // ENOTDIR
      return result;
    }
    trail.push_back(child);
    names.push_back(parts[i]);
  }
  return result;
}

void xmemory_os::touch(node& n) const {
  int hundredths;
  n.modified = target().current_local_time(hundredths);
}

xmemory_os::node_ptr xmemory_os::make_file(const found& where) {
  auto file = std::make_shared<node>(node::kind::file);
  touch(*file);
  where.parent->children[where.name] = file;
  touch(*where.parent);
  return file;
}

bool xmemory_os::make_folders(std::string_view path) {
  const std::vector<std::string_view> parts = parts_of(path);
  std::string prefix = path.starts_with('/') ? "" : ".";
  for (const std::string_view part : parts) {
    (prefix += '/') += part;
    const found f = find(prefix, true);
    if (f.target) {
      if (f.target->type != node::kind::folder) return false;
      continue;
    }
    if (f.error != os_errc::none || !f.parent->writable) return false;
    f.parent->children[f.name] = std::make_shared<node>(node::kind::folder);
    touch(*f.parent);
  }
  return true;
}

std::string xmemory_os::unique_name() {
  static constexpr char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::string name(6, 'a');
  unsigned long long n = ++names_made_;
  for (char& c : name) {
    c = letters[n % (sizeof letters - 1)];
    n /= sizeof letters - 1;
  }
  return name;
}

std::int64_t xmemory_os::used() const {
  std::int64_t total = 0;
  std::vector<const node*> open{root_.get()};
  while (!open.empty()) {
    const node* n = open.back();
    open.pop_back();
    if (n->type == node::kind::file) total += static_cast<std::int64_t>(n->data.size());
    for (const auto& [name, child] : n->children) open.push_back(child.get());
  }
  return total;
}

// --- For the test -------------------------------------------------------------------

bool xmemory_os::put(const std::string& path, std::string_view bytes) {
  std::lock_guard guard(lock_);
  const std::string folder = folder_text(path);
  if (!folder.empty() && !make_folders(folder)) return false;
  const found f = find(path, true);
  if (f.error != os_errc::none || (f.target && f.target->type != node::kind::file)) return false;
  const node_ptr file = f.target ? f.target : make_file(f);
  file->data.assign(bytes);
  touch(*file);
  return true;
}

bool xmemory_os::get(const std::string& path, std::string& bytes) const {
  std::lock_guard guard(lock_);
  const found f = find(path, true);
  if (!f.target || f.target->type != node::kind::file) return false;
  bytes = f.target->data;
  return true;
}

std::vector<std::string> xmemory_os::entries(const std::string& path) const {
  std::lock_guard guard(lock_);
  std::vector<std::string> names;
  const found f = find(path, true);
  if (f.target && f.target->type == node::kind::folder)
    for (const auto& [name, child] : f.target->children) names.push_back(name);
  return names;
}

bool xmemory_os::make_link(const std::string& path, const std::string& link_target) {
  std::lock_guard guard(lock_);
  const found f = find(path, false);
  if (f.error != os_errc::none || f.target) return false;
  auto link = std::make_shared<node>(node::kind::link);
  link->data = link_target;
  f.parent->children[f.name] = link;
  return true;
}

bool xmemory_os::set_writable(const std::string& path, bool writable) {
  std::lock_guard guard(lock_);
  const found f = find(path, true);
  if (!f.target) return false;
  f.target->writable = writable;
  return true;
}

void xmemory_os::set_capacity(std::int64_t bytes) {
  std::lock_guard guard(lock_);
  capacity_ = bytes;
}

int xmemory_os::open_handles() const {
  std::lock_guard guard(lock_);
  return static_cast<int>(handles_.size());
}

// --- Files --------------------------------------------------------------------------

file_handle xmemory_os::add_handle(node_ptr file, bool read, bool write) {
  auto state = std::make_unique<open_file_state>();
  state->file = std::move(file);
  state->read = read;
  state->write = write;
  const file_handle f = next_handle_++;
  handles_.emplace(f, std::move(state));
  return f;
}

xmemory_os::open_file_state* xmemory_os::handle(file_handle f) {
  const auto it = handles_.find(f);
  return it == handles_.end() ? nullptr : it->second.get();
}

file_handle xmemory_os::open_file(const char* name, int file_mode, os_error& error,
                                  bool* regular) noexcept {
  std::lock_guard guard(lock_);
  const bool read = file_mode == 1 || file_mode == 3;
  const bool write = file_mode == 2 || file_mode == 3 || file_mode == 6 || file_mode == 10;
  found f = find(name, true);
  if (f.error != os_errc::none) {
    error = make_os_error(*name == '\0' ? os_errc::path_not_found : f.error);
    return invalid_handle;
  }
  if (!f.target) {
    if (file_mode != 6) {
      error = make_os_error(os_errc::not_found);
      return invalid_handle;
    }
    if (!f.parent->writable) {
      error = make_os_error(os_errc::access_denied);
      return invalid_handle;
    }
    f.target = make_file(f);
  }
  if (f.target->type == node::kind::folder || (write && !f.target->writable)) {
    error = make_os_error(os_errc::access_denied);
    return invalid_handle;
  }
  if (file_mode == 6) {
    f.target->data.clear();
    touch(*f.target);
  }
  if (regular != nullptr) *regular = true;
  return add_handle(f.target, read, write);
}

file_handle xmemory_os::open_known_file(const char* name, os_error& error) noexcept {
  return open_file(name, 1, error, nullptr);
}

os_errc xmemory_os::which_missing(const char* name) noexcept {
  std::lock_guard guard(lock_);
  if (*name == '\0') return os_errc::path_not_found;
  const found f = find(name, true);
  return f.error == os_errc::none ? os_errc::file_not_found : os_errc::path_not_found;
}

int xmemory_os::read_at(file_handle f, void* buffer, int count, std::int64_t position,
                        os_error* error) noexcept {
  if (f < first_handle) return xos_wrapper::read_at(f, buffer, count, position, error);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr || !s->read) {
    if (error != nullptr) *error = bad_handle();
    return 0;
  }
  const auto size = static_cast<std::int64_t>(s->file->data.size());
  if (count <= 0 || position >= size) return 0;
  const int n = static_cast<int>(std::min<std::int64_t>(count, size - position));
  std::memcpy(buffer, s->file->data.data() + position, static_cast<std::size_t>(n));
  return n;
}

int xmemory_os::read(file_handle f, void* buffer, int count, os_error* error) noexcept {
  if (f < first_handle) return xos_wrapper::read(f, buffer, count, error);
  std::int64_t position;
  {
    std::lock_guard guard(lock_);
    open_file_state* s = handle(f);
    position = s != nullptr ? s->position : 0;
  }
  const int n = read_at(f, buffer, count, position, error);
  std::lock_guard guard(lock_);
  if (open_file_state* s = handle(f)) s->position += n;
  return n;
}

int xmemory_os::put_bytes(node& file, const void* buffer, int count, std::int64_t position,
                          os_error* error) {
  if (count <= 0) return 0;
  const auto size = static_cast<std::int64_t>(file.data.size());
  std::int64_t allowed = count;
  if (capacity_ >= 0) {
    const std::int64_t end_allowed = size + std::max<std::int64_t>(0, capacity_ - used());
    allowed = std::clamp<std::int64_t>(end_allowed - position, 0, count);
  }
  if (allowed > 0) {
    if (position + allowed > size) file.data.resize(static_cast<std::size_t>(position + allowed));
    std::memcpy(file.data.data() + position, buffer, static_cast<std::size_t>(allowed));
    touch(file);
  }
  if (allowed < count && error != nullptr) *error = make_os_error(os_errc::no_space);
  return static_cast<int>(allowed);
}

int xmemory_os::write_at(file_handle f, const void* buffer, int count, std::int64_t position,
                         os_error* error) noexcept {
  if (f < first_handle) return xos_wrapper::write_at(f, buffer, count, position, error);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr || !s->write || position < 0) {
    if (error != nullptr)
      *error = s == nullptr || !s->write ? bad_handle() : make_os_error(os_errc::invalid_access);
    return 0;
  }
  return put_bytes(*s->file, buffer, count, position, error);
}

int xmemory_os::write(file_handle f, const void* buffer, int count, os_error* error) noexcept {
  if (f < first_handle) return xos_wrapper::write(f, buffer, count, error);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr || !s->write) {
    if (error != nullptr) *error = bad_handle();
    return 0;
  }
  const int n = put_bytes(*s->file, buffer, count, s->position, error);
  s->position += n;
  return n;
}

std::int64_t xmemory_os::seek(file_handle f, std::int64_t offset, int origin) noexcept {
  if (f < first_handle) return xos_wrapper::seek(f, offset, origin);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr) return -1;
  const std::int64_t base = origin == 1   ? s->position
                            : origin == 2 ? static_cast<std::int64_t>(s->file->data.size())
                                          : 0;
  std::int64_t target;
  if (__builtin_add_overflow(base, offset, &target) || target < 0) return -1;
  return s->position = target;
}

bool xmemory_os::truncate(file_handle f, std::int64_t size, os_error* error) noexcept {
  if (f < first_handle) return xos_wrapper::truncate(f, size, error);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr || !s->write || size < 0) {
    if (error != nullptr)
      *error = s == nullptr || !s->write ? bad_handle() : make_os_error(os_errc::invalid_access);
    return false;
  }
  const auto old_size = static_cast<std::int64_t>(s->file->data.size());
  if (size > old_size && capacity_ >= 0 && size - old_size > capacity_ - used()) {
    if (error != nullptr) *error = make_os_error(os_errc::no_space);
    return false;
  }
  s->file->data.resize(static_cast<std::size_t>(size));
  touch(*s->file);
  return true;
}

bool xmemory_os::sync(file_handle f, os_error& error) noexcept {
  if (f < first_handle) return xos_wrapper::sync(f, error);
  std::lock_guard guard(lock_);
  if (handle(f) != nullptr) return true;
  error = bad_handle();
  return false;
}

void xmemory_os::close(file_handle f) noexcept {
  if (f < first_handle) return xos_wrapper::close(f);
  std::lock_guard guard(lock_);
  handles_.erase(f);
}

bool xmemory_os::close_checked(file_handle f, os_error& error) noexcept {
  if (f < first_handle) return xos_wrapper::close_checked(f, error);
  std::lock_guard guard(lock_);
  if (handles_.erase(f) == 1) return true;
  error = bad_handle();
  return false;
}

bool xmemory_os::file_exists(const char* path) noexcept {
  std::lock_guard guard(lock_);
  return find(path, true).target != nullptr;
}

bool xmemory_os::is_directory(const char* path) noexcept {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, true).target;
  return n && n->type == node::kind::folder;
}

bool xmemory_os::is_symbolic_link(const char* path) noexcept {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, false).target;
  return n && n->type == node::kind::link;
}

std::string xmemory_os::follow_links(const char* path) {
  std::lock_guard guard(lock_);
  std::string current = path;
  for (int depth = 0; depth < 40; ++depth) {
    const node_ptr n = find(current, false).target;
    if (!n || n->type != node::kind::link) return current;
    current = n->data.starts_with('/') ? n->data : folder_text(current) + n->data;
  }
  return current;
}

bool xmemory_os::file_modification_time(const char* path, local_time& out) noexcept {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, true).target;
  if (!n || n->type == node::kind::folder) return false;
  out = n->modified;
  return true;
}

bool xmemory_os::entry_modification_time(const char* path, local_time& out) noexcept {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, true).target;
  if (!n) return false;
  out = n->modified;
  return true;
}

bool xmemory_os::read_whole_file(const char* path, std::string& bytes) {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, true).target;
  if (!n || n->type != node::kind::file) return false;
  bytes = n->data;
  return true;
}

bool xmemory_os::remove_file(const char* path) noexcept {
  std::lock_guard guard(lock_);
  const found f = find(path, false);
  if (!f.target || f.target->type == node::kind::folder || !f.parent->writable) return false;
  f.parent->children.erase(f.name);
  touch(*f.parent);
  return true;
}

// --- Replacing ----------------------------------------------------------------------

file_handle xmemory_os::create_temp_beside(const char* target_name, std::string& temp_name,
                                           os_error& error) {
  std::lock_guard guard(lock_);
  temp_name.clear();
  const std::string folder = folder_text(target_name);
  const found where = find(folder.empty() ? "." : folder, true);
  if (!where.target || where.target->type != node::kind::folder) {
    error = make_os_error(os_errc::path_not_found);
    return invalid_handle;
  }
  if (!where.target->writable) {
    error = make_os_error(os_errc::access_denied);
    return invalid_handle;
  }
  const std::string base = std::string(target_name).substr(folder.size());
  std::string name;
  do {
    name = "." + base + "." + unique_name() + ".tmp";
  } while (where.target->children.count(name) != 0);
  auto file = std::make_shared<node>(node::kind::file);
  touch(*file);
  where.target->children[name] = file;
  temp_name = folder + name;
  return add_handle(file, true, true);
}

bool xmemory_os::copy_permissions(const char* like, file_handle f, os_error& error) noexcept {
  if (f < first_handle) return xos_wrapper::copy_permissions(like, f, error);
  std::lock_guard guard(lock_);
  open_file_state* s = handle(f);
  if (s == nullptr) {
    error = bad_handle();
    return false;
  }
  if (const node_ptr n = find(like, true).target) s->file->writable = n->writable;
  return true;
}

bool xmemory_os::rename_over(const char* from, const char* to, bool, os_error& error) noexcept {
  std::lock_guard guard(lock_);
  const found source = find(from, false);
  const found dest = find(to, false);
  const auto fail = [&](os_errc code) {
    error = make_os_error(code);
    return false;
  };
  if (!source.target)
    return fail(source.error != os_errc::none ? source.error : os_errc::not_found);
  if (dest.error != os_errc::none) return fail(dest.error);
  if (!source.parent->writable || !dest.parent->writable) return fail(os_errc::access_denied);
  if (dest.target == source.target) return true;
  const bool source_folder = source.target->type == node::kind::folder;
  if (dest.target && dest.target->type == node::kind::folder && !source_folder)
    return fail(os_errc::access_denied);
  if (dest.target && dest.target->type != node::kind::folder && source_folder)
    return fail(os_errc::path_not_found);
  const node_ptr moved = source.target;
  source.parent->children.erase(source.name);
  dest.parent->children[dest.name] = moved;
  touch(*source.parent);
  touch(*dest.parent);
  return true;
}

// --- Folders and temporary files ----------------------------------------------------

std::unique_ptr<os_directory> xmemory_os::open_directory(const char* path) {
  std::lock_guard guard(lock_);
  const node_ptr n = find(path, true).target;
  if (!n || n->type != node::kind::folder) return nullptr;
  std::vector<std::string> names{".", ".."};
  for (const auto& [name, child] : n->children) names.push_back(name);
  return std::make_unique<memory_directory>(std::move(names));
}

bool xmemory_os::make_directories(const char* path) {
  std::lock_guard guard(lock_);
  if (*path == '\0' || !make_folders(path)) return false;
  const node_ptr n = find(path, true).target;
  return n && n->type == node::kind::folder;
}

std::string xmemory_os::temp_directory() { return "/tmp/"; }

std::string xmemory_os::create_unique_file(const std::string& dir, const std::string& prefix,
                                           const std::string& suffix) {
  std::lock_guard guard(lock_);
  for (;;) {
    const std::string name = dir + prefix + unique_name() + suffix;
    const found f = find(name, true);
    if (f.error != os_errc::none || !f.parent->writable) return std::string();
    if (f.target) continue;
    make_file(f);
    return name;
  }
}

}  // namespace xum::platform
