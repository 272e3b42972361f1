// xum: puts the XUMComps library to work on real files.
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "core/xexceptions.h"
#include "core/xexception.h"
#include "tools/xum/commands.h"
#include "tools/xum/xcli.h"

#ifndef XUM_VERSION
#define XUM_VERSION "unknown"
#endif

namespace {

xum::cli::command root_command() {
  xum::cli::command root;
  root.name = "xum";
  root.summary = "Work with the files of the XUMComps library.";
  root.help =
      "Options:\n"
      "  --help     show this help (every command has its own)\n"
      "  --version  show the version\n"
      "\n"
      "Exit status: 0 on success, 1 when the library reports a failure (its\n"
      "message is written to standard error), 2 on a usage error.";
  root.children.push_back(xum::tool::bin_command());
  root.children.push_back(xum::tool::bmp_command());
  root.children.push_back(xum::tool::catalogue_command());
  root.children.push_back(xum::tool::date_command());
  root.children.push_back(xum::tool::demo_command());
  root.children.push_back(xum::tool::keys_command());
  root.children.push_back(xum::tool::link_command());
  root.children.push_back(xum::tool::loc_command());
  root.children.push_back(xum::tool::net_command());
  root.children.push_back(xum::tool::reg_command());
  root.children.push_back(xum::tool::struct_command());
  root.children.push_back(xum::tool::vfs_command());
  return root;
}

}  // namespace

int main(int argc, char** argv) {
  // Case mapping and the short date format follow the user's locale.
  std::setlocale(LC_ALL, "");
  std::vector<std::string> args(argv + 1, argv + argc);
  try {
    int code = xum::cli::exit_ok;
    if (!args.empty() && args[0] == "--version") {
      if (args.size() > 1) {
        std::cerr << "xum: --version takes no arguments; unexpected '" << args[1] << "'\n"
                  << "Try 'xum --help'.\n";
        return xum::cli::exit_usage;
      }
      std::cout << "xum " XUM_VERSION " (XUMComps " XUM_VERSION ")\n";
    } else {
      code = xum::cli::dispatch(root_command(), args, "xum", std::cout, std::cerr);
    }
    // Everything a command wrote must have reached standard output: a full
    // disk or a closed descriptor is a failure, as it is for cat.
    xum::cli::check_output(std::cout);
    return code;
  } catch (const xum::Exception& e) {
    std::cerr << e.what() << '\n';
  } catch (const xum::xexception& e) {
    std::cerr << "Internal error: contract violation (code " << e.code() << ")\n";
  } catch (const std::bad_alloc&) {
    std::cerr << "Out of memory !\n";
  } catch (const std::exception& e) {
    std::cerr << e.what() << '\n';
  }
  return xum::cli::exit_failure;
}
