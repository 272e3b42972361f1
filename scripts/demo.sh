#!/usr/bin/env bash
# Builds the library and the xum tool, then runs the main job: `xum demo` on
# the bundled sample data.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target xum
exec ./build/default/tools/xum demo samples
