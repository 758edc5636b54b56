// The trajectory rows, the replay page and the progress bar of korvan-demo.
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

#include "CsvWriter.h"
#include "HtmlWriter.h"
#include "Progress.h"

using namespace KorvanDemo;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(TrajectoryCsv, FormatsRowsWithShortestNumbersAndKeepsNonFiniteValuesVisible) {
  TrajectoryRow row{12, 0.12, 3, 1.5f, -2.25f, 0.125f, 0.0f, 9.8100004f, -1.0f, false};
  EXPECT_EQ(TrajectoryCsv::formatRow(row), "12,0.12,3,1.5,-2.25,0.125,0,9.81,-1,0");
  row = TrajectoryRow{0, 0.0, 0, kNaN, kInf, -kInf};
  EXPECT_EQ(TrajectoryCsv::formatRow(row), "0,0,0,nan,inf,-inf,0,0,0,1");
}

Recording sampleRecording() {
  Recording r;
  r.scene = "sample";
  r.description = "ends a script early: </script><script>alert(1)</script> & \"quotes\"";
  r.steps = 2;
  r.view = {-2.0f, -3.0f, 2.0f, 1.0f};
  r.bodies.push_back({"ball", "body", {DrawKind::Circle, 0.5f}});
  r.statics.push_back({"solid", {DrawKind::Segment, 0, 0, 0, -2.0f, 0, 2.0f, 0}});
  for (int s = 0; s <= 2; ++s) {
    const float fs = static_cast<float>(s);
    Frame f{s,  0.01f * fs, {{0, 0.25f, -1.0f + 0.125f * fs, s == 2 ? kNaN : 0.0f, s < 2}}, {}, {},
            {}, {}};
    if (s == 1) f.contacts.push_back({0.25f, -0.5f, 0.0f, 1.0f});
    r.frames.push_back(f);
  }
  return r;
}

TEST(ReplayPage, EmbedsCompactFramesWithTrimmedNumbersAndNullForNonFinite) {
  const std::string json = recordingToJson(sampleRecording());
  for (const char* part :
       {"\"b\":[0,0.25,-1,0,1]", "\"b\":[0,0.25,-0.875,0,1],\"c\":[0.25,-0.5,0,1]",
        "\"b\":[0,0.25,-0.75,null,0]", "\"view\":[-2,-3,2,1]",
        "\"shape\":{\"kind\":\"circle\",\"r\":0.5}",
        "\"kind\":\"segment\",\"x0\":-2,\"y0\":0,\"x1\":2,\"y1\":0", "\\u003c/script\\u003e",
        "\\\"quotes\\\""}) {
    EXPECT_NE(json.find(part), std::string::npos) << part << "\n" << json;
  }
  EXPECT_EQ(json.find('<'), std::string::npos) << "text cannot close the script element";
}

TEST(ReplayPage, WritesSceneMarksOnlyForFramesThatHaveThem) {
  Recording r = sampleRecording();
  EXPECT_EQ(recordingToJson(r).find("\"l\":"), std::string::npos);
  EXPECT_EQ(recordingToJson(r).find("\"p\":"), std::string::npos);
  r.frames[1].lines.push_back({0.0f, -1.0f, 1.5f, kNaN});
  r.frames[1].lines.push_back({0.125f, 0.0f, 0.0f, 0.0f});
  r.frames[1].points.push_back({1.5f, -0.25f});
  const std::string json = recordingToJson(r);
  EXPECT_NE(json.find("\"j\":[],\"l\":[0,-1,1.5,null,0.125,0,0,0],\"p\":[1.5,-0.25]}"),
            std::string::npos)
      << json;
  EXPECT_EQ(json.find("\"l\":"), json.rfind("\"l\":")) << "marks of one frame only";
}

TEST(ReplayPage, IsSelfContainedWithOneDataElementAndOnePlayerScript) {
  const std::string page = replayHtml(sampleRecording());
  for (const char* outside : {"http://", "https://", " src=", "<link", "@import"}) {
    EXPECT_EQ(page.find(outside), std::string::npos) << outside;
  }
  int scripts = 0;
  for (auto at = page.find("<script"); at != std::string::npos; at = page.find("<script", at + 1)) {
    ++scripts;
  }
  EXPECT_EQ(scripts, 2);
  // A canvas, play/pause, time slider and speed control.
  for (const char* part : {"<canvas", "<title>korvan-demo: sample</title>", "id=\"play\"",
                           "type=\"range\"", "id=\"speed\""}) {
    EXPECT_NE(page.find(part), std::string::npos) << part;
  }
}

TEST(ProgressBar, DrawsNothingWhenDisabledAndRedrawsOnlyNewPercentagesOnOneLine) {
  std::FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  ProgressBar quiet(10, false, out);
  quiet.update(5);
  quiet.finish();
  EXPECT_EQ(std::ftell(out), 0L);

  ProgressBar bar(4, true, out);
  for (int done : {1, 1, 4}) bar.update(done);  // the second 25 % is not redrawn
  bar.finish();
  std::rewind(out);
  std::string text;
  for (int c = std::fgetc(out); c != EOF; c = std::fgetc(out)) text += static_cast<char>(c);
  std::fclose(out);
  EXPECT_NE(text.find(" 25%  step 1/4"), std::string::npos) << text;
  EXPECT_EQ(text.find(" 25%", text.find(" 25%") + 1), std::string::npos) << text;
  EXPECT_NE(text.find("100%  step 4/4"), std::string::npos) << text;
  EXPECT_EQ(text.find('\n'), std::string::npos) << "it clears its line instead";
  EXPECT_EQ(text.back(), '\r');
}

}  // namespace
