// The list of channel entries: built from the references, and kept in step with single changes of the host.
#include "console/console_plugin.h"
#include "console/group_actions.h"

#include <cassert>
#include <memory>
#include <new>

using namespace tarn;

namespace {

constexpr uint32_t SURROUND_HEAD = KIND_MASTER | KIND_SURROUND;

/// Companion slot of a pair selector, -1 for none: front, rear, centre, LFE.
int CompanionSlot(uint32_t pairSelector) {
    if ((pairSelector & SPEAKER_FRONT) == SPEAKER_FRONT) return 0;
    if ((pairSelector & SPEAKER_REAR) == SPEAKER_REAR) return 1;
    if (pairSelector & SPEAKER_CENTER) return 2;
    return pairSelector & SPEAKER_LFE ? 3 : -1;
}

ChannelKey KeyOf(const ChannelEntry& entry) {
    return {entry.kind, entry.order, entry.countClass, entry.pairSelector};
}

/// What of a strip a change of the host concerns.
uint32_t DirtyOf(const MPCTRLREC& rec) {
    if (rec.level > LEVEL_CHANNEL) return DIRTY_PARTS;
    if (rec.kindMask == 0) return DIRTY_ALL;
    constexpr uint32_t OTHERWISE =
        MASK_SWITCHES | MASK_AUTOMATION | MASK_IDENTITY | MASK_CHAIN | MASK_EFFECT_STATE;
    uint32_t dirty = rec.kindMask & ~OTHERWISE;
    if (rec.kindMask & MASK_IDENTITY) dirty |= DIRTY_ALL;
    if (rec.kindMask & (MASK_CHAIN | MASK_EFFECT_STATE)) dirty |= DIRTY_PARTS;
    return dirty | DIRTY_SWITCHES;  // values are always read back
}

/// The index is what the host says now; the entry's own may be older.
int32_t CompareEntries(uintptr_t criteria, const void* a, const void* b) {
    ChannelKeys& keys = ChannelKeys::FromCriteria(criteria);
    const auto& entryA = *static_cast<const ChannelEntry*>(a);
    const auto& entryB = *static_cast<const ChannelEntry*>(b);
    const bool mainA = entryA.state & ENTRY_MAIN_OUTPUT, mainB = entryB.state & ENTRY_MAIN_OUTPUT;
    if (mainA != mainB) return mainA ? -1 : 1;
    const auto key = [&keys](const ChannelEntry& entry) {
        ChannelKey k = KeyOf(entry);
        k.order = keys.Of(entry.id.channel).order;
        return k;
    };
    return CompareChannels(key(entryA), key(entryB), ChannelOrder::Entries);
}

}  // namespace

ChannelEntry* CConsoleControlPlugin::FindEntry(const void* pointer) const {
    assert(m_pageThread.IsHere());
    for (ChannelEntry* entry : Entries())
        if (entry == pointer) return entry;
    return nullptr;
}

ChannelEntry* CConsoleControlPlugin::EntryById(uint64_t channel) const {
    for (ChannelEntry* entry : Entries())
        if (entry->id.channel == channel) return entry;
    return nullptr;
}

void CConsoleControlPlugin::RequestRebuild() {
    CriticalSectionLock lock(MainLock());
    m_pendingChanges.clear();
    m_rebuildPending = true;
    if (m_view)
        m_view->PostPendingChanges();
    else
        ApplyPendingChanges();
}

HRESULT CConsoleControlPlugin::RebuildChannels() {
    if (m_view) m_view->OnEntryGoing(nullptr);
    for (ChannelEntry* entry : Entries()) delete entry;
    QmList_DeleteList(m_entries, 0, -1, 0);
    m_channelCounter = 0;
    for (MPCHANNELID& id : m_companions) id = {};
    if (!(ControlState() & CTRLSTATE_PROJECT_OPEN)) return S_OK;

    int32_t count = 0;
    HRESULT hr = GetChannelCount(&count);
    for (int32_t i = 0; i < count && Succeeded(hr); i++) {
        MPCHANNELID id{};
        hr = GetChannelId(i, &id);
        if (Succeeded(hr)) hr = AddEntry(id);
    }
    return hr;
}

