#!/usr/bin/env bash
# Builds everything in the default preset and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
exec cmake --workflow --preset default
