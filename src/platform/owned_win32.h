// Shared by the Win32 sources of this module only: owners of handles, searches and memory of the
// system.
//
// All are unique_ptr. The kinds differ in the call that gives them back and in the value that
// stands for none.
#ifndef MOLDEX_PLATFORM_OWNED_WIN32_H_
#define MOLDEX_PLATFORM_OWNED_WIN32_H_

#include <windows.h>

#include <memory>

namespace moldex {

// A handle as unique_ptr stores it. INVALID_HANDLE_VALUE, which calls return for none, becomes
// null.
class NullableHandle {
 public:
  NullableHandle(std::nullptr_t = nullptr) {}
  NullableHandle(HANDLE handle) : handle_(handle != INVALID_HANDLE_VALUE ? handle : nullptr) {}
  operator HANDLE() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

template <auto kGiveBack, typename Pointer = void*>
struct GiveBack {
  using pointer = Pointer;
  void operator()(Pointer owned) const { (void)kGiveBack(owned); }
};

template <auto kGiveBack, typename Pointer>
using Owned = std::unique_ptr<void, GiveBack<kGiveBack, Pointer>>;

using OwnedHandle = Owned<CloseHandle, NullableHandle>;
using OwnedSearch = Owned<FindClose, NullableHandle>;
using OwnedGlobal = Owned<GlobalFree, void*>;

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_OWNED_WIN32_H_
