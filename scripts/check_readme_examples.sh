#!/usr/bin/env bash
# Builds every ```cpp block of README.md against an installed XUMComps, so
# that the README's examples compile as written. Exits 1 when a block does
# not build, naming its line in the README.
#
#   scripts/check_readme_examples.sh PREFIX [README]
#
# PREFIX is the install prefix (cmake --install ... --prefix PREFIX); README
# defaults to the README.md beside this folder. Each block becomes one
# program of a CMake project that finds the package with find_package:
#   - a block that defines main() is a whole program and is built as it is;
#   - any other block is a fragment: its #include lines come first, then the
#     standard library's common headers, then the block's type and function
#     definitions (those that start at the line's beginning: struct, class,
#     enum, union, template, namespace, using, or a function head ending in
#     "{", up to the closing "}" or "};" at the line's beginning), and the
#     rest of the block becomes the body of main().
# So a fragment names the library headers it uses and defines what it
# refers to; the standard library comes for free.
set -euo pipefail

usage() {
  echo "usage: $0 PREFIX [README]" >&2
  echo "Builds each C++ block of README against the XUMComps installed under PREFIX." >&2
}
if [[ $# -lt 1 || $# -gt 2 || $1 == --help || $1 == -h ]]; then
  usage
  [[ ${1:-} == --help || ${1:-} == -h ]] && exit 0
  exit 2
fi
prefix=$(cd "$1" && pwd)
readme=${2:-"$(dirname "$0")/../README.md"}
[[ -r $readme ]] || { echo "$0: cannot read $readme" >&2; exit 1; }
shown=$(basename "$readme")

work=$(mktemp -d "${TMPDIR:-/tmp}/xum-readme.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/src"

# Split the README into blocks: src/block_<line>.cpp, <line> being the line
# of the block's first code line.
awk -v dir="$work/src" '
  /^```cpp[ \t]*$/ { inside = 1; start = NR + 1; file = dir "/block_" start ".txt"; printf "" > file; next }
  inside && /^```[ \t]*$/ { inside = 0; close(file); next }
  inside { print > file }
' "$readme"

# In the README's order.
mapfile -t blocks < <(find "$work/src" -name 'block_*.txt' | sort -t_ -k2 -n)
if [[ ${#blocks[@]} -eq 0 ]]; then
  echo "$0: no C++ blocks in $readme" >&2
  exit 1
fi

for block in "${blocks[@]}"; do
  out=${block%.txt}.cpp
  line=${block##*_}
  line=${line%.txt}
  if grep -Eq '^[[:space:]]*int[[:space:]]+main[[:space:]]*\(' "$block"; then
    { echo "// README.md line $line: a whole program"; cat "$block"; } > "$out"
    continue
  fi
  {
    echo "// README.md line $line: a fragment, wrapped"
    grep -E '^[[:space:]]*#include' "$block" || true
    printf '%s\n' '#include <atomic>' '#include <cstdint>' '#include <functional>' \
      '#include <iostream>' '#include <memory>' '#include <string>' '#include <string_view>' \
      '#include <unordered_map>' '#include <utility>' '#include <vector>'
    awk '
      function head(s) {
        if (s ~ /^(struct|class|enum|union|template|namespace|using|typedef)[ \t<{]/) return 1
        if (s ~ /^(if|for|while|switch|try|do|else|catch|return)[ \t({]/) return 0
        # A function head: type, name, parameters, "{" at the end.
        return s ~ /^[A-Za-z_][A-Za-z0-9_:<>,*& ]*[ \t*&][A-Za-z_~][A-Za-z0-9_:]*\(.*\)[ \t]*(const[ \t]*)?(noexcept[ \t]*)?\{[ \t]*$/
      }
      /^[ \t]*#include/ { next }
      decl { decls = decls $0 "\n"; if ($0 ~ /^\};?([ \t].*)?$/) decl = 0; next }
      head($0) {
        decls = decls $0 "\n"
        # One-line definitions end where they start.
        if ($0 !~ /[;}][ \t]*$/ || $0 ~ /\{[ \t]*$/) decl = 1
        next
      }
      { body = body "  " $0 "\n" }
      END { printf "%s\nint main() {\n%s  return 0;\n}\n", decls, body }
    ' "$block"
  } > "$out"
done

# One project, one program per block.
{
  echo "cmake_minimum_required(VERSION 3.25)"
  echo "project(xum_readme_examples LANGUAGES CXX)"
  echo "find_package(XUMComps REQUIRED)"
  for block in "${blocks[@]}"; do
    name=$(basename "${block%.txt}")
    echo "add_executable($name src/$name.cpp)"
    echo "target_link_libraries($name PRIVATE XUMComps::XUMComps)"
  done
} > "$work/CMakeLists.txt"

generator=()
command -v ninja > /dev/null && generator=(-G Ninja)
if ! cmake -S "$work" -B "$work/build" "${generator[@]}" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_BUILD_TYPE=Debug > "$work/configure.log" 2>&1; then
  cat "$work/configure.log" >&2
  echo "$0: the package under $prefix could not be configured" >&2
  exit 1
fi
# Keep going past a failing block, so that every one is reported.
keep_going=()
[[ ${#generator[@]} -gt 0 ]] && keep_going=(-- -k 0)
cmake --build "$work/build" -j "${XUM_JOBS:-2}" "${keep_going[@]}" > "$work/build.log" 2>&1 || true

failed=0
for block in "${blocks[@]}"; do
  name=$(basename "${block%.txt}")
  line=${name#block_}
  if [[ -x $work/build/$name ]]; then
    echo "ok      $shown:$line"
  else
    echo "FAILED  $shown:$line"
    failed=1
  fi
done
if [[ $failed -ne 0 ]]; then
  echo >&2
  grep -E 'error|block_[0-9]+\.cpp:[0-9]+' "$work/build.log" >&2 || cat "$work/build.log" >&2
  echo "$0: README blocks that do not build are listed above (wrapped sources: block_<line>.cpp)" >&2
  exit 1
fi
echo "All ${#blocks[@]} C++ blocks of $shown build."
