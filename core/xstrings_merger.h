// xstrings_merger: string interning. Every distinct text handed to the
// merger is kept once; equal texts handed in later are replaced by that one
// stored copy, so they share its block instead of holding their own.
//
//   xum::xstrings_merger merge;
//   xum::xstr a = "OK", b = xum::xstr("O") + "K";
//   merge(a);
//   merge(b);                 // b now shares a's block; strings() has one entry
//
// Lookups hash the text (xcalculate_buffer_hash, seed 0) and compare texts
// only for candidates whose hash code matches.
//
// Thread safety: none; a merger and the strings it hands out belong to one
// thread at a time.
#ifndef XUM_CORE_XSTRINGS_MERGER_H
#define XUM_CORE_XSTRINGS_MERGER_H

#include "core/xexport.h"
#include "core/xhash_table.h"
#include "core/xstr.h"
#include "core/xvector.h"

namespace xum {

class XUM_API xstrings_merger {
 public:
  xstrings_merger() = default;
  // Takes `strings` as the stored texts, in their order, and indexes them.
  explicit xstrings_merger(xvector<xstr> strings);

  // Replaces `s` by the stored copy of an equal text (equal characters up to
  // the first zero byte, case-sensitive), storing `s` first when there is
  // none. Returns `s`.
  xstr& operator()(xstr& s);

  // Empties the stored texts and the index.
  void clear() noexcept;

  // Rebuilds the index from the stored texts, in order.
  void reindex();
  // Indexes the stored text at `i` (0 <= i < strings().size()) once more,
  // after the caller has changed it.
  void reindex(int i);

  // The stored texts, each once, in order of first appearance.
  const xvector<xstr>& strings() const noexcept { return strings_; }
  // The table (for inspection of its size and count).
  const xhash_table_impl& table() const noexcept { return table_; }

 private:
  xvector<xstr> strings_;
  xhash_table_impl table_;
};

}  // namespace xum

#endif  // XUM_CORE_XSTRINGS_MERGER_H
