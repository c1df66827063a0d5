// One line of a listing (-t), made of an entry's header and name. CDirEntry::Print prints it.
#ifndef MOLDEX_ARCHIVE_ENTRY_INFO_H_
#define MOLDEX_ARCHIVE_ENTRY_INFO_H_

#include <string>

#include "archive/entry_header.h"
#include "report/user_info.h"

namespace moldex {

class CEntryInfo : public CUserInfo {
 public:
  CEntryInfo(const EntryHeader& header, const std::string& name) : header_(header), name_(name) {}

  // Type and attribute letters, size, date and name. Not flushed: a listing may be long.
  void Print() override;

 private:
  const EntryHeader& header_;
  const std::string& name_;
};

}  // namespace moldex

#endif  // MOLDEX_ARCHIVE_ENTRY_INFO_H_
