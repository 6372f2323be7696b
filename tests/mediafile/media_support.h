// Files of the tests: a folder that goes with the test, bytes written out, and the open handle on them.
#pragma once

#include "mediafile/inspect.h"
#include "platform/file_handle.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

struct CloseHandle {
    void operator()(QMFILE* file) const { QmFile_Close(file); }
};
using OwnedHandle = std::unique_ptr<QMFILE, CloseHandle>;

class MediaTest : public testing::Test {
protected:
    MediaTest() {
        std::string name = (std::filesystem::temp_directory_path() / "tarn-media-XXXXXX").string();
        m_folder = ::mkdtemp(name.data());
    }
    ~MediaTest() override { std::filesystem::remove_all(m_folder); }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::u16string WidePath(const std::string& name) const { return tarn::Utf16FromUtf8(Path(name)); }

    OwnedHandle Open(const std::string& name, QmFileCreation creation = FILE_OPEN_EXISTING) const {
        OwnedHandle file(QmFile_Open(WidePath(name).c_str(), FILE_ACCESS_READ_WRITE, creation));
        EXPECT_TRUE(file) << name;
        return file;
    }
    OwnedHandle Make(const std::string& name, const Bytes& bytes) const {
        std::ofstream(Path(name), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return Open(name);
    }
    Bytes Content(const std::string& name) const {
        std::ifstream in(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    tarn::MediaContents Inspected(const std::string& name) const {
        return tarn::InspectMedia(Open(name).get());
    }

private:
    std::filesystem::path m_folder;
};

/// Puts files together.
class Builder {
public:
    Bytes bytes;

    Builder& Text(const std::string& text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
    template <class Number>
    Builder& Little(Number value) {
        for (size_t i = 0; i < sizeof value; i++)
            bytes.push_back(static_cast<uint8_t>(uint64_t{value} >> (8 * i)));
        return *this;
    }
    template <class Number>
    Builder& Big(Number value) {
        for (size_t i = sizeof value; i-- > 0;)
            bytes.push_back(static_cast<uint8_t>(uint64_t{value} >> (8 * i)));
        return *this;
    }
    Builder& Raw(const void* data, size_t count) {
        const auto* at = static_cast<const uint8_t*>(data);
        bytes.insert(bytes.end(), at, at + count);
        return *this;
    }
    Builder& Zeros(size_t count) {
        for (size_t i = 0; i < count; i++) bytes.push_back(0);
        return *this;
    }
    /// A RIFF chunk with its pad.
    Builder& Chunk(const std::string& id, const Bytes& payload) {
        Text(id).Little(static_cast<uint32_t>(payload.size())).Raw(payload.data(), payload.size());
        return Zeros(payload.size() & 1);
    }
};

/// "RIFF", "WAVE" and what is in it.
inline Bytes WaveForm(const Bytes& chunks) {
    return Builder()
        .Text("RIFF")
        .Little(static_cast<uint32_t>(chunks.size() + 4))
        .Text("WAVE")
        .Raw(chunks.data(), chunks.size())
        .bytes;
}
inline Bytes PcmFormat(uint16_t channels, uint32_t rate, uint16_t bits, uint16_t tag = 1) {
    const auto frame = static_cast<uint16_t>(channels * (bits / 8));
    return Builder()
        .Little(tag)
        .Little(channels)
        .Little(rate)
        .Little(frame * rate)
        .Little(frame)
        .Little(bits)
        .bytes;
}
