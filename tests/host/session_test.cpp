#include "host/session/automation.h"
#include "tests/host/test_session.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>

namespace host {
namespace {

using nlohmann::json;
using test::FullSession;

std::string RefusalOf(std::string_view text) {
    try {
        ParseSession(text);
    } catch (const SessionError& e) {
        EXPECT_EQ(std::string(e.what()).find('\n'), std::string::npos) << "not one line: " << e.what();
        return e.what();
    }
    return "accepted";
}

TEST(Session, ComesBackFromTextAsItWas) {
    const Session full = FullSession();
    const std::string text = FormatSession(full);
    EXPECT_EQ(ParseSession(text), full);
    EXPECT_EQ(FormatSession(ParseSession(text)), text);
    EXPECT_EQ(ParseSession(FormatSession(NewSession())), NewSession());
}

TEST(Session, OptionalMembersHaveDefaults) {
    const Session s =
        ParseSession(R"({"format":"tarn-session","version":1,"sample_rate":48000,"length":1,"channels":[
        {"id":1,"kind":"master","name":"M"},
        {"id":2,"kind":"track","name":"T","output":1,"clips":[{"file":"a.wav","start":0,"length":1}]}]})");
    Session expected;
    expected.length = 1;
    expected.channels = {{.id = 1, .kind = ChannelKind::Master, .name = "M"},
                         {.id = 2, .name = "T", .output = 1, .clips = {{"a.wav", 0, 0, 1, 0}}}};
    EXPECT_EQ(s, expected);
}

