#pragma once

// Reads a PNG file into 8-bit RGBA pixels, for checking screenshots.
#include <cstdint>
#include <string>
#include <vector>

struct PngImage {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> rgba;  // row-major, 4 bytes per pixel

  // False when the file is missing or not a readable PNG (or PNG support was
  // not built in).
  bool load(const std::string& path);
  const std::uint8_t* pixel(int x, int y) const { return &rgba[(std::size_t(y) * width + x) * 4]; }
};
