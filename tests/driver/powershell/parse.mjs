// A parser of PowerShell's language finds no fault in a script, and finds one when any of its brackets is
// removed: node --liftoff-only parse.mjs SCRIPT
// Without that option node optimises the parser for several seconds, although parsing takes less than one.
import { readFileSync } from "node:fs";
import { Language, Parser } from "web-tree-sitter";

await Parser.init();
const parser = new Parser();
parser.setLanguage(await Language.load("node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm"));
const script = readFileSync(process.argv[2], "utf8");
const failures = [];

// Every node of the tree. Error nodes mark faults.
function* nodes(node) {
  yield node;
  for (const child of node.children) yield* nodes(child);
}

const brackets = [];
for (const node of nodes(parser.parse(script).rootNode)) {
  const place = `line ${node.startPosition.row + 1}`;
  const fault = node.isError ? "no PowerShell" : "missing";
  if (node.isError || node.isMissing) failures.push(`${place}: ${fault}: ${node.text || node.type}`);
  if (/^[(){}]$/.test(node.type)) brackets.push([node.startIndex, place]);
}
for (const [index, place] of brackets) {
  const tree = parser.parse(script.slice(0, index) + script.slice(index + 1));
  if (!tree.rootNode.hasError) failures.push(`${place}: a missing bracket is not found`);
  tree.delete();
}
if (brackets.length < 100) failures.push(`only ${brackets.length} brackets`);
console.log(failures.join("\n") || `no fault, and ${brackets.length} brackets`);
process.exitCode = failures.length > 0 ? 1 : 0;
