// The built korvan-demo program: exit statuses, listing, output files.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "DemoProcess.h"

namespace {

std::vector<std::string> split(const std::string& line, char sep) {
  std::vector<std::string> parts;
  std::stringstream s(line);
  std::string part;
  while (std::getline(s, part, sep)) parts.push_back(part);
  if (!line.empty() && line.back() == sep) parts.push_back("");
  return parts;
}

TEST(DemoProgram, BadArgumentsExitWithStatusTwoAndOneLineOfExplanation) {
  const std::string dir = freshFolder("bad_args");
  for (const std::string args :
       {"--steps", "--steps nope", "--dt 0", "--frobnicate", "no-such-scene", "chain rain"}) {
    const DemoProcess p = runDemo(args, dir);
    EXPECT_EQ(p.status, 2) << args;
    EXPECT_TRUE(p.out.empty()) << args;
    ASSERT_FALSE(p.err.empty()) << args;
    EXPECT_EQ(p.err.find('\n'), p.err.size() - 1) << args << ": " << p.err;
    EXPECT_NE(p.err.find("usage: korvan-demo"), std::string::npos) << p.err;
  }
  // Nothing was written.
  EXPECT_FALSE(std::filesystem::exists(dir + "/showcase.html"));
}

TEST(DemoProgram, ListNamesEveryScene) {
  const DemoProcess p = runDemo("--list", freshFolder("list"));
  EXPECT_EQ(p.status, 0);
  for (const char* name :
       {"showcase", "pyramid", "rain", "chain", "springs", "motor", "sleeping", "categories"}) {
    EXPECT_NE(p.out.find(std::string("  ") + name + " "), std::string::npos) << name;
  }
}

TEST(DemoProgram, RunWritesAParsableTrajectoryAReplayPageAndASummary) {
  const std::string dir = freshFolder("run");
  const DemoProcess p = runDemo("chain --steps 120 --out results", dir);
  ASSERT_EQ(p.status, 0) << p.err;
  // stderr is not a terminal here, so no progress bar.
  EXPECT_TRUE(p.err.empty()) << p.err;
  for (const char* field :
       {"korvan-demo: chain", "bodies      10", "steps       120 x 0.01 s", "contacts",
        "ms per step", "results/chain.html", "results/chain_trajectory.csv (1210 rows)"}) {
    EXPECT_NE(p.out.find(field), std::string::npos) << field << "\n" << p.out;
  }

  std::stringstream csv(readFile(dir + "/results/chain_trajectory.csv"));
  std::string line;
  std::getline(csv, line);
  EXPECT_EQ(line, "step,time,body,x,y,angle,vx,vy,w,awake");
  std::map<int, std::set<int>> bodiesPerStep;
  double lastTime = -1.0;
  int lastStep = -1;
  while (std::getline(csv, line)) {
    const std::vector<std::string> f = split(line, ',');
    ASSERT_EQ(f.size(), 10u) << line;
    std::vector<double> v;
    for (const std::string& s : f) {
      std::size_t used = 0;
      v.push_back(std::stod(s, &used));
      ASSERT_EQ(used, s.size()) << line;
      ASSERT_TRUE(std::isfinite(v.back())) << line;
    }
    const int step = static_cast<int>(v[0]);
    EXPECT_EQ(v[0], step);
    EXPECT_GE(step, lastStep) << line;
    if (step != lastStep) {
      EXPECT_GT(v[1], lastTime) << line;
      lastTime = v[1];
      lastStep = step;
    }
    EXPECT_NEAR(v[1], 0.01 * step, 1e-4) << line;
    EXPECT_TRUE(v[9] == 0.0 || v[9] == 1.0) << line;
    bodiesPerStep[step].insert(static_cast<int>(v[2]));
  }
  ASSERT_EQ(bodiesPerStep.size(), 121u);  // the start and every step
  for (const auto& [step, bodies] : bodiesPerStep) {
    EXPECT_EQ(bodies.size(), 10u) << "step " << step;
    EXPECT_EQ(*bodies.begin(), 0);
    EXPECT_EQ(*bodies.rbegin(), 9);
  }

  const std::string html = readFile(dir + "/results/chain.html");
  EXPECT_NE(html.find("\"scene\":\"chain\""), std::string::npos);
  EXPECT_NE(html.find("\"steps\":120"), std::string::npos);
}

TEST(DemoProgram, NoArgumentsRunTheShowcaseIntoTheCurrentFolder) {
  const std::string dir = freshFolder("default");
  const DemoProcess p = runDemo("--steps 3", dir);
  ASSERT_EQ(p.status, 0) << p.err;
  EXPECT_NE(p.out.find("korvan-demo: showcase"), std::string::npos) << p.out;
  EXPECT_NE(p.out.find("not judged"), std::string::npos) << p.out;
  EXPECT_TRUE(std::filesystem::exists(dir + "/showcase.html"));
  EXPECT_TRUE(std::filesystem::exists(dir + "/showcase_trajectory.csv"));
}

TEST(DemoProgram, SwitchesAreReportedInTheSummary) {
  const DemoProcess p =
      runDemo("springs --steps 2 --substeps --sleep --dt 0.02", freshFolder("sw"));
  ASSERT_EQ(p.status, 0) << p.err;
  EXPECT_NE(p.out.find("2 x 0.02 s"), std::string::npos) << p.out;
  EXPECT_NE(p.out.find("substeps on, sleeping on"), std::string::npos) << p.out;
}

TEST(DemoProgram, AnOutputFolderThatCannotBeMadeIsAnErrorOfItsOwn) {
  const std::string dir = freshFolder("blocked");
  { std::ofstream(dir + "/file") << "x"; }
  const DemoProcess p = runDemo("chain --steps 2 --out file/sub", dir);
  EXPECT_EQ(p.status, 1);
  EXPECT_NE(p.err.find("file/sub"), std::string::npos) << p.err;
}

}  // namespace
