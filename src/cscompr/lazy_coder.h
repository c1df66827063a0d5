// An encoder or a decoder of one algorithm, allocated for the first stream that needs it and kept
// for those after it.
//
// Static data of their size (about 1.3 MB together) would make a system that is short of memory
// refuse to start the program at all, without a message of the program's own.
#ifndef MOLDEX_CSCOMPR_LAZY_CODER_H_
#define MOLDEX_CSCOMPR_LAZY_CODER_H_

#include <cstdlib>
#include <type_traits>

namespace cscompr {

// Without a destructor, so that library-wide objects that hold one need no code at the end of the
// process: its owner calls Free.
template <typename Coder>
class LazyCoder {
 public:
  // False when there is no memory.
  bool Allocate() {
    // Zero bytes are a valid coder that needs neither construction nor destruction. C programs link
    // this library without the C++ library, so there is no operator new.
    static_assert(std::is_trivially_copyable_v<Coder> && std::is_trivially_destructible_v<Coder>);
    if (coder_ == nullptr) coder_ = static_cast<Coder*>(std::calloc(1, sizeof(Coder)));
    return coder_ != nullptr;
  }

  void Free() {
    std::free(coder_);
    coder_ = nullptr;
  }

  Coder* operator->() const { return coder_; }

 private:
  Coder* coder_ = nullptr;
};

}  // namespace cscompr

#endif  // MOLDEX_CSCOMPR_LAZY_CODER_H_
