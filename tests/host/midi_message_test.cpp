// Bytes of MIDI to events and back, and the stream that plug-ins see them by.
#include "host/midi/event_stream.h"
#include "platform/byte_ring.h"
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <numeric>
#include <thread>

using namespace tarn;

namespace {
using namespace host;
using Bytes = std::vector<uint8_t>;

std::vector<MidiEvent> Parse(std::span<const uint8_t> bytes, size_t piece = SIZE_MAX) {
    MidiParser parser;
    std::vector<MidiEvent> events;
    for (size_t at = 0; at < bytes.size(); at += std::min(piece, bytes.size() - at))
        parser.Parse(bytes.subspan(at, std::min(piece, bytes.size() - at)),
                     [&](MidiEvent&& e) { events.push_back(std::move(e)); });
    return events;
}

Bytes BackToBytes(const MidiEvent& event) {
    MPEVENTREC rec = event.rec;
    Bytes data = event.data;
    rec.data = data.data();
    return MidiBytes(rec);
}
}  // namespace

TEST(MidiMessages, EveryKindThereAndBack) {
    struct Row {
        Bytes bytes;
        uint32_t type, channel;
        uint8_t byte1, byte2;
    };
    for (const Row& row :
         {Row{{0x83, 60, 5}, MPNOTE_OFF, 3, 60, 5}, Row{{0x90, 60, 127}, MPNOTE_ON, 0, 60, 127},
          Row{{0xA1, 61, 9}, MPPOLY_AFTER, 1, 61, 9}, Row{{0xBF, 7, 100}, MPCNTRL_CHNG, 15, 7, 100},
          Row{{0xC2, 12}, MPPROG_CHNG, 2, 12, 0}, Row{{0xD4, 33}, MPAFTER_TOUCH, 4, 0, 33},
          Row{{0xE0, 1, 64}, MPPITCH_BEND, 0, 1, 64}}) {
        const std::vector<MidiEvent> events = Parse(row.bytes);
        ASSERT_EQ(events.size(), 1u) << row.type;
        EXPECT_EQ(events[0].rec.type, row.type);
        EXPECT_EQ(events[0].rec.channel, row.channel);
        EXPECT_EQ(events[0].rec.byte1, row.byte1);
        EXPECT_EQ(events[0].rec.byte2, row.byte2);
        EXPECT_EQ(BackToBytes(events[0]), row.bytes);
    }
    EXPECT_EQ(Parse(Bytes{0x90, 60, 0})[0].rec.type, MPNOTE_OFF);
    MPEVENTREC wild{};
    wild.type = MPCNTRL_CHNG;
    wild.channel = 0xFFFFFFFF;
    wild.byte1 = 200;
    EXPECT_EQ(MidiBytes(wild), (Bytes{0xB0, 200 & 127, 0})) << "never a status byte for data";
    wild.type = MPSEQSHORT;
    EXPECT_TRUE(MidiBytes(wild).empty());
}

TEST(MidiMessages, InPiecesWithRunningStatusAndRealTimeBetween) {
    const Bytes bytes = {5,    0x90, 60,   0xFE, 100, 62,   101, 0xF8, 0xF0, 0x7E, 0xF8, 1,    0xF7, 63, 1,
                         0xB0, 7,    0xF2, 1,    2,   0xF6, 9,   0x80, 64,   0xF0, 9,    0x91, 65,   66};
    for (const size_t piece : {size_t{1}, size_t{2}, size_t{5}, SIZE_MAX}) {
        const std::vector<MidiEvent> events = Parse(bytes, piece);
        ASSERT_EQ(events.size(), 4u) << piece;
        EXPECT_EQ(events[1].rec.byte1, 62) << "running status";
        EXPECT_EQ(events[2].rec.type, MPSYS_EX1);
        EXPECT_EQ(events[2].data, (Bytes{0xF0, 0x7E, 1, 0xF7}));
        EXPECT_EQ(events[3].rec.byte1, 65) << "after what was broken off";
        EXPECT_EQ(BackToBytes(events[2]), events[2].data);
    }
    Bytes large(kMaxSysexBytes + 10, 1);
    large.front() = 0xF0;
    large.back() = 0xF7;
    EXPECT_TRUE(Parse(large).empty());
    MPEVENTREC broken{};
    broken.type = MPSYS_EX1;
    Bytes inside = {0xF0, 0x90, 0xF7};
    broken.data = inside.data();
    broken.dataSize = 3;
    EXPECT_TRUE(MidiBytes(broken).empty());
}

