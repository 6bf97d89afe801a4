#!/bin/sh
# Installs the test-only MCP clients (once per lock file) and drives tallyfin mcp with them.
# Usage: tests/e2e/run-mcp-e2e.sh /path/to/tallyfin
set -eu
here=$(cd "$(dirname "$0")" && pwd)
command -v npm >/dev/null || { echo "npm is needed for the MCP end-to-end test (Node.js 20 or later)" >&2; exit 1; }
if ! cmp -s "$here/package-lock.json" "$here/node_modules/.installed-lock" 2>/dev/null; then
  (cd "$here" && npm ci --no-audit --no-fund --loglevel=error >&2)
  cp "$here/package-lock.json" "$here/node_modules/.installed-lock"
fi
exec node "$here/mcp_sdk_test.mjs" "$1"
