// A small command-line framework for the xum tool: nested commands, `--help`
// on every level, options and positional arguments, and the tool's exit
// codes (0 success, 1 a reported failure, 2 a usage error).
//
//   xum::cli::command c{"catalogue", "Print the message catalogue", "[--tsv]", help,
//                       [](xum::cli::arguments& a) { ... return 0; }};
#ifndef XUM_TOOLS_XUM_XCLI_H
#define XUM_TOOLS_XUM_XCLI_H

#include <functional>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace xum::cli {

inline constexpr int exit_ok = 0;
inline constexpr int exit_failure = 1;
inline constexpr int exit_usage = 2;

// A mistake in how the tool was called; reported with a hint to --help.
class usage_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The arguments of one leaf command. Options are taken out by name; what is
// left must be positional, and `positionals` reports anything unexpected.
class arguments {
 public:
  // `names` are the positional arguments' names, for messages such as
  // "missing ARCHIVE" (dispatch takes them from the command's usage).
  explicit arguments(std::vector<std::string> args, std::vector<std::string> names = {})
      : args_(std::move(args)), names_(std::move(names)) {}

  // Removes `--name` (or its short form) and says whether it was there.
  bool flag(const std::string& name, const std::string& short_name = "");
  // Removes `--name VALUE` / `--name=VALUE` (or `-x VALUE`) and returns VALUE.
  std::optional<std::string> option(const std::string& name, const std::string& short_name = "");
  // The remaining arguments, which must all be positional; between `min`
  // and `max` of them (max < 0: no limit). Too few is "missing NAME" with
  // the first missing argument's name; a lone "-" counts as positional
  // (standard input or output).
  std::vector<std::string> positionals(int min, int max);

 private:
  std::vector<std::string> args_;
  std::vector<std::string> names_;
};

// The names of the positional arguments in a usage line, in order:
// "[--header N] ARCHIVE FILE|DIR..." gives "ARCHIVE", "FILE or DIR".
// Bracketed parts, options and an option's value are left out.
std::vector<std::string> positional_names(const std::string& usage);

struct command {
  std::string name;
  std::string summary;  // one line, shown in the parent's list
  std::string usage;    // what follows the command path, e.g. "[--tsv]"
  std::string help;     // further paragraphs for --help
  std::function<int(arguments&)> run;  // a leaf runs; a group has children
  std::vector<command> children;
};

// Runs the command that `args` names below `root`. `path` is the command
// path printed in messages ("xum"). Returns the exit code; usage errors are
// reported here (what is wrong, the command's usage line and where to find
// help), other exceptions propagate to the caller.
int dispatch(const command& root, const std::vector<std::string>& args, const std::string& path,
             std::ostream& out, std::ostream& err);

// The --help text of a command.
std::string help_text(const command& c, const std::string& path);

// Flushes `out` (standard output) and reports through xerror, as "Data
// writing error !" naming standard output, when anything written to it
// was lost (a full disk, a closed descriptor). main calls it before it
// exits; commands that write much call it as they go, so that they stop
// at the first failed write.
void check_output(std::ostream& out);

}  // namespace xum::cli

#endif  // XUM_TOOLS_XUM_XCLI_H