// Each row breaks the full session in one place by a JSON patch; the refusal begins with that place.
TEST(Session, RefusesWithThePlaceOfTheFault) {
    struct Row {
        const char* patch;
        const char* place;
    };
    const Row rows[] = {
        {R"({"op":"replace","path":"/format","value":"tarn"})", "/format"},
        {R"({"op":"replace","path":"/version","value":3})", "/version"},
        {R"({"op":"replace","path":"/version","value":1})", "/mode"},
        {R"({"op":"replace","path":"/version","value":1.0})", "/version"},
        {R"({"op":"remove","path":"/channels"})", "/: lacks \"channels\""},
        {R"({"op":"add","path":"/colour","value":1})", "/colour"},
        {R"({"op":"add","path":"/channels/0/a~1b\n","value":1})", "/channels/0/a~1b?"},
        {R"({"op":"replace","path":"/sample_rate","value":48000.5})", "/sample_rate"},
        {R"({"op":"replace","path":"/sample_rate","value":7999})", "/sample_rate"},
        {R"({"op":"replace","path":"/length","value":-1})", "/length"},
        {R"({"op":"replace","path":"/length","value":1e300})", "/length"},
        {R"({"op":"replace","path":"/length","value":"1"})", "/length"},
        {R"({"op":"replace","path":"/loop/end","value":0.1})", "/loop/end"},
        {R"({"op":"replace","path":"/loop/end","value":0.3333333333333333})", "/loop/end"},
        {R"({"op":"replace","path":"/loop/on","value":1})", "/loop/on"},
        {R"({"op":"replace","path":"/tempo","value":0})", "/tempo"},
        {R"({"op":"replace","path":"/channels/0/id","value":0})", "/channels/0/id"},
        {R"({"op":"replace","path":"/channels/0/id","value":9007199254740992})", "/channels/0/id"},
        {R"({"op":"replace","path":"/channels/0/id","value":18446744073709551615})", "/channels/0/id"},
        {R"({"op":"replace","path":"/channels/1/id","value":9})", "/channels/1/id"},
        {R"({"op":"replace","path":"/channels/0/kind","value":"Track"})", "/channels/0/kind"},
        {R"({"op":"replace","path":"/channels/0/kind","value":"bus"})", "/channels/0/clips"},
        {R"({"op":"replace","path":"/channels/1/kind","value":"master"})", "/channels"},
        {R"({"op":"replace","path":"/channels/2/kind","value":"preview"})", "/channels"},
        {R"({"op":"replace","path":"/channels/0/fader_db","value":24.1})", "/channels/0/fader_db"},
        {R"({"op":"replace","path":"/channels/0/pan","value":-1.01})", "/channels/0/pan"},
        {R"({"op":"replace","path":"/channels/0/mute","value":null})", "/channels/0/mute"},
        {R"({"op":"replace","path":"/channels/0/colour","value":52})", "/channels/0/colour"},
        {R"({"op":"replace","path":"/channels/0/output","value":77})", "/channels/0/output"},
        {R"({"op":"replace","path":"/channels/0/output","value":9})", "/channels/0/output"},
        {R"({"op":"remove","path":"/channels/0/output"})", "/channels/0/output"},
        {R"({"op":"replace","path":"/channels/1/output","value":4})", "/channels/1"},
        {R"({"op":"add","path":"/channels/2/output","value":4})", "/channels/2/output"},
        {R"({"op":"replace","path":"/channels/0/clips/1/file","value":""})", "/channels/0/clips/1/file"},
        {R"({"op":"replace","path":"/channels/0/clips/1/file","value":"/etc/x"})",
         "/channels/0/clips/1/file"},
        {R"({"op":"replace","path":"/channels/0/clips/1/file","value":"a\u0000b"})",
         "/channels/0/clips/1/file"},
        {R"({"op":"replace","path":"/channels/0/clips/1/length","value":0})", "/channels/0/clips/1/length"},
        {R"({"op":"replace","path":"/channels/0/clips/1/offset","value":-0.1})",
         "/channels/0/clips/1/offset"},
        {R"({"op":"replace","path":"/preferences/0/key","value":4294967296})", "/preferences/0/key"},
        {R"({"op":"remove","path":"/preferences/0/uint"})", "/preferences/0"},
        {R"({"op":"add","path":"/preferences/0/int","value":1})", "/preferences/0"},
        {R"({"op":"add","path":"/preferences/-","value":{"section":"Other","key":100,"int":1}})",
         "/preferences/4/key"},
        {R"({"op":"replace","path":"/preferences/3/hex","value":"0g"})", "/preferences/3/hex"},
        {R"({"op":"replace","path":"/preferences/3/hex","value":"000"})", "/preferences/3/hex"},
        {R"({"op":"replace","path":"/mode","value":"quad"})", "/mode: must be stereo or surround_5.1"},
        {R"({"op":"add","path":"/channels/4/pan_model","value":"loud"})", "/channels/4/pan_model"},
        {R"({"op":"replace","path":"/channels/0/input/channel","value":4})", "/channels/1: the way"},
        {R"({"op":"replace","path":"/channels/0/sends/1/target","value":5})", "/channels/0/sends/1/target"},
        {R"({"op":"replace","path":"/channels/0/sends/1/target","value":1})", "/channels/0/sends/1/target"},
        {R"({"op":"replace","path":"/channels/0/sends/1/id","value":1})", "/channels/0/sends/1/id"},
        {R"({"op":"replace","path":"/channels/0/place/y","value":2})", "/channels/0/place/y"},
        {R"({"op":"add","path":"/channels/0/instrument","value":{"id":9,"uri":"x"}})",
         "/channels/0/instrument"},
        {R"({"op":"add","path":"/channels/3/inserts","value":[{"id":1,"uri":"x"}]})", "/channels/3/inserts"},
        {R"({"op":"replace","path":"/channels/4/inserts/1/id","value":3})", "/channels/4/inserts/1/id"},
        {R"({"op":"replace","path":"/channels/4/automation/0/points/1/0","value":0})",
         "/channels/4/automation/0/points: must rise"},
        {R"({"op":"replace","path":"/channels/4/automation/0/points/1/1","value":25})",
         "/channels/4/automation/0/points: is out of range"},
        {R"({"op":"add","path":"/channels/4/automation/0/points/1/2","value":0})",
         "/channels/4/automation/0/points/1"},
        {R"({"op":"replace","path":"/channels/4/automation/1/key/sub","value":2})",
         "/channels/4/automation/1/key/sub"},
        {R"({"op":"remove","path":"/channels/4/automation/1/key/parameter"})",
         "/channels/4/automation/1/key/parameter"},
        {R"({"op":"replace","path":"/channels/6/output","value":1})", "/channels/6/output"},
        {R"({"op":"replace","path":"/channels/6/clips/0/gain_db","value":1})", "/channels/6/clips/0/gain_db"},
        {R"({"op":"replace","path":"/channels/7/output","value":5})", "/channels/7/output"},
        {R"({"op":"replace","path":"/channels/7/input/first","value":64})", "/channels/7/input/first"},
    };
    const json full = json::parse(FormatSession(FullSession()));
    ASSERT_EQ(full["preferences"][0]["key"], "ShowGroups");
    for (const Row& row : rows) {
        const std::string refusal = RefusalOf(full.patch(json::array({json::parse(row.patch)})).dump());
        EXPECT_EQ(refusal.rfind(row.place, 0), 0u) << row.patch << " gave: " << refusal;
    }
}

