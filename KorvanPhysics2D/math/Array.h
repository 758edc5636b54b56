#pragma once

// xArray<T>: the engine's one growable container. Elements are plain data,
// relocated by copying and never destroyed; storage comes 16-byte aligned from the
// array storage pool and is kept until the array is destroyed, so per-step lists
// reach a steady size and then stop allocating.
#include <KorvanPhysics2D/DebugCheck.h>
#include <KorvanPhysics2D/math/MemoryPool.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

namespace KorvanPHX2D {

template <class T>
class xArray {
 public:
  T* arr_ptrData;     // first element; null while no storage was ever allocated
  int arr_nSize;      // elements in use
  int arr_nCapacity;  // elements the storage holds; only ever grows

  // Smallest capacity after the first growth of a non-empty array.
  static constexpr int kMinCapacity = 10;

  // Empty, no storage.
  xArray() { initialize(0, 0); }
  // n elements, capacity exactly n.
  explicit xArray(int n) { initialize(n, n); }
  // Capacity exactly src.size(), elements copied.
  xArray(const xArray& src) {
    initialize(src.arr_nSize, src.arr_nSize);
    for (int i = 0; i < src.arr_nSize; ++i) arr_ptrData[i] = src.arr_ptrData[i];
  }
  // resize(src.size()), then element-wise copy (self-assignment leaves it unchanged).
  xArray& operator=(const xArray& src) {
    resize(src.arr_nSize);
    for (int i = 0; i < src.arr_nSize; ++i) arr_ptrData[i] = src.arr_ptrData[i];
    return *this;
  }
  // Returns the storage to the pool; what pointer elements point to is not deleted.
  ~xArray() {
    kvnAlignedFree(arr_ptrData);
    arr_ptrData = nullptr;
    arr_nSize = 0;
    arr_nCapacity = 0;
  }

  // Number of elements.
  int size() const { return arr_nSize; }
  int length() const { return size(); }

  // Element i; checked against [0, size) only in debug builds.
  T& operator[](int i) {
    KVN_CHECK(i >= 0 && i < arr_nSize, "xArray::operator[]", "index out of range");
    return arr_ptrData[i];
  }
  const T& operator[](int i) const {
    KVN_CHECK(i >= 0 && i < arr_nSize, "xArray::operator[]", "index out of range");
    return arr_ptrData[i];
  }
  // The last element.
  T& last() {
    KVN_CHECK(arr_nSize > 0, "xArray::last", "array is empty");
    return arr_ptrData[arr_nSize - 1];
  }
  const T& last() const {
    KVN_CHECK(arr_nSize > 0, "xArray::last", "array is empty");
    return arr_ptrData[arr_nSize - 1];
  }
  T* dataPtr() { return arr_ptrData; }
  const T* dataPtr() const { return arr_ptrData; }

  // Range-for support over the used elements.
  T* begin() { return arr_ptrData; }
  T* end() { return arr_ptrData + arr_nSize; }
  const T* begin() const { return arr_ptrData; }
  const T* end() const { return arr_ptrData + arr_nSize; }

  // resize(n, true).
  void resize(int n) { resize(n, true); }

  // Sets the size to n. Growth past the capacity reallocates with slack that rises
  // with the request (see growCapacity). With shrink, a size of at most a third of
  // the capacity (and above kMinCapacity) moves the elements to fresh storage of the SAME
  // capacity; the capacity never drops. Element types with a non-trivial default
  // constructor get it run on every element the size grows over.
  void resize(int n, bool shrink) {
    const int old = arr_nSize;
    arr_nSize = n;
    if (n > arr_nCapacity) {
      arr_nCapacity = growCapacity(n);
      realloc(old);
    } else if (shrink && n <= arr_nCapacity / 3 && n > kMinCapacity) {
      realloc(n < old ? n : old);
    }
    if constexpr (!std::is_trivially_default_constructible_v<T>) {
      if (arr_ptrData)
        for (int i = old; i < n; ++i) ::new (static_cast<void*>(arr_ptrData + i)) T();
    }
  }

  // Capacity for at least n elements, size 0.
  void preallocate(int n) {
    resize(n);
    arr_nSize = 0;
  }
  // Size 0; the storage is kept.
  void clear() { resize(0); }
  // Size 0 without the shrink test; same effect as clear().
  void fastClear() { resize(0, false); }

