#include "core/xvirtual_fs.h"

namespace xum {

namespace {
xvirtual_fs_interface* installed = nullptr;
}

xvirtual_fs_interface::~xvirtual_fs_interface() = default;

void xvirtual_fs_interface::set(xvirtual_fs_interface* fs) noexcept { installed = fs; }

xvirtual_fs_interface* xvirtual_fs_interface::get() noexcept { return installed; }

}  // namespace xum
