// What an assistive technology does with a program, over the bus that it would use: finds it, reads all that
// it offers, moves a slider, presses a switch. at-spi-client PROGRAM [set|press|get STRIP PART [VALUE]]...
// With no action it prints everything, a line each: depth, role, name, value.
#include <atspi/atspi.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace {

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
};
using Object = std::unique_ptr<AtspiAccessible, Release>;

template <class T>
std::string Take(T* text) {
    std::string taken = text ? text : "";
    g_free(text);
    return taken;
}

std::string NameOf(AtspiAccessible* object) { return Take(atspi_accessible_get_name(object, nullptr)); }

std::string ValueOf(AtspiAccessible* object) {
    AtspiValue* value = atspi_accessible_get_value_iface(object);
    if (value) {
        const double number = atspi_value_get_current_value(value, nullptr);
        g_object_unref(value);
        char text[32];
        std::snprintf(text, sizeof text, "%.1f", number);
        return text;
    }
    if (atspi_accessible_get_role(object, nullptr) != ATSPI_ROLE_CHECK_BOX) return "";
    AtspiStateSet* states = atspi_accessible_get_state_set(object);
    const bool checked = atspi_state_set_contains(states, ATSPI_STATE_CHECKED);
    g_object_unref(states);
    return checked ? "on" : "off";
}

Object Child(AtspiAccessible* object, int index) {
    return Object(atspi_accessible_get_child_at_index(object, index, nullptr));
}

/// The first below `object`, or itself, of that name.
Object Find(AtspiAccessible* object, std::string_view name, int depth) {
    const int count = atspi_accessible_get_child_count(object, nullptr);
    for (int i = 0; i < count; i++) {
        Object child = Child(object, i);
        if (!child) continue;
        if (NameOf(child.get()) == name) return child;
        if (depth > 1)
            if (Object found = Find(child.get(), name, depth - 1)) return found;
    }
    return nullptr;
}

void Print(AtspiAccessible* object, int depth) {
    std::printf("%d\t%s\t%s\t%s\n", depth, Take(atspi_accessible_get_role_name(object, nullptr)).c_str(),
                NameOf(object).c_str(), ValueOf(object).c_str());
    const int count = atspi_accessible_get_child_count(object, nullptr);
    for (int i = 0; i < count; i++)
        if (const Object child = Child(object, i)) Print(child.get(), depth + 1);
}

/// A program announces itself to the bus when its first window stands.
Object WaitFor(AtspiAccessible* in, std::string_view name, int depth) {
    for (int tries = 0; tries < 300; tries++) {
        if (Object found = Find(in, name, depth)) return found;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || atspi_init() > 1) return 2;
    atspi_set_timeout(10000, 30000);
    const Object desktop(atspi_get_desktop(0));
    const Object program = WaitFor(desktop.get(), argv[1], 1);
    const Object page = program ? WaitFor(program.get(), "Mixing Console", 12) : nullptr;
    if (!page) return std::fprintf(stderr, "%s does not offer its console\n", argv[1]), 1;
    if (argc == 2) Print(page.get(), 0);
    for (int i = 2; i + 2 < argc; i += 3) {
        const std::string_view action = argv[i];
        const Object strip = Find(page.get(), argv[i + 1], 1);
        const Object part = strip ? Find(strip.get(), argv[i + 2], 1) : nullptr;
        if (!part) return std::fprintf(stderr, "no %s on %s\n", argv[i + 2], argv[i + 1]), 1;
        if (action == "set" && i + 3 < argc) {
            AtspiValue* value = atspi_accessible_get_value_iface(part.get());
            atspi_value_set_current_value(value, std::atof(argv[i++ + 3]), nullptr);
            g_object_unref(value);
        } else if (action == "press") {
            AtspiAction* presses = atspi_accessible_get_action_iface(part.get());
            atspi_action_do_action(presses, 0, nullptr);
            g_object_unref(presses);
        } else {
            std::printf("%s\n", ValueOf(part.get()).c_str());
        }
    }
    return 0;
}
