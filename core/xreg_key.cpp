#include "core/xreg_key.h"

#include <algorithm>
#include <cstring>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "core/xle.h"
#include "platform/xos.h"

namespace xum {

namespace {

constexpr char magic[3] = {'X', 'R', 'V'};
constexpr std::size_t header_size = sizeof magic + 1;
constexpr char value_prefix = '@';
// A number value always holds this many bytes; `binary` of up to this size
// reads and writes a number.
constexpr unsigned number_size = 4;

bool plain(unsigned char c, bool first) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  if (c == '.') return !first;  // dot files are the store's own temporaries
  return c != 0 && std::strchr(" +,-_()", c) != nullptr;
}

std::string escape(std::string_view name) {
  static constexpr char hex[] = "0123456789ABCDEF";
  std::string out;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto c = static_cast<unsigned char>(name[i]);
    if (plain(c, i == 0)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

xstr unescape(std::string_view file) {
  std::string out;
  for (std::size_t i = 0; i < file.size(); ++i) {
    int hi, lo;
    if (file[i] == '%' && i + 2 < file.size() && (hi = hex_digit(file[i + 1])) >= 0 &&
        (lo = hex_digit(file[i + 2])) >= 0) {
      out += static_cast<char>(hi * 16 + lo);
      i += 2;
    } else {
      out += file[i];
    }
  }
  return xstr(std::string_view(out));
}

// Whether two names are equal but for the case of ASCII letters.
bool same_name(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const auto fold = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; };
  for (std::size_t i = 0; i < a.size(); ++i)
    if (fold(static_cast<unsigned char>(a[i])) != fold(static_cast<unsigned char>(b[i]))) return false;
  return true;
}

// Whether the entry `file` of `folder` is a value (true) or a child key.
bool is_value_entry(const std::string& folder, std::string_view file) {
  return file[0] == value_prefix && !platform::os().is_directory((folder + "/" + std::string(file)).c_str());
}

// The file name in `folder` of the value (`values`) or child key `name`:
// the exact spelling when it is there, else the first entry, bytewise,
// whose name matches but for case; empty when there is none.
std::string find_entry(const std::string& folder, std::string_view name, bool values) {
  const std::string exact = (values ? std::string(1, value_prefix) : std::string()) + escape(name);
  const std::string exact_path = folder + "/" + exact;
  if (values ? platform::os().file_exists(exact_path.c_str()) && !platform::os().is_directory(exact_path.c_str())
             : platform::os().is_directory(exact_path.c_str()))
    return exact;
  std::string found;
  const auto dir = platform::os().open_directory(folder.c_str());
  if (dir == nullptr) return found;
  while (const char* entry = dir->next()) {
    const std::string_view file(entry);
    if (file.empty() || file[0] == '.') continue;  // ".", ".." and temporaries
    if (values != (file[0] == value_prefix)) continue;
    const std::string_view stored = values ? file.substr(1) : file;
    if (!same_name(unescape(stored).view(), name) || (!found.empty() && file >= found)) continue;
    if (values ? is_value_entry(folder, file) : platform::os().is_directory((folder + "/" + std::string(file)).c_str()))
      found = file;
  }
  return found;
}

// A catalogue message and what it is about, one blank apart (some messages
// end in a blank already).
xstr joined(const xstr& message, const xstr& about) {
  return message.length() > 0 && message[message.length() - 1] == ' ' ? message + about : message + " " + about;
}

}  // namespace

xreg_key::xreg_key(const xstr& path, bool read) : read_(read) { open(platform::os().registry_root(), path); }

xreg_key::xreg_key(const xreg_key& parent, const xstr& sub_path) : read_(parent.read_) {
  open(parent.folder_, sub_path);
}

void xreg_key::open(const std::string& folder, const xstr& sub_path) {
  folder_ = folder;
  const std::string_view path = sub_path.view();
  // Each key of the path is looked up in its parent, whatever its case;
  // below a key that is not there, none of its children is either.
  bool there = platform::os().is_directory(folder_.c_str());
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find_first_of("\\/", start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) {
      const std::string_view key = path.substr(start, end - start);
      const std::string stored = there ? find_entry(folder_, key, false) : std::string();
      there = !stored.empty();
      folder_ += "/" + (there ? stored : escape(key));
    }
    start = end + 1;
  }
  // A key that cannot be created reads as empty; writing to it reports the
  // failure with the file name.
  if (!read_) platform::os().make_directories(folder_.c_str());
}

bool xreg_key::exists() const { return platform::os().is_directory(folder_.c_str()); }