TEST(Session, RefusesRoutingInACircleAndNamesTheWay) {
    Session s = FullSession();
    s.channels.push_back({.id = 20, .kind = ChannelKind::AudioBus, .name = "A", .output = 1});
    s.channels.push_back({.id = 21, .kind = ChannelKind::Fx, .name = "B", .output = 22});
    s.channels.push_back({.id = 22, .kind = ChannelKind::AudioBus, .output = 20});
    s.channels[8].sends = {{1, 21}};
    try {
        CheckSession(s);
        ADD_FAILURE() << "accepted";
    } catch (const SessionError& e) {
        EXPECT_EQ(e.reason, "the way A > B > channel 22 > A makes a circle");
    }
    s.channels.back().output = 1;
    EXPECT_NO_THROW(CheckSession(s));
}

TEST(Automation, CurvesThinToWhatIsHeard) {
    std::vector<AutomationPoint> ride;
    for (int i = 0; i < 2000; i++) {
        const double t = i * 0.01;
        ride.push_back({t, i == 777 ? 0.5 : -10 + 9 * std::sin(t)});
    }
    const AutomationCurve all{{}, ride}, thin{{}, Thinned(ride, 0.1, false)};
    EXPECT_LT(thin.points.size(), 120u);
    for (double t = 0; t < 20; t += 0.0037) EXPECT_NEAR(CurveAt(thin, t), CurveAt(all, t), 0.1 + 1e-9) << t;
    const std::vector<AutomationPoint> clicks{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 0}, {5, 0}};
    EXPECT_EQ(Thinned(clicks, 0, true), (std::vector<AutomationPoint>{{0, 0}, {2, 1}, {4, 0}, {5, 0}}));
}

TEST(Automation, AStretchReplacesWhatItCoversAndNothingElse) {
    Channel c{.automation_mode = AutomationMode::Read};
    const AutomationKey volume{}, mute{AutomationTarget::Mute};
    WriteStretch(c, volume, std::vector<AutomationPoint>{{0, 0}, {5, -20}, {10, 0}});
    WriteStretch(c, volume, std::vector<AutomationPoint>{{4, 6}, {6, 6}});
    const double expected[][2] = {{0, 0}, {2, -8}, {3.99, -15.96}, {4, 6},
                                  {5, 6}, {6, 6},  {6.01, -15.96}, {8, -8}};
    for (const auto& [t, value] : expected) EXPECT_NEAR(*ValueAt(c, volume, t), value, 1e-9) << t;
    WriteStretch(c, mute, std::vector<AutomationPoint>{{1, 1}, {2, 0}});
    EXPECT_EQ(*ValueAt(c, mute, 1.9), 1);
    EXPECT_EQ(*ValueAt(c, mute, 2), 0);
    c.automation_mode = AutomationMode::Off;
    EXPECT_EQ(*ValueAt(c, volume, 4), 0) << "the fader's own";
    EXPECT_TRUE(ApplySetting(c, volume, 99));
    EXPECT_EQ(c.fader_db, kMaxGainDb);
    EXPECT_FALSE(ApplySetting(c, {AutomationTarget::SendLevel, 9}, 0));
}

