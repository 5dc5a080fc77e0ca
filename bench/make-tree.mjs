// Makes a folder tree of a given number of files, the same on every run: many small folders, a few
// large ones, up to nine levels deep, names and extensions as on a working machine.
// node bench/make-tree.mjs FOLDER FILES [BELOW [MOST]]: files are smaller than BELOW bytes, and most
// folders have fewer than MOST of them.
import fs from "node:fs";
import path from "node:path";

const root = process.argv[2];
const [wanted, below = 200000, most = 16] = process.argv.slice(3).map(Number);
if (!root || !Number.isInteger(wanted) || wanted < 1 || fs.existsSync(root)) {
  console.error("usage: make-tree.mjs NEW_FOLDER FILES [BELOW [MOST]]");
  process.exit(2);
}

let state = 12345;
const random = (below) => {
  state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
  return Math.floor((state / 2 ** 32) * below);
};
const extensions = [".txt", ".jpg", ".cpp", ".dll", ".json", ".PNG", ".tar.gz", "", ".html"];

const folders = [root];
const depths = [0];
fs.mkdirSync(root);
let made = 0;
while (made < wanted) {
  const parent = random(folders.length);
  if (depths[parent] > 8) continue;
  const folder = path.join(folders[parent], `folder ${folders.length}`);
  fs.mkdirSync(folder);
  folders.push(folder);
  depths.push(depths[parent] + 1);
  const here = random(100) < 3 ? random(300) : random(most);
  for (let i = 0; i < here && made < wanted; ++i, ++made) {
    const file = path.join(folder, `document ${made}${extensions[random(extensions.length)]}`);
    const handle = fs.openSync(file, "w");
    fs.ftruncateSync(handle, random(below));
    fs.closeSync(handle);
  }
}
console.log(`${made} files in ${folders.length} folders`);
