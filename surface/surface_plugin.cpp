#include "surface/surface_plugin.h"

#include "controlmap/xml_function_map.h"
#include "kernel/print/print_text.h"
#include "platform/module.h"
#include "platform/text.h"
#include "surface/transport.h"

#include <algorithm>
#include <cstring>

using namespace tarn;

namespace {
constexpr char16_t PLUGIN_NAME[] = u"Control Surface";
constexpr char MAPS_FOLDER[] = "surfaces";
constexpr char NAMES_FILE[] = "names.xml";

/// Where the maps lie that come with the module.
std::filesystem::path ModuleMaps() {
    static const char here = 0;
    return Module::FolderOf(&here) / MAPS_FOLDER;
}

/// A file's name that a map's name makes; what a file system could mind becomes a dash.
std::string FileName(const char16_t* name) {
    std::string file = Utf8FromUtf16(name);
    std::ranges::replace_if(
        file, [](char c) { return std::strchr("/\\:*?\"<>|", c) || static_cast<unsigned char>(c) < 32; },
        '-');
    return file + ".xml";
}
}  // namespace

CSurfacePlugin::CSurfacePlugin(IUnknown* owner) : COPTControlPlugin(owner) {
    m_kindMask = KIND_AUDIO_TRACK | KIND_BUS | KIND_MIDI_TRACK;
}

HRESULT CSurfacePlugin::FinalConstruct() {
    CopyText(m_name, OPT_NAME_SIZE, PLUGIN_NAME);
    const HRESULT hr = COPTControlPlugin::FinalConstruct();
    if (Failed(hr)) return hr;
    std::string problem;
    if (!m_names.Load(ModuleMaps() / NAMES_FILE, problem)) OnMapProblem(problem);
    SetMap(new CControlMap(*this, SURFACE_STRIPS));
    return S_OK;
}

HRESULT CSurfacePlugin::GetPages(CAUUID* pages) {
    pages->count = 0;
    pages->ids = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (!pages->ids) return E_OUTOFMEMORY;
    pages->ids[0] = CLSID_SurfacePage;
    pages->count = 1;
    return S_OK;
}

// Maps
// -------------------------------------------------------------------------------------------------------------

HRESULT CSurfacePlugin::LoadMaps() {
    Map()->DeleteAll();
    LoadMapFolder(ModuleMaps(), FUNCTIONMAP_BUILT_IN);
    if (!UserDataPath().empty()) LoadMapFolder(UserDataPath() / MAPS_FOLDER, 0);
    return COPTControlPlugin::LoadMaps();
}

void CSurfacePlugin::LoadMapFolder(const std::filesystem::path& folder, uint32_t flags) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator(folder, error))
        if (file.path().extension() == ".xml" && file.path().filename() != NAMES_FILE)
            files.push_back(file.path());
    std::ranges::sort(files);
    for (const std::filesystem::path& file : files) {
        FUNCTIONMAPENTRY entry{};
        std::string problem;
        if (ReadFunctionTables(file, m_names, SURFACE_STRIPS, entry, problem) != S_OK) {
            OnMapProblem(problem);
            continue;
        }
        entry.flags |= flags;
        Map()->AddMap(std::move(entry));
    }
}

std::vector<std::u16string> CSurfacePlugin::Maps() const {
    std::vector<std::u16string> names;
    FUNCTIONMAPENTRY entry;
    for (int32_t i = 0; Map()->GetMap(i, &entry) == S_OK; i++) names.emplace_back(entry.name);
    return names;
}

void CSurfacePlugin::ChooseMap(int32_t index) {
    CriticalSectionLock lock(MainLock());
    m_undo.clear();
    Map()->SelectMap(index);
    Map()->RefreshStrips(true);
    SavePreferences();
}

bool CSurfacePlugin::IsOwnMap() const {
    FUNCTIONMAPENTRY current;
    return Map()->GetMap(Map()->CurrentMap(), &current) == S_OK && !(current.flags & FUNCTIONMAP_BUILT_IN);
}