void CConsoleControlPlugin::ReadEntry(ChannelEntry& entry) {
    MPCHANNELREC rec{};
    GetChannelRecord(entry.id, &rec, MASK_IDENTITY);
    const uint32_t suppressed = entry.kind & KIND_NO_STRIP;
    entry.kind = rec.kind | suppressed;
    entry.order = rec.order;
    entry.pairSelector = rec.pairSelector;
    entry.countClass = rec.countClass;
    entry.lookColour = rec.lookColour;
    entry.lookWidth = rec.lookWidth;
    entry.lookFlags = rec.lookFlags;
    entry.state &= ~(ENTRY_MAIN_OUTPUT | ENTRY_SECOND_OUTPUT | ENTRY_HIDDEN_BY_HOST);
    MPCHANNELREC switches{};
    if (GetChannelRecord(entry.id, &switches, MASK_SWITCHES) == S_OK && (switches.switches & SWITCH_HIDDEN))
        entry.state |= ENTRY_HIDDEN_BY_HOST;
    if (rec.kind & KIND_SPECIAL) {
        if (rec.order == ORDER_MAIN_OUTPUT) entry.state |= ENTRY_MAIN_OUTPUT;
        if (rec.order == ORDER_PREVIEW_OUTPUT) entry.state |= ENTRY_SECOND_OUTPUT;
        return;
    }
    if ((rec.kind & KIND_GROUP_HEAD_MASK) >= KIND_GROUP_HEAD_MASK) {
        entry.hasCompanions = 1;
        entry.kind &= ~KIND_NO_STRIP;
        for (int slot = 0; slot < 4; slot++) entry.companions[slot] = MPCHANNELREC_Companion(rec, slot);
    }
}

void CConsoleControlPlugin::ReadNames(ChannelEntry& entry) {
    GetChannelName(entry.id, SELECT_SHORT_NAME, entry.shortName, CHANNEL_NAME_SIZE);
    GetChannelName(entry.id, SELECT_LONG_NAME, entry.longName, CHANNEL_NAME_SIZE);
}

/// A side channel of the surround master disappears behind the group's head.
void CConsoleControlPlugin::NoteCompanion(ChannelEntry& entry) {
    if ((entry.kind & KIND_MASTER) != KIND_MASTER || (entry.kind & KIND_SURROUND)) return;
    const int slot = CompanionSlot(entry.pairSelector);
    if (slot >= 0) m_companions[slot] = entry.id;
    for (ChannelEntry* head : Entries())
        if (head->kind == SURROUND_HEAD) {
            std::copy(std::begin(m_companions), std::end(m_companions), head->companions);
            entry.kind |= KIND_NO_STRIP;
        }
}

void CConsoleControlPlugin::NoteGroupHead(ChannelEntry& entry) {
    for (ChannelEntry* other : Entries())
        for (const MPCHANNELID& id : entry.companions)
            if (id.channel && other->id == id) other->kind |= KIND_NO_STRIP;
}

HRESULT CConsoleControlPlugin::AddEntry(const MPCHANNELID& id) {
    std::unique_ptr<ChannelEntry> entry(new (std::nothrow) ChannelEntry);
    if (!entry) return E_OUTOFMEMORY;
    entry->id = id;
    ReadEntry(*entry);
    ReadNames(*entry);
    if (entry->hasCompanions)
        NoteGroupHead(*entry);
    else if (!(entry->kind & KIND_SPECIAL))
        NoteCompanion(*entry);
    entry->position = m_channelCounter++;
    const HRESULT hr = PlaceEntry(entry.get());
    if (Succeeded(hr)) (void)entry.release();  // the list's now
    return hr;
}

/// Within a round of the keys.
HRESULT CConsoleControlPlugin::PlaceEntry(ChannelEntry* entry) {
    const int32_t at = QmList_FindSortedInsertIndexRange(m_entries, entry, 0, -1, CompareEntries);
    return QmList_InsertList(m_entries, at, &entry, 1);
}

