#include "cscompr/huffman/codes.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "cscompr/huffman/limits.h"

namespace cscompr {
namespace {

constexpr std::size_t kMaxNodes = kMaxSymbols + (kMaxSymbols - 1);

// A Huffman tree is built bottom-up: the two nodes of least weight get a common parent, which takes
// their place with the sum of their weights, until one node is left.

// A node that has no parent yet. The order is by weight and then by the height of the subtree,
// which keeps the longest code short. The heap decides between nodes that are equal in both.
struct HeapNode {
  std::uint32_t order = 0;  // weight << 8 | height
  std::uint32_t node = 0;
};

// A binary min-heap with the smallest node on top. A branch on which child is smaller would often
// be mispredicted, so the choice is computed instead. This needs a sentinel after the last node
// that is larger than all nodes.
class NodeHeap {
 public:
  [[nodiscard]] std::size_t Size() const { return size_; }
  [[nodiscard]] HeapNode Top() const { return nodes_[1]; }
  [[nodiscard]] HeapNode Last() const { return nodes_[size_]; }

  void Append(HeapNode node) { nodes_[++size_] = node; }

  // Without a branch, because used and unused symbols alternate at random.
  void AppendIf(bool is_used, HeapNode node) {
    nodes_[size_ + 1] = node;
    size_ += is_used ? 1U : 0U;
  }

  // Makes a heap of the nodes appended so far.
  void Arrange() {
    nodes_[size_ + 1] = kSentinel;
    for (std::size_t i = size_ / 2; i >= 1; --i)
      SiftDown(i);
  }

  HeapNode Pop() {
    const HeapNode top = nodes_[1];
    nodes_[1] = nodes_[size_];
    nodes_[size_--] = kSentinel;
    SiftDown(1);
    return top;
  }

  void ReplaceTop(HeapNode node) {
    nodes_[1] = node;
    SiftDown(1);
  }

 private:
  static constexpr HeapNode kSentinel = {~0U, 0};

  void SiftDown(std::size_t parent) {
    const HeapNode sinking = nodes_[parent];
    for (std::size_t child = 2 * parent; child <= size_; child = 2 * parent) {
      child += nodes_[child + 1].order <= nodes_[child].order ? 1U : 0U;
      if (sinking.order <= nodes_[child].order) break;
      nodes_[parent] = nodes_[child];
      parent = child;
    }
    nodes_[parent] = sinking;
  }

  std::array<HeapNode, kMaxSymbols + 2> nodes_{};  // 1 to size_, then the sentinel
  std::size_t size_ = 0;
};

// The tree as it grows. The leaves come first, numbered by symbol, then the inner nodes in the
// order of their creation.
struct Tree {
  std::size_t leaves = 0;
  std::size_t nodes = 0;
  std::size_t taken = 0;
  std::array<std::uint16_t, kMaxNodes> parents{};
  std::array<std::uint16_t, kMaxNodes> by_weight{};  // `taken` nodes, in the order of the heap
};

HeapNode Join(Tree& tree, HeapNode left, HeapNode right) {
  const std::size_t joint = tree.nodes++;
  for (const HeapNode& child : {left, right}) {
    tree.parents[child.node] = static_cast<std::uint16_t>(joint);
    tree.by_weight[tree.taken++] = static_cast<std::uint16_t>(child.node);
  }
  const std::uint32_t weight = (left.order >> 8) + (right.order >> 8);
  const std::uint32_t height = std::max(left.order & 0xFF, right.order & 0xFF) + 1;
  return {(weight << 8) | height, static_cast<std::uint32_t>(joint)};
}

Tree GrowTree(NodeHeap& heap, std::size_t leaves) {
  Tree tree;
  tree.leaves = leaves;
  tree.nodes = leaves;
  heap.Arrange();
  while (heap.Size() > 1) {
    const HeapNode least = heap.Pop();
    heap.ReplaceTop(Join(tree, least, heap.Top()));
  }
  return tree;
}

using LengthCounts = std::array<int, kMaxCodeBits + 1>;

// Too many codes have the longest length. Each round makes a shorter code one bit longer, which
// gives a place beside it to one of the codes that are too long.
void ShareOutOverflow(LengthCounts& counts, int max_bits, int overflow) {
  for (; overflow > 0; overflow -= 2) {
    int bits = max_bits - 1;
    while (counts[static_cast<std::size_t>(bits)] == 0)
      --bits;
    --counts[static_cast<std::size_t>(bits)];
    counts[static_cast<std::size_t>(bits) + 1] += 2;
    --counts[static_cast<std::size_t>(max_bits)];
  }
}

// Assigns the lengths again, the longest ones to the leaves of least weight.
void Reassign(const Tree& tree, const LengthCounts& counts, int max_bits,
              std::span<std::uint8_t> lengths) {
  std::size_t next = 0;
  for (int bits = max_bits; bits > 0; --bits) {
    for (int left = counts[static_cast<std::size_t>(bits)]; left > 0; ++next) {
      const std::size_t node = tree.by_weight[next];
      if (node >= tree.leaves) continue;
      lengths[node] = static_cast<std::uint8_t>(bits);
      --left;
    }
  }
}

// Stores the depth of every leaf, at most max_bits. A parent leaves the heap after its children, so
// a walk back from the root meets every parent before its children.
void MeasureDepths(const Tree& tree, int max_bits, std::span<std::uint8_t> lengths) {
  std::array<std::uint8_t, kMaxNodes> depths{};
  LengthCounts counts{};
  int overflow = 0;
  for (std::size_t i = tree.taken; i-- > 0;) {
    const std::size_t node = tree.by_weight[i];
    int depth = depths[tree.parents[node]] + 1;
    if (depth > max_bits) {
      depth = max_bits;
      ++overflow;
    }
    depths[node] = static_cast<std::uint8_t>(depth);
    if (node >= tree.leaves) continue;
    lengths[node] = static_cast<std::uint8_t>(depth);
    ++counts[static_cast<std::size_t>(depth)];
  }
  if (overflow == 0) return;
  ShareOutOverflow(counts, max_bits, overflow);
  Reassign(tree, counts, max_bits, lengths);
}

}  // namespace

void BuildCodeLengths(std::span<const std::uint32_t> frequencies, int max_bits,
                      std::span<std::uint8_t> lengths) {
  NodeHeap heap;
  for (std::uint32_t symbol = 0; symbol < frequencies.size(); ++symbol) {
    lengths[symbol] = 0;
    heap.AppendIf(frequencies[symbol] != 0, {frequencies[symbol] << 8, symbol});
  }
  bool any_used = heap.Size() > 0;
  std::uint32_t last_used = any_used ? heap.Last().node : 0;
  // The companion of a lone symbol is symbol 0, or the next one where that keeps both below 3.
  while (heap.Size() < 2) {
    const std::uint32_t next = any_used ? last_used + 1 : 0;
    const std::uint32_t companion = next < 3 ? next : 0;
    heap.Append({1U << 8, companion});
    last_used = std::max(last_used, companion);
    any_used = true;
  }
  const Tree tree = GrowTree(heap, frequencies.size());
  MeasureDepths(tree, max_bits, lengths);
}

}  // namespace cscompr
