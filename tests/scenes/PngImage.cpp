#include "PngImage.h"

#include <cstring>

#if defined(KORVAN_HAVE_PNG)
#include <png.h>
#endif

bool PngImage::load(const std::string& path) {
#if defined(KORVAN_HAVE_PNG)
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
  image.format = PNG_FORMAT_RGBA;
  rgba.assign(PNG_IMAGE_SIZE(image), 0);
  if (!png_image_finish_read(&image, nullptr, rgba.data(), 0, nullptr)) {
    png_image_free(&image);
    return false;
  }
  width = static_cast<int>(image.width);
  height = static_cast<int>(image.height);
  return true;
#else
  (void)path;
  return false;
#endif
}
