#include "core/xreg_key.h"

#include <algorithm>
#include <cstring>

#include "core/xcatalogue.h"
#include "core/xexceptions.h"
#include "platform/xfiles.h"
#include "platform/xstore_files.h"

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

}  // namespace

xreg_key::xreg_key(const xstr& path, bool read) : read_(read) { open(platform::registry_root(), path); }

xreg_key::xreg_key(const xreg_key& parent, const xstr& sub_path) : read_(parent.read_) {
  open(parent.folder_, sub_path);
}

void xreg_key::open(const std::string& folder, const xstr& sub_path) {
  folder_ = folder;
  const std::string_view path = sub_path.view();
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find_first_of("\\/", start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) folder_ += "/" + escape(path.substr(start, end - start));
    start = end + 1;
  }
  // A key that cannot be created reads as empty; writing to it reports the
  // failure with the file name.
  platform::make_directories(folder_);
}

std::string xreg_key::value_file(const xstr& name) const {
  return folder_ + "/" + value_prefix + escape(name.view());
}

xreg_key::value xreg_key::get(const xstr& name) const {
  value v;
  std::string bytes;
  if (!platform::read_file(value_file(name), bytes) || bytes.size() < header_size ||
      bytes.compare(0, sizeof magic, magic, sizeof magic) != 0)
    return v;
  const auto type = static_cast<value_type>(bytes[sizeof magic]);
  v.data = bytes.substr(header_size);
  switch (type) {
    case value_type::text:
      // Stored with its terminator, which is not part of the text.
      if (!v.data.empty() && v.data.back() == '\0') v.data.pop_back();
      v.type = type;
      break;
    case value_type::number:
      if (v.data.size() == number_size) v.type = type;
      break;
    case value_type::binary:
      v.type = type;
      break;
    default:
      break;
  }
  if (v.type == value_type::none) v.data.clear();
  return v;
}

void xreg_key::put(const xstr& name, value_type type, const void* data, std::size_t size) {
  std::string bytes(magic, sizeof magic);
  bytes += static_cast<char>(type);
  bytes.append(static_cast<const char*>(data), size);
  const std::string file = value_file(name);
  if (!platform::replace_file(file, bytes.data(), bytes.size()))
    xerror(xerror_category::io, msg::eWriteError.text + "\n" + msg::FileName.text + file.c_str());
}

void xreg_key::str(const xstr& name, xstr& value, const xstr& def) {
  if (!read_) {
    put(name, value_type::text, value.get_text(), static_cast<std::size_t>(value.length()) + 1);
    return;
  }
  const xreg_key::value v = get(name);
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
      unsigned char number[number_size] = {};
      if (size > 0) std::memcpy(number, data, size);
      put(name, value_type::number, number, number_size);
    }
    return;
  }
  const xreg_key::value v = get(name);
  if (size > number_size ? v.type == value_type::binary && v.data.size() == size
                         : v.type == value_type::number) {
    if (size > 0) std::memcpy(data, v.data.data(), size);
  } else if (def != nullptr && size > 0) {
    std::memmove(data, def, size);
  }
}

namespace {

std::vector<xstr> list(const std::string& folder, bool values) {
  std::vector<xstr> names;
  platform::directory_stream* dir = platform::open_directory(folder.c_str());
  if (dir == nullptr) return names;
  while (const char* entry = platform::read_directory(dir)) {
    const std::string_view file(entry);
    if (file.empty() || file[0] == '.') continue;  // ".", ".." and temporaries
    if (values && file[0] == value_prefix && !platform::is_directory(folder + "/" + entry))
      names.push_back(unescape(file.substr(1)));
    else if (!values && file[0] != value_prefix && platform::is_directory(folder + "/" + entry))
      names.push_back(unescape(file));
  }
  platform::close_directory(dir);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

std::vector<xstr> xreg_key::key_names() const { return list(folder_, false); }

std::vector<xstr> xreg_key::value_names() const { return list(folder_, true); }

}  // namespace xum
