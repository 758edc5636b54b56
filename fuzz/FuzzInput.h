#pragma once

// Reads the fuzzer's bytes as the arguments of a sequence of operations. Once
// the bytes run out every read answers zero, so any input decodes completely.

#include <KorvanPhysics2D/math/MathTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace kvnfuzz {

class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return pos_ >= size_; }

  std::uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0u; }

  std::uint32_t u32() {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
    return v;
  }

  bool flag() { return (byte() & 1u) != 0u; }

  // A number in [0, n); 0 when n is 0.
  int below(int n) { return n > 0 ? static_cast<int>(byte() % static_cast<unsigned>(n)) : 0; }

  // Mostly the values that break arithmetic (0, signs, extremes, NaN,
  // infinities, subnormals), then small everyday numbers, then raw bits.
  float number() {
    static const float kSpecial[] = {0.0f,
                                     -0.0f,
                                     1.0f,
                                     -1.0f,
                                     0.5f,
                                     2.0f,
                                     10.0f,
                                     100.0f,
                                     1.0f / 60.0f,
                                     1.0e-30f,
                                     -1.0e-30f,
                                     1.0e30f,
                                     -1.0e30f,
                                     1.0e38f,
                                     -1.0e38f,
                                     std::numeric_limits<float>::max(),
                                     std::numeric_limits<float>::lowest(),
                                     std::numeric_limits<float>::min(),
                                     std::numeric_limits<float>::denorm_min(),
                                     std::numeric_limits<float>::quiet_NaN(),
                                     -std::numeric_limits<float>::quiet_NaN(),
                                     std::numeric_limits<float>::infinity(),
                                     -std::numeric_limits<float>::infinity(),
                                     4222483456.0f,
                                     8192.0f,
                                     16384.0f};
    constexpr int kSpecialCount = static_cast<int>(sizeof(kSpecial) / sizeof(kSpecial[0]));
    const std::uint8_t mode = byte();
    if (mode < 64) return kSpecial[mode % kSpecialCount];
    if (mode < 224) return static_cast<float>(static_cast<std::int8_t>(byte())) * 0.25f;
    const std::uint32_t bits = u32();
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
  }

  // Numbers that hosts normally use: positive and finite, from 1/64 to 32.
  float positive() { return static_cast<float>(1 + byte() % 128u) * 0.25f; }

  KorvanPHX2D::Vec2 vec2() {
    const float x = number();
    return KorvanPHX2D::Vec2(x, number());
  }

  KorvanPHX2D::Vec3 vec3() {
    const float x = number();
    const float y = number();
    return KorvanPHX2D::Vec3(x, y, number());
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

}  // namespace kvnfuzz
