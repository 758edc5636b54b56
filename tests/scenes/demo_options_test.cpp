// Command-line parsing of korvan-demo.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Options.h"

using KorvanDemo::DemoOptions;

namespace {

const std::vector<std::string> kScenes = {"showcase", "chain", "rain"};

struct Parsed {
  bool ok;
  DemoOptions options;
  std::string error;
};

Parsed parse(std::vector<std::string> args) {
  args.insert(args.begin(), "korvan-demo");
  std::vector<const char*> argv;
  for (const std::string& a : args) argv.push_back(a.c_str());
  Parsed p;
  p.ok = KorvanDemo::parseArguments(static_cast<int>(argv.size()), argv.data(), kScenes, p.options,
                                    p.error);
  return p;
}

TEST(DemoOptions, NoArgumentsRunTheShowcaseWithTheScenesOwnDefaults) {
  const Parsed p = parse({});
  ASSERT_TRUE(p.ok);
  EXPECT_EQ(p.options.scene, "showcase");
  EXPECT_EQ(p.options.steps, -1);
  EXPECT_LT(p.options.dt, 0.0f);
  EXPECT_FALSE(p.options.substeps);
  EXPECT_FALSE(p.options.sleep);
  EXPECT_FALSE(p.options.list);
  EXPECT_EQ(p.options.outDir, ".");
}

TEST(DemoOptions, ReadsEveryOptionInBothSpellingsAndInAnyOrder) {
  Parsed p = parse(
      {"--steps", "250", "chain", "--dt", "0.005", "--substeps", "--sleep", "--out", "/tmp/x y"});
  ASSERT_TRUE(p.ok) << p.error;
  EXPECT_EQ(p.options.scene, "chain");
  EXPECT_EQ(p.options.steps, 250);
  EXPECT_FLOAT_EQ(p.options.dt, 0.005f);
  EXPECT_TRUE(p.options.substeps);
  EXPECT_TRUE(p.options.sleep);
  EXPECT_EQ(p.options.outDir, "/tmp/x y");

  p = parse({"rain", "--steps=12", "--dt=0.02", "--out=out"});
  ASSERT_TRUE(p.ok) << p.error;
  EXPECT_EQ(p.options.steps, 12);
  EXPECT_FLOAT_EQ(p.options.dt, 0.02f);
  EXPECT_EQ(p.options.outDir, "out");

  EXPECT_TRUE(parse({"--list"}).options.list);
  EXPECT_TRUE(parse({"--help"}).options.help);
  EXPECT_TRUE(parse({"-h"}).options.help);
}

// Each bad argument gets one line that names it and ends with the usage.
TEST(DemoOptions, RefusesBadArgumentsWithOneLineNamingTheArgument) {
  const struct {
    std::vector<std::string> args;
    std::string named;
  } cases[] = {
      {{"--stpes", "10"}, "--stpes"},
      {{"--steps"}, "--steps"},
      {{"--steps", "abc"}, "abc"},
      {{"--steps", "0"}, "--steps"},
      {{"--steps", "-5"}, "-5"},
      {{"--steps", "12x"}, "12x"},
      {{"--steps", "99999999999"}, "--steps"},
      {{"--dt", "0"}, "--dt"},
      {{"--dt", "-0.01"}, "--dt"},
      {{"--dt", "nan"}, "nan"},
      {{"--dt", "inf"}, "inf"},
      {{"--dt", "2"}, "--dt"},
      {{"--dt"}, "--dt"},
      {{"--out"}, "--out"},
      {{"--out="}, "--out"},
      {{"--sleep=yes"}, "--sleep"},
      {{"pyramid"}, "pyramid"},
      {{"chain", "rain"}, "rain"},
      {{"-x"}, "-x"},
  };
  for (const auto& c : cases) {
    const Parsed p = parse(c.args);
    std::string shown;
    for (const std::string& a : c.args) shown += a + " ";
    EXPECT_FALSE(p.ok) << shown;
    EXPECT_NE(p.error.find(c.named), std::string::npos) << shown << "-> " << p.error;
    EXPECT_EQ(p.error.find('\n'), std::string::npos) << p.error;
    EXPECT_NE(p.error.find(KorvanDemo::usageLine()), std::string::npos) << p.error;
  }
}

TEST(DemoOptions, UnknownSceneErrorsListTheKnownScenes) {
  const Parsed p = parse({"pyramid"});
  ASSERT_FALSE(p.ok);
  EXPECT_NE(p.error.find("showcase, chain, rain"), std::string::npos) << p.error;
}

}  // namespace
