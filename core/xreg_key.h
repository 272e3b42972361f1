// xreg_key: a key of the current user's settings store, through which a
// setting is read or written by the same call, depending on the direction
// chosen when the key is opened.
//
//   xum::xreg_key key("Software\\XUM\\Viewer", reading);
//   xum::xstr dir = key.str_prop("LastDir", dir, "/tmp");   // read or write
//   std::int32_t zoom = 100;
//   key.binary("Zoom", &zoom, &default_zoom, sizeof zoom);  // a 32-bit number
//
// The store is a folder tree under the user's store root ($XUM_REGISTRY_ROOT,
// else $XDG_CONFIG_HOME/xum/registry, else ~/.config/xum/registry): one folder per key and one file per value, so
// processes that write different values of one key at the same time lose
// nothing, and each value is replaced atomically. Both `\` and `/` separate
// the keys of a path. A key opened for reading is only looked up: reading
// never creates a key; a key opened for writing is created with its parents.
//
// Names of keys and values ignore the case of the ASCII letters A-Z, as the
// registry that the store stands in for does: "Width" written is "width"
// read. Other bytes (letters beyond ASCII among them) are compared as they
// are, so a name means the same whatever the process locale. A name keeps the
// spelling it was first written with: writing "WIDTH" over "Width" changes
// the value and keeps the name "Width", as the registry does. Lookups prefer
// the exact spelling; among others that match, the first bytewise. (Two
// processes that create one new name in two spellings at the same moment
// may leave both; each reads back as the exact spelling written.)
//
// Value file: "XRV" (3 bytes), the type (1 byte: 1 text, 3 binary, 4 a
// 32-bit number, the Windows registry's codes), then the data: the text with
// a terminating zero byte, the binary bytes, or the number's 4 bytes least
// significant first. Example, the text "ab": 58 52 56 01 61 62 00. A file
// that breaks these rules is damaged: `get` reports it. File names: a value
// is "@" followed by its name, a child key is its name; bytes other than
// letters, digits and " +,-._()" (and a leading '.') are written as %XX.
//
// Reading rules: text only from a text value; binary data of more than 4
// bytes only from a binary value of exactly that size; 4 bytes or fewer only
// from a number, of which the low-order bytes are taken. Anything else, a
// damaged value included, gives the default.
//
// Numbers: `binary` of up to 4 bytes takes them as an unsigned integer in
// the host's byte order (a short, an int ...) and stores that integer; so
// the stored bytes are the same on every host, and reading gives the integer
// back in the host's order, cut to the size asked for.
//
// Thread safety: one key object belongs to one thread at a time; any number
// of key objects, threads and processes may use the store at once.
#ifndef XUM_CORE_XREG_KEY_H
#define XUM_CORE_XREG_KEY_H

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "core/xexport.h"
#include "core/xle.h"
#include "core/xstr.h"

namespace xum {

class XUM_API xreg_key {
 public:
  enum class value_type : unsigned char { none = 0, text = 1, binary = 3, number = 4 };

  // A stored value as it is: its type and its data (text without the zero).
  struct value {
    value_type type = value_type::none;
    std::string data;
  };

  // Opens the key `path` under the user's store root. `read` chooses the
  // direction of str, str_prop and binary; writing creates the key and its
  // parents, reading creates nothing (a missing key reads as empty).
  xreg_key(const xstr& path, bool read);
  // Opens `sub_path` below `parent`, in the parent's direction.
  xreg_key(const xreg_key& parent, const xstr& sub_path);

  bool reading() const noexcept { return read_; }
  // The key's folder (it may not exist when the key was opened for reading).
  const std::string& folder() const noexcept { return folder_; }
  // Whether the key exists in the store.
  bool exists() const;

  // Reading: the stored text when `name` holds text, else `def`. Writing:
  // stores `value` as text. A failed write reports "Data writing error !"
  // and the file name through xerror.
  void str(const xstr& name, xstr& value, const xstr& def);
  // A copy of `value` passed through `str`: the stored text (or `def`) when
  // reading, `value` itself when writing.
  xstr str_prop(const xstr& name, const xstr& value, const xstr& def);
  // `size` bytes at `data`, by the reading rules above; writing stores more
  // than 4 bytes as binary and up to 4 as a number whose other bytes are 0.
  // A null `def` leaves `data` alone where the default would be copied.
  void binary(const xstr& name, void* data, const void* def, unsigned size);

  // Removes the value `name` (any spelling of its case) from a key opened
  // for writing; true when it is gone or was not there. A key opened for
  // reading is left alone (false).
  bool erase(const xstr& name);

  // The stored value of `name`; type none when there is none. A damaged
  // value file reports "Invalid data format ! Value: " with the name and
  // what is wrong, one that cannot be read "Data reading error ! Value: "
  // with the name, each followed by the file, through xerror (type none
  // when the error hook returns).
  value get(const xstr& name) const;
  // The names of the child keys and of the values, sorted bytewise.
  std::vector<xstr> key_names() const;
  std::vector<xstr> value_names() const;

  // The number that `binary` stores for `size` (at most 4) bytes at `data`,
  // read as an unsigned integer in the byte order `order`; and back, the
  // low-order `size` bytes of `number` written in that order. The library
  // uses the host's order; another one is for tests.
  template <std::endian order = std::endian::native>
  static std::uint32_t number_from_bytes(const unsigned char* data, unsigned size) noexcept {
    unsigned char le_bytes[4] = {};
    for (unsigned i = 0; i < size && i < 4; ++i) le_bytes[i] = data[order == std::endian::little ? i : size - 1 - i];
    return le::load<std::uint32_t>(le_bytes);
  }
  template <std::endian order = std::endian::native>
  static void number_to_bytes(std::uint32_t number, unsigned char* data, unsigned size) noexcept {
    unsigned char le_bytes[4];
    le::store<std::uint32_t>(le_bytes, number);
    for (unsigned i = 0; i < size && i < 4; ++i) data[order == std::endian::little ? i : size - 1 - i] = le_bytes[i];
  }

 private:
  // How a value file reads: missing, unreadable, damaged (`damage` says
  // how) or good (in `v`).
  enum class lookup { missing, unreadable, damaged, found };
  lookup find(const xstr& name, value& v, std::string& file, std::string& damage) const;
  void open(const std::string& folder, const xstr& sub_path);
  void put(const xstr& name, value_type type, const void* data, std::size_t size);

  std::string folder_;
  bool read_;
};

}  // namespace xum

#endif  // XUM_CORE_XREG_KEY_H
