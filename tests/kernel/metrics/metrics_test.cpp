#include "kernel/metrics/metrics.h"

#include "home_fixture.h"
#include "kernel/metrics/user_lcid.h"

#include <cstdlib>
#include <new>
#include <vector>

using namespace tarn;

namespace {
/// Allocations of this thread until one fails; none does below 0.
thread_local int allocationsLeft = -1;
}  // namespace

[[gnu::noinline]] void* operator new(size_t bytes) {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
    void* block = std::malloc(bytes ? bytes : 1);
    if (!block) throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void* operator new(size_t bytes, const std::nothrow_t&) noexcept try {
    return operator new(bytes);
} catch (const std::bad_alloc&) {
    return nullptr;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace {

class Metrics : public HomeTest {
protected:
    Metrics() { EXPECT_EQ(QmMetric_Open(&m_handle, u"Test", 0, nullptr), S_OK); }
    ~Metrics() override { QmMetric_Close(m_handle); }

    std::u16string Text(int32_t id, uint32_t capacity = 32, const char16_t* other = nullptr,
                        BOOL keepEmpty = 0) {
        std::u16string out(capacity, u'#');
        const uint32_t length = QmGetMetricStringEx(m_handle, id, out.data(), capacity, other, keepEmpty);
        EXPECT_EQ(out.find_first_not_of(u'\0', length), out.npos) << "the tail is zeroed";
        return out.substr(0, length);
    }

    HQMMETRIC m_handle = nullptr;
};

TEST_F(Metrics, NumbersAndTheirBounds) {
    EXPECT_EQ(QmGetMetricEx(m_handle, 1, 5, 5, 9), 9);
    EXPECT_EQ(QmGetMetricEx(m_handle, 1, 0, 10, 99), 10);
    EXPECT_EQ(QmGetMetric(m_handle, 1), 0u);
    EXPECT_EQ(QmSetMetric(m_handle, 1, 20), S_OK);
    EXPECT_EQ(QmGetMetricEx(m_handle, 1, 0, 10, 99), 10);
    EXPECT_EQ(QmGetMetricEx(m_handle, 1, 5, 5, 9), 20);
    EXPECT_EQ(QmSetMetric(m_handle, -3, 1), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, 3), 1u);
    EXPECT_EQ(QmSetMetric(m_handle, INT32_MIN, 7), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, INT32_MIN), 7u);
    EXPECT_EQ(QmSetMetric(m_handle, 4, static_cast<uint32_t>(-5)), S_OK);
    EXPECT_EQ(QmGetMetricEx(m_handle, 4, -10, 10, 0), -5);
    EXPECT_EQ(QmGetMetricBool(m_handle, 1, 0), 1);
    EXPECT_EQ(QmGetMetricBool(m_handle, 99, 5), 1);
}

TEST_F(Metrics, WithoutAHandleThereAreDefaults) {
    char16_t text[8];
    EXPECT_EQ(QmGetMetricEx(nullptr, 1, 0, 10, 99), 99) << "as it stands";
    EXPECT_EQ(QmGetMetric(nullptr, 1), 0u);
    EXPECT_EQ(QmGetMetricStringEx(nullptr, 1, text, 8, u"none", 0), 4u);
    EXPECT_EQ(QmSetMetric(nullptr, 1, 1), E_FAIL);
    EXPECT_EQ(QmGetMetricAny(nullptr, 1, QMMETRIC_NUMBER, nullptr, 0, nullptr), E_UNEXPECTED);
    EXPECT_EQ(QmDoesMetricExist(nullptr, 1, QMMETRIC_NUMBER), 1);
    EXPECT_EQ(QmDeleteMetric(nullptr, 1), E_FAIL);
    HQMMETRIC sub = nullptr;
    EXPECT_EQ(QmMetric_OpenSubKey(&sub, nullptr, u"x"), E_FAIL);
    EXPECT_EQ(QmMetric_Close(nullptr), S_OK);

    EXPECT_EQ(QmSetMetric(QMMETRIC_DEFAULT, 5, 50), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, 5), 0u);
    QmMetric_SetDefault(m_handle);
    EXPECT_EQ(QmGetMetric(QMMETRIC_DEFAULT, 5), 0u);
    EXPECT_EQ(QmSetMetric(QMMETRIC_DEFAULT, 5, 51), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, 5), 51u);
    QmMetric_SetDefault(nullptr);
    EXPECT_EQ(QmGetMetric(QMMETRIC_DEFAULT, 5), 50u);
    EXPECT_EQ(QmDeleteMetric(QMMETRIC_DEFAULT, 5), S_OK);
}

