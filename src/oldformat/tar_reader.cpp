#include "oldformat/tar_reader.h"

#include <algorithm>

#include "report/except.h"

namespace moldex {
namespace {

constexpr std::size_t kPieceBytes = 65536;

TarBlock AsBlock(std::span<const std::uint8_t> bytes) { return bytes.first<kTarBlockBytes>(); }

std::string UpToZero(const std::string& text) { return text.substr(0, text.find('\0')); }

// Sets the size of the data, for kinds that can have any.
void ApplySize(const PaxRecords& records, TarHeader* header) {
  if (records.data_bytes && header->kind == TarKind::kHardLink) {
    header->doubtful_bytes = *records.data_bytes;
  }
  const bool has_data = header->kind == TarKind::kFile || header->kind == TarKind::kSparseFile ||
                        header->kind == TarKind::kUnknown;
  if (!records.data_bytes || !has_data) return;
  header->data_bytes = *records.data_bytes;
  if (header->kind != TarKind::kSparseFile) header->size_bytes = *records.data_bytes;
}

void ApplySparse(PaxRecords records, TarHeader* header) {
  if (!records.is_sparse || header->kind != TarKind::kFile) return;
  header->kind = TarKind::kSparseFile;
  if (records.sparse_name) header->name = std::move(*records.sparse_name);
  header->size_bytes = records.sparse_size_bytes.value_or(header->data_bytes);
}

}  // namespace

// Records override a name that was announced, and both override the header.
void CTarReader::Apply(Announced announced, TarHeader* header) {
  PaxRecords& records = announced.records;
  if (announced.name) header->name = std::move(*announced.name);
  if (announced.link_target) header->link_target = std::move(*announced.link_target);
  if (records.path) header->name = std::move(*records.path);
  if (records.link_path) header->link_target = std::move(*records.link_path);
  if (records.modified_seconds) header->modified_seconds = *records.modified_seconds;
  ApplySize(records, header);
  ApplySparse(std::move(records), header);
  // Before there was a type for directories, a "/" at the end of the name marked one.
  if (header->kind == TarKind::kFile && header->name.ends_with('/')) {
    header->kind = TarKind::kDirectory;
  }
}

CTarReader::CTarReader(std::string archive_name, CProgress& progress)
    : archive_name_(std::move(archive_name)), progress_(progress) {
  if (!file_.Open(archive_name_, kOpenExisting)) throw COpenExcept(archive_name_);
  const auto status = file_.Status();
  if (!status) throw COpenExcept(archive_name_);
  identity_ = status->identity;
  reader_.emplace(file_, &progress_);
}

bool CTarReader::IsTar() {
  const auto bytes = reader_->Peek(kTarBlockBytes);
  if (reader_->Failed()) throw CReadExcept(archive_name_);
  return bytes.size() == kTarBlockBytes && IsTarHeader(AsBlock(bytes));
}

std::optional<TarHeader> CTarReader::Next() {
  Announced announced;
  announced.records.modified_seconds = default_seconds_;
  for (;;) {
    SkipData();
    auto header = ReadHeader();
    if (!header && announced.any) FailShort();
    if (!header) return std::nullopt;
    if (ReadAnnouncement(header->kind, &announced)) continue;
    Apply(std::move(announced), &*header);
    if (header->doubtful_bytes > 0 && DataFollow()) header->data_bytes = header->doubtful_bytes;
    BeginData(header->data_bytes);
    return header;
  }
}

// False for the header of an entry.
bool CTarReader::ReadAnnouncement(TarKind kind, Announced* announced) {
  switch (kind) {
    case TarKind::kLongName:
      announced->name = UpToZero(ReadRecord());
      break;
    case TarKind::kLongLink:
      announced->link_target = UpToZero(ReadRecord());
      break;
    case TarKind::kRecords:
      ReadRecords(&announced->records);
      break;
    case TarKind::kDefaults:
      ReadDefaults();
      announced->records.modified_seconds = default_seconds_;
      return true;
    case TarKind::kVolumeLabel:
      return true;
    default:
      return false;
  }
  announced->any = true;
  return true;
}

std::span<const std::uint8_t> CTarReader::Data() {
  if (data_left_ == 0) return {};
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(data_left_, kPieceBytes));
  const auto piece = reader_->Take(wanted);
  if (reader_->Failed()) throw CReadExcept(archive_name_);
  if (piece.empty()) FailShort();
  data_left_ -= piece.size();
  return piece;
}

