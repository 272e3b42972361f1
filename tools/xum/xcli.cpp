#include "tools/xum/xcli.h"

#include <algorithm>
#include <ostream>
#include <sstream>

namespace xum::cli {

namespace {

bool is_help(const std::string& a) { return a == "--help" || a == "-h"; }

bool is_option(const std::string& a) { return a.size() > 1 && a[0] == '-'; }

}  // namespace

bool arguments::flag(const std::string& name, const std::string& short_name) {
  bool found = false;
  for (auto it = args_.begin(); it != args_.end();) {
    if (*it == "--") break;
    if (*it == name || (!short_name.empty() && *it == short_name)) {
      it = args_.erase(it);
      found = true;
    } else {
      ++it;
    }
  }
  return found;
}

std::optional<std::string> arguments::option(const std::string& name,
                                             const std::string& short_name) {
  std::optional<std::string> value;
  for (auto it = args_.begin(); it != args_.end();) {
    if (*it == "--") break;
    if (*it == name || (!short_name.empty() && *it == short_name)) {
      if (it + 1 == args_.end()) throw usage_error("option " + *it + " needs a value");
      value = *(it + 1);
      it = args_.erase(it, it + 2);
    } else if (it->rfind(name + "=", 0) == 0) {
      value = it->substr(name.size() + 1);
      it = args_.erase(it);
    } else {
      ++it;
    }
  }
  return value;
}

std::vector<std::string> arguments::positionals(int min, int max) {
  std::vector<std::string> result;
  bool only_positional = false;
  for (const auto& a : args_) {
    if (!only_positional && a == "--") {
      only_positional = true;
    } else if (!only_positional && is_option(a)) {
      throw usage_error("unknown option '" + a + "'");
    } else {
      result.push_back(a);
    }
  }
  if (static_cast<int>(result.size()) < min) throw usage_error("missing argument");
  if (max >= 0 && static_cast<int>(result.size()) > max)
    throw usage_error("unexpected argument '" + result[static_cast<std::size_t>(max)] + "'");
  return result;
}

std::string help_text(const command& c, const std::string& path) {
  std::ostringstream s;
  s << "Usage: " << path;
  if (!c.children.empty())
    s << " COMMAND [ARGS...]";
  else if (!c.usage.empty())
    s << ' ' << c.usage;
  s << "\n\n" << c.summary << "\n";
  if (!c.help.empty()) s << "\n" << c.help << (c.help.back() == '\n' ? "" : "\n");
  if (!c.children.empty()) {
    s << "\nCommands:\n";
    std::size_t width = 0;
    for (const auto& child : c.children) width = std::max(width, child.name.size());
    for (const auto& child : c.children)
      s << "  " << child.name << std::string(width - child.name.size() + 2, ' ') << child.summary
        << "\n";
    s << "\nRun '" << path << " COMMAND --help' for the help of a command.\n";
  }
  return s.str();
}

int dispatch(const command& root, const std::vector<std::string>& args, const std::string& path,
             std::ostream& out, std::ostream& err) {
  const command* c = &root;
  std::string where = path;
  std::size_t i = 0;
  try {
    // Walk down the command groups.
    while (!c->children.empty()) {
      if (i == args.size()) throw usage_error("a command is missing");
      if (is_help(args[i])) {
        out << help_text(*c, where);
        return exit_ok;
      }
      const command* next = nullptr;
      for (const auto& child : c->children)
        if (child.name == args[i]) next = &child;
      if (next == nullptr) {
        if (is_option(args[i])) throw usage_error("unknown option '" + args[i] + "'");
        throw usage_error("unknown command '" + args[i] + "'");
      }
      c = next;
      where += " " + args[i];
      ++i;
    }
    std::vector<std::string> rest(args.begin() + static_cast<std::ptrdiff_t>(i), args.end());
    for (const auto& a : rest) {
      if (a == "--") break;
      if (is_help(a)) {
        out << help_text(*c, where);
        return exit_ok;
      }
    }
    arguments a(std::move(rest));
    return c->run(a);
  } catch (const usage_error& e) {
    err << where << ": " << e.what() << "\nTry '" << where << " --help'.\n";
    return exit_usage;
  }
}

}  // namespace xum::cli
