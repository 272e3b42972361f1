// xdates_interval: an optional lower and upper bound on dates. A bound that
// holds "no date" leaves that side open; both bounds are inclusive.
//
//   xum::xdates_interval spring{xum::xdate(2024, 3, 1), xum::xdate(2024, 5, 31)};
//   spring.test(xum::xdate(2024, 5, 31));           // true
//   xum::xdates_interval from_may{xum::xdate(2024, 5, 1), {}};
//   from_may.aggregated_test(d, spring);            // upper bound taken from spring
//
// Thread safety: a plain value type.
#ifndef XUM_CORE_XDATES_INTERVAL_H
#define XUM_CORE_XDATES_INTERVAL_H

#include "core/xdate.h"
#include "core/xexport.h"

namespace xum {

struct XUM_API xdates_interval {
  xdate from;
  xdate to;

  // False when `from` is set and later than d, or `to` is set and earlier.
  bool test(xdate d) const noexcept;
  // As `test`, with each bound unset here taken from `outer`.
  bool aggregated_test(xdate d, const xdates_interval& outer) const noexcept;
};

}  // namespace xum

#endif  // XUM_CORE_XDATES_INTERVAL_H
