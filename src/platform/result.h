// The result of a call at the seam that can fail: a value, or the reason why there is none.
//
// The reason is the system's error unless a header says otherwise. The call has also remembered it
// (report/system_error.h), so that a message made later can show it.
#ifndef MOLDEX_PLATFORM_RESULT_H_
#define MOLDEX_PLATFORM_RESULT_H_

#include <optional>
#include <utility>

#include "report/system_error.h"

namespace moldex {

template <typename T, typename Error = SystemError>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}
  Result(Error error) : error_(std::move(error)) {}

  explicit operator bool() const { return value_.has_value(); }
  bool ok() const { return value_.has_value(); }

  // Only for a result that is `ok`.
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

  T value_or(T other) const { return value_.value_or(std::move(other)); }
  // For a caller that does not ask why there is no value.
  const std::optional<T>& AsOptional() const { return value_; }

  // Only for a result that is not `ok`.
  const Error& error() const { return error_; }

  // A failure equals no value.
  bool operator==(const T& value) const { return value_ == value; }

 private:
  std::optional<T> value_;
  Error error_{};
};

// The result of a call that returns no value.
template <typename Error>
class [[nodiscard]] Result<void, Error> {
 public:
  Result() = default;
  Result(Error error) : ok_(false), error_(std::move(error)) {}

  explicit operator bool() const { return ok_; }
  bool ok() const { return ok_; }

  // Only for a result that is not `ok`.
  const Error& error() const { return error_; }

 private:
  bool ok_ = true;
  Error error_{};
};

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_RESULT_H_
