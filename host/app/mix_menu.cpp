#include "host/app/mix_menu.h"

#include "host/app/effect_window.h"
#include "host/app/texts.h"
#include "platform/text.h"
#include "platform/ui/plain_text.h"

#include <QMenu>
#include <QWidget>

#include <algorithm>

using namespace tarn;

namespace host {
namespace {

struct NewChannelRow {
    ChannelKind kind;
    const char* command;
    HostTextId entry, name;
};
constexpr NewChannelRow NEW_CHANNELS[] = {
    {ChannelKind::AudioTrack, "Mix.AddAudioTrack", IDS_ADD_AUDIO_TRACK, IDS_NAME_AUDIO},
    {ChannelKind::MidiTrack, "Mix.AddMidiTrack", IDS_ADD_MIDI_TRACK, IDS_NAME_MIDI},
    {ChannelKind::AudioBus, "Mix.AddBus", IDS_ADD_BUS, IDS_NAME_BUS},
    {ChannelKind::Fx, "Mix.AddAssignableFx", IDS_ADD_FX, IDS_NAME_FX},
    {ChannelKind::Synth, "Mix.AddSoftSynth", IDS_ADD_SYNTH, IDS_NAME_SYNTH},
    {ChannelKind::InputBus, "Mix.AddInputBus", IDS_ADD_INPUT, IDS_NAME_INPUT},
};

/// A name as a menu shows it: an ampersand is no mark.
QString Entry(const std::string& name) {
    return QString::fromStdString(name).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

const Channel* SelectedOf(const Session& session) {
    const auto at = std::ranges::find(session.channels, true, &Channel::selected);
    return at == session.channels.end() ? nullptr : &*at;
}

}  // namespace

MixMenu::OpenWindow::OpenWindow(std::shared_ptr<Effect> shown, std::unique_ptr<EffectWindow> in)
    : effect(std::move(shown)), window(std::move(in)) {}
MixMenu::OpenWindow::~OpenWindow() { window.reset(); }

MixMenu::MixMenu(Project& project, QWidget& window, ShowProblem showProblem)
    : QObject(&window), m_project(project), m_window(window), m_showProblem(std::move(showProblem)) {}
MixMenu::~MixMenu() = default;

void MixMenu::Fill(QMenu& menu) {
    for (const NewChannelRow& row : NEW_CHANNELS) {
        QAction* action = menu.addAction(Text(row.entry));
        action->setObjectName(QLatin1String(row.command));
        connect(action, &QAction::triggered, this, [this, kind = row.kind] { AddChannel(kind); });
    }
    menu.addSeparator();
    QMenu* inserts = menu.addMenu(Text(IDS_MENU_INSERTS));
    connect(inserts, &QMenu::aboutToShow, this, [this, inserts] { FillInserts(*inserts); });
    QAction* remove = menu.addAction(Text(IDS_REMOVE_CHANNEL));
    remove->setObjectName(QStringLiteral("Mix.RemoveChannel"));
    connect(remove, &QAction::triggered, this, [this] { RemoveSelected(); });
    menu.addSeparator();
    QAction* dim = menu.addAction(Text(IDS_DIM));
    QAction* downmix = menu.addAction(Text(IDS_DOWNMIX));
    dim->setObjectName(QStringLiteral("Mix.Dim"));
    downmix->setObjectName(QStringLiteral("Mix.Downmix"));
    for (const auto& [action, bit] : {std::pair(dim, &Monitoring::dim), {downmix, &Monitoring::downmix}}) {
        action->setCheckable(true);
        // By a key the menu's marks may be of long ago.
        connect(action, &QAction::triggered, this, [this, bit = bit] {
            Monitoring monitoring = m_project.Snapshot().monitoring;
            monitoring.*bit = !(monitoring.*bit);
            m_project.SetMonitoring(monitoring);
        });
    }
    connect(&menu, &QMenu::aboutToShow, this, [this, inserts, remove, dim, downmix] {
        const Session session = m_project.Snapshot();
        const Channel* channel = SelectedOf(session);
        inserts->setEnabled(channel && TraitsOf(channel->kind).audio);
        remove->setEnabled(channel && channel->kind != ChannelKind::Master &&
                           channel->kind != ChannelKind::PreviewBus);
        dim->setChecked(session.monitoring.dim);
        downmix->setChecked(session.monitoring.downmix);
    });
}

void MixMenu::AddChannel(ChannelKind kind) {
    const auto* row = std::ranges::find(NEW_CHANNELS, kind, &NewChannelRow::kind);
    const Session session = m_project.Snapshot();
    const auto count = std::ranges::count(session.channels, kind, &Channel::kind);
    const QString name = QStringLiteral("%1 %2").arg(Text(row->name)).arg(count + 1);
    if (m_project.AddChannel(kind, name.toStdString()) == kNoChannel)
        m_showProblem(Text(IDS_TITLE_MIX), QString::fromStdString(m_project.Refusal()));
}

void MixMenu::RemoveSelected() {
    for (const Channel& channel : m_project.Snapshot().channels)
        if (channel.selected) m_project.RemoveChannel(channel.id);
}

void MixMenu::FillInserts(QMenu& menu) {
    menu.clear();
    const Session session = m_project.Snapshot();
    const Channel* channel = SelectedOf(session);
    if (!channel) return;
    if (channel->instrument)
        FillEffect(*menu.addMenu(Entry(channel->instrument->name)), *channel, *channel->instrument, {});
    for (size_t i = 0; i < channel->inserts.size(); i++) {
        const host::Insert& insert = channel->inserts[i];
        const std::string& name = insert.name.empty() ? insert.uri : insert.name;
        FillEffect(*menu.addMenu(QStringLiteral("%1  %2").arg(i + 1).arg(Entry(name))), *channel, insert, i);
    }
    if (!menu.isEmpty()) menu.addSeparator();
    QAction* bypass = menu.addAction(Text(IDS_BYPASS_ALL));
    bypass->setCheckable(true);
    bypass->setChecked(channel->chain_bypass);
    connect(bypass, &QAction::triggered, this, [this, id = channel->id](bool on) {
        m_project.EditChannel(id, [on](Channel& c) { c.chain_bypass = on; });
    });
    FillNewEffect(*menu.addMenu(Text(IDS_ADD_EFFECT)), *channel);
}

void MixMenu::FillEffect(QMenu& menu, const Channel& channel, const host::Insert& insert,
                         std::optional<size_t> place) {
    const ChannelId id = channel.id;
    const SubId effect = insert.id;
    const auto add = [&](HostTextId text, bool enabled, auto slot) {
        QAction* action = menu.addAction(Text(text));
        action->setEnabled(enabled);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    add(IDS_EDIT_EFFECT, m_project.FindEffect(id, effect) != nullptr,
        [this, id, effect] { Edit(id, effect); });
    QAction* bypass = add(IDS_BYPASS, true, [this, id, effect](bool on) {
        m_project.EditChannel(id, [=](Channel& c) {
            if (host::Insert* at = FindInsert(c, effect)) at->bypass = on;
        });
    });
    bypass->setCheckable(true);
    bypass->setChecked(insert.bypass);
    if (place) {
        QAction* post = add(IDS_POST_FADER, true, [this, id, effect](bool on) {
            m_project.EditChannel(id, [=](Channel& c) {
                if (host::Insert* at = FindInsert(c, effect)) at->post_fader = on;
            });
        });
        post->setCheckable(true);
        post->setChecked(insert.post_fader);
        add(IDS_MOVE_UP, *place > 0,
            [this, id, effect, to = *place - 1] { m_project.MoveEffect(id, effect, to); });
        add(IDS_MOVE_DOWN, *place + 1 < channel.inserts.size(),
            [this, id, effect, to = *place + 1] { m_project.MoveEffect(id, effect, to); });
    }
    menu.addSeparator();
    add(IDS_REMOVE_EFFECT, true, [this, id, effect] { m_project.RemovePart(id, effect); });
}

void MixMenu::FillNewEffect(QMenu& menu, const Channel& channel) {
    menu.setEnabled(m_project.Effects());
    if (!m_project.Effects()) return;
    const auto texts = m_project.Texts();
    std::map<std::string, QMenu*> families;
    const std::vector<EffectInfo> effects = m_project.Effects()->List();
    for (const EffectInfo& info : effects) families[texts->Family(info.family)] = nullptr;
    for (auto& [name, family] : families) family = menu.addMenu(Entry(name));
    for (const EffectInfo& info : effects) {
        if (info.instrument && channel.kind != ChannelKind::Synth) continue;
        QAction* action = families[texts->Family(info.family)]->addAction(Entry(info.name));
        action->setEnabled(info.problem.empty());
        action->setToolTip(PlainText(QString::fromStdString(info.problem)));
        connect(action, &QAction::triggered, this,
                [this, id = channel.id, uri = info.uri] { Insert(id, uri); });
    }
    for (const auto& [name, family] : families) family->menuAction()->setVisible(!family->isEmpty());
}

void MixMenu::Insert(ChannelId channel, const std::string& uri) {
    const SubId made = m_project.InsertEffect(channel, uri);
    if (made == kNoSub)
        return m_showProblem(Text(IDS_TITLE_MIX), QString::fromStdString(m_project.Refusal()));
    Edit(channel, made);
}

void MixMenu::Edit(ChannelId channel, SubId effect) {
    const Key key{channel, effect};
    auto at = m_windows.find(key);
    if (at == m_windows.end()) {
        std::shared_ptr<Effect> running = m_project.FindEffect(channel, effect);
        if (!running) return;
        const Session session = m_project.Snapshot();
        const Channel* owner = FindChannel(session, channel);
        const QString title = Format(IDS_EFFECT_TITLE, Utf16FromUtf8(running->Info().name).c_str(),
                                     Utf16FromUtf8(owner ? owner->name : std::string()).c_str());
        auto window =
            std::make_unique<EffectWindow>(*running, m_project.EditsOf(channel, effect), title, &m_window);
        window->setWindowFlag(Qt::Window);
        at = m_windows.emplace(key, OpenWindow(std::move(running), std::move(window))).first;
    }
    at->second.window->show();
    at->second.window->raise();
    at->second.window->activateWindow();
}

void MixMenu::Refresh() {
    for (const auto& [channel, effect] : m_project.TakeEditorWishes()) Edit(channel, effect);
    std::erase_if(m_windows, [this](const auto& row) {
        return m_project.FindEffect(row.first.first, row.first.second) != row.second.effect;
    });
}

void MixMenu::ShowTexts() {
    for (auto& row : m_windows) row.second.window->ShowTexts();
}

void MixMenu::CloseWindows() { m_windows.clear(); }

}  // namespace host