void CTarReader::Rewind() {
  file_.SetPosition(0);
  reader_.emplace(file_, &progress_);
  default_seconds_.reset();
  data_left_ = padding_ = 0;
  ended_ = false;
}

// Empty at the end of the file.
std::optional<TarBlock> CTarReader::ReadBlock() {
  const auto bytes = reader_->Take(kTarBlockBytes);
  if (reader_->Failed()) throw CReadExcept(archive_name_);
  if (bytes.empty()) return std::nullopt;
  if (bytes.size() < kTarBlockBytes) FailShort();
  return AsBlock(bytes);
}

// Whether the next block is neither a header nor the archive's end. Then it is data, which are
// skipped by their size; a header has to follow them.
bool CTarReader::DataFollow() {
  const auto bytes = reader_->Peek(kTarBlockBytes);
  if (reader_->Failed()) throw CReadExcept(archive_name_);
  return bytes.size() == kTarBlockBytes && !IsZeroBlock(AsBlock(bytes)) &&
         !IsTarHeader(AsBlock(bytes));
}

TarBlock CTarReader::ReadWholeBlock() {
  const auto block = ReadBlock();
  if (!block) FailShort();
  return *block;
}

// Empty at the end of the archive.
std::optional<TarHeader> CTarReader::ReadHeader() {
  if (ended_) return std::nullopt;
  header_position_ = reader_->Position();
  const auto block = ReadBlock();
  ended_ = !block || IsZeroBlock(*block);
  if (ended_) return std::nullopt;
  auto header = IsTarHeader(*block) ? ParseTarHeader(*block) : std::nullopt;
  if (!header) FailDamaged();
  for (bool more = header->parts_follow; more;)
    more = MorePartsFollow(ReadWholeBlock());
  BeginData(header->data_bytes);
  return header;
}

void CTarReader::BeginData(std::uint64_t bytes) {
  data_left_ = bytes;
  padding_ = (kTarBlockBytes - bytes % kTarBlockBytes) % kTarBlockBytes;
}

// Moves to the next header. After data that were read only padding is left, and reading it costs
// less than a seek.
void CTarReader::SkipData() {
  if (data_left_ == 0) {
    const bool whole = reader_->Take(static_cast<std::size_t>(padding_)).size() == padding_;
    if (reader_->Failed()) throw CReadExcept(archive_name_);
    if (!whole) FailShort();
  } else {
    const auto skipped = reader_->Skip(data_left_ + padding_);
    if (!skipped) throw CReadExcept(archive_name_);
    if (*skipped == SkipResult::kBeyondEnd) FailShort();
  }
  data_left_ = padding_ = 0;
}

std::string CTarReader::ReadRecord() {
  if (data_left_ > kLongestTarRecord) FailTooLong(data_left_);
  std::string record;
  for (auto piece = Data(); !piece.empty(); piece = Data())
    record.append(piece.begin(), piece.end());
  return record;
}

void CTarReader::ReadRecords(PaxRecords* records) {
  CPaxParser parser(records);
  for (auto piece = Data(); !piece.empty(); piece = Data()) {
    if (parser.Feed({reinterpret_cast<const char*>(piece.data()), piece.size()})) continue;
    if (parser.too_long_bytes() > 0) FailTooLong(parser.too_long_bytes());
    FailDamaged();
  }
  if (!parser.AtRecordEnd()) FailDamaged();
}

// Names and sizes are no defaults: they can be those of one entry only.
void CTarReader::ReadDefaults() {
  PaxRecords records;
  records.modified_seconds = default_seconds_;
  ReadRecords(&records);
  default_seconds_ = records.modified_seconds;
}

void CTarReader::FailDamaged() const {
  throw CExcept(
      "MOLDEX: damaged header at byte " + std::to_string(header_position_) + " of " + archive_name_,
      kErrorOldFormat, false);
}

void CTarReader::FailTooLong(std::uint64_t bytes) const {
  throw CExcept("MOLDEX: name or record of " + std::to_string(bytes) +
                    " bytes is too long, at byte " + std::to_string(header_position_) + " of " +
                    archive_name_,
                kErrorOldFormat, false);
}

void CTarReader::FailShort() const {
  throw CExcept("MOLDEX: " + archive_name_ + " ends too early, in what begins at byte " +
                    std::to_string(header_position_),
                kErrorOldFormat, false);
}

}  // namespace moldex
