// One owner type per handle kind: UniqueHandle<Traits> closes its handle when it goes out of
// scope, so no error path closes anything by hand.
#pragma once

#include <utility>

namespace tarn {

// Traits: `using Type = ...; static Type Invalid(); static void Close(Type);`
// Close must keep the thread's last error intact (see win_handles.h).
template <typename Traits>
class UniqueHandle {
 public:
  using Type = typename Traits::Type;

  UniqueHandle() noexcept : value_(Traits::Invalid()) {}
  explicit UniqueHandle(Type value) noexcept : value_(value) {}
  UniqueHandle(UniqueHandle&& other) noexcept : value_(other.release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { reset(); }

  Type get() const noexcept { return value_; }
  bool valid() const noexcept { return value_ != Traits::Invalid(); }
  explicit operator bool() const noexcept { return valid(); }

  // Closes what is held and returns the slot for an API that writes a new handle into it.
  Type* put() noexcept {
    reset();
    return &value_;
  }

  void reset(Type value = Traits::Invalid()) noexcept {
    Type old = std::exchange(value_, value);
    if (old != Traits::Invalid()) Traits::Close(old);
  }

  [[nodiscard]] Type release() noexcept { return std::exchange(value_, Traits::Invalid()); }

 private:
  Type value_;
};

// Runs a clean-up when the scope ends, for the one-off cases no handle type covers.
template <typename F>
class ScopeExit {
 public:
  explicit ScopeExit(F f) noexcept : f_(std::move(f)) {}
  ScopeExit(const ScopeExit&) = delete;
  ScopeExit& operator=(const ScopeExit&) = delete;
  ~ScopeExit() {
    if (armed_) f_();
  }
  void dismiss() noexcept { armed_ = false; }

 private:
  F f_;
  bool armed_ = true;
};

template <typename F>
ScopeExit<F> scope_exit(F f) noexcept {
  return ScopeExit<F>(std::move(f));
}

}  // namespace tarn
