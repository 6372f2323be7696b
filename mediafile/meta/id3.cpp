#include "mediafile/meta/id3.h"

#include "platform/text.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>

namespace tarn {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t ID3_HEAD = 10;
enum : uint8_t { LATIN1, UTF16_WITH_ORDER, UTF16_BIG, UTF8 };
/// Of the tag, and of a frame in its second byte of flags: how what follows is packed.
constexpr uint8_t UNSYNCHRONISED = 0x80, EXTENDED = 0x40, PACKED_V3 = 0xE0, PACKED_V4 = 0x4F;

/// Sizes leave out each byte's highest bit.
uint32_t Synchsafe(const uint8_t* at) {
    return uint32_t{at[0] & 0x7Fu} << 21 | uint32_t{at[1] & 0x7Fu} << 14 | uint32_t{at[2] & 0x7Fu} << 7 |
           (at[3] & 0x7Fu);
}
void PutSynchsafe(uint8_t* at, size_t size) {
    for (int i = 0; i < 4; i++) at[i] = static_cast<uint8_t>(size >> (21 - 7 * i) & 0x7F);
}

struct Frame {
    std::string id;
    uint8_t flags[2] = {};
    MetaBytes payload;
};
struct Tag {
    uint8_t version = 4;
    std::string refusal;  ///< why it is not rewritten
    std::vector<Frame> frames;
    bool isKnown = true;
};

/// A zero stands behind each byte of ones, so that no reader takes them for sound.
MetaBytes Synchronised(Bytes bytes) {
    MetaBytes out;
    for (size_t i = 0; i < bytes.size(); i++) {
        out.push_back(bytes[i]);
        if (bytes[i] == 0xFF && i + 1 < bytes.size() && bytes[i + 1] == 0) i++;
    }
    return out;
}

Tag ReadTag(Bytes bytes) {
    Tag tag;
    if (bytes.empty()) return tag;
    tag.isKnown = bytes.size() >= ID3_HEAD && std::memcmp(bytes.data(), "ID3", 3) == 0 && bytes[3] >= 3 &&
                  bytes[3] <= 4;
    tag.refusal = "the tag is of a version that is shown and kept";
    if (!tag.isKnown) return tag;
    tag.version = bytes[3];
    const uint8_t flags = bytes[5];
    Bytes rest = bytes.subspan(ID3_HEAD, std::min<size_t>(Synchsafe(&bytes[6]), bytes.size() - ID3_HEAD));
    MetaBytes unpacked;
    if (flags & UNSYNCHRONISED) rest = unpacked = Synchronised(rest);
    if ((flags & EXTENDED) && rest.size() >= 4) {
        const size_t size =
            tag.version >= 4 ? Synchsafe(rest.data()) : FromBigEndian<uint32_t>(rest.data()) + size_t{4};
        rest = rest.subspan(std::min(size, rest.size()));
    }
    tag.refusal = flags ? "the tag has a form that is shown and kept" : "";
    while (rest.size() >= ID3_HEAD && rest[0] != 0) {
        Frame frame{std::string(rest.begin(), rest.begin() + 4), {rest[8], rest[9]}, {}};
        const uint32_t size = tag.version >= 4 ? Synchsafe(&rest[4]) : FromBigEndian<uint32_t>(&rest[4]);
        rest = rest.subspan(ID3_HEAD);
        if (size > rest.size()) {
            tag.refusal = "a frame reaches beyond the end of the tag";
            break;
        }
        frame.payload.assign(rest.begin(), rest.begin() + size);
        rest = rest.subspan(size);
        tag.frames.push_back(std::move(frame));
    }
    return tag;
}

bool IsPacked(const Tag& tag, const Frame& frame) {
    return (frame.flags[1] & (tag.version >= 4 ? PACKED_V4 : PACKED_V3)) != 0;
}

/// Of an encoding, up to a zero; `bytes` moves behind it.
std::string TakeText(uint8_t encoding, Bytes& bytes) {
    if (encoding != UTF16_WITH_ORDER && encoding != UTF16_BIG) {
        const std::string text = AnsiUpToZero(bytes);
        bytes = bytes.subspan(std::min(text.size() + 1, bytes.size()));
        return encoding == LATIN1 ? Utf8FromUtf16(Utf16FromWindows1252(text)) : text;
    }
    bool isBig = true;
    if (encoding == UTF16_WITH_ORDER && bytes.size() >= 2) {
        isBig = bytes[0] == 0xFE;
        bytes = bytes.subspan(2);
    }
    std::u16string text;
    while (bytes.size() >= 2) {
        const auto unit =
            isBig ? FromBigEndian<uint16_t>(bytes.data()) : FromLittleEndian<uint16_t>(bytes.data());
        bytes = bytes.subspan(2);
        if (unit == 0) break;
        text += static_cast<char16_t>(unit);
    }
    return Utf8FromUtf16(text);
}
void PutId3Text(uint8_t encoding, const std::string& text, bool isTerminated, MetaBytes& out) {
    if (encoding == UTF8 || encoding == LATIN1) {
        const std::string bytes = encoding == UTF8 ? text : Windows1252FromUtf16(Utf16FromUtf8(text));
        out.insert(out.end(), bytes.begin(), bytes.end());
        if (isTerminated) out.push_back(0);
        return;
    }
    std::u16string units = u'\xFEFF' + Utf16FromUtf8(text);
    if (isTerminated) units += u'\0';
    for (const char16_t unit : units)
        out.insert(out.end(), {static_cast<uint8_t>(unit), static_cast<uint8_t>(unit >> 8)});
}

constexpr size_t LANGUAGE = 4;  // behind the encoding, of a comment

bool IsText(const Frame& frame) { return frame.id[0] == 'T' && frame.id != "TXXX"; }
bool IsComment(const Frame& frame) { return frame.id == "COMM"; }

std::string TextOf(const Tag& tag, const Frame& frame) {
    Bytes bytes = frame.payload;
    std::string size = std::to_string(bytes.size()) + " bytes";
    const bool hasText = IsText(frame) || IsComment(frame) || frame.id == "TXXX";
    if (!hasText || IsPacked(tag, frame) || bytes.empty()) return size;
    const uint8_t encoding = bytes[0];
    if (IsComment(frame) && bytes.size() < LANGUAGE) return size;
    bytes = bytes.subspan(IsComment(frame) ? LANGUAGE : 1);
    if (IsText(frame)) return TakeText(encoding, bytes);
    const std::string about = TakeText(encoding, bytes), text = TakeText(encoding, bytes);
    return IsComment(frame) ? text : about + ": " + text;
}

/// The last version has UTF-8; before it a text that Latin 1 does not hold needs units of 16 bits.
uint8_t EncodingOf(const Tag& tag, const std::string& text) {
    if (tag.version >= 4) return UTF8;
    const std::u16string units = Utf16FromUtf8(text);
    const bool isLatin =
        std::ranges::all_of(units, [](char16_t c) { return c < 0x80 || (c >= 0xA0 && c < 0x100); });
    return isLatin ? LATIN1 : UTF16_WITH_ORDER;
}
MetaBytes PayloadOf(const Tag& tag, const Frame& old, const std::string& text) {
    MetaBytes payload;
    if (!IsComment(old)) {
        payload.push_back(EncodingOf(tag, text));
        PutId3Text(payload[0], text, false, payload);
        return payload;
    }
    std::string about;
    const bool hasHead = old.payload.size() >= LANGUAGE && !IsPacked(tag, old);
    if (hasHead) {
        Bytes rest = Bytes(old.payload).subspan(LANGUAGE);
        about = TakeText(old.payload[0], rest);
    }
    payload.push_back(EncodingOf(tag, about + text));
    const char* language = hasHead ? reinterpret_cast<const char*>(&old.payload[1]) : "und";
    payload.insert(payload.end(), language, language + 3);
    PutId3Text(payload[0], about, true, payload);
    PutId3Text(payload[0], text, false, payload);
    return payload;
}

MetaBytes TagBytes(const Tag& tag) {
    MetaBytes out = {'I', 'D', '3', tag.version, 0, 0, 0, 0, 0, 0};
    for (const Frame& frame : tag.frames) {
        uint8_t head[ID3_HEAD] = {};
        std::memcpy(head, frame.id.data(), 4);
        const auto size = static_cast<uint32_t>(frame.payload.size());
        tag.version >= 4 ? PutSynchsafe(head + 4, size) : ToBigEndian(head + 4, size);
        std::memcpy(head + 8, frame.flags, sizeof frame.flags);
        out.insert(out.end(), head, head + ID3_HEAD);
        out.insert(out.end(), frame.payload.begin(), frame.payload.end());
    }
    PutSynchsafe(&out[6], out.size() - ID3_HEAD);
    return out;
}

}  // namespace