TEST_F(Metrics, KindsDoNotSeeEachOther) {
    EXPECT_EQ(QmSetMetricString(m_handle, 7, u"seven"), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, 7), 0u);
    EXPECT_EQ(QmSetMetric(m_handle, 7, 70), S_OK);
    EXPECT_EQ(Text(7), u"seven");
    EXPECT_EQ(QmDoesMetricExist(m_handle, 7, QMMETRIC_TEXT), 0);
    EXPECT_EQ(QmDoesMetricExist(m_handle, -7, QMMETRIC_NUMBER), 0);
    EXPECT_EQ(QmDoesMetricExist(m_handle, 7, QMMETRIC_BINARY), 1);
    // A value of another type under the number's name.
    EXPECT_EQ(QmSetMetricUsingName(m_handle, u"8", QMMETRIC_BINARY, "abcd", 4), S_OK);
    EXPECT_EQ(QmGetMetricEx(m_handle, 8, 0, 10, 3), 3);
    uint32_t number = 0, size = 0;
    EXPECT_EQ(QmGetMetricAny(m_handle, 8, QMMETRIC_NUMBER, &number, 4, &size), QM_E_WRONG_TYPE);
    EXPECT_EQ(QmDoesMetricExist(m_handle, 8, QMMETRIC_NUMBER), 1);
    EXPECT_EQ(QmDeleteMetric(m_handle, 7), S_OK);
    EXPECT_EQ(QmGetMetric(m_handle, 7), 0u);
    EXPECT_EQ(Text(7), u"");
    EXPECT_TRUE(Failed(QmDeleteMetric(m_handle, 7)));

    for (const auto& [type, expected] : {std::pair{QMMETRIC_NUMBER, u"D12"},
                                         {QMMETRIC_TEXT, u"S12"},
                                         {QMMETRIC_BINARY, u"B12"},
                                         {QMMETRIC_MULTI_TEXT, u"Z12"}}) {
        char16_t name[12];
        QmMetricGetName(-12, type, name);
        EXPECT_EQ(std::u16string(name), expected);
    }
}

TEST_F(Metrics, Texts) {
    EXPECT_EQ(Text(1, 32, u"fallback"), u"fallback");
    EXPECT_EQ(Text(1, 4, u"fallback"), u"fal");
    EXPECT_EQ(QmSetMetricString(m_handle, 1, u"Überblendung"), S_OK);
    EXPECT_EQ(Text(1, 13), u"Überblendung");
    EXPECT_EQ(Text(1, 12, u"default"), u"default") << "what does not fit reads as absent";
    EXPECT_EQ(QmSetMetricString(m_handle, 1, u""), S_OK);
    EXPECT_EQ(Text(1, 32, u"default"), u"default");
    EXPECT_EQ(Text(1, 32, u"default", 1), u"");

    const char16_t list[] = u"one\0two\0";
    EXPECT_EQ(QmSetMetricMultiString(m_handle, 2, list, std::size(list)), S_OK);
    char16_t out[16];
    EXPECT_EQ(QmGetMetricMultiStringEx(m_handle, 2, out, 16, nullptr, 0), 8u);
    EXPECT_EQ(std::u16string(out, 9), std::u16string(list, 9));

    // Texts that others stored without a terminator.
    EXPECT_EQ(QmSetMetricUsingName(m_handle, u"S3", QMMETRIC_TEXT, u"abcd", 8), S_OK);
    uint32_t size = 0;
    EXPECT_EQ(QmGetMetricAny(m_handle, 3, QMMETRIC_TEXT, out, 10, &size), S_OK);
    EXPECT_EQ(std::u16string(out), u"abcd");
    EXPECT_EQ(QmGetMetricAny(m_handle, 3, QMMETRIC_TEXT, out, 8, &size), QM_E_MORE_DATA);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(std::u16string(out), u"abc");
    EXPECT_EQ(QmGetMetricAny(m_handle, 3, QMMETRIC_TEXT, out, 6, &size), QM_E_MORE_DATA);
    EXPECT_EQ(size, 8u);
    // And one without anything.
    EXPECT_EQ(QmSetMetricUsingName(m_handle, u"S4", QMMETRIC_TEXT, u"", 0), S_OK);
    EXPECT_EQ(QmGetMetricAny(m_handle, 4, QMMETRIC_TEXT, nullptr, 10, &size), QM_E_MORE_DATA);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(QmGetMetricAny(m_handle, 4, QMMETRIC_TEXT, out, 2, &size), S_OK);
    EXPECT_EQ(Text(4, 32, u"default"), u"default");
    EXPECT_EQ(Text(4, 32, u"default", 1), u"");
}

