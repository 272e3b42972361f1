#include "tools/xum/xcli.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "core/xcatalogue.h"
#include "core/xexception.h"

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
  if (static_cast<int>(result.size()) < min) {
    const std::size_t next = result.size();
    throw usage_error("missing " + (next < names_.size() ? names_[next] : std::string("argument")));
  }
  if (max >= 0 && static_cast<int>(result.size()) > max)
    throw usage_error("unexpected argument '" + result[static_cast<std::size_t>(max)] + "'");
  return result;
}

std::vector<std::string> positional_names(const std::string& usage) {
  std::vector<std::string> names;
  std::istringstream words(usage);
  int depth = 0;
  bool option_value = false;  // the word after an option is its value
  for (std::string w; words >> w;) {
    const int opening = static_cast<int>(std::count(w.begin(), w.end(), '['));
    const int closing = static_cast<int>(std::count(w.begin(), w.end(), ']'));
    const bool outside = depth == 0 && opening == 0;
    depth += opening - closing;
    if (!outside) continue;
    if (is_option(w)) {
      option_value = true;
      continue;
    }
    if (option_value) {
      option_value = false;
      continue;
    }
    if (w.size() > 3 && w.compare(w.size() - 3, 3, "...") == 0) w.resize(w.size() - 3);
    for (std::size_t bar; (bar = w.find('|')) != std::string::npos;) w.replace(bar, 1, " or ");
    names.push_back(w);
  }
  return names;
}

void check_output(std::ostream& out) {
  out.flush();
  if (!out) {
    xerror(msg::eWriteError.text + "\n" + msg::FileName.text + "standard output");
  }
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
    arguments a(std::move(rest), positional_names(c->usage));
    return c->run(a);
  } catch (const usage_error& e) {
    err << where << ": " << e.what() << "\n";
    if (c->children.empty() && !c->usage.empty()) err << "Usage: " << where << ' ' << c->usage << "\n";
    err << "Try '" << where << " --help'.\n";
    return exit_usage;
  }
}

}  // namespace xum::cli
