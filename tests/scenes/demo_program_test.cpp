// korvan-demo's command line, and the built program: exit statuses, listing,
// output files.
#include <gtest/gtest.h>
#include <scenes/Scene.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "DemoProcess.h"
#include "Options.h"

namespace {

struct Parsed {
  bool ok;
  KorvanDemo::DemoOptions options;
  std::string error;
};

// Parses a command line of korvan-demo that knows three scenes.
Parsed parse(std::vector<std::string> args) {
  args.insert(args.begin(), "korvan-demo");
  std::vector<const char*> argv;
  for (const std::string& a : args) argv.push_back(a.c_str());
  Parsed p;
  p.ok = KorvanDemo::parseArguments(static_cast<int>(argv.size()), argv.data(),
                                    {"showcase", "chain10", "rain60"}, p.options, p.error);
  return p;
}

TEST(DemoOptions, ReadsEveryOptionInBothSpellingsAndInAnyOrder) {
  using Fields = std::tuple<std::string, int, float, bool, bool, std::string, bool, bool>;
  const std::pair<std::vector<std::string>, Fields> cases[] = {
      // No arguments: the showcase with the scene's own steps and dt.
      {{}, {"showcase", -1, -1.0f, false, false, ".", false, false}},
      {{"--steps", "250", "chain10", "--dt", "0.005", "--substeps", "--sleep", "--out", "x y"},
       {"chain10", 250, 0.005f, true, true, "x y", false, false}},
      {{"rain60", "--steps=12", "--dt=0.02", "--out=out"},
       {"rain60", 12, 0.02f, false, false, "out", false, false}},
      {{"--list"}, {"showcase", -1, -1.0f, false, false, ".", true, false}},
      {{"-h"}, {"showcase", -1, -1.0f, false, false, ".", false, true}},
  };
  for (const auto& [args, expected] : cases) {
    const Parsed p = parse(args);
    ASSERT_TRUE(p.ok) << p.error;
    const KorvanDemo::DemoOptions& o = p.options;
    EXPECT_EQ(Fields(o.scene, o.steps, o.dt, o.substeps, o.sleep, o.outDir, o.list, o.help),
              expected);
  }
}

TEST(DemoOptions, ChoosesTheSolverFaithfulByDefault) {
  EXPECT_EQ(parse({}).options.solver, "faithful");
  EXPECT_EQ(parse({"--solver", "stable"}).options.solver, "stable");
  EXPECT_EQ(parse({"--solver=faithful", "rain60"}).options.solver, "faithful");
}

TEST(DemoProgram, BadArgumentsExitWithStatusTwoAndOneLineNamingTheArgumentAndTheUsage) {
  const std::string dir = freshFolder("bad_args");
  // clang-format off
  const std::pair<std::string, std::string> cases[] = {
      {"--stpes 10", "--stpes"}, {"--steps", "--steps"}, {"--steps abc", "abc"},
      {"--steps 0", "--steps"},  {"--steps 12x", "12x"}, {"--steps 99999999999", "--steps"},
      {"--dt -0.01", "--dt"},    {"--dt nan", "nan"},    {"--dt inf", "inf"},
      {"--dt 2", "--dt"},        {"--out=", "--out"},    {"--sleep=yes", "--sleep"},
      {"--solver fast", "fast"}, {"--solver", "--solver"},
      {"chain10 rain60", "rain60"},    {"-x", "-x"},           {"nonesuch", "'nonesuch' (scenes: show"}};
  // clang-format on
  for (const auto& [args, named] : cases) {
    const DemoProcess p = runDemo(args, dir);
    EXPECT_EQ(p.status, 2) << args;
    EXPECT_TRUE(p.out.empty()) << args;
    EXPECT_EQ(p.err.find('\n'), p.err.size() - 1) << args << ": " << p.err;
    EXPECT_NE(p.err.find(named), std::string::npos) << p.err;
    EXPECT_NE(p.err.find("usage: korvan-demo"), std::string::npos) << p.err;
  }
  EXPECT_FALSE(std::filesystem::exists(dir + "/showcase.html")) << "nothing was written";

  // An output folder that cannot be made is an error of its own.
  { std::ofstream(dir + "/file") << "x"; }
  const DemoProcess p = runDemo("chain10 --steps 2 --out file/sub", dir);
  EXPECT_EQ(p.status, 1);
  EXPECT_NE(p.err.find("file/sub"), std::string::npos) << p.err;
}

TEST(DemoProgram, SaysWhichSolverRan) {
  const std::string dir = freshFolder("solver");
  for (const char* solver : {"faithful", "stable"}) {
    const DemoProcess p = runDemo(std::string("chain10 --steps 5 --solver ") + solver, dir);
    EXPECT_EQ(p.status, 0) << p.err;
    EXPECT_NE(p.out.find(std::string(solver) + " solver"), std::string::npos) << p.out;
  }
}

TEST(DemoProgram, ListNamesEveryScene) {
  const DemoProcess p = runDemo("--list", freshFolder("list"));
  EXPECT_EQ(p.status, 0);
  for (const std::string& name : KorvanScenes::sceneNames()) {
    EXPECT_NE(p.out.find("  " + name + " "), std::string::npos) << name;
  }
}

TEST(DemoProgram, RunWritesAParsableTrajectoryAReplayPageAndASummary) {
  const std::string dir = freshFolder("run");
  const DemoProcess p = runDemo("chain10 --steps 120 --out results", dir);
  ASSERT_EQ(p.status, 0) << p.err;
  EXPECT_TRUE(p.err.empty()) << "stderr is not a terminal: no progress bar\n" << p.err;
  for (const char* field : {"korvan-demo: chain10", "steps       120 x 0.01 s", "ms per step",
                            "results/chain10.html", "results/chain10_trajectory.csv (1210 rows)"}) {
    EXPECT_NE(p.out.find(field), std::string::npos) << field << "\n" << p.out;
  }

  std::stringstream csv(readFile(dir + "/results/chain10_trajectory.csv"));
  std::string line;
  std::getline(csv, line);
  EXPECT_EQ(line, "step,time,body,x,y,angle,vx,vy,w,awake");
  int rows = 0;  // step by step, bodies 0 to 9 in each
  for (; std::getline(csv, line); ++rows) {
    std::vector<double> v;
    std::stringstream fields(line);
    for (std::string f; std::getline(fields, f, ',');) {
      std::size_t used = 0;
      v.push_back(std::stod(f, &used));
      ASSERT_EQ(used, f.size()) << line;
      ASSERT_TRUE(std::isfinite(v.back())) << line;
    }
    ASSERT_EQ(v.size(), 10u) << line;
    EXPECT_EQ(v[0], rows / 10) << line;
    EXPECT_NEAR(v[1], 0.01 * (rows / 10), 1e-4) << line;
    EXPECT_EQ(v[2], rows % 10) << line;
    EXPECT_TRUE(v[9] == 0.0 || v[9] == 1.0) << line;
  }
  EXPECT_EQ(rows, 1210);  // the start and 120 steps

  const std::string html = readFile(dir + "/results/chain10.html");
  EXPECT_NE(html.find("\"scene\":\"chain10\""), std::string::npos);
  EXPECT_NE(html.find("\"steps\":120"), std::string::npos);
}

// The summary says "came to rest" only when no body is awake at or above the
// engine's rest speeds; otherwise it counts the moving ones.
TEST(DemoProgram, SummarySaysCameToRestOnlyWhenNothingMoves) {
  const std::string dir = freshFolder("rest");
  const struct {
    const char* args;
    const char* line;
  } cases[] = {
      // A chain still swinging after half a second.
      {"chain10 --steps 50", "rest        10 of 10 bodies still moving (fastest "},
      // Everything asleep in the end.
      {"sleeping --sleep",
       "rest        every body came to rest (8 asleep, 0 below the rest speeds)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const DemoProcess p = runDemo(c.args, dir);
    ASSERT_EQ(p.status, 0) << p.err;
    EXPECT_NE(p.out.find(c.line), std::string::npos) << p.out;
    EXPECT_EQ(p.out.find("came to rest") != std::string::npos,
              std::string(c.line).find("came to rest") != std::string::npos)
        << p.out;
  }
  std::filesystem::remove_all(dir);
}

}  // namespace
