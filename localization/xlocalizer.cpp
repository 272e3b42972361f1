#include "localization/xlocalizer.h"

#include <algorithm>
#include <deque>
#include <string>

#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "core/xhash_table.h"
#include "formats/xstruct_format.h"
#include "localization/xcomponent_localizer.h"
#include "platform/xlanguages.h"
#include "platform/xos.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"

namespace xum {

namespace detail {

// A section of the dictionary: a section of the loaded file, or one that
// this run asked for first. Its texts view the reader's tree, which stays
// loaded until the next load.
struct loc_node {
  loc_node(int parent_node, int label) noexcept : parent(parent_node), code(label) {}

  int parent;
  int code;  // the name's label code in the reader
  std::string_view o, t, p;
  bool has_o = false, has_t = false, has_p = false;
  bool loaded = false;     // a section of the loaded file
  bool requested = false;  // recorded by `string` in this run
  // The translation as a string of its own, made the first time it is
  // handed out and shared with every caller after that.
  xstr shared;

  bool holds_translation() const {
    return (has_t && t != xlocalizer::not_translated) || (has_p && p != xlocalizer::not_translated);
  }
};

// One request of the run, replayed into the fresh dictionary when the run
// ends with something modified: entering a section (by the caller's name),
// leaving it, or an entry in one of three cases.
struct loc_request {
  enum kind_t : unsigned char { begin, end, as_read, new_source, as_translation } kind;
  int node;
  xstr text;  // the section's name or the caller's text
};

struct loc_index {
  xstruct_format reader;
  std::vector<loc_node> nodes;  // nodes[0] is the root
  // (parent, code) -> node, by a hash of both.
  xhash_table_impl table;
  // Texts of values that were not text in the file (the binary form's
  // numbers), so that a node can view them.
  std::deque<xstr> converted;
  std::vector<loc_request> requests;

  loc_index() { nodes.emplace_back(-1, 0); }

  static unsigned hash(int parent, int code) {
    const std::uint32_t words[2] = {static_cast<std::uint32_t>(parent),
                                    static_cast<std::uint32_t>(code)};
    return xcalculate_buffer_hash(words, sizeof words, 0x5bd1e995u);
  }
  int find(int parent, int code) const {
    const unsigned h = hash(parent, code);
    for (int s = table.item_by_code(h); s != -1; s = table.next_item_by_code(h, s)) {
      const loc_node& n = nodes[static_cast<std::size_t>(table.value(s))];
      if (n.parent == parent && n.code == code) return table.value(s);
    }
    return -1;
  }
  int add(int parent, int code) {
    const int id = static_cast<int>(nodes.size());
    nodes.emplace_back(parent, code);
    table.insert(hash(parent, code), id);
    return id;
  }

  std::string_view text_of(const xstruct_value& v) {
    if (v.kind() == xvalue_kind::text) return v.text_view();
    return converted.emplace_back(v.text()).view();
  }

