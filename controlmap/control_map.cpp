#include "controlmap/control_map.h"

#include <algorithm>
#include <string_view>

namespace {
// Rows that wait own no data of their own beyond the call: long data is the stream's.
MPFUNCTIONMAP Waiting(const MPFUNCTIONMAP& row, const MPEVENTREC& event, const MPEVENTREC& held) {
    MPFUNCTIONMAP waiting = row;
    waiting.first = event;
    waiting.second = row.second.type == MPNULL ? EmptyEvent() : held;
    for (MPEVENTREC* e : {&waiting.first, &waiting.second}) {
        e->data = nullptr;
        e->dataSize = 0;
    }
    return waiting;
}
}  // namespace

CControlMap::CControlMap(ControlMapSite& site, int32_t strips, uint32_t bankFilter)
    : m_site(site), m_bankFilter(bankFilter) {
    SetChannelCount(strips);
}

CControlMap::~CControlMap() {
    Idle(true);
    DeleteAll();
}

uint32_t CControlMap::Release() {
    const uint32_t left = --m_refs;
    if (left == 0) delete this;
    return left;
}

HRESULT CControlMap::AddMap(FUNCTIONMAPENTRY&& entry) {
    const std::scoped_lock lock(m_listLock);
    const auto same = std::ranges::find_if(m_maps, [&](const FUNCTIONMAPENTRY& known) {
        return std::u16string_view(known.name) == std::u16string_view(entry.name);
    });
    if (same == m_maps.end()) {
        m_maps.emplace_back();
        m_maps.back() = std::exchange(entry, {});
        return S_OK;
    }
    FreeFunctionTables(*same);
    *same = std::exchange(entry, {});
    return same - m_maps.begin() == m_current ? RebuildLists() : S_OK;
}

int32_t CControlMap::GetMapCount() const {
    const std::scoped_lock lock(m_listLock);
    return static_cast<int32_t>(m_maps.size());
}

HRESULT CControlMap::GetMap(int32_t index, FUNCTIONMAPENTRY* out) const {
    const std::scoped_lock lock(m_listLock);
    if (index < 0 || index >= std::ssize(m_maps)) return S_FALSE;
    *out = m_maps[static_cast<size_t>(index)];
    out->tables = nullptr;
    return S_OK;
}

FunctionRows CControlMap::Rows(int32_t index) const {
    const std::scoped_lock lock(m_listLock);
    if (index < 0 || index >= std::ssize(m_maps)) return {};
    return FunctionRows::Of(m_maps[static_cast<size_t>(index)]);
}

HRESULT CControlMap::DeleteMap(int32_t index) {
    const std::scoped_lock lock(m_listLock);
    if (index < 0 || index >= std::ssize(m_maps)) return S_FALSE;
    FreeFunctionTables(m_maps[static_cast<size_t>(index)]);
    m_maps.erase(m_maps.begin() + index);
    if (index == m_current) m_current = -1;
    if (index < m_current) m_current--;
    return RebuildLists();
}

void CControlMap::DeleteAll() {
    const std::scoped_lock lock(m_listLock);
    for (FUNCTIONMAPENTRY& entry : m_maps) FreeFunctionTables(entry);
    m_maps.clear();
    m_current = -1;
    m_lists.Clear();
}

bool CControlMap::MapExists(const char16_t* name) const {
    const std::scoped_lock lock(m_listLock);
    return std::ranges::any_of(m_maps, [&](const FUNCTIONMAPENTRY& e) {
        return std::u16string_view(e.name) == std::u16string_view(name);
    });
}

HRESULT CControlMap::SelectMap(int32_t index) {
    const std::scoped_lock lock(m_listLock);
    if (index < 0 || index >= std::ssize(m_maps) || index == m_current) return S_FALSE;
    m_current = index;
    m_held = EmptyEvent();
    return RebuildLists();
}

// Under the list lock. When memory runs out no table is in use.
HRESULT CControlMap::RebuildLists() {
    m_lists.Clear();
    if (m_current < 0) return S_OK;
    for (const FUNCTIONTABLE* table = m_maps[static_cast<size_t>(m_current)].tables; table && table->id != 0;
         table++)
        if (!m_lists.Add(*table)) {
            m_lists.Clear();
            return E_OUTOFMEMORY;
        }
    return S_OK;
}

