// Files of every kind into a session and out of it.
#include "fileio/template_list.h"
#include "host/app/main_window.h"
#include "host/app/render_dialog.h"
#include "host/app/settings.h"
#include "host/app/template_dialog.h"
#include "host/media/import.h"
#include "host/media/template_render.h"
#include "tests/e2e/sine_files.h"
#include "tests/fileio/file_manager.h"

#include <sndfile.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <fstream>

using namespace host;
using namespace tarn;

namespace {

namespace fs = std::filesystem;

/// Clicks in a container that FFmpeg's libraries alone read.
Bytes FilmSound(uint32_t seconds = 1) {
    constexpr uint32_t FRAMES = 441, DATA = FRAMES * 4 + 1;
    Bytes film = {'F', 'L', 'V', 1, 4, 0, 0, 0, 9, 0, 0, 0, 0};
    const auto big = [&](uint32_t value, int bytes) {
        while (bytes-- > 0) film.push_back(static_cast<uint8_t>(value >> 8 * bytes));
    };
    for (uint32_t tag = 0; tag < seconds * 100; tag++) {
        film.push_back(8);
        big(DATA, 3);
        big(tag * 10, 3);
        big(0, 4);
        film.push_back(0x3F);  // 44,100 Hz, 16 bits, stereo
        for (uint32_t i = 0; i < FRAMES * 4; i++) film.push_back(i % 200 < 2 ? 0x10 : 0);
        big(DATA + 11, 4);
    }
    return film;
}

SF_INFO InfoOf(const fs::path& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_TRUE(file) << path;
    if (file) sf_close(file);
    return info;
}

class HostMedia : public FileManagerTest {
protected:
    HostMedia() {
        StartOwn();
        project.SaveAs(Path("session/s.tarn").c_str());
        WriteSine(Path("plain.wav"), 220);
        Make("film.flv", FilmSound());
    }
    ImportResult Import(const std::vector<std::string>& names,
                        const std::function<bool(double)>& progress = {}) {
        std::vector<fs::path> files;
        for (const std::string& name : names) files.push_back(Path(name));
        return ImportRecordings(project, *manager, files, 0.5, progress);
    }
    std::vector<fs::path> Files(const std::string& name) const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(Path(name))) files.push_back(entry.path().filename());
        std::ranges::sort(files);
        return files;
    }
    std::vector<Channel> Tracks() const {
        std::vector<Channel> tracks = project.Snapshot().channels;
        std::erase_if(tracks, [](const Channel& c) { return c.kind != ChannelKind::AudioTrack; });
        return tracks;
    }

    struct Folder {
        explicit Folder(const fs::path& path) { fs::create_directories(path); }
    } folder{Path("session")};
    Project project{EngineOptions{.systemDevice = false}};
};

