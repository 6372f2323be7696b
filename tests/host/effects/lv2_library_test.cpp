// The search for effects: what is found, what can't be used and why, and what is not looked at again.
#include "tests/host/effects/bundles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace {
using namespace host;

std::vector<std::string> Lines(const std::vector<EffectInfo>& list) {
    std::vector<std::string> lines;
    for (const EffectInfo& e : list) lines.push_back(ToJson(e).dump());
    return lines;
}

EffectInfo Named(const std::vector<EffectInfo>& list, const std::string& name) {
    const auto found = std::ranges::find(list, name, &EffectInfo::name);
    return found == list.end() ? EffectInfo{.problem = "is not listed"} : *found;
}

class Lv2LibraryTest : public testing::Test {
protected:
    Lv2LibraryTest() : options(bundles.Options()) {
        const auto counter = bundles.folder / "count.sh";
        std::ofstream(counter) << "echo >> " << Launched() << "\nexec " << options.scanProgram[0] << "\n";
        options.scanProgram = {"sh", counter};
    }
    std::string Launched() const { return bundles.folder / "launched"; }
    int Launches() const {
        std::error_code none;
        const auto size = std::filesystem::file_size(Launched(), none);
        return none ? 0 : static_cast<int>(size);
    }
    std::vector<EffectInfo> Search() const {
        const Lv2Library library(options);
        library.Wait();
        EXPECT_EQ(library.Problem(), "");
        return library.List();
    }

    Bundles bundles;
    Lv2LibraryOptions options;
};

TEST_F(Lv2LibraryTest, WhatCantBeUsedIsListedWithTheReasonAndNotTriedAgain) {
    struct Row {
        const char* name;
        std::string turtle;
        const char* problem;
    };
    const auto plugin = Bundles::Plugin;
    const std::string cv = Bundles::Port(6, "six", "a lv2:InputPort , lv2:CVPort");
    const std::vector<Row> rows{
        {"nan", plugin("nan", "", FAULTY_LIBRARY), ""},
        {"refuses", plugin("refuses", "", FAULTY_LIBRARY), "has refused to start"},
        {"aborts", plugin("aborts", "", FAULTY_LIBRARY),
         "crashes when it is started: the process was ended by signal 6"},
        {"latency", plugin("latency", "", ABORTING_LIBRARY), "crashes when it is started"},
        {"ports",
         plugin("ports", Bundles::Port(6, "six", "a lv2:InputPort , lv2:ControlPort"), FAULTY_LIBRARY),
         "crashes when it is started"},
        {"gap", plugin("gap", Bundles::Port(9, "nine", "a lv2:InputPort , lv2:ControlPort"), FAULTY_LIBRARY),
         "ports"},
        {"events", plugin("events", cv, FAULTY_LIBRARY),
         "has a port, six, that is driven by a control voltage"},
        {"work", plugin("work", " ; lv2:requiredFeature <urn:what>", FAULTY_LIBRARY),
         "needs the feature urn:what"},
        {"state", plugin("state", "", "/nowhere/missing.so"),
         "no library that works: cannot load /nowhere/missing.so"},
        {"absent", plugin("absent", "", FAULTY_LIBRARY), "has refused to start"},
        {"turtle", "<urn:tarn:test:turtle> a lv2:Plugin ; doap:name \"tur", "can't be read: error"},
    };
    for (const Row& row : rows) bundles.Add(row.name, row.turtle);
    const std::vector<EffectInfo> list = Search();
    for (const Row& row : rows) {
        const std::string problem = Named(list, row.name).problem;
        EXPECT_EQ(problem.empty(), !*row.problem) << row.name << ": " << problem;
        EXPECT_NE(problem.find(row.problem), std::string::npos) << row.name << ": " << problem;
    }
    EXPECT_EQ(Named(list, "MDA MultiBand").family, "Equaliser");
    EXPECT_EQ(Launches(), 4);  // one more for each crash

    EXPECT_EQ(Lines(Search()), Lines(list));
    EXPECT_EQ(Launches(), 4);
    bundles.Add("refuses", plugin("nan", "", FAULTY_LIBRARY));
    std::filesystem::remove_all(bundles.folder / "nan");
    const std::vector<EffectInfo> changed = Search();
    EXPECT_EQ(Launches(), 5);
    EXPECT_EQ(Named(changed, "refuses").problem, "is not listed");
    EXPECT_EQ(Named(changed, "nan").problem, "");

    std::ofstream(options.cacheFile) << "{\"version\":1,";
    EXPECT_EQ(Lines(Search()), Lines(changed));
    options.tryAgain = true;
    const int before = Launches();
    EXPECT_EQ(Lines(Search()), Lines(changed));
    EXPECT_EQ(Launches(), before + 4);
}

TEST_F(Lv2LibraryTest, TheSearchGoesOnBehindAPluginThatHangs) {
    bundles.Add("bundle", Bundles::Plugin("hangs") + Bundles::Plugin("nan"));
    options.patience = std::chrono::seconds(4);  // enough for the other on a machine that has much else to do
    const std::vector<EffectInfo> list = Search();
    EXPECT_EQ(Named(list, "hangs").problem, "hangs when it is started: no answer for 4 seconds");
    EXPECT_EQ(Named(list, "nan").problem, "");
    Lv2Library library(options);
    EXPECT_THROW(library.Make("urn:tarn:test:hangs", 48000), EffectError);
}

TEST_F(Lv2LibraryTest, WithoutItsProgramItSaysSoAndKeepsNothing) {
    const auto program = std::exchange(options.scanProgram, {"no-such-program"});
    {
        Lv2Library library(options);
        try {
            library.Make("http://lv2plug.in/plugins/eg-amp", 48000);
            FAIL();
        } catch (const EffectError& e) {
            EXPECT_NE(std::string(e.what()).find("cannot run no-such-program"), std::string::npos)
                << e.what();
        }
    }
    options.scanProgram = program;
    EXPECT_EQ(Named(Search(), "Simple Amplifier").problem, "");
    { const Lv2Library library(options); }  // may go at once
}

}  // namespace
