// LV2 plug-ins that each do one thing wrong, or one that is hard to get right with them.
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/midi/midi.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <unistd.h>

namespace {

#define OURS "urn:tarn:test:"

/// Port 0 takes audio, 1 gives it, 2 is a control in, 3 one out, 4 takes events, 5 gives them.
struct Plugin {
    void* ports[6] = {};
    LV2_URID_Map* map = nullptr;
    LV2_Worker_Schedule* schedule = nullptr;
    float answer = 0;
    std::atomic<double> stored = 0;

    const float* In() const { return static_cast<const float*>(ports[0]); }
    float* Out() const { return static_cast<float*>(ports[1]); }
    float Control() const { return *static_cast<float*>(ports[2]); }
    float& Shown() const { return *static_cast<float*>(ports[3]); }
    LV2_URID Map(const char* uri) const { return map->map(map->handle, uri); }
};

LV2_Handle Instantiate(const LV2_Descriptor* descriptor, double, const char*,
                       const LV2_Feature* const* features) {
    const char* name = descriptor->URI + std::strlen(OURS);
    if (std::strcmp(name, "refuses") == 0) return nullptr;
    if (std::strcmp(name, "aborts") == 0) std::abort();
    for (; std::strcmp(name, "hangs") == 0;) pause();
    auto* plugin = new Plugin;
    for (; *features; features++) {
        if (std::strcmp((*features)->URI, LV2_URID__map) == 0)
            plugin->map = static_cast<LV2_URID_Map*>((*features)->data);
        if (std::strcmp((*features)->URI, LV2_WORKER__schedule) == 0)
            plugin->schedule = static_cast<LV2_Worker_Schedule*>((*features)->data);
    }
    return plugin;
}

void Connect(LV2_Handle handle, uint32_t port, void* data) {
    if (port >= 6) std::abort();
    static_cast<Plugin*>(handle)->ports[port] = data;
}

void RunNan(LV2_Handle handle, uint32_t n) {
    for (uint32_t i = 0; i < n; i++) static_cast<Plugin*>(handle)->Out()[i] = NAN;
}

void RunLatency(LV2_Handle handle, uint32_t) {
    auto& plugin = *static_cast<Plugin*>(handle);
    plugin.Shown() = plugin.Control();
}

/// Clears what comes out before it looks at what comes in.
void RunClearsFirst(LV2_Handle handle, uint32_t n) {
    auto& plugin = *static_cast<Plugin*>(handle);
    std::memset(plugin.Out(), 0, n * sizeof(float));
    for (uint32_t i = 0; i < n; i++) plugin.Out()[i] += plugin.In()[i];
}

/// Shows the tempo of each position, writes each MIDI event's first byte where it lies in the block, and
/// tells the last event.
void RunEvents(LV2_Handle handle, uint32_t n) {
    auto& plugin = *static_cast<Plugin*>(handle);
    std::memset(plugin.Out(), 0, n * sizeof(float));
    auto* told = static_cast<LV2_Atom_Sequence*>(plugin.ports[5]);
    const uint32_t room = told->atom.size;
    LV2_ATOM_SEQUENCE_FOREACH(static_cast<const LV2_Atom_Sequence*>(plugin.ports[4]), event) {
        const auto* body = reinterpret_cast<const uint8_t*>(event + 1);
        if (event->body.type == plugin.Map(LV2_MIDI__MidiEvent)) {
            plugin.Out()[event->time.frames] = body[0];
            told->atom.type = plugin.Map(LV2_ATOM__Sequence);
            lv2_atom_sequence_clear(told);
            lv2_atom_sequence_append_event(told, room, event);
        }
        if (event->body.type != plugin.Map(LV2_ATOM__Object)) continue;
        const LV2_Atom* tempo = nullptr;
        lv2_atom_object_get(reinterpret_cast<const LV2_Atom_Object*>(&event->body),
                            plugin.Map(LV2_TIME__beatsPerMinute), &tempo, 0);
        if (tempo) plugin.Shown() += reinterpret_cast<const LV2_Atom_Float*>(tempo)->body;
    }
}

/// Has its control's value doubled by the worker.
void RunWork(LV2_Handle handle, uint32_t) {
    auto& plugin = *static_cast<Plugin*>(handle);
    const float value = plugin.Control();
    plugin.schedule->schedule_work(plugin.schedule->handle, sizeof value, &value);
    plugin.Shown() = plugin.answer;
}
constexpr LV2_Worker_Interface WORKER{[](LV2_Handle, LV2_Worker_Respond_Function respond,
                                         LV2_Worker_Respond_Handle handle, uint32_t size, const void* data) {
                                          float value;
                                          if (size != sizeof value) return LV2_WORKER_ERR_UNKNOWN;
                                          std::memcpy(&value, data, size);
                                          value *= 2;
                                          return respond(handle, sizeof value, &value);
                                      },
                                      [](LV2_Handle handle, uint32_t, const void* data) {
                                          std::memcpy(&static_cast<Plugin*>(handle)->answer, data,
                                                      sizeof(float));
                                          return LV2_WORKER_SUCCESS;
                                      },
                                      nullptr};

/// Keeps its control's last value above 0, and stores it beside a list of URIDs. Takes the number that it is
/// given, then refuses when it is above 1 or the list is another.
void RunStored(LV2_Handle handle, uint32_t) {
    auto& plugin = *static_cast<Plugin*>(handle);
    if (plugin.Control() > 0) plugin.stored = plugin.Control();
    plugin.Shown() = static_cast<float>(plugin.stored);
}
struct UridList {
    LV2_Atom_Vector_Body body;
    LV2_URID list[2];
};
UridList ListOf(const Plugin& plugin) {
    return {{sizeof(LV2_URID), plugin.Map(LV2_ATOM__URID)}, {plugin.Map(OURS "one"), plugin.Map(OURS "two")}};
}
constexpr LV2_State_Interface STATE{
    [](LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle to, uint32_t,
       const LV2_Feature* const*) {
        auto& plugin = *static_cast<Plugin*>(handle);
        const double stored = plugin.stored;
        const UridList list = ListOf(plugin);
        store(to, plugin.Map(OURS "number"), &stored, sizeof stored, plugin.Map(LV2_ATOM__Double),
              LV2_STATE_IS_POD);
        return store(to, plugin.Map(OURS "list"), &list, sizeof list, plugin.Map(LV2_ATOM__Vector),
                     LV2_STATE_IS_POD);
    },
    [](LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle from, uint32_t,
       const LV2_Feature* const*) {
        auto& plugin = *static_cast<Plugin*>(handle);
        size_t size = 0;
        uint32_t type = 0, flags = 0;
        const void* number = retrieve(from, plugin.Map(OURS "number"), &size, &type, &flags);
        double given;
        if (!number || size != sizeof given) return LV2_STATE_ERR_NO_PROPERTY;
        std::memcpy(&given, number, size);
        plugin.stored = given;
        const void* list = retrieve(from, plugin.Map(OURS "list"), &size, &type, &flags);
        const UridList expected = ListOf(plugin);
        if (!list || size != sizeof expected || std::memcmp(list, &expected, size) != 0)
            return LV2_STATE_ERR_BAD_TYPE;
        return given > 1 ? LV2_STATE_ERR_UNKNOWN : LV2_STATE_SUCCESS;
    }};

const void* Extension(const char* uri) {
    if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &WORKER;
    return std::strcmp(uri, LV2_STATE__interface) == 0 ? &STATE : nullptr;
}

constexpr LV2_Descriptor Make(const char* uri, void (*run)(LV2_Handle, uint32_t),
                              const void* (*extension)(const char*) = nullptr) {
    return {uri,
            Instantiate,
            Connect,
            nullptr,
            run,
            nullptr,
            [](LV2_Handle h) { delete static_cast<Plugin*>(h); },
            extension};
}
constexpr LV2_Descriptor PLUGINS[] = {
    Make(OURS "refuses", RunNan),
    Make(OURS "aborts", RunNan),
    Make(OURS "hangs", RunNan),
    Make(OURS "nan", RunNan),
    Make(OURS "latency", RunLatency),
    Make(OURS "in-place", RunClearsFirst),
    Make(OURS "events", RunEvents),
    Make(OURS "work", RunWork, Extension),
    Make(OURS "state", RunStored, Extension),
    Make(OURS "ports", RunNan),
};

/// An interface that draws nothing: it sends a MIDI event of byte 7, answers an event that the plug-in tells
/// by setting the control to its first byte, and closes once it is told that the control stands at 9.
struct View {
    LV2UI_Write_Function write;
    LV2UI_Controller controller;
    LV2_URID_Map* map = nullptr;
    float control = 0;
};
LV2UI_Handle OpenView(const LV2UI_Descriptor*, const char*, const char*, LV2UI_Write_Function write,
                      LV2UI_Controller controller, LV2UI_Widget* widget, const LV2_Feature* const* features) {
    auto* view = new View{write, controller};
    for (; *features; features++) {
        const std::string_view name = (*features)->URI;
        void* data = (*features)->data;
        if (name == LV2_URID__map) view->map = static_cast<LV2_URID_Map*>(data);
        if (name == LV2_UI__parent) *widget = data;
        if (name == LV2_UI__resize)
            static_cast<LV2UI_Resize*>(data)->ui_resize(static_cast<LV2UI_Resize*>(data)->handle, 320, 200);
    }
    const struct {
        LV2_Atom atom;
        uint8_t body[8];
    } event{{1, view->map->map(view->map->handle, LV2_MIDI__MidiEvent)}, {7}};
    write(controller, 4, sizeof event.atom + 1, view->map->map(view->map->handle, LV2_ATOM__eventTransfer),
          &event);
    return view;
}
void TellViewOf(LV2UI_Handle handle, uint32_t port, uint32_t, uint32_t protocol, const void* data) {
    auto& view = *static_cast<View*>(handle);
    if (port == 2 && protocol == 0) std::memcpy(&view.control, data, sizeof view.control);
    if (port != 5) return;
    const float value = static_cast<const uint8_t*>(data)[sizeof(LV2_Atom)];
    view.write(view.controller, 2, sizeof value, 0, &value);
}
const void* ExtendView(const char* uri) {
    static const LV2UI_Idle_Interface idle{
        [](LV2UI_Handle view) { return static_cast<View*>(view)->control == 9 ? 1 : 0; }};
    return std::strcmp(uri, LV2_UI__idleInterface) == 0 ? &idle : nullptr;
}
constexpr LV2UI_Descriptor VIEW{OURS "view", OpenView,
                                [](LV2UI_Handle view) { delete static_cast<View*>(view); }, TellViewOf,
                                ExtendView};

}  // namespace

extern "C" LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
    return index == 0 ? &VIEW : nullptr;
}

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    return index < sizeof PLUGINS / sizeof PLUGINS[0] ? &PLUGINS[index] : nullptr;
}
