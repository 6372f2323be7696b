// Function tables as files: what is written comes back, and what can't be is refused with file and line.
#include "controlmap/function_names.h"
#include "controlmap/xml_function_map.h"
#include "platform/memory.h"
#include "platform/text.h"
#include "tests/controlmap/map_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

using namespace tarn;

namespace {
constexpr const char* NAMES = R"(<?xml version="1.0"?>
<functiontables>
  <group name="ECONTROL_GRP_INSERT">
    <function name="Volume" value="7"/>
    <function name="Pan" value="12"/>
  </group>
  <group name="ECONTROL_GRP_ASSIGN"><function name="Shift On" value="1"/></group>
</functiontables>)";

struct Names : NameTable {
    Names() {
        std::string error;
        EXPECT_TRUE(Parse(NAMES, "names.xml", error)) << error;
    }
    std::string HostFamilyName(uint32_t family) const override { return family == 3 ? "Transport" : ""; }
    uint32_t HostFamilyNumber(std::string_view name) const override { return name == "Transport" ? 3 : 0; }
    std::string HostFunctionName(uint32_t, uint32_t function) const override {
        return function == 9 ? "Play" : "";
    }
    uint32_t HostFunctionNumber(uint32_t, std::string_view name) const override {
        return name == "Play" ? 9 : 0;
    }
};

class Tables : public testing::Test {
protected:
    Names names;
    FUNCTIONMAPENTRY entry{};
    std::string error;

    void TearDown() override { FreeFunctionTables(entry); }
    HRESULT Parse(std::string_view xml, uint32_t channels = 0) {
        FreeFunctionTables(entry);
        return ParseFunctionTables(xml, "box.xml", names, channels, entry, error);
    }
    const MPFUNCTIONMAP& Row(size_t i = 0) const { return entry.tables[0].rows[i]; }
};

std::string Table(const std::string& functions, const std::string& maps = "1",
                  const std::string& tables = "1", const std::string& root = "functiontable") {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root +
           " ver=\"1\" device=\"d\" name=\"Box\" channels=\"8\" tables=\"" + tables +
           "\">\n<functionmap index=\"0\">\n<map name=\"One\" maps=\"" + maps + "\">\n" + functions +
           "\n</map>\n</functionmap>\n</" + root + ">\n";
}

std::string Function(const std::string& inside) {
    return "<function><CommandType>ECMDTYPE_RECIEVE</CommandType>" + inside + "</function>";
}

MPFUNCTIONMAP SomeRow(uint32_t command, uint32_t flags, uint32_t type) {
    MPFUNCTIONMAP row = FunctionRow(command, flags, 7, STRIP_MASTER, Event(type, 1, 127, 0, 255, 5), 16383);
    row.index = 200;
    row.minValue = -8192;
    return row;
}
}  // namespace

