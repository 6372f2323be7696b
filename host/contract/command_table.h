// The commands that plug-ins have registered, kept as they came. [any-thread]
#pragma once

#include "contract/host_contract.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace host {

struct RegisteredCommand {
    std::string group;  ///< what the plug-in calls its commands together
    std::string name;   ///< "MixingConsole.Show.Channels.All"
    std::string text;   ///< for a person; may be empty
    uint32_t command;
    std::vector<MPCOMMANDKEY> keys{};  ///< that it comes with
};

class CommandTables {
public:
    /// Takes a plug-in's tables over, in place of earlier ones of its name. E_INVALIDARG for one without a
    /// name and for more than anybody has.
    HRESULT Register(const MPCOMMANDREG& registration);
    HRESULT Unregister(const MPCOMMANDREG& registration);
    /// The keys that commands have now, by the names of the commands.
    void SetKeys(const std::map<std::string, std::vector<MPCOMMANDKEY>>& keys);
    /// Fills the reply for the name in it, and the room for keys with those in force.
    HRESULT Answer(MPCOMMANDREG& registration) const;
    /// Groups by their name, the commands of one as they were registered.
    std::vector<RegisteredCommand> All() const;
    uint64_t Changes() const { return m_changes; }  ///< so far

private:
    struct Table {
        std::vector<RegisteredCommand> commands;
        uint32_t keys = 0;
        std::vector<MPCOMMANDKEY> inForce;
    };
    mutable std::mutex m_lock;
    std::map<std::string, Table> m_tables;
    std::atomic<uint64_t> m_changes{0};
};

}  // namespace host
