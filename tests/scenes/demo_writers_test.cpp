// The trajectory file and the replay page written from a recording.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>

#include "CsvWriter.h"
#include "HtmlWriter.h"
#include "Progress.h"

using namespace KorvanDemo;

namespace {

TEST(TrajectoryCsv, WritesTheHeaderAndOneLinePerRow) {
  EXPECT_STREQ(TrajectoryCsv::header(), "step,time,body,x,y,angle,vx,vy,w,awake");
  TrajectoryRow row;
  row.step = 12;
  row.time = 0.12;
  row.body = 3;
  row.x = 1.5f;
  row.y = -2.25f;
  row.angle = 0.125f;
  row.vx = 0.0f;
  row.vy = 9.8100004f;
  row.w = -1.0f;
  row.awake = false;
  EXPECT_EQ(TrajectoryCsv::formatRow(row), "12,0.12,3,1.5,-2.25,0.125,0,9.81,-1,0");
}

TEST(TrajectoryCsv, KeepsNonFiniteValuesVisibleInsteadOfInventingNumbers) {
  TrajectoryRow row;
  row.x = std::numeric_limits<float>::quiet_NaN();
  row.y = std::numeric_limits<float>::infinity();
  row.angle = -std::numeric_limits<float>::infinity();
  EXPECT_EQ(TrajectoryCsv::formatRow(row), "0,0,0,nan,inf,-inf,0,0,0,1");
}

TEST(TrajectoryCsv, WritesAFileThatReadsBackLineByLine) {
  const std::string path = ::testing::TempDir() + "korvan_csv_test.csv";
  {
    TrajectoryCsv csv;
    ASSERT_TRUE(csv.open(path));
    for (int i = 0; i < 3; ++i) {
      TrajectoryRow row;
      row.step = i;
      row.body = 7;
      csv.write(row);
    }
    EXPECT_TRUE(csv.close());
  }
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, TrajectoryCsv::header());
  int n = 0;
  while (std::getline(in, line)) {
    EXPECT_EQ(line, std::to_string(n) + ",0,7,0,0,0,0,0,0,1");
    ++n;
  }
  EXPECT_EQ(n, 3);
  std::remove(path.c_str());
}

TEST(TrajectoryCsv, ReportsAFileThatCannotBeCreated) {
  TrajectoryCsv csv;
  EXPECT_FALSE(csv.open("/nonexistent-folder/korvan/trajectory.csv"));
}

Recording sampleRecording() {
  Recording r;
  r.scene = "sample";
  r.description = "ends a script early: </script><script>alert(1)</script> & \"quotes\"";
  r.dt = 0.01f;
  r.steps = 2;
  r.settings = "substeps off, sleeping off";
  r.view = {-2.0f, -3.0f, 2.0f, 1.0f};
  TrackedBody ball;
  ball.label = "ball";
  ball.shape.kind = DrawKind::Circle;
  ball.shape.radius = 0.5f;
  r.bodies.push_back(ball);
  StaticPiece ground;
  ground.shape.kind = DrawKind::Segment;
  ground.shape.x0 = -2.0f;
  ground.shape.x1 = 2.0f;
  r.statics.push_back(ground);
  for (int s = 0; s <= 2; ++s) {
    Frame f;
    f.step = s;
    f.time = 0.01f * static_cast<float>(s);
    BodyState b;
    b.x = 0.25f;
    b.y = -1.0f + 0.125f * static_cast<float>(s);
    b.angle = s == 2 ? std::numeric_limits<float>::quiet_NaN() : 0.0f;
    b.awake = s < 2;
    f.bodies.push_back(b);
    if (s == 1) f.contacts.push_back({0.25f, -0.5f, 0.0f, 1.0f});
    r.frames.push_back(f);
  }
  return r;
}