TEST_F(HostMedia, WhatIsReadBecomesATrackAndAllElseIsToldOf) {
    SF_INFO wide{0, 22050, 6, SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* six = sf_open(Path("six.wav").c_str(), SFM_WRITE, &wide);
    const std::vector<short> samples(size_t{22050} * 6, 1000);
    sf_writef_short(six, samples.data(), 22050);
    sf_close(six);
    Bytes cut = FilmSound();
    cut.resize(60000);  // in the middle of a tag
    Make("cut.flv", cut);
    Make("text.txt", {'n', 'o', 't', 'e'});
    fs::copy_file(Path("plain.wav"), Path("bad\xFF.wav"));
    const ImportResult result =
        Import({"plain.wav", "six.wav", "text.txt", "film.flv", "cut.flv", "gone.wav", "bad\xFF.wav"});
    EXPECT_EQ(result.tracks, 4u);
    const std::pair<const char*, const char*> reasons[] = {
        {"text.txt", "unsupported format"}, {"gone.wav", "no such file"}, {"\xFF.wav", "not UTF-8"}};
    ASSERT_EQ(result.problems.size(), std::size(reasons));
    for (size_t i = 0; i < std::size(reasons); i++) {
        EXPECT_NE(result.problems[i].find(reasons[i].first), std::string::npos) << result.problems[i];
        EXPECT_NE(result.problems[i].find(reasons[i].second), std::string::npos) << result.problems[i];
    }
    const std::vector<Channel> tracks = Tracks();
    ASSERT_EQ(tracks.size(), 4u);
    const char* const clips[] = {"../plain.wav", "Imported/six.wav", "Imported/film.wav", "Imported/cut.wav"};
    for (size_t i = 0; i < 4; i++) {
        EXPECT_EQ(tracks[i].clips.at(0).file, clips[i]);
        EXPECT_EQ(tracks[i].clips[0].start, 0.5);
        EXPECT_TRUE(tracks[i].selected);
        EXPECT_NE(tracks[i].output, kNoChannel);
    }
    EXPECT_EQ(InfoOf(Path("session/Imported/six.wav")).channels, 2);
    EXPECT_EQ(InfoOf(Path("session/Imported/film.wav")).samplerate, 44100);
    EXPECT_NEAR(tracks[2].clips[0].length, 1, 0.02);
    EXPECT_EQ(project.Length(), 0.5 + SINE_SECONDS);
    project.Render(Path("mix.wav"), std::nullopt);
    EXPECT_GT(RmsDb(Path("mix.wav")), -30);

    // One step, with the session's length.
    EXPECT_EQ(project.NextUndo(), EditKind::Import);
    ASSERT_TRUE(project.Undo());
    EXPECT_TRUE(Tracks().empty());
    EXPECT_EQ(project.Length(), 0);
    ASSERT_TRUE(project.Redo());
    EXPECT_EQ(Tracks(), tracks);
    EXPECT_EQ(project.Length(), 0.5 + SINE_SECONDS);
    // A second one does not write over the first.
    EXPECT_EQ(Import({"film.flv"}).tracks, 1u);
    EXPECT_EQ(Tracks().back().clips[0].file, "Imported/film 2.wav");
}

TEST_F(HostMedia, AnImportThatIsCancelledOrFailsLeavesNothing) {
    for (const double when : {0.0, 0.4, 0.9}) {
        const ImportResult result =
            Import({"film.flv", "film.flv"}, [when](double done) { return done < when; });
        EXPECT_TRUE(result.cancelled);
        EXPECT_TRUE(Tracks().empty());
        EXPECT_EQ(Files("session"), std::vector<fs::path>{"s.tarn"}) << when;
    }
    // What reads it is killed in the middle: that file fails, and the next has a new process.
    Make("long.flv", FilmSound(60));
    const ImportResult result = Import({"long.flv", "film.flv"}, [](double done) {
        for (const pid_t surrogate : done > 0 && done < 0.5 ? Surrogates() : std::vector<pid_t>())
            ::kill(surrogate, SIGKILL);
        return true;
    });
    ASSERT_EQ(result.problems.size(), 1u);
    EXPECT_NE(result.problems[0].find("long.flv: at frame "), std::string::npos) << result.problems[0];
    EXPECT_NE(result.problems[0].find("ended"), std::string::npos) << result.problems[0];
    EXPECT_EQ(result.tracks, 1u);
    EXPECT_EQ(Files("session/Imported"), std::vector<fs::path>{"film.wav"});
}

TEST_F(HostMedia, TheMixIsRenderedByAnyTemplateOrNotAtAll) {
    ASSERT_EQ(Import({"plain.wav"}).tracks, 1u);
    const auto render = [&](const std::string& name, const std::string& settings,
                            const std::function<bool(double)>& progress = {}) {
        const OwnedTemplate t = TemplateFor(*manager, project.Snapshot(), Path(name), settings);
        return RenderByTemplate(project, *manager, Path(name), *t, 2.0, progress);
    };
    struct Row {
        const char *name, *settings;
        int format, rate, channels;
    };
    const Row rows[] = {
        {"a.wav", "", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 48000, 2},
        {"b.wav", "44,100 Hz, 16 Bit, Mono", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1},
        {"c.wav", "32 Bit (IEEE Float), as the source", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 48000, 2},
        {"d.flac", "FLAC, level 5, 24 Bit", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 48000, 2},
        {"e.ogg", "", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 48000, 2},
        {"f.opus", "Opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 48000, 2},
        {"g.mp3", "MP3, 192 kbps", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 48000, 2},
        {"h.aiff", "", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, 48000, 2},
        {"i.w64", "", SF_FORMAT_W64 | SF_FORMAT_PCM_24, 48000, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const RenderResult result = render(row.name, row.settings);
        EXPECT_TRUE(result.finished && result.problems.empty());
        EXPECT_NEAR(result.loudnessLufs, -12, 2);
        const SF_INFO info = InfoOf(Path(row.name));
        EXPECT_EQ(info.format & (SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK), row.format);
        EXPECT_EQ(info.samplerate, row.rate);
        EXPECT_EQ(info.channels, row.channels);
        EXPECT_NEAR(static_cast<double>(info.frames), 2.0 * row.rate, 3000);
    }
    // What the engine writes itself, to the sample.
    project.Render(Path("own.wav"), 2.0);
    for (const char* name : {"a.wav", "d.flac"}) {
        std::vector<int> samples[2];
        for (const std::string& file : {std::string("own.wav"), std::string(name)}) {
            SF_INFO info{};
            SNDFILE* in = sf_open(Path(file).c_str(), SFM_READ, &info);
            std::vector<int>& to = samples[file == name];
            to.resize(size_t{96000} * 2);
            EXPECT_EQ(sf_readf_int(in, to.data(), 96000), 96000) << file;
            sf_close(in);
        }
        EXPECT_EQ(samples[0], samples[1]) << name;
    }
    const Bytes before = Content("a.wav");
    for (const double when : {0.0, 0.5})
        EXPECT_THROW(render("a.wav", "", [&](double d) { return d < when; }), RenderError);
    EXPECT_EQ(Content("a.wav"), before);
    for (const auto& [name, settings] :
         {std::pair{"x.wav", "FLAC, level 5"}, {"x.xyz", ""}, {"x.flac", "None"}})
        EXPECT_THROW(render(name, settings), RenderError) << name;
    EXPECT_FALSE(fs::exists(Path("x.wav")));
}

/// Does that in the window that comes up.
template <class Dialog, class Work>
void InWindow(Work work) {
    QTimer::singleShot(0, [work] {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* dialog = dynamic_cast<Dialog*>(widget); dialog && dialog->isVisible())
                return work(*dialog);
        ADD_FAILURE() << "no window";
    });
}
template <class Widget>
void Press(QWidget& in, const char* text) {
    for (Widget* button : in.findChildren<Widget*>())
        if (button->text().remove(QLatin1Char('&')) == QLatin1String(text)) return button->click();
    ADD_FAILURE() << text;
}

TEST_F(HostMedia, TheUserKeepsTemplatesOfHisOwn) {
    _qmwaveformat mix{};
    mix.Init(48000, QMSAMPLE_PCM24, 2, 0, sizeof mix);
    const auto open = [&] { return std::make_unique<RenderDialog>(*manager, Path("mix"), mix, nullptr); };
    auto dialog = open();
    EXPECT_EQ(dialog->File(), Path("mix.wav"));
    const auto choose = [&](const char* text) {
        auto* list = dialog->findChild<QListWidget*>();
        const auto found = list->findItems(QLatin1String(text), Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << text;
        list->setCurrentItem(found[0]);
    };
    auto* kinds = dialog->findChild<QComboBox*>();
    kinds->setCurrentIndex(1);
    emit kinds->activated(1);
    choose("MP3, 192 kbps");
    EXPECT_EQ(dialog->File(), Path("mix.mp3"));
    InWindow<TemplateDialog>([](TemplateDialog& editor) {
        const auto set = [&](FIO_FIELD field, uint32_t value) {
            auto* combo = editor.findChild<QComboBox*>(QStringLiteral("field%1").arg(field));
            ASSERT_TRUE(combo);
            EXPECT_FALSE(combo->accessibleName().isEmpty());
            combo->setCurrentIndex(combo->findData(value));
            emit combo->activated(combo->currentIndex());
            QApplication::processEvents();
        };
        set(FIO_FIELD_BIT_RATE, 0);
        set(FIO_FIELD_QUALITY, 3);  // which was not there before
        set(FIO_FIELD_RATE, 44100);
        InWindow<QMessageBox>([](QMessageBox& box) { box.accept(); });
        Press<QPushButton>(editor, "Save");  // under the preset's name
        EXPECT_TRUE(editor.isVisible());
        editor.findChild<QLineEdit*>()->setText(QStringLiteral("Small"));
        Press<QPushButton>(editor, "Save");
    });
    Press<QPushButton>(*dialog, "Edit...");
    ASSERT_TRUE(dialog->Template());
    EXPECT_EQ(TemplateName(*dialog->Template()), u"Small");
    EXPECT_EQ(dialog->Template()->audio.format.sampleRate, 44100u);
    dialog->accept();
    dialog = open();  // the last one used
    ASSERT_TRUE(dialog->Template());
    EXPECT_EQ(TemplateName(*dialog->Template()), u"Small");
    ASSERT_EQ(dialog->File(), Path("mix.mp3"));
    ASSERT_TRUE(Import({"plain.wav"}).tracks == 1);
    RenderByTemplate(project, *manager, dialog->File(), *dialog->Template(), 1.0);
    EXPECT_EQ(InfoOf(Path("mix.mp3")).samplerate, 44100);
    InWindow<QMessageBox>([](QMessageBox& box) { Press<QPushButton>(box, "Yes"); });
    Press<QPushButton>(*dialog, "Delete...");
    EXPECT_TRUE(
        dialog->findChild<QListWidget*>()->findItems(QStringLiteral("Small"), Qt::MatchStartsWith).empty());
}

/// Has more fields than it was asked for, and more choices than fit.
struct LyingRenderer final : Counted<IQmRenderFileClass, IID_IQmRenderFileClass> {
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT GetPreset(uint32_t, tagQMTEMPLATExV2**) override { return S_FALSE; }
    HRESULT GetDefault(const char16_t*, const _qmwaveformat*, tagQMTEMPLATExV2**) override { return E_FAIL; }
    HRESULT CheckTemplate(const tagQMTEMPLATExV2*) override { return S_OK; }
    HRESULT GetExtensions(const tagQMTEMPLATExV2*, char16_t*, uint32_t) override { return S_FALSE; }
    HRESULT CreateFile(int32_t, const char16_t*, const tagQMTEMPLATExV2*, const _qmwaveformat*,
                       IQmRenderFile**) override {
        return E_FAIL;
    }
    HRESULT GetFields(const tagQMTEMPLATExV2*, uint32_t capacity, FIOTEMPLATEFIELD* fields,
                      uint32_t* count) override {
        for (uint32_t i = 0; i < capacity; i++) fields[i] = {i + 1, i, i == 3 ? 2 : UINT32_MAX, {i, 7}};
        return *count = UINT32_MAX, S_OK;
    }
    HRESULT SetField(tagQMTEMPLATExV2** settings, uint32_t, uint32_t) override {
        CoTaskMemFree(*settings);
        return *settings = nullptr, S_OK;
    }
};

TEST_F(HostMedia, TheEditorOfTemplatesBelievesNoRenderer) {
    const ComPtr<LyingRenderer> renderer(new LyingRenderer);
    const OwnedTemplate settings = TemplateFor(*manager, project.Snapshot(), Path("a.wav"), "");
    TemplateDialog editor(*manager, *renderer, *settings, nullptr);
    const auto combos = editor.findChildren<QComboBox*>();
    ASSERT_EQ(combos.size(), 1);
    EXPECT_EQ(combos[0]->count(), 2);
    emit combos[0]->activated(1);  // which leaves nothing
    QApplication::processEvents();
    editor.findChild<QLineEdit*>()->setText(QStringLiteral("Mine"));
    Press<QPushButton>(editor, "Save");
    tagQMTEMPLATExV2* kept = nullptr;
    EXPECT_EQ(QmFio_GetTemplateByName(manager.Get(), &settings->renderer, u"Mine", &kept), S_OK);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->audio.format.sampleRate, settings->audio.format.sampleRate);
    CoTaskMemFree(kept);
}

TEST_F(HostMedia, TheWindowTakesWhatIsDroppedAndRenders) {
    Project fresh(EngineOptions{.systemDevice = false});  // one without a file
    Settings none(false);
    MainWindow window(fresh, none, fs::path(TARN_CONSOLE_MODULE).parent_path(), 1033);
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(QString::fromStdString(Path("film.flv")))});
    QDragEnterEvent enter({}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &enter);
    QDropEvent drop({}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &drop);
    const auto hasTrack = [&] { return fresh.Length() > 0; };
    ASSERT_TRUE(QTest::qWaitFor(hasTrack, 60000));
    EXPECT_TRUE(fs::exists(Path("XDG_DATA_HOME/Tarn/Imported/film.wav")));
    InWindow<RenderDialog>([&](RenderDialog& dialog) {
        dialog.findChild<QLineEdit*>()->setText(QString::fromStdString(Path("w.wav")));
        Press<QPushButton>(dialog, "Render");
    });
    window.findChild<QAction*>(QStringLiteral("File.Render"))->trigger();
    EXPECT_EQ(InfoOf(Path("w.wav")).channels, 2);
}

}  // namespace