void ListId3Frames(const MetaBlock& block, std::vector<MetaValue>& out) {
    const Tag tag = ReadTag(block.payload);
    if (!tag.isKnown) return out.push_back({"id3", std::to_string(block.payload.size()) + " bytes", false});
    std::map<std::string, unsigned> count;
    for (const Frame& frame : tag.frames) {
        const unsigned number = ++count[frame.id];
        const std::string key = "id3." + frame.id + (number > 1 ? "." + std::to_string(number) : "");
        out.push_back({key, TextOf(tag, frame), number == 1 && (IsText(frame) || IsComment(frame))});
    }
}

std::string SetId3Frame(MetaDocument& document, const std::string& name, const std::string& text) {
    constexpr size_t MOST = (1 << 28) - 1;  // of four bytes without their highest bits
    const auto isOfId = [](char c) {
        return std::isdigit(static_cast<unsigned char>(c)) || (c >= 'A' && c <= 'Z');
    };
    const bool isId = name.size() == 4 && std::ranges::all_of(name, isOfId);
    Frame fresh{isId ? name : "TXXX", {}, {}};
    if (!IsText(fresh) && !IsComment(fresh))
        return "texts are set: TIT2, TPE1, TALB, TDRC, COMM and others that begin with T";
    const char* other = IsAiff(document.container) ? "id3 " : "ID3 ";
    const std::string id = document.Find(other) ? other : IsAiff(document.container) ? "ID3 " : "id3 ";
    Tag tag = ReadTag(document.PayloadOf(id));
    if (!tag.refusal.empty()) return tag.refusal;
    auto found = std::ranges::find(tag.frames, name, &Frame::id);
    if (text.empty()) {
        if (found != tag.frames.end()) tag.frames.erase(found);
    } else {
        if (found == tag.frames.end()) found = tag.frames.insert(found, fresh);
        MetaBytes payload = PayloadOf(tag, *found, text);
        *found = {name, {found->flags[0], 0}, std::move(payload)};
    }
    if (tag.frames.empty()) return document.Remove(id), std::string();
    MetaBytes bytes = TagBytes(tag);
    if (bytes.size() > MOST) return "the tag would be too long";
    document.Set(id, std::move(bytes));
    return {};
}

}  // namespace tarn