xreg_key::lookup xreg_key::find(const xstr& name, value& v, std::string& file, std::string& damage) const {
  v = value();
  const std::string entry = find_entry(folder_, name.view(), true);
  file = folder_ + "/" + (entry.empty() ? value_prefix + escape(name.view()) : entry);
  if (entry.empty()) return lookup::missing;
  std::string bytes;
  if (!platform::os().read_whole_file(file.c_str(), bytes)) return lookup::unreadable;
  if (bytes.size() < header_size || bytes.compare(0, sizeof magic, magic, sizeof magic) != 0) {
    damage = "no value header";
    return lookup::damaged;
  }
  const auto type = static_cast<unsigned char>(bytes[sizeof magic]);
  std::string data = bytes.substr(header_size);
  switch (static_cast<value_type>(type)) {
    case value_type::text:
      // Stored with its terminator, which is not part of the text.
      if (data.empty() || data.back() != '\0') {
        damage = "text without its terminating zero byte";
        return lookup::damaged;
      }
      data.pop_back();
      break;
    case value_type::number:
      if (data.size() != number_size) {
        damage = "a number of " + std::to_string(data.size()) + " bytes instead of " + std::to_string(number_size);
        return lookup::damaged;
      }
      break;
    case value_type::binary:
      break;
    default:
      damage = "unknown value type " + std::to_string(type);
      return lookup::damaged;
  }
  v.type = static_cast<value_type>(type);
  v.data = std::move(data);
  return lookup::found;
}

xreg_key::value xreg_key::get(const xstr& name) const {
  value v;
  std::string file, damage;
  switch (find(name, v, file, damage)) {
    case lookup::unreadable:
      xerror(xerror_category::io,
             joined(msg::eReadError.text, "Value: " + name) + "\n" + msg::FileName.text + file.c_str());
      break;
    case lookup::damaged:
      xerror(xerror_category::bad_data,
             joined(msg::eInvalidFormat.text, "Value: " + name + " (" + damage.c_str() + ")") + "\n" +
                 msg::FileName.text + file.c_str());
      break;
    default:
      break;
  }
  return v;
}

void xreg_key::put(const xstr& name, value_type type, const void* data, std::size_t size) {
  std::string bytes(magic, sizeof magic);
  bytes += static_cast<char>(type);
  bytes.append(static_cast<const char*>(data), size);
  // An existing value keeps its spelling, whatever the case of `name`.
  const std::string entry = find_entry(folder_, name.view(), true);
  const std::string file = folder_ + "/" + (entry.empty() ? value_prefix + escape(name.view()) : entry);
  platform::os_error error;
  if (!platform::os().replace_file(file.c_str(), bytes.data(), bytes.size(), error))
    xerror(xerror_category::io,
           msg::eWriteError.text + "\n" + msg::FileName.text + file.c_str() + "\n" + error.text.c_str());
}

bool xreg_key::erase(const xstr& name) {
  if (read_) return false;
  const std::string entry = find_entry(folder_, name.view(), true);
  return entry.empty() || platform::os().remove_file((folder_ + "/" + entry).c_str());
}

void xreg_key::str(const xstr& name, xstr& value, const xstr& def) {
  if (!read_) {
    put(name, value_type::text, value.get_text(), static_cast<std::size_t>(value.length()) + 1);
    return;
  }
  xreg_key::value v;
  std::string file, damage;
  find(name, v, file, damage);
  value = v.type == value_type::text ? xstr(std::string_view(v.data)) : def;
}

xstr xreg_key::str_prop(const xstr& name, const xstr& value, const xstr& def) {
  xstr result = value;
  str(name, result, def);
  return result;
}

void xreg_key::binary(const xstr& name, void* data, const void* def, unsigned size) {
  if (!read_) {
    if (size > number_size) {
      put(name, value_type::binary, data, size);
    } else {
      unsigned char number[number_size];
      le::store<std::uint32_t>(number, number_from_bytes(static_cast<const unsigned char*>(data), size));
      put(name, value_type::number, number, number_size);
    }
    return;
  }
  xreg_key::value v;
  std::string file, damage;
  find(name, v, file, damage);
  if (size > number_size && v.type == value_type::binary && v.data.size() == size) {
    std::memcpy(data, v.data.data(), size);
  } else if (size <= number_size && v.type == value_type::number) {
    const auto stored = reinterpret_cast<const unsigned char*>(v.data.data());
    number_to_bytes(le::load<std::uint32_t>(stored), static_cast<unsigned char*>(data), size);
  } else if (def != nullptr && size > 0) {
    std::memmove(data, def, size);
  }
}

namespace {

std::vector<xstr> list(const std::string& folder, bool values) {
  std::vector<xstr> names;
  const auto dir = platform::os().open_directory(folder.c_str());
  if (dir == nullptr) return names;
  while (const char* entry = dir->next()) {
    const std::string_view file(entry);
    if (file.empty() || file[0] == '.') continue;  // ".", ".." and temporaries
    if (values && is_value_entry(folder, file))
      names.push_back(unescape(file.substr(1)));
    else if (!values && file[0] != value_prefix && platform::os().is_directory((folder + "/" + entry).c_str()))
      names.push_back(unescape(file));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::vector<xstr> xreg_key::key_names() const { return list(folder_, false); }

std::vector<xstr> xreg_key::value_names() const { return list(folder_, true); }

}  // namespace xum