HRESULT CControlMap::OnEvent(const MPEVENTREC& event, bool peekOnly) {
    if (!(m_state & MAPSTATE_ENABLED)) return S_FALSE;
    const uint32_t flags = FlagsOfState(m_state);
    MPFUNCTIONMAP waiting{};
    {
        const std::scoped_lock lock(m_listLock);
        const MPEVENTREC* held = m_held.type == MPNULL ? nullptr : &m_held;
        const MPFUNCTIONMAP* row = m_lists.FindReceive({event, held, flags});
        if (!row) {
            if (peekOnly) return S_FALSE;
            const bool hold = !held && m_lists.IsEarlierHalf(event, flags);
            m_held = hold ? event : EmptyEvent();
            m_held.data = nullptr;  // the stream's
            m_held.dataSize = 0;
            return S_FALSE;
        }
        if (peekOnly) return S_OK;
        waiting = Waiting(*row, event, m_held);
        m_held = EmptyEvent();
    }
    m_site.OnMatched(waiting);
    // The list changes hands whole, so that neither side waits for the other. A second bringer of events
    // whose list was put back meanwhile keeps what that one had.
    std::unique_ptr<Pending> pending(m_pending.exchange(nullptr));
    if (!pending) pending = std::make_unique<Pending>();
    pending->push_back(waiting);
    while (Pending* other = m_pending.exchange(pending.release())) {
        const std::unique_ptr<Pending> older(other);
        pending.reset(m_pending.exchange(nullptr));
        if (!pending) pending = std::make_unique<Pending>();
        pending->insert(pending->begin(), older->begin(), older->end());
    }
    return S_OK;
}

uint32_t CControlMap::Idle(bool flush) {
    const std::unique_ptr<Pending> pending(m_pending.exchange(nullptr));
    if (!pending || flush) return IDLE_QUIET;
    for (size_t i = 0; i < pending->size(); i++) {
        // Of a burst of moves of one control only the last one counts.
        const bool superseded = i + 1 < pending->size() && SameControl((*pending)[i], (*pending)[i + 1]);
        if (!superseded) Run((*pending)[i]);
    }
    return IDLE_BUSY;
}

void CControlMap::Run(MPFUNCTIONMAP& row) {
    if (row.flags & EFUNCFLAG_HOSTFUNCTION)
        m_site.CallHost(row);
    else if (row.group == ECONTROL_GRP_INSERT)
        OnMixerFunction(row);
    else if (row.group == ECONTROL_GRP_ASSIGN)
        OnSurfaceFunction(row);
    else
        OnTrackView(row);
}

void CControlMap::EnableMap(bool on) {
    {
        const std::scoped_lock lock(m_listLock);
        m_held = EmptyEvent();
    }
    if (!on) {
        for (Strip& strip : m_strips) ReleaseTouches(strip);
        ReleaseTouches(m_master);
    }
    on ? m_state |= MAPSTATE_ENABLED : m_state &= ~MAPSTATE_ENABLED;
    RefreshStrips(true);
}

void CControlMap::ConnectProject(bool on, bool audioMode) {
    m_state &= ~(MAPSTATE_PROJECT | MAPSTATE_AUDIO_MODE | MAPSTATE_VIDEO_MODE);
    if (!on) return;
    m_state |= MAPSTATE_PROJECT | (audioMode ? MAPSTATE_AUDIO_MODE : 0);
    LayoutBank(m_bankOffset);
}

void CControlMap::SetSurfaceMode(bool on) {
    constexpr uint32_t MODE = MAPSTATE_SURFACE_ON | MAPSTATE_SURFACE_MODE;
    on ? m_state |= MODE : m_state &= ~MODE;
}

namespace {
// Odd functions press what the even ones behind them release.
constexpr uint32_t MODIFIER_BITS[] = {
    MAPSTATE_SHIFT,         MAPSTATE_ALT,           MAPSTATE_CTRL,
    MAPSTATE_OPT,           MAPSTATE_SURFMOD1,      MAPSTATE_SURFMOD1 << 1,
    MAPSTATE_SURFMOD1 << 2, MAPSTATE_SURFMOD1 << 3, MAPSTATE_SURFACE_MODE,
};
constexpr uint32_t INPUT_SIDE_ON = 2 * std::size(MODIFIER_BITS) + 1, INPUT_SIDE_OFF = INPUT_SIDE_ON + 1;
}  // namespace

HRESULT CControlMap::OnSurfaceFunction(const MPFUNCTIONMAP& row) {
    const bool press = row.function % 2 == 1, toggle = row.flags & EFUNCFLAG_TOGGLE;
    if (row.function == INPUT_SIDE_ON || row.function == INPUT_SIDE_OFF) {
        const bool on = press && !(toggle && m_target & MASK_INPUT_SIDE);
        SetTarget(on ? m_target | MASK_INPUT_SIDE : m_target & ~MASK_INPUT_SIDE);
        SendLamp(ECONTROL_GRP_ASSIGN, INPUT_SIDE_ON, 0, on);
        return S_OK;
    }
    if (row.function < 1 || row.function > INPUT_SIDE_OFF) return S_FALSE;
    const uint32_t bit = MODIFIER_BITS[(row.function - 1) / 2];
    const bool on = press && !(toggle && m_state & bit);
    if (bit == MAPSTATE_SURFACE_MODE)
        SetSurfaceMode(on);
    else
        on ? m_state |= bit : m_state &= ~bit;
    SendLamp(ECONTROL_GRP_ASSIGN, press ? row.function : row.function - 1, 0, on);
    return S_OK;
}