void CConsoleControlPlugin::RemoveEntry(ChannelEntry* entry) {
    if (m_view) m_view->OnEntryGoing(entry);
    QmList_DeleteList(m_entries, QmList_FindSpecificItemRange(m_entries, 0, -1, entry), 1, 0);
    delete entry;
}

HRESULT CConsoleControlPlugin::UpdateEntry(const MPCTRLREC& rec) {
    if (rec.level < LEVEL_CHANNEL || rec.level > LEVEL_PARAMETER) return S_FALSE;
    const bool placesChange =
        rec.level == LEVEL_CHANNEL && ((rec.flags & (CHANGE_ADDED | CHANGE_REMOVED | CHANGE_CTRL_REPLACED)) ||
                                       (rec.kindMask & (MASK_IDENTITY | MASK_NAME | MASK_SWITCHES)));
    if (placesChange) {
        m_pendingChanges.push_back(rec);
        if (m_view)
            m_view->PostPendingChanges();
        else
            ApplyPendingChanges();
        return S_OK;
    }
    ChannelEntry* entry = EntryById(rec.object.channel);
    if (!entry) return S_FALSE;
    if (m_view) m_view->NotifyChannel(entry, DirtyOf(rec));
    return S_OK;
}

bool CConsoleControlPlugin::ApplyPendingChanges() {
    CriticalSectionLock lock(MainLock());
    // What the host sends from within the calls that are made here waits for the next turn of the loop: the
    // list must not change under a search of it.
    assert(!m_view || m_pageThread.IsHere());
    if (m_applying) return false;
    m_applying = true;
    bool changed = std::exchange(m_shownChanged, false);
    while (m_rebuildPending || !m_pendingChanges.empty()) {
        const ChannelKeys::Round round(Keys());
        bool moved = std::exchange(m_rebuildPending, false);
        if (moved) RebuildChannels();
        if (moved && std::exchange(m_groupsPending, false))
            LoadProjectGroups();
        else if (moved && !m_groups.empty())
            ApplyToNewEntries(*this, *m_groups.front());
        for (const MPCTRLREC& rec : std::exchange(m_pendingChanges, {})) changed |= ApplyChange(rec, &moved);
        if (moved) QmList_Sort(m_entries, Keys().AsCriteria(), CompareEntries);
        changed |= moved;
    }
    m_applying = false;
    return changed;
}

/// True when entries came, went, were hidden or shown; *moved when the order may be another.
bool CConsoleControlPlugin::ApplyChange(const MPCTRLREC& rec, bool* moved) {
    if (rec.id == MPCTRL_LOOK) {
        if (m_view) m_view->OnLookChanged(rec.kindMask);
        return false;
    }
    if (rec.id == MPCTRL_BUSY) {
        if (m_view) m_view->OnBusyChanged(rec.flags & BUSY_ON);
        return false;
    }
    ChannelEntry* entry = EntryById(rec.object.channel);
    if (rec.flags & CHANGE_REMOVED) {
        if (entry) RemoveEntry(entry);
        return entry != nullptr;
    }
    if (rec.flags & CHANGE_ADDED) {
        const bool added = !entry && rec.object.channel && Succeeded(AddEntry(rec.object));
        *moved |= added;
        return added;
    }
    if (!entry) return false;
    if (rec.flags & CHANGE_CTRL_REPLACED) entry->id = rec.second;
    const bool hadStrip = entry->HasStrip();
    const uint32_t hadKind = entry->kind;
    const int32_t hadOrder = entry->order;
    ReadEntry(*entry);
    ReadNames(*entry);
    if (m_view) m_view->NotifyChannel(entry, DirtyOf(rec));
    if (entry->kind == hadKind && entry->order == hadOrder) return entry->HasStrip() != hadStrip;
    QmList_DeleteList(m_entries, QmList_FindSpecificItemRange(m_entries, 0, -1, entry), 1, 0);
    PlaceEntry(entry);
    *moved = true;
    return true;
}
