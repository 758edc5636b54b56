// The replay page of a real run, loaded in headless Chromium: the screenshot
// shows bodies, and a later moment of the replay looks different.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "DemoProcess.h"
#include "PngImage.h"

namespace {

const char* const kChromium = "/usr/bin/chromium";

// Takes a screenshot of `url`; false if Chromium failed.
bool screenshot(const std::string& url, const std::string& png, const std::string& workDir,
                const std::string& extra = "") {
  static int run = 0;
  const std::string profile = workDir + "/profile" + std::to_string(++run);
  std::filesystem::remove_all(profile);
  const std::string command =
      std::string("timeout 120 ") + kChromium +
      " --headless --no-sandbox --disable-gpu --disable-quic --no-first-run"
      " --disable-background-networking --disable-component-update --disable-sync"
      " --user-data-dir='" +
      profile + "' --window-size=1000,750 " + extra + " --screenshot='" + png + "' '" + url +
      "' >'" + workDir + "/chromium.log' 2>&1";
  const int status = std::system(command.c_str());
  std::filesystem::remove_all(profile);
  return status == 0 && std::filesystem::exists(png);
}

bool near(const std::uint8_t* p, int r, int g, int b) {
  return std::abs(p[0] - r) + std::abs(p[1] - g) + std::abs(p[2] - b) < 24;
}

// Pixels in the colours the player gives to bodies (awake box, awake circle,
// asleep).
int bodyPixels(const PngImage& image) {
  int n = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const std::uint8_t* p = image.pixel(x, y);
      if (near(p, 0xf2, 0xa1, 0x4a) || near(p, 0x5a, 0xa5, 0xe6) || near(p, 0xa7, 0xac, 0xb4)) ++n;
    }
  }
  return n;
}

int canvasPixels(const PngImage& image) {
  int n = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) n += near(image.pixel(x, y), 0xf6, 0xf4, 0xee);
  }
  return n;
}

int differingPixels(const PngImage& a, const PngImage& b) {
  int n = 0;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const std::uint8_t* p = a.pixel(x, y);
      const std::uint8_t* q = b.pixel(x, y);
      n += std::abs(p[0] - q[0]) + std::abs(p[1] - q[1]) + std::abs(p[2] - q[2]) > 30;
    }
  }
  return n;
}

class ReplayInBrowser : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kChromium)) GTEST_SKIP() << "no " << kChromium;
#if !defined(KORVAN_HAVE_PNG)
    GTEST_SKIP() << "built without PNG support";
#endif
    dir_ = freshFolder("browser");
    const DemoProcess p = runDemo("showcase --steps 300 --out .", dir_);
    ASSERT_EQ(p.status, 0) << p.err;
    page_ = "file://" + std::filesystem::absolute(dir_ + "/showcase.html").string();
  }
  void TearDown() override {
    if (!dir_.empty()) std::filesystem::remove_all(dir_);
  }

  PngImage shot(const std::string& fragment, const std::string& name,
                const std::string& extra = "") {
    PngImage image;
    const std::string png = dir_ + "/" + name + ".png";
    EXPECT_TRUE(screenshot(page_ + fragment, png, dir_, extra)) << readFile(dir_ + "/chromium.log");
    EXPECT_TRUE(image.load(png)) << png;
    return image;
  }

  std::string dir_;
  std::string page_;
};

TEST_F(ReplayInBrowser, ShowsBodiesAndALaterMomentLooksDifferent) {
  const PngImage early = shot("#t=0.5", "early");
  const PngImage late = shot("#t=2.5", "late");
  ASSERT_EQ(early.width, 1000);
  ASSERT_EQ(early.height, 750);
  ASSERT_EQ(late.width, early.width);
  ASSERT_EQ(late.height, early.height);
  EXPECT_GT(canvasPixels(early), 100000);
  EXPECT_GT(bodyPixels(early), 1000);
  EXPECT_GT(bodyPixels(late), 1000);
  EXPECT_GT(differingPixels(early, late), 2000);
}

TEST_F(ReplayInBrowser, PlaybackStartsByItselfWithoutASeek) {
  const PngImage start = shot("#t=0", "start");
  // With virtual time the page plays for a while before the screenshot.
  const PngImage played = shot("", "played", "--virtual-time-budget=3000");
  ASSERT_EQ(start.width, played.width);
  ASSERT_EQ(start.height, played.height);
  EXPECT_GT(bodyPixels(played), 1000);
  EXPECT_GT(differingPixels(start, played), 2000);
}

}  // namespace
