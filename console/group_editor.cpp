#include "console/group_editor.h"

#include "console/console_plugin.h"
#include "console/group_actions.h"
#include "platform/text.h"

#include <new>

using namespace tarn;

namespace {

ViewGroups Copy(const ViewGroups& groups) {
    ViewGroups copy;
    for (const auto& group : groups) copy.push_back(std::make_unique<tConsoleGroup>(*group));
    return copy;
}

}  // namespace

bool GroupEditor::IsGroup(size_t group) const { return group > 0 && group < m_plugin.Groups().size(); }

bool GroupEditor::Remember(bool layout) {
    m_plugin.KeepState();
    try {
        m_before = Copy(m_plugin.Groups());
    } catch (const std::bad_alloc&) {
        return false;
    }
    m_layout = layout;
    return true;
}

size_t GroupEditor::Make(uint32_t flags) {
    ViewGroups& groups = m_plugin.Groups();
    std::unique_ptr<tConsoleGroup> made;
    if (groups.size() >= MOST_GROUPS || !Remember(false)) return 0;
    if (CreateGroup(m_plugin, flags, &made) != S_OK) {
        m_before.clear();
        return 0;
    }
    groups.push_back(std::move(made));
    m_plugin.StoreGroups();
    return groups.size() - 1;
}

void GroupEditor::Apply(size_t group) {
    if (!IsGroup(group) || !Remember(true)) return;
    ApplyGroup(m_plugin, *m_plugin.Groups()[group], APPLY_ALL);
    m_plugin.ShowApplied();
}

void GroupEditor::Update(size_t group) {
    if (!IsGroup(group) || !Remember(false)) return;
    std::unique_ptr<tConsoleGroup>& old = m_plugin.Groups()[group];
    std::unique_ptr<tConsoleGroup> made;
    const uint32_t flags = old->flags & GROUP_MIX ? MAKE_MIX_GROUP : MAKE_VIEW_GROUP;
    if (CreateGroup(m_plugin, flags, &made) != S_OK) return;
    CopyText(made->name, GROUP_NAME_SIZE, old->name);
    old = std::move(made);
    m_plugin.StoreGroups();
}

void GroupEditor::Rename(size_t group, const std::u16string& name) {
    if (!IsGroup(group) || name.empty() || name == m_plugin.Groups()[group]->name || !Remember(false)) return;
    CopyText(m_plugin.Groups()[group]->name, GROUP_NAME_SIZE, name.c_str());
    m_plugin.StoreGroups();
}

void GroupEditor::Delete(size_t group) {
    if (!IsGroup(group) || !Remember(false)) return;
    m_plugin.Groups().erase(m_plugin.Groups().begin() + static_cast<std::ptrdiff_t>(group));
    m_plugin.StoreGroups();
}

void GroupEditor::Undo() {
    if (!CanUndo()) return;
    ViewGroups wanted = std::move(m_before);
    m_before.clear();
    const bool layout = m_layout;
    if (!Remember(layout)) return;
    if (layout) {
        ApplyGroup(m_plugin, *wanted.front(), APPLY_ALL);
        ApplySelection(m_plugin, *wanted.front());
    }
    m_plugin.Groups() = std::move(wanted);
    if (layout) m_plugin.ShowApplied();
    m_plugin.KeepState();
    m_plugin.StoreGroups();
}
