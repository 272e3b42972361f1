#include "localization/xlocalizer.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "core/xexceptions.h"
#include "core/xfile_utils.h"
#include "formats/xstruct_format.h"
#include "localization/xcomponent_localizer.h"
#include "platform/xlanguages.h"
#include "platform/xos.h"
#include "streams/xmemory_stream.h"
#include "streams/xreplace_file_stream.h"

namespace xum {

namespace detail {

struct name_hash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};

// A section of the loaded dictionary: the entry's texts when it is an
// entry, and its sections by name. The texts are kept as strings of their
// own, so that a translation handed to a caller shares one block with the
// index and costs no allocation.
struct loc_node {
  xstr o, t, p;
  bool has_o = false, has_t = false, has_p = false;
  // Asked for by `string` in this run (recorded once).
  bool requested = false;
  std::unordered_map<std::string, std::unique_ptr<loc_node>, name_hash, std::equal_to<>> children;

  bool holds_translation() const {
    return (has_t && t != xlocalizer::not_translated) || (has_p && p != xlocalizer::not_translated);
  }
};

}  // namespace detail

namespace {

using detail::loc_node;

// The loaded section `s` into `node`: the values "o", "t" and "p" (by their
// codes, -1 when the file has no such label) and the sections, recursively
// (the format limits the depth).
void index_section(const xstruct_format& f, const xstruct_section& s, loc_node& node, int co,
                   int ct, int cp) {
  for (int i = 0; i < s.value_count(); ++i) {
    const xstruct_value& v = s.value(i);
    const int code = v.code();
    xstr* target = nullptr;
    bool* has = nullptr;
    if (code == co) target = &node.o, has = &node.has_o;
    else if (code == ct) target = &node.t, has = &node.has_t;
    else if (code == cp) target = &node.p, has = &node.has_p;
    if (target == nullptr || *has) continue;  // a lookup finds the first
    *target = v.kind() == xvalue_kind::text ? xstr(v.text_view()) : v.text();
    *has = true;
  }
  for (int i = 0; i < s.child_count(); ++i) {
    const xstruct_section& c = s.child(i);
    auto [it, fresh] = node.children.try_emplace(f.label_by_code(c.code()).str());
    if (fresh) it->second = std::make_unique<loc_node>();
    // Sections opened twice merge, as the format's own lookups see them.
    index_section(f, c, *it->second, co, ct, cp);
  }
}

bool drops(const loc_node& node) {
  if (!node.requested && node.holds_translation()) return true;
  for (const auto& [name, child] : node.children)
    if (drops(*child)) return true;
  return false;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

xlocalizer::xlocalizer()
    : index_(std::make_unique<loc_node>()),
      stack_(1, frame{index_.get(), 0}),
      key_o_("o"),
      key_t_("t"),
      key_p_("p"),
      not_translated_(not_translated),
      same_as_source_(same_as_source) {}

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
  index_ = std::make_unique<loc_node>();
  stack_.assign(1, frame{index_.get(), 0});
  writer_.reset();
  pending_.clear();
  file_name_ = file;
  if (!active_) return;
  // The writer first: a broken dictionary still leaves a run that collects.
  writer_ = std::make_unique<xstruct_format>();
  writer_->identifier(xstr(file_identifier));
  load();
}

void xlocalizer::load() {
  // Sections still open keep their pairing but see nothing loaded.
  const std::size_t depth = stack_.size();
  index_ = std::make_unique<loc_node>();
  stack_.assign(1, frame{index_.get(), 0});
  stack_.resize(std::max<std::size_t>(depth, 1), frame{nullptr, 0});
  if (!xfile_exists(file_name_, true)) return;
  xstruct_format reader;
  reader.open_file(file_name_, xfile_read);
  reader.identifier(xstr(file_identifier));
  const auto code = [&reader](std::string_view label) { return reader.find_code(label).value_or(-1); };
  index_section(reader, reader.root(), *index_, code("o"), code("t"), code("p"));
}

loc_node* xlocalizer::child(const xstr& name, bool make) {
  frame& f = stack_.back();
  std::string_view n = name.view();
  // Names are trimmed as the format trims them; "" is the next anonymous
  // section, "#n" in the file.
  while (!n.empty() && is_blank(n.front())) n.remove_prefix(1);
  while (!n.empty() && is_blank(n.back())) n.remove_suffix(1);
  std::string anonymous;
  if (n.empty()) {
    anonymous = "#" + std::to_string(f.anonymous++);
    n = anonymous;
  }
  if (f.node == nullptr) return nullptr;
  const auto it = f.node->children.find(n);
  if (it != f.node->children.end()) return it->second.get();
  if (!make) return nullptr;
  return f.node->children.emplace(std::string(n), std::make_unique<loc_node>()).first->second.get();
}

bool xlocalizer::begin_section(const xstr& name) {
  loc_node* node = child(name, !write_done_ && active_);
  // Whether the loaded dictionary has it: a section made while collecting
  // holds nothing loaded yet.
  const bool found = node != nullptr && (node->has_o || node->has_t || node->has_p || !node->children.empty());
  if (!write_done_ && writer_) writer_->begin_section(name);
  stack_.push_back(frame{node, 0});
  return found;
}

void xlocalizer::end_section() {
  if (stack_.size() <= 1) throw xexception(xexception::out_of_range);
  stack_.pop_back();
  if (!write_done_ && writer_) writer_->end_section();
}

void xlocalizer::string(const xstr& key, xstr& text) {
  if (!active_) return;
  const bool collecting = !write_done_;
  loc_node* const node = child(key, collecting);

  // The stored texts, "!#!" when missing; pointers, so that nothing is
  // copied on the way.
  const xstr* o = node != nullptr && node->has_o ? &node->o : &not_translated_;
  const xstr* t = node != nullptr && node->has_t ? &node->t : &not_translated_;
  const xstr* p = node != nullptr && node->has_p ? &node->p : &not_translated_;
  if (*t == same_as_source) t = o;

  if (text != *o) {
    // New, or the program's source text changed.
    modified_ = true;
    if (!text_is_translation) {
      p = t;
      o = &text;
      t = &not_translated_;
    } else {
      t = &text;
    }
  } else if (*t != not_translated && t != &text) {
    text = *t;  // shares the index's block
  }

  if (!collecting || node->requested) return;
  node->requested = true;
  writer_->begin_section(key);
  writer_->str_prop(key_o_, *o, empty_, false);
  writer_->str_prop(key_t_, *t == *o ? same_as_source_ : *t, empty_, false);
  writer_->str_prop(key_p_, *p, not_translated_, false);
  writer_->end_section();
}

void xlocalizer::strings(xloc_str* first) {
  if (!active_) return;
  const xstr section("Strings");
  begin_section(section);
  for (xloc_str* s = first; s != nullptr; s = s->next) string(s->key, s->text);
  end_section();
}

bool xlocalizer::drops_translations() const { return drops(*index_); }

void xlocalizer::keep_backup() const {
  std::string bytes;
  if (!platform::os().read_whole_file(file_name_.get_text(), bytes)) return;
  xreplace_file_stream backup(file_name_ + ".bak");
  backup.write_buffer(bytes.data(), static_cast<int>(bytes.size()));
  backup.close();
}

void xlocalizer::end_writing() {
  if (!active_ || write_done_) return;
  if (modified_) {
    // The new contents are made in memory first and kept until they are on
    // the disk, so that a failed write can be retried with the same bytes.
    if (pending_.empty()) {
      writer_->pack();
      xmemory_stream m;
      writer_->save_to_stream(m);
      writer_->close();
      pending_.assign(reinterpret_cast<const char*>(m.data()), static_cast<std::size_t>(m.size()));
    }
    if (drops_translations() && xfile_exists(file_name_, false)) keep_backup();
    // Refuses a file the user may not write as a direct write would; the
    // old file stays until the new one is whole.
    xreplace_file_stream out(file_name_);
    out.write_buffer(pending_.data(), static_cast<int>(pending_.size()));
    out.close();
    pending_.clear();
    pending_.shrink_to_fit();
    load();
  }
  writer_.reset();
  write_done_ = true;
}

void xlocalizer::components(xcomponent_localizer* first) {
  if (!active_) return;
  for (xcomponent_localizer* r = first; r != nullptr; r = r->next)
    if (r->callback != nullptr) r->callback();
}

}  // namespace xum
