// Drives `tallyfin mcp` with the official MCP TypeScript SDK client on a home
// folder in a temp folder (HOME, the Trash and the data folder all inside it),
// then once with the MCP Inspector's command-line mode.
// Usage: node mcp_sdk_test.mjs /path/to/tallyfin

import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import { existsSync, mkdtempSync, mkdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join } from "node:path";
import { promisify } from "node:util";
import { fileURLToPath } from "node:url";

import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";

const binary = process.argv[2];
assert.ok(binary && existsSync(binary), "give the tallyfin binary as the first argument");

const root = mkdtempSync(join(tmpdir(), "tallyfin-mcp-e2e-"));
const home = join(root, "home");
const store = join(root, "data");
function file(relative, bytes) {
  const path = join(home, relative);
  mkdirSync(dirname(path), { recursive: true });
  writeFileSync(path, Buffer.alloc(bytes, 7));
  return path;
}
file(".npm/_cacache/content/blob", 12 << 20);
file("code/app/package.json", 20);
file("code/app/node_modules/lib/index.js", 2 << 20);
file("Documents/report.pdf", 3 << 20);
mkdirSync(store, { recursive: true });

const env = { HOME: home, XDG_DATA_HOME: join(home, ".local/share"), PATH: "/usr/bin:/bin", LANG: "C.UTF-8" };
const serverArgs = ["mcp", "--store", store, "--root", home];
const failures = [];

async function withClient(body) {
  const transport = new StdioClientTransport({ command: binary, args: serverArgs, env, stderr: "pipe" });
  const client = new Client({ name: "tallyfin-e2e", version: "1.0.0" });
  client.onerror = (error) => failures.push(`protocol error: ${error.message}`);
  await client.connect(transport);
  try {
    await body(client);
  } finally {
    await client.close();
  }
}

async function call(client, name, args = {}) {
  const result = await client.callTool({ name, arguments: args });
  return result;
}

function structured(result) {
  assert.equal(result.isError, false, result.content?.[0]?.text);
  return result.structuredContent;
}

try {
  await withClient(async (client) => {
    assert.equal(client.getServerVersion().name, "tallyfin");
    assert.match(client.getInstructions(), /^Tallyfin maps this computer's disk/);

    const { tools } = await client.listTools();
    assert.equal(tools.length, 15);
    assert.deepEqual(tools.slice(0, 3).map((tool) => tool.name), ["disk_status", "scan_disk", "list_cleanup_suggestions"]);

    const noScan = await call(client, "disk_status");
    assert.equal(noScan.isError, true);
    assert.match(noScan.content[0].text, /^No scan yet/);

    const scanned = structured(await call(client, "scan_disk"));
    assert.ok(scanned.disk.total > 0);
    const status = structured(await call(client, "disk_status"));
    assert.equal(status.scanned_at, scanned.scanned_at);
    assert.ok(status.safe_to_clean_bytes >= 12 << 20, JSON.stringify(status));

    const suggestions = structured(await call(client, "list_cleanup_suggestions", { safety: "safe" }));
    const cache = join(home, ".npm/_cacache");
    assert.ok(suggestions.items.some((item) => item.path === cache), JSON.stringify(suggestions));

    const folders = structured(await call(client, "biggest_folders", { path: "~", limit: 5 }));
    assert.equal(folders.path, home);
    assert.ok(folders.children.length > 0);

    const preview = structured(await call(client, "move_to_trash", { paths: [cache] }));
    assert.equal(preview.preview, true);
    assert.equal(preview.would_move.length, 1);
    assert.ok(existsSync(cache));

    const token = preview.preview_token;
    const forged = token.slice(0, -1) + (token.endsWith("0") ? "1" : "0");
    for (const bad of [forged, `${Math.floor(Date.now() / 1000) - 1}.${token.split(".")[1]}`]) {
      const refused = await call(client, "move_to_trash", { paths: [cache], confirm: true, preview_token: bad });
      assert.equal(refused.isError, true);
      assert.match(refused.content[0].text, /^Preview first/);
      assert.ok(existsSync(cache), "a forged or stale token moved nothing");
    }

    const moved = structured(await call(client, "move_to_trash", { paths: [cache], confirm: true, preview_token: token }));
    assert.deepEqual(moved.moved, [cache], JSON.stringify(moved));
    assert.ok(!existsSync(cache));
    assert.ok(existsSync(join(home, ".local/share/Trash/files/_cacache")));

    const undone = structured(await call(client, "undo_trash"));
    assert.equal(undone.batch, moved.batch);
    assert.deepEqual(undone.restored, [cache]);
    assert.ok(existsSync(join(cache, "content/blob")));
  });

  // The Inspector's CLI mode lists the tools through its own client.
  const inspector = join(dirname(fileURLToPath(import.meta.url)), "node_modules/.bin/mcp-inspector");
  const envArgs = Object.entries(env).flatMap(([key, value]) => ["-e", `${key}=${value}`]);
  const { stdout } = await promisify(execFile)(
    inspector, ["--cli", ...envArgs, binary, ...serverArgs, "--method", "tools/list"],
    { timeout: 120_000, env: { ...process.env, HOME: home } });
  const listed = JSON.parse(stdout);
  assert.equal(listed.tools.length, 15);
  assert.equal(listed.tools[14].name, "undo_trash");
} catch (error) {
  failures.push(error.stack ?? String(error));
} finally {
  rmSync(root, { recursive: true, force: true });
}

if (failures.length) {
  console.error(failures.join("\n"));
  process.exit(1);
}
console.log("MCP end-to-end: SDK client and Inspector CLI passed");
