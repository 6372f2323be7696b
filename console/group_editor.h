// What the user does to groups: makes, applies, changes and deletes them, and takes the last of it back.
// Groups are told by their place in the plug-in's list; the first record there is the console's own state and
// none of them. All on the page's thread.
#pragma once

#include "console/view_groups.h"

class CConsoleControlPlugin;

class GroupEditor {
public:
    explicit GroupEditor(CConsoleControlPlugin& plugin) : m_plugin(plugin) {}

    /// MAKE_VIEW_GROUP or MAKE_MIX_GROUP. The place of the new group, 0 where none could be made: a mix group
    /// wants a selected channel.
    size_t Make(uint32_t flags);
    void Apply(size_t group);
    /// The group becomes one of what is shown, or selected, now.
    void Update(size_t group);
    void Rename(size_t group, const std::u16string& name);
    void Delete(size_t group);

    bool CanUndo() const { return !m_before.empty(); }
    void Forget() { m_before.clear(); }
    /// Undone once more it is done again.
    void Undo();

private:
    bool IsGroup(size_t group) const;
    /// What Undo is to bring back; false where memory does not suffice, and nothing must be changed then.
    bool Remember(bool layout);

    CConsoleControlPlugin& m_plugin;
    ViewGroups m_before;
    bool m_layout = false;  ///< the console looked otherwise then
};
