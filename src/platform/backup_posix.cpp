// Backup streams on a system that has none. The layout is the same, made from what a file has here:
// its bytes become the data stream, and its extended attributes in the user's name space become the
// extended attributes. Security descriptors and named streams have no place here and are passed
// over.
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "platform/backup_context_posix.h"
#include "platform/file_handle.h"
#include "report/system_error.h"

namespace moldex {
namespace {

constexpr char kUserSpace[] = "user.";
constexpr std::size_t kUserSpaceLength = sizeof(kUserSpace) - 1;

std::vector<char> AttributeNames(int descriptor) {
  const ssize_t size = flistxattr(descriptor, nullptr, 0);
  if (size <= 0) return {};
  std::vector<char> names(static_cast<std::size_t>(size));
  const ssize_t got = flistxattr(descriptor, names.data(), names.size());
  names.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return names;
}

std::vector<ExtendedAttribute> ReadAttributes(int descriptor) {
  std::vector<ExtendedAttribute> list;
  std::size_t space = kLongestExtended;
  const std::vector<char> names = AttributeNames(descriptor);
  for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
    const char* name = &names[at];
    if (std::strncmp(name, kUserSpace, kUserSpaceLength) != 0) continue;
    const ssize_t size = fgetxattr(descriptor, name, nullptr, 0);
    if (size < 0 || static_cast<std::size_t>(size) > space) continue;
    space -= static_cast<std::size_t>(size);
    std::vector<std::uint8_t> value(static_cast<std::size_t>(size));
    if (fgetxattr(descriptor, name, value.data(), value.size()) != size) continue;
    list.push_back({name + kUserSpaceLength, std::move(value)});
  }
  return list;
}

void AppendHead(const StreamHead& head, std::vector<std::uint8_t>* bytes) {
  const std::size_t start = bytes->size();
  bytes->resize(start + kStreamIdBytes);
  EncodeStreamHead(head, std::span<std::uint8_t, kStreamIdBytes>(&(*bytes)[start], kStreamIdBytes));
}

}  // namespace

Result<std::size_t> CFileHandle::BackupRead(std::span<std::uint8_t> buffer) {
  if (!backup_) {
    const auto status = Status();
    if (!status) return status.error();
    backup_ = std::make_unique<BackupContext>();
    backup_->data_left = status->size_bytes;
    const auto attributes = EncodeExtendedAttributes(ReadAttributes(static_cast<int>(handle_)));
    if (!attributes.empty()) {
      AppendHead({kStreamExtended, 0, attributes.size(), 0}, &backup_->front);
      backup_->front.insert(backup_->front.end(), attributes.begin(), attributes.end());
    }
    AppendHead({kStreamData, 0, status->size_bytes, 0}, &backup_->front);
  }
  BackupContext& context = *backup_;
  const std::size_t front = std::min(buffer.size(), context.front.size() - context.front_done);
  std::copy_n(context.front.data() + context.front_done, front, buffer.data());
  context.front_done += front;
  const std::size_t wanted =
      static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size() - front, context.data_left));
  const auto count = Read(buffer.subspan(front, wanted));
  if (!count) return count;
  if (*count < wanted) return RememberErrno(EIO);  // the file has become shorter
  context.data_left -= wanted;
  return front + wanted;
}

namespace {

// Restores into an open file.
class CFileSink : public IBackupSink {
 public:
  CFileSink(CFileHandle& file, int descriptor) : file_(file), descriptor_(descriptor) {}

  bool OnData(std::span<const std::uint8_t> bytes) override { return file_.WriteAll(bytes).ok(); }

  bool OnPosition(std::uint64_t position) override {
    if (lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) >= 0) return true;
    RememberSystemError();
    return false;
  }

  // A file system without such attributes keeps the file without them.
  bool OnExtendedAttributes(std::span<const std::uint8_t> bytes) override {
    while (const auto attribute = TakeExtendedAttribute(&bytes)) {
      const std::string name = kUserSpace + std::string(attribute->name);
      (void)fsetxattr(descriptor_, name.c_str(), attribute->value.data(), attribute->value.size(),
                      0);
    }
    return true;
  }

 private:
  CFileHandle& file_;
  int descriptor_;
};

}  // namespace

Result<BackupPiece> CFileHandle::BackupWrite(std::span<const std::uint8_t> bytes) {
  const auto moved = MoveToSkipped();
  if (!moved) return moved.error();
  if (!backup_) backup_ = std::make_unique<BackupContext>();
  CFileSink sink(*this, static_cast<int>(handle_));
  if (!backup_->parser.Feed(bytes, sink)) return LastSystemError();
  return BackupPiece::kRestored;
}

Result<void> CFileHandle::EndBackup() {
  const auto context = std::move(backup_);
  if (!context || context->parser.AtStreamEnd()) return {};
  return RememberErrno(EIO);  // the archive's stream ends in the middle
}

}  // namespace moldex
