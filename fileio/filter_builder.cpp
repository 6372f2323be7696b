#include "fileio/filter_builder.h"

#include "fileio/extensions.h"
#include "mediafile/media_codes.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <algorithm>

namespace tarn {

namespace {

class CQmFioFilterBuilder final
    : public Counted<IQmFioFilterBuilder2, IID_IQmFioFilterBuilder, IID_IQmFioFilterBuilder2> {
public:
    CQmFioFilterBuilder(IUnknown* manager, const PluginList& plugins)
        : m_manager(manager), m_plugins(plugins) {}

    HRESULT AddReaders() override { return AddAll(PluginRole::Reader); }
    HRESULT AddRenderers() override { return AddAll(PluginRole::Renderer); }
    HRESULT AddType(const char16_t* name, const char16_t* extensions) override {
        if (!name || !extensions) return E_POINTER;
        return Guarded([&] { return Add(Utf8FromUtf16(name), Utf8FromUtf16(extensions)); });
    }
    HRESULT SetAllTypesName(const char16_t* name) override {
        if (!name) return E_POINTER;
        return Guarded([&] { return m_allName = Utf8FromUtf16(name), S_OK; });
    }
    HRESULT AddAnyFile(const char16_t* name) override {
        if (!name) return E_POINTER;
        return Guarded([&] { return m_anyName = Utf8FromUtf16(name), S_OK; });
    }
    HRESULT GetFilter(char16_t* text, uint32_t capacity) override {
        if (!text) return E_POINTER;
        return Guarded([&]() -> HRESULT {
            std::string filter;
            const auto row = [&](const std::string& name, const std::string& patterns) {
                filter += (filter.empty() ? "" : ";;") + name + " (" + patterns + ")";
            };
            if (m_rows.size() > 1) row(m_allName, Patterns(m_all));
            for (const Row& r : m_rows) row(r.name, Patterns(r.extensions));
            if (!m_anyName.empty()) row(m_anyName, "*");
            const std::u16string wide = Utf16FromUtf8(filter);
            if (wide.size() >= capacity) return MEDIA_E_NO_ROOM;
            CopyText(text, capacity, wide.c_str());
            return S_OK;
        });
    }

private:
    struct Row {
        std::string name;
        std::vector<std::string> extensions;
    };

    static std::string Patterns(const std::vector<std::string>& extensions) {
        std::string text;
        for (const std::string& e : extensions) text += (text.empty() ? "*." : " *.") + e;
        return text;
    }
    HRESULT Add(std::string name, const std::string& extensions) {
        if (extensions.empty() || !AreExtensions(extensions)) return E_INVALIDARG;
        // What the dialog takes for the ends of names and rows.
        std::erase_if(name, [](char c) { return c == '(' || c == ')' || c == ';'; });
        m_rows.push_back({std::move(name), SplitList(extensions)});
        for (const std::string& e : m_rows.back().extensions)
            if (std::ranges::count(m_all, e) == 0) m_all.push_back(e);
        return S_OK;
    }
    HRESULT AddAll(PluginRole role) {
        return Guarded([&] {
            for (const PluginSummary& s : m_plugins.All())
                if (s.failure.empty() && s.Has(role)) Add(Utf8FromUtf16(s.info.name), s.Extensions(role));
            return S_OK;
        });
    }

    const ComPtr<IUnknown> m_manager;
    const PluginList& m_plugins;
    std::vector<Row> m_rows;
    std::vector<std::string> m_all;
    std::string m_allName = "All Media", m_anyName;
};

}  // namespace

IQmFioFilterBuilder2* MakeFilterBuilder(IUnknown* manager, const PluginList& plugins) {
    return new CQmFioFilterBuilder(manager, plugins);
}

}  // namespace tarn