bool CSurfacePlugin::DeleteOwnMap() {
    FUNCTIONMAPENTRY current{};
    if (!IsOwnMap() || Map()->GetMap(Map()->CurrentMap(), &current) != S_OK) return false;
    const std::filesystem::path file = Utf8FromUtf16(current.path);
    std::error_code error;
    if (file.parent_path() == UserDataPath() / MAPS_FOLDER) std::filesystem::remove(file, error);
    if (error) return OnMapProblem(file.string() + ": " + error.message()), false;
    CriticalSectionLock lock(MainLock());
    m_undo.clear();
    Map()->DeleteMap(Map()->CurrentMap());
    SavePreferences();
    return true;
}

void CSurfacePlugin::PickPort(uint32_t isOutput, uint64_t port) {
    ChoosePort(isOutput, port);
    SavePreferences();
}

FunctionRows CSurfacePlugin::CurrentRows() const { return Map()->Rows(Map()->CurrentMap()); }

// "X (own)", "X (own 2)": no map that is there is written over.
std::u16string CSurfacePlugin::FreeName(const std::u16string& base) const {
    for (int32_t n = 1;; n++) {
        const std::u16string tail = n == 1 ? std::u16string(u" (own)") : PrintText(u" (own %d)", n);
        std::u16string name = base.substr(0, FUNCTION_NAME_SIZE - 1 - tail.size());
        name.append(tail);
        if (!Map()->MapExists(name.c_str())) return name;
    }
}

// What comes with the module stays as it is: the first change makes a map of the user's own.
bool CSurfacePlugin::UseOwnMap(FUNCTIONMAPENTRY& entry) {
    FUNCTIONMAPENTRY current{};
    const bool some = Map()->GetMap(Map()->CurrentMap(), &current) == S_OK;
    const bool own = some && !(current.flags & FUNCTIONMAP_BUILT_IN);
    std::u16string name = some ? current.name : u"Learnt";
    if (!own) name = FreeName(name);
    CopyText(entry.name, FUNCTION_NAME_SIZE, name.c_str());
    entry.id = entry.fromFile = 1;
    entry.channels = SURFACE_STRIPS;
    std::filesystem::path file = Utf8FromUtf16(current.path);
    if (!own) {
        const std::filesystem::path folder = UserDataPath() / MAPS_FOLDER;
        std::error_code error;
        if (!UserDataPath().empty()) std::filesystem::create_directories(folder, error);
        if (UserDataPath().empty() || error) {
            OnMapProblem(folder.string() + ": " +
                         (error ? error.message() : "no place for files of the user"));
            return false;
        }
        file = folder / FileName(entry.name);
    }
    const std::u16string path = Utf16FromUtf8(file.string());
    if (path.size() >= FUNCTION_PATH_SIZE)
        return OnMapProblem(file.string() + ": the path is too long"), false;
    CopyText(entry.path, FUNCTION_PATH_SIZE, path.c_str());
    return true;
}

bool CSurfacePlugin::Write(const FunctionRows& rows) {
    FUNCTIONMAPENTRY entry{};
    if (!UseOwnMap(entry)) return false;
    entry.tables = rows.NewTables(entry.name);
    if (!entry.tables) return OnMapProblem("out of memory"), false;
    std::string problem;
    if (WriteFunctionTables(Utf8FromUtf16(entry.path), entry, m_names, Utf8FromUtf16(PLUGIN_NAME), 1,
                            problem) != S_OK) {
        FreeFunctionTables(entry);
        return OnMapProblem(problem), false;
    }
    const std::u16string name = entry.name;
    CriticalSectionLock lock(MainLock());
    Map()->AddMap(std::move(entry));
    const std::vector<std::u16string> maps = Maps();
    const auto at = std::ranges::find(maps, name);
    Map()->SelectMap(static_cast<int32_t>(at - maps.begin()));
    Map()->RefreshStrips(true);
    SavePreferences();
    OnMapProblem({});
    return true;
}

// Learning
// ---------------------------------------------------------------------------------------------------------

void CSurfacePlugin::BeginLearning(const LearnTarget& target, ControlKind kind) {
    {
        const std::scoped_lock lock(m_seenLock);
        m_target = target;
        m_kind = kind;
        m_learnt.reset();
    }
    SetControlBits(CTRLSTATE_CAPTURE);
}

