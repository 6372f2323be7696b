// The host's MIDI ports as the plug-in sees them, and which one of each direction is selected. [any-thread]
#pragma once

#include "contract/host_contract.h"

#include <mutex>
#include <string>
#include <vector>

class HostPorts {
public:
    struct Row {
        uint64_t id;
        GUID guid;
        std::u16string name;
    };

    /// Asks for the ports of one direction; the selected one stays when its GUID is still there, else the
    /// first is taken.
    HRESULT Load(IMPPortList& host, uint32_t isOutput);
    /// As of the last load.
    std::vector<Row> Rows(uint32_t isOutput) const;
    uint64_t Selected(uint32_t isOutput) const;
    void Select(uint32_t isOutput, uint64_t port);

private:
    struct Direction {
        std::vector<Row> rows;
        uint64_t selected = 0;  ///< 0 for none
        GUID selectedGuid{};
    };
    mutable std::mutex m_lock;  ///< never held across a call of the host
    Direction m_directions[2];  ///< by isOutput
};