TEST_F(Tables, WhatIsWrittenComesBack) {
    FUNCTIONMAPENTRY made{};
    made.channels = 8;
    CopyText(made.name, FUNCTION_NAME_SIZE, u"K\u00f6rner & <Box>");
    made.tables = NewFunctionTables(2);
    for (uint32_t t = 0; t < 2; t++) {
        made.tables[t].id = t + 1;
        made.tables[t].ownsRows = 1;
        CopyText(made.tables[t].name, FUNCTION_NAME_SIZE, t ? u"Empty" : u"Mixer");
        made.tables[t].rows = NewFunctionRows(t ? 0 : 4);
    }
    MPFUNCTIONMAP* rows = made.tables[0].rows;
    rows[0] = SomeRow(ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE | EFUNCFLAG_USE_SURFACE_MODE | EFUNCFLAG_TOGGLE,
                      MPCNTRL_CHNG);
    rows[0].second = Event(MPCNTRL_CHNG, 33, 0, 0, 0, MIDI_CHANNEL_ANY);
    rows[1] = SomeRow(ECMDTYPE_SEND, 0, MPPROG_CHNG);
    rows[2] = SomeRow(ECMDTYPE_RECIEVE, EFUNCFLAG_HOSTFUNCTION, MPNOTE_ON);
    rows[2].minValue = 3;
    rows[2].maxValue = 9;
    rows[3] = SomeRow(ECMDTYPE_SEND, EFUNCFLAG_STATIC, MPSYS_EX1);
    rows[3].first.byte1 = rows[3].first.byte2 = rows[3].first.byte4 = 0;
    const uint8_t bytes[] = {240, 0, 102, 247};
    rows[3].first.data = CoTaskMemAlloc(4);
    rows[3].first.dataSize = 4;
    std::memcpy(rows[3].first.data, bytes, 4);

    const std::string xml = PrintFunctionTables(made, names, "Surface", 2);
    EXPECT_NE(xml.find("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"), xml.npos);
    EXPECT_NE(xml.find("<functiontable ver=\"2\" device=\"Surface\" name=\"K"), xml.npos);
    EXPECT_NE(xml.find("channels=\"8\" tables=\"2\">"), xml.npos);
    EXPECT_NE(xml.find("<CommandType>ECMDTYPE_RECIEVE</CommandType>"), xml.npos);
    EXPECT_NE(xml.find("<eventype>MPPROG_CHNG</eventype>"), xml.npos);
    EXPECT_NE(xml.find("<HostFunction>Play</HostFunction>"), xml.npos);
    ASSERT_EQ(Parse(xml, 8), S_OK) << error;
    EXPECT_EQ(std::u16string_view(entry.name), u"K\u00f6rner & <Box>");
    EXPECT_EQ(entry.tables[1].id, 2u);
    EXPECT_EQ(entry.tables[2].id, 0u);
    EXPECT_EQ(CountFunctionRows(entry.tables[1].rows), 0u);
    ASSERT_EQ(CountFunctionRows(entry.tables[0].rows), 4u);
    for (size_t i = 0; i < 4; i++) {
        MPFUNCTIONMAP want = rows[i], got = Row(i);
        if (i == 1) want.first.type = MPNULL;  // a program change does not survive
        if (i == 3) {
            ASSERT_EQ(got.first.dataSize, 4u);
            EXPECT_EQ(std::memcmp(got.first.data, bytes, 4), 0);
            want.first.data = got.first.data = nullptr;
        }
        EXPECT_EQ(std::memcmp(&want, &got, sizeof want), 0) << "row " << i;
    }
    FreeFunctionTables(made);
}

TEST_F(Tables, AbsentAndUnknownElementsLeaveTheDefaults) {
    ASSERT_EQ(Parse(Table(Function("<flags><flag>EFUNCFLAG_NOSUCH</flag><flag>EFUNCFLAG_INC</flag></flags>"
                                   "<ControlGroup>NOGROUP</ControlGroup><mpevent/>"))),
              S_OK)
        << error;
    EXPECT_EQ(Row().flags, EFUNCFLAG_INC);
    EXPECT_EQ(Row().group, 0u);
    EXPECT_EQ(Row().channel, 0);
    EXPECT_EQ(Row().first.type, MPNULL);
    EXPECT_EQ(Row().first.channel, MIDI_CHANNEL_ANY);
    ASSERT_EQ(
        Parse(Table(Function(
            "<Index>0x1FF</Index><Channel>-16</Channel><MinValue> 12abc</MinValue>"
            "<mpevent><eventype>MPNOTE_ON</eventype><channel>0x103</channel><byte1>0x40</byte1></mpevent>"))),
        S_OK)
        << error;
    EXPECT_EQ(Row().index, 255u);
    EXPECT_EQ(Row().channel, STRIP_MASTER);
    EXPECT_EQ(Row().minValue, 12);
    EXPECT_EQ(Row().first.channel, 3u);
    EXPECT_EQ(Row().first.byte1, 0x40);
    ASSERT_EQ(Parse(Table(Function(""), "0")), S_OK) << error;
    EXPECT_EQ(CountFunctionRows(entry.tables[0].rows), 0u) << "as many as maps says";
    ASSERT_EQ(Parse(Table(Function("<flags><flag>EFUNCFLAG_HOSTFUNCTION</flag></flags>"
                                   "<FunctionGroup>Nowhere</FunctionGroup><HostFunction>77</HostFunction>"))),
              S_OK);
    EXPECT_EQ(Row().minValue, 0);
    EXPECT_EQ(Row().maxValue, 77);
}

