// A console's page on a project of three tones: the module loaded as a host loads it, the engine playing
// behind the contract, and a person's hands on the page.
#pragma once

#include "host/app/gesture.h"
#include "host/app/page_host.h"
#include "host/contract/plugin.h"
#include "host/contract/project.h"
#include "tests/e2e/sine_files.h"
#include "tests/support/page_driver.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace host;

class ConsoleProject : public ::testing::Test, public PageDriver {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        const std::filesystem::path path = Folder();
        Session session = NewSession();
        session.length = SINE_SECONDS;
        ChannelId master = kNoChannel;
        for (const Channel& channel : session.channels)
            if (channel.kind == ChannelKind::Master) master = channel.id;
        const char* names[] = {"Drums", "Bass", "Keys"};
        for (int i = 0; i < 3; i++) {
            const std::string file = std::string(names[i]) + ".wav";
            WriteSine(path / file, 110.0 * (i + 1));
            Channel track;
            track.id = 100 + static_cast<ChannelId>(i);
            track.name = names[i];
            track.output = master;
            track.clips.push_back({file, 0, 0, SINE_SECONDS, 0});
            session.channels.insert(session.channels.begin() + i, track);
        }
        SaveSession(session, path / "test.tarn");
        project.Open(path / "test.tarn");
        plugin = std::make_unique<Plugin>(TARN_CONSOLE_MODULE, project);
        plugin->ProjectOpened();
        place.resize(760, 480);
        place.show();
        ASSERT_TRUE(OpenPage());
    }
    void TearDown() override {
        place.Close();
        if (plugin) plugin->ProjectClosing();
        plugin.reset();
    }
    bool OpenPage() { return place.Open(plugin->MakePage(CLSID_ConsoleMixerPage), plugin->Object()); }
    QWidget& Page() override { return *place.PageWindow(); }
    std::filesystem::path Folder() const { return folder.path().toStdString(); }
    Channel Find(const std::string& name) {
        for (const Channel& channel : project.Snapshot().channels)
            if (channel.name == name) return channel;
        return {};
    }
    void Do(const char* gesture) {
        Gesture parsed;
        QString reason;
        ASSERT_TRUE(Gesture::Parse(QString::fromLatin1(gesture), &parsed, &reason)) << reason.toStdString();
        ASSERT_TRUE(
            Perform(Page(), parsed, ChannelNamed(project.Snapshot(), parsed.channel, &reason), &reason))
            << reason.toStdString();
    }
    double RenderDb(const char* name) {
        project.Render(Folder() / name, std::nullopt);
        return RmsDb(Folder() / name);
    }

    QTemporaryDir folder;
    Project project{
        EngineOptions{.systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}}};
    std::unique_ptr<Plugin> plugin;
    std::vector<uint32_t> asked;  ///< commands that the page left to its host
    QString status;
    PageHost place{nullptr,
                   {[this](uint32_t command) {
                        asked.push_back(command);
                        return true;
                    },
                    [this](const QString& text) { status = text; }}};
};
