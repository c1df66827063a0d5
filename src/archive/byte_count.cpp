#include "archive/byte_count.h"

#include <new>

#include "archive/tree_walk.h"
#include "report/except.h"
#include "report/exit_status.h"
#include "report/status_line.h"
#include "report/system_error.h"

namespace moldex {
namespace {

class CByteCounter : public ITreeVisitor {
 public:
  explicit CByteCounter(const FileIdentity& archive) : archive_(archive) {}

  bool OnObject(const std::string& /*name*/, const FileStatus& status, bool is_start) override {
    if (is_start) return true;
    const bool counts = status.kind == FileKind::kRegular && status.identity != archive_;
    const std::uint64_t bytes = counts ? status.size_bytes : 0;
    total_ += bytes;
    status_line::CountedMore(bytes);
    return true;
  }
  void OnInaccessible(const std::string& /*name*/, const char* /*why*/) override {}
  void OnLinkWithoutTarget(const std::string& /*name*/) override {}

  std::uint64_t total() const { return total_; }

 private:
  const FileIdentity& archive_;
  std::uint64_t total_ = 0;
};

}  // namespace

std::uint64_t CountBytes(const CCmdLineOptions& options, const FileIdentity& archive) {
  const CSystemErrorGuard guard;
  const int status = ExitStatus();
  CByteCounter counter(archive);
  try {
    CTreeWalk(counter, options).WalkNames();
  } catch (const CInterruptExcept&) {
    throw;
  } catch (const CExcept&) {  // the creation will meet it, too, and say so
    SetExitStatus(status);
    return 0;
  } catch (const std::bad_alloc&) {  // the creation may well need less
    return 0;
  }
  return counter.total();
}

}  // namespace moldex
