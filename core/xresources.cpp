#include "core/xresources.h"

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "platform/xos.h"

namespace xum {

namespace {

// A resource name or type in comparable form: an integer (from a small
// pointer or a "#" + decimal digits text) or a text compared without case.
struct resource_key {
  bool is_int = false;
  unsigned id = 0;
  const char* text = nullptr;
};

resource_key make_key(const char* p) {
  resource_key k;
  if (xis_int_resource(p)) {
    k.is_int = true;
    k.id = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(p));
    return k;
  }
  if (p[0] == '#' && p[1] != 0) {
    unsigned value = 0;
    const char* c = p + 1;
    for (; *c >= '0' && *c <= '9' && value <= 0xFFFFu; ++c) value = value * 10 + unsigned(*c - '0');
    if (*c == 0 && value <= 0xFFFFu) {
      k.is_int = true;
      k.id = value;
      return k;
    }
  }
  k.text = p;
  return k;
}

char ascii_upper(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }

bool same_key(const resource_key& a, const resource_key& b) {
  if (a.is_int != b.is_int) return false;
  if (a.is_int) return a.id == b.id;
  const char* x = a.text;
  const char* y = b.text;
  for (; *x && ascii_upper(*x) == ascii_upper(*y); ++x, ++y) {
  }
  return ascii_upper(*x) == ascii_upper(*y);
}

struct table {
  xmodule module;
  const xresource_entry* entries;
  std::size_t count;
};

struct registry {
  std::shared_mutex lock;
  std::vector<table> tables;  // in registration order
};

// Built on first use: generated tables register from static initialisers
// of binaries whose order against this library's own is not fixed.
registry& the_registry() {
  static registry* r = new registry;  // never destroyed: unloads may come late
  return *r;
}

}  // namespace

xmodule xmodule_of(const void* address) noexcept { return platform::os().module_base_of(address); }

xmodule xexecutable_module() noexcept { return platform::os().executable_base(); }

xmodule xlibrary_module() noexcept {
  static const char inside_the_library = 0;
  return xmodule_of(&inside_the_library);
}

void xregister_resources(const xresource_entry* entries, std::size_t count) {
  registry& r = the_registry();
  const xmodule module = xmodule_of(entries);
  std::unique_lock guard(r.lock);
  r.tables.push_back({module, entries, count});
}

void xunregister_resources(const xresource_entry* entries) noexcept {
  registry& r = the_registry();
  std::unique_lock guard(r.lock);
  std::erase_if(r.tables, [entries](const table& t) { return t.entries == entries; });
}

const xresource_entry* xfind_resource(xmodule module, const char* name, const char* type) {
  if (module == nullptr) module = xexecutable_module();
  const resource_key name_key = make_key(name);
  const resource_key type_key = make_key(type);
  registry& r = the_registry();
  std::shared_lock guard(r.lock);
  for (const table& t : r.tables) {
    if (t.module != module) continue;
    for (std::size_t i = 0; i < t.count; ++i) {
      const xresource_entry& e = t.entries[i];
      if (same_key(make_key(e.name), name_key) && same_key(make_key(e.type), type_key)) return &e;
    }
  }
  return nullptr;
}

}  // namespace xum
