// tarn-effect-scan: the process that starts every effect once, so that mixhost need not find out which ones
// crash. It reads what to do from its input as JSON and reports in marked lines; the host makes sense of its
// end.
#include "host/effects/effect_scan.h"
#include "host/effects/lv2_effect.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <set>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {
using nlohmann::ordered_json;

/// Its output, which plug-ins that print must not get at.
int report = -1;

void Report(const char* name, const ordered_json& value) {
    // A plug-in may have left a line without its end.
    const std::string line =
        std::string("\n") + host::SCAN_MARK +
        ordered_json{{name, value}}.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
    for (size_t at = 0; at < line.size();) {
        const ssize_t n = ::write(report, line.data() + at, line.size() - at);
        if (n < 0 && errno != EINTR) ::_exit(1);  // nobody listens any more
        if (n > 0) at += static_cast<size_t>(n);
    }
}

std::string Start(const std::shared_ptr<host::Lv2World>& world, const host::EffectInfo& info) {
    try {
        const host::Lv2Effect started(world, info.uri, host::SCAN_RATE);
        return {};
    } catch (const host::EffectError& e) {
        // Its name goes before, as in all that is said of it.
        const std::string text = e.what();
        return text.starts_with(info.name + " ") ? text.substr(info.name.size() + 1) : text;
    }
}

void Examine(const std::shared_ptr<host::Lv2World>& world, const ordered_json& order) {
    const std::string path = order.at("bundle").get<std::string>();
    const std::string bundle = world->BundleUri(path);
    const auto done = order.at("done").get<std::set<std::string>>();
    Report("bundle", path);
    const LilvPlugins* plugins = lilv_world_get_all_plugins(world->Get());
    LILV_FOREACH(plugins, i, plugins) {
        const LilvPlugin* plugin = lilv_plugins_get(plugins, i);
        const std::string uri = lilv_node_as_uri(lilv_plugin_get_uri(plugin));
        if (bundle != lilv_node_as_uri(lilv_plugin_get_bundle_uri(plugin))) continue;
        if (done.contains(uri)) continue;
        Report("describe", uri);
        const host::EffectInfo info = host::DescribeLv2(*world, plugin, host::SCAN_RATE).info;
        Report("effect", host::ToJson(info));
        Report("examined", info.problem.empty() ? Start(world, info) : info.problem);
    }
    Report("finished", path);
}

}  // namespace

int main() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    report = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        const std::string request{std::istreambuf_iterator<char>(std::cin), {}};
        const ordered_json order = ordered_json::parse(request);
        const auto world = std::make_shared<host::Lv2World>();
        for (const ordered_json& bundle : order.at("bundles")) {
            Report("read", bundle);
            world->Load(bundle.get<std::string>());
        }
        Report("understand", nullptr);
        world->LoadSpecifications();
        for (const ordered_json& bundle : order.at("examine")) Examine(world, bundle);
    } catch (const std::exception& e) {
        std::cerr << e.what() << std::endl;
        ::_exit(1);
    }
    // What plug-ins left behind for the end of the process must not spoil what is done.
    ::_exit(0);
}