TEST(Session, RefusesWhatIsNotJson) {
    const std::string text = FormatSession(FullSession());
    for (size_t n = 0; n + 1 < text.size(); n++)  // the last byte is a line end
        EXPECT_EQ(RefusalOf(text.substr(0, n)).rfind("byte ", 0), 0u) << "first " << n << " bytes";
    EXPECT_EQ(RefusalOf(text + "x").rfind("byte ", 0), 0u);
    EXPECT_EQ(RefusalOf("[]"), "/: must be an object");
    EXPECT_EQ(RefusalOf(R"({"format":"tarn-session","loop":{"on":true,"on":false}})"),
              "/loop/on: this member is given twice");
    EXPECT_EQ(RefusalOf(R"({"channels":[1,[],{"a":1},{"id":1,"id":1}]})"),
              "/channels/3/id: this member is given twice");
    EXPECT_NE(RefusalOf(R"({"format":"tarn-session","version":1,"length":1e999})"), "accepted");
    EXPECT_NE(RefusalOf("{\"format\":\"\xff\"}"), "accepted");
}

// Before it is held in memory, and where it begins.
TEST(Session, RefusesWhatIsTooMuch) {
    const auto times = [](size_t n, const char* text) {
        std::string all;
        for (size_t i = 0; i < n; i++) all += (i ? "," : "") + std::string(text);
        return all;
    };
    std::string members;
    for (int i = 0; i < 40; i++) members += (i ? ",\"m" : "\"m") + std::to_string(i) + "\":0";
    const std::pair<std::string, const char*> rows[] = {
        {std::string(30'000'000, '['), "/0/0/0/0/0/0/0/0: too deep"},
        {R"({"channels":[)" + times(200'000, "{}"), "/channels/65536: too many elements"},
        {"{" + members, "/m32: too many members"},
        {"[" + times(50, ("[" + times(50'000, "0") + "]").c_str()), "/39/"},
    };
    for (const auto& [text, refusal] : rows)
        EXPECT_EQ(RefusalOf(text).rfind(refusal, 0), 0u) << RefusalOf(text) << " for " << refusal;
}

// What Load would refuse must not reach the disk, and a name that is not UTF-8 is such a thing.
TEST(Session, RefusesToWriteWhatItWouldNotRead) {
    struct Row {
        const char* place;
        void (*spoil)(Session&);
    };
    const Row rows[] = {
        {"/channels/0/name", [](Session& s) { s.channels[0].name = "\xc3"; }},
        {"/channels/0/name", [](Session& s) { s.channels[0].name = "\xed\xa0\x80"; }},
        {"/channels/0/name", [](Session& s) { s.channels[0].name = "\xc0\x80"; }},
        {"/channels/0/name", [](Session& s) { s.channels[0].name = std::string("a\0b", 3); }},
        {"/channels/0/pan", [](Session& s) { s.channels[0].pan = std::nan(""); }},
        {"/channels/0/clips/0/start", [](Session& s) { s.channels[0].clips[0].start = INFINITY; }},
        {"/tempo", [](Session& s) { s.tempo = -INFINITY; }},
        {"/channels", [](Session& s) { s.channels.erase(s.channels.begin() + 2); }},
        {"/preferences/2/text",
         [](Session& s) {
             s.preferences[{"Mixer Console", uint32_t{2010}}] = "\xff";
         }},
    };
    for (const Row& row : rows) {
        Session s = FullSession();
        row.spoil(s);
        try {
            FormatSession(s);
            ADD_FAILURE() << row.place << " was written";
        } catch (const SessionError& e) {
            EXPECT_EQ(e.place, row.place);
        }
    }
}

}  // namespace
}  // namespace host
