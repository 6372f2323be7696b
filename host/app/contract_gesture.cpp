#include "host/app/contract_gesture.h"

#include "host/contract/effect_catalog.h"
#include "host/engine/gain.h"

#include <vector>

using namespace tarn;

namespace host {
namespace {

/// One channel, or a part of it, seen through the interface.
class Target {
public:
    Target(IMPCtrlChannels& channels, const MPCHANNELID& id) : m_channels(channels), m_id(id) {}

    uint32_t Level() const { return m_id.sub ? LEVEL_SUB_OBJECT : LEVEL_CHANNEL; }
    bool Get(MPCHANNELREC& rec, uint32_t mask) const {
        return m_channels.Get(&m_id, Level(), &rec, 0, mask) == S_OK;
    }
    bool Set(MPCHANNELREC& rec, uint32_t mask) const {
        return m_channels.Set(&m_id, Level(), &rec, mask) == S_OK;
    }

    /// Takes hold of the control, moves it, and lets go.
    bool Move(MPCHANNELREC rec, uint32_t mask, float MPCHANNELREC::*field, float value) const {
        const uint32_t pair = rec.pairSelector;
        if (!Get(rec, mask)) return false;
        rec.pairSelector = pair;
        rec.selector = SELECT_CONSOLE_WRITE;
        rec.automation = AUTOMATION_TOUCH;
        if (!Set(rec, mask | MASK_AUTOMATION)) return false;
        rec.*field = value;
        const bool moved = Set(rec, mask | MASK_AUTOMATION);
        rec.automation = 0;
        return Set(rec, mask | MASK_AUTOMATION) && moved;
    }
    bool Switch(uint32_t bit, bool on) const {
        MPCHANNELREC rec{};
        if (!Get(rec, MASK_SWITCHES)) return false;
        rec.switches = on ? rec.switches | bit : rec.switches & ~bit;
        return Set(rec, MASK_SWITCHES) && Get(rec, MASK_SWITCHES) && bool(rec.switches & bit) == on;
    }
    bool Insert(MPCHANNELREC& rec) const {
        MPCHANNELID made = m_id;
        return m_channels.Insert(&made, LEVEL_SUB_OBJECT, &rec) == S_OK;
    }
    bool Remove() const { return m_channels.Remove(LEVEL_SUB_OBJECT, &m_id) == S_OK; }

private:
    IMPCtrlChannels& m_channels;
    MPCHANNELID m_id;
};

/// The channel's sends, or the effects of its chain, in their order.
std::vector<MPCHANNELID> Parts(IMPCtrlChannels& channels, ChannelId channel, bool sends) {
    std::vector<MPCHANNELID> parts;
    MPCHANNELREF ref{channel, nullptr, 0, nullptr};
    MPCHANNELREC rec{};
    uint32_t more = 0;
    for (HRESULT hr = channels.First(&ref, LEVEL_SUB_OBJECT, &rec, &more, 0, 0); hr == S_OK;
         hr = channels.Next(&ref, LEVEL_SUB_OBJECT, &rec, &more, 0, 0)) {
        const bool isSend = rec.switches & SWITCH_SEND,
                   inChain = !isSend && !(rec.effectState & EFFECT_INSTRUMENT);
        if (sends ? isSend : inChain) parts.push_back({channel, ref.sub, 0});
        if (!more) break;
        rec = {};
    }
    return parts;
}

bool WorkSend(const Target& send, const Gesture& gesture) {
    MPCHANNELREC rec{};
    if (gesture.kind == Gesture::Kind::SendLevel)
        return send.Move(rec, MASK_VOLUME, &MPCHANNELREC::volume, GainFromDb(gesture.number));
    if (gesture.word == QStringLiteral("remove")) return send.Remove();
    if (!send.Get(rec, MASK_SEND)) return false;
    const bool taps = gesture.word == QStringLiteral("pre") || gesture.word == QStringLiteral("post");
    const uint32_t bit = taps ? SENDSWITCH_PRE : SENDSWITCH_10000;
    const bool set = gesture.word == QStringLiteral("pre") || gesture.word == QStringLiteral("off");
    rec.sendSwitches = set ? rec.sendSwitches | bit : rec.sendSwitches & ~bit;
    return send.Set(rec, MASK_SEND);
}

bool WorkInsert(const Target& effect, const Gesture& gesture) {
    if (gesture.word == QStringLiteral("remove")) return effect.Remove();
    MPCHANNELREC rec{};
    if (!effect.Get(rec, MASK_EFFECT_STATE)) return false;
    const bool bypass = gesture.word == QStringLiteral("bypass");
    rec.effectState = bypass ? rec.effectState | EFFECT_BYPASSED : rec.effectState & ~EFFECT_BYPASSED;
    return effect.Set(rec, MASK_EFFECT_STATE);
}

uint32_t ModeWord(const QString& word) {
    struct Row {
        const char* word;
        uint32_t mode;
    };
    constexpr Row ROWS[] = {{"read", AUTOMATION_READ},
                            {"touch", AUTOMATION_TOUCH_MODE},
                            {"latch", AUTOMATION_LATCH},
                            {"write", AUTOMATION_WRITE}};
    for (const Row& row : ROWS)
        if (word == QLatin1String(row.word)) return row.mode;
    return 0;
}

}  // namespace

bool PerformByContract(IUnknown& host, const Session& session, const Gesture& gesture, ChannelId channel,
                       QString* error) {
    ComPtr<IMPCtrlChannels> channels;
    if (host.QueryInterface(IID_IMPCtrlChannels, channels.OutVoid()) != S_OK) return false;
    const Target target(*channels.Get(), {channel, 0, 0});
    MPCHANNELREC rec{};
    switch (gesture.kind) {
    case Gesture::Kind::Pan:
        rec.pairSelector = SPEAKER_FRONT;
        return target.Move(rec, MASK_PAN, &MPCHANNELREC::pan, static_cast<float>(gesture.number));
    case Gesture::Kind::Width:
        rec.pairSelector = SPEAKER_CENTER;
        return target.Move(rec, MASK_PAN, &MPCHANNELREC::pan, static_cast<float>(gesture.number - 1));
    case Gesture::Kind::Arm: return target.Switch(SWITCH_ARM, gesture.on);
    case Gesture::Kind::Monitor: return target.Switch(SWITCH_MONITOR, gesture.on);
    case Gesture::Kind::Automation:
        rec.automation = ModeWord(gesture.word);
        return target.Set(rec, MASK_AUTOMATION);
    case Gesture::Kind::InsertAdd:
        rec.order = ORDER_APPEND;
        rec.effectClass = ClassOfUri(gesture.word.toStdString());
        *error = QStringLiteral("there is no effect \"%1\" that could be had").arg(gesture.word);
        return target.Insert(rec);
    case Gesture::Kind::SendAdd:
        rec.sendTarget = ChannelNamed(session, gesture.word, error);
        return rec.sendTarget != kNoChannel && target.Insert(rec);
    case Gesture::Kind::SendLevel:
    case Gesture::Kind::SendSwitch:
    case Gesture::Kind::InsertSwitch: {
        const bool sends = gesture.kind != Gesture::Kind::InsertSwitch;
        const std::vector<MPCHANNELID> parts = Parts(*channels.Get(), channel, sends);
        if (gesture.index >= parts.size()) {
            *error = QStringLiteral("\"%1\" has %2 %3")
                         .arg(gesture.channel)
                         .arg(parts.size())
                         .arg(sends ? QStringLiteral("sends") : QStringLiteral("inserts"));
            return false;
        }
        const Target part(*channels.Get(), parts[gesture.index]);
        return sends ? WorkSend(part, gesture) : WorkInsert(part, gesture);
    }
    case Gesture::Kind::Fader:
    case Gesture::Kind::Mute:
    case Gesture::Kind::Solo:
    case Gesture::Kind::Import:
    case Gesture::Kind::Command: break;  // the page's
    }
    return false;
}

}  // namespace host
