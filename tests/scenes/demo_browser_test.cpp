// The replay page of a real run in headless Chromium: while it plays the
// canvas shows bodies, and a later moment of the run looks different.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#if defined(KORVAN_HAVE_PNG)
#include <png.h>
#endif

#include "DemoProcess.h"

namespace {

const char* const kChromium = "/usr/bin/chromium";

// 8-bit RGBA pixels of a PNG file; empty when unreadable.
std::vector<unsigned char> loadPng(const std::string& path) {
  std::vector<unsigned char> rgba;
#if defined(KORVAN_HAVE_PNG)
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return rgba;
  image.format = PNG_FORMAT_RGBA;
  rgba.assign(PNG_IMAGE_SIZE(image), 0);
  if (!png_image_finish_read(&image, nullptr, rgba.data(), 0, nullptr)) rgba.clear();
#endif
  (void)path;
  return rgba;
}

int distance(const unsigned char* p, int r, int g, int b) {
  return std::abs(p[0] - r) + std::abs(p[1] - g) + std::abs(p[2] - b);
}

// Pixels in the colours the player gives to bodies (awake box, awake circle, asleep).
int bodyPixels(const std::vector<unsigned char>& image) {
  int n = 0;
  for (std::size_t i = 0; i < image.size(); i += 4) {
    const unsigned char* p = &image[i];
    n += distance(p, 0xf2, 0xa1, 0x4a) < 24 || distance(p, 0x5a, 0xa5, 0xe6) < 24 ||
         distance(p, 0xa7, 0xac, 0xb4) < 24;
  }
  return n;
}

int differingPixels(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
  int n = 0;
  for (std::size_t i = 0; i < a.size(); i += 4) n += distance(&a[i], b[i], b[i + 1], b[i + 2]) > 30;
  return n;
}

// The replay page in `dir` after `playMs` of virtual time, opened at `hash`
// ("" lets it play from the start; "#t=2.5" shows that moment), as RGBA pixels.
// Runs headless Chromium on the replay page in `dir` opened at `hash` for
// `playMs` of virtual time, with `output` (a --screenshot or --dump-dom
// option); returns what it printed.
std::string openReplay(const std::string& dir, const std::string& name, int playMs,
                       const std::string& hash, const std::string& output) {
  const std::string command =
      std::string("timeout 120 ") + kChromium +
      " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
      " --disable-background-networking --disable-component-update --disable-sync"
      " --user-data-dir='" +
      name + "_profile' --window-size=1000,750" +
      " --virtual-time-budget=" + std::to_string(playMs) + " " + output + " 'file://" +
      std::filesystem::absolute(dir + "/showcase.html").string() + hash + "' >'" + name +
      ".log' 2>" + name + ".err";
  EXPECT_EQ(std::system(command.c_str()), 0) << readFile(name + ".err");
  return readFile(name + ".log");
}

// The page after `playMs` of virtual time, opened at `hash` ("" lets it play
// from the start; "#t=2.5" shows that moment), as RGBA pixels.
std::vector<unsigned char> shotAfter(const std::string& dir, int playMs, const std::string& hash) {
  const std::string name = dir + "/after" + std::to_string(playMs) + (hash.empty() ? "" : "_seek");
  openReplay(dir, name, playMs, hash, "--screenshot='" + name + ".png'");
  return loadPng(name + ".png");
}

TEST(ReplayInBrowser, TheRunningReplayShowsBodiesAndALaterMomentLooksDifferent) {
  if (!std::filesystem::exists(kChromium)) GTEST_SKIP() << "no " << kChromium;
#if !defined(KORVAN_HAVE_PNG)
  GTEST_SKIP() << "built without PNG support";
#endif
  const std::string dir = freshFolder("browser");
  const DemoProcess p = runDemo("showcase --steps 300 --out .", dir);
  ASSERT_EQ(p.status, 0) << p.err;
  const std::vector<unsigned char> early = shotAfter(dir, 500, "");
  // The later moment is sought rather than played to: how far headless
  // playback gets within a virtual-time budget varies from run to run.
  const std::vector<unsigned char> late = shotAfter(dir, 500, "#t=2.5");
  ASSERT_EQ(early.size(), 1000u * 750u * 4u) << "a 1000 x 750 screenshot";
  ASSERT_EQ(late.size(), early.size());
  EXPECT_GT(bodyPixels(early), 1000);
  EXPECT_GT(bodyPixels(late), 1000);
  EXPECT_GT(differingPixels(early, late), 2000);
  std::filesystem::remove_all(dir);
}

// Seeking to the end of the run shows its last step, although the engine's
// float clock puts the last frame a hair after the nominal end.
TEST(ReplayInBrowser, SeekingToTheEndShowsTheLastStep) {
  if (!std::filesystem::exists(kChromium)) GTEST_SKIP() << "no " << kChromium;
  const std::string dir = freshFolder("browser_end");
  const DemoProcess p = runDemo("showcase --steps 1000 --out .", dir);
  ASSERT_EQ(p.status, 0) << p.err;
  for (const char* hash : {"#t=10", "#t=9.999", "#t=99"}) {
    SCOPED_TRACE(hash);
    const std::string dom = openReplay(dir, dir + "/end", 200, hash, "--dump-dom");
    EXPECT_NE(dom.find("(step 1000 of 1000)"), std::string::npos) << dom.substr(0, 2000);
  }
  const std::string start = openReplay(dir, dir + "/start", 200, "#t=0", "--dump-dom");
  EXPECT_NE(start.find("(step 0 of 1000)"), std::string::npos);
  std::filesystem::remove_all(dir);
}

}  // namespace
