#!/usr/bin/env bash
# Builds the example programs against an installed XUMComps and runs
# each through its job, checking what it prints. Exits 1 on any failure.
#
#   examples/run_examples.sh PREFIX BUILD_DIR
set -euo pipefail

if [[ $# -ne 2 || $1 == --help ]]; then
  echo "usage: $0 PREFIX BUILD_DIR" >&2
  echo "Builds examples/settings, records, form_worker and notes against PREFIX in BUILD_DIR and runs them." >&2
  [[ ${1:-} == --help ]] && exit 0
  exit 2
fi
prefix=$(cd "$1" && pwd)
build=$2
here=$(cd "$(dirname "$0")" && pwd)
generator=()
command -v ninja > /dev/null && generator=(-G Ninja)

for ex in settings records form_worker notes; do
  rm -rf "${build:?}/$ex"
  cmake -S "$here/$ex" -B "$build/$ex" "${generator[@]}" -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
  cmake --build "$build/$ex"
done

data=$(mktemp -d "${TMPDIR:-/tmp}/xum-examples.XXXXXX")
trap 'rm -rf "$data"' EXIT
fail() {
  echo "$0: $*" >&2
  exit 1
}
expect() {  # expect OUTPUT LINE...: each LINE is a whole line of OUTPUT
  local out=$1
  shift
  for want in "$@"; do
    grep -qxF -- "$want" <<< "$out" || fail "missing \"$want\" in:"$'\n'"$out"
  done
}

settings=$build/settings/settings
"$settings" "$data/app.tsf" --width 1024 --theme dark --open a.txt --open b.txt > /dev/null
expect "$(cat "$data/app.tsf")" $'TSFExampleSettings\r' $'  Width=1024\r' $'  Theme=dark\r' $'  #0=b.txt\r'
"$settings" "$data/app.tsf" --binary --zoom 1.5 > /dev/null
[[ $(head -c 3 "$data/app.tsf") == BSF ]] || fail "settings --binary did not write the binary form"
expect "$("$settings" "$data/app.tsf")" Width=1024 Zoom=1.5 Theme=dark Recent=b.txt Recent=a.txt
printf 'TSFExampleSettings\r\n<Window\r\n  Width=wide\r\n>\r\n' > "$data/bad.tsf"
if "$settings" "$data/bad.tsf" 2> "$data/err"; then fail "settings read a bad value"; fi
expect "$(cat "$data/err")" "Line: 3"

records=$build/records/records
"$records" "$data/s.rec" add ann 120 fast
"$records" "$data/s.rec" add bob 300
expect "$("$records" "$data/s.rec" list)" "1 ann 120 #fast" "2 bob 300"
expect "$("$records" "$data/s.rec" top)" "bob 300"
head -c 20 "$data/s.rec" > "$data/cut.rec"
if "$records" "$data/cut.rec" list 2> "$data/err"; then fail "records read a cut file"; fi
grep -q "damaged file at byte" "$data/err" || fail "records: $(cat "$data/err")"

form=$build/form_worker/form_worker
expect "$("$form" 2> /dev/null)" "ok: 17984 primes below 200000, 9 progress updates on the main thread"
"$form" --cancel 2> /dev/null | grep -q '^cancelled: ' || fail "form_worker --cancel"
notes=$build/notes/notes
mkdir "$data/notes"
expect "$("$notes" "$data/notes")" "recent: 0" "typed: Untitled | 2 lines | 2.0 km" "saved: trip.txt | 2 lines | 2.0 km" \
  "reopened: trip.txt | 2 lines | 2.0 km" "asked: Save changes in project before exit?" ok
[[ $(cat "$data/notes/trip.txt") == $'1200 along the river\n800 back\n4000 up the hill' ]] || fail "notes did not save the note"
expect "$("$notes" "$data/notes")" "recent: 1"
echo "The examples build and do their jobs."