TEST(ReplayPage, EmbedsCompactFramesWithTrimmedNumbersAndNullForNonFinite) {
  const std::string json = recordingToJson(sampleRecording());
  EXPECT_NE(json.find("\"b\":[0,0.25,-1,0,1]"), std::string::npos) << json;
  EXPECT_NE(json.find("\"b\":[0,0.25,-0.875,0,1],\"c\":[0.25,-0.5,0,1]"), std::string::npos)
      << json;
  EXPECT_NE(json.find("\"b\":[0,0.25,-0.75,null,0]"), std::string::npos) << json;
  EXPECT_NE(json.find("\"view\":[-2,-3,2,1]"), std::string::npos) << json;
  EXPECT_NE(json.find("\"shape\":{\"kind\":\"circle\",\"r\":0.5}"), std::string::npos) << json;
  EXPECT_NE(json.find("\"kind\":\"segment\",\"x0\":-2,\"y0\":0,\"x1\":2,\"y1\":0"),
            std::string::npos)
      << json;
}

TEST(ReplayPage, EscapesTextSoThatItCannotCloseTheScriptElement) {
  const std::string json = recordingToJson(sampleRecording());
  EXPECT_EQ(json.find('<'), std::string::npos) << json;
  EXPECT_NE(json.find("\\u003c/script\\u003e"), std::string::npos);
  EXPECT_NE(json.find("\\\"quotes\\\""), std::string::npos);
  const std::string page = replayHtml(sampleRecording());
  // One data element and one player script, nothing else that runs.
  std::size_t scripts = 0;
  for (std::size_t at = page.find("<script"); at != std::string::npos;
       at = page.find("<script", at + 1)) {
    ++scripts;
  }
  EXPECT_EQ(scripts, 2u);
}

TEST(ReplayPage, IsSelfContained) {
  const std::string page = replayHtml(sampleRecording());
  EXPECT_EQ(page.find("http://"), std::string::npos);
  EXPECT_EQ(page.find("https://"), std::string::npos);
  EXPECT_EQ(page.find(" src="), std::string::npos);
  EXPECT_EQ(page.find("<link"), std::string::npos);
  EXPECT_EQ(page.find("@import"), std::string::npos);
  EXPECT_NE(page.find("<canvas"), std::string::npos);
  EXPECT_NE(page.find("<title>korvan-demo: sample</title>"), std::string::npos);
  // Play/pause, time slider and speed control.
  EXPECT_NE(page.find("id=\"play\""), std::string::npos);
  EXPECT_NE(page.find("type=\"range\""), std::string::npos);
  EXPECT_NE(page.find("id=\"speed\""), std::string::npos);
}

TEST(ReplayPage, WriteFailsForAFolderThatDoesNotExist) {
  EXPECT_FALSE(writeReplayHtml("/nonexistent-folder/korvan/x.html", sampleRecording()));
}

TEST(ProgressBar, DrawsNothingWhenDisabledAndClearsItsLineWhenDone) {
  const std::string path = ::testing::TempDir() + "korvan_progress_test.txt";
  std::FILE* out = std::fopen(path.c_str(), "w+");
  ASSERT_NE(out, nullptr);
  ProgressBar quiet(10, false, out);
  quiet.update(5);
  quiet.finish();
  EXPECT_EQ(std::ftell(out), 0L);

  ProgressBar bar(4, true, out);
  bar.update(1);
  bar.update(1);  // same percentage: not redrawn
  bar.update(4);
  bar.finish();
  std::fflush(out);
  std::rewind(out);
  std::string text;
  for (int c = std::fgetc(out); c != EOF; c = std::fgetc(out)) text += static_cast<char>(c);
  std::fclose(out);
  std::remove(path.c_str());
  EXPECT_NE(text.find(" 25%  step 1/4"), std::string::npos) << text;
  EXPECT_EQ(text.find(" 25%", text.find(" 25%") + 1), std::string::npos) << text;
  EXPECT_NE(text.find("100%  step 4/4"), std::string::npos) << text;
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_EQ(text.back(), '\r');
}

}  // namespace