TEST_F(Metrics, BytesAndStreams) {
    uint8_t bytes[8];
    std::fill_n(bytes, 8, uint8_t{0xEE});
    EXPECT_EQ(QmGetMetricBinary(m_handle, 1, bytes, 8), 0u);
    EXPECT_EQ(std::count(bytes, bytes + 8, 0), 8);
    EXPECT_EQ(QmSetMetricBinary(m_handle, 1, "12345", 5), S_OK);
    uint32_t size = 0;
    EXPECT_EQ(QmGetMetricBinaryEx(m_handle, 1, bytes, 8, &size), 5u);
    EXPECT_EQ(std::string(bytes, bytes + 8), std::string("12345\0\0\0", 8));
    EXPECT_EQ(QmGetMetricBinaryEx(m_handle, 1, bytes, 4, &size), 0u);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::count(bytes, bytes + 4, 0), 4);
    EXPECT_EQ(QmSetMetricBinary(m_handle, 1, nullptr, 5), E_INVALIDARG);

    const auto stream = [] {
        ComPtr<IStream> made(CreateMemoryStream());
        made->Release();
        return made;
    };
    const std::vector<uint8_t> block(2049, 7);
    ComPtr<IStream> source = stream();
    EXPECT_EQ(QmSetMetricStream(m_handle, 2, source.Get()), E_UNEXPECTED);
    EXPECT_EQ(source->Write(block.data(), 2049, nullptr), S_OK);
    EXPECT_EQ(QmSetMetricStream(m_handle, 2, source.Get()), E_INVALIDARG);
    EXPECT_EQ(source->Seek(2048, STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(QmSetMetricStream(m_handle, 2, source.Get()), S_OK);
    ComPtr<IStream> target = stream();
    EXPECT_EQ(QmGetMetricStream(m_handle, 3, target.Get()), E_UNEXPECTED);
    EXPECT_EQ(QmGetMetricStream(m_handle, 2, target.Get()), S_OK);
    uint64_t position = 0;
    EXPECT_EQ(target->Seek(0, STREAM_SEEK_END, &position), S_OK);
    EXPECT_EQ(position, 2048u);
}

TEST_F(Metrics, KeysOfApplicationsAndVersions) {
    const auto path = [](HQMMETRIC handle) {
        std::vector<StoreEntry> entries;
        EXPECT_EQ(QmSetMetric(handle, 1, 1), S_OK);
        EXPECT_EQ(StoreList(u"", entries), S_OK);
        QmMetric_CloseAndDeleteKey(handle);
        return entries.empty() ? u"" : entries.back().key;
    };
    const struct {
        uint32_t version;
        const char16_t *sub, *path;
    } rows[] = {
        {0, nullptr, u"Software\\Brena Creative Software\\App\\Metrics"},
        {0x00FF0000, nullptr, u"Software\\Brena Creative Software\\App\\Metrics"},
        {0x01000000, nullptr, u"Software\\Brena Creative Software\\App\\1.0\\Metrics"},
        {0x0C220000, u"Meters", u"Software\\Brena Creative Software\\App\\12.34\\Metrics\\Meters"},
    };
    for (const auto& row : rows) {
        HQMMETRIC handle = nullptr;
        ASSERT_EQ(QmMetric_Open(&handle, u"App", row.version, row.sub), S_OK);
        EXPECT_EQ(path(handle), row.path);
    }
    HQMMETRIC handle = nullptr, sub = nullptr;
    ASSERT_EQ(QmMetric_OpenRegHiveAndVersion(&handle, u"App", 0x01000000, u"Others", u"Deep\\Down"), S_OK);
    ASSERT_EQ(QmMetric_OpenSubKey(&sub, handle, u"Side"), S_OK);
    EXPECT_EQ(path(sub), u"Software\\Others\\App\\1.0\\Metrics\\Side");
    EXPECT_EQ(path(handle), u"Software\\Others\\App\\1.0\\Metrics\\Deep\\Down");
    const std::u16string longName(250, u'x');
    EXPECT_EQ(QmMetric_Open(&handle, longName.c_str(), 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(handle, nullptr);

    HQMMETRIC upper = nullptr;
    ASSERT_EQ(QmMetric_Open(&upper, u"TEST", 0, nullptr), S_OK);
    QmSetMetric(m_handle, 1, 11);
    EXPECT_EQ(QmGetMetric(upper, 1), 11u) << "paths are the same whatever their case";
    EXPECT_EQ(QmMetric_Close(upper), S_OK);
}

TEST_F(Metrics, WithoutMemoryNoHandleIsGiven) {
    using OpenHandle = HRESULT (*)(HQMMETRIC*, HQMMETRIC parent);
    const OpenHandle opens[] = {
        [](HQMMETRIC* out, HQMMETRIC) {
            return QmMetric_Open(out, u"An application of some length", 0, u"Key");
        },
        [](HQMMETRIC* out, HQMMETRIC) {
            return QmMetric_OpenAppVersion(out, u"Software\\A path\\of some length", u"Key");
        },
        [](HQMMETRIC* out, HQMMETRIC parent) {
            return QmMetric_OpenSubKey(out, parent, u"A key of some length");
        },
    };
    for (const OpenHandle open : opens) {
        int failed = 0;
        for (HRESULT hr = E_OUTOFMEMORY; hr != S_OK; failed++) {
            auto* handle = reinterpret_cast<HQMMETRIC>(intptr_t{1});
            allocationsLeft = failed;
            hr = open(&handle, m_handle);
            allocationsLeft = -1;
            ASSERT_EQ(handle == nullptr, hr == E_OUTOFMEMORY) << failed;
            if (hr == S_OK) QmMetric_Close(handle);
        }
        EXPECT_GT(failed, 3);
    }
}

TEST_F(Metrics, DeletingTakesAKeyWithWhatIsBelow) {
    HQMMETRIC sub = nullptr, sibling = nullptr;
    ASSERT_EQ(QmMetric_OpenSubKey(&sub, m_handle, u"Sub"), S_OK);
    ASSERT_EQ(QmMetric_Open(&sibling, u"Test2", 0, nullptr), S_OK);
    const auto fill = [&] {
        for (const HQMMETRIC handle : {m_handle, sub, sibling}) QmSetMetric(handle, 1, 1);
    };
    const auto left = [&] {
        return QmGetMetric(m_handle, 1) * 100 + QmGetMetric(sub, 1) * 10 + QmGetMetric(sibling, 1);
    };
    fill();
    EXPECT_EQ(QmMetric_DeleteKey(u"Test", 0, u"Sub"), S_OK);
    EXPECT_EQ(left(), 101u);
    fill();
    EXPECT_EQ(QmMetric_DeleteAll(u"Test", 0), S_OK);
    EXPECT_EQ(left(), 1u);
    fill();
    EXPECT_EQ(QmMetric_DeleteUserMetrics(u"Test", 0), S_OK);
    EXPECT_EQ(left(), 1u);
    QmMetric_Close(sub);
    QmMetric_Close(sibling);
}

class UserLcid : public HomeTest {};

TEST_F(UserLcid, TheUsersChoiceThenTheAdministratorsThenTheEnvironments) {
    uint32_t lcid = 9;
    EXPECT_TRUE(Failed(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0)));
    EXPECT_EQ(lcid, 0u);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 1), S_OK);
    EXPECT_EQ(lcid & 0x400, 0x400u);

    // The administrator's file is a user's file elsewhere.
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0x40C, 0), S_OK);
    std::filesystem::create_directories(m_home / "machine");
    std::filesystem::rename(Database().parent_path(), m_home / "machine" / "Tarn");
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x40Cu);
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0x407, 0), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x407u);
    EXPECT_TRUE(Failed(QmLang_LoadUserLCIDMetric(u"App", 0x02010000, &lcid, 0)))
        << "each version has its own";
    EXPECT_EQ(QmLang_SaveUserLCIDAppReg(u"Software\\Brena Creative Software\\App\\2.1", 0x411, 0), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0x02010000, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x411u);
    EXPECT_EQ(QmLang_SaveUserLCIDMetric(u"App", 0, 0, 1), S_OK);
    EXPECT_EQ(QmLang_LoadUserLCIDMetric(u"App", 0, &lcid, 0), S_OK);
    EXPECT_EQ(lcid, 0x40Cu);
}

}  // namespace
