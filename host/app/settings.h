// What the host keeps of its user, and in which language and time format it shows itself.
#pragma once

#include "kernel/metrics/metrics.h"

#include <QByteArray>

#include <filesystem>

namespace host {

/// The user's settings, read and written at once; without a home there are the defaults. [ui-thread]
class Settings {
public:
    /// A run by script neither reads nor leaves settings.
    explicit Settings(bool used);
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    /// The language chosen here, else the user's. English for scripts.
    uint32_t Language() const;
    void SetLanguage(uint32_t lcid);

    uint32_t TimeFormat() const;  ///< PositionFormat, of kernel/time/position.h
    void SetTimeFormat(uint32_t format);

    /// Size and place of the window, as Qt has them; empty at first.
    QByteArray Geometry() const;
    void SetGeometry(const QByteArray& geometry);

    /// What plug-ins have left for the user, as text; empty at first.
    std::string PluginPreferences() const;
    void SetPluginPreferences(const std::string& preferences);

    /// The keys that the user has given to commands, as text; empty at first.
    std::string Keys() const;
    void SetKeys(const std::string& keys);

    /// Where the last session was opened or saved; empty at first.
    std::filesystem::path SessionFolder() const;
    void SetSessionFolder(const std::filesystem::path& folder);
    /// Where recordings were imported from last, and where a mix was rendered to; likewise.
    std::filesystem::path ImportFolder() const;
    void SetImportFolder(const std::filesystem::path& folder);
    std::filesystem::path RenderFolder() const;
    void SetRenderFolder(const std::filesystem::path& folder);

private:
    std::string TextOf(int32_t metric, uint32_t limit) const;
    void SetText(int32_t metric, const std::string& text);
    std::filesystem::path FolderOf(int32_t metric) const;
    void SetFolder(int32_t metric, const std::filesystem::path& folder);

    const bool m_used;
    HQMMETRIC m_metrics = nullptr;
};

}  // namespace host
