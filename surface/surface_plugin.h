// CSurfacePlugin: the plug-in that lets a MIDI control surface work the host's mixer. Events of its input
// port go through the function map to the host's channels, and changes of the channels to its output port.
//
// The maps that come with the module lie beside it; the user's own ones, made by learning, in the user's data
// folder.
#pragma once

#include "controlmap/map_edit.h"
#include "plugin/catalog_names.h"
#include "plugin/control_plugin.h"

#include <optional>

inline constexpr int32_t SURFACE_STRIPS = 8;

class CSurfacePlugin final : public COPTControlPlugin {
public:
    explicit CSurfacePlugin(IUnknown* owner);

    HRESULT FinalConstruct() override;
    HRESULT GetPages(CAUUID* pages) override;
    HRESULT LoadMaps() override;
    HRESULT OnTransportFlags(const MPCTRLREC* rec, uint32_t post) override;
    HRESULT OnCaptureEvent(const MPEVENTREC* event) override;
    void OnEventSeen(const MPEVENTREC& event, bool taken) override;

    const NameTable& Names() const { return m_names; }

    // What the page shows and does. What is chosen is kept at once. [page-thread]

    using Port = HostPorts::Row;

    void PickPort(uint32_t isOutput, uint64_t port);

    /// Their names, in their order.
    std::vector<std::u16string> Maps() const;
    void ChooseMap(int32_t index);
    /// Whether the current map is one of the user's own.
    bool IsOwnMap() const;
    /// Takes the user's own map away, with its file where the file is ours.
    bool DeleteOwnMap();

    /// The last event, and what it did.
    struct Seen {
        MPEVENTREC event;
        std::optional<MPFUNCTIONMAP> match;
        uint64_t count;  ///< of events so far
    };
    Seen LastSeen() const;

    /// From now on the next event of a control is learnt for the target, and no other has an effect.
    void BeginLearning(const LearnTarget& target, ControlKind kind);
    void EndLearning();
    bool IsLearning() const { return ControlState() & CTRLSTATE_CAPTURE; }
    /// Writes the rows of the control that was moved meanwhile. False while there is none, or when the map
    /// can't be written: then Problem tells why.
    bool FinishLearning();
    /// Takes the target's controls away.
    bool Forget(const LearnTarget& target);
    bool CanUndo() const { return !m_undo.empty(); }
    bool Undo();
    /// A copy of the rows of the current map.
    FunctionRows CurrentRows() const;

    /// What went wrong last, for the user; empty when nothing did.
    std::string Problem() const;

protected:
    HRESULT UpdateEntry(const MPCTRLREC&) override { return S_OK; }
    const FunctionNames* MapNames() override { return &m_names; }
    void OnMapProblem(const std::string& problem) override;
    HRESULT CallHost(const MPFUNCTIONMAP& row) override;
    void OnMatched(const MPFUNCTIONMAP& row) override;
    void OnRefresh() override;

private:
    void LoadMapFolder(const std::filesystem::path& folder, uint32_t flags);
    bool Write(const FunctionRows& rows);
    std::u16string FreeName(const std::u16string& base) const;
    bool UseOwnMap(FUNCTIONMAPENTRY& entry);
    void ShowTransport(bool everything);

    CatalogNames m_names{Catalog()};

    mutable std::mutex m_seenLock;  // guards the ones below
    Seen m_seen{};
    LearnTarget m_target{};
    ControlKind m_kind = ControlKind::Absolute;
    std::optional<MPEVENTREC> m_learnt;
    std::string m_problem;

    uint32_t m_transportLamps = 0;  ///< bit a function: lit; under the main lock
    std::vector<FunctionRows> m_undo;
};
