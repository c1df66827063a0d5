// Remembers facts about the directories that an extraction writes into. Memory stays the same
// however many there are.
#ifndef MOLDEX_EXTRACTION_EXTRACTED_DIRECTORIES_H_
#define MOLDEX_EXTRACTION_EXTRACTED_DIRECTORIES_H_

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace moldex {

class CExtractedDirectories {
 public:
  // A directory that was made because something lies below it. Only the latest of very many are
  // remembered. A path is known by the spelling that it was given in.
  void NoteMade(const std::string& path) { SlotOf(path) = HashOf(path); }
  bool HasMade(const std::string& path) { return SlotOf(path) == HashOf(path); }

  // A directory that no symbolic link leads to. The last one is known, and so are those above it.
  void NoteWithoutLinks(const std::string& name) { without_links_ = name + '/'; }
  // `name` ends with a separator.
  bool IsWithoutLinks(std::string_view name) const { return without_links_.starts_with(name); }

 private:
  static std::size_t HashOf(const std::string& path) { return std::hash<std::string>()(path); }
  std::size_t& SlotOf(const std::string& path) { return made_[HashOf(path) % made_.size()]; }

  std::array<std::size_t, 4096> made_{};
  std::string without_links_;
};

}  // namespace moldex

#endif  // MOLDEX_EXTRACTION_EXTRACTED_DIRECTORIES_H_
