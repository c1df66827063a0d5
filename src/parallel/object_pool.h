// Objects that are large, or slow to make, for threads that need one for a while. Any thread may
// borrow and return.
#ifndef MOLDEX_PARALLEL_OBJECT_POOL_H_
#define MOLDEX_PARALLEL_OBJECT_POOL_H_

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace moldex {

template <typename Object>
class CObjectPool {
 public:
  // An object that was used before, or a new one.
  std::unique_ptr<Object> Borrow() {
    {
      const std::lock_guard lock(mutex_);
      if (!free_.empty()) {
        std::unique_ptr<Object> object = std::move(free_.back());
        free_.pop_back();
        return object;
      }
      free_.reserve(++made_);  // so that each can be returned without memory
    }
    return std::make_unique<Object>();
  }

  // Takes back an object that was borrowed here.
  void Return(std::unique_ptr<Object> object) noexcept {
    const std::lock_guard lock(mutex_);
    free_.push_back(std::move(object));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<Object>> free_;
  std::size_t made_ = 0;  // so many objects can be returned
};

}  // namespace moldex

#endif  // MOLDEX_PARALLEL_OBJECT_POOL_H_
