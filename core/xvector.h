// xvector: the library's growable array. Growing takes the larger of the
// request and one and a half times the capacity, so appends cost amortised
// constant time; shrinking only lowers the count and keeps the storage.
//
//   xum::xvector<unsigned char> bytes;
//   bytes.resize(16);        // 16 zero bytes, capacity 16
//   bytes.push_back(0xff);   // capacity max(17, 16 + 8) = 24
//
// Thread safety: a plain container; one writer at a time, or any number of
// readers.
#ifndef XUM_CORE_XVECTOR_H
#define XUM_CORE_XVECTOR_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "core/xexception.h"

namespace xum {

template <class T>
class xvector {
  // Storage comes from malloc, so it is aligned for any fundamental type only.
  static_assert(alignof(T) <= alignof(std::max_align_t), "over-aligned element type");

 public:
  using value_type = T;
  using iterator = T*;
  using const_iterator = const T*;

  xvector() noexcept = default;
  xvector(const xvector& other);
  xvector(xvector&& other) noexcept { swap(other); }
  xvector& operator=(const xvector& other);
  xvector& operator=(xvector&& other) noexcept;
  ~xvector() { reset(); }

  int size() const noexcept { return size_; }
  int capacity() const noexcept { return capacity_; }
  bool empty() const noexcept { return size_ == 0; }

  // The first element; null while no storage has been allocated.
  T* data() noexcept { return data_; }
  const T* data() const noexcept { return data_; }

  // Unchecked access; requires 0 <= i < size().
  T& operator[](int i) noexcept { return data_[i]; }
  const T& operator[](int i) const noexcept { return data_[i]; }

  T* begin() noexcept { return data_; }
  T* end() noexcept { return data_ + size_; }
  const T* begin() const noexcept { return data_; }
  const T* end() const noexcept { return data_ + size_; }

  // Sets the count to n. New elements are value-initialised (zero bytes for
  // arithmetic types); a smaller n destroys the surplus and keeps the
  // capacity. Throws xexception 0 when n is negative, std::bad_alloc (or
  // what the installed new-handler throws) when memory runs out.
  void resize(int n);

  // As resize, but new elements are left uninitialised: the caller writes
  // them before anything reads them. For element types that need no
  // construction, such as bytes.
  void resize_for_overwrite(int n);

  // Appends one element, growing by the rule above when full.
  void push_back(const T& value);
  void push_back(T&& value);

  // Destroys the elements; the capacity stays.
  void clear() noexcept;
  // Destroys the elements and frees the storage.
  void reset() noexcept;

  void swap(xvector& other) noexcept;

 private:
  // Makes room for at least `request` elements (request > capacity_). Kept
  // out of line so that the callers' fast paths stay small.
  [[gnu::noinline]] void grow(int request);
  // malloc (old null) or realloc of `count` elements, with operator new's
  // failure handling.
  static T* allocate(void* old, std::size_t count);

  T* data_ = nullptr;
  int size_ = 0;
  int capacity_ = 0;
};

// ---- implementation details ----

template <class T>
xvector<T>::xvector(const xvector& other) {
  if (other.size_ == 0) return;
  data_ = allocate(nullptr, static_cast<std::size_t>(other.size_));
  capacity_ = other.size_;
  try {
    std::uninitialized_copy(other.begin(), other.end(), data_);
  } catch (...) {
    std::free(data_);
    throw;
  }
  size_ = other.size_;
}

template <class T>
xvector<T>& xvector<T>::operator=(const xvector& other) {
  if (this != &other) {
    xvector copy(other);
    swap(copy);
  }
  return *this;
}

template <class T>
xvector<T>& xvector<T>::operator=(xvector&& other) noexcept {
  if (this != &other) {
    reset();
    swap(other);
  }
  return *this;
}

template <class T>
void xvector<T>::resize(int n) {
  if (n < 0) throw xexception(xexception::out_of_range);
  if (n > capacity_) grow(n);
  if (n > size_)
    std::uninitialized_value_construct(data_ + size_, data_ + n);
  else
    std::destroy(data_ + n, data_ + size_);
  size_ = n;
}

template <class T>
void xvector<T>::resize_for_overwrite(int n) {
  static_assert(std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>,
                "elements must need no construction");
  if (n < 0) throw xexception(xexception::out_of_range);
  if (n > capacity_) grow(n);
  size_ = n;
}

template <class T>
void xvector<T>::push_back(const T& value) {
  if (size_ < capacity_) {
    ::new (static_cast<void*>(data_ + size_)) T(value);
    ++size_;
  } else {
    // `value` may live in this vector, so copy it before the storage moves.
    T copy(value);
    push_back(std::move(copy));
  }
}

template <class T>
void xvector<T>::push_back(T&& value) {
  if (size_ == INT_MAX) throw xexception(xexception::out_of_range);
  if (size_ == capacity_) grow(size_ + 1);
  ::new (static_cast<void*>(data_ + size_)) T(std::move(value));
  ++size_;
}

template <class T>
void xvector<T>::clear() noexcept {
  std::destroy(data_, data_ + size_);
  size_ = 0;
}

template <class T>
void xvector<T>::reset() noexcept {
  clear();
  std::free(data_);
  data_ = nullptr;
  capacity_ = 0;
}

template <class T>
void xvector<T>::swap(xvector& other) noexcept {
  std::swap(data_, other.data_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
}

template <class T>
T* xvector<T>::allocate(void* old, std::size_t count) {
  const std::size_t bytes = count * sizeof(T);
  // Same contract as operator new: on failure ask the new-handler to free
  // memory (or throw) and try again; without a handler, throw bad_alloc.
  for (;;) {
    void* p = old ? std::realloc(old, bytes) : std::malloc(bytes);
    if (p) return static_cast<T*>(p);
    const std::new_handler handler = std::get_new_handler();
    if (!handler) throw std::bad_alloc();
    handler();
  }
}

template <class T>
void xvector<T>::grow(int request) {
  const std::int64_t wanted =
      std::max<std::int64_t>(request, std::int64_t{capacity_} + capacity_ / 2);
  const int capacity = static_cast<int>(std::min<std::int64_t>(wanted, INT_MAX));
  if constexpr (std::is_trivially_copyable_v<T>) {
    // realloc may extend the block in place (or remap its pages), which a
    // fresh allocation and a copy never can.
    data_ = allocate(data_, static_cast<std::size_t>(capacity));
  } else {
    T* fresh = allocate(nullptr, static_cast<std::size_t>(capacity));
    try {
      if constexpr (std::is_nothrow_move_constructible_v<T> || !std::is_copy_constructible_v<T>)
        std::uninitialized_move(data_, data_ + size_, fresh);
      else
        std::uninitialized_copy(data_, data_ + size_, fresh);
    } catch (...) {
      std::free(fresh);
      throw;
    }
    std::destroy(data_, data_ + size_);
    std::free(data_);
    data_ = fresh;
  }
  capacity_ = capacity;
}

}  // namespace xum

#endif  // XUM_CORE_XVECTOR_H
