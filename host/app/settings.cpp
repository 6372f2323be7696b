#include "host/app/settings.h"

#include "kernel/lang/lang.h"
#include "kernel/metrics/user_lcid.h"
#include "kernel/time/position.h"
#include "platform/text.h"

using namespace tarn;

namespace host {
namespace {

constexpr char16_t APPLICATION[] = u"Mixhost";
constexpr uint32_t VERSION = 0;

/// Numbers of the metrics; they are in users' files and never change their meaning.
enum Metric : int32_t {
    METRIC_GEOMETRY = 1,
    METRIC_TIME_FORMAT = 2,
    METRIC_SESSION_FOLDER = 3,
    METRIC_PLUGIN_PREFERENCES = 4,
    METRIC_KEYS = 5,
    METRIC_IMPORT_FOLDER = 6,
    METRIC_RENDER_FOLDER = 7,
};

constexpr uint32_t GEOMETRY_LIMIT = 1024, FOLDER_LIMIT = 4096, PREFERENCES_LIMIT = 1u << 20,
                   KEYS_LIMIT = 1u << 18;

}  // namespace

Settings::Settings(bool used) : m_used(used) {
    if (!used) return;
    QmMetric_Open(&m_metrics, APPLICATION, VERSION, nullptr);
    QmMetric_SetDefault(m_metrics);
}

Settings::~Settings() {
    if (!m_used) return;
    QmMetric_SetDefault(nullptr);
    QmMetric_Close(m_metrics);
}

uint32_t Settings::Language() const {
    uint32_t lcid = LCID_ENGLISH_US;
    if (m_used) QmLang_LoadUserLCIDMetric(APPLICATION, VERSION, &lcid, 1);
    return lcid;
}

void Settings::SetLanguage(uint32_t lcid) {
    if (m_used) QmLang_SaveUserLCIDMetric(APPLICATION, VERSION, lcid, 0);
}

uint32_t Settings::TimeFormat() const {
    return static_cast<uint32_t>(
        QmGetMetricEx(m_metrics, METRIC_TIME_FORMAT, 0, POSITION_FORMATS - 1, POSITION_TIME));
}

void Settings::SetTimeFormat(uint32_t format) { QmSetMetric(m_metrics, METRIC_TIME_FORMAT, format); }

QByteArray Settings::Geometry() const {
    QByteArray geometry(GEOMETRY_LIMIT, 0);
    geometry.resize(static_cast<qsizetype>(
        QmGetMetricBinary(m_metrics, METRIC_GEOMETRY, geometry.data(), GEOMETRY_LIMIT)));
    return geometry;
}

void Settings::SetGeometry(const QByteArray& geometry) {
    QmSetMetricBinary(m_metrics, METRIC_GEOMETRY, geometry.constData(),
                      static_cast<uint32_t>(geometry.size()));
}

std::string Settings::PluginPreferences() const {
    return TextOf(METRIC_PLUGIN_PREFERENCES, PREFERENCES_LIMIT);
}
void Settings::SetPluginPreferences(const std::string& preferences) {
    SetText(METRIC_PLUGIN_PREFERENCES, preferences);
}

std::string Settings::Keys() const { return TextOf(METRIC_KEYS, KEYS_LIMIT); }
void Settings::SetKeys(const std::string& keys) { SetText(METRIC_KEYS, keys); }

std::string Settings::TextOf(int32_t metric, uint32_t limit) const {
    std::string text(limit, 0);
    text.resize(QmGetMetricBinary(m_metrics, metric, text.data(), limit));
    return text;
}

void Settings::SetText(int32_t metric, const std::string& text) {
    QmSetMetricBinary(m_metrics, metric, text.data(), static_cast<uint32_t>(text.size()));
}

std::filesystem::path Settings::FolderOf(int32_t metric) const {
    char16_t folder[FOLDER_LIMIT];
    const uint32_t length = QmGetMetricStringEx(m_metrics, metric, folder, FOLDER_LIMIT, nullptr, 0);
    return Utf8FromUtf16({folder, length});
}

void Settings::SetFolder(int32_t metric, const std::filesystem::path& folder) {
    QmSetMetricString(m_metrics, metric, Utf16FromUtf8(folder.string()).c_str());
}

std::filesystem::path Settings::SessionFolder() const { return FolderOf(METRIC_SESSION_FOLDER); }
void Settings::SetSessionFolder(const std::filesystem::path& folder) {
    SetFolder(METRIC_SESSION_FOLDER, folder);
}
std::filesystem::path Settings::ImportFolder() const { return FolderOf(METRIC_IMPORT_FOLDER); }
void Settings::SetImportFolder(const std::filesystem::path& folder) {
    SetFolder(METRIC_IMPORT_FOLDER, folder);
}
std::filesystem::path Settings::RenderFolder() const { return FolderOf(METRIC_RENDER_FOLDER); }
void Settings::SetRenderFolder(const std::filesystem::path& folder) {
    SetFolder(METRIC_RENDER_FOLDER, folder);
}

}  // namespace host