TEST(MidiMessages, DataEntryBelongsToTheParameterThatWasChosen) {
    const Bytes nrpn = {0xB1, 99, 5, 0xB1, 98, 6, 0xB1, 6, 100, 0xB1, 38, 101};
    std::vector<MidiEvent> events = Parse(nrpn);
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[2].rec.type, MPNRPN);
    EXPECT_EQ(events[3].rec.byte1, 5);
    EXPECT_EQ(events[3].rec.byte2, 6);
    EXPECT_EQ(events[3].rec.byte3, 100);
    EXPECT_EQ(events[3].rec.byte4, 101);
    EXPECT_EQ(BackToBytes(events[3]), nrpn);
    EXPECT_EQ(Parse(Bytes{0xB0, 6, 1})[0].rec.type, MPCNTRL_CHNG) << "none chosen";
    EXPECT_EQ(Parse(Bytes{0xB0, 101, 127, 0xB0, 100, 127, 0xB0, 6, 1})[2].rec.type, MPCNTRL_CHNG)
        << "none chosen any more";
    events = Parse(Bytes{0xB0, 101, 0, 0xB0, 100, 2, 0xB2, 6, 1, 0xB0, 6, 1});
    EXPECT_EQ(events[2].rec.type, MPCNTRL_CHNG) << "of another channel";
    EXPECT_EQ(events[3].rec.type, MPRPN);
}

TEST(EventStreams, ShowWhatPassesTheFilterUntilItIsTaken) {
    std::vector<ReceivedEvent> events;
    const auto add = [&](uint64_t port, uint32_t type, Bytes data = {}) {
        ReceivedEvent event{port, {}};
        event.event.rec.type = type;
        event.event.rec.dataSize = static_cast<uint32_t>(data.size());
        event.event.data = std::move(data);
        events.push_back(std::move(event));
    };
    add(1, MPCNTRL_CHNG);
    add(2, MPNOTE_ON);
    add(1, MPSYS_EX1, {0xF0, 1, 0xF7});
    add(1, MPNOTE_ON);
    const uint64_t ports[] = {1};
    const MPFILTERKEY key{1, ports};
    EventStream stream(events);
    stream.SetFilter(&key, 0);
    MPEVENTREC rec{};
    uint32_t cookie = 9, more = 9;
    ASSERT_EQ(stream.First(&rec, &cookie, &more, MPNOTE_ON | MPCNTRL_CHNG), S_OK);
    EXPECT_EQ(cookie, 0u);
    EXPECT_EQ(more, 1u);
    ASSERT_EQ(stream.Next(&rec, &cookie, &more, MPNOTE_ON | MPCNTRL_CHNG), S_OK);
    EXPECT_EQ(cookie, 3u);
    EXPECT_EQ(more, 0u);
    EXPECT_EQ(stream.Consume(cookie), S_OK);
    EXPECT_EQ(stream.Consume(99), E_INVALIDARG);
    EXPECT_EQ(stream.Next(&rec, &cookie, &more, MPNOTE_ON), S_FALSE);
    stream.SetFilter(nullptr, 0);
    ASSERT_EQ(stream.First(&rec, &cookie, &more, MPNOTE_ON | MPSYS_EX1), S_OK);
    EXPECT_EQ(cookie, 1u) << "of any port";
    ASSERT_EQ(stream.Next(&rec, &cookie, &more, MPNOTE_ON | MPSYS_EX1), S_OK);
    EXPECT_EQ(rec.dataSize, 3u);
    EXPECT_EQ(static_cast<uint8_t*>(rec.data)[2], 0xF7);
    CoTaskMemFree(rec.data);
    EXPECT_EQ(more, 0u) << "the taken one is not shown again";
}

TEST(ByteRings, KeepMessagesWholeBetweenTwoThreads) {
    ByteRing small(16);
    EXPECT_TRUE(small.Write(Bytes(12)));
    EXPECT_FALSE(small.Write(Bytes(1)));
    EXPECT_FALSE(ByteRing(16).Write(Bytes(13)));
    ByteRing ring(100);
    constexpr int MESSAGES = 20000;
    std::thread writer([&] {
        for (int i = 0; i < MESSAGES; i++) {
            Bytes message(static_cast<size_t>(i % 37));
            std::iota(message.begin(), message.end(), static_cast<uint8_t>(i));
            while (!ring.Write(message)) std::this_thread::yield();
        }
    });
    Bytes message;
    bool whole = true;
    for (int i = 0; i < MESSAGES; i++) {
        while (!ring.Read(message)) std::this_thread::yield();
        whole &= message.size() == static_cast<size_t>(i % 37);
        for (size_t k = 0; k < message.size(); k++)
            whole &= message[k] == static_cast<uint8_t>(i + static_cast<int>(k));
    }
    writer.join();
    EXPECT_TRUE(whole);
    EXPECT_FALSE(ring.Read(message));
}