  // Appends a copy of v; v may be an element of this array.
  void append(const T& v) {
    if (arr_nSize < arr_nCapacity) {
      ::new (static_cast<void*>(arr_ptrData + arr_nSize)) T(v);
      ++arr_nSize;
    } else if (isContained(&v)) {
      // Growing would move v out from under us: append a copy instead.
      const T copy = v;
      append(copy);
    } else {
      resize(arr_nSize + 1, false);
      arr_ptrData[arr_nSize - 1] = v;
    }
  }
  void push(const T& v) { append(v); }
  // Grows by one and returns the new last element (default-constructed only for
  // element types with a constructor).
  T& push() {
    resize(arr_nSize + 1, false);
    return arr_ptrData[arr_nSize - 1];
  }
  // Appends other's elements in order; other may be this array.
  void append(const xArray& other) {
    const int old = arr_nSize;
    const int count = other.arr_nSize;
    resize(old + count, false);
    for (int i = 0; i < count; ++i) arr_ptrData[old + i] = other.arr_ptrData[i];
  }
  void push(const xArray& other) { append(other); }

  // Removes and returns the last element.
  T pop(bool shrink = true) {
    KVN_CHECK(arr_nSize > 0, "xArray::pop", "array is empty");
    const T v = arr_ptrData[arr_nSize - 1];
    resize(arr_nSize - 1, shrink);
    return v;
  }

  // Removes count elements from index on, moving the tail down in ascending order.
  void remove(int index, int count) {
    KVN_CHECK(index >= 0 && count >= 0 && index + count <= arr_nSize, "xArray::remove",
              "range out of bounds");
    for (int i = index; i + count < arr_nSize; ++i) arr_ptrData[i] = arr_ptrData[i + count];
    resize(arr_nSize - count);
  }
  // Removes the first element equal to v, which must be present.
  void remove(const T& v) {
    const int index = findIndex(v);
    KVN_CHECK(index >= 0, "xArray::remove", "value is not in the array");
    remove(index, 1);
  }
  // Index of the first element equal to v, -1 if none.
  int findIndex(const T& v) const {
    for (int i = 0; i < arr_nSize; ++i)
      if (arr_ptrData[i] == v) return i;
    return -1;
  }
  bool contains(const T& v) const { return findIndex(v) >= 0; }

  // Deletes every non-null element (pointer element types only), then size 0; the
  // storage is kept.
  void deleteAll() {
    if constexpr (std::is_pointer_v<T> && std::is_object_v<std::remove_pointer_t<T>>) {
      for (int i = 0; i < arr_nSize; ++i)
        if (arr_ptrData[i]) delete arr_ptrData[i];
      resize(0);
    } else {
      static_assert(std::is_pointer_v<T> && std::is_object_v<std::remove_pointer_t<T>>,
                    "deleteAll needs an array of object pointers");
    }
  }

 private:
  // Fields to zero; with m >= 1 sized to n (only the sign of m matters).
  void initialize(int n, int m) {
    arr_ptrData = nullptr;
    arr_nSize = 0;
    arr_nCapacity = 0;
    if (m < 1) return;
    resize(n);
  }

  // New capacity for a request of n > capacity elements: exactly n for an array
  // without storage, kMinCapacity for small requests, otherwise the slack scales with the
  // current storage size (x3, then x2 past 64000 bytes, then x1.5 past 400000).
  int growCapacity(int n) const {
    if (arr_nCapacity == 0) return n;
    if (n < kMinCapacity) return kMinCapacity;
    const std::size_t bytes = std::size_t(arr_nCapacity) * sizeof(T);
    const double factor = bytes > 400000 ? 1.5 : (bytes > 64000 ? 2.0 : 3.0);
    const int grown = static_cast<int>(factor * arr_nCapacity) - arr_nCapacity + n;
    return grown < kMinCapacity ? kMinCapacity : grown;
  }

  // Fresh storage for arr_nCapacity elements; the first keep elements are copied
  // over and the old storage goes back to the pool.
  void realloc(int keep) {
    T* oldData = arr_ptrData;
    T* data = static_cast<T*>(
        kvnAlignedAlloc(static_cast<std::uint32_t>(std::size_t(arr_nCapacity) * sizeof(T))));
    if (data && oldData) {
      const int count = keep < arr_nCapacity ? keep : arr_nCapacity;
      for (int i = 0; i < count; ++i) ::new (static_cast<void*>(data + i)) T(oldData[i]);
    }
    arr_ptrData = data;
    kvnAlignedFree(oldData);
  }

  // Whether p points at one of the used elements.
  bool isContained(const T* p) const {
    const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t lo = reinterpret_cast<std::uintptr_t>(arr_ptrData);
    return arr_ptrData && a >= lo && a < lo + std::uintptr_t(arr_nSize) * sizeof(T);
  }
};

}  // namespace KorvanPHX2D