  // Indexes the loaded section `s` as node `id`, then its sections (the
  // format limits the depth). Sections opened twice in a file were merged
  // by the load; the first of equal keys is the one a lookup finds.
  void index(const xstruct_section& s, int id, int co, int ct, int cp) {
    nodes[static_cast<std::size_t>(id)].loaded = true;
    for (int i = 0; i < s.value_count(); ++i) {
      const xstruct_value& v = s.value(i);
      loc_node& n = nodes[static_cast<std::size_t>(id)];
      if (v.code() == co && !n.has_o)
        n.o = text_of(v), n.has_o = true;
      else if (v.code() == ct && !n.has_t)
        n.t = text_of(v), n.has_t = true;
      else if (v.code() == cp && !n.has_p)
        n.p = text_of(v), n.has_p = true;
    }
    for (int i = 0; i < s.child_count(); ++i) {
      const xstruct_section& c = s.child(i);
      int child = find(id, c.code());
      if (child < 0) child = add(id, c.code());
      index(c, child, co, ct, cp);
    }
  }
};

}  // namespace detail

namespace {

using detail::loc_index;
using detail::loc_node;
using detail::loc_request;

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Whether the dictionary's text form holds `v` as it is: no line breaks,
// no tab at the end (the reader trims it) and no blank and "@" at the end
// (the reader takes the "@" for the writer's mark of a trailing blank).
bool storable(std::string_view v) {
  return v.find_first_of("\r\n") == std::string_view::npos && !v.ends_with('\t') &&
         !v.ends_with(" @");
}

std::string_view trimmed(std::string_view n) {
  while (!n.empty() && is_blank(n.front())) n.remove_prefix(1);
  while (!n.empty() && is_blank(n.back())) n.remove_suffix(1);
  return n;
}

}  // namespace

xlocalizer::xlocalizer() : index_(std::make_unique<loc_index>()), stack_(1, frame{0, 0, false}) {}

xlocalizer::~xlocalizer() {
  if (active_ && !write_done_) {
    try {
      end_writing();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor reports nothing
    }
  }
}

void xlocalizer::open(const xstr& name) { open(name, xstr(platform::user_language())); }

void xlocalizer::open(const xstr& name, const xstr& language) {
  xstr file;
  if (language != platform::base_language) {
    const xstr exe(platform::os().executable_path());
    const xstr base = name.empty() ? xextract_file_name(exe) : name;
    file = xextract_file_path(exe) + xchange_file_ext(base, "_" + language + ".loc");
  }
  open_file(file, language);
}

void xlocalizer::open_file(const xstr& file, const xstr& language) {
  language_ = language;
  active_ = language != platform::base_language;
  write_done_ = false;
  modified_ = false;
  file_name_ = file;
  index_ = std::make_unique<loc_index>();
  stack_.assign(1, frame{0, 0, false});
  if (active_) load();
}

void xlocalizer::load() {
  // Sections still open keep their pairing but see nothing loaded.
  const std::size_t depth = stack_.size();
  index_ = std::make_unique<loc_index>();
  stack_.assign(1, frame{0, 0, false});
  stack_.resize(std::max<std::size_t>(depth, 1), frame{-1, 0, false});
  if (!xfile_exists(file_name_, true)) return;
  xstruct_format& reader = index_->reader;
  reader.open_file(file_name_, xfile_read);
  reader.identifier(xstr(file_identifier));
  const auto code = [&reader](std::string_view label) {
    return reader.find_code(label).value_or(-1);
  };
  const int co = code("o"), ct = code("t"), cp = code("p");
  index_->index(reader.root(), 0, co < 0 ? INT32_MIN : co, ct < 0 ? INT32_MIN : ct,
                cp < 0 ? INT32_MIN : cp);
}

int xlocalizer::child(const xstr& name, bool make) {
  frame& f = stack_.back();
  const std::string_view n = trimmed(name.view());
  if (n.find_first_of("\r\n") != std::string_view::npos) return -1;
  // "" is the next anonymous section ("#n" in the file), as the format
  // counts them.
  int code;
  if (n.empty()) {
    code = ~f.anonymous++;
  } else if (const auto known = index_->reader.find_code(n)) {
    code = *known;
  } else {
    if (!make) return -1;
    code = index_->reader.code_by_label(xstr(n));
  }
  if (f.node < 0) return -1;
  const int found = index_->find(f.node, code);
  if (found >= 0 || !make) return found;
  return index_->add(f.node, code);
}

bool xlocalizer::begin_section(const xstr& name) {
  const bool collecting = active_ && !write_done_;
  const int node = child(name, collecting);
  const bool recorded = collecting && node >= 0;
  if (recorded) index_->requests.push_back(loc_request{loc_request::begin, node, name});
  stack_.push_back(frame{node, 0, recorded});
  // Whether the loaded dictionary has it (a node made in this run holds
  // nothing loaded).
  if (node < 0) return false;
  return index_->nodes[static_cast<std::size_t>(node)].loaded;
}

void xlocalizer::end_section() {
  if (stack_.size() <= 1) throw xexception(xexception::out_of_range);
  const bool recorded = stack_.back().recorded;
  stack_.pop_back();
  if (recorded && !write_done_)
    index_->requests.push_back(loc_request{loc_request::end, -1, xstr()});
}

void xlocalizer::string(const xstr& key, xstr& text) {
  // A text the dictionary cannot hold would come back different (or break
  // the file): it is shown as it is and never recorded.
  if (!active_ || !storable(text.view())) return;
  const bool collecting = !write_done_;
  const int id = child(key, collecting);
  if (id < 0) {
    // Nothing stored and nothing to record: a new text keeps its own.
    return;
  }
  loc_node& node = index_->nodes[static_cast<std::size_t>(id)];

  // The stored texts, "!#!" when missing; "!@!" stands for "o".
  const std::string_view o = node.has_o ? node.o : not_translated;
  std::string_view t = node.has_t ? node.t : not_translated;
  if (t == same_as_source) t = o;

  loc_request::kind_t kind = loc_request::as_read;
  if (text.view() != o) {
    // New, or the program's source text changed: the caller keeps its text.
    modified_ = true;
    kind = text_is_translation ? loc_request::as_translation : loc_request::new_source;
  } else if (t != not_translated && t.data() != o.data()) {
    if (node.shared.empty()) node.shared = xstr(t);
    text = node.shared;
  }

  if (!collecting || node.requested) return;
  node.requested = true;
  index_->requests.push_back(loc_request{kind, id, kind == loc_request::as_read ? xstr() : text});
}

void xlocalizer::strings(xloc_str* first) {
  if (!active_) return;
  const xstr section("Strings");
  begin_section(section);
  for (xloc_str* s = first; s != nullptr; s = s->next) string(s->key, s->text);
  end_section();
}

bool xlocalizer::drops_translations() const {
  return std::any_of(index_->nodes.begin(), index_->nodes.end(),
                     [](const loc_node& n) { return !n.requested && n.holds_translation(); });
}

void xlocalizer::keep_backup() const {
  std::string bytes;
  if (!platform::os().read_whole_file(file_name_.get_text(), bytes)) return;
  xreplace_file_stream backup(file_name_ + ".bak");
  backup.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
  backup.close();
}

std::string xlocalizer::build_dictionary() const {
  xstruct_format writer;
  writer.identifier(xstr(file_identifier));
  const xstr key_o("o"), key_t("t"), key_p("p"), none(not_translated), same(same_as_source), empty;
  for (const loc_request& r : index_->requests) {
    if (r.kind == loc_request::begin) {
      writer.begin_section(r.text);
      continue;
    }
    if (r.kind == loc_request::end) {
      writer.end_section();
      continue;
    }
    // The entry as the run left it; see `string`.
    const loc_node& n = index_->nodes[static_cast<std::size_t>(r.node)];
    xstr o(n.has_o ? n.o : not_translated);
    xstr t(n.has_t ? n.t : not_translated);
    xstr p(n.has_p ? n.p : not_translated);
    if (t == same_as_source) t = o;
    if (r.kind == loc_request::new_source) {
      p = t;
      o = r.text;
      t = none;
    } else if (r.kind == loc_request::as_translation) {
      t = r.text;
    }
    writer.begin_section(xstr(index_->reader.label_by_code(n.code)));
    writer.str_prop(key_o, o, empty, false);
    writer.str_prop(key_t, t == o ? same : t, empty, false);
    writer.str_prop(key_p, p, none, false);
    writer.end_section();
  }
  writer.pack();
  xmemory_stream m;
  writer.save_to_stream(m);
  writer.close();
  return std::string(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
}

void xlocalizer::end_writing() {
  if (!active_ || write_done_) return;
  if (modified_) {
    // The new contents come from the run's requests, which stay until they
    // are on the disk: a failed write can be tried again.
    const std::string bytes = build_dictionary();
    if (drops_translations() && xfile_exists(file_name_, false)) keep_backup();
    // Refuses a file the user may not write as a direct write would; the
    // old file stays until the new one is whole.
    xreplace_file_stream out(file_name_);
    out.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
    out.close();
    // Written: the run is over even if reading the new file back fails.
    write_done_ = true;
    load();
    return;
  }
  index_->requests.clear();
  index_->requests.shrink_to_fit();
  write_done_ = true;
}

void xlocalizer::components(xcomponent_localizer* first) {
  if (!active_) return;
  for (xcomponent_localizer* r = first; r != nullptr; r = r->next)
    if (r->callback != nullptr) r->callback();
}

}  // namespace xum
