#include "platform/ui/shaped_text.h"

#include "platform/ui/paint.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QTextLayout>
#include <QThread>

#include <string>
#include <unordered_map>
#include <utility>

namespace {

struct Key {
    QFont font;
    Shortening shortening;
    std::u16string text;
};
/// A key whose text is the caller's.
struct KeyView {
    const QFont& font;
    Shortening shortening;
    std::u16string_view text;
};

struct Hash {
    using is_transparent = void;
    size_t operator()(const auto& key) const {
        // Not the font, which would take longer than the text: the few there are share a bucket.
        return std::hash<std::u16string_view>()(key.text) ^ static_cast<size_t>(key.shortening.widest);
    }
};
struct Equal {
    using is_transparent = void;
    bool operator()(const auto& a, const auto& b) const {
        return a.shortening == b.shortening && std::u16string_view(a.text) == std::u16string_view(b.text) &&
               a.font == b.font;
    }
};

/// The fonts must be given back before a program's font engine goes, and may not be asked for later when the
/// module is unloaded first.
class Cache {
public:
    ~Cache() { qRemovePostRoutine(Clear); }
    static Cache& Get() {
        static Cache cache;
        return cache;
    }
    const ShapedText& Find(const KeyView& key, ShapedText (&make)(const KeyView&)) {
        constexpr size_t MOST = 4096;
        if (const auto found = m_lines.find(key); found != m_lines.end()) return found->second;
        // A process may have one program after the other.
        if (!std::exchange(m_isWatched, true)) qAddPostRoutine(Clear);
        if (m_lines.size() >= MOST) m_lines.clear();
        return m_lines.emplace(Key{key.font, key.shortening, std::u16string(key.text)}, make(key))
            .first->second;
    }

private:
    static void Clear() {
        Get().m_lines.clear();
        Get().m_isWatched = false;
    }
    std::unordered_map<Key, ShapedText, Hash, Equal> m_lines;
    bool m_isWatched = false;
};

ShapedText Shape(const KeyView& key) {
    QString line(reinterpret_cast<const QChar*>(key.text.data()), static_cast<qsizetype>(key.text.size()));
    if (key.shortening.where != Qt::ElideNone)
        line = QFontMetrics(key.font).elidedText(line, key.shortening.where, key.shortening.widest);
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    QTextLayout layout(line, key.font);
    QTextOption option;
    option.setTextDirection(Qt::LayoutDirectionAuto);
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine shaped = layout.createLine();
    if (!shaped.isValid()) return {};
    constexpr qreal NO_END = 1 << 24;
    shaped.setLineWidth(NO_END);
    layout.endLayout();
    return {layout.glyphRuns(), shaped.horizontalAdvance(), shaped.naturalTextWidth(),
            shaped.ascent() + shaped.descent()};
}

}  // namespace

ShapedText ShapeText(const QFont& font, std::u16string_view text, Shortening shortening) {
    const KeyView key{font, shortening, text};
    const QCoreApplication* app = QCoreApplication::instance();
    if (!app || QThread::currentThread() != app->thread()) return Shape(key);
    return Cache::Get().Find(key, Shape);
}
