// A parser of PowerShell's language finds no fault in a script, and finds that each of its brackets has to
// stand where it stands: node --liftoff-only parse.mjs SCRIPT
// Without that option node compiles the parser for seconds, to make it faster than a second needs.
import { readFileSync } from "node:fs";
import { Language, Parser } from "web-tree-sitter";

await Parser.init();
const parser = new Parser();
parser.setLanguage(await Language.load("node_modules/tree-sitter-powershell/tree-sitter-powershell.wasm"));
const script = readFileSync(process.argv[2], "utf8");
const failures = [];

// Every node of the tree; a node that stands for a fault has no counterpart in the language.
function* nodes(node) {
  yield node;
  for (const child of node.children) yield* nodes(child);
}

const brackets = [];
for (const node of nodes(parser.parse(script).rootNode)) {
  const place = `line ${node.startPosition.row + 1}`;
  if (node.isError || node.isMissing) failures.push(`${place}: ${node.isError ? "no PowerShell" : "missing"}: ${node.text || node.type}`);
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
