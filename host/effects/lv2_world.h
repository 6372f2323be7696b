// What the LV2 bundles of a machine say about themselves. No plug-in's code is loaded by reading it.
#pragma once

#include <lilv/lilv.h>

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace host {

/// Where bundles are looked for: $LV2_PATH, else the places that the system has for them. [any-thread]
std::vector<std::filesystem::path> Lv2Folders();
/// The bundles in these folders, in their order, by name within each. [any-thread]
std::vector<std::filesystem::path> BundlesIn(const std::vector<std::filesystem::path>& folders);

struct LilvDelete {
    void operator()(LilvWorld* world) const { lilv_world_free(world); }
    void operator()(LilvNode* node) const { lilv_node_free(node); }
    void operator()(LilvState* state) const { lilv_state_free(state); }
    void operator()(LilvInstance* instance) const { lilv_instance_free(instance); }
};
template <class T>
using LilvPtr = std::unique_ptr<T, LilvDelete>;

/// A list of lilv's. To the compiler they are all void, so the functions that belong to the list are named.
template <auto Free, auto Begin, auto Next, auto IsEnd, auto Get>
class LilvList {
public:
    explicit LilvList(void* list) : m_list(list) {}
    LilvList(const LilvList&) = delete;
    LilvList& operator=(const LilvList&) = delete;
    ~LilvList() {
        if (m_list) Free(m_list);
    }
    const void* Raw() const { return m_list; }
    template <class F>
    void ForEach(F f) const {
        if (!m_list) return;
        for (LilvIter* i = Begin(m_list); !IsEnd(m_list, i); i = Next(m_list, i)) f(Get(m_list, i));
    }

private:
    void* m_list;
};
using LilvNodeList =
    LilvList<lilv_nodes_free, lilv_nodes_begin, lilv_nodes_next, lilv_nodes_is_end, lilv_nodes_get>;
using LilvPointList = LilvList<lilv_scale_points_free, lilv_scale_points_begin, lilv_scale_points_next,
                               lilv_scale_points_is_end, lilv_scale_points_get>;
using LilvUiList = LilvList<lilv_uis_free, lilv_uis_begin, lilv_uis_next, lilv_uis_is_end, lilv_uis_get>;

/// lilv is not made for several threads, not even to read: whoever touches the world or what came from it
/// holds the lock.
class Lv2World {
public:
    /// An empty one. Throws std::bad_alloc.
    Lv2World();

    /// May be taken again by the thread that has it.
    std::recursive_mutex& Guard() { return m_guard; }

    void Load(const std::filesystem::path& bundle);
    /// After the last bundle: what the loaded ones say about the standard itself.
    void LoadSpecifications();

    LilvWorld* Get() const { return m_world.get(); }
    /// Null when there is none.
    const LilvPlugin* Find(const std::string& uri);
    /// Stays as long as the world.
    const LilvNode* Uri(const std::string& uri);
    /// A bundle's address, as lilv has it for what lies within.
    std::string BundleUri(const std::filesystem::path& bundle) const;

private:
    std::recursive_mutex m_guard;
    LilvPtr<LilvWorld> m_world;
    std::map<std::string, LilvPtr<LilvNode>> m_uris;
};

}  // namespace host
