// The subcommands of the xum tool; each file cmd_<name>.cpp builds one.
#ifndef XUM_TOOLS_XUM_COMMANDS_H
#define XUM_TOOLS_XUM_COMMANDS_H

#include <string>

#include "tools/xum/xcli.h"

namespace xum::tool {

cli::command bin_command();
cli::command bmp_command();
cli::command catalogue_command();
cli::command date_command();
cli::command demo_command();
cli::command keys_command();
cli::command link_command();
cli::command loc_command();
cli::command net_command();
cli::command reg_command();
cli::command struct_command();
cli::command vfs_command();

// The folder of bundled sample data: $XUM_SAMPLES, else share/xum/samples
// beside the installed program (<exe dir>/../share/xum/samples), else the
// source tree's samples/ when the program runs from a build tree.
std::string samples_dir();

}  // namespace xum::tool

#endif  // XUM_TOOLS_XUM_COMMANDS_H
