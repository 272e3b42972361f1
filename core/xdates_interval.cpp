#include "core/xdates_interval.h"

namespace xum {

bool xdates_interval::test(xdate d) const noexcept {
  if (from.is_set() && from > d) return false;
  if (to.is_set() && to < d) return false;
  return true;
}

bool xdates_interval::aggregated_test(xdate d, const xdates_interval& outer) const noexcept {
  return xdates_interval{from.is_set() ? from : outer.from, to.is_set() ? to : outer.to}.test(d);
}

}  // namespace xum
