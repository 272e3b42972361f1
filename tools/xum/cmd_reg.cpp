// xum reg: reads, writes and lists values of the per-user settings store.
#include <cstdint>
#include <iostream>
#include <string>

#include "core/xexceptions.h"
#include "core/xle.h"
#include "core/xreg_key.h"
#include "core/xstr.h"
#include "tools/xum/commands.h"

namespace xum::tool {

namespace {

constexpr const char* store_note =
    "The store lives in $XUM_REGISTRY_ROOT, else $XDG_CONFIG_HOME/xum/registry,\n"
    "else ~/.config/xum/registry. Both \\ and / separate the keys of KEY.\n";

std::string hex(const std::string& bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    out += digits[c >> 4];
    out += digits[c & 15];
  }
  return out;
}

const char* type_name(xreg_key::value_type t) {
  switch (t) {
    case xreg_key::value_type::text: return "text";
    case xreg_key::value_type::number: return "number";
    case xreg_key::value_type::binary: return "binary";
    default: return "none";
  }
}

std::string shown(const xreg_key::value& v) {
  if (v.type == xreg_key::value_type::number)
    return std::to_string(le::load<std::uint32_t>(reinterpret_cast<const unsigned char*>(v.data.data())));
  if (v.type == xreg_key::value_type::binary) return hex(v.data);
  return v.data;
}

cli::command get_command() {
  cli::command c;
  c.name = "get";
  c.summary = "Print one value: text as it is, a number in decimal, binary data in hex";
  c.usage = "KEY NAME";
  c.help = std::string(
               "Exits with 1 when KEY has no value NAME or the value is damaged. Reading\n"
               "creates nothing; names match whatever their case.\n\n") +
           store_note;
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(2, 2);
    const xreg_key key(xstr(p[0].c_str()), true);
    const xreg_key::value v = key.get(xstr(p[1].c_str()));  // damage is reported
    if (v.type == xreg_key::value_type::none) {
      std::cerr << "Value not found !\nKey: " << p[0] << "\nValue: " << p[1] << '\n';
      return cli::exit_failure;
    }
    std::cout << shown(v) << '\n';
    return cli::exit_ok;
  };
  return c;
}

bool parse_hex(const std::string& text, std::string& bytes) {
  if (text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    int v = 0;
    for (char ch : {text[i], text[i + 1]}) {
      const int d = ch >= '0' && ch <= '9'   ? ch - '0'
                    : ch >= 'a' && ch <= 'f' ? ch - 'a' + 10
                    : ch >= 'A' && ch <= 'F' ? ch - 'A' + 10
                                             : -1;
      if (d < 0) return false;
      v = v * 16 + d;
    }
    bytes += static_cast<char>(v);
  }
  return true;
}

cli::command set_command() {
  cli::command c;
  c.name = "set";
  c.summary = "Store one value, as text unless an option says otherwise";
  c.usage = "[--number | --hex] KEY NAME VALUE";
  c.help = std::string(
               "Options:\n"
               "  --number  VALUE is a 32-bit number (0 to 4294967295, or negative)\n"
               "  --hex     VALUE is binary data in hex digits; up to 4 bytes are\n"
               "            stored as a number, as the library's binary values are\n"
               "A negative VALUE follows --: xum reg set --number -- KEY NAME -1\n\n") +
           store_note;
  c.run = [](cli::arguments& a) {
    const bool number = a.flag("--number");
    const bool hex_data = a.flag("--hex");
    if (number && hex_data) throw cli::usage_error("--number and --hex exclude each other");
    const auto p = a.positionals(3, 3);
    xreg_key key(xstr(p[0].c_str()), false);
    const xstr name(p[1].c_str());
    if (number) {
      std::size_t used = 0;
      long long n = 0;
      try {
        n = std::stoll(p[2], &used, 10);
      } catch (const std::exception&) {
        used = 0;
      }
      if (used != p[2].size() || n < -2147483648LL || n > 4294967295LL)
        throw cli::usage_error("'" + p[2] + "' is not a 32-bit number");
      unsigned char bytes[4];
      le::store<std::uint32_t>(bytes, static_cast<std::uint32_t>(n));
      key.binary(name, bytes, nullptr, sizeof bytes);
    } else if (hex_data) {
      std::string bytes;
      if (!parse_hex(p[2], bytes) || bytes.empty())
        throw cli::usage_error("'" + p[2] + "' is not binary data in hex digits");
      key.binary(name, bytes.data(), nullptr, static_cast<unsigned>(bytes.size()));
    } else {
      key.str_prop(name, xstr(p[2].c_str()), xstr());
    }
    return cli::exit_ok;
  };
  return c;
}

cli::command list_command() {
  cli::command c;
  c.name = "list";
  c.summary = "List the child keys (ending in \\) and the values of a key";
  c.usage = "KEY";
  c.help = std::string(
               "Prints each child key followed by \\, then each value as NAME, its type\n"
               "(text, number, binary) and its value, separated by tabs. A damaged value\n"
               "is reported on standard error and the others are listed; the exit status\n"
               "is then 1, as it is for a KEY that does not exist.\n\n") +
           store_note;
  c.run = [](cli::arguments& a) {
    const auto p = a.positionals(1, 1);
    const xreg_key key(xstr(p[0].c_str()), true);
    if (!key.exists()) {
      std::cerr << "Key not found !\nKey: " << p[0] << '\n';
      return cli::exit_failure;
    }
    int result = cli::exit_ok;
    for (const xstr& child : key.key_names()) std::cout << child.view() << "\\\n";
    for (const xstr& name : key.value_names()) {
      xreg_key::value v;
      try {
        v = key.get(name);
      } catch (const Exception& e) {
        std::cout.flush();  // the lines before it come first
        std::cerr << e.what() << '\n';
        result = cli::exit_failure;
        continue;
      }
      if (v.type == xreg_key::value_type::none) continue;  // removed meanwhile
      std::cout << name.view() << '\t' << type_name(v.type) << '\t' << shown(v) << '\n';
    }
    return result;
  };
  return c;
}

}  // namespace

cli::command reg_command() {
  cli::command c;
  c.name = "reg";
  c.summary = "Read and write the per-user settings store";
  c.help = store_note;
  c.children.push_back(get_command());
  c.children.push_back(set_command());
  c.children.push_back(list_command());
  return c;
}

}  // namespace xum::tool