void CSurfacePlugin::EndLearning() { ClearControlBits(CTRLSTATE_CAPTURE); }

HRESULT CSurfacePlugin::OnCaptureEvent(const MPEVENTREC* event) {
    OnEventSeen(*event, false);
    const std::scoped_lock lock(m_seenLock);
    if (m_learnt || !CanLearn(m_target, *event)) return S_FALSE;
    m_learnt = *event;
    m_learnt->data = nullptr;  // the stream's
    m_learnt->dataSize = 0;
    return S_OK;
}

bool CSurfacePlugin::FinishLearning() {
    std::optional<MPEVENTREC> learnt;
    LearnTarget target;
    ControlKind kind = ControlKind::Absolute;
    {
        const std::scoped_lock lock(m_seenLock);
        learnt = m_learnt;
        target = m_target;
        kind = m_kind;
    }
    if (!learnt || !IsLearning()) return false;
    EndLearning();
    FunctionRows rows = CurrentRows();
    const FunctionRows before = rows;
    Assign(rows, target, *learnt, kind);
    if (!Write(rows)) return false;
    m_undo.push_back(before);
    // The line of the last event tells what the control does now.
    const std::scoped_lock lock(m_seenLock);
    m_seen = {*learnt, RowsOfControl(target, *learnt, kind).front(), m_seen.count + 1};
    return true;
}

bool CSurfacePlugin::Forget(const LearnTarget& target) {
    FunctionRows rows = CurrentRows();
    const FunctionRows before = rows;
    if (!Unassign(rows, target) || !Write(rows)) return false;
    m_undo.push_back(before);
    return true;
}

bool CSurfacePlugin::Undo() {
    if (m_undo.empty() || !Write(m_undo.back())) return false;
    m_undo.pop_back();
    return true;
}

// Events, and what the host does itself
// ----------------------------------------------------------------------------

void CSurfacePlugin::OnMatched(const MPFUNCTIONMAP& row) {
    const std::scoped_lock lock(m_seenLock);
    m_seen.match = row;
}

void CSurfacePlugin::OnEventSeen(const MPEVENTREC& event, bool taken) {
    const std::scoped_lock lock(m_seenLock);
    m_seen.event = event;
    m_seen.event.data = nullptr;  // the stream's
    if (!taken) m_seen.match.reset();
    m_seen.count++;
}

CSurfacePlugin::Seen CSurfacePlugin::LastSeen() const {
    const std::scoped_lock lock(m_seenLock);
    return m_seen;
}

void CSurfacePlugin::OnMapProblem(const std::string& problem) {
    const std::scoped_lock lock(m_seenLock);
    m_problem = problem;
}

std::string CSurfacePlugin::Problem() const {
    const std::scoped_lock lock(m_seenLock);
    return m_problem;
}

HRESULT CSurfacePlugin::CallHost(const MPFUNCTIONMAP& row) {
    return row.group == GROUP_TRANSPORT ? RunTransport(*this, row.function)
                                        : COPTControlPlugin::CallHost(row);
}

void CSurfacePlugin::ShowTransport(bool everything) {
    uint32_t flags = 0, lamps = 0;
    if (GetHostProperty(MPPROP_TRANSPORT, &flags, sizeof flags) != S_OK) return;
    for (uint32_t function = TRANSPORT_PLAY; function <= TRANSPORT_LOOP_SWITCH; function++)
        if (TransportLamp(function, flags)) lamps |= 1u << function;
    const uint32_t changed = everything ? ~0u : lamps ^ m_transportLamps;
    m_transportLamps = lamps;
    for (uint32_t function = TRANSPORT_PLAY; function <= TRANSPORT_LOOP_SWITCH; function++)
        if (changed & 1u << function) Map()->SendLamp(GROUP_TRANSPORT, function, 0, lamps & 1u << function);
}

void CSurfacePlugin::OnRefresh() { ShowTransport(true); }

HRESULT CSurfacePlugin::OnTransportFlags(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    ShowTransport(false);
    return S_OK;
}
