#include "archive/byte_count.h"

#include <new>

#include "archive/tree_walk.h"
#include "report/system_error.h"

namespace moldex {
namespace {

class CByteCounter : public ITreeVisitor {
 public:
  CByteCounter(const FileIdentity& archive, CProgress& progress)
      : archive_(archive), progress_(progress) {}

  bool OnObject(const std::string& /*name*/, const FileStatus& status, bool is_start) override {
    if (is_start) return true;
    const bool counts = status.kind == FileKind::kRegular && status.identity != archive_;
    const std::uint64_t bytes = counts ? status.size_bytes : 0;
    total_ += bytes;
    progress_.Advance(bytes);
    return true;
  }
  // The creation meets all of these, too, and reports them.
  void OnInaccessible(const std::string& /*name*/, const char* /*why*/) override {}
  void OnLinkWithoutTarget(const std::string& /*name*/) override {}
  void OnCutOffDirectory() override { complete_ = false; }

  std::uint64_t Total() const { return complete_ ? total_ : 0; }

 private:
  const FileIdentity& archive_;
  CProgress& progress_;
  std::uint64_t total_ = 0;
  bool complete_ = true;
};

}  // namespace

std::uint64_t CountBytes(const CCmdLineOptions& options, const FileIdentity& archive,
                         CProgress& progress) {
  const CSystemErrorGuard guard;
  CByteCounter counter(archive, progress);
  try {
    CTreeWalk(counter, options).WalkNames();
  } catch (const std::bad_alloc&) {  // the creation may well need less
    return 0;
  }
  return counter.Total();
}

}  // namespace moldex
