// Everything that is printed as a unit: failures, the usage text, statistics, listing lines and
// the space report.
#ifndef MOLDEX_REPORT_USER_INFO_H_
#define MOLDEX_REPORT_USER_INFO_H_

#include <string>

namespace moldex {

class CUserInfo {
 public:
  // Replaces the object's text, where the object has one of its own.
  virtual void SetText(const std::string& /*text*/) {}
  // A slot for printable objects that are filled in steps; none needs it so far.
  virtual void Complete() {}
  // Writes the object's text (output.h).
  virtual void Print() = 0;
  virtual ~CUserInfo() = default;
};

}  // namespace moldex

#endif  // MOLDEX_REPORT_USER_INFO_H_
