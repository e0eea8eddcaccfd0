// SPDX-License-Identifier: GPL-3.0-or-later
// Makes the bundle: `node build.mjs [FOLDER]`, default dist. The same sources give the same bytes.
import { build } from "esbuild";
import { cpSync, mkdirSync, rmSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

const here = dirname(fileURLToPath(import.meta.url));
const out = process.argv[2] ?? join(here, "dist");

rmSync(out, { recursive: true, force: true });
mkdirSync(out, { recursive: true });
await build({
  absWorkingDir: here,
  entryPoints: { app: "src/app.ts", elements: "src/elements/index.ts", example: "src/example.ts" },
  outdir: out,
  bundle: true,
  format: "esm",
  target: "es2022",
  minify: true,
  legalComments: "none",
  charset: "utf8",
  logLevel: "warning",
});
await build({
  absWorkingDir: here,
  entryPoints: { app: "src/app.css", example: "src/example.css" },
  outdir: out,
  bundle: true,
  minify: true,
  external: ["*.woff2"],
  target: "chrome110",
  logLevel: "warning",
});
for (const file of ["index.html", "example.html"]) cpSync(join(here, "src", file), join(out, file));
cpSync(join(here, "fonts"), join(out, "fonts"), { recursive: true });