TEST_F(Tables, BadFilesAreRefusedWithFileAndLine) {
    struct Row {
        std::string xml;
        const char* error;
    };
    for (const Row& row :
         {Row{"", "box.xml:1: No document element found"},
          Row{"<a><b></a>", "box.xml:1: Start-end tags mismatch"},
          Row{"\n\n<functiontable>", "box.xml:3: Start-end tags mismatch"},
          Row{Table("", "0", "1", "map"), "box.xml:2: the root is \"map\", not \"functiontable\""},
          Row{Table("", "4000000000"), "box.xml:4: maps says 4000000000, but 0 are there"},
          Row{Table("", "0", "4294967295"), "box.xml:2: tables says 4294967295, but 1 is there"},
          Row{Table("", "0", "-1"), "box.xml:2: \"-1\" is not from 0 to 4294967295"},
          Row{Table(Function("<mpevent><byte2>256</byte2></mpevent>")),
              "box.xml:5: \"256\" is not from 0 to 255"},
          Row{Table(Function("<Channel>99999999999</Channel>")),
              "box.xml:5: \"99999999999\" is not from -2147483648 to 2147483647"},
          Row{Table(Function("<mpevent><eventype>MPSYS_EX1</eventype><sysexbytes length=\"3\"><sysex>1 "
                             "2</sysex></sysexbytes></mpevent>")),
              "box.xml:5: length says 3, but 2 bytes are there"}}) {
        error.clear();
        EXPECT_EQ(Parse(row.xml), S_FALSE) << row.xml;
        EXPECT_TRUE(error.starts_with(row.error)) << error;
        EXPECT_EQ(entry.tables, nullptr) << "nothing half loaded stays";
    }
    EXPECT_EQ(Parse(Table(""), 16), S_FALSE);
    EXPECT_EQ(error, "box.xml:2: made for 8 channels, not for 16");
}

TEST_F(Tables, FilesAreReplacedWholeAndNamed) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / "tarn_function_table_test.xml";
    ASSERT_EQ(
        Parse(Table(Function("<ControlGroup>ECONTROL_GRP_INSERT</ControlGroup><Function>Pan</Function>"))),
        S_OK);
    EXPECT_EQ(Row().function, 12u);
    ASSERT_EQ(WriteFunctionTables(path, entry, names, "Box", 1, error), S_OK) << error;
    TABLEHEADER header;
    ASSERT_EQ(ReadTableHeader(path, header, error), S_OK) << error;
    EXPECT_EQ(header.name, "Box");
    EXPECT_EQ(header.channels, 8u);
    FreeFunctionTables(entry);
    ASSERT_EQ(ReadFunctionTables(path, names, 8, entry, error), S_OK) << error;
    EXPECT_EQ(Row().function, 12u);
    EXPECT_EQ(Utf8FromUtf16(entry.path), path.string());
    EXPECT_EQ(entry.fromFile, 1u);
    std::filesystem::remove(path);
    EXPECT_EQ(ReadTableHeader(path, header, error), S_FALSE);
    EXPECT_NE(error.find(path.string()), error.npos) << error;
    FUNCTIONMAPENTRY none{};
    EXPECT_EQ(WriteFunctionTables(path, none, names, "Box", 1, error), S_FALSE);
    EXPECT_EQ(WriteFunctionTables(path / "no" / "such", entry, names, "Box", 1, error), E_FAIL);
}

TEST(NameTables, AreReadWholeOrNotAtAll) {
    Names names;
    std::string error;
    EXPECT_EQ(names.FunctionName(ECONTROL_GRP_INSERT, 7), "Volume");
    EXPECT_EQ(names.FunctionNumber(ECONTROL_GRP_ASSIGN, "Shift On"), 1u);
    EXPECT_EQ(names.FunctionNumber(ECONTROL_GRP_ASSIGN, "Volume"), 0u);
    EXPECT_EQ(names.FunctionName(5, 1), "");
    EXPECT_FALSE(names.Parse("<functiontables>\n<group name=\"X\"/></functiontables>", "n.xml", error));
    EXPECT_EQ(error, "n.xml:2: there is no group \"X\"");
    EXPECT_FALSE(names.Parse(
        "<functiontables><group name=\"MPCFUNCGRP_NULL\"><function value=\"-1\"/></group></functiontables>",
        "n.xml", error));
    EXPECT_FALSE(names.Parse("<other/>", "n.xml", error));
    EXPECT_EQ(names.FunctionName(ECONTROL_GRP_INSERT, 12), "Pan") << "the old names stay";
}
