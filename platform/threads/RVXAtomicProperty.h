#pragma once

#include <utility>

#include "platform/threads/RVXMutex.h"

// A value that is read and written whole, from any thread.
template <typename Value>
class RVXAtomicProperty {
 public:
  RVXAtomicProperty() = default;
  explicit RVXAtomicProperty(Value value) : mValue(std::move(value)) {}

  [[nodiscard]] Value get() const {
    const RVXMutexLock lock(mLock);
    return mValue;
  }

  void set(Value value) {
    const RVXMutexLock lock(mLock);
    mValue = std::move(value);
  }

 private:
  mutable RVXMutex mLock;
  Value mValue RVX_GUARDED_BY(mLock){};
};
